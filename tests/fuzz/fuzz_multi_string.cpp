// SPDX-License-Identifier: GPL-3.0-or-later
// Lists of strings from arbitrary bytes: a count in the first four bytes, then the data.
#include <cstdint>
#include <cstdlib>
#include <new>
#include <span>
#include <string_view>
#include <vector>

#include "base/multi_string.h"
#include "util/little_endian.h"

using namespace quillet;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

// Whatever the count, there are exactly that many strings or none at all.
void CheckAnyCount(std::string_view data, std::uint32_t count) {
  try {
    Expect(ParseMultiString(data, count % 1000).size() == count % 1000);
    if (count > kMostMadeUpStrings) ParseMultiString(data, count);
  } catch (const std::bad_alloc&) {
    Expect(count > kMostMadeUpStrings);
  }
}

// What was read can be written and reads the same again.
void CheckRoundTrip(std::string_view data) {
  const std::size_t there = CountMultiStrings(data);
  Expect(there <= data.size() / 2);
  const auto strings = ParseMultiString(data, static_cast<std::uint32_t>(there));
  const std::string written = CreateMultiString(std::span<const std::u16string>(strings));
  Expect(written.size() % 2 == 0 && written.size() >= 4);
  Expect(CountMultiStrings(written) == there);
  Expect(ParseMultiString(written, static_cast<std::uint32_t>(there)) == strings);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  CheckAnyCount(bytes.substr(4), GetU32(bytes, 0));
  CheckRoundTrip(bytes.substr(4));
  return 0;
}
