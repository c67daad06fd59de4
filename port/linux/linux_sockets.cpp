// Sockets block; Connect alone switches one to non-blocking, to be able to give up. Interrupt
// reaches every wait: a shutdown of the receiving half for receives, an event for all others. The
// sending half stays, for the last word to the server. A lookup, which the system cannot cut short,
// runs on a thread of its own that is left behind when its waiter goes.
#include "port/linux/linux_sockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

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

// A peer that vanished without a word ends a receive after about two minutes.
constexpr int kKeepAliveIdleSeconds = 60;
constexpr int kKeepAliveIntervalSeconds = 15;
constexpr int kKeepAliveProbes = 4;

void SetOption(int fd, int level, int option, int value) {
  // A kernel that lacks an option still gives a working connection.
  setsockopt(fd, level, option, &value, sizeof value);
}

void SetOptions(int fd) {
  SetOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  SetOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdleSeconds);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveIntervalSeconds);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveProbes);
}

sockaddr_in SocketAddress(const Address& address, std::uint16_t port) {
  sockaddr_in native{};
  native.sin_family = AF_INET;
  native.sin_port = htons(port);
  std::memcpy(&native.sin_addr, address.bytes.data(), sizeof native.sin_addr);
  return native;
}

// What the lookup thread and its waiter share; the last one to leave frees it.
struct PendingLookup {
  std::string host;
  HostLookup lookup;
  std::vector<Address> addresses;
  std::atomic<int> error{-1};  // set last
  FileDescriptor done;
};

void RunLookup(const std::shared_ptr<PendingLookup>& pending) {
  pending->error = pending->lookup(pending->host, pending->addresses);
  eventfd_write(pending->done.get(), 1);
}

constexpr int kForEver = -1;
constexpr std::size_t kReadAhead = 65536;

// Waits for one of two descriptors (any of `events` on the first, readable on the second). True
// when the first is ready and the second is not. A signal begins the time limit anew.
bool WaitUnlessInterrupted(int fd, short events, int interrupt_fd, int milliseconds = kForEver) {
  pollfd waiting[] = {{fd, events, 0}, {interrupt_fd, POLLIN, 0}};
  int ready = 0;
  do {
    ready = poll(waiting, 2, milliseconds);
  } while (ready < 0 && errno == EINTR);
  return ready > 0 && waiting[1].revents == 0;
}

bool SetBlocking(int fd, bool blocking) {
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0) return false;
  return fcntl(fd, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK) == 0;
}

}  // namespace

int SocketErrorCode(int system_error) {
  for (const ErrorCode& entry : kErrorCodes) {
    if (entry.system_error == system_error) return entry.code;
  }
  return system_error;
}

int LookUpHost(const std::string& host, std::vector<Address>& addresses) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &hints, &found);
  if (error == EAI_SYSTEM && errno != 0) return errno;
  if (error == EAI_MEMORY) return ENOMEM;
  if (error != 0) return kErrorHostNotFound;
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
  for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_addrlen < sizeof(sockaddr_in)) continue;
    sockaddr_in native{};
    std::memcpy(&native, entry->ai_addr, sizeof native);
    Address& address = addresses.emplace_back();
    std::memcpy(address.bytes.data(), &native.sin_addr, sizeof native.sin_addr);
  }
  return addresses.empty() ? kErrorHostNotFound : 0;
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
  const std::lock_guard lock(mutex_);
  sockets_.clear();
}

SocketHandle LinuxSockets::Open() {
  FileDescriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd.valid()) {
    Fail(errno);
    return 0;
  }
  SetOptions(fd.get());
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
  const sockaddr_in any = SocketAddress({}, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) return Fail(errno);
  return true;
}

