// SPDX-License-Identifier: GPL-3.0-or-later
// Stream sockets over IPv4 and IPv6, encrypted when the program asks for it. Blocking; program
// thread only, except Interrupt (any thread).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

// 0 is "no socket" (never a descriptor number).
using SocketHandle = std::uint32_t;

struct Address {
  bool v6 = false;
  std::array<std::uint8_t, 16> bytes{};  // network order; of IPv4 the first four
  std::uint32_t scope = 0;               // interface of a link-local IPv6 address
  bool operator==(const Address&) const = default;
};

constexpr Address Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
  return {false, {a, b, c, d}, 0};
}

// The codes of LastError that the program knows by name; others are the system's own.
constexpr int kErrorTooManySockets = 10024;
constexpr int kErrorAddressInUse = 10048;
constexpr int kErrorNetworkDown = 10050;
constexpr int kErrorNetworkUnreachable = 10051;
constexpr int kErrorNoBuffers = 10055;
constexpr int kErrorTimedOut = 10060;
constexpr int kErrorRefused = 10061;
constexpr int kErrorHostUnreachable = 10065;
// The peer was silent for the whole stall limit. Not one of the system's.
constexpr int kErrorStalled = 20060;

struct SocketVersion {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;
  bool operator==(const SocketVersion&) const = default;
};

enum class InterruptReason {
  kCancel,      // until the next Open
  kSessionEnd,  // for good
};

struct TlsRequest {
  std::string host;    // as the user wrote it: a name or the text of an address
  std::string pinned;  // fingerprint of the certificate that the user trusts; empty: none
};

enum class TlsOutcome {
  kDone,
  kUntrusted,   // the certificate does not prove the host, and none is pinned
  kChangedPin,  // it is not the pinned one, whether or not it would be trusted otherwise
  kFailed,      // no common version, no TLS at all, a lost connection, a stall (see LastError)
  kInterrupted,
};

struct TlsResult {
  TlsOutcome outcome = TlsOutcome::kFailed;
  std::u16string problem;   // one sentence for the user; empty when done or interrupted
  std::string fingerprint;  // SHA-256 of the server's certificate, "AB:CD:..."; empty without one
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
  // All addresses of a host name (8-bit text) or of the text of an address, in the order in which
  // to try them; empty when unknown.
  virtual std::vector<Address> Resolve(const std::string& host) = 0;
  // Tries the addresses, several at a time where one is slow (RFC 8305). On failure the error of
  // the attempt that tells most.
  virtual bool Connect(SocketHandle socket, std::span<const Address> addresses,
                       std::uint16_t port) = 0;
  // From now on a Receive, Send or StartTls that waits so long (milliseconds) and gets nowhere
  // fails with kErrorStalled; 0: it waits for ever.
  virtual void SetStallLimit(SocketHandle socket, std::uint32_t milliseconds) = 0;
  // From then on Receive and Send are encrypted. What was received in the clear and not taken is
  // thrown away. After any outcome but kDone the connection carries nothing any more, and nothing
  // but the handshake was sent.
  virtual TlsResult StartTls(SocketHandle socket, const TlsRequest& request) = 0;
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
