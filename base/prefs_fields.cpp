// SPDX-License-Identifier: GPL-3.0-or-later
// The table itself, in the order of reading, and beside it the names in the order of writing. The
// two orders differ: reading needs every count before the lists that it sizes.
#include "base/prefs_fields.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace quillet {
namespace {

constexpr std::u16string_view kMissingSignature =
    u"-- \r\n"
    u"Posted with Quillet (for PocketPC) from Brindle Software, Inc.\r\n"
    u"All the news that fits in your pocket: http://www.brindle.example/\r\n";

using enum ListLength;
using enum OnReset;

constexpr NumberRange kHour{0, 23};
constexpr NumberRange kSixtieth{0, 59};
constexpr NumberRange kPercent{0, 100};
constexpr NumberRange kPlacement{0, 2};
constexpr NumberRange kPage{0, 16};
constexpr NumberRange kPort{1, 65535};
// 1 to 8, and 0, which every size table knows to treat.
constexpr NumberRange kFontSize{0, 8};
constexpr NumberRange kArticles{1};
// As many bytes as 32 bits hold.
constexpr NumberRange kArticleKilobytes{1, 0xFFFFFFFF / 1024};

constexpr auto kFields = std::to_array<PrefsField>({
    {u"version", VersionField{}},
    {u"numgroups", NumberField{&Prefs::numgroups, 0, kKeep}},
    {u"numrecips", NumberField{&Prefs::numrecips, 0, kKeep}},
    {u"groupsize", IgnoredField{}},
    {u"emailsize", IgnoredField{}},
    {u"namessize", IgnoredField{}},
    {u"usersize", IgnoredField{}},
    {u"passsize", IgnoredField{}},
    {u"serversize", IgnoredField{}},
    {u"numservers", NumberField{&Prefs::numservers, 0}},
    {u"selectedserver", NumberField{&Prefs::selectedserver, 0}},
    {u"useautodownload", NumberField{&Prefs::useautodownload, 0}},
    {u"keepheaders", NumberField{&Prefs::keepheaders, 1}},
    {u"downloadfull", NumberField{&Prefs::downloadfull, 1}},
    {u"onlinemode", NumberField{&Prefs::onlinemode, 0}},
    {u"beepafter", NumberField{&Prefs::beepafter, 1}},
    {u"showheaders", NumberField{&Prefs::showheaders, 0}},
    {u"removecrs", NumberField{&Prefs::removecrs, 0}},
    {u"colorquoted", NumberField{&Prefs::colorquoted, 1}},
    {u"maxstore", NumberField{&Prefs::maxstore, 98, kDefault, kPercent}},
    {u"maxarticles", NumberField{&Prefs::maxarticles, 50, kDefault, kArticles}},
    {u"fontsize", NumberField{&Prefs::fontsize, 2, kDefault, kFontSize}},
    {u"groupfontsize", NumberField{&Prefs::groupfontsize, 3, kDefault, kFontSize}},
    {u"threadfontsize", NumberField{&Prefs::threadfontsize, 3, kDefault, kFontSize}},
    {u"articleheaderfontsize", NumberField{&Prefs::articleheaderfontsize, 3, kDefault, kFontSize}},
    {u"maxarticlesize", NumberField{&Prefs::maxarticlesize, 4, kDefault, kArticleKilobytes}},
    {u"simplepost", NumberField{&Prefs::simplepost, 1}},
    {u"downloadhr", NumberField{&Prefs::downloadhr, 6, kDefault, kHour}},
    {u"downloadmn", NumberField{&Prefs::downloadmn, 0, kDefault, kSixtieth}},
    {u"downloadsc", NumberField{&Prefs::downloadsc, 0, kDefault, kSixtieth}},
    {u"killfilecount", NumberField{&Prefs::killfilecount, 0, kKeep}},
    {u"killfilesize", KillfileSizeField{}},
    {u"prefspage", NumberField{&Prefs::prefspage, 0, kDefault, kPage}},
    {u"skipverifications", NumberField{&Prefs::skipverifications, 0}},
    {u"usethreading", NumberField{&Prefs::usethreading, 1}},
    {u"reversethread", NumberField{&Prefs::reversethread, 0}},
    {u"downloadnewest", NumberField{&Prefs::downloadnewest, 0}},
    {u"alwaystransport", NumberField{&Prefs::alwaystransport, 0}},
    {u"usecompression", NumberField{&Prefs::usecompression, 0}},
    {u"allserversareone", NumberField{&Prefs::allserversareone, 0}},
    {u"sidetabs", NumberField{&Prefs::sidetabs, 0, kDefault, kPlacement}},
    {u"autodelete", AutoDeleteField{}},
    {u"lastdownloaded", WordsField{&Prefs::lastdownloaded, kServersTimesGroups}},
    {u"lastonserver", WordsField{&Prefs::lastonserver, kServersTimesGroups}},
    {u"killfilegroups", WordsField{&Prefs::killfilegroups, kKillfile}},
    {u"port", WordsField{&Prefs::port, kServers, WhenEmpty::kSkip, 119, true, kPort}},
    {u"checked", WordsField{&Prefs::checked, kGroups, WhenEmpty::kWrite}},
    {u"killfilekills", WordsField{&Prefs::killfilekills, kKillfile}},
    {u"killfileauthors", WordsField{&Prefs::killfileauthors, kKillfile}},
    {u"useauths", WordsField{&Prefs::useauths, kServers}},
    {u"usentlms", WordsField{&Prefs::usentlms, kServers}},
    {u"articlecb", CommandBarField{2}},
    {u"threadcb", CommandBarField{1}},
    {u"groupcb", CommandBarField{0}},
    {u"groups", TextsField{&Prefs::groups, kGroups, WhenEmpty::kWrite}},
    {u"servers", TextsField{&Prefs::servers, kServers}},
    {u"authusers", TextsField{&Prefs::authusers, kServers}},
    {u"authpasses", TextsField{&Prefs::authpasses, kServers}},
    {u"prevnames", TextsField{&Prefs::prevnames, kRecipients, WhenEmpty::kWrite}},
    {u"prevemail", TextsField{&Prefs::prevemail, kRecipients, WhenEmpty::kWrite}},
    {u"killfiletexts", KillfileTextsField{}},
    {u"returnmailaddress", TextField{&Prefs::returnmailaddress, u"yourname@brindle.example"}},
    {u"attribution", TextField{&Prefs::attribution, u"In message $i, $a wrote:"}},
    {u"extraheaders", TextField{&Prefs::extraheaders, u""}},
    {u"quotestring", TextField{&Prefs::quotestring, u"> "}},
    {u"signature", TextField{&Prefs::signature, kMissingSignature}},
    {u"fullname", TextField{&Prefs::fullname, u"My Name"}},
    {u"font", TextField{&Prefs::font, u"Arial"}},
    {u"groupfont", TextField{&Prefs::groupfont, u"Tahoma"}},
    {u"threadfont", TextField{&Prefs::threadfont, u"Tahoma"}},
    {u"articleheaderfont", TextField{&Prefs::articleheaderfont, u"Tahoma"}},
    {u"conxmethod", TextField{&Prefs::conxmethod, u"<none>"}},
    {u"databasestore", TextField{&Prefs::databasestore, u"", kKeep}},
    {u"transport", TextField{&Prefs::transport, u"", kDefault, &Prefs::has_transport}},
    {u"columnWidths", ColumnWidthsField{}},
});

constexpr auto kWriteOrder = std::to_array<std::u16string_view>({
    u"groups",
    u"useauths",
    u"usentlms",
    u"port",
    u"servers",
    u"authusers",
    u"authpasses",
    u"prevnames",
    u"prevemail",
    u"killfiletexts",
    u"numgroups",
    u"numrecips",
    u"numservers",
    u"selectedserver",
    u"useautodownload",
    u"keepheaders",
    u"downloadfull",
    u"onlinemode",
    u"beepafter",
    u"showheaders",
    u"removecrs",
    u"colorquoted",
    u"maxstore",
    u"maxarticles",
    u"fontsize",
    u"groupfontsize",
    u"threadfontsize",
    u"articleheaderfontsize",
    u"maxarticlesize",
    u"simplepost",
    u"downloadhr",
    u"downloadmn",
    u"downloadsc",
    u"killfilecount",
    u"killfilesize",
    u"prefspage",
    u"skipverifications",
    u"usethreading",
    u"reversethread",
    u"version",
    u"downloadnewest",
    u"alwaystransport",
    u"usecompression",
    u"allserversareone",
    u"sidetabs",
    u"autodelete",
    u"checked",
    u"articlecb",
    u"threadcb",
    u"groupcb",
    u"lastdownloaded",
    u"lastonserver",
    u"killfilegroups",
    u"killfilekills",
    u"killfileauthors",
    u"columnWidths",
    u"returnmailaddress",
    u"attribution",
    u"extraheaders",
    u"quotestring",
    u"signature",
    u"fullname",
    u"font",
    u"groupfont",
    u"threadfont",
    u"articleheaderfont",
    u"conxmethod",
    u"databasestore",
    u"transport",
});

}  // namespace

const std::u16string_view kDefaultSignature = kMissingSignature;
const std::u16string_view kResetSignature =
    u"Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
    u"All the news that fits in your pocket: http://www.brindle.example/\r\n";
const std::u16string_view kFirstSignature =
    u"Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
    u"All the news that fits in your pocket: http://www.brindle-software.example/\r\n";

std::span<const PrefsField> PrefsFields() {
  return kFields;
}

std::span<const std::u16string_view> PrefsWriteOrder() {
  return kWriteOrder;
}

const PrefsField& PrefsFieldNamed(std::u16string_view name) {
  const auto found = std::ranges::find(kFields, name, &PrefsField::name);
  if (found == kFields.end()) throw std::logic_error("no such preference");
  return *found;
}

std::size_t LengthOf(const Prefs& prefs, ListLength length) {
  switch (length) {
    case kGroups:
      return prefs.numgroups;
    case kServers:
      return prefs.numservers;
    case kRecipients:
      return prefs.numrecips;
    case kKillfile:
      return prefs.killfilecount;
    case kServersTimesGroups:
      return std::size_t{prefs.numservers} * prefs.numgroups;
  }
  return 0;
}

}  // namespace quillet
