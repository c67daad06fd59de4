// SPDX-License-Identifier: GPL-3.0-or-later
// The encrypted login: tokens of the security package NTLM, in base64, inside AUTHINFO GENERIC.
// Program thread only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/run_end.h"
#include "port/security.h"

namespace quillet {

// What the system has for encrypted logins.
struct SecurityInterface {
  std::vector<port::SecurityPackage> packages;
  // The last one that offers integrity or privacy; -1: none does.
  int best_package = -1;
};
extern SecurityInterface gSecurityInterface;

// Once at the start. Without packages nothing is kept, and encrypted logins fail.
void LoadSecurityInterface();

// An entry "USER\DOMAIN": the text before the first backslash and the text behind it, nothing
// when there is no backslash.
struct SplitName {
  std::u16string user;
  std::u16string domain;
};
SplitName SplitUserName(std::u16string_view text);

// Logs in to the selected server. kGoOn when that worked; otherwise kLost or kRefused, the reason
// is in the error log and the connection is to be closed. No command of the exchange is logged.
RunEnd NegotiateNtlm();

}  // namespace quillet
