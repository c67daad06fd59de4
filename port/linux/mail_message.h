// SPDX-License-Identifier: GPL-3.0-or-later
// The text of an e-mail as it goes over the line: header fields and body in, one message of
// internet mail out, and back. All texts are UTF-8 but the message, which is ASCII with LF at the
// end of its lines. Program thread only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillet::port {

struct MailParts {
  std::string id;      // becomes part of the Message-ID
  std::string sender;  // the author while no field "From" has an address
  // In the order of their setting, without control characters. "To", "cc" and "From" hold
  // addresses; an empty field is left out, and so is "Bcc".
  std::vector<std::pair<std::string, std::string>> fields;
  std::string body;  // lines end with CR LF, LF or CR
};

// Date and Message-ID are made here, so a message is composed once. The charset is us-ascii when
// that is enough, else utf-8; lines that are too long for the wire, and 8-bit ones, are encoded.
std::string ComposeMail(const MailParts& parts);

// What of a message its programs want to know.
struct MailSummary {
  std::vector<std::string> recipients;  // bare addresses of To and Cc, each once
  std::vector<std::string> to;          // likewise of To alone
  std::size_t to_count = 0;             // in To, also those that stand there again
  std::string from;                     // the bare address; empty without one
  std::string shown_to;                 // the fields as a reader sees them
  std::string subject;
  std::string body;  // decoded, lines end with LF
};
MailSummary ReadMail(std::string_view message);

// How many addresses a text of recipients seems to hold, by its "@" outside quotes and comments.
std::size_t CountAddressSigns(std::string_view recipients);

}  // namespace quillet::port
