// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/maintenance.h"

#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/upward_calls.h"
#include "base/wait_cursor.h"
#include "port/platform.h"
#include "store/databases.h"
#include "store/refusals.h"
#include "store/rewrite.h"
#include "store/use_mark.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::uint32_t kKilobyte = 1024;
constexpr std::uint32_t kMegabyte = 1048576;

}  // namespace

std::u16string FormatByteSize(std::uint32_t bytes) {
  if (bytes > kMegabyte) {
    const float megabytes = static_cast<float>(bytes) * (1.0F / static_cast<float>(kMegabyte));
    const auto whole = static_cast<std::uint32_t>(megabytes);
    const auto tenth = static_cast<std::uint32_t>((megabytes - static_cast<float>(whole)) * 10.0F);
    return FormatWide(u"%lu.%uM", whole, tenth);
  }
  if (bytes <= kKilobyte) return FormatWide(u"%lu bytes", bytes);
  return FormatWide(u"%lu.%uK", bytes / kKilobyte, bytes % kKilobyte * 10 / kKilobyte);
}

std::uint32_t UsedPercent(const port::VolumeSpace& space) {
  if (space.total_bytes == 0) return 0;
  const double free_percent =
      static_cast<double>(space.free_bytes) / static_cast<double>(space.total_bytes) * 100;
  return free_percent >= 100 ? 0 : 100 - static_cast<std::uint32_t>(free_percent);
}

bool StoreHasRoom() {
  const auto space = gPlatform->files.FreeSpace(gDatabaseFolder);
  if (!space || UsedPercent(*space) <= gPrefs->maxstore) return true;
  ShowMessage(
      u"There is not enough free space on the selected store to download news. Either free some "
      u"space or change the allowed percentage in the preferences.");
  return false;
}

std::optional<std::uint32_t> StoreUsedPercent(std::u16string_view databasestore) {
  port::Files& files = gPlatform->files;
  auto space = files.FreeSpace(DatabaseFolderFor(databasestore));
  if (!space) space = files.FreeSpace(FormatWide(u"\\%ls", databasestore));
  if (!space) return std::nullopt;
  return UsedPercent(*space);
}

std::vector<std::u16string> StorageCards() {
  std::vector<std::u16string> cards = gPlatform->files.Cards();
  std::erase_if(cards, [](const std::u16string& card) {
    // Where only others may make folders, one for the databases may be there all the same.
    return !gPlatform->files.CanWriteFolder(FormatWide(u"\\%ls", card)) &&
           !gPlatform->files.CanWriteFolder(DatabaseFolderFor(card));
  });
  return cards;
}

void CompactDatabases() {
  const WaitCursor wait;
  RunWithProgress(u"Compacting databases", [] { return RewriteDatabases(RewriteMode::kCompact); });
  ReopenDatabases();
}

bool PurgeDatabases() {
  const WaitCursor wait;
  up::ClearArticleView();
  up::ClearThreadView();
  const bool deleted = DeleteDatabases(true);
  // Copies that an end without closing has left would bring everything back.
  if (deleted) ClearUseMark();
  if (!gPlatform->files.FileSize(DatabasePath(DatabaseIndex::kPendingPosts))) ForgetAllRefusals();
  const bool open = ReopenDatabases();
  if (!deleted) {
    ShowMessage(
        u"There was an error deleting one or more of the databases. Your CE device may need to be "
        u"rebooted.");
  }
  return deleted && open;
}

}  // namespace quillet
