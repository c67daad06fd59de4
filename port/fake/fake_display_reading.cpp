// The article's panes, pop-up menus and file dialogs: what the program calls and what the user does
// with them.
#include <algorithm>
#include <utility>

#include "port/fake/fake_display.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::uint32_t kToolbarImages = 7;

// What is wrong with a menu; empty when nothing is.
std::string WrongMenu(const std::vector<PopUpEntry>& entries) {
  std::set<std::uint32_t> commands;
  for (const PopUpEntry& entry : entries) {
    if (entry.command == 0) return "a menu entry that cannot be told from no choice";
    if (entry.text.empty()) return "a menu entry without a text";
    if (!commands.insert(entry.command).second) return "a menu with one command twice";
  }
  return {};
}

std::string WrongToolbar(const std::vector<ToolbarButton>& buttons) {
  std::set<std::uint32_t> commands;
  for (const ToolbarButton& button : buttons) {
    if (button.command == 0) continue;
    if (button.image >= kToolbarImages) return "a toolbar button without its image";
    if (button.tooltip.empty()) return "a toolbar button without a tooltip";
    if (!commands.insert(button.command).second) return "a toolbar with one command twice";
  }
  return {};
}

}  // namespace

// --- pop-up menus and file dialogs ---

bool FakeDisplay::CheckOwner(const char* operation, WindowHandle owner) const {
  if (owner == 0 || queues_.Exists(owner)) return true;
  on_failure("display: " + std::string(operation) + " for a window that does not exist");
  return false;
}

std::uint32_t FakeDisplay::ShowPopUp(WindowHandle owner, const std::vector<PopUpEntry>& entries) {
  CheckThread("ShowPopUp");
  if (!CheckOwner("ShowPopUp", owner)) return 0;
  const std::string wrong = WrongMenu(entries);
  if (!wrong.empty()) on_failure("display: " + wrong);
  std::optional<std::u16string> wanted;
  {
    const Lock lock(mutex_);
    if (gone_ || entries.empty()) return 0;
    pop_ups_.push_back(entries);
    Changed();
  }
  if (const auto observed = observer().OnPopUp(entries)) return *observed;
  {
    const Lock lock(mutex_);
    if (!expected_pop_ups_.empty()) {
      wanted = std::move(expected_pop_ups_.front());
      expected_pop_ups_.pop_front();
    }
  }
  if (!wanted) on_failure("display: unannounced pop-up menu");
  if (!wanted || wanted->empty()) return 0;
  for (const PopUpEntry& entry : entries) {
    if (entry.text == *wanted) return entry.command;
  }
  on_failure("display: no entry of the pop-up menu: " + ToUtf8(*wanted));
  return 0;
}

std::optional<std::u16string> FakeDisplay::SaveFile(WindowHandle owner,
                                                    const SaveFileTraits& traits) {
  CheckThread("SaveFile");
  if (!CheckOwner("SaveFile", owner)) return std::nullopt;
  {
    const Lock lock(mutex_);
    if (gone_) return std::nullopt;
    save_dialogs_.push_back(traits);
    Changed();
  }
  if (const auto observed = observer().OnSaveFile(traits)) return *observed;
  {
    const Lock lock(mutex_);
    if (!expected_save_files_.empty()) {
      auto path = std::move(expected_save_files_.front());
      expected_save_files_.pop_front();
      return path;
    }
  }
  on_failure("display: unannounced save dialog");
  return std::nullopt;
}

void FakeDisplay::ExpectPopUp(std::u16string entry) {
  const Lock lock(mutex_);
  expected_pop_ups_.push_back(std::move(entry));
}

void FakeDisplay::ExpectSaveFile(std::optional<std::u16string> path) {
  if (path && path->empty()) return on_failure("display: no save dialog returns an empty path");
  const Lock lock(mutex_);
  expected_save_files_.push_back(std::move(path));
}

// --- the article's panes ---

void FakeDisplay::CreatePanes(std::u16string_view header_font_face, int header_font_pixels) {
  CheckThread("CreatePanes");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || !window_.has_tabs) return;
    std::vector<ToolbarButton> toolbar = std::move(article_.toolbar);
    article_ = {};
    article_.created = true;
    article_.header_font_face = header_font_face;
    article_.header_font_pixels = header_font_pixels;
    article_.toolbar = std::move(toolbar);
    Changed();
  }
  observer().OnArticleChanged();
}

bool FakeDisplay::PanesCreated() {
  CheckThread("PanesCreated");
  const Lock lock(mutex_);
  return article_.created;
}

