// SPDX-License-Identifier: GPL-3.0-or-later
// Pages come and go by messages of the sheet. A page that is left is stored into the copy first;
// one that refuses what stands in it comes back to the front. The loop ends with OK or Cancel of
// the sheet, and then the page in front is stored, too.
#include "app/pages/sheet.h"

#include <algorithm>
#include <array>
#include <utility>

#include "app/pages/fields.h"
#include "base/box_owner.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "port/platform.h"
#include "port/property_sheets.h"
#include "res/resource.h"

namespace quillet {
namespace {

// Cancel, but the changes are to be applied.
constexpr int kApplyAllTheSame = port::kIdYes;

const PrefsPage& PageAt(int page) {
  return PrefsPages()[static_cast<std::size_t>(page)];
}

port::WindowHandle DialogOf(const PrefsSheet& sheet, int page) {
  return sheet.pages[static_cast<std::size_t>(page)];
}

void ShowPage(PrefsSheet& sheet, int page) {
  sheet.copy->prefspage = static_cast<std::uint32_t>(page);
  const bool first = sheet.opened.insert(page).second;
  ShowFields(sheet, DialogOf(sheet, page), PageAt(page).fields);
  if (PageAt(page).show != nullptr) PageAt(page).show(sheet, DialogOf(sheet, page), first);
}

std::optional<Refusal> StorePage(PrefsSheet& sheet, int page) {
  const PrefsPage& of = PageAt(page);
  if (!sheet.opened.contains(page)) return std::nullopt;
  std::optional<Refusal> refusal = StoreFields(sheet, DialogOf(sheet, page), of.fields);
  std::optional<Refusal> rest;
  if (of.store != nullptr) rest = of.store(sheet, DialogOf(sheet, page));
  return refusal ? refusal : rest;
}

// What the page refuses; otherwise it is stored, and told of that.
std::optional<Refusal> ClosePage(PrefsSheet& sheet, int page) {
  std::optional<Refusal> refusal = StorePage(sheet, page);
  if (!refusal && PageAt(page).closed != nullptr) PageAt(page).closed(sheet);
  return refusal;
}

void LeavePage(PrefsSheet& sheet, int page) {
  const std::optional<Refusal> refusal = ClosePage(sheet, page);
  if (!refusal) return;
  sheet.held = page;
  gPlatform->sheets.ShowPage(sheet.window, page);
  TellRefusal(DialogOf(sheet, page), *refusal);
}

std::optional<int> Ok(PrefsSheet& sheet) {
  const std::optional<Refusal> refusal = ClosePage(sheet, ShownPage(sheet));
  if (!refusal) return port::kIdOk;
  TellRefusal(DialogOf(sheet, ShownPage(sheet)), *refusal);
  return std::nullopt;
}

// Cancel counts what stands in the page in front, too, as far as it is not refused.
int Cancel(PrefsSheet& sheet) {
  StorePage(sheet, ShownPage(sheet));
  const bool apply =
      sheet.changed &&
      ConfirmAction(
          u"Do you want to apply these changes? If you press No, the changes will be "
          u"discarded.",
          false);
  return apply ? kApplyAllTheSame : port::kIdCancel;
}

std::optional<int> HandlePageMessage(PrefsSheet& sheet, const port::Message& message) {
  const auto page = static_cast<int>(message.id);
  // Until a refused page is back, others come and go without having been shown.
  if (sheet.held) {
    if (message.kind == port::MessageKind::kPageShown && page == *sheet.held) sheet.held.reset();
  } else if (message.kind == port::MessageKind::kPageShown) {
    ShowPage(sheet, page);
  } else {
    LeavePage(sheet, page);
  }
  return std::nullopt;
}

std::optional<int> HandleSheet(PrefsSheet& sheet, const port::Message& message) {
  switch (message.kind) {
    case port::MessageKind::kPageShown:
    case port::MessageKind::kPageLeft:
      return HandlePageMessage(sheet, message);
    case port::MessageKind::kCommand:
      if (message.id == kControlCancel) return Cancel(sheet);
      if (message.id == kControlOk) return Ok(sheet);
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

std::optional<int> HandleMessage(PrefsSheet& sheet, const port::Message& message) {
  if (message.window == sheet.window) return HandleSheet(sheet, message);
  const auto page = std::ranges::find(sheet.pages, message.window);
  if (page == sheet.pages.end()) return std::nullopt;
  const PrefsPage& of = PageAt(static_cast<int>(page - sheet.pages.begin()));
  if (of.handle != nullptr) of.handle(sheet, message.window, message);
  return std::nullopt;
}

bool CreateSheet(PrefsSheet& sheet) {
  std::vector<port::SheetPage> pages;
  for (const PrefsPage& page : PrefsPages()) {
    pages.push_back({page.form, std::u16string(page.caption)});
  }
  sheet.window = gPlatform->sheets.Create(u"Quillet CE Preferences", pages, CurrentBoxOwner());
  if (sheet.window == 0) return false;
  for (int page = 0; std::cmp_less(page, pages.size()); ++page) {
    sheet.pages.push_back(gPlatform->sheets.Page(sheet.window, page));
  }
  return true;
}

// Meant: only OK resets. Changes that are applied from a cancelled sheet are just these changes.
void CarryOutReset(PrefsSheet& sheet) {
  if (sheet.reset == PrefsReset::kNone) return;
  SetDefaultPrefs(*sheet.copy, sheet.reset == PrefsReset::kSettingsAndKillfile);
}

void ReadSecurities(PrefsSheet& sheet) {
  for (const std::u16string& server : sheet.copy->servers) {
    sheet.securities.push_back(ReadServerSecurity(server).value_or(ServerSecurity::kTls));
  }
}

// A reset has taken all servers away.
std::vector<SecuredServer> SecuritiesIn(const PrefsSheet& sheet) {
  std::vector<SecuredServer> securities;
  for (std::size_t at = 0; at < sheet.copy->servers.size(); ++at) {
    securities.push_back({sheet.copy->servers[at], sheet.securities[at]});
  }
  return securities;
}

}  // namespace

std::span<const PrefsPage> PrefsPages() {
  static const auto kPages = std::to_array<PrefsPage>({
      ServerPage(),
      ConnectionPage(),
      ReplyPage(),
      SignaturePage(),
      DownloadPage(),
      StoragePage(),
      CompressionPage(),
      KillfilePage(),
      GroupViewPage(),
      ThreadViewPage(),
      ArticleViewPage(),
      SchedulingPage(),
      DatabasePage(),
      AdvancedPage(),
      HeadersPage(),
      DebuggingPage(),
      ExtensionsPage(),
  });
  return kPages;
}

void TellRefusal(port::WindowHandle dialog, const Refusal& refusal) {
  ShowMessage(refusal.text);
  gPlatform->dialogs.WriteMany(dialog,
                               {{refusal.control, port::TextState{0, port::kWholeText, false}},
                                {refusal.control, port::Focus{}}});
}

int ShownPage(const PrefsSheet& sheet) {
  return static_cast<int>(sheet.copy->prefspage);
}

bool IsPress(const port::Message& message, std::uint32_t control) {
  return message.kind == port::MessageKind::kCommand && message.id == control;
}

std::optional<EditedPrefs> RunPrefsSheet(const Prefs& prefs, int page) {
  PrefsSheet sheet;
  sheet.copy = CopyPrefs(prefs);
  if (!sheet.copy) return std::nullopt;
  sheet.stored_extensions = sheet.extensions = ReadExtensions();
  ReadSecurities(sheet);
  if (!Guarded(u"OpenPrefs", [&] { return CreateSheet(sheet); })) return std::nullopt;
  gPlatform->sheets.ShowPage(sheet.window, page);
  const int result = RunModalSheet(sheet.window, sheet.pages, [&](const port::Message& message) {
    return HandleMessage(sheet, message);
  });
  gPlatform->dialogs.Destroy(sheet.window);
  EditedPrefs edited;
  edited.prefspage = sheet.copy->prefspage;
  if (result == port::kIdCancel) return edited;
  if (result == port::kIdOk) CarryOutReset(sheet);
  edited.securities = SecuritiesIn(sheet);
  edited.chosen_anew = std::move(sheet.chosen_anew);
  edited.copy = std::move(sheet.copy);
  edited.stored_extensions = sheet.stored_extensions;
  edited.extensions = sheet.extensions;
  return edited;
}

}  // namespace quillet
