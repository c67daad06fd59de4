// SPDX-License-Identifier: GPL-3.0-or-later
// Sockets block; only while it connects one does not, to be able to give up. Interrupt
// reaches every wait: a shutdown of the receiving half for receives, an event for all others. The
// sending half stays, for the last word to the server. A receive takes one call of the system: its
// time limit is the descriptor's own.
#include "port/linux/linux_sockets.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include "port/linux/address_race.h"
#include "port/linux/certificate_text.h"
#include "port/linux/socket_tools.h"
#include "util/format.h"

namespace quillet::port {
namespace {

struct ErrorCode {
  int system_error;
  int code;
};

constexpr ErrorCode kErrorCodes[] = {
    {EMFILE, kErrorTooManySockets},
    {ENFILE, kErrorTooManySockets},
    {EADDRINUSE, kErrorAddressInUse},
    {ENETDOWN, kErrorNetworkDown},
    {ENETUNREACH, kErrorNetworkUnreachable},
    {ENOBUFS, kErrorNoBuffers},
    {ENOMEM, kErrorNoBuffers},
    {ETIMEDOUT, kErrorTimedOut},
    {ECONNREFUSED, kErrorRefused},
    {EHOSTUNREACH, kErrorHostUnreachable},
};

constexpr std::size_t kReadAhead = 65536;

// Without waiting, and not for ever: a peer that goes on is no partner.
void ThrowAwayWhatCame(int fd) {
  std::array<char, 4096> bytes{};
  for (int i = 0; i < 256 && recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT) > 0;) ++i;
}

std::u16string NoTlsConnection(std::string_view host) {
  return FormatWide(u"The connection to %ls ended during the TLS handshake.", HostNameText(host));
}

std::u16string SilentDuringTls(std::string_view host) {
  return FormatWide(u"%ls was silent during the TLS handshake.", HostNameText(host));
}

int ToPollTime(std::uint32_t milliseconds) {
  return static_cast<int>(std::min(milliseconds, 0x7FFFFFFFU));
}

}  // namespace

int SocketErrorCode(int system_error) {
  for (const ErrorCode& entry : kErrorCodes) {
    if (entry.system_error == system_error) return entry.code;
  }
  return system_error;
}

LinuxSockets::LinuxSockets(HostLookup lookup)
    : lookup_(std::move(lookup)), interrupt_event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

bool LinuxSockets::Fail(int system_error) {
  last_error_ = SocketErrorCode(Interrupted() ? ECANCELED : system_error);
  return false;
}

LinuxSockets::Socket* LinuxSockets::Find(SocketHandle socket) {
  {
    const std::lock_guard lock(mutex_);
    const auto found = sockets_.find(socket);
    if (found != sockets_.end()) return &found->second;
  }
  Fail(ENOTSOCK);
  return nullptr;
}

LinuxSockets::Socket* LinuxSockets::Usable(SocketHandle socket) {
  Socket* const found = Find(socket);
  if (found == nullptr || !Interrupted()) return found;
  Fail(ECANCELED);
  return nullptr;
}

std::optional<SocketVersion> LinuxSockets::Startup(SocketVersion wanted) {
  const bool too_old = wanted.major < 1 || (wanted.major == 1 && wanted.minor < 1);
  if (too_old) return std::nullopt;
  ++startups_;
  return SocketVersion{1, 1};
}

void LinuxSockets::Cleanup() {
  if (startups_ == 0 || --startups_ > 0) return;
  std::vector<SocketHandle> open;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [handle, socket] : sockets_) open.push_back(handle);
  }
  for (const SocketHandle handle : open) Close(handle);
}

SocketHandle LinuxSockets::Open() {
  FileDescriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd.valid()) {
    Fail(errno);
    return 0;
  }
  SetSocketOptions(fd.get());
  const std::lock_guard lock(mutex_);
  if (cancelled_.exchange(false) && !session_ended_) {
    eventfd_t count = 0;
    eventfd_read(interrupt_event_.get(), &count);
  }
  do {
    ++last_handle_;
  } while (last_handle_ == 0 || sockets_.contains(last_handle_));
  sockets_[last_handle_].fd = std::move(fd);
  return last_handle_;
}

bool LinuxSockets::Bind(SocketHandle socket) {
  const Socket* const found = Usable(socket);
  if (found == nullptr) return false;
  const int fd = found->fd.get();
  const NativeAddress any = ToNative({}, 0);
  if (bind(fd, any.get(), any.size) != 0) return Fail(errno);
  return true;
}

