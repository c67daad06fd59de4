// SPDX-License-Identifier: GPL-3.0-or-later
// The message store on Linux: messages of internet mail in an outbox below the data folder, handed
// over to the mail programs that the user has set up.
#pragma once

#include <functional>
#include <string>

#include "port/linux/mail_hand_over.h"
#include "port/linux/mail_message.h"
#include "port/linux/mail_programs.h"
#include "port/linux/outbox.h"
#include "port/mail_store.h"

namespace quillet::port {

class LinuxMailStore final : public MailStore {
 public:
  // `interrupts` counts what may end a hand-over (LinuxSockets::interrupts).
  LinuxMailStore(const std::string& data_folder, std::function<std::uint32_t()> interrupts);

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

 private:
  bool Note(std::uint32_t error);
  std::vector<WaitingMail> List(bool under_way_too);
  std::string ReasonToWait(const OutboxEntry& entry, const OutboxInfo& info) const;
  void HandOverOne(const OutboxEntry& entry, const std::vector<MailProgram>& programs,
                   const std::function<bool()>& interrupted);
  HandOverResult TryToSend(const OutboxEntry& entry, const OutboxInfo& info,
                           const std::vector<MailProgram>& programs,
                           const std::function<bool()>& interrupted) const;

  Outbox outbox_;
  const std::function<std::uint32_t()> interrupts_;
  MailParts parts_;
  std::string service_;
  bool open_ = false;
  std::uint32_t last_error_ = 0;
};

}  // namespace quillet::port
