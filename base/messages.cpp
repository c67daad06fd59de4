// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/messages.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/box_owner.h"
#include "base/long_operation.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/window_procedures.h"
#include "mime/shown_text.h"
#include "port/common/box_buttons.h"
#include "port/message_queue.h"
#include "port/platform.h"
#include "port/windows.h"
#include "util/format.h"

namespace quillet {

std::atomic<port::WindowHandle> gMainWindow = 0;

namespace {

constexpr std::u16string_view kCaption = u"Quillet";
constexpr std::u16string_view kConfirmationCaption = u"Quillet confirmation";
// The reporters format into 256 characters, terminator included.
constexpr std::size_t kReportLength = 255;
// Enough to see what is meant; a whole text in another script would fill the screen.
constexpr std::size_t kMostNamedCharacters = 20;

std::atomic<bool> gSessionEnding = false;

const ResetAtEnd kReset([] {
  gMainWindow = 0;
  gSessionEnding = false;
});

constexpr port::BoxStyle kOkBox{port::BoxButtons::kOk, port::BoxIcon::kNone, true};

std::u16string ReportText(std::u16string_view format, std::u16string_view reason,
                          std::u16string_view location) {
  std::u16string text = FormatWide(format, reason, location);
  if (text.size() > kReportLength) text.resize(kReportLength);
  return text;
}

}  // namespace

void DestroyMainWindow() {
  if (gMainWindow == 0) return;
  RemoveProcedure(gMainWindow);
  gPlatform->windows.DestroyMainWindow();
  gMainWindow = 0;
  ClearBoxOwners();
}

int ShowBox(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
            const port::BoxStyle& style) {
  if (gSessionEnding) return port::EscapeAnswer(style.buttons);
  return gPlatform->boxes.Show(owner, caption, text, style);
}

void BeginSessionEnd() {
  gSessionEnding = true;
  RequestAbort();
  gPlatform->messages.Post({gMainWindow, port::MessageKind::kEndSession, 0, 0, {}});
}

bool SessionEnding() {
  return gSessionEnding;
}

int ShowMessage(std::u16string_view text) {
  return ShowBox(CurrentBoxOwner(), kCaption, text, kOkBox);
}

int AskOkCancel(std::u16string_view text) {
  return ShowBox(CurrentBoxOwner(), kCaption, text,
                 {port::BoxButtons::kOkCancel, port::BoxIcon::kNone, true});
}

bool AskYesNo(std::u16string_view text, int default_button) {
  return ShowBox(CurrentBoxOwner(), kConfirmationCaption, text,
                 {port::BoxButtons::kYesNo, port::BoxIcon::kNone, false, default_button}) ==
         port::kIdYes;
}

bool ConfirmAction(std::u16string_view text, bool default_answer) {
  if (gPrefs && gPrefs->skipverifications != 0) return default_answer;
  // Meant: no owner over the main window. Without one the box stands over the whole program, where
  // these questions have always stood; over a dialog it belongs to that dialog.
  const port::WindowHandle owner = CurrentBoxOwner();
  return ShowBox(owner == gMainWindow ? 0 : owner, kConfirmationCaption, text,
                 {port::BoxButtons::kYesNo, port::BoxIcon::kExclamation, false}) == port::kIdYes;
}

std::u16string RefusalOf(std::u16string_view text) {
  const std::vector<std::u16string> characters = NotStorable(text);
  if (characters.empty()) return {};
  std::u16string refusal = u"Some characters of this text cannot be used here:";
  for (std::size_t i = 0; i < std::min(characters.size(), kMostNamedCharacters); ++i) {
    refusal += u' ';
    refusal += characters[i];
  }
  if (characters.size() > kMostNamedCharacters) refusal += u" ...";
  return refusal;
}

int ReportError(std::u16string_view reason, std::u16string_view location) {
  return ShowMessage(ReportText(u"An unexpected error (%ls) occurred in %ls.", reason, location));
}

void ReportCriticalError(std::u16string_view reason, std::u16string_view location) {
  ShowMessage(ReportText(u"A critical error (%ls) occurred in %ls.", reason, location));
  const port::WindowHandle main_window = gMainWindow;
  if (main_window == 0) {
    gPlatform->messages.PostQuit(0);
    return;
  }
  Dispatch({main_window, port::MessageKind::kClose, 0, kCloseAfterCriticalError, {}});
  DestroyMainWindow();
}

}  // namespace quillet
