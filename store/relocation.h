// SPDX-License-Identifier: GPL-3.0-or-later
// The files of the database folder on their way to another folder, all of them or none. The
// databases are closed meanwhile. Program thread only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillet {

// Whether the folder holds databases: the articles file and the newsgroups file.
bool HoldsDatabases(std::u16string_view folder);

// Copies what lies in one folder into another one. Until Finish the old folder stays as it is, and
// what was in the place of the copies is kept under another name; an object that ends before Finish
// takes everything back. A process that is killed in between leaves the old folder whole.
class Relocation {
 public:
  // Device paths.
  Relocation(std::u16string from, std::u16string to);
  Relocation(const Relocation&) = delete;
  Relocation& operator=(const Relocation&) = delete;
  ~Relocation();

  // True when every file is in the new folder, complete and synced. False also when both paths lead
  // to one folder. Once.
  [[nodiscard]] bool Copy();
  // The new folder is the one that counts now: the old files go, and what the copies replaced.
  void Finish();

 private:
  bool CopyBeside();
  bool PutInPlace();
  void TakeBack();

  const std::u16string from_;
  const std::u16string to_;
  // Names of files.
  std::vector<std::u16string_view> copied_;    // lie beside their place in the new folder
  std::vector<std::u16string_view> replaced_;  // were there before and lie beside their place
  std::vector<std::u16string_view> in_place_;  // copies that have taken their place
  bool finished_ = false;
};

}  // namespace quillet
