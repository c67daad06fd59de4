// SPDX-License-Identifier: GPL-3.0-or-later
// quillet: the newsreader in a window.
#include <QApplication>
#include <cstdio>
#include <cstdlib>

#include "port/linux/linux_platform.h"
#include "port/scheduler.h"
#include "qt/device.h"
#include "qt/program.h"

namespace {

using quillet::port::Arguments;

constexpr int kExitNoDisplay = 1;

// What the toolkit finds fatal (a display that cannot be opened) is an error of the user's
// surroundings: said in one line, without a core dump.
void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                          const QString& text) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  std::fprintf(stderr, "quillet: %s\n", qPrintable(text));
  if (type == QtFatalMsg) std::_Exit(kExitNoDisplay);
}

// A start by the scheduler may have no display and still reach the instance that has one.
int EndWithoutDisplay(quillet::port::LinuxServices& services, const QString& problem) {
  const bool scheduled = services.shell.CommandLine() == quillet::port::kScheduledCommandLine;
  if (services.shell.ForwardToOtherInstance(scheduled)) {
    if (services.shell.Link().empty() || services.shell.LinkTaken()) return 0;
    std::fputs("quillet: the running program has not taken the link\n", stderr);
    return kExitNoDisplay;
  }
  std::fprintf(stderr, "quillet: %s\n", qPrintable(problem));
  return kExitNoDisplay;
}

// Empty when the toolkit cannot spell the name: it would make another file for it.
QString DisplayFileOf(const quillet::port::Profile& profile) {
  const QByteArray name = QByteArray::fromStdString(profile.DisplayFile());
  const QString spelled = QString::fromUtf8(name);
  return spelled.toUtf8() == name ? spelled : QString();
}

int RunInWindow(const Arguments& arguments, char** argv) {
  const quillet::port::Profile profile = quillet::port::LocateProfile(arguments.profile);
  const std::string problem = quillet::port::PrepareProfile(profile);
  if (!problem.empty()) {
    std::fprintf(stderr, "quillet: %s\n", problem.c_str());
    return 1;
  }
  quillet::port::LinuxServices services(profile, arguments.CommandLine(),
                                        quillet::port::OwnExecutable(), arguments.link);
  const QString no_display = quillet::qt::DisplayProblem();
  if (!no_display.isEmpty()) return EndWithoutDisplay(services, no_display);
  int application_argc = 1;  // the program's own arguments are no business of the toolkit
  quillet::qt::NameApplication();
  qInstallMessageHandler(HandleToolkitMessage);
  const QApplication application(application_argc, argv);
  quillet::qt::QtDevice device(services.queues, DisplayFileOf(profile));
  return quillet::qt::RunQuilletOn(device, services);
}

}  // namespace

int main(int argc, char** argv) {
  const Arguments arguments = quillet::port::ParseArguments(argc, argv);
  switch (arguments.action) {
    case Arguments::Action::kHelp:
      std::fputs(quillet::port::HelpText("quillet").c_str(), stdout);
      return 0;
    case Arguments::Action::kVersion:
      std::fputs(quillet::port::VersionText("quillet").c_str(), stdout);
      return 0;
    case Arguments::Action::kWrong:
      std::fprintf(stderr, "quillet: %s\n", arguments.error.c_str());
      return quillet::port::kExitUsage;
    default:
      return RunInWindow(arguments, argv);
  }
}
