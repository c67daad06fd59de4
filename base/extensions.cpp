#include "base/extensions.h"

#include <array>
#include <memory>

#include "base/registry_values.h"
#include "base/reset.h"
#include "mime/decoding.h"
#include "port/platform.h"
#include "port/registry.h"
#include "res/resource.h"

namespace quillet {
namespace {

const ResetAtEnd kReset([] { ApplyExtensions({}); });

constexpr std::uint32_t kLongestSilence = 86400;  // seconds
constexpr std::uint32_t kMostRetries = 100;

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
    {u"decodemime", ExtensionKind::kSwitch, &Extensions::decodemime, 1, kControlDecodeMime,
     kControlDecodeMimeLine, u"&Decode articles",
     u"Articles of every language and encoding are shown as they were written, with their "
     u"attachments."},
    {u"postcharsets", ExtensionKind::kSwitch, &Extensions::postcharsets, 1, kControlPostCharsets,
     kControlPostCharsetsLine, u"Write in every &language",
     u"What is not plain ASCII is posted and mailed as UTF-8."},
    {u"stalllimit", ExtensionKind::kNumber, &Extensions::stalllimit, kLongestSilence,
     kControlStallLimit, kControlStallLimitLine, u"number of seconds without an answer",
     u"A news server that is silent for so long has gone. 0: it is waited for without end."},
    {u"retries", ExtensionKind::kNumber, &Extensions::retries, kMostRetries, kControlRetries,
     kControlRetriesLine, u"number of attempts after a lost connection",
     u"After 5, 15 and then every 45 seconds. 0: the connection ends there."},
    {u"loginlater", ExtensionKind::kSwitch, &Extensions::loginlater, 1, kControlLoginLater,
     kControlLoginLaterLine, u"Log in when the server as&ks for it",
     u"If a user name is set, the program logs in whenever the server wants it."},
    {u"alladdresses", ExtensionKind::kSwitch, &Extensions::alladdresses, 1, kControlAllAddresses,
     kControlAllAddressesLine, u"&Try all addresses of a server",
     u"IPv6 too. Off: only the first IPv4 address."},
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

void ApplyExtensions(const Extensions& extensions) {
  SetDecoding(extensions.decodemime != 0);
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
