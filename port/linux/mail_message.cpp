// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/mail_message.h"

#include <gmime/gmime.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

#include "util/domain_name.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::size_t kLongestLine = 998;  // that any mail server must take
constexpr const char* kUtf8 = "utf-8";

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

struct Free {
  void operator()(char* text) const { g_free(text); }
};
using OwnedText = std::unique_ptr<char, Free>;

void StartLibrary() {
  static const bool started = [] {
    g_mime_init();
    return true;
  }();
  static_cast<void>(started);
}

std::string TextOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

// Calls with each character that stands outside quotes and comments, by its place.
template <class Visit>
void VisitPlain(std::string_view text, const Visit& visit) {
  bool quoted = false;
  int comments = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\\' && (quoted || comments > 0)) {
      ++i;
    } else if (c == '"' && comments == 0) {
      quoted = !quoted;
    } else if (!quoted && c == '(') {
      ++comments;
    } else if (!quoted && comments > 0 && c == ')') {
      --comments;
    } else if (!quoted && comments == 0) {
      visit(i, c);
    }
  }
}

// Many write semicolons between addresses. They end a list of a named group, which has a colon, and
// would be the end of all addresses here.
std::string WithCommas(std::string_view text) {
  std::string commas(text);
  bool group = false;
  VisitPlain(text, [&](std::size_t at, char c) {
    group = group || c == ':';
    if (c == ';' && !group) commas[at] = ',';
    if (c == ';') group = false;
  });
  return commas;
}

Owned<InternetAddressList> ParseAddresses(const std::string& text) {
  return Owned<InternetAddressList>(
      text.empty() ? nullptr : internet_address_list_parse(nullptr, text.c_str()));
}

// The mailboxes of a list, those inside groups too.
void CollectMailboxes(InternetAddressList* list, std::vector<InternetAddressMailbox*>& mailboxes) {
  const int count = list == nullptr ? 0 : internet_address_list_length(list);
  for (int i = 0; i < count; ++i) {
    InternetAddress* address = internet_address_list_get_address(list, i);
    if (INTERNET_ADDRESS_IS_GROUP(address)) {
      CollectMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)),
                       mailboxes);
    } else if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
      mailboxes.push_back(INTERNET_ADDRESS_MAILBOX(address));
    }
  }
}

// Their addresses as the wire wants them, each once.
std::vector<std::string> BareAddresses(InternetAddressList* list) {
  std::vector<InternetAddressMailbox*> mailboxes;
  CollectMailboxes(list, mailboxes);
  std::vector<std::string> addresses;
  for (InternetAddressMailbox* mailbox : mailboxes) {
    std::string address = TextOf(internet_address_mailbox_get_idn_addr(mailbox));
    if (address.empty()) continue;
    if (std::ranges::find(addresses, address) == addresses.end()) {
      addresses.push_back(std::move(address));
    }
  }
  return addresses;
}

// A Message-ID without its brackets.
std::string NewMessageId(const std::string& id, const std::string& from) {
  std::random_device random;
  std::array<char, 20> unique{};
  std::snprintf(unique.data(), unique.size(), "%08x%08x", static_cast<unsigned>(random()),
                static_cast<unsigned>(random()));
  const std::string domain = from.substr(std::min(from.rfind('@'), from.size() - 1) + 1);
  return id + "." + unique.data() + "@" + (IsPlausibleDomain(domain) ? domain : "quillet.invalid");
}

// LF at every line's end, the last one's too.
std::string WithPlainLineEnds(std::string_view text) {
  std::string plain;
  plain.reserve(text.size() + 1);
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\r') {
      if (at + 1 == text.size() || text[at + 1] != '\n') plain += '\n';
    } else {
      plain += text[at];
    }
  }
  if (!plain.empty() && plain.back() != '\n') plain += '\n';
  return plain;
}

