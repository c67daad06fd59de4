// SPDX-License-Identifier: GPL-3.0-or-later
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
    {u"crossposts", ExtensionKind::kSwitch, &Extensions::crossposts, 1, kControlCrossPosts,
     kControlCrossPostsLine, u"Show &cross-posts in every group",
     u"An article that is stored already is added to each group that it was posted to."},
    {u"ancestors", ExtensionKind::kSwitch, &Extensions::ancestors, 1, kControlAncestors,
     kControlAncestorsLine, u"Keep t&hreads whole",
     u"Where an article is missing, its answers stay below the one before it."},
    {u"restoreplace", ExtensionKind::kSwitch, &Extensions::restoreplace, 1, kControlRestorePlace,
     kControlRestorePlaceLine, u"&Begin where I left off",
     u"The program opens the last group again, at the same place."},
    {u"startguide", ExtensionKind::kSwitch, &Extensions::startguide, 1, kControlStartGuide,
     kControlStartGuideLine, u"Show the &first steps",
     u"While there is nothing to read, the group list says what to do next."},
    {u"progressline", ExtensionKind::kSwitch, &Extensions::progressline, 1, kControlProgressLine,
     kControlProgressLineLine, u"Show s&peed and time left",
     u"A connection shows how far it is, how fast, and how long it will take."},
    {u"readon", ExtensionKind::kSwitch, &Extensions::readon, 1, kControlReadOn, kControlReadOnLine,
     u"&Read on with Space and N",
     u"Space pages on and opens the next unread article at the end, N opens it at once."},
    {u"rowdetails", ExtensionKind::kSwitch, &Extensions::rowdetails, 1, kControlRowDetails,
     kControlRowDetailsLine, u"Show dat&es where there is room",
     u"The thread list has columns for author and date, the article its date."},
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
