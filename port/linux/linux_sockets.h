// SPDX-License-Identifier: GPL-3.0-or-later
// Stream sockets over the system's.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "port/linux/file_descriptor.h"
#include "port/linux/host_lookup.h"
#include "port/linux/tls_stream.h"
#include "port/sockets.h"

namespace quillet::port {

// The code of a system error number: the service's own where there is one, else the number itself.
int SocketErrorCode(int system_error);

class LinuxSockets final : public Sockets {
 public:
  // The lookup runs on a thread of its own, which is abandoned when the lookup is interrupted: it
  // must not use anything that may go away.
  explicit LinuxSockets(HostLookup lookup = LookUpHost);
  ~LinuxSockets() override = default;

  // Version 1.1 is what there is: asking for less fails. The last Cleanup closes what is open.
  std::optional<SocketVersion> Startup(SocketVersion wanted) override;
  void Cleanup() override;

  SocketHandle Open() override;
  bool Bind(SocketHandle socket) override;
  std::vector<Address> Resolve(const std::string& host) override;
  bool Connect(SocketHandle socket, std::span<const Address> addresses,
               std::uint16_t port) override;
  void SetStallLimit(SocketHandle socket, std::uint32_t milliseconds) override;
  TlsResult StartTls(SocketHandle socket, const TlsRequest& request) override;
  std::int64_t Receive(SocketHandle socket, std::span<char> buffer) override;
  bool Send(SocketHandle socket, std::string_view data) override;
  void Close(SocketHandle socket) override;
  int LastError() override { return last_error_; }
  void AwaitClose(SocketHandle socket, std::uint32_t milliseconds) override;

  // What fails because of it reports ECANCELED.
  void Interrupt(InterruptReason reason) override;
  // How often that came. Any thread.
  std::uint32_t interrupts() const { return interrupts_; }

 private:
  struct Socket {
    FileDescriptor fd;
    std::uint32_t stall_limit = 0;  // milliseconds; 0: none
    // Received and not handed out yet: from first to last. Program thread only.
    std::vector<char> ahead;
    std::size_t first = 0;
    std::size_t last = 0;
    bool heard = false;  // anything from the peer
    bool over = false;   // its handshake did not come about: it carries nothing any more
    std::unique_ptr<TlsStream> tls;
  };

  bool Interrupted() const { return cancelled_ || session_ended_; }
  // Null with the error set when there is no such socket. It stays where it is until Close.
  Socket* Find(SocketHandle socket);
  // The same, but also null when all was interrupted.
  Socket* Usable(SocketHandle socket);
  std::int64_t ReceiveInto(int fd, std::span<char> buffer);
  std::int64_t ReceiveFrom(Socket& socket, std::span<char> buffer);
  bool SendPlain(const Socket& socket, std::string_view data, bool may_wait);
  TlsResult RefuseTls(Socket& socket, TlsResult result);
  bool Fail(int system_error);

  const HostLookup lookup_;
  std::mutex mutex_;  // guards the table and the flags: Interrupt comes on another thread
  std::unordered_map<SocketHandle, Socket> sockets_;
  SocketHandle last_handle_ = 0;
  FileDescriptor interrupt_event_;
  // Written under the mutex.
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> session_ended_{false};
  std::atomic<std::uint32_t> interrupts_{0};
  int startups_ = 0;
  int last_error_ = 0;
};

}  // namespace quillet::port