std::vector<Address> LinuxSockets::Resolve(const std::string& host) {
  // A NUL would end the name early and look up another host.
  const bool sound = !host.empty() && host.find('\0') == std::string::npos;
  if (Interrupted() || !sound) {
    Fail(kErrorHostNotFound);
    return {};
  }
  std::vector<Address> addresses;
  const int error = LookUpUnlessInterrupted(lookup_, host, interrupt_event_.get(), addresses);
  if (error != 0) Fail(error);
  return addresses;
}

bool LinuxSockets::Connect(SocketHandle socket, std::span<const Address> addresses,
                           std::uint16_t port) {
  Socket* const found = Usable(socket);
  if (found == nullptr) return false;
  if (addresses.empty()) return Fail(EADDRNOTAVAIL);
  FileDescriptor ipv4;
  {
    const std::lock_guard lock(mutex_);
    ipv4 = std::move(found->fd);
  }
  RaceResult race = ConnectToFirst(addresses, port, std::move(ipv4), interrupt_event_.get());
  if (race.error == 0 && !SetBlocking(race.winner.get(), true)) race.error = errno;
  if (race.error != 0) return Fail(race.error);
  SetPatience(race.winner.get(), found->stall_limit);
  {
    const std::lock_guard lock(mutex_);
    found->fd = std::move(race.winner);
  }
  // From here on an Interrupt finds the winner in the table.
  return !Interrupted() || Fail(ECANCELED);
}

void LinuxSockets::SetStallLimit(SocketHandle socket, std::uint32_t milliseconds) {
  Socket* const found = Find(socket);
  if (found == nullptr) return;
  found->stall_limit = milliseconds;
  SetPatience(found->fd.get(), milliseconds);
}

// The connection is given up.
TlsResult LinuxSockets::RefuseTls(Socket& socket, TlsResult result) {
  socket.tls.reset();
  socket.over = true;
  shutdown(socket.fd.get(), SHUT_RDWR);
  if (Interrupted()) {
    Fail(ECANCELED);
    return {TlsOutcome::kInterrupted, {}, {}};
  }
  return result;
}

TlsResult LinuxSockets::StartTls(SocketHandle socket, const TlsRequest& request) {
  TlsResult result{TlsOutcome::kFailed, NoTlsConnection(request.host), {}};
  Socket* const found = Find(socket);
  if (found == nullptr) return result;
  if (Interrupted() || found->tls || found->over) return RefuseTls(*found, std::move(result));
  Socket& on = *found;
  on.first = on.last = 0;
  // Before its first flight has been asked for a server has nothing to say. What has come behind
  // its last word in the clear is not its own, or not worth reading; where it has said nothing yet,
  // a greeting tells that it does not speak TLS.
  if (on.heard) ThrowAwayWhatCame(on.fd.get());
  on.tls = std::make_unique<TlsStream>(TlsCarrier{
      [this, fd = on.fd.get()](std::span<char> buffer) { return ReceiveInto(fd, buffer); },
      [this, &on](std::string_view data, bool may_wait) { return SendPlain(on, data, may_wait); }});
  last_error_ = EPROTO;
  result = on.tls->Handshake(request);
  if (result.outcome == TlsOutcome::kDone && !Interrupted()) return result;
  const bool stalled = on.tls->carrier_failed() && last_error_ == kErrorStalled;
  if (stalled) result.problem = SilentDuringTls(request.host);
  return RefuseTls(on, std::move(result));
}

std::int64_t LinuxSockets::ReceiveInto(int fd, std::span<char> buffer) {
  // The kernel falls back to delayed acknowledgements by itself, so this is asked for every time. A
  // server that writes a reply in two parts would otherwise wait 40 ms before the second.
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
  ssize_t got = 0;
  do {
    got = recv(fd, buffer.data(), buffer.size(), 0);
  } while (got < 0 && errno == EINTR && !Interrupted());
  if (got > 0) return got;
  if (got == 0 && !Interrupted()) return 0;
  // The descriptor blocks; nothing has come for the whole of its stall limit.
  const bool stalled = got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
  Fail(stalled ? kErrorStalled : errno);
  return -1;
}

