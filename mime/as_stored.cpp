#include "mime/as_stored.h"

#include <algorithm>
#include <array>

#include "util/ascii.h"
#include "util/text.h"

namespace quillet {
namespace {

// Sets in which ASCII means itself, by how their names begin.
constexpr std::array<std::string_view, 5> kOrdinarySets = {"us-ascii", "utf-8", "iso-8859-1",
                                                           "iso-8859-2", "windows-125"};

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

// "text/plain", alone or with an ordinary set.
bool IsOrdinaryType(std::string_view value) {
  const std::size_t semicolon = std::min(value.find(';'), value.size());
  if (!StartsWithNoCase(value, "text/plain") || Trimmed(value.substr(0, semicolon)).size() != 10) {
    return false;
  }
  if (semicolon == value.size()) return true;
  std::string_view parameter = Trimmed(value.substr(semicolon + 1));
  if (!StartsWithNoCase(parameter, "charset=")) return false;
  parameter.remove_prefix(8);
  if (parameter.starts_with('"')) parameter.remove_prefix(1);
  return parameter.find(';') == std::string_view::npos &&
         std::ranges::any_of(kOrdinarySets,
                             [&](auto set) { return StartsWithNoCase(parameter, set); });
}

// A field whose name begins with "content-", its first line.
bool IsHarmlessField(std::string_view line) {
  const std::size_t colon = std::min(line.find(':'), line.size() - 1);
  const std::string_view value = Trimmed(line.substr(colon + 1));
  if (StartsWithNoCase(line, "content-type:")) return IsOrdinaryType(value);
  if (!StartsWithNoCase(line, "content-transfer-encoding:")) return false;
  return (StartsWithNoCase(value, "7bit") || StartsWithNoCase(value, "8bit")) && value.size() == 4;
}

enum class Head { kNoMime, kHarmless, kOther };

// No continuation of a field that matters is looked into.
Head HeadOf(std::string_view head) {
  Head found = Head::kNoMime;
  bool content = false;
  while (!head.empty()) {
    const std::size_t end = std::min(head.find('\n'), head.size() - 1);
    const std::string_view line = head.substr(0, end + 1);
    if (content && (line[0] == ' ' || line[0] == '\t')) return Head::kOther;
    content = StartsWithNoCase(line, "content-");
    if (content && !IsHarmlessField(line)) return Head::kOther;
    if (content) found = Head::kHarmless;
    head.remove_prefix(end + 1);
  }
  return found;
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

bool HasSpecialLine(std::string_view body, bool stuffed) {
  for (std::size_t at = 0;; ++at) {
    if (IsSpecialLine(body.substr(at), stuffed)) return true;
    at = body.find('\n', at);
    if (at == std::string_view::npos) return false;
  }
}

}  // namespace

bool IsShownAsStored(const BodySource& source) {
  if (!IsAscii(source.body)) return false;
  const Head head = HeadOf(source.head);
  if (head == Head::kOther || (head == Head::kHarmless && HasControls(source.body))) return false;
  return !HasSpecialLine(source.body, source.stuffed);
}

}  // namespace quillet
