// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/as_stored.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "util/ascii.h"
#include "util/blanks.h"
#include "util/first_place.h"
#include "util/text.h"

namespace quillet {
namespace {

struct OrdinarySet {
  std::string_view name;
  bool western;
};
constexpr std::array<OrdinarySet, 9> kOrdinarySets = {{{"us-ascii", true},
                                                       {"utf-8", true},
                                                       {"iso-8859-1", true},
                                                       {"iso-8859-15", true},
                                                       {"windows-1252", true},
                                                       {"iso-8859-2", false},
                                                       {"windows-1250", false},
                                                       {"windows-1251", false},
                                                       {"koi8-r", false}}};

bool IsSet(std::string_view value, std::string_view name) {
  return value.size() == name.size() && StartsWithNoCase(value, name);
}

// "text/plain", alone or with an ordinary set; false: something else.
bool ReadType(std::string_view value, SimpleHead& head) {
  const std::size_t semicolon = std::min(value.find(';'), value.size());
  if (!IsSet(Trimmed(value.substr(0, semicolon)), "text/plain")) return false;
  if (semicolon == value.size()) return true;
  std::string_view parameter = Trimmed(value.substr(semicolon + 1));
  if (!StartsWithNoCase(parameter, "charset=")) return false;
  parameter.remove_prefix(8);
  if (parameter.size() > 1 && parameter.starts_with('"') && parameter.ends_with('"')) {
    parameter = parameter.substr(1, parameter.size() - 2);
  }
  for (const OrdinarySet& set : kOrdinarySets) {
    if (!IsSet(parameter, set.name)) continue;
    head.western = set.western;
    return true;
  }
  return false;
}

bool ReadTransfer(std::string_view value, SimpleHead& head) {
  if (IsSet(value, "7bit") || IsSet(value, "8bit")) return true;
  if (IsSet(value, "quoted-printable")) head.transfer = Transfer::kQuotedPrintable;
  if (IsSet(value, "base64")) head.transfer = Transfer::kBase64;
  return head.transfer != Transfer::kNone;
}

// A field whose name begins with "content-", its first line; false: not a simple one.
bool ReadField(std::string_view line, SimpleHead& head) {
  const std::size_t colon = std::min(line.find(':'), line.size() - 1);
  const std::string_view value = Trimmed(line.substr(colon + 1));
  if (StartsWithNoCase(line, "content-type:")) return ReadType(value, head);
  return StartsWithNoCase(line, "content-transfer-encoding:") && ReadTransfer(value, head);
}

// Text that has a label is shown without these.
bool HasControls(std::string_view body) {
  return std::ranges::any_of(
      body, [](char c) { return (c < ' ' && c != '\t' && c != '\r' && c != '\n') || c == '\x7F'; });
}

// Something that may be undone or folded away begins with the line.
bool IsSpecialLine(std::string_view rest, bool stuffed) {
  switch (rest.empty() ? '\0' : rest[0]) {
    case '.':
      return stuffed && rest.starts_with("..");
    case 'b':
      return rest.starts_with("begin");
    case '=':
      return rest.starts_with("=ybegin");
    default:
      return false;
  }
}

}  // namespace

// No field is looked for twice: the first one counts, and a second one is not simple.
std::optional<SimpleHead> ReadSimpleHead(std::string_view head) {
  SimpleHead read;
  bool content = false;
  int fields = 0;
  while (!head.empty()) {
    const std::size_t end = std::min(head.find('\n'), head.size() - 1);
    const std::string_view line = head.substr(0, end + 1);
    // Continuations of a field that matters are not looked into.
    if (content && (line[0] == ' ' || line[0] == '\t')) return std::nullopt;
    content = StartsWithNoCase(line, "content-");
    if (content && (++fields > 2 || !ReadField(line, read))) return std::nullopt;
    head.remove_prefix(end + 1);
  }
  read.labelled = fields > 0;
  return read;
}

// Most lines begin with none of the three characters: they are passed in blocks.
bool HasSpecialLine(std::string_view body, bool stuffed) {
  if (body.empty() || IsSpecialLine(body, stuffed)) return !body.empty();
  const char* const ends = body.data();
  const char* const begins = ends + 1;
  const auto line_with = [=](char first) {
    return [=](std::size_t place) {
      return static_cast<std::uint8_t>((ends[place] == '\n') & (begins[place] == first));
    };
  };
  const std::size_t places = body.size() - 1;
  const auto next = [&](std::size_t at) {
    return FirstPlace(at, places, line_with('.'), line_with('b'), line_with('='));
  };
  for (std::size_t at = next(0); at < places; at = next(at + 1)) {
    if (IsSpecialLine(body.substr(at + 1), stuffed)) return true;
  }
  return false;
}

bool IsShownAsStored(const BodySource& source) {
  if (!IsAscii(source.body)) return false;
  const std::optional<SimpleHead> head = ReadSimpleHead(source.head);
  if (!head || head->transfer != Transfer::kNone) return false;
  return !(head->labelled && HasControls(source.body)) &&
         !HasSpecialLine(source.body, source.stuffed);
}

}  // namespace quillet
