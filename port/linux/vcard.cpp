// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/vcard.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "util/percent.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::size_t kMostAddresses = 50;
constexpr std::size_t kLongestName = 500;
constexpr std::size_t kLongestAddress = 1000;

bool IsControl(char16_t unit) {
  return unit < u' ' || (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028 || unit == 0x2029;
}

std::u16string_view Trimmed(std::u16string_view text) {
  const std::size_t first = text.find_first_not_of(u' ');
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

// --- Lines ---------------------------------------------------------------------------------------

// Takes the line at the front, without its end (CR LF, LF or CR).
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
  const std::string_view line = text.substr(0, end);
  const bool both = text.substr(end, 2) == "\r\n";
  text.remove_prefix(std::min(end + (both ? 2 : 1), text.size()));
  return line;
}

bool IsQuotedPrintable(std::string_view line) {
  const std::size_t colon = line.find(':');
  return FindNoCase(line.substr(0, colon), "QUOTED-PRINTABLE") != line.npos && colon != line.npos;
}

// The same with the lines into which it was folded, which are joined in `joined`. A soft line break
// of quoted-printable stays, as "=" and LF.
std::string_view TakeUnfolded(std::string_view& text, std::string& joined) {
  const std::string_view line = TakeLine(text);
  const auto is_folded = [&] {
    return !text.empty() && (text.front() == ' ' || text.front() == '\t');
  };
  if (!is_folded() && !EndsWith(line, "=")) return line;
  joined = line;
  std::optional<bool> quoted;  // found out once: the line may be long
  while (!text.empty()) {
    if (is_folded()) {
      text.remove_prefix(1);
      joined += TakeLine(text);
      continue;
    }
    if (!EndsWith(joined, "=")) break;
    if (!quoted) quoted = IsQuotedPrintable(joined);
    if (!*quoted) break;
    joined += '\n';
    joined += TakeLine(text);
  }
  return joined;
}

// --- Properties ----------------------------------------------------------------------------------

enum class PropertyName { kOther, kBegin, kEnd, kAgent, kName, kFullName, kOrganization, kEmail };

struct Property {
  PropertyName name = PropertyName::kOther;
  bool quoted_printable = false;
  bool code_page = false;  // its charset is said to be Latin-1 or 1252
  std::string_view value;
};

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return upper;
}

// The group in front of it does not matter, nor does case.
PropertyName NameOf(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, PropertyName>, 7> kNames = {{
      {"BEGIN", PropertyName::kBegin},
      {"END", PropertyName::kEnd},
      {"AGENT", PropertyName::kAgent},
      {"N", PropertyName::kName},
      {"FN", PropertyName::kFullName},
      {"ORG", PropertyName::kOrganization},
      {"EMAIL", PropertyName::kEmail},
  }};
  const std::size_t dot = text.rfind('.');
  if (dot != text.npos) text.remove_prefix(dot + 1);
  for (const auto& [name, property] : kNames) {
    if (text.size() == name.size() && StartsWithNoCase(text, name)) return property;
  }
  return PropertyName::kOther;
}

// Position of the character outside quotes.
std::size_t FindOutsideQuotes(std::string_view text, char wanted) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') quoted = !quoted;
    if (text[i] == wanted && !quoted) return i;
  }
  return text.npos;
}

void NoteParameter(const std::string& parameter, Property& property) {
  if (parameter == "ENCODING=QUOTED-PRINTABLE" || parameter == "QUOTED-PRINTABLE") {
    property.quoted_printable = true;
  }
  if (parameter == "CHARSET=ISO-8859-1" || parameter == "CHARSET=WINDOWS-1252") {
    property.code_page = true;
  }
}

std::optional<Property> ParseProperty(std::string_view line) {
  const std::size_t colon = FindOutsideQuotes(line, ':');
  if (colon == line.npos) return std::nullopt;
  Property property;
  property.value = line.substr(colon + 1);
  std::string_view head = line.substr(0, colon);
  const std::size_t name_end = std::min(FindOutsideQuotes(head, ';'), head.size());
  property.name = NameOf(head.substr(0, name_end));
  if (property.name == PropertyName::kOther) return property;
  head.remove_prefix(name_end);
  while (!head.empty()) {
    head.remove_prefix(1);
    const std::size_t end = std::min(FindOutsideQuotes(head, ';'), head.size());
    NoteParameter(Upper(head.substr(0, end)), property);
    head.remove_prefix(end);
  }
  return property;
}

std::string DecodeQuotedPrintable(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '=') {
      decoded += text[i];
      continue;
    }
    if (i + 1 < text.size() && text[i + 1] == '\n') {
      ++i;
    } else if (i + 2 < text.size() && HexDigitValue(text[i + 1]) >= 0 &&
               HexDigitValue(text[i + 2]) >= 0) {
      decoded += static_cast<char>(HexDigitValue(text[i + 1]) * 16 + HexDigitValue(text[i + 2]));
      i += 2;
    }
  }
  return decoded;
}