std::vector<Address> LinuxSockets::Resolve(const std::string& host) {
  // A NUL would end the name early and look up another host.
  const bool sound = !host.empty() && host.find('\0') == std::string::npos;
  if (Interrupted() || !sound) {
    Fail(kErrorHostNotFound);
    return {};
  }
  FileDescriptor done(eventfd(0, EFD_CLOEXEC));
  if (!done.valid()) {
    Fail(errno);
    return {};
  }
  const auto pending = std::make_shared<PendingLookup>();
  pending->host = host;
  pending->lookup = lookup_;
  pending->done = std::move(done);
  try {
    std::thread([pending] { RunLookup(pending); }).detach();
  } catch (const std::system_error&) {
    Fail(ENOMEM);
    return {};
  }
  if (!WaitUnlessInterrupted(pending->done.get(), POLLIN, interrupt_event_.get())) {
    Fail(ECANCELED);
    return {};
  }
  const int error = pending->error;
  if (error == 0) return std::move(pending->addresses);
  Fail(error);
  return {};
}

// Waits for a connect under way and returns its error number, 0 when it stands.
int LinuxSockets::FinishConnect(int fd) const {
  if (!WaitUnlessInterrupted(fd, POLLOUT, interrupt_event_.get())) return ECANCELED;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  return error;
}

bool LinuxSockets::Connect(SocketHandle socket, std::span<const Address> addresses,
                           std::uint16_t port) {
  const Socket* const found = Usable(socket);
  if (found == nullptr) return false;
  if (addresses.empty()) return Fail(EADDRNOTAVAIL);
  const int fd = found->fd.get();
  const sockaddr_in peer = SocketAddress(addresses.front(), port);
  if (!SetBlocking(fd, false)) return Fail(errno);
  int error = 0;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0) {
    // An interrupted connect goes on by itself, as one that would block.
    error = errno == EINPROGRESS || errno == EINTR ? FinishConnect(fd) : errno;
  }
  if (!SetBlocking(fd, true) && error == 0) error = errno;
  if (error != 0 || Interrupted()) return Fail(error);
  return true;
}

void LinuxSockets::SetStallLimit(SocketHandle socket, std::uint32_t milliseconds) {
  if (Socket* const found = Find(socket)) found->stall_limit = milliseconds;
}

TlsResult LinuxSockets::StartTls(SocketHandle socket, const TlsRequest&) {
  Fail(ENOSYS);
  Close(socket);
  return {TlsOutcome::kFailed, u"TLS is not there.", {}};
}

std::int64_t LinuxSockets::ReceiveInto(int fd, std::span<char> buffer) {
  // The kernel falls back to delayed acknowledgements by itself, so this is asked for every time. A
  // server that writes a reply in two parts would otherwise wait 40 ms before the second.
  SetOption(fd, IPPROTO_TCP, TCP_QUICKACK, 1);
  ssize_t got = 0;
  do {
    got = recv(fd, buffer.data(), buffer.size(), 0);
  } while (got < 0 && errno == EINTR && !Interrupted());
  if (got > 0) return got;
  if (got == 0 && !Interrupted()) return 0;
  Fail(errno);
  return -1;
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
  if (from.first == from.last) {
    if (buffer.size() >= kReadAhead) return ReceiveInto(from.fd.get(), buffer);
    from.ahead.resize(kReadAhead);
    const std::int64_t got = ReceiveInto(from.fd.get(), from.ahead);
    if (got <= 0) return got;
    from.first = 0;
    from.last = static_cast<std::size_t>(got);
  }
  const std::size_t count = std::min(buffer.size(), from.last - from.first);
  std::copy_n(from.ahead.begin() + static_cast<std::ptrdiff_t>(from.first), count, buffer.begin());
  from.first += count;
  return static_cast<std::int64_t>(count);
}

bool LinuxSockets::Send(SocketHandle socket, std::string_view data) {
  const Socket* const found = Find(socket);
  if (found == nullptr) return false;
  const int fd = found->fd.get();
  while (!data.empty()) {
    const ssize_t sent = send(fd, data.data(), data.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) data.remove_prefix(static_cast<std::size_t>(sent));
    if (sent >= 0 || errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) return Fail(errno);
    if (!WaitUnlessInterrupted(fd, POLLOUT, interrupt_event_.get())) return Fail(ECANCELED);
  }
  return true;
}

void LinuxSockets::Close(SocketHandle socket) {
  const std::lock_guard lock(mutex_);
  sockets_.erase(socket);
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
    if (nothing_yet && !WaitUnlessInterrupted(fd, POLLIN, interrupt_event_.get(),
                                              static_cast<int>(left.count()))) {
      return;
    }
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
