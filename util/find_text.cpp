#include "util/find_text.h"

namespace quillet {

std::vector<MatchRange> FindMatches(std::string_view, std::string_view, const MatchOptions&) {
  return {};
}
bool HasMatch(std::string_view text, std::string_view wanted, const MatchOptions& options) {
  return !FindMatches(text, wanted, options).empty();
}

}  // namespace quillet
