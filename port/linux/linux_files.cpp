// SPDX-License-Identifier: GPL-3.0-or-later
// A device path is split into names, each of which the file system must read the same way, and
// joined below the data folder or, when the first name is a mounted card, below that card. Files
// that may replace another are written beside their target, synced and renamed over it, so that a
// crash leaves the old file or the new one.
#include "port/linux/linux_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

#include "port/linux/descriptor_io.h"
#include "port/linux/file_descriptor.h"
#include "port/linux/native_files.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kSharedMode = 0666;  // less what the user's mask takes away
constexpr mode_t kPermissionBits = 0777;

std::optional<struct stat> Status(const std::string& path) {
  struct stat status {};
  if (path.empty() || stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

bool IsFolder(const std::string& path) {
  const auto status = Status(path);
  return status && S_ISDIR(status->st_mode);
}

// Splits a device path into its names as UTF-8. False for a path that is refused: an empty one, or
// one with a name that the file system would read differently (".", "..", "/", NUL) or that has no
// UTF-8 form.
bool SplitPath(std::u16string_view path, std::vector<std::string>& names) {
  if (path.empty()) return false;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    const std::u16string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (name.empty()) continue;
    if (name == u"." || name == u"..") return false;
    if (name.find(u'/') != name.npos || name.find(u'\0') != name.npos) return false;
    std::string native = ToUtf8(name);
    if (FromUtf8(native) != name) return false;  // a lone surrogate
    names.push_back(std::move(native));
  }
  return true;
}

std::string ParentFolder(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::uint32_t ErrorCode(int error) {
  switch (error) {
    case EEXIST:
    case EISDIR:
      return kErrorFileExists;
    case ENOENT:
    case ENOTDIR:
      return kErrorPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
      return kErrorAccessDenied;
    case ENOSPC:
    case EDQUOT:
      return kErrorDiskFull;
    case EINVAL:
    case ENAMETOOLONG:
    case EILSEQ:
      return kErrorInvalidName;
    default:
      return kErrorWriteFault;
  }
}

// Of a file that was to be opened. A socket, or a device without its driver, cannot be (ENXIO).
std::uint32_t OpenErrorCode(int error) {
  if (error == ENOENT) return kErrorFileNotFound;
  return error == ENXIO || error == ENODEV ? kErrorAccessDenied : ErrorCode(error);
}

// What a file dialog returned is a native path from the root; everything else is a device path.
bool IsChosenPath(std::u16string_view path) {
  return path.starts_with(u'/') && path.find(u'\0') == path.npos;
}

// Opens a regular file, with O_RDONLY or O_WRONLY; never waits for the other end of a pipe.
FileDescriptor OpenRegular(const std::string& path, int access, struct stat& status) {
  if (path.empty()) return {};
  FileDescriptor file(open(path.c_str(), access | O_CLOEXEC | O_NONBLOCK));
  if (!file.valid() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return file;
}

class LinuxFileReader final : public FileReader {
 public:
  LinuxFileReader(FileDescriptor file, std::uint64_t size) : file_(std::move(file)), size_(size) {}

  std::uint64_t Size() const override { return size_; }

  std::size_t Read(std::span<char> buffer, std::uint32_t& error) override {
    error = 0;
    std::size_t got = 0;
    while (got < buffer.size()) {
      const ssize_t piece = ReadSome(file_.get(), buffer.data() + got, buffer.size() - got);
      if (piece < 0) error = kErrorReadFault;
      if (piece <= 0) break;
      got += static_cast<std::size_t>(piece);
    }
    return got;
  }

  void Rewind() override { lseek(file_.get(), 0, SEEK_SET); }

 private:
  FileDescriptor file_;
  std::uint64_t size_;
};

// True for the errors of file systems that do not have what was asked for.
bool NotOffered(int error) {
  return error == EPERM || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

// Makes a rename in that folder durable. File systems that cannot do it are as durable as they are.
void SyncFolder(const std::string& folder) {
  const FileDescriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.valid()) fsync(directory.get());
}

// A new file beside its target that takes the target's place when it is complete, and otherwise
// vanishes.
class Replacement {
 public:
  explicit Replacement(std::string target)
      : target_(std::move(target)),
        temporary_(ParentFolder(target_) + "/" + ToUtf8(kReplacementStem) + "XXXXXX") {
    if (IsFolder(target_)) return;  // a file never takes the place of a folder
    file_ = FileDescriptor(mkostemp(temporary_.data(), O_CLOEXEC));
    pending_ = file_.valid();
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement() {
    if (pending_) unlink(temporary_.c_str());
  }

  bool valid() const { return file_.valid(); }
  int fd() const { return file_.get(); }

  bool Commit(mode_t mode) {
    // A card without permission bits refuses them, and the copy is good all the same.
    if (fchmod(file_.get(), mode & kPermissionBits) != 0 && !NotOffered(errno)) return false;
    if (fsync(file_.get()) != 0 && !NotOffered(errno)) return false;
    if (!file_.Close()) return false;
    if (rename(temporary_.c_str(), target_.c_str()) != 0) return false;
    pending_ = false;
    SyncFolder(ParentFolder(target_));
    return true;
  }

 private:
  std::string target_;
  std::string temporary_;
  FileDescriptor file_;
  bool pending_ = false;
};

// Most file systems cannot share blocks, and none does across volumes.
bool CopyOrShare(int from, int to) {
  return ioctl(to, FICLONE, from) == 0 || CopyContents(from, to);
}

bool LiesInside(const struct stat& file, std::uint64_t offset, std::size_t length) {
  const auto size = static_cast<std::uint64_t>(file.st_size);
  return offset <= size && length <= size - offset;
}

// Saturates: a volume that answers with nonsense is at most full of it.
std::uint64_t Bytes(std::uint64_t blocks, std::uint64_t block_size) {
  constexpr auto kMax = std::numeric_limits<std::uint64_t>::max();
  if (block_size != 0 && blocks > kMax / block_size) return kMax;
  return blocks * block_size;
}

bool IsCard(const std::string& root, std::string_view name, bool mounted_only) {
  std::string folder = root;
  folder.append("/").append(name);
  struct stat status {};
  if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return false;
  if (!mounted_only) return true;
  const auto parent = Status(root);
  return parent && parent->st_dev != status.st_dev;
}

}  // namespace

CardRoots DefaultCardRoots() {
  const passwd* user = getpwuid(getuid());
  if (user == nullptr) return {};
  const std::string name = user->pw_name;
  return {{"/media/" + name, "/run/media/" + name}, true};
}

LinuxFiles::LinuxFiles(std::string data_folder, CardRoots cards)
    : data_folder_(std::move(data_folder)), cards_(std::move(cards)) {
  while (data_folder_.size() > 1 && data_folder_.ends_with('/')) data_folder_.pop_back();
}

std::string LinuxFiles::CardFolder(std::string_view name) const {
  for (const std::string& root : cards_.folders) {
    if (IsCard(root, name, cards_.mounted_only)) return root + "/" + std::string(name);
  }
  return {};
}

std::string LinuxFiles::NativePath(std::u16string_view path) {
  std::vector<std::string> names;
  if (data_folder_.empty() || !SplitPath(path, names)) return {};
  std::string native = data_folder_;
  std::size_t first = 0;
  if (!names.empty()) {
    if (std::string card = CardFolder(names[0]); !card.empty()) {
      native = std::move(card);
      first = 1;
    }
  }
  for (std::size_t i = first; i < names.size(); ++i) native += "/" + names[i];
  return native;
}

bool LinuxFiles::FolderExists(std::u16string_view path) {
  return IsFolder(NativePath(path));
}

bool LinuxFiles::CreateFolder(std::u16string_view path) {
  const std::string native = NativePath(path);
  if (native.empty()) return false;
  if (IsFolder(native)) return true;
  const bool below_data = native == data_folder_ || native.starts_with(data_folder_ + "/");
  if (below_data && !MakeFolders(data_folder_)) return false;
  return mkdir(native.c_str(), kFolderMode) == 0 || IsFolder(native);
}

bool LinuxFiles::CanWriteFolder(std::u16string_view path) {
  const std::string native = NativePath(path);
  // By the rights that opening a file goes by.
  return !native.empty() && IsFolder(native) &&
         faccessat(AT_FDCWD, native.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

std::vector<std::u16string> LinuxFiles::FileNames(std::u16string_view folder) {
  std::vector<std::u16string> names;
  const std::string native = NativePath(folder);
  if (native.empty()) return names;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(native.c_str()), closedir);
  if (!stream) return names;
  while (const dirent* entry = readdir(stream.get())) {  // NOLINT: the stream is this call's own
    const std::string name = entry->d_name;
    const auto status = Status(std::string(native).append("/").append(name));
    if (!status || !S_ISREG(status->st_mode)) continue;
    std::u16string wide = FromUtf8(name);
    if (ToUtf8(wide) == name && wide.find(u'\\') == wide.npos) names.push_back(std::move(wide));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::uint64_t> LinuxFiles::FileSize(std::u16string_view path) {
  const auto status = Status(NativePath(path));
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status->st_size);
}

bool LinuxFiles::Delete(std::u16string_view path) {
  const std::string native = NativePath(path);
  return !native.empty() && unlink(native.c_str()) == 0;
}

bool LinuxFiles::Rename(std::u16string_view from, std::u16string_view to) {
  const std::string source = NativePath(from);
  const std::string target = NativePath(to);
  if (source.empty() || target.empty()) return false;
  if (rename(source.c_str(), target.c_str()) != 0) return false;
  SyncFolder(ParentFolder(target));
  return true;
}

bool LinuxFiles::Copy(std::u16string_view from, std::u16string_view to) {
  struct stat status {};
  const FileDescriptor source = OpenRegular(NativePath(from), O_RDONLY, status);
  const std::string target = NativePath(to);
  if (!source.valid() || target.empty()) return false;
  Replacement copy(target);
  return copy.valid() && CopyOrShare(source.get(), copy.fd()) && copy.Commit(status.st_mode);
}

bool LinuxFiles::CopyMode(std::u16string_view from, std::u16string_view to) {
  const auto wanted = Status(NativePath(from));
  const std::string target = NativePath(to);
  const auto current = Status(target);
  if (!wanted || !current) return false;
  // Where every file has the same bits they cannot be set, and need not be.
  if (((wanted->st_mode ^ current->st_mode) & kPermissionBits) == 0) return true;
  return chmod(target.c_str(), wanted->st_mode & kPermissionBits) == 0;
}

bool LinuxFiles::WriteFile(std::u16string_view path, std::string_view data) {
  const std::string target = NativePath(path);
  if (target.empty()) return false;
  const auto old = Status(target);
  Replacement file(target);
  return file.valid() && WriteAll(file.fd(), data) && file.Commit(old ? old->st_mode : kFileMode);
}

std::string LinuxFiles::NativeOrChosen(std::u16string_view path) {
  return IsChosenPath(path) ? ToUtf8(path) : NativePath(path);
}

std::uint32_t LinuxFiles::MakeNewFile(std::u16string_view path, std::string_view data,
                                      unsigned mode) {
  const std::string target = NativeOrChosen(path);
  if (target.empty()) return kErrorInvalidName;
  FileDescriptor file(open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!file.valid()) return ErrorCode(errno);
  if (WriteAll(file.get(), data) && fsync(file.get()) == 0) return 0;
  const std::uint32_t error = ErrorCode(errno);
  unlink(target.c_str());
  return error;
}

std::uint32_t LinuxFiles::CreateNewFile(std::u16string_view path, std::string_view data) {
  return MakeNewFile(path, data, kSharedMode);
}

std::uint32_t LinuxFiles::CreatePrivateFile(std::u16string_view path, std::string_view data) {
  return MakeNewFile(path, data, kFileMode);
}

std::unique_ptr<FileReader> LinuxFiles::OpenRead(std::u16string_view path, std::uint32_t& error) {
  const std::string native = NativeOrChosen(path);
  error = native.empty() ? kErrorInvalidName : 0;
  if (error != 0) return nullptr;
  FileDescriptor file(open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (!file.valid() || fstat(file.get(), &status) != 0) {
    error = OpenErrorCode(errno);
    return nullptr;
  }
  if (!S_ISREG(status.st_mode)) {
    error = kErrorAccessDenied;
    return nullptr;
  }
  return std::make_unique<LinuxFileReader>(std::move(file),
                                           static_cast<std::uint64_t>(status.st_size));
}

std::optional<std::string> LinuxFiles::ReadFile(std::u16string_view path, std::uint64_t limit) {
  struct stat status {};
  const FileDescriptor file = OpenRegular(NativePath(path), O_RDONLY, status);
  if (!file.valid() || static_cast<std::uint64_t>(status.st_size) > limit) return std::nullopt;
  std::string data;
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t got = ReadSome(file.get(), buffer.data(), buffer.size());
    if (got < 0) return std::nullopt;
    if (got == 0) return data;
    data.append(buffer.data(), static_cast<std::size_t>(got));
    if (data.size() > limit) return std::nullopt;  // it grew while it was read
  }
}

std::optional<std::string> LinuxFiles::ReadAt(std::u16string_view path, std::uint64_t offset,
                                              std::size_t length) {
  struct stat status {};
  const FileDescriptor file = OpenRegular(NativePath(path), O_RDONLY, status);
  if (!file.valid() || !LiesInside(status, offset, length)) return std::nullopt;
  std::string data(length, '\0');
  if (!ReadAllAt(file.get(), offset, data)) return std::nullopt;
  return data;
}

bool LinuxFiles::Overwrite(std::u16string_view path, std::uint64_t offset, std::string_view data) {
  struct stat status {};
  FileDescriptor file = OpenRegular(NativePath(path), O_WRONLY, status);
  return file.valid() && LiesInside(status, offset, data.size()) &&
         WriteAllAt(file.get(), offset, data) && file.Close();
}

std::optional<VolumeSpace> LinuxFiles::FreeSpace(std::u16string_view folder) {
  const std::string native = NativePath(folder);
  struct statvfs volume {};
  if (native.empty() || statvfs(native.c_str(), &volume) != 0) return std::nullopt;
  return VolumeSpace{Bytes(volume.f_bavail, volume.f_frsize),
                     Bytes(volume.f_blocks, volume.f_frsize)};
}

std::vector<std::u16string> LinuxFiles::Cards() {
  std::vector<std::u16string> names;
  for (const std::string& root : cards_.folders) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(root.c_str()), closedir);
    if (!folder) continue;
    while (const dirent* entry = readdir(folder.get())) {  // NOLINT: the stream is this call's own
      const std::string name = entry->d_name;
      if (name == "." || name == ".." || !IsCard(root, name, cards_.mounted_only)) {
        continue;
      }
      std::u16string wide = FromUtf8(name);
      // A name that no device path can say is no card of the program.
      if (ToUtf8(wide) == name && wide.find(u'\\') == wide.npos) names.push_back(std::move(wide));
    }
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

}  // namespace quillet::port
