// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the Linux services share: a folder that goes away, files, environment, waiting.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>

namespace quillet::port {

class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quillet-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    path_ = name;
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  const std::string& path() const { return path_; }
  std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

 private:
  std::string path_;
};

inline std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

inline void WriteAll(const std::string& path, std::string_view data) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(data.data(), static_cast<std::streamsize>(data.size()));
}

inline void WriteScript(const std::string& path, std::string_view text) {
  WriteAll(path, text);
  chmod(path.c_str(), 0755);
}

inline unsigned ModeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

// An environment variable for the length of a scope.
class Environment {
 public:
  Environment(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    Set(value);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  ~Environment() { Set(old_); }

 private:
  void Set(const std::optional<std::string>& value) const {
    if (value) {
      setenv(name_, value->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  const char* name_;
  std::optional<std::string> old_;
};

// Permission bits mean nothing to the superuser: tests of them become another user for a while.
class PlainUser {
 public:
  PlainUser() : was_root_(geteuid() == 0) {
    if (was_root_ && seteuid(65534) != 0) ADD_FAILURE() << "cannot become another user";
  }
  PlainUser(const PlainUser&) = delete;
  PlainUser& operator=(const PlainUser&) = delete;
  ~PlainUser() {
    if (was_root_ && seteuid(0) != 0) ADD_FAILURE() << "cannot become the superuser again";
  }

 private:
  bool was_root_;
};

// True as soon as the condition holds, false after the limit.
inline bool Eventually(const std::function<bool()>& condition, int limit_ms = 5000) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

class StopWatch {
 public:
  std::int64_t Milliseconds() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start_)
        .count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A child process that runs `body`; it is killed at the end of the scope if it still runs.
class Child {
 public:
  explicit Child(const std::function<void()>& body) : pid_(fork()) {
    if (pid_ != 0) return;
    body();
    _exit(0);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { Kill(); }
  pid_t pid() const { return pid_; }
  void Kill() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  // The status as of waitpid.
  int Wait() {
    int status = -1;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
  }

 private:
  pid_t pid_;
};

}  // namespace quillet::port
