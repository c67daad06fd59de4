// Between fork and exec nothing but async-signal-safe calls: other threads may have held any lock.
// So everything is prepared before, and the process that supervises the program works on plain
// memory.
#include "port/linux/mail_hand_over.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string_view>
#include <type_traits>
#include <utility>

#include "port/linux/file_descriptor.h"

namespace quillet::port {
namespace {

constexpr int kGraceMs = 2000;  // from SIGTERM to SIGKILL
constexpr int kTickMs = 50;     // between two looks at `interrupted`
constexpr int kShortTickMs = 20;
constexpr std::size_t kMostOutput = 600;            // bytes of what the program says
constexpr std::size_t kMostLeftOver = 1024 * 1024;  // read of what it has said when it ends
constexpr int kExecFailed = 127;

enum class Outcome : int { kNotMoved, kNotStarted, kSent, kFailed, kUnknown };

// What the supervising process tells, in one write.
struct Report {
  Outcome outcome = Outcome::kNotMoved;
  int error = 0;        // system error number
  int exit_status = 0;  // of the program
  int signal = 0;       // that ended it; 0: it ended by itself
  bool timed_out = false;
  bool cancelled = false;
  std::size_t output_size = 0;
  std::array<char, kMostOutput> output{};
};
static_assert(std::is_trivially_copyable_v<Report> && sizeof(Report) < 4096);

// All that the supervising process needs.
struct Plan {
  const char* program = nullptr;
  char* const* arguments = nullptr;
  char* const* environment = nullptr;
  const char* waiting = nullptr;
  const char* under_way = nullptr;
  const char* sent = nullptr;
  int lock = -1;     // the message, locked
  int message = -1;  // the message at its beginning, or nothing to read
  int nothing = -1;  // what has no end and no beginning
  int waiting_folder = -1;
  int under_way_folder = -1;
  int sent_folder = -1;
  int control = -1;  // a byte: end the program
  int result = -1;
  off_t size = 0;
  bool reads_message = true;
  bool shows_message = false;
  int limit_ms = 0;
};

// --- The supervising process: plain memory and async-signal-safe calls ---------------------------

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
  if (fsync(to_folder) == 0 && fsync(from_folder) == 0) return true;
  const int error = errno;
  rename(to, from);
  errno = error;
  return false;
}

[[noreturn]] void BecomeProgram(const Plan& plan, int output, int failure) {
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
void TakeOutput(int output, std::size_t most, Report& report) {
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
bool WaitOnce(Running& running, std::int64_t until, Report& report) {
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
bool AwaitProgram(const Plan& plan, Running& running, Report& report) {
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
bool CertainlyNotSent(const Plan& plan, const Report& report) {
  if (report.signal == 0) return true;  // it says so itself
  return !plan.reads_message || lseek(plan.message, 0, SEEK_CUR) < plan.size;
}

void NoteEnd(pid_t program, Report& report) {
  int status = 0;
  while (waitpid(program, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) {
    report.exit_status = WEXITSTATUS(status);
  } else {
    report.signal = WIFSIGNALED(status) ? WTERMSIG(status) : SIGKILL;
  }
}

void MoveOn(const Plan& plan, bool sent, Report& report) {
  report.outcome = Outcome::kUnknown;
  if (sent) {
    // Not synced is still sent: a power cut brings the file back under way, never to where it
    // waits.
    if (rename(plan.under_way, plan.sent) != 0) return;
    fsync(plan.sent_folder);
    fsync(plan.under_way_folder);
    report.outcome = Outcome::kSent;
  } else if (CertainlyNotSent(plan, report) &&
             MoveSynced(plan.under_way, plan.waiting, plan.waiting_folder, plan.under_way_folder)) {
    report.outcome = report.error == 0 ? Outcome::kFailed : Outcome::kNotStarted;
  }
}

void RunProgram(const Plan& plan, Report& report) {
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

[[noreturn]] void Supervise(const Plan& plan) {
  setsid();
  SetSignals(SIG_IGN);  // the end of the session must not leave it unknown what became of the mail
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(plan.nothing, fd);
  CloseAllBut({plan.lock, plan.message, plan.waiting_folder, plan.under_way_folder,
               plan.sent_folder, plan.control, plan.result, plan.nothing});
  Report report;
  if (MoveSynced(plan.waiting, plan.under_way, plan.under_way_folder, plan.waiting_folder)) {
    RunProgram(plan, report);
  } else {
    report.error = errno;
  }
  const ssize_t told = write(plan.result, &report, sizeof report);
  static_cast<void>(told);
  _exit(0);
}

// --- This process --------------------------------------------------------------------------------

// The three standard descriptors are somebody's input and output, also when nothing is open there.
FileDescriptor AboveStandard(int fd) {
  FileDescriptor opened(fd);
  if (fd < 0 || fd > STDERR_FILENO) return opened;
  return FileDescriptor(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

FileDescriptor OpenFile(const std::string& path, int flags) {
  return AboveStandard(open(path.c_str(), flags | O_CLOEXEC));
}

FileDescriptor OpenFolderOf(const std::string& file) {
  return OpenFile(file.substr(0, file.rfind('/')), O_RDONLY | O_DIRECTORY);
}

struct Pipe {
  FileDescriptor read_end;
  FileDescriptor write_end;
};

Pipe MakePipe() {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  return {AboveStandard(ends[0]), AboveStandard(ends[1])};
}

// True when the file at that path is the open one.
bool IsStillThere(const std::string& path, int fd) {
  struct stat here {};
  struct stat open_one {};
  return stat(path.c_str(), &here) == 0 && fstat(fd, &open_one) == 0 &&
         here.st_ino == open_one.st_ino && here.st_dev == open_one.st_dev;
}

bool Exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

std::string ErrorText(int error) {
  // Not strerror: it may share its buffer with another thread.
  std::array<char, 128> buffer{};
  return strerror_r(error, buffer.data(), buffer.size());
}

// The program's first lines in one, without what a terminal would act on.
std::string FirstLines(const Report& report) {
  constexpr std::size_t kLines = 3;
  std::string text;
  std::size_t lines = 0;
  for (const char c : std::string_view(report.output.data(), report.output_size)) {
    const bool line_end = c == '\n' || c == '\r';
    if (line_end && !text.empty() && text.back() != ' ' && ++lines == kLines) break;
    const bool blank = line_end || static_cast<unsigned char>(c) < ' ' || c == 0x7F;
    if (blank && (text.empty() || text.back() == ' ')) continue;
    text += blank ? ' ' : c;
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string ProgramName(const HandOverOrder& order) {
  return "'" + order.program.substr(order.program.rfind('/') + 1) + "'";
}

std::string SignalText(const HandOverOrder& order, const Report& report) {
  const std::string name = ProgramName(order);
  if (report.cancelled) return name + " was ended when the sending was cancelled";
  if (report.timed_out) {
    return name + " did not end within " + std::to_string(order.limit_ms / 1000) + " seconds";
  }
  return name + " was ended by signal " + std::to_string(report.signal);
}

std::string ReasonOf(const HandOverOrder& order, const Report& report) {
  const std::string name = ProgramName(order);
  switch (report.outcome) {
    case Outcome::kNotMoved:
      return "its file in the outbox cannot be moved: " + ErrorText(report.error);
    case Outcome::kNotStarted:
      return name + " could not be started: " + ErrorText(report.error);
    case Outcome::kSent:
      return {};
    case Outcome::kUnknown:
      if (report.signal == 0) return "its file in the outbox cannot be moved";
      return SignalText(order, report) + ", and it is not known whether it has sent the mail";
    case Outcome::kFailed:
      break;
  }
  if (report.signal != 0) return SignalText(order, report);
  const std::string said = FirstLines(report);
  if (said.empty()) return name + " failed with status " + std::to_string(report.exit_status);
  return name + " says: " + said;
}

HandOverResult ResultOf(const HandOverOrder& order, const Report& report) {
  HandOverEnd end = HandOverEnd::kFailed;
  if (report.outcome == Outcome::kSent) end = HandOverEnd::kSent;
  if (report.outcome == Outcome::kUnknown) end = HandOverEnd::kUnknown;
  return {end, ReasonOf(order, report)};
}

// The supervising process was killed before it could tell: the place of the file tells.
HandOverResult ResultByPlace(const HandOverOrder& order) {
  if (Exists(order.sent)) return {HandOverEnd::kSent, {}};
  if (Exists(order.waiting)) return {HandOverEnd::kFailed, "the hand-over was ended"};
  return {HandOverEnd::kUnknown,
          "the hand-over was ended, and it is not known whether the mail was sent"};
}

HandOverResult Failed(const std::string& what) {
  return {HandOverEnd::kFailed, what + ": " + ErrorText(errno)};
}

// Waits for the report, asking for an end as soon as that is wanted.
HandOverResult AwaitReport(const HandOverOrder& order, pid_t child, int result, int control,
                           const std::function<bool()>& interrupted) {
  Report report;
  bool asked = false;
  pollfd wait{result, POLLIN, 0};
  while (poll(&wait, 1, kTickMs) <= 0) {
    if (asked || !interrupted()) continue;
    asked = true;
    const ssize_t told = write(control, "e", 1);
    static_cast<void>(told);
  }
  const bool told = read(result, &report, sizeof report) == sizeof report;
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  return told ? ResultOf(order, report) : ResultByPlace(order);
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

HandOverResult HandOverMessage(const HandOverOrder& order,
                               const std::function<bool()>& interrupted) {
  FileDescriptor lock = OpenFile(order.waiting, O_RDONLY | O_NONBLOCK);
  if (!lock.valid()) return Failed("its file in the outbox cannot be read");
  if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0 || !IsStillThere(order.waiting, lock.get())) {
    return {HandOverEnd::kBusy, {}};
  }
  const FileDescriptor nothing = OpenFile("/dev/null", O_RDWR);
  // Opened once more: the program must not inherit the lock, and its reading moves the place.
  FileDescriptor message = OpenFile(order.reads_message ? order.waiting : "/dev/null", O_RDONLY);
  const FileDescriptor waiting_folder = OpenFolderOf(order.waiting);
  const FileDescriptor under_way_folder = OpenFolderOf(order.under_way);
  const FileDescriptor sent_folder = OpenFolderOf(order.sent);
  Pipe control = MakePipe();
  Pipe result = MakePipe();
  struct stat status {};
  for (const FileDescriptor* each :
       {&nothing, static_cast<const FileDescriptor*>(&message), &waiting_folder, &under_way_folder,
        &sent_folder, static_cast<const FileDescriptor*>(&control.write_end),
        static_cast<const FileDescriptor*>(&result.write_end)}) {
    if (!each->valid()) return Failed("the hand-over cannot begin");
  }
  if (fstat(message.get(), &status) != 0) return Failed("its file in the outbox cannot be read");

  const std::vector<char*> arguments = Pointers(order.arguments);
  Plan plan;
  plan.program = order.program.c_str();
  plan.arguments = arguments.data();
  plan.environment = environ;
  plan.waiting = order.waiting.c_str();
  plan.under_way = order.under_way.c_str();
  plan.sent = order.sent.c_str();
  plan.lock = lock.get();
  plan.message = message.get();
  plan.nothing = nothing.get();
  plan.waiting_folder = waiting_folder.get();
  plan.under_way_folder = under_way_folder.get();
  plan.sent_folder = sent_folder.get();
  plan.control = control.read_end.get();
  plan.result = result.write_end.get();
  plan.size = status.st_size;
  plan.reads_message = order.reads_message;
  plan.shows_message = order.shows_message;
  plan.limit_ms = order.limit_ms;

  const pid_t child = fork();
  if (child == 0) Supervise(plan);
  if (child < 0) return Failed("no process can be started");
  // The reading end of `control` stays: writing to one that nobody reads would end this process.
  lock.Close();
  message.Close();
  result.write_end.Close();
  return AwaitReport(order, child, result.read_end.get(), control.write_end.get(), interrupted);
}

}  // namespace quillet::port