bool FakeDisplay::CreateToolbar(const std::vector<ToolbarButton>& buttons) {
  CheckThread("CreateToolbar");
  const std::string wrong = WrongToolbar(buttons);
  if (!wrong.empty()) on_failure("display: " + wrong);
  {
    const Lock lock(mutex_);
    if (failing_toolbars_ > 0) {
      --failing_toolbars_;
      return false;
    }
    if (window_.handle == 0 || !window_.has_tabs) return false;
    article_.toolbar = buttons;
    Changed();
  }
  observer().OnArticleChanged();
  return true;
}

// Texts for a header bar that is not there would never be seen: the program forgot to make it.
void FakeDisplay::SetHeader(const std::array<HeaderLine, 2>& lines) {
  CheckThread("SetHeader");
  bool lost = false;
  {
    const Lock lock(mutex_);
    lost = !article_.created && window_.has_tabs && lines != std::array<HeaderLine, 2>{};
    if (article_.created) article_.header = lines;
    if (article_.created) Changed();
    if (!article_.created && !lost) return;
  }
  if (lost) return on_failure("display: a header before its panes");
  observer().OnArticleChanged();
}

void FakeDisplay::ClearViewer() {
  CheckThread("ClearViewer");
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    article_.source.clear();
    article_.plain_text = false;
    article_.additions = 0;
    article_.ended = false;
    Changed();
  }
  observer().OnArticleChanged();
}

void FakeDisplay::AddToViewer(std::u16string_view text, bool plain_text) {
  CheckThread("AddToViewer");
  const char* wrong = nullptr;
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    if (article_.ended) wrong = "display: text behind the end of the viewer's source";
    if (article_.additions > 0 && article_.plain_text != plain_text) {
      wrong = "display: a source that is plain text in parts";
    }
    article_.source += text;
    article_.plain_text = plain_text;
    ++article_.additions;
    Changed();
  }
  if (wrong != nullptr) on_failure(wrong);
}

void FakeDisplay::EndOfSource() {
  CheckThread("EndOfSource");
  bool again = false;
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    again = std::exchange(article_.ended, true);
    ++article_.shows;
    Changed();
  }
  if (again) on_failure("display: the viewer's source ended twice");
  observer().OnArticleChanged();
}

void FakeDisplay::ScrollViewer(ScrollStep step) {
  CheckThread("ScrollViewer");
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    article_.scrolls.push_back(step);
    Changed();
  }
  observer().OnViewerScrolled(step);
}

void FakeDisplay::CopyFromViewer() {
  CheckThread("CopyFromViewer");
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    ++article_.copies;
    Changed();
  }
  observer().OnViewerCopied();
}

void FakeDisplay::FocusViewer() {
  CheckThread("FocusViewer");
  const Lock lock(mutex_);
  if (!article_.created) return;
  article_.focused = true;
  tree_.focused = false;
  Changed();
}

// --- what is shown ---

ShownArticle FakeDisplay::article() const {
  const Lock lock(mutex_);
  return article_;
}

std::vector<std::vector<PopUpEntry>> FakeDisplay::pop_ups() const {
  const Lock lock(mutex_);
  return pop_ups_;
}

std::vector<SaveFileTraits> FakeDisplay::save_dialogs() const {
  const Lock lock(mutex_);
  return save_dialogs_;
}

// --- what the user does ---

bool FakeDisplay::ArticleTakesInput() const {
  return TakesInputLocked(window_.handle) && window_.tab == kArticleTab;
}

bool FakeDisplay::TapHeader() {
  const Lock lock(mutex_);
  if (!ArticleTakesInput() || !article_.created) return false;
  queues_.Post({window_.handle, MessageKind::kHeaderTapped, 0, 0, {}});
  return true;
}

bool FakeDisplay::ActivateLink(std::u16string_view target) {
  const Lock lock(mutex_);
  if (!ArticleTakesInput() || !article_.ended || article_.plain_text) return false;
  const std::u16string link = u"<a href=\"" + std::u16string(target) + u"\">";
  if (article_.source.find(link) == std::u16string::npos) return false;
  queues_.Post({window_.handle, MessageKind::kLink, 0, 0, std::u16string(target)});
  return true;
}

bool FakeDisplay::PressToolbar(std::uint32_t command) {
  const Lock lock(mutex_);
  const auto has = [&](const ToolbarButton& button) { return button.command == command; };
  if (command == 0 || !ArticleTakesInput()) return false;
  if (std::none_of(article_.toolbar.begin(), article_.toolbar.end(), has)) return false;
  queues_.Post({window_.handle, MessageKind::kCommand, command, 0, {}});
  return true;
}

void FakeDisplay::FailNextToolbar(int count) {
  const Lock lock(mutex_);
  failing_toolbars_ = count;
}

}  // namespace quillet::port
