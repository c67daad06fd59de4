// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/mail_programs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "port/linux/msmtp_accounts.h"
#include "port/linux/native_files.h"
#include "port/linux/profile.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::string_view kMsmtpPrefix = "msmtp ";
constexpr std::string_view kSendmailName = "sendmail";
constexpr std::string_view kDesktopName = "Desktop mail program";

constexpr std::uint64_t kLongestConfig = 1024 * 1024;
// A process gets at most 128 KiB in one argument, and the mail program all of it in one.
constexpr std::size_t kLongestLink = 120 * 1024;

std::vector<std::string> SplitFolders(const std::string& list) {
  std::vector<std::string> folders;
  std::string_view rest = list;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    if (rest.front() == '/') folders.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return folders;
}

std::string Variable(const char* name, const std::string& otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr && value[0] != '\0' ? value : otherwise;
}

// The native path of a program; empty when there is none.
std::string FindProgram(const std::string& name, const std::vector<std::string>& more = {}) {
  std::vector<std::string> folders = SplitFolders(Variable("PATH", "/usr/local/bin:/usr/bin:/bin"));
  folders.insert(folders.end(), more.begin(), more.end());
  for (const std::string& folder : folders) {
    std::string path = folder;
    path.append("/").append(name);
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        access(path.c_str(), X_OK) == 0) {
      return path;
    }
  }
  return {};
}

// --- msmtp ---------------------------------------------------------------------------------------

void AddMsmtpAccounts(std::vector<MailProgram>& programs) {
  const std::string program = FindProgram("msmtp");
  if (program.empty()) return;
  const std::string first = HomeFolder() + "/.msmtprc";
  const std::string second = ConfigHome() + "/msmtp/config";
  const auto first_text = ReadBoundedFile(first, kLongestConfig);
  for (const std::string* file : {&first, &second}) {
    const auto text = file == &first ? first_text : ReadBoundedFile(second, kLongestConfig);
    for (MsmtpAccount& account : ReadMsmtpAccounts(text.value_or(""))) {
      const std::string name = std::string(kMsmtpPrefix) + account.name;
      const bool known =
          std::ranges::any_of(programs, [&](const MailProgram& each) { return each.name == name; });
      if (known) continue;
      // msmtp reads the first of the two that is there.
      const bool is_read = file == &first || !first_text;
      programs.push_back({MailProgram::Kind::kMsmtp, name, std::move(account.from), program,
                          std::move(account.name), is_read ? std::string() : *file});
    }
  }
}

// --- The desktop's mail program ------------------------------------------------------------------

