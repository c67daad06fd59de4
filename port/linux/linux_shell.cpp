// SPDX-License-Identifier: GPL-3.0-or-later
// The lock file decides who owns the profile, the socket only carries requests; a later instance
// tries both in turn, because the owner may just be coming or going. What the listening thread
// hears is kept until there is a window to post it to.
#include "port/linux/linux_shell.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "port/linux/child_process.h"
#include "port/linux/guide_file.h"
#include "port/linux/instance_lock.h"
#include "port/linux/instance_request.h"
#include "port/linux/instance_socket.h"
#include "port/linux/native_files.h"
#include "port/linux/opener_link.h"
#include "util/text.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kAnswer = "ok";
constexpr auto kForwardLimit = 1500ms;
constexpr auto kRetryAfter = 50ms;
constexpr int kRequestLimitMs = 500;
constexpr std::size_t kPathLimit = 4096;
constexpr std::size_t kTokenLimit = 400;  // bytes; a line of the socket holds more

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

using SteadyTime = std::chrono::steady_clock::time_point;

int MillisecondsUntil(SteadyTime end) {
  const auto left = end - std::chrono::steady_clock::now();
  return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(left).count());
}

// Each in turn until one is answered; that one, or the end of the list.
using Lines = std::vector<std::string>;
Lines::const_iterator SendAny(const std::string& path, const Lines& lines, SteadyTime end) {
  return std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
    const int limit_ms = MillisecondsUntil(end);
    return limit_ms > 0 && SendRequest(path, line, limit_ms);
  });
}

// What the desktop gave this start with, when it fits into a line of the socket.
std::string ActivationToken() {
  for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
    const char* value = std::getenv(name);
    const std::string_view token = value != nullptr ? value : "";
    if (!token.empty() && token.size() <= kTokenLimit && !HasControlCharacter(token)) {
      return std::string(token);
    }
  }
  return {};
}

}  // namespace

LinuxShell::LinuxShell(Profile profile, std::u16string command_line, std::u16string link,
                       MessageQueue& messages)
    : profile_(std::move(profile)),
      command_line_(std::move(command_line)),
      link_(std::move(link)),
      activation_token_(ActivationToken()),
      messages_(messages) {}

LinuxShell::~LinuxShell() {
  if (!listening_.joinable()) return;
  eventfd_write(end_event_.get(), 1);
  listening_.join();
  // While the lock is still held: afterwards a socket of that name may be the next owner's.
  const std::string path = ReadSocketPath(lock_.get());
  if (!path.empty()) unlink(path.c_str());
}

void LinuxShell::SetRaise(std::function<void(const std::string& token)> raise) {
  const std::lock_guard lock(raise_mutex_);
  raise_ = std::move(raise);
}

bool LinuxShell::ForwardToOtherInstance(bool scheduled_download) {
  FileDescriptor file = OpenLockFile(profile_);
  if (!file.valid()) return false;
  InstanceRequest request{.download = scheduled_download, .token = activation_token_};
  if (!scheduled_download) request.link = link_;
  const Lines lines = LinesOf(request);
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
    if (MillisecondsUntil(end) <= 0) return true;
    const std::string path = ReadSocketPath(file.get());
    const auto answered = path.empty() ? lines.end() : SendAny(path, lines, end);
    if (answered != lines.end()) {
      link_taken_ = !request.link.empty() && answered == lines.begin();
      return true;
    }
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
  auto request = ParseInstanceRequest(ReceiveLine(client, kRequestLimitMs));
  if (!request) return;
  {
    const std::lock_guard lock(mutex_);
    raise_wanted_ = true;
    raise_token_ = std::move(request->token);
    if (request->download) ++downloads_wanted_;
    if (!request->link.empty()) links_wanted_.push_back(std::move(request->link));
  }
  SendLine(client, kAnswer);  // it is taken only now
  Deliver();
}

void LinuxShell::Raise(const std::string& token) {
  const std::lock_guard lock(raise_mutex_);
  if (raise_) raise_(token);
}

// Hands waiting requests over when there is a window for them.
void LinuxShell::Deliver() {
  bool raise = false;
  std::string token;
  {
    const std::lock_guard lock(mutex_);
    if (window_ == 0) return;
    raise = std::exchange(raise_wanted_, false);
    token = std::exchange(raise_token_, {});
    for (; downloads_wanted_ > 0; --downloads_wanted_) {
      messages_.Post({window_, MessageKind::kUser, messages_of_instance_.download, 0, {}});
    }
    for (std::u16string& link : std::exchange(links_wanted_, {})) {
      messages_.Post({window_, MessageKind::kUser, messages_of_instance_.link, 0, std::move(link)});
    }
    if (std::exchange(end_wanted_, false)) {
      messages_.Post({window_, MessageKind::kEndSession, 0, 0, {}});
    }
  }
  if (raise) Raise(token);
}

void LinuxShell::SetInstanceWindow(WindowHandle window, const InstanceMessages& messages) {
  {
    const std::lock_guard lock(mutex_);
    window_ = window;
    messages_of_instance_ = messages;
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

void LinuxShell::RequestLink(std::u16string_view link) {
  {
    const std::lock_guard lock(mutex_);
    links_wanted_.emplace_back(link);
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

// By its path: openers take one, whatever its characters, and begin nothing else with it.
bool LinuxShell::OpenGuide() {
  const std::string file = GuideFile();
  return !file.empty() && StartDetached({"xdg-open", file});
}

}  // namespace quillet::port
