// SPDX-License-Identifier: GPL-3.0-or-later
// File dialogs without pixels.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "port/fake/answers.h"
#include "port/fake/fake_screen.h"
#include "port/file_dialogs.h"

namespace quillet::port {

class FakeFileDialogs : public FileDialogs {
 public:
  explicit FakeFileDialogs(FakeScreen& screen) : screen_(screen) {}

  // The next save (open) dialog returns that path; nothing: it is cancelled. One that nobody
  // announced is cancelled and a failure.
  void ExpectSaveFile(std::optional<std::u16string> path);
  void ExpectOpenFile(std::optional<std::u16string> path);
  // Failures for what was announced and did not happen (once).
  void Verify();
  // Every save and open dialog so far.
  std::vector<SaveFileTraits> save_dialogs() const;
  std::vector<OpenFileTraits> open_dialogs() const;

  std::optional<std::u16string> SaveFile(WindowHandle owner, const SaveFileTraits& traits) override;
  std::optional<std::u16string> OpenFile(WindowHandle owner, const OpenFileTraits& traits) override;

 private:
  template <class Traits>
  bool Note(const char* operation, WindowHandle owner, const Traits& traits,
            std::vector<Traits>& dialogs);

  FakeScreen& screen_;
  Answers<std::optional<std::u16string>> expected_saves_;
  Answers<std::optional<std::u16string>> expected_opens_;
  std::vector<SaveFileTraits> save_dialogs_;
  std::vector<OpenFileTraits> open_dialogs_;
};

}  // namespace quillet::port
