// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of the instance socket from arbitrary bytes: what is taken says the same when it is sent
// on.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "port/linux/instance_request.h"
#include "util/news_link.h"
#include "util/text.h"

using namespace quillet;

namespace {

void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "fuzz_instance_request: %s\n", what);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  const auto request = port::ParseInstanceRequest(line);
  if (!request) return 0;
  const std::string link = ToUtf8(request->link);
  Require(!HasControlCharacter(request->token) && !HasControlCharacter(link), "control characters");
  Require(request->token.size() <= size, "a token that was not sent");
  Require(request->link.empty() || (IsNewsLink(link) && !request->download), "no link");
  const auto again = port::ParseInstanceRequest(port::LinesOf(*request).front());
  Require(again == request, "another request");
  return 0;
}
