#include "port/fake/fake_file_dialogs.h"

#include <utility>

namespace quillet::port {

std::optional<std::u16string> FakeFileDialogs::SaveFile(WindowHandle owner,
                                                        const SaveFileTraits& traits) {
  screen_.CheckThread("SaveFile");
  if (!screen_.CheckOwner("SaveFile", owner)) return std::nullopt;
  {
    const auto lock = screen_.Locked();
    if (screen_.gone) return std::nullopt;
    save_dialogs_.push_back(traits);
    screen_.Changed();
  }
  if (const auto observed = screen_.observer().OnSaveFile(traits)) return *observed;
  if (const auto path = expected_.Take()) return *path;
  screen_.on_failure("display: unannounced save dialog");
  return std::nullopt;
}

void FakeFileDialogs::ExpectSaveFile(std::optional<std::u16string> path) {
  if (path && path->empty()) {
    return screen_.on_failure("display: no save dialog returns an empty path");
  }
  expected_.AddNext(std::move(path));
}

void FakeFileDialogs::Verify() {
  if (expected_.TakeLeftOver().empty()) return;
  screen_.on_failure("display: an announced save dialog never came");
}

std::vector<SaveFileTraits> FakeFileDialogs::save_dialogs() const {
  const auto lock = screen_.Locked();
  return save_dialogs_;
}

}  // namespace quillet::port
