// Sockets block; Connect alone switches one to non-blocking, to be able to give up. Interrupt
// reaches every wait: an event for lookups and connects, a shutdown for receives and sends. A
// lookup, which the system cannot cut short, runs on a thread of its own that is left behind when
// its waiter goes.
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

#include <cerrno>
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

sockaddr_in SocketAddress(Ipv4Address address, std::uint16_t port) {
  sockaddr_in native{};
  native.sin_family = AF_INET;
  native.sin_port = htons(port);
  std::memcpy(&native.sin_addr, address.data(), address.size());
  return native;
}

// What the lookup thread and its waiter share; the last one to leave frees it.
struct PendingLookup {
  std::string host;
  HostLookup lookup;
  Ipv4Address address{};
  std::atomic<int> error{-1};  // set last
  FileDescriptor done;
};

void RunLookup(const std::shared_ptr<PendingLookup>& pending) {
  pending->error = pending->lookup(pending->host, pending->address);
  eventfd_write(pending->done.get(), 1);
}

// Waits for one of two descriptors (any of `events` on the first, readable on the second). True
// when the first is ready and the second is not.
bool WaitUnlessInterrupted(int fd, short events, int interrupt_fd) {
  pollfd waiting[] = {{fd, events, 0}, {interrupt_fd, POLLIN, 0}};
  int ready = 0;
  do {
    ready = poll(waiting, 2, -1);
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

int LookUpHost(const std::string& host, Ipv4Address& address) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &hints, &found);
  if (error == EAI_SYSTEM && errno != 0) return errno;
  if (error == EAI_MEMORY) return ENOMEM;
  if (error != 0) return kErrorHostNotFound;
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
  if (found == nullptr || found->ai_addrlen < sizeof(sockaddr_in)) {
    return kErrorHostNotFound;
  }
  sockaddr_in native{};
  std::memcpy(&native, found->ai_addr, sizeof native);
  std::memcpy(address.data(), &native.sin_addr, address.size());
  return 0;
}

LinuxSockets::LinuxSockets(HostLookup lookup)
    : lookup_(std::move(lookup)), interrupt_event_(eventfd(0, EFD_CLOEXEC)) {}

bool LinuxSockets::Fail(int system_error) {
  last_error_ = SocketErrorCode(interrupted_ ? ECANCELED : system_error);
  return false;
}

int LinuxSockets::Usable(SocketHandle socket) {
  int fd = -1;
  {
    const std::lock_guard lock(mutex_);
    const auto found = sockets_.find(socket);
    if (found != sockets_.end()) fd = found->second.get();
  }
  if (fd >= 0 && !interrupted_) return fd;
  Fail(ENOTSOCK);
  return -1;
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
  do {
    ++last_handle_;
  } while (last_handle_ == 0 || sockets_.contains(last_handle_));
  sockets_.emplace(last_handle_, std::move(fd));
  return last_handle_;
}

bool LinuxSockets::Bind(SocketHandle socket) {
  const int fd = Usable(socket);
  if (fd < 0) return false;
  const sockaddr_in any = SocketAddress({0, 0, 0, 0}, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) return Fail(errno);
  return true;
}

std::optional<Ipv4Address> LinuxSockets::Resolve(const std::string& host) {
  // A NUL would end the name early and look up another host.
  const bool sound = !host.empty() && host.find('\0') == std::string::npos;
  if (interrupted_ || !sound) {
    Fail(kErrorHostNotFound);
    return std::nullopt;
  }
  FileDescriptor done(eventfd(0, EFD_CLOEXEC));
  if (!done.valid()) {
    Fail(errno);
    return std::nullopt;
  }
  const auto pending = std::make_shared<PendingLookup>();
  pending->host = host;
  pending->lookup = lookup_;
  pending->done = std::move(done);
  try {
    std::thread([pending] { RunLookup(pending); }).detach();
  } catch (const std::system_error&) {
    Fail(ENOMEM);
    return std::nullopt;
  }
  if (!WaitUnlessInterrupted(pending->done.get(), POLLIN, interrupt_event_.get())) {
    Fail(ECANCELED);
    return std::nullopt;
  }
  const int error = pending->error;
  if (error == 0) return pending->address;
  Fail(error);
  return std::nullopt;
}

// Waits for a connect under way and returns its error number, 0 when it stands.
int LinuxSockets::FinishConnect(int fd) const {
  if (!WaitUnlessInterrupted(fd, POLLOUT, interrupt_event_.get())) return ECANCELED;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  return error;
}

bool LinuxSockets::Connect(SocketHandle socket, Ipv4Address address, std::uint16_t port) {
  const int fd = Usable(socket);
  if (fd < 0) return false;
  const sockaddr_in peer = SocketAddress(address, port);
  if (!SetBlocking(fd, false)) return Fail(errno);
  int error = 0;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0) {
    // An interrupted connect goes on by itself, as one that would block.
    error = errno == EINPROGRESS || errno == EINTR ? FinishConnect(fd) : errno;
  }
  if (!SetBlocking(fd, true) && error == 0) error = errno;
  if (error != 0 || interrupted_) return Fail(error);
  return true;
}

std::int64_t LinuxSockets::Receive(SocketHandle socket, std::span<char> buffer) {
  const int fd = Usable(socket);
  if (fd < 0) return -1;
  if (buffer.empty()) {
    Fail(EINVAL);
    return -1;
  }
  // The kernel falls back to delayed acknowledgements by itself, so this is asked for every time. A
  // server that writes a reply in two parts would otherwise wait 40 ms before the second.
  SetOption(fd, IPPROTO_TCP, TCP_QUICKACK, 1);
  ssize_t got = 0;
  do {
    got = recv(fd, buffer.data(), buffer.size(), 0);
  } while (got < 0 && errno == EINTR && !interrupted_);
  if (got > 0) return got;
  if (got == 0 && !interrupted_) return 0;
  Fail(errno);
  return -1;
}

bool LinuxSockets::Send(SocketHandle socket, std::string_view data) {
  const int fd = Usable(socket);
  if (fd < 0) return false;
  while (!data.empty()) {
    const ssize_t sent = send(fd, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent < 0 && (errno != EINTR || interrupted_)) return Fail(errno);
    if (sent > 0) data.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void LinuxSockets::Close(SocketHandle socket) {
  const std::lock_guard lock(mutex_);
  sockets_.erase(socket);
}

void LinuxSockets::Interrupt() {
  interrupted_ = true;
  eventfd_write(interrupt_event_.get(), 1);
  // Shutting down wakes a blocked receive or send, so that these need no poll of their own. A
  // socket that is not connected yet refuses it and is ended through the event.
  const std::lock_guard lock(mutex_);
  for (const auto& [handle, fd] : sockets_) shutdown(fd.get(), SHUT_RDWR);
}

}  // namespace quillet::port
