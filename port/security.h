// SPDX-License-Identifier: GPL-3.0-or-later
// Logins that prove a password without sending it, by the system's security packages. Program
// thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

// Capabilities of a package; it may have others.
inline constexpr std::uint32_t kSecurityIntegrity = 1;
inline constexpr std::uint32_t kSecurityPrivacy = 2;

struct SecurityPackage {
  std::u16string name;
  std::uint32_t capabilities = 0;
};

// What a step of an exchange comes to. Users see these numbers.
using SecurityResult = std::uint32_t;
inline constexpr SecurityResult kSecurityDone = 0;
inline constexpr SecurityResult kSecurityContinueNeeded = 0x00090312;
inline constexpr SecurityResult kSecurityFailed = 0x80090304;  // all that has no number of its own
inline constexpr SecurityResult kSecurityNoPackage = 0x80090305;
inline constexpr SecurityResult kSecurityInvalidToken = 0x80090308;
inline constexpr SecurityResult kSecurityLogonDenied = 0x8009030C;
inline constexpr SecurityResult kSecurityNoCredentials = 0x8009030E;

struct SecurityIdentity {
  std::u16string user;
  std::u16string domain;  // may be empty
  std::u16string password;
};

// 0: none.
using CredentialsHandle = std::uint32_t;
using SecurityContextHandle = std::uint32_t;

inline constexpr std::size_t kLongestSecurityToken = 2048;

struct SecurityStep {
  SecurityResult result = kSecurityFailed;
  std::int32_t error = 0;  // what the package itself says of a failure
  std::string token;       // for the other side, kLongestSecurityToken bytes at most
};

class Security {
 public:
  virtual ~Security() = default;

  // What the system has; none when it has no security packages at all.
  virtual std::vector<SecurityPackage> EnumeratePackages() = 0;

  // Outbound credentials of this identity, whatever logins the user has elsewhere. 0 when there is
  // no such package, or it does not take the identity.
  virtual CredentialsHandle AcquireCredentials(std::u16string_view package,
                                               const SecurityIdentity& identity) = 0;

  // One step of the exchange. `context` is 0 before the first one, which has no `input`; the steps
  // after it get what the other side answered, any bytes. After each step `context` is what has to
  // be freed, after a failed one too; a context whose step failed is of no other use. The
  // credentials have to be there until the last step.
  virtual SecurityStep InitializeContext(CredentialsHandle credentials,
                                         SecurityContextHandle& context, std::u16string_view target,
                                         std::string_view input) = 0;

  // 0 changes nothing.
  virtual void FreeContext(SecurityContextHandle context) = 0;
  virtual void FreeCredentials(CredentialsHandle credentials) = 0;
};

}  // namespace quillet::port
