// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "port/linux/file_descriptor.h"

namespace quillet::port {
namespace {

class SpawnActions {
 public:
  SpawnActions() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// The signals that this program blocks or ignores must reach the child in their default way.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

pid_t Spawn(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return -1;
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const SpawnActions actions;
  const SpawnAttributes attributes;
  pid_t child = -1;
  const int error =
      posix_spawnp(&child, argv[0], actions.get(), attributes.get(), argv.data(), environ);
  return error == 0 ? child : -1;
}

int WaitForEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

// True when the child ended within the limit; its zombie is still there to be taken.
bool EndsWithin(pid_t child, int limit_ms) {
  const FileDescriptor handle(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
  if (!handle.valid()) return false;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd ended{handle.get(), POLLIN, 0};
    const int ready = poll(&ended, 1, static_cast<int>(left.count()));
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

}  // namespace

bool StartDetached(const std::vector<std::string>& arguments) {
  const pid_t child = Spawn(arguments);
  if (child < 0) return false;
  // A waiting thread costs little and needs no signal handler to take the zombie away.
  std::thread([child] { WaitForEnd(child); }).detach();
  return true;
}

std::optional<int> RunToEnd(const std::vector<std::string>& arguments, int limit_ms) {
  const pid_t child = Spawn(arguments);
  if (child < 0) return std::nullopt;
  const bool in_time = EndsWithin(child, limit_ms);
  if (!in_time) kill(-child, SIGKILL);  // it leads a session, and with it a process group
  const int status = WaitForEnd(child);
  if (!in_time || status < 0 || !WIFEXITED(status)) return std::nullopt;
  return WEXITSTATUS(status);
}

}  // namespace quillet::port
