// SPDX-License-Identifier: GPL-3.0-or-later
// The parent of the process that supervises the mail program: prepares all that it needs, and turns
// what it tells into a reason for the user.
#include "port/linux/mail_hand_over.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "port/linux/file_descriptor.h"
#include "port/linux/mail_supervisor.h"
#include "port/linux/shared_mappings.h"

namespace quillet::port {
namespace {

constexpr int kTickMs = 50;  // between two looks at `interrupted`

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
std::string FirstLines(const MailReport& report) {
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

std::string SignalText(const HandOverOrder& order, const MailReport& report) {
  const std::string name = ProgramName(order);
  if (report.cancelled) return name + " was ended when the sending was cancelled";
  if (report.timed_out) {
    return name + " did not end within " + std::to_string(order.limit_ms / 1000) + " seconds";
  }
  return name + " was ended by signal " + std::to_string(report.signal);
}

std::string ReasonOf(const HandOverOrder& order, const MailReport& report) {
  const std::string name = ProgramName(order);
  switch (report.outcome) {
    case MailOutcome::kNotMoved:
      return "its file in the outbox cannot be moved: " + ErrorText(report.error);
    case MailOutcome::kNotStarted:
      return name + " could not be started: " + ErrorText(report.error);
    case MailOutcome::kSent:
      return {};
    case MailOutcome::kUnknown:
      if (report.signal == 0) return "its file in the outbox cannot be moved";
      return SignalText(order, report) + ", and it is not known whether it has sent the mail";
    case MailOutcome::kFailed:
      break;
  }
  if (report.signal != 0) return SignalText(order, report);
  const std::string said = FirstLines(report);
  if (said.empty()) return name + " failed with status " + std::to_string(report.exit_status);
  return name + " says: " + said;
}

HandOverResult ResultOf(const HandOverOrder& order, const MailReport& report) {
  HandOverEnd end = HandOverEnd::kFailed;
  if (report.outcome == MailOutcome::kSent) end = HandOverEnd::kSent;
  if (report.outcome == MailOutcome::kUnknown) end = HandOverEnd::kUnknown;
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
  MailReport report;
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
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// The open files of one hand-over.
struct Opened {
  FileDescriptor lock;
  FileDescriptor message;  // once more: the program must not inherit the lock
  FileDescriptor nothing;
  FileDescriptor waiting_folder;
  FileDescriptor under_way_folder;
  FileDescriptor sent_folder;
  Pipe control;
  Pipe result;

  bool valid() const {
    return message.valid() && nothing.valid() && waiting_folder.valid() &&
           under_way_folder.valid() && sent_folder.valid() && control.read_end.valid() &&
           control.write_end.valid() && result.read_end.valid() && result.write_end.valid();
  }
};

Opened OpenAll(const HandOverOrder& order, FileDescriptor lock) {
  Opened opened;
  opened.lock = std::move(lock);
  opened.message = OpenFile(order.reads_message ? order.waiting : "/dev/null", O_RDONLY);
  opened.nothing = OpenFile("/dev/null", O_RDWR);
  opened.waiting_folder = OpenFolderOf(order.waiting);
  opened.under_way_folder = OpenFolderOf(order.under_way);
  opened.sent_folder = OpenFolderOf(order.sent);
  opened.control = MakePipe();
  opened.result = MakePipe();
  return opened;
}

// Borrows from all three.
MailPlan PlanOf(const HandOverOrder& order, const Opened& opened,
                const std::vector<char*>& arguments) {
  MailPlan plan;
  plan.program = order.program.c_str();
  plan.arguments = arguments.data();
  plan.environment = environ;
  plan.waiting = order.waiting.c_str();
  plan.under_way = order.under_way.c_str();
  plan.sent = order.sent.c_str();
  plan.lock = opened.lock.get();
  plan.message = opened.message.get();
  plan.nothing = opened.nothing.get();
  plan.waiting_folder = opened.waiting_folder.get();
  plan.under_way_folder = opened.under_way_folder.get();
  plan.sent_folder = opened.sent_folder.get();
  plan.control = opened.control.read_end.get();
  plan.result = opened.result.write_end.get();
  struct stat status {};
  plan.size = fstat(plan.message, &status) == 0 ? status.st_size : 0;
  plan.reads_message = order.reads_message;
  plan.shows_message = order.shows_message;
  plan.limit_ms = order.limit_ms;
  return plan;
}

}  // namespace

HandOverResult HandOverMessage(const HandOverOrder& order,
                               const std::function<bool()>& interrupted) {
  FileDescriptor lock = OpenFile(order.waiting, O_RDONLY | O_NONBLOCK);
  if (!lock.valid()) return Failed("its file in the outbox cannot be read");
  // Where there are no locks the move of the file alone decides who hands it over.
  const bool locked_out = flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  if (locked_out || !IsStillThere(order.waiting, lock.get())) return {HandOverEnd::kBusy, {}};
  Opened opened = OpenAll(order, std::move(lock));
  if (!opened.valid()) return Failed("the hand-over cannot begin");
  const std::vector<char*> arguments = Pointers(order.arguments);
  const MailPlan plan = PlanOf(order, opened, arguments);
  // The databases are locked; killed now, the program must be able to start anew at once.
  KeepSharedMappingsFromChildren();
  const pid_t child = fork();
  if (child == 0) SuperviseMailProgram(plan);
  if (child < 0) return Failed("no process can be started");
  // The reading end of `control` stays: writing to one that nobody reads would end this process.
  opened.lock.Close();
  opened.message.Close();
  opened.result.write_end.Close();
  return AwaitReport(order, child, opened.result.read_end.get(), opened.control.write_end.get(),
                     interrupted);
}

}  // namespace quillet::port
