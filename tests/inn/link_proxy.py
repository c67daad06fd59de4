# SPDX-License-Identifier: GPL-3.0-or-later
"""A link between a client and a server on loopback that misbehaves on purpose."""

import socket
import threading


class Plan:
    """What happens on one connection. Numbers count bytes of that direction from its beginning.

    `cut_after`: bytes from the server after which both sides are hung up on. `stall_after`: bytes
    from the server after which nothing more comes. `edit`: gets each piece from the server and
    returns what the client is given instead.
    """

    def __init__(self, cut_after=None, stall_after=None, edit=None):
        self.cut_after = cut_after
        self.stall_after = stall_after
        self.edit = edit


class LinkProxy:
    """Leads to the server; the nth connection goes by the nth plan, further ones go through."""

    def __init__(self, server, *plans):
        self.server = server
        self.plans = list(plans)
        self.connections = 0
        self.sent = []      # what the client sent, one text a connection
        self.received = []  # and got
        self._sockets = []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for one in [self.listener, *self._sockets]:
            self._hang_up(one)
        self._thread.join(timeout=10)

    @staticmethod
    def _hang_up(one):
        try:
            one.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        one.close()

    def _accept(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            number = self.connections
            self.connections += 1
            plan = self.plans[number] if number < len(self.plans) else Plan()
            self.sent.append(b"")
            self.received.append(b"")
            server = socket.create_connection(self.server)
            for one in (client, server):
                one.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._sockets += [client, server]
            threading.Thread(target=self._up, args=(number, client, server), daemon=True).start()
            threading.Thread(target=self._down, args=(number, plan, client, server),
                             daemon=True).start()

    def _up(self, number, client, server):
        try:
            while data := client.recv(65536):
                self.sent[number] += data
                server.sendall(data)
        except OSError:
            pass
        self._hang_up(server)

    def _down(self, number, plan, client, server):
        passed = 0
        try:
            while data := server.recv(65536):
                if plan.edit:
                    data = plan.edit(data)
                end = min((one for one in (plan.cut_after, plan.stall_after) if one is not None),
                          default=passed + len(data))
                data = data[:max(end - passed, 0)]
                passed += len(data)
                self.received[number] += data
                client.sendall(data)
                if plan.cut_after is not None and passed >= plan.cut_after:
                    break
                if plan.stall_after is not None and passed >= plan.stall_after:
                    self._swallow(server)
                    return
        except OSError:
            pass
        self._hang_up(client)
        self._hang_up(server)

    @staticmethod
    def _swallow(server):
        try:
            while server.recv(65536):
                pass
        except OSError:
            pass
