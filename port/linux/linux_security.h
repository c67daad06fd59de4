// SPDX-License-Identifier: GPL-3.0-or-later
// The security package NTLM by GSSAPI, whose library is bound when it is first needed: the program
// starts and works without it. The mechanism itself is the system's plug-in.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "port/security.h"

namespace quillet::port {

class GssLibrary;

class LinuxSecurity final : public Security {
 public:
  // `library` is what the dynamic linker is asked for.
  explicit LinuxSecurity(std::string library = "libgssapi_krb5.so.2");
  LinuxSecurity(const LinuxSecurity&) = delete;
  LinuxSecurity& operator=(const LinuxSecurity&) = delete;
  ~LinuxSecurity() override;

  // By the system's list of mechanisms; loads nothing, since every start asks.
  std::vector<SecurityPackage> EnumeratePackages() override;
  CredentialsHandle AcquireCredentials(std::u16string_view package,
                                       const SecurityIdentity& identity) override;
  SecurityStep InitializeContext(CredentialsHandle credentials, SecurityContextHandle& context,
                                 std::u16string_view target, std::string_view input) override;
  void FreeContext(SecurityContextHandle context) override;
  void FreeCredentials(CredentialsHandle credentials) override;

 private:
  struct Credentials;
  struct Context;

  // Null when it cannot be loaded; it is tried each time.
  const GssLibrary* Library();

  const std::string library_name_;
  std::unique_ptr<GssLibrary> library_;
  std::map<CredentialsHandle, std::unique_ptr<Credentials>> credentials_;
  std::map<SecurityContextHandle, std::unique_ptr<Context>> contexts_;
  std::uint32_t last_handle_ = 0;
};

}  // namespace quillet::port
