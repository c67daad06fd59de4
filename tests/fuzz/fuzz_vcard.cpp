// SPDX-License-Identifier: GPL-3.0-or-later
// Contact cards from arbitrary bytes.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "port/linux/vcard.h"

using namespace quillet;
using namespace quillet::port;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

bool IsPlain(std::u16string_view text) {
  for (const char16_t unit : text) {
    if (unit < u' ' || (unit >= 0x7F && unit <= 0x9F)) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const Contact& contact : ReadVcards(text)) {
    Expect(!contact.addresses.empty() && contact.addresses.size() <= 50);
    Expect(IsPlain(contact.last) && IsPlain(contact.first));
    for (const std::u16string& address : contact.addresses) {
      Expect(!address.empty() && IsPlain(address));
      Expect(address.find_first_of(u" ,;<>") == address.npos);
    }
  }
  return 0;
}
