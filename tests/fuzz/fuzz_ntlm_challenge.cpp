// SPDX-License-Identifier: GPL-3.0-or-later
// The challenge of an encrypted login, without the letters in which it travels. What is taken for
// sound goes to the system's mechanism, where there is one.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "port/linux/linux_security.h"
#include "port/linux/ntlm_challenge.h"

namespace {

using namespace quillet::port;

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view token(reinterpret_cast<const char*>(data), size);
  const bool sound = IsSoundNtlmChallenge(token);
  static LinuxSecurity security;
  static const CredentialsHandle credentials =
      security.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"});
  if (credentials == 0) return 0;
  SecurityContextHandle context = 0;
  Require(security.InitializeContext(credentials, context, u"InetSvcs", {}).result ==
          kSecurityContinueNeeded);
  const SecurityStep step = security.InitializeContext(credentials, context, u"InetSvcs", token);
  Require(sound || step.result == kSecurityInvalidToken);
  Require(step.result != kSecurityContinueNeeded);
  Require(step.token.size() <= kLongestSecurityToken);
  security.FreeContext(context);
  return 0;
}
