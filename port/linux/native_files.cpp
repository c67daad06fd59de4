// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/native_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "port/linux/descriptor_io.h"
#include "port/linux/file_descriptor.h"

namespace quillet::port {

bool MakeFolders(const std::string& folder) {
  std::error_code error;
  if (std::filesystem::is_directory(folder, error)) return true;
  const std::filesystem::path path(folder);
  const std::string above = path.parent_path().string();
  if (!above.empty() && above != folder && !MakeFolders(above)) return false;
  return mkdir(folder.c_str(), 0700) == 0 || std::filesystem::is_directory(path, error);
}

std::optional<std::string> ReadBoundedFile(const std::string& path, std::uint64_t limit) {
  const FileDescriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (!fd.valid() || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (static_cast<std::uint64_t>(status.st_size) > limit) return std::nullopt;
  std::string data(static_cast<std::size_t>(status.st_size), '\0');
  if (!ReadAllAt(fd.get(), 0, data)) return std::nullopt;
  return data;
}

bool Sync(int fd) {
  return fsync(fd) == 0 || errno == EINVAL || errno == ENOTSUP || errno == ENOSYS;
}

bool ReplaceTextFile(const std::string& path, std::string_view text) {
  const std::string draft = path + ".new";
  std::ofstream file(draft, std::ios::binary | std::ios::trunc);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  std::error_code error;
  if (file) std::filesystem::rename(draft, path, error);
  if (file && !error) return true;
  std::filesystem::remove(draft, error);
  return false;
}

std::string SqliteUri(const std::string& path, bool immutable) {
  std::string uri = "file:";
  for (const char c : path) {
    char code[4];
    if (c == '%' || c == '?' || c == '#') {
      std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(c));
      uri += code;
    } else {
      uri += c;
    }
  }
  if (immutable) uri += "?immutable=1";
  return uri;
}

}  // namespace quillet::port
