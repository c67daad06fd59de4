// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <string>

#include "port/linux/native_files.h"

namespace quillet::port {

FileDescriptor OpenLockFile(const Profile& profile) {
  if (!MakeFolders(profile.config_folder)) return {};
  const std::string path = profile.config_folder + "/instance.lock";
  FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (file.valid()) return file;
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

Lock TryLock(int file) {
  while (flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return Lock::kTaken;
    if (errno != EINTR) return Lock::kImpossible;
  }
  return Lock::kHeld;
}

}  // namespace quillet::port
