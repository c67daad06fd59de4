// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/mail_supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "port/linux/native_files.h"

namespace quillet::port {
namespace {

constexpr int kGraceMs = 2000;    // from SIGTERM to SIGKILL
constexpr int kShortTickMs = 20;  // between two looks, where the system cannot tell of an end
constexpr std::size_t kMostLeftOver = 1024 * 1024;  // read of what it has said when it ends
constexpr int kExecFailed = 127;

std::int64_t NowMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

void SetSignals(void (*stopping)(int)) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number) sigaction(number, &action, nullptr);
  action.sa_handler = stopping;
  for (const int number : {SIGPIPE, SIGTERM, SIGINT, SIGHUP}) sigaction(number, &action, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Sockets, locks and files of the program must not live on here.
void CloseAllBut(std::array<int, 8> kept) {
  std::sort(kept.begin(), kept.end());
  unsigned first = STDERR_FILENO + 1;
  for (const int fd : kept) {
    if (fd < static_cast<int>(first)) continue;
    if (static_cast<unsigned>(fd) > first) {
      syscall(SYS_close_range, first, static_cast<unsigned>(fd) - 1, 0);
    }
    first = static_cast<unsigned>(fd) + 1;
  }
  syscall(SYS_close_range, first, ~0U, 0);
}

bool MoveSynced(const char* from, const char* to, int to_folder, int from_folder) {
  if (rename(from, to) != 0) return false;
  if (Sync(to_folder) && Sync(from_folder)) return true;
  const int error = errno;
  rename(to, from);
  errno = error;
  return false;
}

[[noreturn]] void BecomeProgram(const MailPlan& plan, int output, int failure) {
  setpgid(0, 0);
  SetSignals(SIG_DFL);
  dup2(plan.message, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  if (chdir("/") == 0) execve(plan.program, plan.arguments, plan.environment);
  const int error = errno;
  const ssize_t told = write(failure, &error, sizeof error);
  static_cast<void>(told);
  _exit(kExecFailed);
}

// Takes what is there; keeps the beginning.
void TakeOutput(int output, std::size_t most, MailReport& report) {
  std::array<char, 4096> piece;
  for (std::size_t taken = 0; taken < most;) {
    const ssize_t got = read(output, piece.data(), piece.size());
    if (got <= 0) return;
    const std::size_t size = static_cast<std::size_t>(got);
    const std::size_t kept = std::min(size, report.output.size() - report.output_size);
    std::memcpy(report.output.data() + report.output_size, piece.data(), kept);
    report.output_size += kept;
    taken += size;
  }
}

struct Running {
  pid_t program = -1;
  int handle = -1;  // readable when it has ended; -1: there is no such thing
  int output = -1;
  int control = -1;
};

bool AsksToEnd(Running& running) {
  char byte = 0;
  const ssize_t got = read(running.control, &byte, 1);
  if (got == 0) running.control = -1;  // nobody is there to ask any more
  return got > 0;
}

// One wait for whatever comes first. True when the program has ended.
bool WaitOnce(Running& running, std::int64_t until, MailReport& report) {
  std::array<pollfd, 3> waits{
      {{running.handle, POLLIN, 0}, {running.output, POLLIN, 0}, {running.control, POLLIN, 0}}};
  std::int64_t left = std::clamp<std::int64_t>(until - NowMs(), 0, 60000);
  if (running.handle < 0) left = std::min<std::int64_t>(left, kShortTickMs);
  poll(waits.data(), waits.size(), static_cast<int>(left));
  if ((waits[1].revents & POLLIN) != 0) {
    TakeOutput(running.output, 16384, report);
  } else if (waits[1].revents != 0) {
    running.output = -1;  // closed
  }
  if (waits[2].revents != 0 && AsksToEnd(running)) report.cancelled = true;
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(running.program), &ended, WEXITED | WNOHANG | WNOWAIT);
  return ended.si_pid == running.program;
}

// Until the program has ended, by itself or not. False when it goes on and is left alone.
bool AwaitProgram(const MailPlan& plan, Running& running, MailReport& report) {
  std::int64_t until = NowMs() + plan.limit_ms;
  int next_signal = SIGTERM;
  while (!WaitOnce(running, until, report)) {
    const bool over = NowMs() >= until;
    const bool ends_now = over || (report.cancelled && next_signal == SIGTERM);
    if (!ends_now) continue;
    if (plan.shows_message) return false;
    report.timed_out = report.timed_out || (over && !report.cancelled);
    kill(-running.program, next_signal);
    kill(running.program, next_signal);
    next_signal = SIGKILL;
    until = NowMs() + kGraceMs;
  }
  return true;
}

// What the end of the program means. True when the mail is certainly not on its way.
bool CertainlyNotSent(const MailPlan& plan, const MailReport& report) {
  if (report.signal == 0) return true;  // it says so itself
  return !plan.reads_message || lseek(plan.message, 0, SEEK_CUR) < plan.size;
}

void NoteEnd(pid_t program, MailReport& report) {
  int status = 0;
  while (waitpid(program, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) {
    report.exit_status = WEXITSTATUS(status);
  } else {
    report.signal = WIFSIGNALED(status) ? WTERMSIG(status) : SIGKILL;
  }
}

void MoveOn(const MailPlan& plan, bool sent, MailReport& report) {
  report.outcome = MailOutcome::kUnknown;
  if (sent) {
    // Not synced is still sent: a power cut brings the file back under way, never to where it
    // waits.
    if (rename(plan.under_way, plan.sent) != 0) return;
    Sync(plan.sent_folder);
    Sync(plan.under_way_folder);
    report.outcome = MailOutcome::kSent;
  } else if (CertainlyNotSent(plan, report) &&
             MoveSynced(plan.under_way, plan.waiting, plan.waiting_folder, plan.under_way_folder)) {
    report.outcome = report.error == 0 ? MailOutcome::kFailed : MailOutcome::kNotStarted;
  }
}

void RunProgram(const MailPlan& plan, MailReport& report) {
  std::array<int, 2> output{-1, -1};
  std::array<int, 2> failure{-1, -1};
  pid_t program = -1;
  if (pipe2(output.data(), O_CLOEXEC) == 0 && pipe2(failure.data(), O_CLOEXEC) == 0) {
    program = _Fork();
  }
  if (program == 0) BecomeProgram(plan, output[1], failure[1]);
  if (program < 0) {
    report.error = errno;
    return MoveOn(plan, false, report);
  }
  setpgid(program, program);
  close(output[1]);
  close(failure[1]);
  if (read(failure[0], &report.error, sizeof report.error) <= 0) report.error = 0;
  fcntl(output[0], F_SETFL, O_NONBLOCK);
  Running running{program, static_cast<int>(syscall(SYS_pidfd_open, program, 0)), output[0],
                  plan.control};
  if (!AwaitProgram(plan, running, report)) return MoveOn(plan, true, report);
  NoteEnd(program, report);
  if (running.output >= 0) TakeOutput(running.output, kMostLeftOver, report);
  MoveOn(plan, report.error == 0 && report.signal == 0 && report.exit_status == 0, report);
}

}  // namespace

void SuperviseMailProgram(const MailPlan& plan) {
  setsid();
  SetSignals(SIG_IGN);  // the end of the session must not leave it unknown what became of the mail
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(plan.nothing, fd);
  CloseAllBut({plan.lock, plan.message, plan.waiting_folder, plan.under_way_folder,
               plan.sent_folder, plan.control, plan.result, plan.nothing});
  MailReport report;
  if (MoveSynced(plan.waiting, plan.under_way, plan.under_way_folder, plan.waiting_folder)) {
    RunProgram(plan, report);
  } else {
    report.error = errno;
  }
  const ssize_t told = write(plan.result, &report, sizeof report);
  static_cast<void>(told);
  _exit(0);
}

}  // namespace quillet::port
