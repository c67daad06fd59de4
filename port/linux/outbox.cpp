// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/outbox.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <tuple>
#include <utility>

#include "port/files.h"
#include "port/linux/descriptor_io.h"
#include "port/linux/file_descriptor.h"
#include "port/linux/native_files.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::uint64_t kLongestInfo = 1024 * 1024;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool SyncFolder(const std::string& folder) {
  const FileDescriptor fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd.valid() && Sync(fd.get());
}

int RemoveAfter(const std::string& file, int error) {
  unlink(file.c_str());
  return error == 0 ? EIO : error;
}

// 0, or the error's number; nothing is left then.
int WriteSynced(const std::string& file, std::string_view data) {
  unlink(file.c_str());
  FileDescriptor fd(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!fd.valid()) return errno;
  if (!WriteAll(fd.get(), data)) return RemoveAfter(file, errno);
  // The system's own time of a write is that of its last tick; the order of two messages is finer.
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::array<timespec, 2> times = {now, now};
  futimens(fd.get(), times.data());
  if (!Sync(fd.get()) || !fd.Close()) return RemoveAfter(file, errno);
  return 0;
}

// Renames and syncs the target's folder. 0, or the error's number.
int MoveSynced(const std::string& from, const std::string& to) {
  if (rename(from.c_str(), to.c_str()) != 0) return errno;
  return SyncFolder(to.substr(0, to.rfind('/'))) ? 0 : errno;
}

std::string FileIn(std::string folder, const std::string& name) {
  return folder.append("/").append(name);
}

// Names and times of the messages in a folder.
struct Found {
  std::string name;
  timespec written{};
};

std::vector<Found> ListFolder(const std::string& path) {
  std::vector<Found> found;
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (!folder) return found;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    struct stat status {};
    if (!IsMailId(name.substr(0, name.find(':')))) continue;
    const std::string file = FileIn(path, name);
    if (lstat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    found.push_back({name, status.st_mtim});
  }
  return found;
}

bool HasMessage(const std::string& path, const std::string& id) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (!folder) return false;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name.substr(0, name.find(':')) == id) return true;
  }
  return false;
}

// Removes what a kill has left behind: half a message, and what is known of one that has gone.
void RemoveLeftOvers(const std::string& path, const std::function<bool(const std::string&)>& keep) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (!folder) return;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != ".." && !keep(name)) unlink(FileIn(path, name).c_str());
  }
}