std::int64_t LinuxSockets::ReceiveFrom(Socket& socket, std::span<char> buffer) {
  const std::int64_t got =
      socket.tls ? socket.tls->Receive(buffer) : ReceiveInto(socket.fd.get(), buffer);
  if (got > 0) socket.heard = true;
  if (got < 0 && socket.tls && !socket.tls->carrier_failed()) Fail(EPROTO);
  return got;
}

// The program asks for what its line buffer or its article still holds; the system is asked for
// all that has come, so that a reply takes one call and not one for each of its parts.
std::int64_t LinuxSockets::Receive(SocketHandle socket, std::span<char> buffer) {
  Socket* const found = Usable(socket);
  if (found == nullptr) return -1;
  if (buffer.empty()) {
    Fail(EINVAL);
    return -1;
  }
  Socket& from = *found;
  if (from.over) {
    Fail(ENOTCONN);
    return -1;
  }
  if (from.first == from.last) {
    if (buffer.size() >= kReadAhead) return ReceiveFrom(from, buffer);
    from.ahead.resize(kReadAhead);
    const std::int64_t got = ReceiveFrom(from, from.ahead);
    if (got <= 0) return got;
    from.first = 0;
    from.last = static_cast<std::size_t>(got);
  }
  const std::size_t count = std::min(buffer.size(), from.last - from.first);
  std::copy_n(from.ahead.begin() + static_cast<std::ptrdiff_t>(from.first), count, buffer.begin());
  from.first += count;
  return static_cast<std::int64_t>(count);
}

bool LinuxSockets::SendPlain(const Socket& socket, std::string_view data, bool may_wait) {
  const int fd = socket.fd.get();
  const int limit = socket.stall_limit == 0 ? kForEver : ToPollTime(socket.stall_limit);
  while (!data.empty()) {
    const ssize_t sent = send(fd, data.data(), data.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) data.remove_prefix(static_cast<std::size_t>(sent));
    if (sent >= 0 || errno == EINTR) continue;
    const bool would_wait = errno == EAGAIN || errno == EWOULDBLOCK;
    if (!would_wait || !may_wait) return Fail(errno);
    const WaitEnd end = WaitFor(fd, POLLOUT, interrupt_event_.get(), limit);
    if (end == WaitEnd::kInterrupted) return Fail(ECANCELED);
    if (end == WaitEnd::kTimedOut) return Fail(kErrorStalled);
  }
  return true;
}

bool LinuxSockets::Send(SocketHandle socket, std::string_view data) {
  const Socket* const found = Find(socket);
  if (found == nullptr) return false;
  if (found->over) return Fail(ENOTCONN);
  if (!found->tls) return SendPlain(*found, data, true);
  return found->tls->Send(data) || (found->tls->carrier_failed() ? false : Fail(EPROTO));
}

void LinuxSockets::Close(SocketHandle socket) {
  decltype(sockets_)::node_type closed;
  {
    const std::lock_guard lock(mutex_);
    closed = sockets_.extract(socket);
  }
  // A peer may tell this end from one that somebody on the way has made.
  if (closed && closed.mapped().tls) closed.mapped().tls->SayFarewell();
}

void LinuxSockets::AwaitClose(SocketHandle socket, std::uint32_t milliseconds) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
  const Socket* const found = Usable(socket);
  if (found == nullptr) return;
  const int fd = found->fd.get();
  std::array<char, 4096> thrown_away{};
  while (!Interrupted()) {
    const ssize_t got = recv(fd, thrown_away.data(), thrown_away.size(), MSG_DONTWAIT);
    const bool nothing_yet = got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    if (got == 0 || (got < 0 && !nothing_yet && errno != EINTR)) return;
    // Also after a receive: a server may send for ever.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
    if (left.count() <= 0) return;
    const int limit = static_cast<int>(left.count());
    if (!nothing_yet) continue;
    if (WaitFor(fd, POLLIN, interrupt_event_.get(), limit) != WaitEnd::kReady) return;
  }
}

void LinuxSockets::Interrupt(InterruptReason reason) {
  const std::lock_guard lock(mutex_);
  (reason == InterruptReason::kCancel ? cancelled_ : session_ended_) = true;
  ++interrupts_;
  eventfd_write(interrupt_event_.get(), 1);
  // Wakes a blocked receive, which so needs no poll of its own. A socket that is not connected yet
  // refuses it and is ended through the event.
  for (const auto& [handle, socket] : sockets_) shutdown(socket.fd.get(), SHUT_RD);
}

}  // namespace quillet::port
