// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_secrets.h"

#include <algorithm>

#include "util/text.h"

namespace quillet::port {
namespace {

bool HasAll(const Secret& secret, const SecretAttributes& attributes) {
  return std::ranges::includes(secret.attributes, attributes);
}

}  // namespace

SecretsResult FakeSecrets::Begin(const char* call, const SecretAttributes& attributes) {
  std::string text = call;
  for (const auto& [name, value] : attributes) text += " " + name + "=" + ToUtf8(value);
  if (on_call) on_call(text);
  calls.push_back(std::move(text));
  if (fail_in > 0 && --fail_in == 0) return SecretsResult::kNoService;
  return result;
}

SecretsResult FakeSecrets::Do(const char* call, const SecretAttributes& attributes,
                              const std::function<SecretsResult()>& work) {
  SecretsResult end = Begin(call, attributes);
  if (end == SecretsResult::kDone) end = work();
  if (on_return) on_return();
  return end;
}

SecretsResult FakeSecrets::Lookup(const SecretAttributes& attributes, std::vector<Secret>& found) {
  found.clear();
  return Do("Lookup", attributes, [&] {
    for (const Secret& secret : secrets) {
      if (HasAll(secret, attributes)) found.push_back(secret);
    }
    return found.empty() ? SecretsResult::kNothing : SecretsResult::kDone;
  });
}

SecretsResult FakeSecrets::Store(const std::u16string& label, const Secret& secret) {
  return Do("Store", secret.attributes, [&] {
    const auto same = std::ranges::find(secrets, secret.attributes, &Secret::attributes);
    const auto at = same - secrets.begin();
    if (same == secrets.end()) {
      secrets.push_back(secret);
      labels.push_back(label);
    } else {
      same->text = secret.text;
      labels[static_cast<std::size_t>(at)] = label;
    }
    return SecretsResult::kDone;
  });
}

SecretsResult FakeSecrets::Clear(const SecretAttributes& attributes) {
  return Do("Clear", attributes, [&] {
    const std::size_t before = secrets.size();
    for (std::size_t i = before; i-- > 0;) {
      if (!HasAll(secrets[i], attributes)) continue;
      secrets.erase(secrets.begin() + static_cast<std::ptrdiff_t>(i));
      labels.erase(labels.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return secrets.size() == before ? SecretsResult::kNothing : SecretsResult::kDone;
  });
}

}  // namespace quillet::port