std::u16string ValueOf(const Property& property) {
  const std::string bytes = property.quoted_printable ? DecodeQuotedPrintable(property.value)
                                                      : std::string(property.value);
  return property.code_page ? Widen(bytes) : CardText(bytes);
}

// The parts between semicolons, without the escapes.
std::vector<std::u16string> Components(std::u16string_view value) {
  std::vector<std::u16string> parts(1);
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == u';') {
      parts.emplace_back();
    } else if (value[i] == u'\\' && i + 1 < value.size()) {
      ++i;
      parts.back() += value[i] == u'n' || value[i] == u'N' ? u'\n' : value[i];
    } else {
      parts.back() += value[i];
    }
  }
  return parts;
}

std::u16string Unescaped(std::u16string_view value) {
  std::u16string text;
  for (const std::u16string& part : Components(value)) {
    if (!text.empty()) text += u';';
    text += part;
  }
  return text;
}

// --- Cards ---------------------------------------------------------------------------------------

struct Card {
  Contact contact;
  std::u16string full_name;
  std::u16string organization;
  bool open = false;
  bool agent_follows = false;  // the next card lies inside this one
  int inner = 0;               // cards inside that are open
};

void AddAddress(std::u16string_view value, Card& card) {
  std::u16string text = Unescaped(value);
  if (StartsWithNoCase(text, u"mailto:")) text.erase(0, 7);
  const std::u16string address = CleanAddress(text);
  if (!address.empty() && card.contact.addresses.size() < kMostAddresses) {
    card.contact.addresses.push_back(address);
  }
}

void NoteProperty(const Property& property, Card& card) {
  card.agent_follows = property.name == PropertyName::kAgent && property.value.empty();
  if (property.name == PropertyName::kEmail) {
    AddAddress(ValueOf(property), card);
  } else if (property.name == PropertyName::kFullName && card.full_name.empty()) {
    card.full_name = CleanName(Unescaped(ValueOf(property)));
  } else if (property.name == PropertyName::kOrganization && card.organization.empty()) {
    card.organization = CleanName(Components(ValueOf(property)).front());
  } else if (property.name == PropertyName::kName) {
    const std::vector<std::u16string> parts = Components(ValueOf(property));
    card.contact.last = CleanName(parts[0]);
    if (parts.size() > 1) card.contact.first = CleanName(parts[1]);
  }
}

void Finish(Card& card, std::vector<Contact>& contacts) {
  Contact& contact = card.contact;
  if (contact.last.empty() && contact.first.empty()) SplitFullName(card.full_name, contact);
  if (contact.last.empty() && contact.first.empty()) contact.last = card.organization;
  if (!contact.addresses.empty()) contacts.push_back(std::move(contact));
  card = {};
}

}  // namespace

std::vector<Contact> ReadVcards(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (StartsWith(text, kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  std::vector<Contact> contacts;
  Card card;
  std::string joined;
  while (!text.empty()) {
    const std::string_view line = TakeUnfolded(text, joined);
    const std::optional<Property> property = ParseProperty(line);
    if (!property) continue;
    const bool is_card = StartsWithNoCase(property->value, "VCARD");
    if (property->name == PropertyName::kBegin && is_card) {
      if (card.open && (card.agent_follows || card.inner > 0)) {
        card.agent_follows = false;
        ++card.inner;
        continue;
      }
      if (card.open) Finish(card, contacts);  // its end is missing
      card.open = true;
    } else if (property->name == PropertyName::kEnd && is_card) {
      if (card.inner > 0) {
        --card.inner;
      } else if (card.open) {
        Finish(card, contacts);
      }
    } else if (card.open && card.inner == 0) {
      NoteProperty(*property, card);
    }
  }
  if (card.open) Finish(card, contacts);
  return contacts;
}

std::u16string CardText(std::string_view bytes) {
  std::u16string text = FromUtf8(bytes);
  const bool damaged =
      text.find(u'\uFFFD') != text.npos && bytes.find("\xEF\xBF\xBD") == bytes.npos;
  return damaged ? Widen(bytes) : text;
}

std::u16string CleanName(std::u16string_view name) {
  std::u16string clean(name.substr(0, kLongestName));
  std::ranges::replace_if(clean, IsControl, u' ');
  return std::u16string(Trimmed(clean));
}

std::u16string CleanAddress(std::u16string_view address) {
  address = Trimmed(address);
  constexpr std::u16string_view kSeparators = u" ,;:<>()[]\\\"";
  const bool usable = address.size() <= kLongestAddress &&
                      address.find_first_of(kSeparators) == address.npos &&
                      std::ranges::none_of(address, IsControl);
  return usable ? std::u16string(address) : std::u16string();
}

void SplitFullName(std::u16string_view full_name, Contact& contact) {
  const std::size_t blank = full_name.rfind(u' ');
  if (blank == full_name.npos) {
    contact.last = full_name;
    return;
  }
  contact.last = full_name.substr(blank + 1);
  contact.first = Trimmed(full_name.substr(0, blank));
}

}  // namespace quillet::port
