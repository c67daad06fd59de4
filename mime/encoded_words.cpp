#include "mime/encoded_words.h"

#include "util/text.h"

namespace quillet {

std::string EncodeHeaderText(std::u16string_view text) {
  return Narrow(text);
}

std::string EncodeHeaderAddress(std::u16string_view value) {
  return Narrow(value);
}

std::string ToKillfileText(std::u16string_view shown) {
  return Narrow(shown);
}

}  // namespace quillet
