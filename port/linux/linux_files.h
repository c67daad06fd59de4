// SPDX-License-Identifier: GPL-3.0-or-later
// Files below the profile's data folder and on mounted storage cards.
#pragma once

#include <string>
#include <vector>

#include "port/files.h"

namespace quillet::port {

// Where removable media appear: every folder below a root is a card, named as the folder.
struct CardRoots {
  std::vector<std::string> folders;
  // False also takes folders on which nothing is mounted.
  bool mounted_only = true;
};

// /media/USER and /run/media/USER, where desktops mount removable media.
CardRoots DefaultCardRoots();

class LinuxFiles final : public Files {
 public:
  // The data folder is a native absolute path; it need not exist yet.
  explicit LinuxFiles(std::string data_folder, CardRoots cards = DefaultCardRoots());

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
  std::unique_ptr<FileReader> OpenRead(std::u16string_view path, std::uint32_t& error) override;
  std::optional<std::string> ReadFile(std::u16string_view path, std::uint64_t limit) override;
  std::optional<std::string> ReadAt(std::u16string_view path, std::uint64_t offset,
                                    std::size_t length) override;
  bool Overwrite(std::u16string_view path, std::uint64_t offset, std::string_view data) override;
  std::optional<VolumeSpace> FreeSpace(std::u16string_view folder) override;
  std::vector<std::u16string> Cards() override;

 private:
  // Of a device path or a path that the user chose; empty for a refused one.
  std::string NativeOrChosen(std::u16string_view path);
  std::uint32_t MakeNewFile(std::u16string_view path, std::string_view data, unsigned mode);
  // The native folder of a mounted card of that name; empty when there is none.
  std::string CardFolder(std::string_view name) const;

  std::string data_folder_;
  CardRoots cards_;
};

}  // namespace quillet::port
