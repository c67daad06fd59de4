// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of mail on Linux share: a home of their own, stubs in place of the mail programs,
// and messages.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "port/linux/linux_mail_store.h"
#include "tests/port/linux_test_tools.h"
#include "util/text.h"

namespace quillet::port {

// Programs are found in `bin` first; each stub writes its arguments, one a line, and its input.
class MailMachine {
 public:
  MailMachine() { std::filesystem::create_directories(folder / "bin"); }

  // `end`: what the stub does after it has taken the message.
  void AddStub(const std::string& name, const std::string& end = "exit 0") {
    WriteScript(
        folder / ("bin/" + name),
        "#!/bin/sh\nPATH=/usr/bin:/bin\nfor each in \"$@\"; do printf '%s\\n' \"$each\"; done > " +
            (folder / (name + ".arguments")) + "\ncat > " + (folder / (name + ".tmp")) + "\nmv " +
            (folder / (name + ".tmp")) + " " + (folder / (name + ".message")) + "\nprintf 'x' >> " +
            (folder / (name + ".count")) + "\n" + end + "\n");
  }
  std::string Arguments(const std::string& name) { return ReadAll(folder / (name + ".arguments")); }
  std::string Message(const std::string& name) { return ReadAll(folder / (name + ".message")); }
  // How often the stub has taken a message.
  std::size_t Count(const std::string& name) { return ReadAll(folder / (name + ".count")).size(); }

  TempFolder folder;
  Environment home{"HOME", folder / "home"};
  Environment config{"XDG_CONFIG_HOME", folder / "home/.config"};
  Environment data{"XDG_DATA_HOME", folder / "home/.local/share"};
  Environment config_dirs{"XDG_CONFIG_DIRS", folder / "none"};
  Environment data_dirs{"XDG_DATA_DIRS", folder / "none"};
  Environment path{"PATH", folder / "bin"};  // what is installed here does not count
};

struct TestMail {
  std::u16string id = u"m-1";
  std::u16string service = u"sendmail";
  std::u16string to = u"ann@example.com";
  std::u16string subject = u"Tea";
  std::u16string body = u"Hello\r\n";
  std::u16string from = u"me@example.org";
};

inline bool PutMail(MailStore& store, const TestMail& mail) {
  if (!store.Open()) return false;
  store.Begin(mail.id, mail.service);
  store.SetField(u"To", mail.to);
  store.SetField(u"Subject", mail.subject);
  store.SetField(u"From", mail.from);
  store.SetBody(mail.body);
  const bool put = store.Put();
  store.Close();
  return put;
}

inline std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace quillet::port
