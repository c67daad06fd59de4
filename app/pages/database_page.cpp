// SPDX-License-Identifier: GPL-3.0-or-later
// The databases' sizes, where they lie, purge and compact. Both work on the store in use at once;
// the place changes when the sheet is applied.
#include <algorithm>
#include <array>
#include <utility>

#include "app/pages/page.h"
#include "base/messages.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/databases.h"
#include "store/maintenance.h"

namespace quillet {
namespace {

constexpr std::array<std::pair<std::u16string_view, DatabaseIndex>, 3> kRows = {{
    {u"Articles", DatabaseIndex::kArticles},
    {u"Newsgroup index", DatabaseIndex::kNewsgroups},
    {u"Pending posts", DatabaseIndex::kPendingPosts},
}};

void ShowSizes(port::WindowHandle page) {
  port::Rows rows;
  for (const auto& [name, database] : kRows) {
    rows.rows.push_back({{std::u16string(name), FormatByteSize(DatabaseFileSize(database))}});
  }
  gPlatform->dialogs.Write(page, kControlDatabases, std::move(rows));
}

// "Internal", the cards, and the store chosen before when its card is not there now.
void OfferStores(PrefsSheet& sheet, port::WindowHandle page) {
  sheet.stores = StorageCards();
  sheet.stores.insert(sheet.stores.begin(), u"");
  auto place = std::ranges::find(sheet.stores, sheet.copy->databasestore);
  if (place == sheet.stores.end()) {
    place = sheet.stores.insert(sheet.stores.end(), sheet.copy->databasestore);
  }
  const auto choice = static_cast<int>(place - sheet.stores.begin());
  std::vector<std::u16string> names = sheet.stores;
  names.front() = u"Internal";
  gPlatform->dialogs.WriteMany(page, {{kControlDatabaseStore, port::Choices{std::move(names)}},
                                      {kControlDatabaseStore, port::Choice{choice}}});
}

void ShowDatabases(PrefsSheet& sheet, port::WindowHandle page, bool /*first*/) {
  ShowSizes(page);
  OfferStores(sheet, page);
}

std::optional<Refusal> StoreChoice(PrefsSheet& sheet, port::WindowHandle page) {
  const int choice = gPlatform->dialogs.Read(page, kControlDatabaseStore).choice;
  if (choice >= 0 && std::cmp_less(choice, sheet.stores.size())) {
    SetIn(sheet, sheet.copy->databasestore, sheet.stores[static_cast<std::size_t>(choice)]);
  }
  return std::nullopt;
}

void Purge(port::WindowHandle page) {
  if (!ConfirmAction(u"This will delete all downloaded and posted news. Are you sure?", true)) {
    return;
  }
  PurgeDatabases();
  ShowSizes(page);
}

void Compact(port::WindowHandle page) {
  if (!ConfirmAction(u"Compacting the databases may take some time. If you interrupt the "
                     u"compacting process, the databases may become corrupted. Are you sure you "
                     u"want to do this now?",
                     true)) {
    return;
  }
  CompactDatabases();
  ShowSizes(page);
}

void HandleButtons(PrefsSheet& /*sheet*/, port::WindowHandle page, const port::Message& message) {
  if (IsPress(message, kControlPurge)) Purge(page);
  if (IsPress(message, kControlCompact)) Compact(page);
}

}  // namespace

PrefsPage DatabasePage() {
  return {.form = kDialogDatabasePage,
          .caption = u"Database Management",
          .show = ShowDatabases,
          .store = StoreChoice,
          .handle = HandleButtons};
}

}  // namespace quillet
