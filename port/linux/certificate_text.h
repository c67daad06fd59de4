// SPDX-License-Identifier: GPL-3.0-or-later
// What a certificate says, as text that can be shown. Names in it are bytes of strangers: nothing
// of them but harmless characters gets out of here, and never much. All functions are pure.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

struct CertificateFacts {
  // The hosts that it is for, as they stand in it (addresses as their texts): the first few, and
  // how many there are.
  std::vector<std::string> names;
  std::size_t name_count = 0;
  std::string issuer;       // UTF-8, as it stands there; empty when it has none
  std::string begins;       // "2026-01-02", UTC; empty when it is no date
  std::string ends;         // the same
  std::string fingerprint;  // SHA-256, "AB:CD:..."
};
constexpr std::size_t kShownNames = 3;

enum class CertificateFault {
  kOtherHost,
  kExpired,
  kNotYetValid,
  kSelfSigned,
  kUnknownAuthority,
  kRevoked,
  kTooWeak,
  kNotForServers,
  kWrongSignature,
  kOther,
};

// Letters, digits and "-._*:%" as they are, any other byte as "\x07"; of a long name the end, since
// a name is read from there. 64 characters at most.
std::u16string HostNameText(std::string_view name);
// UTF-8 with what is invisible, turns the direction of writing or is malformed as "?". 64
// characters at most.
std::u16string AuthorityText(std::string_view name);
// "a.example, b.example, c.example and 4 more"
std::u16string HostNamesText(const CertificateFacts& facts);

// One sentence: what is wrong with the certificate of `host`. `failed` is the one at fault: the
// host's own or, with `own` false, one of an authority. `words` is the reason of kOther.
std::u16string DescribeFault(CertificateFault fault, std::string_view host,
                             const CertificateFacts& failed, bool own, std::string_view words);

}  // namespace quillet::port
