// SPDX-License-Identifier: GPL-3.0-or-later
// One open gdbm file: the library's calls on it, owned by an object. It reports nothing; every call
// on a closed file is an absent record or a failed store. Only for store/.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "store/gdbm_library.h"
#include "store/held_value.h"

namespace quillet {

constexpr int kOpenExisting = GDBM_WRITER | GDBM_FAST | GDBM_CLOEXEC;
constexpr int kCreateEmpty = GDBM_NEWDB | GDBM_FAST | GDBM_CLOEXEC;
constexpr int kCreateIfMissing = GDBM_WRCREAT | GDBM_CLOEXEC;
constexpr int kDatabaseMode = 0664;

// Why the system refused what the library asked of it.
enum class SystemRefusal { kNone, kNoAccess, kNoRoom };
// Of the last call below that failed; kNone when the system was not the reason.
SystemRefusal LastRefusal();

struct RecoveryResult {
  bool recovered = false;
  bool complete = false;  // nothing in the file was unreadable
};

class GdbmFile {
 public:
  GdbmFile() = default;
  GdbmFile(GdbmFile&& other) noexcept { *this = std::move(other); }
  GdbmFile& operator=(GdbmFile&& other) noexcept;
  GdbmFile(const GdbmFile&) = delete;
  GdbmFile& operator=(const GdbmFile&) = delete;
  ~GdbmFile() { Close(); }

  // Closed when the library is not bound, the path is empty or the library refuses (GdbmError).
  // `block_size` 0 is the library's default.
  static GdbmFile Open(const std::string& native_path, int flags, int mode, int block_size);
  void Close();
  explicit operator bool() const { return file_ != nullptr; }

  // True when the value was stored.
  bool Store(std::string_view key, std::string_view value, int flag);
  std::optional<std::string> Fetch(std::string_view key);
  HeldValue FetchHeld(std::string_view key);  // the same without a copy
  bool Exists(std::string_view key);
  bool Delete(std::string_view key);

  // The walk over all keys. Nothing at the end, and when the library fails or returns more keys
  // than a file of this size can hold (a damaged file may lead in circles); WalkComplete tells the
  // end from the rest.
  std::optional<std::string> FirstKey(std::uint64_t file_size);
  std::optional<std::string> NextKey(std::string_view key);
  bool WalkComplete() const { return walk_complete_; }

  bool Sync();
  int BlockSize();

  bool NeedsRecovery() const;
  // The library's name for the error of the last call.
  std::string LastError() const;
  // Copies all that can be read into a file that replaces this one, which is kept beside it with
  // ".~1~" behind its name.
  RecoveryResult Recover();

 private:
  std::optional<std::string> TakeKey(datum key);

  GDBM_FILE file_ = nullptr;
  std::uint64_t keys_left_ = 0;
  bool walk_complete_ = false;
};

}  // namespace quillet
