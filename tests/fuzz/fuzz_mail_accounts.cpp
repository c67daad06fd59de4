// SPDX-License-Identifier: GPL-3.0-or-later
// The configuration of a mail program from arbitrary bytes.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "port/linux/msmtp_accounts.h"
#include "util/text.h"

using namespace quillet;
using namespace quillet::port;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const MsmtpAccount& account : ReadMsmtpAccounts(text)) {
    // Both become arguments of a program, and the name that of a key.
    Expect(!account.name.empty() && account.name.front() != '-');
    Expect(account.name.find('\\') == account.name.npos && !HasControlCharacter(account.name));
    Expect(!StartsWith(account.from, "-") && !HasControlCharacter(account.from));
  }
  return 0;
}
