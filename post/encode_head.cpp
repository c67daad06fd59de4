// SPDX-License-Identifier: GPL-3.0-or-later
// A header line is encoded by what its field holds: free text, addresses, or names and dates in
// which encoded words are not allowed.
#include "post/encode_head.h"

#include <algorithm>
#include <array>

#include "mime/encoded_words.h"
#include "util/ascii.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kAsciiOnly =
    u"The header '%ls' can hold plain ASCII characters only. Please take the other characters out "
    u"of it.";
constexpr std::u16string_view kAddressNotAscii =
    u"The address in the header '%ls' can hold plain ASCII characters only. Please take the other "
    u"characters out of it.";
constexpr std::u16string_view kNameNotAscii =
    u"One or more header lines have characters before their first colon that are not plain ASCII.";
constexpr std::string_view kCrLf = "\r\n";

constexpr std::array<std::u16string_view, 13> kAddressFields = {u"From",
                                                                u"Sender",
                                                                u"Reply-To",
                                                                u"To",
                                                                u"Cc",
                                                                u"Bcc",
                                                                u"Approved",
                                                                u"Mail-Copies-To",
                                                                u"Mail-Reply-To",
                                                                u"Mail-Followup-To",
                                                                u"Errors-To",
                                                                u"Return-Receipt-To",
                                                                u"Disposition-Notification-To"};

constexpr std::array<std::u16string_view, 16> kAsciiFields = {
    u"Newsgroups", u"Followup-To",  u"References", u"In-Reply-To", u"Message-ID", u"Supersedes",
    u"Control",    u"Distribution", u"Date",       u"Expires",     u"Path",       u"Lines",
    u"Xref",       u"MIME-Version", u"Cancel-Key", u"Cancel-Lock"};

enum class Field { kText, kAddresses, kAscii };

Field FieldOf(std::u16string_view name) {
  const auto is = [&](std::u16string_view field) { return EqualsNoCase(name, field); };
  if (std::ranges::any_of(kAddressFields, is)) return Field::kAddresses;
  if (std::ranges::any_of(kAsciiFields, is)) return Field::kAscii;
  const bool of_body = StartsWithNoCase(name, u"Content-") && !is(u"Content-Description");
  return of_body ? Field::kAscii : Field::kText;
}

// Where the address at the front of a list ends: at a comma behind its "@", outside quotation
// marks and comments. A comma before the "@" belongs to the name, which needs no quotation marks
// while somebody writes it.
std::size_t EndOfAddress(std::u16string_view list) {
  bool quoted = false, has_address = false;
  int comments = 0;
  for (std::size_t at = 0; at < list.size(); ++at) {
    const char16_t unit = list[at];
    if (unit == u'\\') ++at;
    if (unit == u'"' && comments == 0) quoted = !quoted;
    if (quoted) continue;
    if (unit == u'(') ++comments;
    if (unit == u')' && comments > 0) --comments;
    if (comments > 0) continue;
    if (unit == u'@') has_address = true;
    if (unit == u',' && has_address) return at;
  }
  return list.size();
}

// Of one address with a name the address itself: names can be encoded, addresses cannot.
std::u16string_view BareAddress(std::u16string_view address) {
  const std::size_t open = address.rfind(u'<');
  if (open == address.npos) return address.substr(0, address.find(u'('));
  return address.substr(open, address.find(u'>', open) - open);
}

bool HasBadAddress(std::u16string_view list) {
  while (!list.empty()) {
    const std::size_t end = EndOfAddress(list);
    const std::u16string_view address = list.substr(0, end);
    if (address.find(u'@') != address.npos && !IsAscii(BareAddress(address))) return true;
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return false;
}

std::string EncodeAddresses(std::u16string_view list) {
  std::string encoded;
  while (!list.empty()) {
    const std::size_t end = EndOfAddress(list);
    const std::size_t start = std::min(list.find_first_not_of(u' '), end);
    encoded.append(start, ' ').append(EncodeHeaderAddress(list.substr(start, end - start)));
    if (end < list.size()) encoded += ',';
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return encoded;
}

// One line after the other; a continuation is of the field in front of it.
class HeadEncoder {
 public:
  // Nothing, or what is wrong with the line.
  std::u16string Append(std::u16string_view line) {
    if (line.front() != u' ' && line.front() != u'\t') {
      const std::size_t colon = line.find(u':');
      name_ = line.substr(0, colon == line.npos ? 0 : colon);
    }
    if (IsAscii(line)) {
      // As it stands, whatever it is.
      for (const char16_t unit : line) lines_ += static_cast<char>(unit);
    } else if (!IsAscii(name_)) {
      return std::u16string(kNameNotAscii);
    } else if (FieldOf(name_) == Field::kAscii) {
      return FormatWide(kAsciiOnly, FormatWide(u"%ls:", name_));
    } else if (FieldOf(name_) == Field::kAddresses && HasBadAddress(line)) {
      return FormatWide(kAddressNotAscii, FormatWide(u"%ls:", name_));
    } else {
      AppendEncoded(line);
    }
    lines_ += kCrLf;
    return {};
  }

  std::string& lines() { return lines_; }

 private:
  void AppendEncoded(std::u16string_view line) {
    const bool continues = line.front() == u' ' || line.front() == u'\t';
    const std::size_t named = continues || name_.empty() ? 0 : name_.size() + 1;
    const std::size_t value = std::min(line.find_first_not_of(u" \t", named), line.size());
    for (const char16_t unit : line.substr(0, value)) lines_ += static_cast<char>(unit);
    line.remove_prefix(value);
    lines_ += FieldOf(name_) == Field::kAddresses ? EncodeAddresses(line) : EncodeHeaderText(line);
  }

  std::u16string_view name_;  // of the field under way, without its colon; empty: none
  std::string lines_;
};

}  // namespace

std::variant<std::string, ArticleFault> EncodeHead(std::u16string_view head) {
  HeadEncoder encoder;
  for (std::size_t at = 0; at < head.size();) {
    const std::size_t end = std::min(head.find(u'\n', at), head.size());
    std::u16string_view line = head.substr(at, end - at);
    if (line.ends_with(u'\r')) line.remove_suffix(1);
    std::u16string problem = line.empty() ? std::u16string() : encoder.Append(line);
    if (!problem.empty()) return ArticleFault{std::move(problem), at};
    at = end + 1;
  }
  return std::move(encoder.lines());
}

}  // namespace quillet
