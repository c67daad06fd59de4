// SPDX-License-Identifier: GPL-3.0-or-later
// First a look at all three, which changes nothing: what another program holds or what may not be
// written is left as it is. Then each is recovered or created, and what a killed writer tore apart
// between the files is put together again. The mark goes last, so that a kill on the way leaves all
// of it to the next start.
#include "store/opening.h"

#include <algorithm>
#include <utility>

#include "base/box_owner.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/database_files.h"
#include "store/make_whole.h"
#include "store/pending_posts.h"
#include "store/store_room.h"
#include "store/use_mark.h"
#include "store/whole_points.h"
#include "util/format.h"

namespace quillet {
namespace {

OpenTrouble gTrouble = OpenTrouble::kNone;

const ResetAtEnd kReset([] { gTrouble = OpenTrouble::kNone; });

using OpenedFiles = std::array<OpenedFile, kDatabaseCount>;

DatabaseIndex IndexAt(std::size_t i) {
  return static_cast<DatabaseIndex>(i);
}

void TellTrouble() {
  switch (gTrouble) {
    case OpenTrouble::kNone:
      return;
    case OpenTrouble::kInUse:
      ShowMessage(
          u"The Quillet CE databases are in use by another program. Please close it and start "
          u"Quillet CE again.");
      return;
    case OpenTrouble::kNoAccess:
      ShowMessage(
          FormatWide(u"Quillet CE may not write its databases in the folder \"%ls\". Please check "
                     u"the permissions of the folder and its files and start Quillet CE again.",
                     gDatabaseFolder));
      return;
    case OpenTrouble::kNoRoom:
      ShowMessage(
          u"There is not enough free space to open the Quillet CE databases. Please free some "
          u"space and start Quillet CE again.");
      return;
    case OpenTrouble::kDamaged:
      ShowBox(CurrentBoxOwner(), u"OpenGDBMDatabases", u"(unknown error)", {});
      return;
  }
}

OpenTrouble FirstTrouble(const OpenedFiles& files) {
  const auto first = std::ranges::find_if(
      files, [](OpenTrouble trouble) { return trouble != OpenTrouble::kNone; },
      &OpenedFile::trouble);
  return first == files.end() ? OpenTrouble::kNone : first->trouble;
}

OpenedFiles LookAtAll() {
  OpenedFiles files;
  for (std::size_t i = 0; i < files.size(); ++i) {
    files[i] = LookAtDatabaseFile(DatabasePath(IndexAt(i)));
  }
  gTrouble = FirstTrouble(files);
  const bool may_write = gPlatform->files.CanWriteFolder(gDatabaseFolder) ||
                         !gPlatform->files.FolderExists(gDatabaseFolder);
  if (gTrouble == OpenTrouble::kNone && !may_write) gTrouble = OpenTrouble::kNoAccess;
  return files;
}

// False when one stays closed; the others are open all the same.
bool SettleAll(OpenedFiles& files, bool unclean) {
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::u16string path = DatabasePath(IndexAt(i));
    RemoveUnfinishedFiles(path);
    files[i] = SettleDatabaseFile(path, std::move(files[i]), unclean);
    if (files[i].trouble != OpenTrouble::kNone) gTrouble = files[i].trouble;
    // One that needs the user's help ends it: the others stay as they are.
    if (gTrouble != OpenTrouble::kNone && gTrouble != OpenTrouble::kDamaged) return false;
  }
  for (std::size_t i = 0; i < files.size(); ++i) {
    DatabaseFile(IndexAt(i)) = std::move(files[i].file);
  }
  return gTrouble == OpenTrouble::kNone;
}

void TellNotWhole() {
  ShowMessage(
      u"The Quillet CE databases could not be repaired completely. Some articles may not be shown "
      u"until there is more free space and Quillet CE is started again.");
}

std::u16string CopyOf(const UseMark& mark, DatabaseIndex index) {
  return mark.has_copy[static_cast<std::size_t>(index)] ? CopyPath(index) : u"";
}

void MakeWhole(const UseMark& mark, const OpenedFiles& files) {
  constexpr auto kGroups = static_cast<std::size_t>(DatabaseIndex::kNewsgroups);
  KeepOldCopies();
  const auto chains = files[kGroups].created ? ChainsFile::kNew : ChainsFile::kKept;
  const WholeOutcome outcome = MakeStoreWhole(CopyOf(mark, DatabaseIndex::kNewsgroups),
                                              CopyOf(mark, DatabaseIndex::kPendingPosts), chains);
  const bool corrected = std::ranges::any_of(files, &OpenedFile::corrected);
  if (outcome == WholeOutcome::kWhole && !corrected && StoreIsWhole()) {
    ClearUseMark();
    ForgetOldCopies();
    return;
  }
  KeepUseMark();
  if (outcome == WholeOutcome::kNotWhole && !gDatabaseErrorFlag) TellNotWhole();
}

bool IsLarge() {
  constexpr std::uint32_t kLargeArticles = 32 << 20;
  constexpr std::uint32_t kLargeGroups = 4 << 20;
  return DatabaseFileSize(DatabaseIndex::kArticles) >= kLargeArticles ||
         DatabaseFileSize(DatabaseIndex::kNewsgroups) >= kLargeGroups;
}

// A deletion of all articles that was killed between the two files: the chains name nothing.
void FinishDeletion(OpenedFiles& files, const UseMark& mark) {
  const std::u16string articles = DatabasePath(DatabaseIndex::kArticles);
  const std::u16string newsgroups = DatabasePath(DatabaseIndex::kNewsgroups);
  constexpr auto kArticles = static_cast<std::size_t>(DatabaseIndex::kArticles);
  const bool only_chains = !files[kArticles].file && !gPlatform->files.FileSize(articles) &&
                           !gPlatform->files.FileSize(BackupPath(articles)) &&
                           gPlatform->files.FileSize(newsgroups);
  if (mark.found || !only_chains) return;
  files[static_cast<std::size_t>(DatabaseIndex::kNewsgroups)] = {};
  DeleteDatabases(false);
}

bool Settle(OpenedFiles& files, const UseMark& mark, bool damaged) {
  FinishDeletion(files, mark);
  // So that a kill from here on is seen.
  if (damaged) SetUseMark();
  if (!SettleAll(files, mark.found)) return false;
  const bool recovered = std::ranges::any_of(
      files, [](const OpenedFile& file) { return file.recovered || file.corrected; });
  if (mark.found || recovered) {
    MakeWhole(mark, files);
  } else if (damaged) {
    ReleaseUseMark();
  }
  return true;
}

bool OpenAll() {
  BeginWholePoints();
  const UseMark mark = FindUseMark();
  OpenedFiles files = LookAtAll();
  if (gTrouble != OpenTrouble::kNone) return false;
  const bool damaged = !std::ranges::all_of(files, &OpenedFile::sound);
  if ((!mark.found && !damaged) || !IsLarge()) return Settle(files, mark, damaged);
  // What takes longer than a moment is not done behind a window that does not answer.
  return RunWithProgress(u"Repairing the databases",
                         [&]() -> int { return Settle(files, mark, damaged) ? 1 : 0; }) != 0;
}

}  // namespace

OpenTrouble OpeningTrouble() {
  return gTrouble;
}

bool OpenGDBMDatabases() {
  gTrouble = OpenTrouble::kNone;
  ForgetChainCounter();
  ForgetRoom();
  if (!OpenAll() || !DatabasesOpen()) {
    if (gTrouble == OpenTrouble::kNone) gTrouble = OpenTrouble::kDamaged;
    TellTrouble();
    return false;
  }
  CountArticles();
  gPendingPostCount = CountPendingPosts();
  return true;
}

bool CorrectOpenFile(DatabaseIndex index) {
  const std::u16string path = DatabasePath(index);
  DatabaseFile(index).Close();
  OpenedFile opened = CorrectInPlace(path, gPlatform->files.FileSize(path).value_or(0));
  DatabaseFile(index) = std::move(opened.file);
  return static_cast<bool>(DatabaseFile(index));
}

}  // namespace quillet
