#include "mime/shown_text.h"

#include <algorithm>

#include "util/text.h"

namespace quillet {

std::u16string ShownHeader(std::string_view stored) {
  return Widen(stored);
}

std::u16string ShownHeaderLines(std::string_view stored) {
  return Widen(stored);
}

std::u16string ShownBody(std::string_view /*head*/, std::string_view stored) {
  return Widen(stored);
}

std::string ToStored(std::u16string_view shown) {
  return Narrow(shown);
}

std::u16string AsStored(std::u16string_view shown) {
  return Widen(Narrow(shown));
}

std::u16string Fold(std::u16string_view shown) {
  std::u16string folded(shown);
  std::ranges::transform(folded, folded.begin(), [](char16_t c) { return ToLowerAscii(c); });
  return folded;
}

// The short way: different bytes are shown as different units, and folding only concerns ASCII, so
// comparing bytes says the same.
bool HeaderContains(std::string_view stored, std::string_view wanted) {
  return FindNoCase(stored, wanted) != std::string_view::npos;
}

}  // namespace quillet
