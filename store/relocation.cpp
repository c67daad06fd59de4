// SPDX-License-Identifier: GPL-3.0-or-later
// First every file is copied under a name of its own beside its place in the new folder, so that a
// full disk is met before anything there is touched; then each copy takes its place by a rename.
#include "store/relocation.h"

#include <algorithm>
#include <utility>

#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "store/device_path.h"

namespace quillet {
namespace {

std::u16string MovedPath(std::u16string_view folder, std::u16string_view name) {
  return PathIn(folder, name) + u".moved";
}

std::u16string ReplacedPath(std::u16string_view folder, std::u16string_view name) {
  return PathIn(folder, name) + u".replaced";
}

bool Exists(const std::u16string& path) {
  return gPlatform->files.FileSize(path).has_value();
}

}  // namespace

bool HoldsDatabases(std::u16string_view folder) {
  return Exists(PathIn(folder, DatabaseFileName(DatabaseIndex::kArticles))) &&
         Exists(PathIn(folder, DatabaseFileName(DatabaseIndex::kNewsgroups)));
}

Relocation::Relocation(std::u16string from, std::u16string to)
    : from_(std::move(from)), to_(std::move(to)) {
  copied_.reserve(kFolderFiles.size());
  replaced_.reserve(kFolderFiles.size());
  in_place_.reserve(kFolderFiles.size());
}

Relocation::~Relocation() {
  if (!finished_) TakeBack();
}

bool Relocation::Copy() {
  return CopyBeside() && PutInPlace();
}

bool Relocation::CopyBeside() {
  for (const FolderFile& file : kFolderFiles) {
    const std::u16string source = PathIn(from_, file.name);
    if (!file.always_there && !Exists(source)) continue;
    if (!gPlatform->files.Copy(source, MovedPath(to_, file.name))) return false;
    copied_.push_back(file.name);
    // Then both are one folder under two names, and removing the old files would remove all.
    if (Exists(MovedPath(from_, file.name))) return false;
  }
  return true;
}

bool Relocation::PutInPlace() {
  port::Files& files = gPlatform->files;
  // What was there goes aside even where no copy takes its place: it belongs to other databases.
  for (const FolderFile& file : kFolderFiles) {
    const std::u16string path = PathIn(to_, file.name);
    if (!Exists(path)) continue;
    if (!files.Rename(path, ReplacedPath(to_, file.name))) return false;
    replaced_.push_back(file.name);
  }
  for (const std::u16string_view name : copied_) {
    if (!files.Rename(MovedPath(to_, name), PathIn(to_, name))) return false;
    in_place_.push_back(name);
  }
  return true;
}

void Relocation::TakeBack() {
  port::Files& files = gPlatform->files;
  for (const std::u16string_view name : copied_) {
    const bool in_place = std::ranges::find(in_place_, name) != in_place_.end();
    files.Delete(in_place ? PathIn(to_, name) : MovedPath(to_, name));
  }
  for (const std::u16string_view name : replaced_) {
    files.Rename(ReplacedPath(to_, name), PathIn(to_, name));
  }
}

void Relocation::Finish() {
  finished_ = true;
  for (const std::u16string_view name : copied_) gPlatform->files.Delete(PathIn(from_, name));
  for (const std::u16string_view name : replaced_) gPlatform->files.Delete(ReplacedPath(to_, name));
}

}  // namespace quillet