// Whether a list of associations names a program for mail links.
bool NamesMailHandler(const std::string& file) {
  const auto text = ReadBoundedFile(file, kLongestConfig);
  std::string_view rest = text ? std::string_view(*text) : std::string_view();
  constexpr std::string_view kKey = "x-scheme-handler/mailto=";
  bool counts = false;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    if (StartsWith(line, "[")) {
      counts = !StartsWith(line, "[Removed Associations]");
    } else if (counts && StartsWith(line, kKey) &&
               line.find(".desktop", kKey.size()) != line.npos) {
      return true;
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

bool HasMailHandler() {
  std::vector<std::string> files = {ConfigHome() + "/mimeapps.list"};
  for (const std::string& folder : SplitFolders(Variable("XDG_CONFIG_DIRS", "/etc/xdg"))) {
    files.push_back(folder + "/mimeapps.list");
  }
  std::vector<std::string> data = {DataHome()};
  for (std::string& folder :
       SplitFolders(Variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"))) {
    data.push_back(std::move(folder));
  }
  for (const std::string& folder : data) {
    for (const char* name : {"mimeapps.list", "defaults.list", "mimeinfo.cache"}) {
      files.push_back(folder + "/applications/" + name);
    }
  }
  return std::ranges::any_of(files, NamesMailHandler);
}

// Bytes that a text takes in a link.
std::size_t LinkSize(std::string_view text) {
  std::size_t size = 0;
  for (const char c : text) {
    const char low = ToLowerAscii(c);
    size += (low >= 'a' && low <= 'z') || (c >= '0' && c <= '9') ? 1 : 3;
  }
  return size;
}

MailCommand DesktopCommand(const MailProgram& program, const MailSummary& mail) {
  MailCommand command{{program.program, "--utf8"}, {}};
  std::size_t size = LinkSize(mail.subject) + LinkSize(mail.body);
  if (!mail.subject.empty())
    command.arguments.insert(command.arguments.end(), {"--subject", mail.subject});
  if (!mail.body.empty()) command.arguments.insert(command.arguments.end(), {"--body", mail.body});
  for (const std::string& address : mail.recipients) {
    size += LinkSize(address);
    if (address.find('@') == address.npos) {
      command.refusal = "'" + address + "' is no whole e-mail address";
    }
    const bool copy = std::ranges::find(mail.to, address) == mail.to.end();
    if (copy) command.arguments.emplace_back("--cc");
    command.arguments.push_back(address);
  }
  if (size > kLongestLink) command.refusal = "it is too long for the desktop's mail program";
  return command;
}

// --- Commands ------------------------------------------------------------------------------------

// An address that means itself to every program: no option, nothing that is not ASCII.
bool IsSafeAddress(std::string_view address) {
  return !address.empty() && address.front() != '-' && address.size() <= 1000 &&
         std::ranges::all_of(address, [](char c) { return c > ' ' && c < 0x7F; });
}

void AddRecipients(const MailSummary& mail, MailCommand& command) {
  command.arguments.emplace_back("--");
  command.arguments.insert(command.arguments.end(), mail.recipients.begin(), mail.recipients.end());
}

MailCommand MsmtpCommand(const MailProgram& program, const MailSummary& mail) {
  MailCommand command{{program.program}, {}};
  if (!program.config.empty()) command.arguments.push_back("--file=" + program.config);
  // It gives up by itself before it is ended, and then says why.
  command.arguments.insert(command.arguments.end(), {"--timeout=20", "-a", program.account});
  if (program.return_address.empty() && IsSafeAddress(mail.from)) {
    command.arguments.push_back("--from=" + mail.from);
  }
  AddRecipients(mail, command);
  return command;
}

MailCommand SendmailCommand(const MailProgram& program, const MailSummary& mail) {
  MailCommand command{{program.program, "-i"}, {}};
  if (IsSafeAddress(mail.from))
    command.arguments.insert(command.arguments.end(), {"-f", mail.from});
  AddRecipients(mail, command);
  return command;
}

}  // namespace

std::vector<MailProgram> FindMailPrograms() {
  std::vector<MailProgram> programs;
  AddMsmtpAccounts(programs);
  const std::string sendmail = FindProgram("sendmail", {"/usr/sbin", "/usr/lib"});
  if (!sendmail.empty()) {
    programs.push_back({MailProgram::Kind::kSendmail, std::string(kSendmailName), {}, sendmail});
  }
  const std::string desktop = FindProgram("xdg-email");
  if (!desktop.empty() && HasMailHandler()) {
    programs.push_back({MailProgram::Kind::kDesktop, std::string(kDesktopName), {}, desktop});
  }
  return programs;
}

const MailProgram* ProgramOf(const std::vector<MailProgram>& programs, const std::string& service) {
  const auto found = std::ranges::find_if(programs, [&](const MailProgram& program) {
    return EqualsNoCase(FromUtf8(program.name), FromUtf8(service));
  });
  if (found != programs.end()) return &*found;
  const bool was_here = StartsWithNoCase(service, kMsmtpPrefix) || service == kSendmailName ||
                        service == kDesktopName;
  return was_here || programs.empty() ? nullptr : &programs.front();
}

MailCommand CommandFor(const MailProgram& program, const MailSummary& mail) {
  if (mail.recipients.empty()) return {{}, "it has no recipient"};
  for (const std::string& address : mail.recipients) {
    if (!IsSafeAddress(address)) return {{}, "the address '" + address + "' cannot be used"};
  }
  switch (program.kind) {
    case MailProgram::Kind::kMsmtp:
      return MsmtpCommand(program, mail);
    case MailProgram::Kind::kDesktop:
      return DesktopCommand(program, mail);
    case MailProgram::Kind::kSendmail:
      break;
  }
  return SendmailCommand(program, mail);
}

}  // namespace quillet::port
