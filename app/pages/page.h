// SPDX-License-Identifier: GPL-3.0-or-later
// What a page of the preferences is: a form, and a table of what its controls edit in the record.
// Whatever a table cannot say is a function of the page. Pages work on the sheet's copy of the
// record. Program thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/extensions.h"
#include "base/prefs.h"
#include "base/server_security.h"
#include "port/dialogs.h"
#include "port/message.h"

namespace quillet {

// What OK does with the copy before it is applied.
enum class PrefsReset { kNone, kSettings, kSettingsAndKillfile };

// The open sheet.
struct PrefsSheet {
  port::WindowHandle window = 0;
  std::vector<port::WindowHandle> pages;  // their dialogs
  std::unique_ptr<Prefs> copy;
  // A page has changed the copy: Cancel asks.
  bool changed = false;
  PrefsReset reset = PrefsReset::kNone;
  // Outside the record, edited as a copy all the same.
  Extensions stored_extensions;
  Extensions extensions;
  // One entry a server, in the order of the copy's list.
  std::vector<ServerSecurity> securities;
  // Servers whose security was chosen anew: what the user trusted of them is forgotten.
  std::set<std::u16string> chosen_anew;

  std::optional<int> held;             // it was refused and is on its way back to the front
  std::set<int> opened;                // pages that were in front before
  std::size_t shown_server = 0;        // whose values the server page shows
  std::vector<std::u16string> stores;  // what stands behind the items of the management page
};

// --- What a control edits ------------------------------------------------------------------------

// An edit. A text that is longer than what is read back is refused, and the page stays; or it is
// cut to `cut_at`. One line has no line ends.
struct TextEdit {
  std::u16string Prefs::*text;
  bool many_lines = false;
  std::size_t cut_at = 0;
};
// An edit for a number. 0 counts as 1; what is no number up to `highest` is refused and the page
// stays.
struct NumberEdit {
  std::uint32_t Prefs::*number;
  std::uint32_t highest;
  std::u16string_view name;  // for the refusal
};
struct CheckBox {
  std::uint32_t Prefs::*flag;
  bool inverse = false;
};
// One of a group: it is checked while the number is `value`.
struct RadioButton {
  std::uint32_t Prefs::*number;
  std::uint32_t value;
};
// A drop-down list of the installed faces. One that is not installed is offered as well while it is
// the record's.
struct FaceList {
  std::u16string Prefs::*face;
  bool offers_default = false;  // "<default>", in front
};
// A drop-down list of "tiny" to "enormous": the number is the row + 1.
struct SizeList {
  std::uint32_t Prefs::*size;
};
struct PercentSlider {
  std::uint32_t Prefs::*percent;
};
struct TimePicker {
  std::uint32_t Prefs::*hour;
  std::uint32_t Prefs::*minute;
  std::uint32_t Prefs::*second;
};

struct PageField {
  std::uint32_t control;
  std::variant<TextEdit, NumberEdit, CheckBox, RadioButton, FaceList, SizeList, PercentSlider,
               TimePicker>
      edits;
};

// Why a page cannot be left, and which control has what is wrong.
struct Refusal {
  std::u16string text;
  std::uint32_t control = 0;
};

// --- Pages ---------------------------------------------------------------------------------------

struct PrefsPage {
  std::uint32_t form = 0;
  std::u16string_view caption;
  std::span<const PageField> fields = {};
  // Called each time the page comes to the front, after its fields were written; what costs time is
  // done the first time only.
  void (*show)(PrefsSheet& sheet, port::WindowHandle page, bool first) = nullptr;
  // Stores what is no field, as far as it is not refused.
  std::optional<Refusal> (*store)(PrefsSheet& sheet, port::WindowHandle page) = nullptr;
  // A message of the page.
  void (*handle)(PrefsSheet& sheet, port::WindowHandle page,
                 const port::Message& message) = nullptr;
  // After the page was stored, when it is left or the sheet ends with OK.
  void (*closed)(PrefsSheet& sheet) = nullptr;
};

// In the order of the sheet; the place is what `prefspage` stores.
std::span<const PrefsPage> PrefsPages();

// The pages themselves, one file each.
PrefsPage ServerPage();
PrefsPage ConnectionPage();
PrefsPage ReplyPage();
PrefsPage SignaturePage();
PrefsPage DownloadPage();
PrefsPage StoragePage();
PrefsPage CompressionPage();
PrefsPage KillfilePage();
PrefsPage GroupViewPage();
PrefsPage ThreadViewPage();
PrefsPage ArticleViewPage();
PrefsPage SchedulingPage();
PrefsPage DatabasePage();
PrefsPage AdvancedPage();
PrefsPage HeadersPage();
PrefsPage DebuggingPage();
PrefsPage ExtensionsPage();

// --- For pages -----------------------------------------------------------------------------------

// Sets a member of the copy and, when that is another value, the sheet's changed flag.
template <class T>
void SetIn(PrefsSheet& sheet, T& member, const T& value) {
  if (member == value) return;
  member = value;
  sheet.changed = true;
}

// The user is told, and what is wrong is selected and has the focus.
void TellRefusal(port::WindowHandle dialog, const Refusal& refusal);

// The page in front, or the one that comes first.
int ShownPage(const PrefsSheet& sheet);

bool IsPress(const port::Message& message, std::uint32_t control);

}  // namespace quillet
