// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the peer of a handshake is whom the user wants. Program thread only.
#pragma once

#include <string>

#include "port/sockets.h"

struct x509_store_ctx_st;

namespace quillet::port {

class PeerCheck {
 public:
  explicit PeerCheck(const TlsRequest& request);

  // Called from within the handshake; with false it ends in an alert. Whom the certificate has to
  // be for stands in `context`.
  bool Accepts(x509_store_ctx_st* context);

  // The peer's certificate was seen and found good. A handshake without one is none.
  bool accepted() const { return accepted_; }
  // Why it was refused; kFailed without a problem as long as none was seen.
  const TlsResult& result() const { return result_; }

 private:
  bool Refuse(TlsOutcome outcome, std::u16string problem);

  const std::string host_;
  const std::string pinned_;
  bool accepted_ = false;
  TlsResult result_;
};

}  // namespace quillet::port
