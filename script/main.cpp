// SPDX-License-Identifier: GPL-3.0-or-later
// quillet-script: the whole program with a scripted display. See docs/script-front.md.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "app/startup.h"
#include "base/messages.h"
#include "port/linux/linux_platform.h"
#include "script/commands.h"
#include "script/input_lines.h"
#include "script/observer.h"
#include "script/options.h"
#include "script/script_run.h"
#include "script/script_shell.h"
#include "script/words.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kProgram = "quillet-script";

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Carries one line out; reports what came of it.
void CarryOutLine(ScriptContext& context, const std::string& text, int number) {
  const ScriptLine line = SplitScriptLine(text);
  try {
    if (!line.error.empty()) throw UsageFailure(FromUtf8(line.error));
    if (line.words.empty()) return;
    CarryOut(context, line.words);
    context.run.reporter.Report("done",
                                JsonObject().Add("line", number).Add("command", line.words[0]));
  } catch (const ScriptFailure& failure) {
    context.run.Fail(failure, number);
  } catch (const ScriptStopped&) {
    // The reason has been reported.
  }
}

void ReadCommands(ScriptContext& context, InputLines& input) {
  for (int number = 1; !context.run.stopping() && !context.input_ended; ++number) {
    const std::optional<std::string> line = input.Next();
    if (!line) return;
    CarryOutLine(context, *line, number);
  }
}

// A program that hangs is left: nothing that it owns can be touched any more.
[[noreturn]] void LeaveHangingProgram(ScriptRun& run) {
  if (run.status() == kStatusFine) {
    run.Fail({kStatusTimeout, "timeout", u"the program did not end"}, 0);
  }
  run.reporter.Report("end", JsonObject().Add("status", run.status()));
  std::_Exit(run.status());
}

void EndRun(ScriptRun& run) {
  if (run.status() == kStatusTimeout) LeaveHangingProgram(run);
  const bool ended = run.stopping() ? run.EndProgram() : run.CloseProgram();
  if (!ended) LeaveHangingProgram(run);
  if (run.status() != kStatusFine) return;
  for (const std::u16string& text : run.UnusedAnnouncements()) {
    run.Fail({kStatusFailed, "unused-announcement", text}, 0);
  }
}

// The end of the run is the end of the object, so that all threads are gone at its return.
int RunScript(const ScriptOptions& options, const port::Profile& profile, std::FILE* log) {
  port::LinuxServices services(profile, options.program.CommandLine(), port::OwnExecutable(),
                               options.program.link);
  Reporter reporter(stdout, log);
  InputLines input(STDIN_FILENO);
  port::FakeDisplay display(services.queues);
  display.SetWorkArea(options.work_area);
  ScriptRun run(
      reporter, services.queues, display, options.timeout, [&] { input.Stop(); },
      [&] { services.EndSession(); });
  display.on_failure = [&](const std::string& message) {
    run.Fail({kStatusFailed, "display", FromUtf8(message)}, 0);
  };
  ScriptObserver observer(run);
  display.SetObserver(&observer);
  const port::Platform& real = services.Attach(display.Services());
  ScriptShell shell(real.shell, reporter);
  port::Platform scripted{real,       real.messages, real.registry, real.sockets,   real.libraries,
                          real.files, real.clock,    shell,         real.scheduler, real.dialler,
                          real.mail,  real.contacts, real.security, real.secrets};
  gPlatform = &scripted;
  services.SetOnEndSession([&] {
    BeginSessionEnd();
    run.NoteSessionEnd();
  });

  reporter.Report("started",
                  JsonObject().Add("pid", static_cast<int>(getpid())).Add("profile", profile.name));
  ScriptContext context{run, observer, RunQuillet};
  context.give_link = [&](std::u16string_view link) { services.shell.RequestLink(link); };
  if (!options.hold) run.Start(RunQuillet);
  ReadCommands(context, input);
  EndRun(run);
  reporter.Report("end", JsonObject().Add("status", run.status()));
  services.SetOnEndSession({});
  services.Detach();
  gPlatform = nullptr;
  return run.status();
}

int UsageError(const std::string& error) {
  std::fprintf(stderr, "%s: %s\n", std::string(kProgram).c_str(), error.c_str());
  return kStatusUsage;
}

int Main(int argc, const char* const* argv) {
  const ScriptOptions options = ParseScriptOptions(argc, argv);
  using Action = port::Arguments::Action;
  switch (options.program.action) {
    case Action::kHelp:
      std::fputs(ScriptHelpText().c_str(), stdout);
      return 0;
    case Action::kVersion:
      std::fputs(port::VersionText(kProgram).c_str(), stdout);
      return 0;
    case Action::kWrong:
      return UsageError(options.program.error);
    case Action::kRun:
      break;
  }
  const port::Profile profile = port::LocateProfile(options.program.profile);
  const std::string wrong = port::PrepareProfile(profile);
  if (!wrong.empty()) return UsageError(wrong);
  File log;
  if (!options.log.empty()) {
    log.reset(std::fopen(options.log.c_str(), "we"));
    if (!log) return UsageError("cannot write " + options.log);
  }
  return RunScript(options, profile, log.get());
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  return quillet::Main(argc, argv);
}
