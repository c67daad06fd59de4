// SPDX-License-Identifier: GPL-3.0-or-later
// The log in memory is what was said on the wire. People mail saved logs to others, so the password
// goes on the way to the file.
#include "nntp/transaction_log.h"

#include <algorithm>
#include <optional>

#include "base/guarded.h"
#include "base/messages.h"
#include "base/save_file.h"
#include "nntp/connection.h"
#include "util/text.h"

namespace quillet {
namespace {

// Always as many, so that they do not tell how long the password is.
constexpr std::string_view kHidden = "********";
constexpr std::string_view kBlanks = " \t";

// Where what is behind AUTHINFO PASS begins in the line: servers repeat commands that they do not
// understand, in their own way and anywhere in a line. npos without one.
std::size_t PasswordIn(std::string_view line) {
  constexpr std::string_view kCommand = "AUTHINFO";
  constexpr std::string_view kVerb = "PASS";
  std::size_t at = 0;
  for (;;) {
    const std::size_t found = FindNoCase(line.substr(at), kCommand);
    if (found == std::string_view::npos) return found;
    at += found + kCommand.size();
    const std::size_t verb = std::min(line.find_first_not_of(kBlanks, at), line.size());
    const std::size_t verb_end = verb + kVerb.size();
    if (verb == at || !StartsWithNoCase(line.substr(verb), kVerb)) continue;
    const std::size_t password = line.find_first_not_of(kBlanks, verb_end);
    if (password != std::string_view::npos && password > verb_end) return password;
  }
}

void AppendLine(std::string& text, std::string_view line) {
  const std::size_t password = PasswordIn(line);
  text.append(line.substr(0, password));
  if (password != std::string_view::npos) text.append(kHidden);
}

}  // namespace

std::string SavedTransactionLog(std::u16string_view log) {
  constexpr std::string_view kLineEnds = "\r\n";
  const std::string bytes = Narrow(log);
  std::string text;
  text.reserve(bytes.size() + kHidden.size());
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::size_t end = std::min(rest.find_first_of(kLineEnds), rest.size());
    AppendLine(text, rest.substr(0, end));
    const std::size_t next = std::min(rest.find_first_not_of(kLineEnds, end), rest.size());
    text.append(rest.substr(end, next - end));
    rest.remove_prefix(next);
  }
  return text;
}

void SaveTransactionLog() {
  if (!gTransactionLog) {
    ShowMessage(
        u"There is no transaction log to save. The transaction log is created after you connect to "
        u"your news server.");
    return;
  }
  const auto text = Guarded(u"SaveTransactionLog", [] {
    return std::optional(SavedTransactionLog(gTransactionLog->text));
  });
  if (text) {
    SaveAsFile(u"Save trans log as", u"translog.txt", *text, FileReaders::kUserAlone);
  }
}

}  // namespace quillet
