#include "port/linux/linux_mail_store.h"

#include <algorithm>
#include <utility>

#include "port/files.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::uint32_t kErrorNotOpen = 6;

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
  std::vector<WaitingMail> waiting;
  for (const OutboxEntry& entry : outbox_.Entries()) {
    const OutboxInfo info = outbox_.Info(entry.id);
    WaitingMail mail;
    mail.id = FromUtf8(entry.id);
    mail.service = FromUtf8(info.service);
    mail.to = FromUtf8(info.to);
    mail.subject = FromUtf8(info.subject);
    mail.message = Widen(Outbox::Read(entry.file).value_or(""));
    mail.reason = FromUtf8(info.reason);
    mail.held = entry.state != OutboxState::kWaiting;
    waiting.push_back(std::move(mail));
  }
  return waiting;
}

std::vector<WaitingMail> LinuxMailStore::HandOver() {
  return Waiting();
}

std::vector<MailService> LinuxMailStore::Services() {
  return {};
}

}  // namespace quillet::port
