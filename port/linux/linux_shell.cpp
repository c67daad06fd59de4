// The lock file decides who owns the profile, the socket only carries requests; a later instance
// tries both in turn, because the owner may just be coming or going. What the listening thread
// hears is kept until there is a window to post it to.
#include "port/linux/linux_shell.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include "port/linux/child_process.h"
#include "port/linux/instance_socket.h"
#include "port/linux/native_files.h"
#include "port/linux/opener_link.h"
#include "util/text.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kRaise = "raise";
constexpr std::string_view kRaiseAndDownload = "raise+download";
constexpr std::string_view kAnswer = "ok";
constexpr auto kForwardLimit = 1500ms;
constexpr auto kRetryAfter = 50ms;
constexpr int kRequestLimitMs = 500;
constexpr std::size_t kPathLimit = 4096;

FileDescriptor OpenLockFile(const Profile& profile) {
  if (!MakeFolders(profile.config_folder)) return {};
  const std::string path = profile.config_folder + "/instance.lock";
  FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (file.valid()) return file;
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

enum class Lock { kHeld, kTaken, kImpossible };

Lock TryLock(int file) {
  while (flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return Lock::kTaken;
    if (errno != EINTR) return Lock::kImpossible;
  }
  return Lock::kHeld;
}

std::string ReadSocketPath(int lock_file) {
  std::string path(kPathLimit, '\0');
  const ssize_t got = pread(lock_file, path.data(), path.size(), 0);
  path.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  // Without its line end the path was not written to its end yet.
  if (!path.ends_with('\n')) return {};
  path.pop_back();
  return path;
}

void WriteSocketPath(int lock_file, const std::string& path) {
  const std::string line = path + "\n";
  if (ftruncate(lock_file, 0) != 0) return;
  // A later instance that finds no path goes away all the same, only without being heard.
  [[maybe_unused]] const ssize_t written = pwrite(lock_file, line.data(), line.size(), 0);
}

bool SendRequest(const std::string& path, std::string_view request, int limit_ms) {
  const FileDescriptor owner = ConnectTo(path);
  if (!owner.valid() || !SendLine(owner.get(), request)) return false;
  return ReceiveLine(owner.get(), limit_ms) == kAnswer;
}

}  // namespace

LinuxShell::LinuxShell(Profile profile, std::u16string command_line, MessageQueue& messages)
    : profile_(std::move(profile)), command_line_(std::move(command_line)), messages_(messages) {}

LinuxShell::~LinuxShell() {
  if (!listening_.joinable()) return;
  eventfd_write(end_event_.get(), 1);
  listening_.join();
  // While the lock is still held: afterwards a socket of that name may be the next owner's.
  const std::string path = ReadSocketPath(lock_.get());
  if (!path.empty()) unlink(path.c_str());
}

void LinuxShell::SetRaise(std::function<void()> raise) {
  const std::lock_guard lock(raise_mutex_);
  raise_ = std::move(raise);
}

bool LinuxShell::ForwardToOtherInstance(bool scheduled_download) {
  FileDescriptor file = OpenLockFile(profile_);
  if (!file.valid()) return false;
  const std::string_view request = scheduled_download ? kRaiseAndDownload : kRaise;
  const auto end = std::chrono::steady_clock::now() + kForwardLimit;
  // The owner may be about to listen, or about to end: both are tried until one holds.
  for (;;) {
    const Lock lock = TryLock(file.get());
    if (lock == Lock::kImpossible) return false;
    if (lock == Lock::kHeld) {
      lock_ = std::move(file);
      Listen();
      return false;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return true;
    const std::string path = ReadSocketPath(file.get());
    if (!path.empty() && SendRequest(path, request, static_cast<int>(left.count()))) return true;
    std::this_thread::sleep_for(kRetryAfter);
  }
}

void LinuxShell::Listen() {
  const std::string path = profile_.runtime_folder + "/instance.sock";
  MakeFolders(profile_.runtime_folder);
  listener_ = ListenAt(path);
  end_event_ = FileDescriptor(eventfd(0, EFD_CLOEXEC));
  if (!listener_.valid() || !end_event_.valid()) return;
  WriteSocketPath(lock_.get(), path);
  listening_ = std::thread([this] { Serve(); });
}

void LinuxShell::Serve() {
  std::array<pollfd, 2> waiting{{{listener_.get(), POLLIN, 0}, {end_event_.get(), POLLIN, 0}}};
  for (;;) {
    if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) return;
    if (waiting[1].revents != 0) return;
    if (waiting[0].revents == 0) continue;
    const FileDescriptor client = AcceptFrom(listener_.get());
    if (client.valid()) Answer(client.get());
  }
}

void LinuxShell::Answer(int client) {
  const std::string request = ReceiveLine(client, kRequestLimitMs);
  if (request != kRaise && request != kRaiseAndDownload) return;
  SendLine(client, kAnswer);
  {
    const std::lock_guard lock(mutex_);
    raise_wanted_ = true;
    if (request == kRaiseAndDownload) ++downloads_wanted_;
  }
  Deliver();
}

void LinuxShell::Raise() {
  const std::lock_guard lock(raise_mutex_);
  if (raise_) raise_();
}

// Hands waiting requests over when there is a window for them.
void LinuxShell::Deliver() {
  bool raise = false;
  {
    const std::lock_guard lock(mutex_);
    if (window_ == 0) return;
    raise = std::exchange(raise_wanted_, false);
    for (; downloads_wanted_ > 0; --downloads_wanted_) {
      messages_.Post({window_, MessageKind::kUser, scheduled_message_, 0, {}});
    }
    if (std::exchange(end_wanted_, false)) {
      messages_.Post({window_, MessageKind::kEndSession, 0, 0, {}});
    }
  }
  if (raise) Raise();
}

void LinuxShell::SetInstanceWindow(WindowHandle window, std::uint32_t scheduled_message) {
  {
    const std::lock_guard lock(mutex_);
    window_ = window;
    scheduled_message_ = scheduled_message;
  }
  Deliver();
}

void LinuxShell::RequestDownload() {
  {
    const std::lock_guard lock(mutex_);
    ++downloads_wanted_;
  }
  Deliver();
}

void LinuxShell::EndSession() {
  {
    const std::lock_guard lock(mutex_);
    end_wanted_ = true;
  }
  Deliver();
}

bool LinuxShell::OpenLink(std::u16string_view target) {
  const std::string link = LinkForOpener(target);
  return !link.empty() && StartDetached({"xdg-open", link});
}

}  // namespace quillet::port
