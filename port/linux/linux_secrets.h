// SPDX-License-Identifier: GPL-3.0-or-later
// The password store by the Secret Service of the session bus. Its library is bound, and the bus
// asked, when something is first wanted of it; what each profile keeps there carries the profile's
// folder.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "port/secrets.h"

namespace quillet::port {

class SecretConnection;

struct SecretLimits {
  int answer_ms = 5000;   // for a call that asks nobody
  int prompt_ms = 60000;  // for one that may ask the user
};

class LinuxSecrets final : public Secrets {
 public:
  // `interrupts` counts what may end a wait (LinuxSockets::interrupts).
  LinuxSecrets(const std::string& profile_folder, std::function<std::uint32_t()> interrupts,
               SecretLimits limits = {});
  LinuxSecrets(const LinuxSecrets&) = delete;
  LinuxSecrets& operator=(const LinuxSecrets&) = delete;
  ~LinuxSecrets() override;

  SecretsResult Lookup(const SecretAttributes& attributes, std::vector<Secret>& found) override;
  SecretsResult Store(const std::u16string& label, const Secret& secret) override;
  SecretsResult Clear(const SecretAttributes& attributes) override;

 private:
  struct Job;
  using Work = std::function<SecretsResult(SecretConnection&, std::vector<Secret>& found)>;

  // Does the work, unless there is no service, which is not asked again then.
  SecretsResult Do(const Work& work, std::vector<Secret>* found = nullptr);
  bool Await(Job& job) const;

  const std::function<std::uint32_t()> interrupts_;
  const SecretLimits limits_;
  std::shared_ptr<SecretConnection> connection_;  // null when it was given up
};

}  // namespace quillet::port
