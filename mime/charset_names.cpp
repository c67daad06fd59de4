// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/charset_names.h"

#include <algorithm>
#include <array>

#include "mime/iconv_descriptor.h"
#include "util/text.h"

namespace quillet {
namespace {

struct Alias {
  std::string_view key;  // the name in small letters and digits alone
  CharsetKind kind;
  std::string_view iconv_name = {};
};

using enum CharsetKind;

// Sorted by key. A set that has a wider one in use under its name stands for the wider one.
constexpr std::array kAliases = std::to_array<Alias>({
    {"1252", kWindows1252},
    {"8bit", kUnlabelled},
    {"ansi", kWindows1252},
    {"ansix34", kUnlabelled},
    {"ansix341968", kUnlabelled},
    {"ansix341986", kUnlabelled},
    {"ascii", kUnlabelled},
    {"big5", kIconv, "BIG5-HKSCS"},
    {"big5eten", kIconv, "BIG5-HKSCS"},
    {"big5hkscs", kIconv, "BIG5-HKSCS"},
    {"binary", kUnlabelled},
    {"chinese", kIconv, "GB18030"},
    {"cnbig5", kIconv, "BIG5-HKSCS"},
    {"cngb", kIconv, "GB18030"},
    {"cp1252", kWindows1252},
    {"cp367", kUnlabelled},
    {"cp50220", kIso2022Jp},
    {"cp50221", kIso2022Jp},
    {"cp50222", kIso2022Jp},
    {"cp51932", kIconv, "EUC-JP-MS"},
    {"cp65001", kUtf8},
    {"cp819", kLatin1},
    {"cp936", kIconv, "GB18030"},
    {"csascii", kUnlabelled},
    {"csbig5", kIconv, "BIG5-HKSCS"},
    {"cseuckr", kIconv, "UHC"},
    {"cseucpkdfmtjapanese", kIconv, "EUC-JP-MS"},
    {"csgb2312", kIconv, "GB18030"},
    {"csiso2022jp", kIso2022Jp},
    {"csiso58gb231280", kIconv, "GB18030"},
    {"csisolatin1", kLatin1},
    {"csisolatin5", kIconv, "CP1254"},
    {"cskoi8r", kIconv, "KOI8-R"},
    {"csksc56011987", kIconv, "UHC"},
    {"csshiftjis", kIconv, "CP932"},
    {"csunicode11utf7", kIconv, "UTF-7"},
    {"cyrillic", kIconv, "ISO-8859-5"},
    {"default", kUnlabelled},
    {"euccn", kIconv, "GB18030"},
    {"eucjp", kIconv, "EUC-JP-MS"},
    {"eucjpms", kIconv, "EUC-JP-MS"},
    {"eucjpwin", kIconv, "EUC-JP-MS"},
    {"euckr", kIconv, "UHC"},
    {"gb", kIconv, "GB18030"},
    {"gb18030", kIconv, "GB18030"},
    {"gb2312", kIconv, "GB18030"},
    {"gb231280", kIconv, "GB18030"},
    {"gbk", kIconv, "GB18030"},
    {"hz", kHz},
    {"hzgb2312", kHz},
    {"ibm367", kUnlabelled},
    {"ibm819", kLatin1},
    {"iso10646ucs2", kUtf16},
    {"iso2022jp", kIso2022Jp},
    {"iso2022jp1", kIso2022Jp},
    {"iso2022jp2", kIso2022Jp},
    {"iso2022jp2004", kIso2022Jp},
    {"iso2022jp3", kIso2022Jp},
    {"iso2022jpms", kIso2022Jp},
    {"iso646us", kUnlabelled},
    {"iso88591", kLatin1},
    {"iso885911", kIconv, "CP874"},
    {"iso885911987", kLatin1},
    {"iso88596e", kIconv, "ISO-8859-6"},
    {"iso88596i", kIconv, "ISO-8859-6"},
    {"iso88598e", kIconv, "ISO-8859-8"},
    {"iso88598i", kIconv, "ISO-8859-8"},
    {"iso88599", kIconv, "CP1254"},
    {"isoir100", kLatin1},
    {"isoir149", kIconv, "UHC"},
    {"isoir58", kIconv, "GB18030"},
    {"isolatin1", kLatin1},
    {"jis", kIso2022Jp},
    {"koi8", kIconv, "KOI8-R"},
    {"koi8r", kIconv, "KOI8-R"},
    {"koi8ru", kIconv, "KOI8-RU"},
    {"koi8u", kIconv, "KOI8-U"},
    {"korean", kIconv, "UHC"},
    {"ksc5601", kIconv, "UHC"},
    {"ksc56011987", kIconv, "UHC"},
    {"ksc56011989", kIconv, "UHC"},
    {"l1", kLatin1},
    {"l5", kIconv, "CP1254"},
    {"latin1", kLatin1},
    {"latin5", kIconv, "CP1254"},
    {"logical", kIconv, "ISO-8859-8"},
    {"mac", kIconv, "MACINTOSH"},
    {"macce", kIconv, "MAC-CENTRALEUROPE"},
    {"maccentraleurope", kIconv, "MAC-CENTRALEUROPE"},
    {"maccentraleuroperoman", kIconv, "MAC-CENTRALEUROPE"},
    {"maccyrillic", kIconv, "MAC-CYRILLIC"},
    {"macicelandic", kIconv, "MAC-IS"},
    {"macintosh", kIconv, "MACINTOSH"},
    {"macroman", kIconv, "MACINTOSH"},
    {"macukrainian", kIconv, "MAC-UK"},
    {"ms932", kIconv, "CP932"},
    {"ms936", kIconv, "GB18030"},
    {"ms949", kIconv, "UHC"},
    {"mskanji", kIconv, "CP932"},
    {"none", kUnlabelled},
    {"shiftjis", kIconv, "CP932"},
    {"shiftjisms", kIconv, "CP932"},
    {"sjis", kIconv, "CP932"},
    {"thai", kIconv, "CP874"},
    {"tis620", kIconv, "CP874"},
    {"tis6202533", kIconv, "CP874"},
    {"ucs2", kUtf16},
    {"uhc", kIconv, "UHC"},
    {"ujis", kIconv, "EUC-JP-MS"},
    {"unicode", kUtf16},
    {"unicode11utf7", kIconv, "UTF-7"},
    {"unicode11utf8", kUtf8},
    {"unicode20utf7", kIconv, "UTF-7"},
    {"unicode20utf8", kUtf8},
    {"unknown", kUnlabelled},
    {"unknown8bit", kUnlabelled},
    {"us", kUnlabelled},
    {"usascii", kUnlabelled},
    {"userdefined", kUnlabelled},
    {"utf16", kUtf16},
    {"utf7", kIconv, "UTF-7"},
    {"utf8", kUtf8},
    {"visual", kIconv, "ISO-8859-8"},
    {"windows31j", kIconv, "CP932"},
    {"xxbig5", kIconv, "BIG5-HKSCS"},
});
static_assert(std::ranges::is_sorted(kAliases, {}, &Alias::key));

// What many names of code pages begin with before the number.
constexpr std::array<std::string_view, 7> kPagePrefixes = {"windows", "win", "cp",      "ms",
                                                           "ibm",     "dos", "codepage"};

bool IsDigits(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::string Squeezed(std::string_view name) {
  std::string key;
  for (const char c : name) {
    const char lower = ToLowerAscii(c);
    if ((lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9')) key += lower;
  }
  return key;
}

Charset FindAlias(std::string_view key) {
  const auto* found = std::ranges::lower_bound(kAliases, key, {}, &Alias::key);
  if (found == kAliases.end() || found->key != key) return {};
  return {found->kind, std::string(found->iconv_name)};
}

Charset WhereIconvHas(std::string name) {
  if (!IconvDescriptor::For(name)) return {};
  return {kIconv, std::move(name)};
}

// "windows-1251", "cp-866", "iso8859-15", "8859_2".
Charset FindNumbered(std::string_view key) {
  for (const std::string_view prefix : kPagePrefixes) {
    if (!key.starts_with(prefix) || !IsDigits(key.substr(prefix.size()))) continue;
    const std::string page = "cp" + std::string(key.substr(prefix.size()));
    const Charset alias = FindAlias(page);
    return alias.kind != kUnknown ? alias : WhereIconvHas("CP" + page.substr(2));
  }
  if (key.starts_with("iso")) key.remove_prefix(3);
  if (!key.starts_with("8859") || !IsDigits(key)) return {};
  const std::string part(key.substr(4));
  const Charset alias = FindAlias("iso8859" + part);
  return alias.kind != kUnknown ? alias : WhereIconvHas("ISO-8859-" + part);
}

bool IsPlausible(std::string_view name) {
  const auto may_stand = [](char c) {
    const char lower = ToLowerAscii(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') ||
           std::string_view("-_.:+()").find(c) != std::string_view::npos;
  };
  return name.size() <= 40 && std::ranges::all_of(name, may_stand);
}

// What iconv calls the forms of text inside of programs is no name for the text of an article.
bool IsInner(std::string_view key) {
  return key == "internal" || key == "wchart" || key == "char";
}

}  // namespace

Charset FindCharset(std::string_view name) {
  if (!IsPlausible(name)) return {};
  const std::string key = Squeezed(name);
  if (key.empty() || IsInner(key)) return {};
  if (key == "utf8") return {kUtf8, {}};
  for (std::string_view form : {std::string_view(key), std::string_view(key).substr(1)}) {
    if (Charset found = FindAlias(form); found.kind != kUnknown) return found;
    if (Charset found = FindNumbered(form); found.kind != kUnknown) return found;
    if (key.front() != 'x') break;  // only the x of a private name may go
  }
  if (Charset found = WhereIconvHas(std::string(name)); found.kind != kUnknown) return found;
  if (key.front() == 'x' && name.size() > 2) return WhereIconvHas(std::string(name.substr(2)));
  return {};
}

}  // namespace quillet
