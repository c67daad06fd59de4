// SPDX-License-Identifier: GPL-3.0-or-later
// The password store in memory. Program thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "port/secrets.h"

namespace quillet::port {

class FakeSecrets final : public Secrets {
 public:
  SecretsResult Lookup(const SecretAttributes& attributes, std::vector<Secret>& found) override;
  SecretsResult Store(const std::u16string& label, const Secret& secret) override;
  SecretsResult Clear(const SecretAttributes& attributes) override;

  // What every call answers without doing anything, while it is not kDone.
  SecretsResult result = SecretsResult::kDone;
  // The nth call from now on (1: the next) fails once with kNoService; 0: none.
  int fail_in = 0;
  // Called before each call does its work, with what will be in `calls`.
  std::function<void(const std::string& call)> on_call;
  // Called when a call has done its work.
  std::function<void()> on_return;

  // What it keeps; the labels beside it.
  std::vector<Secret> secrets;
  std::vector<std::u16string> labels;
  // What was asked: "Lookup name=text ...", "Store name=text ...", "Clear name=text ...".
  std::vector<std::string> calls;

 private:
  // Does the work of a call when it is to be done.
  SecretsResult Do(const char* call, const SecretAttributes& attributes,
                   const std::function<SecretsResult()>& work);
  SecretsResult Begin(const char* call, const SecretAttributes& attributes);
};

}  // namespace quillet::port
