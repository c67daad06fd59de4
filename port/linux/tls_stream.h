// SPDX-License-Identifier: GPL-3.0-or-later
// The encrypted side of one connection, over OpenSSL. Program thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "port/sockets.h"

namespace quillet::port {

// How the encrypted bytes travel. Both may wait; what ends a wait makes them fail.
struct TlsCarrier {
  // Bytes received, 0 when the peer closed, -1 on error.
  std::function<std::int64_t(std::span<char>)> receive;
  // Sends everything, or fails. With `may_wait` false only what goes at once.
  std::function<bool(std::string_view, bool may_wait)> send;
};

class TlsStream {
 public:
  explicit TlsStream(TlsCarrier carrier);
  TlsStream(const TlsStream&) = delete;
  TlsStream& operator=(const TlsStream&) = delete;
  ~TlsStream();

  // Once. After anything but kDone only the destructor may follow. It does not know why the carrier
  // failed: then the outcome is kFailed, and carrier_failed() tells.
  TlsResult Handshake(const TlsRequest& request);
  bool carrier_failed() const;

  // As of the carrier. What ended a wait leaves the stream usable. A close without a farewell is a
  // close: the conversation above knows what a whole reply is.
  std::int64_t Receive(std::span<char> buffer);
  // A send that failed is the last.
  bool Send(std::string_view data);
  // Tells the peer that nothing follows; waits for nothing.
  void SayFarewell();

 private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace quillet::port
