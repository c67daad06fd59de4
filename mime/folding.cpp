// SPDX-License-Identifier: GPL-3.0-or-later
// What a character folds to is asked of GLib once and kept in pages of 256 characters; the many
// pages without any letter that folds are one and the same, so the table stays small.
#include "mime/folding.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>

#include "mime/utf16.h"
#include "util/ascii.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr char32_t kPlanes = 0x20000;  // no letter beyond them has two cases
constexpr std::size_t kPageSize = 256;

using Page = std::array<char32_t, kPageSize>;

// What a character folds to, when that is more than one.
struct Expanded {
  std::array<char16_t, 3> units{};
  std::uint8_t length = 0;
};

// From here on an entry of a page is the place of an Expanded.
constexpr char32_t kExpanded = 0x80000000;

// GLib folds Cherokee to the small letters, Unicode to the capitals, which are older.
bool FoldCherokee(char32_t c, char32_t& folded) {
  const bool small = c >= 0xAB70 && c <= 0xABBF, last_small = c >= 0x13F8 && c <= 0x13FD;
  if (c < 0x13A0 || (c > 0x13FD && !small)) return false;
  folded = small ? c - 0xAB70 + 0x13A0 : last_small ? c - 8 : c;
  return true;
}

// Whether characters of this kind may fold; the other ones are by far the most.
bool MayFold(char32_t c) {
  switch (g_unichar_type(c)) {
    case G_UNICODE_UPPERCASE_LETTER:
    case G_UNICODE_LOWERCASE_LETTER:
    case G_UNICODE_TITLECASE_LETTER:
    case G_UNICODE_LETTER_NUMBER:
    case G_UNICODE_NON_SPACING_MARK:
    case G_UNICODE_OTHER_SYMBOL:
      return true;
    default:
      return false;
  }
}

std::u32string FoldOfGLib(char32_t c) {
  std::array<char, 6> bytes{};
  const int length = g_unichar_to_utf8(c, bytes.data());
  const std::unique_ptr<char, decltype(&g_free)> folded(g_utf8_casefold(bytes.data(), length),
                                                        g_free);
  std::u32string characters;
  for (const char* at = folded.get(); *at != '\0'; at = g_utf8_next_char(at)) {
    characters += static_cast<char32_t>(g_utf8_get_char(at));
  }
  return characters;
}

class FoldTable {
 public:
  FoldTable() : pages_(1) {
    for (char32_t c = 1; c < kPlanes; ++c) {
      if (MayFold(c)) Enter(c);
    }
  }

  // 0: as it is.
  char32_t Entry(char32_t c) const {
    return c < kPlanes ? pages_[page_of_[c / kPageSize]][c % kPageSize] : 0;
  }
  const Expanded& At(char32_t entry) const { return expanded_[entry - kExpanded]; }

 private:
  void Enter(char32_t c) {
    char32_t folded = c;
    if (!FoldCherokee(c, folded)) {
      const std::u32string characters = FoldOfGLib(c);
      folded = characters.size() == 1 ? characters[0] : Expand(characters);
    }
    if (folded != c) PageOf(c)[c % kPageSize] = folded;
  }

  // Everything that becomes longer lies in the first plane, whose characters are one unit each.
  char32_t Expand(const std::u32string& characters) {
    Expanded expanded;
    for (const char32_t c : characters.substr(0, expanded.units.size())) {
      expanded.units[expanded.length++] = static_cast<char16_t>(c);
    }
    expanded_.push_back(expanded);
    return kExpanded + static_cast<char32_t>(expanded_.size() - 1);
  }

  Page& PageOf(char32_t c) {
    std::uint16_t& page = page_of_[c / kPageSize];
    if (page == 0) {
      page = static_cast<std::uint16_t>(pages_.size());
      pages_.emplace_back();
    }
    return pages_[page];
  }

  std::array<std::uint16_t, kPlanes / kPageSize> page_of_{};
  std::vector<Page> pages_;  // the first one is empty
  std::vector<Expanded> expanded_;
};

const FoldTable& Table() {
  static const FoldTable table;
  return table;
}

// Appends what the units from `at` on, one character, fold to; their number. `expanded` is called
// before a character that becomes longer.
template <class OnExpanded>
std::size_t AppendFolded(const FoldTable& table, std::u16string_view shown, std::size_t at,
                         std::u16string& folded, const OnExpanded& expanded) {
  const char32_t c = CharacterAt(shown, at);
  const std::size_t length = c > 0xFFFF ? 2 : 1;
  const char32_t entry = table.Entry(c);
  if (entry == 0) {
    folded.append(shown.substr(at, length));
  } else if (entry < kExpanded) {
    AppendCharacter(folded, entry);
  } else {
    const Expanded& to = table.At(entry);
    expanded(length, to.length);
    folded.append(to.units.data(), to.length);
  }
  return length;
}

template <class OnExpanded>
void FoldInto(std::u16string_view shown, std::u16string& folded, const OnExpanded& expanded) {
  const FoldTable& table = Table();
  folded.reserve(shown.size() + shown.size() / 16);
  for (std::size_t at = 0; at < shown.size();) {
    if (shown[at] < 0x80) {
      folded += ToLowerAscii(shown[at++]);
      continue;
    }
    at += AppendFolded(table, shown, at, folded, [&](std::size_t from, std::size_t to) {
      expanded(at, static_cast<std::uint8_t>(from), static_cast<std::uint8_t>(to));
    });
  }
}

}  // namespace

std::u16string FoldAscii(std::u16string_view shown) {
  std::u16string folded(shown);
  std::ranges::transform(folded, folded.begin(), [](char16_t c) { return ToLowerAscii(c); });
  return folded;
}

std::u16string FoldFully(std::u16string_view shown) {
  std::u16string folded;
  FoldInto(shown, folded, [](std::size_t, std::uint8_t, std::uint8_t) {});
  return folded;
}

FoldedText::FoldedText(std::u16string_view shown) {
  FoldInto(shown, text_, [this](std::size_t at, std::uint8_t from, std::uint8_t to) {
    expansions_.push_back({text_.size(), at, to, from});
  });
}

FoldedText::Place FoldedText::Walk::At(std::size_t place) {
  const std::vector<Expansion>& expansions = folded_->expansions_;
  while (next_ < expansions.size() && expansions[next_].folded < place) ++next_;
  if (next_ == 0) return {true, place};
  const Expansion& before = expansions[next_ - 1];
  const std::size_t end = before.folded + before.folded_length;
  if (place < end) return {};
  return {true, before.shown + before.shown_length + (place - end)};
}

}  // namespace quillet
