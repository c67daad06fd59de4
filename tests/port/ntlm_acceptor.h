// SPDX-License-Identifier: GPL-3.0-or-later
// The other side of an NTLM login, made of the system's own mechanism, and users that exist only as
// long as it does. One a process at a time: the mechanism finds them by the environment.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tests/port/linux_test_tools.h"

namespace quillet::port {

// ann:secret and d@e:at of NEWS, bob of WORK with a password beyond ASCII, carl of no domain.
class NtlmUsers {
 public:
  NtlmUsers();

 private:
  TempFolder folder_;
  Environment file_;
};

// One login.
class NtlmAcceptor {
 public:
  NtlmAcceptor();
  NtlmAcceptor(const NtlmAcceptor&) = delete;
  NtlmAcceptor& operator=(const NtlmAcceptor&) = delete;
  ~NtlmAcceptor();

  enum class Result { kGoesOn, kAccepted, kRefused };
  // One step; `answer` is what the client is to get.
  Result Accept(std::string_view token, std::string& answer);
  // Who was accepted, as "DOMAIN\user"; without the domain when there was none.
  const std::string& name() const { return name_; }

 private:
  struct State;
  std::unique_ptr<State> state_;
  std::string name_;
};

// The texts of a token that proves a password, and how long its proof is: 24 bytes in the first
// version, more in the second, which holds the challenge's data.
struct NtlmProof {
  std::size_t proof_length = 0;
  std::u16string domain;
  std::u16string user;
};
NtlmProof ReadNtlmProof(std::string_view token);

}  // namespace quillet::port
