// SPDX-License-Identifier: GPL-3.0-or-later
// Reports what the display shows, answers boxes as announced, and presses Cancel in the progress
// dialog at the announced moment. The hooks are called on the program's threads.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "port/fake/cancel_after.h"
#include "port/fake/display_observer.h"
#include "script/script_run.h"

namespace quillet {

class ScriptObserver final : public port::DisplayObserver {
 public:
  explicit ScriptObserver(ScriptRun& run);

  // --- any thread ---

  // Presses Cancel right after that many further status changes (0: as soon as a progress dialog
  // is up); nothing: not at all.
  void CancelAfter(std::optional<std::uint32_t> changes) { cancel_.Arm(changes); }
  void ReportPositions(bool on) { report_positions_ = on; }
  void ReportWaitCursor(bool on) { report_wait_cursor_ = on; }
  // True when a progress dialog is up and one of its texts so far begins so.
  bool ProgressShows(std::u16string_view text_prefix);
  // The progress dialog that exists, 0: none.
  port::WindowHandle ProgressDialog();
  // Status changes since the last call.
  std::uint64_t TakeProgressChanges();

  // --- hooks ---

  std::optional<int> OnBox(const port::ShownBox& box) override;
  void OnWaitCursor(int depth) override;
  void OnBeep() override;
  void OnWindowCreated(const port::MainWindowTraits& traits) override;
  void OnWindowShown() override;
  void OnWindowRaised() override;
  void OnWindowDestroyed() override;
  void OnTabsCreated(port::TabPlacement placement) override;
  void OnTabSelected(int tab) override;
  void OnStatusText(std::u16string_view text) override;
  void OnListChanged() override;
  void OnTreeChanged() override;
  void OnArticleChanged() override;
  void OnViewerScrolled(port::ScrollStep step) override;
  void OnViewerCopied() override;
  std::optional<std::uint32_t> OnPopUp(const std::vector<port::PopUpEntry>& entries) override;
  std::optional<std::optional<std::u16string>> OnSaveFile(
      const port::SaveFileTraits& traits) override;
  std::optional<std::optional<std::u16string>> OnOpenFile(
      const port::OpenFileTraits& traits) override;
  void OnDialogCreated(port::WindowHandle dialog, std::uint32_t form) override;
  void OnDialogShown(port::WindowHandle dialog) override;
  void OnDialogDestroyed(port::WindowHandle dialog) override;
  void OnControlText(port::WindowHandle dialog, std::uint32_t control,
                     std::u16string_view text) override;
  void OnControlChanged(port::WindowHandle dialog, std::uint32_t control) override;

 private:
  struct Progress {
    port::WindowHandle dialog = 0;
    bool shown = false;
    std::vector<std::u16string> texts;
    int upper = 0;
    int position = 0;
  };

  void OnFigures(std::uint32_t control, std::u16string_view text);
  void NoteChange(port::WindowHandle dialog);
  bool IsProgress(port::WindowHandle dialog);

  ScriptRun& run_;
  port::CancelAfter cancel_;
  std::atomic<bool> report_positions_ = false;
  std::atomic<bool> report_wait_cursor_ = false;

  std::mutex mutex_;
  std::map<port::WindowHandle, std::uint32_t> forms_;  // of the dialogs that exist
  Progress progress_;                                  // the one that exists, if one does
  std::uint64_t changes_ = 0;
};

}  // namespace quillet
