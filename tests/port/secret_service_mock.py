#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""org.freedesktop.secrets on the session bus, for tests: one collection in memory.

quillet.Mock on the same object changes its manners: Lock, Answer (what becomes of prompts: "accept",
"dismiss", "never", or "oddly": dismissed with a result of a wrong type), Silence (no call is answered any more), DropDefault; Prompts and Texts tell what
happened.
"""

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

ROOT = "/org/freedesktop/secrets"
SECRET = "org.freedesktop.Secret."
PROPERTIES = "org.freedesktop.DBus.Properties"
NO_PROMPT = dbus.ObjectPath("/")


class NotSupported(dbus.DBusException):
    _dbus_error_name = "org.freedesktop.DBus.Error.NotSupported"


class IsLocked(dbus.DBusException):
    _dbus_error_name = "org.freedesktop.Secret.Error.IsLocked"


class Object(dbus.service.Object):
    """Something with properties."""

    def properties(self):
        return {}

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, _interface, name):
        return self.properties()[name]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, _interface):
        return dbus.Dictionary(self.properties(), signature="sv")


class Item(Object):
    def __init__(self, service, path, attributes, label, secret):
        super().__init__(service.connection, path)
        self.service = service
        self.path = dbus.ObjectPath(path)
        self.attributes = attributes
        self.label = label
        self.secret = secret

    def properties(self):
        return {
            "Locked": dbus.Boolean(self.service.locked),
            "Attributes": dbus.Dictionary(self.attributes, signature="ss"),
            "Label": self.label,
            "Created": dbus.UInt64(0),
            "Modified": dbus.UInt64(0),
        }

    @dbus.service.method(SECRET + "Item", out_signature="o")
    def Delete(self):
        if self.service.locked:
            raise IsLocked("locked")
        self.service.items.remove(self)
        self.remove_from_connection()
        return NO_PROMPT


class Prompt(Object):
    def __init__(self, service, path, accepted, nothing):
        """`nothing` is the result of a prompt that was dismissed."""
        super().__init__(service.connection, path)
        self.service = service
        self.accepted = accepted
        self.nothing = nothing

    @dbus.service.method(SECRET + "Prompt", in_signature="s")
    def Prompt(self, _window):
        self.service.prompts += 1
        if self.service.answer == "accept":
            result = self.accepted()
            GLib.timeout_add(20, lambda: self.Completed(False, result))
        elif self.service.answer == "dismiss":
            GLib.timeout_add(20, lambda: self.Completed(True, self.nothing))
        elif self.service.answer == "oddly":
            result = dbus.String("", variant_level=1)
            GLib.timeout_add(20, lambda: self.Completed(True, result))

    @dbus.service.method(SECRET + "Prompt")
    def Dismiss(self):
        self.Completed(True, self.nothing)

    @dbus.service.signal(SECRET + "Prompt", signature="bv")
    def Completed(self, _dismissed, _result):
        pass


class Collection(Object):
    def __init__(self, service, path):
        super().__init__(service.connection, path)
        self.service = service
        self.path = dbus.ObjectPath(path)

    def properties(self):
        return {
            "Items": dbus.Array([item.path for item in self.service.items], signature="o"),
            "Label": "Login",
            "Locked": dbus.Boolean(self.service.locked),
            "Created": dbus.UInt64(0),
            "Modified": dbus.UInt64(0),
        }

    @dbus.service.method(
        SECRET + "Collection", in_signature="a{sv}(oayays)b", out_signature="oo"
    )
    def CreateItem(self, properties, secret, replace):
        if self.service.locked:
            raise IsLocked("locked")
        attributes = dict(properties[SECRET + "Item.Attributes"])
        label = str(properties[SECRET + "Item.Label"])
        same = [item for item in self.service.items if item.attributes == attributes]
        if replace and same:
            same[0].label, same[0].secret = label, secret
            return same[0].path, NO_PROMPT
        item = Item(self.service, self.service.new_path("item"), attributes, label, secret)
        self.service.items.append(item)
        return item.path, NO_PROMPT


class Service(Object):
    def __init__(self, connection):
        super().__init__(connection, ROOT)
        self.locked = False
        self.answer = "accept"
        self.silent = False
        self.prompts = 0
        self.items = []
        self.paths = 0
        self.collection = Collection(self, ROOT + "/collection/login")
        self.default = self.collection.path
        self.alias = Collection(self, ROOT + "/aliases/default")

    def new_path(self, kind):
        self.paths += 1
        return f"{ROOT}/{kind}/{self.paths}"

    def properties(self):
        return {"Collections": dbus.Array([self.collection.path], signature="o")}

    @dbus.service.method(SECRET + "Service", in_signature="sv", out_signature="vo")
    def OpenSession(self, algorithm, _input):
        if algorithm != "plain":
            raise NotSupported(algorithm)
        return dbus.String("", variant_level=1), dbus.ObjectPath(ROOT + "/session/1")

    @dbus.service.method(
        SECRET + "Service",
        in_signature="a{ss}",
        out_signature="aoao",
        async_callbacks=("answer", "fail"),
    )
    def SearchItems(self, attributes, answer, fail):
        if self.silent:
            return
        found = dbus.Array(
            [item.path for item in self.items if attributes.items() <= item.attributes.items()],
            signature="o",
        )
        none = dbus.Array([], signature="o")
        answer(*((none, found) if self.locked else (found, none)))

    @dbus.service.method(SECRET + "Service", in_signature="ao", out_signature="aoo")
    def Unlock(self, objects):
        if not self.locked:
            return objects, NO_PROMPT

        def accepted():
            self.locked = False
            return dbus.Array(objects, signature="o", variant_level=1)

        path = self.new_path("prompt")
        Prompt(self, path, accepted, dbus.Array([], signature="o", variant_level=1))
        return dbus.Array([], signature="o"), dbus.ObjectPath(path)

    @dbus.service.method(SECRET + "Service", in_signature="aoo", out_signature="a{o(oayays)}")
    def GetSecrets(self, paths, session):
        secrets = {
            item.path: dbus.Struct(
                (session, item.secret[1], item.secret[2], item.secret[3]), signature="oayays"
            )
            for item in self.items
            if item.path in paths and not self.locked
        }
        return dbus.Dictionary(secrets, signature="o(oayays)")

    @dbus.service.method(SECRET + "Service", in_signature="s", out_signature="o")
    def ReadAlias(self, name):
        return self.default if name == "default" else NO_PROMPT

    @dbus.service.method(SECRET + "Service", in_signature="a{sv}s", out_signature="oo")
    def CreateCollection(self, _properties, _alias):
        def accepted():
            self.default = self.collection.path
            self.alias.add_to_connection(self.connection, ROOT + "/aliases/default")
            return dbus.ObjectPath(self.collection.path, variant_level=1)

        path = self.new_path("prompt")
        Prompt(self, path, accepted, dbus.ObjectPath("/", variant_level=1))
        return NO_PROMPT, dbus.ObjectPath(path)

    @dbus.service.method("quillet.Mock")
    def Lock(self):
        self.locked = True

    @dbus.service.method("quillet.Mock", in_signature="s")
    def Answer(self, answer):
        self.answer = answer

    @dbus.service.method("quillet.Mock")
    def Silence(self):
        self.silent = True

    @dbus.service.method("quillet.Mock")
    def DropDefault(self):
        self.default = NO_PROMPT
        self.alias.remove_from_connection()

    @dbus.service.method("quillet.Mock", out_signature="u")
    def Prompts(self):
        return dbus.UInt32(self.prompts)

    @dbus.service.method("quillet.Mock", out_signature="as")
    def Texts(self):
        return dbus.Array(
            sorted(item.label + "=" + bytes(item.secret[2]).decode() for item in self.items),
            signature="s",
        )


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    connection = dbus.SessionBus()
    service = Service(connection)
    name = dbus.service.BusName("org.freedesktop.secrets", connection, do_not_queue=True)
    GLib.MainLoop().run()
    del service, name


if __name__ == "__main__":
    main()