bool SomebodyHolds(const std::string& file) {
  const FileDescriptor fd(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  return fd.valid() && flock(fd.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool Exists(const std::string& file) {
  struct stat status {};
  return lstat(file.c_str(), &status) == 0;
}

std::string OneLine(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
  return text;
}

}  // namespace

bool IsMailId(std::string_view id) {
  return !id.empty() && id.size() <= 200 && std::ranges::all_of(id, [](char c) {
    const char low = ToLowerAscii(c);
    return (low >= 'a' && low <= 'z') || (c >= '0' && c <= '9') || c == '-';
  });
}

std::uint32_t FileErrorNumber(int system_error) {
  switch (system_error) {
    case ENOSPC:
    case EDQUOT:
      return kErrorDiskFull;
    case EACCES:
    case EPERM:
    case EROFS:
      return kErrorAccessDenied;
    case ENOENT:
    case ENOTDIR:
      return kErrorPathNotFound;
    case EEXIST:
      return kErrorFileExists;
    default:
      return kErrorWriteFault;
  }
}

Outbox::Outbox(const std::string& data_folder)
    : data_folder_(data_folder), outbox_(data_folder + "/outbox"), sent_(data_folder + "/sent") {}

std::uint32_t Outbox::Prepare() {
  bool made = false;
  for (const std::string* box : {&outbox_, &sent_}) {
    for (const char* part : {"/tmp", "/new", "/cur", "/info"}) {
      if (box == &sent_ && std::string_view(part) == "/info") continue;
      if (Exists(*box + part)) continue;
      if (!MakeFolders(*box + part)) return FileErrorNumber(errno);
      made = true;
    }
    if (access((*box + "/cur").c_str(), W_OK | X_OK) != 0) return FileErrorNumber(errno);
  }
  if (made && !(SyncFolder(outbox_) && SyncFolder(sent_) && SyncFolder(data_folder_))) {
    return FileErrorNumber(errno);
  }
  RemoveLeftOvers(outbox_ + "/tmp", [](const std::string&) { return false; });
  const std::vector<OutboxEntry> entries = Entries();
  const auto has = [&](const std::string& id) {
    return std::ranges::any_of(entries, [&](const OutboxEntry& entry) { return entry.id == id; });
  };
  // While another process moves a file nobody can say which one has gone.
  const bool moving = std::ranges::any_of(
      entries, [](const OutboxEntry& entry) { return entry.state == OutboxState::kUnderWay; });
  if (!moving) RemoveLeftOvers(outbox_ + "/info", has);
  return 0;
}

std::uint32_t Outbox::Put(const std::string& id, std::string_view message, const OutboxInfo& info) {
  if (!IsMailId(id)) return kErrorInvalidName;
  const std::string tmp = TmpFile(id);
  const std::string file = NewFolder() + "/" + id;
  int error = WriteSynced(tmp, message);
  // What is known of it is there before the message is.
  if (error == 0 && !SetInfo(id, info)) error = errno;
  if (error == 0) error = MoveSynced(tmp, file);
  if (error == 0) return 0;
  unlink(tmp.c_str());
  unlink(file.c_str());
  unlink(InfoFile(id).c_str());
  return FileErrorNumber(error);
}

bool Outbox::Has(const std::string& id) const {
  if (!IsMailId(id)) return false;
  // A hand-over that fails puts the file back where it was, so that place is looked at twice.
  const std::string waiting = NewFolder() + "/" + id;
  if (Exists(waiting) || Exists(UnderWayFile(id)) || Exists(SentFile(id)) || Exists(waiting)) {
    return true;
  }
  // A mail reader may have touched it: the name up to the colon stays.
  return HasMessage(NewFolder(), id) || HasMessage(UnderWayFolder(), id) ||
         HasMessage(SentFolder(), id) || HasMessage(sent_ + "/new", id);
}

std::vector<OutboxEntry> Outbox::Entries() const {
  std::vector<std::pair<timespec, OutboxEntry>> dated;
  for (const auto& [folder, waits] : {std::pair(UnderWayFolder(), false), {NewFolder(), true}}) {
    for (const Found& found : ListFolder(folder)) {
      OutboxEntry entry{found.name.substr(0, found.name.find(':')), OutboxState::kWaiting,
                        folder + "/" + found.name};
      if (!waits) entry.state = OutboxState::kUnknown;
      if (SomebodyHolds(entry.file)) entry.state = OutboxState::kUnderWay;
      dated.emplace_back(found.written, std::move(entry));
    }
  }
  std::ranges::sort(dated, {}, [](const auto& each) {
    return std::tuple(each.first.tv_sec, each.first.tv_nsec, each.second.id);
  });
  std::vector<OutboxEntry> entries;
  for (auto& each : dated) {
    // One that is renamed while the folders are read may be seen in both.
    const bool seen = std::ranges::any_of(
        entries, [&](const OutboxEntry& entry) { return entry.id == each.second.id; });
    if (!seen) entries.push_back(std::move(each.second));
  }
  return entries;
}

OutboxInfo Outbox::Info(const std::string& id) const {
  OutboxInfo info;
  const std::optional<std::string> text = ReadBoundedFile(InfoFile(id), kLongestInfo);
  if (!text) return info;
  const std::array<std::pair<std::string_view, std::string*>, 5> kinds = {{
      {"service=", &info.service},
      {"to=", &info.to},
      {"subject=", &info.subject},
      {"reason=", &info.reason},
      {"held=", &info.held},
  }};
  std::string_view rest = *text;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    for (const auto& [name, member] : kinds) {
      if (StartsWith(line, name)) *member = line.substr(name.size());
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return info;
}

bool Outbox::SetInfo(const std::string& id, const OutboxInfo& info) const {
  const std::string text = "service=" + OneLine(info.service) + "\nto=" + OneLine(info.to) +
                           "\nsubject=" + OneLine(info.subject) +
                           "\nreason=" + OneLine(info.reason) + "\nheld=" + OneLine(info.held) +
                           "\n";
  const std::string tmp = TmpFile(id + ".info");
  int error = WriteSynced(tmp, text);
  if (error == 0) error = MoveSynced(tmp, InfoFile(id));
  if (error != 0) unlink(tmp.c_str());
  errno = error;
  return error == 0;
}

void Outbox::ForgetInfo(const std::string& id) const {
  unlink(InfoFile(id).c_str());
}

std::optional<std::string> Outbox::Read(const std::string& file) {
  return ReadBoundedFile(file, kLongestMessage);
}

}  // namespace quillet::port
