// SPDX-License-Identifier: GPL-3.0-or-later
// The message store in memory. Program thread only.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "port/files.h"
#include "port/mail_store.h"

namespace quillet::port {

// One message, as it was put.
struct FakeMail {
  std::u16string id;
  std::u16string service;
  std::u16string sender;
  std::vector<std::pair<std::u16string, std::u16string>> fields;  // in the order of their setting
  std::u16string body;
  bool handed_over = false;
  std::u16string reason = {};
  bool held = false;

  // Empty when it was not set.
  std::u16string Field(std::u16string_view name) const;
};

class FakeMailStore final : public MailStore {
 public:
  bool Open() override;
  void Begin(std::u16string_view id, std::u16string_view service) override;
  void SetSender(std::u16string_view address) override;
  void SetField(std::u16string_view name, std::u16string_view value) override;
  void SetBody(std::u16string_view text) override;
  bool Put() override;
  void Close() override;
  std::uint32_t LastError() override { return last_error_; }
  bool WasPut(std::u16string_view id) override;
  std::vector<WaitingMail> Waiting() override;
  std::vector<WaitingMail> HandOver() override;
  std::vector<MailService> Services() override;

  // The nth Open or Put from now on (1: the next) fails once with `error`; 0 takes that back.
  void FailNth(int n) { fail_in_ = n; }
  std::uint32_t error = kErrorDiskFull;

  // Asked for each message that is handed over: why it cannot be; empty: it leaves. Without it all
  // leave.
  std::function<std::u16string(const FakeMail& mail)> refuse;
  // What Services answers.
  std::vector<MailService> services;

  // All that was put, the oldest first, handed over or not.
  std::vector<FakeMail> mails;
  // What happened: "Open", "Begin ID", "SetSender", "SetField To", "SetBody", "Put", "Close",
  // "HandOver".
  std::vector<std::string> calls;

 private:
  bool Fails();

  FakeMail begun_;
  bool open_ = false;
  int fail_in_ = 0;
  std::uint32_t last_error_ = 0;
};

}  // namespace quillet::port
