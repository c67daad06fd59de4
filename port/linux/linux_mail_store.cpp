// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_mail_store.h"

#include <algorithm>
#include <utility>

#include "port/files.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::uint32_t kErrorNotOpen = 6;
// A mail program of the desktop may go on for as long as its window is open.
constexpr int kLongestShowMs = 10000;

// UTF-8 in one line.
std::string FieldText(std::u16string_view value) {
  std::u16string clean(value);
  std::ranges::replace_if(
      clean, [](char16_t unit) { return unit < u' ' || unit == 0x7F; }, u' ');
  return ToUtf8(clean);
}

std::string FieldOf(const MailParts& parts, std::string_view name) {
  for (const auto& field : parts.fields) {
    if (field.first == name) return field.second;
  }
  return {};
}

}  // namespace

LinuxMailStore::LinuxMailStore(const std::string& data_folder,
                               std::function<std::uint32_t()> interrupts)
    : outbox_(data_folder), interrupts_(std::move(interrupts)) {}

bool LinuxMailStore::Note(std::uint32_t error) {
  if (error != 0) last_error_ = error;
  return error == 0;
}

bool LinuxMailStore::Open() {
  open_ = Note(outbox_.Prepare());
  return open_;
}

void LinuxMailStore::Begin(std::u16string_view id, std::u16string_view service) {
  parts_ = {};
  parts_.id = ToUtf8(id);
  service_ = FieldText(service);
}

void LinuxMailStore::SetSender(std::u16string_view address) {
  parts_.sender = FieldText(address);
}

void LinuxMailStore::SetField(std::u16string_view name, std::u16string_view value) {
  const std::string field = FieldText(name);
  std::erase_if(parts_.fields, [&](const auto& each) { return each.first == field; });
  parts_.fields.emplace_back(field, FieldText(value));
}

void LinuxMailStore::SetBody(std::u16string_view text) {
  parts_.body = ToUtf8(text);
}

bool LinuxMailStore::Put() {
  if (!open_) return Note(kErrorNotOpen);
  if (!IsMailId(parts_.id)) return Note(kErrorInvalidName);
  if (outbox_.Has(parts_.id)) return true;
  const OutboxInfo info{service_, FieldOf(parts_, "To"), FieldOf(parts_, "Subject"), {}, {}};
  return Note(outbox_.Put(parts_.id, ComposeMail(parts_), info));
}

void LinuxMailStore::Close() {
  open_ = false;
  parts_ = {};
}

bool LinuxMailStore::WasPut(std::u16string_view id) {
  return outbox_.Has(ToUtf8(id));
}

std::vector<WaitingMail> LinuxMailStore::Waiting() {
  return List(true);
}

std::vector<WaitingMail> LinuxMailStore::List(bool under_way_too) {
  std::vector<WaitingMail> waiting;
  for (const OutboxEntry& entry : outbox_.Entries()) {
    if (entry.state == OutboxState::kUnderWay && !under_way_too) continue;
    const OutboxInfo info = outbox_.Info(entry.id);
    WaitingMail mail;
    mail.id = FromUtf8(entry.id);
    mail.service = FromUtf8(info.service);
    mail.to = FromUtf8(info.to);
    mail.subject = FromUtf8(info.subject);
    mail.message = Widen(Outbox::Read(entry.file).value_or(""));
    mail.reason = FromUtf8(ReasonToWait(entry, info));
    mail.held = entry.state != OutboxState::kWaiting;
    waiting.push_back(std::move(mail));
  }
  return waiting;
}

std::string LinuxMailStore::ReasonToWait(const OutboxEntry& entry, const OutboxInfo& info) const {
  if (entry.state == OutboxState::kWaiting) return info.reason;
  if (entry.state == OutboxState::kUnderWay) return "it is being handed over";
  const std::string why = info.held.empty()
                              ? "its sending was cut short, and it is not known whether it was sent"
                              : info.held;
  return why + ". To send it again, move the file " + entry.file + " to " + outbox_.NewFolder() +
         "; to give it up, delete the file";
}

std::vector<WaitingMail> LinuxMailStore::HandOver() {
  const std::uint32_t before = interrupts_();
  const auto interrupted = [&] { return interrupts_() != before; };
  const std::vector<MailProgram> programs = FindMailPrograms();
  const std::vector<OutboxEntry> entries = outbox_.Entries();
  // The user may have cleared the sent messages away with their folder.
  if (!entries.empty()) Note(outbox_.Prepare());
  for (const OutboxEntry& entry : entries) {
    if (interrupted()) break;
    if (entry.state == OutboxState::kWaiting) HandOverOne(entry, programs, interrupted);
  }
  return List(false);
}

void LinuxMailStore::HandOverOne(const OutboxEntry& entry, const std::vector<MailProgram>& programs,
                                 const std::function<bool()>& interrupted) {
  OutboxInfo info = outbox_.Info(entry.id);
  const HandOverResult result = TryToSend(entry, info, programs, interrupted);
  switch (result.end) {
    case HandOverEnd::kSent:
      outbox_.ForgetInfo(entry.id);
      return;
    case HandOverEnd::kBusy:
      return;
    case HandOverEnd::kFailed:
      if (info.reason == result.reason) return;
      info.reason = result.reason;
      break;
    case HandOverEnd::kUnknown:
      info.held = result.reason;
      break;
  }
  outbox_.SetInfo(entry.id, info);
}

HandOverResult LinuxMailStore::TryToSend(const OutboxEntry& entry, const OutboxInfo& info,
                                         const std::vector<MailProgram>& programs,
                                         const std::function<bool()>& interrupted) const {
  const auto message = Outbox::Read(entry.file);
  if (!message) return {HandOverEnd::kFailed, "its file in the outbox cannot be read"};
  MailSummary mail = ReadMail(*message);
  if (!info.subject.empty()) mail.subject = info.subject;  // as it was before it was encoded
  const bool no_text = info.to.find_first_not_of(" ,;") == info.to.npos;
  if (mail.recipients.empty() && no_text) return {HandOverEnd::kFailed, "it has no recipient"};
  // Better to none of them than to some: nobody would notice.
  if (mail.recipients.empty() || CountAddressSigns(info.to) > mail.to_count) {
    return {HandOverEnd::kFailed, "its recipients '" + info.to + "' cannot be read"};
  }
  const MailProgram* program = ProgramOf(programs, info.service);
  if (program == nullptr) {
    return {HandOverEnd::kFailed,
            "there is no mail program for the transport '" + info.service + "'"};
  }
  MailCommand command = CommandFor(*program, mail);
  if (!command.refusal.empty()) return {HandOverEnd::kFailed, command.refusal};
  HandOverOrder order;
  order.program = program->program;
  order.arguments = std::move(command.arguments);
  order.reads_message = program->kind != MailProgram::Kind::kDesktop;
  order.shows_message = !order.reads_message;
  if (order.shows_message) order.limit_ms = kLongestShowMs;
  order.waiting = entry.file;
  order.under_way = outbox_.UnderWayFile(entry.id);
  order.sent = outbox_.SentFile(entry.id);
  return HandOverMessage(order, interrupted);
}

std::vector<MailService> LinuxMailStore::Services() {
  std::vector<MailService> services;
  for (const MailProgram& program : FindMailPrograms()) {
    services.push_back({FromUtf8(program.name), FromUtf8(program.return_address)});
  }
  return services;
}

}  // namespace quillet::port
