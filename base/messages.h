// SPDX-License-Identifier: GPL-3.0-or-later
// Everything the program tells or asks the user goes through here.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "port/message.h"
#include "port/message_box.h"

namespace quillet {

// The main window; 0 before it exists and after it was destroyed.
extern std::atomic<port::WindowHandle> gMainWindow;
// Destroys the main window, if there still is one: nothing handles its messages or owns boxes any
// more.
void DestroyMainWindow();

// The session ends (log-out, SIGTERM). Any thread. From now on every box is answered at once as
// Escape would, the running operation is to abort, and the main window gets kEndSession. The
// device ends what already waits: open boxes and blocked socket calls.
void BeginSessionEnd();
bool SessionEnding();

// The one primitive under the functions below, for boxes with captions of their own. `owner` as in
// port::MessageBoxes::Show.
int ShowBox(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
            const port::BoxStyle& style);

// Caption "Quillet", OK, topmost. The result is ignored by all callers.
int ShowMessage(std::u16string_view text);
// Caption "Quillet", OK and Cancel, topmost: port::kIdOk or port::kIdCancel.
int AskOkCancel(std::u16string_view text);
// Caption "Quillet confirmation", Yes and No; never skipped. `default_button` (port::kIdYes or
// port::kIdNo) has the focus.
bool AskYesNo(std::u16string_view text, int default_button = port::kIdYes);
// Yes and No with the exclamation icon; `default_answer` at once when `skipverifications` is set.
bool ConfirmAction(std::u16string_view text, bool default_answer);

// What is to be said of a text that was typed where only 8-bit text can be kept: "Some characters
// of this text cannot be used here: " and the first of them; empty when every character can.
std::u16string RefusalOf(std::u16string_view text);

// "An unexpected error (%ls) occurred in %ls.", cut to 255 characters; the program goes on.
int ReportError(std::u16string_view reason, std::u16string_view location);
// "A critical error (%ls) occurred in %ls."; then the main window is closed and destroyed. Before
// there is a main window the quit message is posted instead. Returns to the caller in any case. The
// window's kClose has kCloseAfterCriticalError as detail.
void ReportCriticalError(std::u16string_view reason, std::u16string_view location);
// Nothing can be asked any more.
inline constexpr std::uint32_t kCloseAfterCriticalError = 1;

}  // namespace quillet