bool IsAscii(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

// True when the text may stand in a message as it is.
bool GoesUnencoded(std::string_view text) {
  if (!IsAscii(text) || text.find('\0') != text.npos) return false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (end > kLongestLine) return false;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return true;
}

Owned<GMimeObject> TextPart(std::string_view body) {
  const std::string text = WithPlainLineEnds(body);
  Owned<GMimePart> part(g_mime_part_new_with_type("text", "plain"));
  g_mime_object_set_content_type_parameter(GMIME_OBJECT(part.get()), "charset",
                                           IsAscii(text) ? "us-ascii" : kUtf8);
  const Owned<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(text.data(), text.size()));
  const Owned<GMimeDataWrapper> content(
      g_mime_data_wrapper_new_with_stream(stream.get(), GMIME_CONTENT_ENCODING_DEFAULT));
  g_mime_part_set_content(part.get(), content.get());
  g_mime_part_set_content_encoding(part.get(), GoesUnencoded(text)
                                                   ? GMIME_CONTENT_ENCODING_7BIT
                                                   : GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
  return Owned<GMimeObject>(GMIME_OBJECT(part.release()));
}

bool AddAddresses(GMimeMessage* message, GMimeAddressType type, const std::string& text) {
  const Owned<InternetAddressList> list = ParseAddresses(WithCommas(text));
  if (!list || internet_address_list_length(list.get()) == 0) return false;
  std::vector<InternetAddressMailbox*> mailboxes;
  CollectMailboxes(list.get(), mailboxes);
  for (InternetAddressMailbox* mailbox : mailboxes) {
    internet_address_set_charset(INTERNET_ADDRESS(mailbox), kUtf8);
  }
  internet_address_list_append(g_mime_message_get_addresses(message, type), list.get());
  return true;
}

bool IsFieldName(std::string_view name) {
  return !name.empty() &&
         std::ranges::all_of(name, [](char c) { return c > ' ' && c < 0x7F && c != ':'; });
}

// A field's value: the last one of that name.
std::string ValueOf(const MailParts& parts, std::string_view name) {
  std::string value;
  for (const auto& field : parts.fields) {
    if (field.first == name) value = field.second;
  }
  return value;
}

void AddOtherFields(GMimeMessage* message, const MailParts& parts) {
  for (const auto& [name, value] : parts.fields) {
    const bool known = name == "To" || name == "cc" || name == "From" || name == "Subject";
    if (known || value.empty() || !IsFieldName(name)) continue;
    if (name.size() == 3 && StartsWithNoCase(name, "bcc")) continue;
    g_mime_object_set_header(GMIME_OBJECT(message), name.c_str(), value.c_str(), kUtf8);
  }
}

std::string WholeText(GMimeMessage* message) {
  const OwnedText text(g_mime_object_to_string(GMIME_OBJECT(message), nullptr));
  std::string whole = TextOf(text.get());
  if (whole.empty() || whole.back() != '\n') whole += '\n';
  return whole;
}

std::string DecodedBody(GMimeMessage* message) {
  GMimeObject* part = g_mime_message_get_mime_part(message);
  if (part == nullptr || !GMIME_IS_TEXT_PART(part)) return {};
  const OwnedText text(g_mime_text_part_get_text(GMIME_TEXT_PART(part)));
  return WithPlainLineEnds(TextOf(text.get()));
}

}  // namespace

std::string ComposeMail(const MailParts& parts) {
  StartLibrary();
  const Owned<GMimeMessage> message(g_mime_message_new(TRUE));
  if (!AddAddresses(message.get(), GMIME_ADDRESS_TYPE_FROM, ValueOf(parts, "From"))) {
    AddAddresses(message.get(), GMIME_ADDRESS_TYPE_FROM, parts.sender);
  }
  const std::vector<std::string> from =
      BareAddresses(g_mime_message_get_addresses(message.get(), GMIME_ADDRESS_TYPE_FROM));
  GDateTime* now = g_date_time_new_now_local();
  g_mime_message_set_date(message.get(), now);
  g_date_time_unref(now);
  g_mime_message_set_message_id(message.get(),
                                NewMessageId(parts.id, from.empty() ? "@" : from.front()).c_str());
  AddAddresses(message.get(), GMIME_ADDRESS_TYPE_TO, ValueOf(parts, "To"));
  AddAddresses(message.get(), GMIME_ADDRESS_TYPE_CC, ValueOf(parts, "cc"));
  g_mime_message_set_subject(message.get(), ValueOf(parts, "Subject").c_str(), kUtf8);
  AddOtherFields(message.get(), parts);
  g_mime_message_set_mime_part(message.get(), TextPart(parts.body).get());
  return WholeText(message.get());
}

MailSummary ReadMail(std::string_view text) {
  StartLibrary();
  const Owned<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(text.data(), text.size()));
  const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
  const Owned<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), nullptr));
  MailSummary summary;
  if (!message) return summary;
  InternetAddressList* to = g_mime_message_get_addresses(message.get(), GMIME_ADDRESS_TYPE_TO);
  summary.to = BareAddresses(to);
  std::vector<InternetAddressMailbox*> mailboxes;
  CollectMailboxes(to, mailboxes);
  summary.to_count = mailboxes.size();
  const Owned<InternetAddressList> all(g_mime_message_get_all_recipients(message.get()));
  summary.recipients = BareAddresses(all.get());
  const std::vector<std::string> from =
      BareAddresses(g_mime_message_get_addresses(message.get(), GMIME_ADDRESS_TYPE_FROM));
  if (!from.empty()) summary.from = from.front();
  const OwnedText shown(internet_address_list_to_string(to, nullptr, FALSE));
  summary.shown_to = TextOf(shown.get());
  summary.subject = TextOf(g_mime_message_get_subject(message.get()));
  summary.body = DecodedBody(message.get());
  return summary;
}

std::size_t CountAddressSigns(std::string_view recipients) {
  std::size_t count = 0;
  VisitPlain(recipients, [&](std::size_t, char c) { count += c == '@' ? 1 : 0; });
  return count;
}

}  // namespace quillet::port
