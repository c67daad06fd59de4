// The password store by the Secret Service of the session bus. Its library is bound, and the bus
// asked, when something is first wanted of it; what each profile keeps there carries the profile's
// folder.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

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
  // Null when there is no service, which is not asked again then.
  SecretConnection* Connection();

  const std::string profile_;
  const std::function<std::uint32_t()> interrupts_;
  const SecretLimits limits_;
  std::unique_ptr<SecretConnection> connection_;
};

}  // namespace quillet::port
