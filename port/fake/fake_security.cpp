// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_security.h"

#include <algorithm>
#include <utility>

#include "util/format.h"
#include "util/text.h"

namespace quillet::port {

std::vector<SecurityPackage> FakeSecurity::EnumeratePackages() {
  calls.emplace_back("EnumeratePackages");
  return packages;
}

CredentialsHandle FakeSecurity::AcquireCredentials(std::u16string_view package,
                                                   const SecurityIdentity& identity) {
  calls.push_back("AcquireCredentials " + ToUtf8(package) + " " + ToUtf8(identity.user) + "|" +
                  ToUtf8(identity.domain) + "|" + ToUtf8(identity.password));
  const bool known = std::ranges::find(packages, package, &SecurityPackage::name) != packages.end();
  const bool fails = fail_acquire_in > 0 && --fail_acquire_in == 0;
  if (!known || fails) return 0;
  credentials.insert(++last_handle_);
  return last_handle_;
}

SecurityStep FakeSecurity::InitializeContext(CredentialsHandle used, SecurityContextHandle& context,
                                             std::u16string_view target, std::string_view input) {
  calls.push_back(FormatNarrow("InitializeContext %u %u %ls %s", used, context, target, input));
  SecurityStep step;
  if (!steps.empty()) {
    step = std::move(steps.front());
    steps.pop_front();
  }
  const bool failed = step.result != kSecurityDone && step.result != kSecurityContinueNeeded;
  if (context == 0 && (!failed || context_of_failed_step)) {
    context = ++last_handle_;
    contexts.insert(context);
  }
  return step;
}

void FakeSecurity::FreeContext(SecurityContextHandle context) {
  if (context == 0) return;
  calls.push_back(FormatNarrow("FreeContext %u", context));
  if (contexts.erase(context) == 0) ++wrongly_freed;
}

void FakeSecurity::FreeCredentials(CredentialsHandle freed) {
  if (freed == 0) return;
  calls.push_back(FormatNarrow("FreeCredentials %u", freed));
  if (credentials.erase(freed) == 0) ++wrongly_freed;
}

}  // namespace quillet::port
