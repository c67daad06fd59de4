#include "base/extensions.h"

#include <array>
#include <memory>

#include "base/registry_values.h"
#include "port/platform.h"
#include "port/registry.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kExtensions = std::to_array<Extension>({
    {u"postmessageids", ExtensionKind::kSwitch, &Extensions::postmessageids, 1,
     kControlPostMessageIds, kControlPostMessageIdsLine, u"Give posts a &Message-ID",
     u"An article whose posting was cut off is posted once, not twice."},
    {u"passwordstore", ExtensionKind::kSwitch, &Extensions::passwordstore, 1, kControlPasswordStore,
     kControlPasswordStoreLine, u"Use the desktop's pass&word store",
     u"Passwords of news servers are kept there instead of in the settings."},
    {u"importprogress", ExtensionKind::kSwitch, &Extensions::importprogress, 1,
     kControlImportProgress, kControlImportProgressLine, u"Show the pro&gress of imports",
     u"The import of a file above 1 MB can be watched and cancelled."},
});

std::uint32_t HighestOf(const Extension& extension) {
  return extension.kind == ExtensionKind::kSwitch ? 0xFFFFFFFF : extension.highest;
}

}  // namespace

std::span<const Extension> AllExtensions() {
  return kExtensions;
}

Extensions ReadExtensions() {
  Extensions extensions;
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(kExtensionsPath);
  if (!key) return extensions;
  ValueReader reader(*key);
  for (const Extension& extension : kExtensions) {
    std::uint32_t& value = extensions.*extension.value;
    std::uint32_t stored = 0;
    reader.Dword(extension.name, stored, value);
    if (stored <= HighestOf(extension)) value = stored;
  }
  return extensions;
}

bool WriteExtensions(const Extensions& before, const Extensions& after) {
  if (before == after) return true;
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(kExtensionsPath);
  if (!key) return false;
  bool written = key->Begin();
  for (const Extension& extension : kExtensions) {
    const std::uint32_t value = after.*extension.value;
    if (value == before.*extension.value) continue;
    written = WriteDword(*key, extension.name, value) && written;
  }
  return key->Commit() && written;
}

}  // namespace quillet
