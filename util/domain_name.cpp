// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/domain_name.h"

#include <algorithm>

#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kLongestLabel = 63;
constexpr std::size_t kLongestDomain = 253;

bool IsLabel(std::string_view label) {
  const auto fits = [](char c) {
    return (c >= '0' && c <= '9') || (ToLowerAscii(c) >= 'a' && ToLowerAscii(c) <= 'z') || c == '-';
  };
  return !label.empty() && label.size() <= kLongestLabel && label.front() != '-' &&
         label.back() != '-' && std::ranges::all_of(label, fits);
}

}  // namespace

bool IsPlausibleDomain(std::string_view domain) {
  if (domain.size() > kLongestDomain) return false;
  std::size_t labels = 0;
  for (std::size_t start = 0; start <= domain.size(); ++labels) {
    const std::size_t end = std::min(domain.find('.', start), domain.size());
    if (!IsLabel(domain.substr(start, end - start))) return false;
    start = end + 1;
  }
  return labels >= 2;
}

}  // namespace quillet
