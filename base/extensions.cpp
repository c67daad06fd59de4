#include "base/extensions.h"

#include <cstdint>
#include <memory>

#include "base/registry_values.h"
#include "port/platform.h"
#include "port/registry.h"

namespace quillet {
namespace {

bool IsOn(ValueReader& reader, std::u16string_view name, bool fallback) {
  std::uint32_t value = 0;
  reader.Dword(name, value, fallback ? 1 : 0);
  return value != 0;
}

}  // namespace

Extensions ReadExtensions() {
  Extensions extensions;
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(kExtensionsPath);
  if (!key) return extensions;
  ValueReader reader(*key);
  extensions.postmessageids = IsOn(reader, u"postmessageids", extensions.postmessageids);
  return extensions;
}

}  // namespace quillet
