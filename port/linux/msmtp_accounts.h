// SPDX-License-Identifier: GPL-3.0-or-later
// The accounts in the configuration of the mail program msmtp, as far as they matter here. Pure;
// any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

struct MsmtpAccount {
  std::string name;
  std::string from;  // empty when there is none, or it is a pattern
};

// In the order of the file. An account "default" that does nothing but name another one is left
// out: it would be offered twice. What is not understood is passed over.
std::vector<MsmtpAccount> ReadMsmtpAccounts(std::string_view text);

}  // namespace quillet::port
