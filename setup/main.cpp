// SPDX-License-Identifier: GPL-3.0-or-later
// quillet-setup: tells the program its news server and its newsgroups, for scripts that set
// machines up. With it the program starts ready to connect.
#include <cstdio>
#include <iostream>

#include "port/linux/profile.h"
#include "setup/judge.h"
#include "setup/options.h"
#include "setup/password.h"
#include "setup/profile_writer.h"

namespace {

using namespace quillet;

constexpr std::string_view kProgram = "quillet-setup";
constexpr int kExitNotDone = 1;

int Fail(const std::string& problem, int status) {
  std::cerr << kProgram << ": " << problem << "\n";
  return status;
}

void TellDone(const setup::Options& options, const port::Profile& profile) {
  std::cout << (options.server ? "Server " + *options.server + " with " : std::string())
            << options.groups.size() << " group(s) written to " << profile.RegistryFile() << "\n";
}

int SetUp(const setup::Options& options) {
  if (const std::string wrong = setup::JudgeOptions(options); !wrong.empty()) {
    return Fail(wrong, port::kExitUsage);
  }
  const setup::Password password = setup::ReadPassword(options);
  if (!password.problem.empty()) return Fail(password.problem, kExitNotDone);
  if (const std::string wrong = setup::JudgePassword(password.text); !wrong.empty()) {
    return Fail("the password cannot be used: " + wrong, kExitNotDone);
  }
  const port::Profile profile = port::LocateProfile(options.profile);
  const setup::Written written = setup::WriteProfile(profile, options, password.text);
  if (!written.problem.empty()) return Fail(written.problem, kExitNotDone);
  for (const std::string& note : written.notes) std::cerr << kProgram << ": " << note << "\n";
  TellDone(options, profile);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const setup::Options options = setup::ParseOptions(argc, argv);
  switch (options.action) {
    case setup::Action::kHelp:
      std::cout << setup::HelpText();
      return 0;
    case setup::Action::kVersion:
      std::cout << port::VersionText(kProgram);
      return 0;
    case setup::Action::kWrong:
      Fail(options.error, port::kExitUsage);
      std::cerr << "Try 'quillet-setup --help'.\n";
      return port::kExitUsage;
    default:
      return SetUp(options);
  }
}
