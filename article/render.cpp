#include "article/render.h"

namespace quillet {

std::optional<std::u16string> ConvertTextToHTML(std::u16string text, std::vector<MatchRange>) {
  return text;
}
void Rot13String(std::u16string&) {}
void RemoveCRs(std::u16string&) {}

}  // namespace quillet
