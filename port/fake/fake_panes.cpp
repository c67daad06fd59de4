// SPDX-License-Identifier: GPL-3.0-or-later
// The panes are one record under the screen's lock. A call changes it, lets go of the lock, and
// only then tells the observer or reports a misuse, since both may look at the display. What the
// program streams into the viewer is kept as it came, with how it came.
#include "port/fake/fake_panes.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

namespace quillet::port {
namespace {

constexpr std::uint32_t kToolbarImages = 7;

int LinesOf(const ShownArticle& article) {
  const std::u16string_view end = article.plain_text ? u"\n" : u"<br>";
  int lines = 1;
  for (std::size_t at = article.source.find(end); at != std::u16string::npos;
       at = article.source.find(end, at + end.size())) {
    ++lines;
  }
  return lines;
}

int LastTopLine(const ShownArticle& article) {
  return std::max(LinesOf(article) - FakePanes::kLinesOfPage, 0);
}

int WantedLine(const ShownArticle& article, ScrollStep step) {
  constexpr int kStep = FakePanes::kLinesOfPage - 1;
  switch (step) {
    case ScrollStep::kPageUp:
      return article.line - kStep;
    case ScrollStep::kPageDown:
      return article.line + kStep;
    case ScrollStep::kTop:
      return 0;
    case ScrollStep::kBottom:
      break;
  }
  return LastTopLine(article);
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

FakePanes::FakePanes(FakeScreen& screen) : screen_(screen) {
  screen_.WhenPanesGo([this] { article_ = {}; });
}

// --- the service ---

void FakePanes::CreatePanes(std::u16string_view header_font_face, int header_font_pixels) {
  screen_.CheckThread("CreatePanes");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0 || !screen_.window.has_tabs) return;
    std::vector<ToolbarButton> toolbar = std::move(article_.toolbar);
    screen_.DropPaneFocus(kArticleTab);
    article_ = {};
    article_.created = true;
    article_.header_font_face = header_font_face;
    article_.header_font_pixels = header_font_pixels;
    article_.toolbar = std::move(toolbar);
    screen_.Changed();
  }
  screen_.observer().OnArticleChanged();
}

bool FakePanes::PanesCreated() {
  screen_.CheckThread("PanesCreated");
  const auto lock = screen_.Locked();
  return article_.created;
}

bool FakePanes::CreateToolbar(const std::vector<ToolbarButton>& buttons) {
  screen_.CheckThread("CreateToolbar");
  const std::string wrong = WrongToolbar(buttons);
  if (!wrong.empty()) screen_.on_failure("display: " + wrong);
  {
    const auto lock = screen_.Locked();
    if (failing_toolbars_ > 0) {
      --failing_toolbars_;
      return false;
    }
    if (screen_.window.handle == 0 || !screen_.window.has_tabs) return false;
    article_.toolbar = buttons;
    screen_.Changed();
  }
  screen_.observer().OnArticleChanged();
  return true;
}

// Texts for a header bar that is not there would never be seen: the program forgot to make it.
void FakePanes::SetHeader(const std::array<HeaderLine, 2>& lines) {
  screen_.CheckThread("SetHeader");
  bool lost = false;
  {
    const auto lock = screen_.Locked();
    lost = !article_.created && screen_.window.has_tabs && lines != std::array<HeaderLine, 2>{};
    if (article_.created) article_.header = lines;
    if (article_.created) screen_.Changed();
    if (!article_.created && !lost) return;
  }
  if (lost) return screen_.on_failure("display: a header before its panes");
  screen_.observer().OnArticleChanged();
}

void FakePanes::ClearViewer() {
  screen_.CheckThread("ClearViewer");
  {
    const auto lock = screen_.Locked();
    if (!article_.created) return;
    article_.source.clear();
    article_.plain_text = false;
    article_.additions = 0;
    article_.ended = false;
    article_.line = 0;
    article_.notice.clear();
    screen_.Changed();
  }
  screen_.observer().OnArticleChanged();
}

void FakePanes::AddToViewer(std::u16string_view text, bool plain_text) {
  screen_.CheckThread("AddToViewer");
  const char* wrong = nullptr;
  {
    const auto lock = screen_.Locked();
    if (!article_.created) return;
    if (article_.ended) wrong = "display: text behind the end of the viewer's source";
    if (article_.additions > 0 && article_.plain_text != plain_text) {
      wrong = "display: a source that is plain text in parts";
    }
    article_.source += text;
    article_.plain_text = plain_text;
    ++article_.additions;
    screen_.Changed();
  }
  if (wrong != nullptr) screen_.on_failure(wrong);
}

void FakePanes::EndOfSource() {
  screen_.CheckThread("EndOfSource");
  bool again = false;
  {
    const auto lock = screen_.Locked();
    if (!article_.created) return;
    again = std::exchange(article_.ended, true);
    ++article_.shows;
    screen_.Changed();
  }
  if (again) screen_.on_failure("display: the viewer's source ended twice");
  screen_.observer().OnArticleChanged();
}

bool FakePanes::ScrollViewer(ScrollStep step) {
  screen_.CheckThread("ScrollViewer");
  bool moved = false;
  {
    const auto lock = screen_.Locked();
    if (!article_.created) return false;
    article_.scrolls.push_back(step);
    const int line = std::clamp(WantedLine(article_, step), 0, LastTopLine(article_));
    moved = std::exchange(article_.line, line) != line;
    screen_.Changed();
  }
  screen_.observer().OnViewerScrolled(step);
  return moved;
}

std::uint32_t FakePanes::ViewerPlace() {
  screen_.CheckThread("ViewerPlace");
  const auto lock = screen_.Locked();
  return static_cast<std::uint32_t>(article_.line);
}

void FakePanes::GoToViewerPlace(std::uint32_t place) {
  screen_.CheckThread("GoToViewerPlace");
  const auto lock = screen_.Locked();
  if (!article_.created) return;
  const auto last = static_cast<std::uint32_t>(LastTopLine(article_));
  article_.line = static_cast<int>(std::min(place, last));
  screen_.Changed();
}

// A notice over a viewer that is not there would never be seen.
void FakePanes::SetNotice(std::u16string_view text) {
  screen_.CheckThread("SetNotice");
  bool lost = false;
  {
    const auto lock = screen_.Locked();
    lost = !article_.created && screen_.window.has_tabs && !text.empty();
    if (article_.created) article_.notice = text;
    if (article_.created) screen_.Changed();
    if (!article_.created && !lost) return;
  }
  if (lost) return screen_.on_failure("display: a notice before its panes");
  screen_.observer().OnArticleChanged();
}

void FakePanes::CopyFromViewer() {
  screen_.CheckThread("CopyFromViewer");
  {
    const auto lock = screen_.Locked();
    if (!article_.created) return;
    ++article_.copies;
    screen_.Changed();
  }
  screen_.observer().OnViewerCopied();
}

void FakePanes::FocusViewer() {
  screen_.CheckThread("FocusViewer");
  const auto lock = screen_.Locked();
  if (!article_.created) return;
  screen_.FocusPane(kArticleTab);
  screen_.Changed();
}

// --- what is shown ---

ShownArticle FakePanes::article() const {
  const auto lock = screen_.Locked();
  ShownArticle shown = article_;
  shown.focused = screen_.PaneFocused(kArticleTab);
  return shown;
}

// --- what the user does ---

bool FakePanes::TapHeader() {
  const auto lock = screen_.Locked();
  if (!screen_.PaneTakesInput(kArticleTab) || !article_.created) return false;
  screen_.queues.Post({screen_.window.handle, MessageKind::kHeaderTapped, 0, 0, {}});
  return true;
}

bool FakePanes::ActivateLink(std::u16string_view target) {
  const auto lock = screen_.Locked();
  if (!screen_.PaneTakesInput(kArticleTab) || !article_.ended || article_.plain_text) return false;
  const std::u16string link = u"<a href=\"" + std::u16string(target) + u"\">";
  if (article_.source.find(link) == std::u16string::npos) return false;
  screen_.queues.Post({screen_.window.handle, MessageKind::kLink, 0, 0, std::u16string(target)});
  return true;
}

bool FakePanes::PressToolbar(std::uint32_t command) {
  const auto lock = screen_.Locked();
  const auto has = [&](const ToolbarButton& button) { return button.command == command; };
  if (command == 0 || !screen_.PaneTakesInput(kArticleTab)) return false;
  if (std::none_of(article_.toolbar.begin(), article_.toolbar.end(), has)) return false;
  screen_.queues.Post({screen_.window.handle, MessageKind::kCommand, command, 0, {}});
  return true;
}

void FakePanes::FailNextToolbar(int count) {
  const auto lock = screen_.Locked();
  failing_toolbars_ = count;
}

}  // namespace quillet::port
