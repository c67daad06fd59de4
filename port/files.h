// SPDX-License-Identifier: GPL-3.0-or-later
// Files, folders and volumes. Paths are device paths in UTF-16 with backslashes ("\Quillet CE
// News\Quillet articles.gdb"): "\" is the profile's data folder, and a path that begins with a
// mounted card's name lies on that card. A component "." or ".." or a "/" inside a name is refused
// (the operation fails). Names are stored as UTF-8. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

// Why a file could not be made, opened or read; others are told by their numbers only.
constexpr std::uint32_t kErrorFileNotFound = 2;
constexpr std::uint32_t kErrorPathNotFound = 3;
constexpr std::uint32_t kErrorAccessDenied = 5;
constexpr std::uint32_t kErrorWriteFault = 29;
constexpr std::uint32_t kErrorReadFault = 30;
constexpr std::uint32_t kErrorDiskFull = 112;
constexpr std::uint32_t kErrorInvalidName = 123;
constexpr std::uint32_t kErrorFileExists = 183;
constexpr std::uint32_t kErrorNoNetwork = 1222;

// The names of files that are to replace another begin with this, and six letters or digits follow.
// A kill leaves them behind.
inline constexpr std::u16string_view kReplacementStem = u".quillet-";

// Device path of a text in UTF-8 that says which open file was cut or could not be read any more,
// so that the program had to end; for the next start.
inline constexpr std::u16string_view kCutFileNote = u"\\Quillet had to end";

struct VolumeSpace {
  std::uint64_t free_bytes = 0;  // available to the user
  std::uint64_t total_bytes = 0;
};

// A regular file that is read from its beginning to its end, in pieces. One thread at a time; the
// file is closed with the object.
class FileReader {
 public:
  virtual ~FileReader() = default;

  // Bytes when it was opened.
  virtual std::uint64_t Size() const = 0;
  // Fills the buffer, or what of it the rest of the file fills; 0 at the end. `error` is why it
  // could not be read any further, 0 otherwise; what was read before that is returned.
  virtual std::size_t Read(std::span<char> buffer, std::uint32_t& error) = 0;
  // Goes back to the beginning.
  virtual void Rewind() = 0;
};

class Files {
 public:
  virtual ~Files() = default;

  // The path to hand to a C library (UTF-8, absolute); empty for a refused path.
  virtual std::string NativePath(std::u16string_view path) = 0;

  virtual bool FolderExists(std::u16string_view path) = 0;
  // Creates one folder (parents must exist, except the data folder itself), mode 0700; true also
  // when it is there already.
  virtual bool CreateFolder(std::u16string_view path) = 0;

  // False when no file can be made or renamed in that folder: missing, without the right, or on a
  // volume that is read-only. A full volume is no reason.
  virtual bool CanWriteFolder(std::u16string_view path) = 0;
  // Names of the regular files in the folder, sorted; none when it cannot be read.
  virtual std::vector<std::u16string> FileNames(std::u16string_view folder) = 0;

  // Size in bytes; nothing when there is no such regular file.
  virtual std::optional<std::uint64_t> FileSize(std::u16string_view path) = 0;
  // False when there was nothing to delete or it could not be deleted.
  virtual bool Delete(std::u16string_view path) = 0;
  // Replaces an existing target.
  virtual bool Rename(std::u16string_view from, std::u16string_view to) = 0;
  // Copies the contents and the mode over an existing target; the target is complete, on the disk
  // too, or unchanged. Where the file system can, both share their blocks until one is written to.
  virtual bool Copy(std::u16string_view from, std::u16string_view to) = 0;
  // Gives `to` the permission bits of `from`.
  virtual bool CopyMode(std::u16string_view from, std::u16string_view to) = 0;
  // Writes a whole file, replacing it only when everything was written.
  virtual bool WriteFile(std::u16string_view path, std::string_view data) = 0;
  // Writes a new file, readable by others, never over an existing one. `path` is a device path or
  // what a file dialog returned. 0, or why not: kErrorFileExists or another number. What
  // could not be written whole is not left behind.
  virtual std::uint32_t CreateNewFile(std::u16string_view path, std::string_view data) = 0;
  // The same, but nobody else may read or write it (mode 0600).
  virtual std::uint32_t CreatePrivateFile(std::u16string_view path, std::string_view data) = 0;
  // Opens a file of any size; `path` is a device path or what a file dialog returned. Null when it
  // cannot be read or is no regular file, with the reason in `error`; never waits for the other end
  // of a pipe or for a device.
  virtual std::unique_ptr<FileReader> OpenRead(std::u16string_view path, std::uint32_t& error) = 0;
  // Reads a whole file of at most `limit` bytes; nothing when missing, unreadable or larger.
  virtual std::optional<std::string> ReadFile(std::u16string_view path, std::uint64_t limit) = 0;
  // Reads `length` bytes from that offset of a file; nothing when it is missing, unreadable or ends
  // before the last of them.
  virtual std::optional<std::string> ReadAt(std::u16string_view path, std::uint64_t offset,
                                            std::size_t length) = 0;
  // Replaces bytes inside a file where they lie; not synced. False when it is missing, not writable
  // or ends before the last of them (it is unchanged then), and when a write fails in the middle.
  virtual bool Overwrite(std::u16string_view path, std::uint64_t offset, std::string_view data) = 0;

  // Space of the volume that holds the folder; nothing when the query fails.
  virtual std::optional<VolumeSpace> FreeSpace(std::u16string_view folder) = 0;
  // Names of the mounted storage cards, sorted.
  virtual std::vector<std::u16string> Cards() = 0;
};

}  // namespace quillet::port
