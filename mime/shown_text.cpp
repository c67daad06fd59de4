#include "mime/shown_text.h"

#include <algorithm>

#include "util/text.h"

namespace quillet {
namespace {

bool IsBetween(char16_t unit, char16_t first, char16_t last) {
  return unit >= first && unit <= last;
}

}  // namespace

std::u16string ShownHeader(std::string_view stored) {
  return Widen(stored);
}

std::u16string ShownHeaderLines(std::string_view stored) {
  return Widen(stored);
}

std::u16string ShownBody(std::string_view /*head*/, std::string_view stored) {
  return Widen(stored);
}

std::u16string RawHeader(std::string_view stored) {
  return Widen(stored);
}

std::string ToStored(std::u16string_view shown) {
  return Narrow(shown);
}

std::vector<std::u16string> NotStorable(std::u16string_view shown) {
  std::vector<std::u16string> lost;
  for (std::size_t at = 0; at < shown.size();) {
    const bool pair = IsBetween(shown[at], 0xD800, 0xDBFF) && at + 1 < shown.size() &&
                      IsBetween(shown[at + 1], 0xDC00, 0xDFFF);
    const std::u16string_view character = shown.substr(at, pair ? 2 : 1);
    at += character.size();
    if (Widen(Narrow(character)) == character) continue;
    if (std::ranges::find(lost, character) == lost.end()) lost.emplace_back(character);
  }
  return lost;
}

std::u16string Fold(std::u16string_view shown) {
  std::u16string folded(shown);
  std::ranges::transform(folded, folded.begin(), [](char16_t c) { return ToLowerAscii(c); });
  return folded;
}

std::string JoinedSubject(std::string_view subject, std::string_view /*kept_headers*/) {
  return std::string(subject);
}

// The short way: different bytes are shown as different units, and folding only concerns ASCII, so
// comparing bytes says the same.
bool HeaderContains(std::string_view stored, std::string_view wanted) {
  return FindNoCase(stored, wanted) != std::string_view::npos;
}

}  // namespace quillet
