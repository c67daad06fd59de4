// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_mail_store.h"

#include <algorithm>

#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::uint32_t kErrorNotOpen = 6;

std::u16string WithoutControls(std::u16string_view value) {
  std::u16string clean(value);
  std::ranges::replace_if(
      clean, [](char16_t unit) { return unit < u' ' || unit == 0x7F; }, u' ');
  return clean;
}

// Lines as they are set, headers first.
std::u16string WholeMessage(const FakeMail& mail) {
  std::u16string text;
  for (const auto& [name, value] : mail.fields) text += name + u": " + value + u"\r\n";
  return text + u"\r\n" + mail.body;
}

WaitingMail ToWaiting(const FakeMail& mail) {
  return {mail.id,     mail.service, mail.Field(u"To"), mail.Field(u"Subject"), WholeMessage(mail),
          mail.reason, mail.held};
}

}  // namespace

std::u16string FakeMail::Field(std::u16string_view name) const {
  const auto found = std::ranges::find(fields, name, [](const auto& field) { return field.first; });
  return found == fields.end() ? std::u16string() : found->second;
}

bool FakeMailStore::Fails() {
  if (fail_in_ == 0 || --fail_in_ > 0) return false;
  last_error_ = error;
  return true;
}

bool FakeMailStore::Open() {
  calls.emplace_back("Open");
  open_ = !Fails();
  return open_;
}

void FakeMailStore::Begin(std::u16string_view id, std::u16string_view service) {
  calls.push_back("Begin " + ToUtf8(id));
  begun_ = {};
  begun_.id = id;
  begun_.service = service;
}

void FakeMailStore::SetSender(std::u16string_view address) {
  calls.emplace_back("SetSender");
  begun_.sender = WithoutControls(address);
}

void FakeMailStore::SetField(std::u16string_view name, std::u16string_view value) {
  calls.push_back("SetField " + ToUtf8(name));
  if (name == u"Bcc") return;
  std::erase_if(begun_.fields, [&](const auto& field) { return field.first == name; });
  begun_.fields.emplace_back(name, WithoutControls(value));
}

void FakeMailStore::SetBody(std::u16string_view text) {
  calls.emplace_back("SetBody");
  begun_.body = text;
}

bool FakeMailStore::Put() {
  calls.emplace_back("Put");
  if (Fails()) return false;
  if (!open_ || begun_.id.empty()) {
    last_error_ = kErrorNotOpen;
    return false;
  }
  if (!WasPut(begun_.id)) mails.push_back(begun_);
  return true;
}

void FakeMailStore::Close() {
  calls.emplace_back("Close");
  open_ = false;
  begun_ = {};
}

bool FakeMailStore::WasPut(std::u16string_view id) {
  return std::ranges::any_of(mails, [&](const FakeMail& mail) { return mail.id == id; });
}

std::vector<WaitingMail> FakeMailStore::Waiting() {
  std::vector<WaitingMail> waiting;
  for (const FakeMail& mail : mails) {
    if (!mail.handed_over) waiting.push_back(ToWaiting(mail));
  }
  return waiting;
}

std::vector<WaitingMail> FakeMailStore::HandOver() {
  calls.emplace_back("HandOver");
  for (FakeMail& mail : mails) {
    if (mail.handed_over || mail.held) continue;
    mail.reason = refuse ? refuse(mail) : std::u16string();
    mail.handed_over = mail.reason.empty();
  }
  return Waiting();
}

std::vector<MailService> FakeMailStore::Services() {
  return services;
}

}  // namespace quillet::port
