// SPDX-License-Identifier: GPL-3.0-or-later
// The first of many places where something holds, found block by block. Pure; any thread.
//
// A loop that may end at every place is no vector code; one that goes through a whole block and
// only gathers what it saw is. bench/view_bench (a search through 100,000 articles) and
// bench/render_bench show the difference.
#pragma once

#include <cstddef>
#include <type_traits>

namespace quillet {

// Whether one of the kBlock places from `at` on fits.
template <std::size_t kBlock, class Fits>
bool HasPlace(std::size_t at, const Fits& fits) {
  using Flag = std::invoke_result_t<Fits, std::size_t>;
  Flag found = 0;
  for (std::size_t i = 0; i < kBlock; ++i) found = static_cast<Flag>(found | fits(at + i));
  return found != 0;
}

// The first place from `at` on, and before `end`, that one of `fits` holds for, else `end` (`at`
// when that is beyond it). Each takes a place and answers 1 or 0 in an unsigned integer as wide as
// the characters that it compares, without a branch; each has a loop of its own in a block.
template <class... Fits>
std::size_t FirstPlace(std::size_t at, std::size_t end, const Fits&... fits) {
  constexpr std::size_t kBytes = 32;
  constexpr std::size_t kBlock = kBytes / sizeof(std::common_type_t<decltype(fits(at))...>);
  for (; at + kBlock <= end; at += kBlock) {
    if ((HasPlace<kBlock>(at, fits) || ...)) break;
  }
  while (at < end && !((fits(at) != 0) || ...)) ++at;
  return at;
}

}  // namespace quillet
