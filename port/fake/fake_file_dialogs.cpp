// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_file_dialogs.h"

#include <utility>

namespace quillet::port {

// False when the dialog cannot be shown.
template <class Traits>
bool FakeFileDialogs::Note(const char* operation, WindowHandle owner, const Traits& traits,
                           std::vector<Traits>& dialogs) {
  screen_.CheckThread(operation);
  if (!screen_.CheckOwner(operation, owner)) return false;
  const auto lock = screen_.Locked();
  if (screen_.gone) return false;
  dialogs.push_back(traits);
  screen_.Changed();
  return true;
}

std::optional<std::u16string> FakeFileDialogs::SaveFile(WindowHandle owner,
                                                        const SaveFileTraits& traits) {
  if (!Note("SaveFile", owner, traits, save_dialogs_)) return std::nullopt;
  if (const auto observed = screen_.observer().OnSaveFile(traits)) return *observed;
  if (const auto path = expected_saves_.Take()) return *path;
  screen_.on_failure("display: unannounced save dialog");
  return std::nullopt;
}

std::optional<std::u16string> FakeFileDialogs::OpenFile(WindowHandle owner,
                                                        const OpenFileTraits& traits) {
  if (!Note("OpenFile", owner, traits, open_dialogs_)) return std::nullopt;
  if (const auto observed = screen_.observer().OnOpenFile(traits)) return *observed;
  if (const auto path = expected_opens_.Take()) return *path;
  screen_.on_failure("display: unannounced open dialog");
  return std::nullopt;
}

void FakeFileDialogs::ExpectSaveFile(std::optional<std::u16string> path) {
  if (path && path->empty()) {
    return screen_.on_failure("display: no save dialog returns an empty path");
  }
  expected_saves_.AddNext(std::move(path));
}

void FakeFileDialogs::ExpectOpenFile(std::optional<std::u16string> path) {
  if (path && path->empty()) {
    return screen_.on_failure("display: no open dialog returns an empty path");
  }
  if (path && path->size() > kLongestOpenPath) {
    return screen_.on_failure("display: no open dialog returns a path of more than 259 characters");
  }
  expected_opens_.AddNext(std::move(path));
}

void FakeFileDialogs::Verify() {
  if (!expected_saves_.TakeLeftOver().empty()) {
    screen_.on_failure("display: an announced save dialog never came");
  }
  if (!expected_opens_.TakeLeftOver().empty()) {
    screen_.on_failure("display: an announced open dialog never came");
  }
}

std::vector<SaveFileTraits> FakeFileDialogs::save_dialogs() const {
  const auto lock = screen_.Locked();
  return save_dialogs_;
}

std::vector<OpenFileTraits> FakeFileDialogs::open_dialogs() const {
  const auto lock = screen_.Locked();
  return open_dialogs_;
}

}  // namespace quillet::port
