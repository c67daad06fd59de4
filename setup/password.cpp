// SPDX-License-Identifier: GPL-3.0-or-later
#include "setup/password.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <string_view>

#include "port/linux/descriptor_io.h"
#include "port/linux/file_descriptor.h"
#include "util/text.h"

namespace quillet::setup {
namespace {

// A line of a terminal holds as much.
constexpr std::size_t kLongestLine = 4096;

enum class LineEnd { kEnded, kEndOfFile, kTooLong, kFailed, kInterrupted };

volatile std::sig_atomic_t g_signal = 0;

// The first line, without its end. Signals that the mask lets through come while it waits, and end
// that; without one it is not interrupted.
LineEnd ReadLine(int file, const sigset_t* while_waiting, std::string& line) {
  char unit = 0;
  while (line.size() <= kLongestLine) {
    pollfd waiting{file, POLLIN, 0};
    if (while_waiting != nullptr && ppoll(&waiting, 1, nullptr, while_waiting) < 0) {
      if (g_signal != 0) return LineEnd::kInterrupted;
      if (errno != EINTR) return LineEnd::kFailed;
      continue;
    }
    const ssize_t got = port::ReadSome(file, &unit, 1);
    if (got < 0) return LineEnd::kFailed;
    if (got == 0) return LineEnd::kEndOfFile;
    if (unit == '\n') return LineEnd::kEnded;
    line.push_back(unit);
  }
  return LineEnd::kTooLong;
}

Password Failed(std::string problem) {
  return {{}, std::move(problem)};
}

Password PasswordOf(std::string line) {
  if (line.ends_with('\r')) line.pop_back();
  return {FromUtf8(line), {}};
}

// --- A file --------------------------------------------------------------------------------------

Password FromFile(const std::string& name) {
  const std::string named = "--password-file: \"" + name + "\" ";
  port::FileDescriptor file(name == "-" ? dup(STDIN_FILENO)
                                        : open(name.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.valid()) return Failed(named + "cannot be read: " + std::strerror(errno));
  std::string line;
  const LineEnd end = ReadLine(file.get(), nullptr, line);
  if (end == LineEnd::kFailed) return Failed(named + "cannot be read: " + std::strerror(errno));
  if (end == LineEnd::kTooLong) return Failed(named + "has no line that can be a password");
  Password password = PasswordOf(std::move(line));
  if (password.text.empty()) return Failed(named + "has no password in its first line");
  return password;
}

// --- The terminal --------------------------------------------------------------------------------

constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// While one lives what is typed is not shown, and signals that would end the program are held back
// but where the wait lets them through: none can come just before it and be missed.
class HiddenInput {
 public:
  explicit HiddenInput(int terminal) : terminal_(terminal) {
    g_signal = 0;
    sigset_t ending;
    sigemptyset(&ending);
    struct sigaction note {};
    note.sa_handler = [](int number) { g_signal = number; };
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
      sigaddset(&ending, kEndingSignals[i]);
      sigaction(kEndingSignals[i], &note, &actions_[i]);
    }
    sigprocmask(SIG_BLOCK, &ending, &mask_);
    hidden_ = tcgetattr(terminal, &shown_) == 0;
    termios without_echo = shown_;
    without_echo.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    hidden_ = hidden_ && tcsetattr(terminal, TCSAFLUSH, &without_echo) == 0;
  }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;
  // What was held back and has not been noted comes now.
  ~HiddenInput() {
    if (hidden_) tcsetattr(terminal_, TCSAFLUSH, &shown_);
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
      sigaction(kEndingSignals[i], &actions_[i], nullptr);
    }
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
  }
  bool hidden() const { return hidden_; }
  const sigset_t& mask() const { return mask_; }  // as it was before

 private:
  int terminal_;
  bool hidden_ = false;
  termios shown_{};
  sigset_t mask_{};
  std::array<struct sigaction, kEndingSignals.size()> actions_{};
};

LineEnd AskHidden(int terminal, std::string_view question, std::string& line) {
  const HiddenInput hidden(terminal);
  if (!hidden.hidden()) return LineEnd::kFailed;
  if (!port::WriteAll(terminal, question)) return LineEnd::kFailed;
  const LineEnd end = ReadLine(terminal, &hidden.mask(), line);
  port::WriteAll(terminal, "\n");
  return end;
}

Password FromTerminal(const Options& options) {
  const port::FileDescriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (!terminal.valid()) {
    return Failed("--password-prompt: there is no terminal to ask at; use --password-file");
  }
  const std::string question =
      "Password of " + options.user.value_or("") + " at " + options.server.value_or("") + ": ";
  std::string line;
  const LineEnd end = AskHidden(terminal.get(), question, line);
  if (end == LineEnd::kInterrupted) std::raise(g_signal);
  if (end == LineEnd::kFailed) {
    return Failed("--password-prompt: the terminal cannot hide what is typed");
  }
  if (end != LineEnd::kEnded || line.empty()) {
    return Failed("--password-prompt: no password was typed");
  }
  return PasswordOf(std::move(line));
}

}  // namespace

Password ReadPassword(const Options& options) {
  if (options.password_file) return FromFile(*options.password_file);
  if (options.password_prompt) return FromTerminal(options);
  return {};
}

}  // namespace quillet::setup
