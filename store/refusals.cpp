// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/refusals.h"

#include <memory>

#include "base/extensions.h"
#include "base/registry_values.h"
#include "port/platform.h"
#include "port/registry.h"
#include "util/safe_name.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kValueName = u"reply";

std::u16string NameOf(std::string_view post_key) {
  const std::string name = SafeName(post_key);  // ASCII
  return {name.begin(), name.end()};
}

std::u16string PathOf(std::string_view post_key) {
  return std::u16string(kRefusalsPath) + u"\\" + NameOf(post_key);
}

}  // namespace

void KeepRefusal(std::string_view post_key, std::u16string_view reply) {
  reply = UntilNul(reply);
  while (EndsWith(reply, u"\r") || EndsWith(reply, u"\n")) reply.remove_suffix(1);
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(PathOf(post_key));
  // An earlier reply must not stay for this one.
  if (!key || !WriteText(*key, kValueName, reply.substr(0, kLongestRefusal))) {
    ForgetRefusal(post_key);
  }
}

std::u16string RefusalOfPost(std::string_view post_key) {
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(PathOf(post_key));
  return key ? ValueReader(*key).Text(kValueName, u"") : u"";
}

void ForgetRefusal(std::string_view post_key) {
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(kRefusalsPath);
  if (key) key->DeleteSubkey(NameOf(post_key));
}

bool AnyRefusals() {
  return gPlatform->registry.Open(kRefusalsPath) != nullptr;
}

void ForgetAllRefusals() {
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(kExtensionsPath);
  if (key) key->DeleteSubkey(kRefusalsPath.substr(kExtensionsPath.size() + 1));
}

}  // namespace quillet
