// SPDX-License-Identifier: GPL-3.0-or-later
// Certificates from arbitrary bytes, and the sentences that are made of what stands in them.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "port/linux/certificate.h"

using namespace quillet;
using namespace quillet::port;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

// Nothing that moves the text around it, ends it early or cannot be seen.
bool IsHarmless(std::u16string_view text) {
  for (const char16_t unit : text) {
    const bool control = unit < u' ' || (unit >= 0x7F && unit <= 0x9F) || unit == 0xAD;
    const bool turning = unit == 0x061C || (unit >= 0x200B && unit <= 0x200F) ||
                         (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2060 && unit <= 0x206F);
    const bool half = (unit >= 0xD800 && unit <= 0xF8FF) || unit == 0xFEFF || unit >= 0xFFF0;
    if (control || turning || half) return false;
  }
  return true;
}

bool IsDate(std::string_view text) {
  if (text.empty()) return true;
  return text.size() >= 10 && text.find_first_not_of("0123456789-") == text.npos;
}

void CheckFacts(const CertificateFacts& facts) {
  Expect(facts.names.size() <= kShownNames && facts.names.size() <= facts.name_count);
  for (const std::string& name : facts.names) Expect(!name.empty());
  Expect(IsDate(facts.begins) && IsDate(facts.ends));
  Expect(facts.fingerprint.size() == 95);
}

void CheckSentences(std::string_view host, const CertificateFacts& facts, std::string_view words) {
  for (int fault = 0; fault <= static_cast<int>(CertificateFault::kOther); ++fault) {
    for (const bool own : {true, false}) {
      const std::u16string text =
          DescribeFault(static_cast<CertificateFault>(fault), host, facts, own, words);
      Expect(IsHarmless(text) && text.size() < 500);
      Expect(text.starts_with(u"The certificate of ") ||
             text.starts_with(u"A certificate that vouches for "));
      Expect(text.ends_with(u'.'));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Expect(HostNameText(bytes).size() <= 64 && IsHarmless(HostNameText(bytes)));
  Expect(AuthorityText(bytes).size() <= 64 && IsHarmless(AuthorityText(bytes)));
  // What a certificate might say without being one.
  const std::string text(bytes);
  CheckSentences(text, {{text, text, text}, size, text, "", "", ""}, text);
  if (const auto facts = ReadCertificate(bytes)) {
    CheckFacts(*facts);
    CheckSentences("news.example.org", *facts, "");
  }
  return 0;
}
