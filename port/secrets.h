// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop's password store, in which this profile has what is its own. Program thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace quillet::port {

// Names are ASCII and belong to the program. Texts may hold anything but NUL; a lone surrogate
// comes back as U+FFFD.
using SecretAttributes = std::map<std::string, std::u16string>;

struct Secret {
  SecretAttributes attributes;
  std::u16string text;
};

enum class SecretsResult {
  kDone,
  kNothing,    // the store works and has nothing of the kind
  kNoService,  // there is no store, or it does not answer
  kRefused,    // the store stays locked, or does not take it
};

// A call may wait for the user, who is asked to unlock the store: once while the program runs,
// whatever the answer is, and no longer than a minute. A service that is silent is given up after a
// few seconds, and then every later call is kNoService at once. The end of the session ends a wait.
class Secrets {
 public:
  virtual ~Secrets() = default;

  // All of the profile's secrets that have at least these attributes, in no order. Empty on each
  // other result than kDone.
  virtual SecretsResult Lookup(const SecretAttributes& attributes, std::vector<Secret>& found) = 0;
  // Keeps a secret in place of one with exactly these attributes, under a label for the user to
  // read. It is durable when this returns kDone, and otherwise what was there is unchanged.
  virtual SecretsResult Store(const std::u16string& label, const Secret& secret) = 0;
  // Forgets all that have at least these attributes, as far as they are not locked.
  virtual SecretsResult Clear(const SecretAttributes& attributes) = 0;
};

}  // namespace quillet::port
