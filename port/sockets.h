// Stream sockets over IPv4. Blocking; program thread only, except Interrupt (any thread).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quillet::port {

// 0 is "no socket" (never a descriptor number).
using SocketHandle = std::uint32_t;
using Ipv4Address = std::array<std::uint8_t, 4>;

// The codes of LastError that the program knows by name; others are the system's own.
constexpr int kErrorTooManySockets = 10024;
constexpr int kErrorAddressInUse = 10048;
constexpr int kErrorNetworkDown = 10050;
constexpr int kErrorNetworkUnreachable = 10051;
constexpr int kErrorNoBuffers = 10055;
constexpr int kErrorTimedOut = 10060;
constexpr int kErrorRefused = 10061;
constexpr int kErrorHostUnreachable = 10065;

struct SocketVersion {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;
  bool operator==(const SocketVersion&) const = default;
};

enum class InterruptReason {
  kCancel,      // until the next Open
  kSessionEnd,  // for good
};

class Sockets {
 public:
  virtual ~Sockets() = default;

  // Starts the service, asking for a version; the version granted, nothing on failure. Each
  // success is paired with one Cleanup; surplus Cleanups do nothing.
  virtual std::optional<SocketVersion> Startup(SocketVersion wanted) = 0;
  virtual void Cleanup() = 0;

  // A new TCP socket; 0 on failure. All failures below leave their code in LastError.
  virtual SocketHandle Open() = 0;
  // Binds to any address, port 0.
  virtual bool Bind(SocketHandle socket) = 0;
  // First IPv4 address of a host name (8-bit text); nothing when unknown.
  virtual std::optional<Ipv4Address> Resolve(const std::string& host) = 0;
  virtual bool Connect(SocketHandle socket, Ipv4Address address, std::uint16_t port) = 0;
  // Bytes received (at least 1, at most buffer.size()), 0 when the peer closed, -1 on error. An
  // empty buffer is an error. Small packets are sent and acknowledged at once.
  virtual std::int64_t Receive(SocketHandle socket, std::span<char> buffer) = 0;
  // Sends everything, or fails. Never raises a signal. After an Interrupt it sends what goes
  // without waiting, so that the server can still be told.
  virtual bool Send(SocketHandle socket, std::string_view data) = 0;
  // Closing 0 or a closed socket does nothing.
  virtual void Close(SocketHandle socket) = 0;
  virtual int LastError() = 0;

  // Throws away what still comes until the peer closes, for that time at most. Returns at once when
  // there is no connection, and ends with an Interrupt.
  virtual void AwaitClose(SocketHandle socket, std::uint32_t milliseconds) = 0;

  // Nobody waits any more: a blocked call above fails soon, later ones that would wait fail at
  // once.
  virtual void Interrupt(InterruptReason reason) = 0;
};

}  // namespace quillet::port
