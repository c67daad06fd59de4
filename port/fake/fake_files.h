// SPDX-License-Identifier: GPL-3.0-or-later
// Real files below a private folder that vanishes with this object. Calls fail on demand; the
// failing call touches nothing.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "port/linux/linux_files.h"

namespace quillet::port {

enum class FileCall {
  kAny,
  kFolderExists,
  kCreateFolder,
  kFileSize,
  kDelete,
  kRename,
  kCopy,
  kCopyMode,
  kWriteFile,
  kCreateNewFile,  // and a private one; fails with create_error
  kOpenRead,       // fails with open_error
  kReadSome,       // from an open file; fails with kErrorReadFault
  kReadFile,
  kReadAt,
  kOverwrite,
  kFreeSpace,
  kCanWriteFolder,
  kFileNames,
};
constexpr std::size_t kFileCallCount = 18;

class FakeFiles final : public Files {
 public:
  FakeFiles();
  FakeFiles(const FakeFiles&) = delete;
  FakeFiles& operator=(const FakeFiles&) = delete;
  ~FakeFiles() override;

  std::string NativePath(std::u16string_view path) override;
  bool FolderExists(std::u16string_view path) override;
  bool CreateFolder(std::u16string_view path) override;
  bool CanWriteFolder(std::u16string_view path) override;
  std::vector<std::u16string> FileNames(std::u16string_view folder) override;
  std::optional<std::uint64_t> FileSize(std::u16string_view path) override;
  bool Delete(std::u16string_view path) override;
  bool Rename(std::u16string_view from, std::u16string_view to) override;
  bool Copy(std::u16string_view from, std::u16string_view to) override;
  bool CopyMode(std::u16string_view from, std::u16string_view to) override;
  bool WriteFile(std::u16string_view path, std::string_view data) override;
  std::uint32_t CreateNewFile(std::u16string_view path, std::string_view data) override;
  std::uint32_t CreatePrivateFile(std::u16string_view path, std::string_view data) override;
  // The reader must not outlive this object.
  std::unique_ptr<FileReader> OpenRead(std::u16string_view path, std::uint32_t& error) override;
  std::optional<std::string> ReadFile(std::u16string_view path, std::uint64_t limit) override;
  std::optional<std::string> ReadAt(std::u16string_view path, std::uint64_t offset,
                                    std::size_t length) override;
  bool Overwrite(std::u16string_view path, std::uint64_t offset, std::string_view data) override;
  std::optional<VolumeSpace> FreeSpace(std::u16string_view folder) override;
  std::vector<std::u16string> Cards() override;

  // The nth call from now on (1: the next), of that kind, fails once; 0 takes that back.
  void FailNth(int n) { FailNth(FileCall::kAny, n); }
  void FailNth(FileCall kind, int n);
  // Sets before_call to run on the calling thread just before the nth call of that kind from now
  // on, once.
  void BeforeNth(FileCall kind, int n, std::function<void()> act);
  std::uint32_t create_error = kErrorDiskFull;
  std::uint32_t open_error = kErrorAccessDenied;
  // Calls so far.
  int calls(FileCall kind = FileCall::kAny) const;

  // Called before each call, also one that fails.
  std::function<void(FileCall kind)> before_call;

  // Answers FreeSpace for every folder that exists, in place of the real volume.
  void SetFreeSpace(VolumeSpace space);
  // The same for one folder, before the other.
  void SetFreeSpace(std::u16string_view folder, VolumeSpace space);

  // A card is a folder of the private folder.
  void AddCard(std::u16string_view name);
  // The card is pulled out: its files are gone until it comes back.
  void RemoveCard(std::u16string_view name);

  // The native folder of "\".
  const std::string& data_folder() const { return data_folder_; }

 private:
  class Reader;

  // Counts the call; true when it is one that has to fail.
  bool Fails(FileCall kind);
  std::string CardPath(const char* folder, std::u16string_view name) const;

  std::string root_;
  std::string data_folder_;
  LinuxFiles real_;
  mutable std::mutex mutex_;
  std::optional<VolumeSpace> space_;
  std::map<std::u16string, VolumeSpace> spaces_;
  std::array<int, kFileCallCount> calls_{};
  std::array<int, kFileCallCount> fail_in_{};
};

}  // namespace quillet::port
