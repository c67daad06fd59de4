// SPDX-License-Identifier: GPL-3.0-or-later
// Security packages whose exchanges are canned. Program thread only.
#pragma once

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "port/security.h"

namespace quillet::port {

class FakeSecurity final : public Security {
 public:
  // Whatever of them is not freed is in `credentials` or `contexts`.
  std::vector<SecurityPackage> EnumeratePackages() override;
  CredentialsHandle AcquireCredentials(std::u16string_view package,
                                       const SecurityIdentity& identity) override;
  SecurityStep InitializeContext(CredentialsHandle used, SecurityContextHandle& context,
                                 std::u16string_view target, std::string_view input) override;
  void FreeContext(SecurityContextHandle context) override;
  void FreeCredentials(CredentialsHandle freed) override;

  // What the system has; set by the test. Without "NTLM" no credentials can be acquired.
  std::vector<SecurityPackage> packages;
  // The nth AcquireCredentials from now on (1: the next) fails; 0: none.
  int fail_acquire_in = 0;
  // The results of the next steps, one after the other. A step beyond them fails with
  // kSecurityFailed.
  std::deque<SecurityStep> steps;
  // A failed first step leaves a context behind, as some packages do.
  bool context_of_failed_step = false;

  // What happened: "EnumeratePackages", "AcquireCredentials NTLM user|domain|password",
  // "InitializeContext 1 0 InetSvcs <input>" (credentials and context as they came in),
  // "FreeContext 1", "FreeCredentials 1".
  std::vector<std::string> calls;
  std::set<CredentialsHandle> credentials;
  std::set<SecurityContextHandle> contexts;
  // Handles that were freed without being there.
  int wrongly_freed = 0;

 private:
  std::uint32_t last_handle_ = 0;
};

}  // namespace quillet::port
