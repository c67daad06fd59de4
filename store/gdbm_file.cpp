// SPDX-License-Identifier: GPL-3.0-or-later
// Every call goes by the table of bound functions. Memory that the library hands out is copied and
// freed here, or held as it is by a HeldValue; a walk over the keys counts down from the most that
// the file can hold, so that it ends on damaged files too.
#include "store/gdbm_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "base/reset.h"

namespace quillet {
namespace {

// What the system said to the last call that may write.
int gSystemError = 0;

const ResetAtEnd kReset([] { gSystemError = 0; });

template <class Call>
auto Watched(Call call) {
  errno = 0;
  auto result = call();
  gSystemError = errno;
  return result;
}

// Every key occupies at least this much of a file: its entry in a bucket.
constexpr std::uint64_t kBytesOfAKey = 16;

datum ToDatum(std::string_view bytes) {
  // The library takes its arguments as mutable but does not change them.
  return {const_cast<char*>(bytes.data()), static_cast<int>(bytes.size())};
}

bool Fits(std::string_view bytes) {
  return bytes.data() != nullptr && bytes.size() <= INT_MAX / 2;
}

HeldValue Hold(datum data) {
  return {data.dptr, static_cast<std::size_t>(data.dsize)};
}

// Copies and frees what the library handed out.
std::optional<std::string> TakeDatum(datum data) {
  const HeldValue held = Hold(data);
  if (!held) return std::nullopt;
  return std::string(held.view());
}

}  // namespace

SystemRefusal LastRefusal() {
  switch (gSystemError) {
    case EACCES:
    case EPERM:
    case EROFS:
      return SystemRefusal::kNoAccess;
    case ENOSPC:
    case EDQUOT:
      return SystemRefusal::kNoRoom;
    default:
      return SystemRefusal::kNone;
  }
}

GdbmFile& GdbmFile::operator=(GdbmFile&& other) noexcept {
  if (this == &other) return *this;
  Close();
  file_ = std::exchange(other.file_, nullptr);
  keys_left_ = other.keys_left_;
  walk_complete_ = other.walk_complete_;
  return *this;
}

GdbmFile GdbmFile::Open(const std::string& native_path, int flags, int mode, int block_size) {
  GdbmFile file;
  if (gGdbm.open == nullptr || native_path.empty()) return file;
  // With a handler of its own the library would end the process after calling it.
  file.file_ =
      Watched([&] { return gGdbm.open(native_path.c_str(), block_size, flags, mode, nullptr); });
  return file;
}

void GdbmFile::Close() {
  if (file_ != nullptr) gGdbm.close(std::exchange(file_, nullptr));
}

bool GdbmFile::Store(std::string_view key, std::string_view value, int flag) {
  if (file_ == nullptr || !Fits(key) || !Fits(value)) return false;
  return Watched([&] { return gGdbm.store(file_, ToDatum(key), ToDatum(value), flag); }) == 0;
}

std::optional<std::string> GdbmFile::Fetch(std::string_view key) {
  if (file_ == nullptr || !Fits(key)) return std::nullopt;
  return TakeDatum(gGdbm.fetch(file_, ToDatum(key)));
}

HeldValue GdbmFile::FetchHeld(std::string_view key) {
  if (file_ == nullptr || !Fits(key)) return {};
  return Hold(gGdbm.fetch(file_, ToDatum(key)));
}

bool GdbmFile::Exists(std::string_view key) {
  return file_ != nullptr && Fits(key) && gGdbm.exists(file_, ToDatum(key)) != 0;
}

bool GdbmFile::Delete(std::string_view key) {
  if (file_ == nullptr || !Fits(key)) return false;
  return Watched([&] { return gGdbm.remove(file_, ToDatum(key)); }) == 0;
}

std::optional<std::string> GdbmFile::TakeKey(datum key) {
  auto taken = TakeDatum(key);
  if (!taken) walk_complete_ = GdbmError() == GDBM_ITEM_NOT_FOUND;
  return taken;
}

std::optional<std::string> GdbmFile::FirstKey(std::uint64_t file_size) {
  walk_complete_ = false;
  if (file_ == nullptr) return std::nullopt;
  keys_left_ = file_size / kBytesOfAKey;
  return TakeKey(gGdbm.firstkey(file_));
}

std::optional<std::string> GdbmFile::NextKey(std::string_view key) {
  walk_complete_ = false;
  if (file_ == nullptr || !Fits(key) || keys_left_ == 0) return std::nullopt;
  --keys_left_;
  return TakeKey(gGdbm.nextkey(file_, ToDatum(key)));
}

bool GdbmFile::Sync() {
  return file_ != nullptr && Watched([&] { return gGdbm.sync(file_); }) == 0;
}

int GdbmFile::BlockSize() {
  int size = 0;
  if (file_ == nullptr) return 0;
  return gGdbm.setopt(file_, GDBM_GETBLOCKSIZE, &size, sizeof size) == 0 ? size : 0;
}

bool GdbmFile::NeedsRecovery() const {
  return file_ != nullptr && gGdbm.needs_recovery != nullptr && gGdbm.needs_recovery(file_) != 0;
}

std::string GdbmFile::LastError() const {
  return gGdbm.strerror == nullptr ? "database error" : gGdbm.strerror(GdbmError());
}

RecoveryResult GdbmFile::Recover() {
  RecoveryResult result;
  if (file_ == nullptr || gGdbm.recover == nullptr) return result;
  gdbm_recovery recovery{};
  const int flags = GDBM_RCVR_FORCE | GDBM_RCVR_BACKUP;
  result.recovered = Watched([&] { return gGdbm.recover(file_, &recovery, flags); }) == 0;
  result.complete = recovery.failed_keys == 0 && recovery.failed_buckets == 0;
  std::free(recovery.backup_name);  // NOLINT: the library allocates it
  return result;
}

}  // namespace quillet
