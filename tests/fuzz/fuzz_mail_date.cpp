// SPDX-License-Identifier: GPL-3.0-or-later
// The date that an article says it was written on.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/mail_date.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto date = quillet::ParseMailDate(text);
  if (!date) return 0;
  // From 1900 to 9999, and a zone may be 99 hours and 59 minutes away.
  constexpr std::int64_t kFarthestZone = 100 * 3600;
  Require(*date > quillet::DaysSince1970(1900, 1, 1) * 86400 - kFarthestZone);
  Require(*date < quillet::DaysSince1970(10000, 1, 1) * 86400 + kFarthestZone);
  // Comments and blanks around it mean nothing.
  Require(quillet::ParseMailDate(" (c\\)(d))\r\n\t" + text) == date);
  return 0;
}
