// The thread tree, the article's panes, pop-up menus and file dialogs: what the program calls and
// what the user does with them.
#include <algorithm>
#include <utility>

#include "port/fake/fake_display.h"
#include "util/text.h"

namespace quillet::port {
namespace {

auto FindRowOf(std::vector<TreeRow>& rows, TreeItem item) {
  return std::find_if(rows.begin(), rows.end(),
                      [&](const TreeRow& row) { return item != 0 && row.item == item; });
}

bool HasItem(const std::vector<TreeRow>& rows, TreeItem item) {
  return std::any_of(rows.begin(), rows.end(),
                     [&](const TreeRow& row) { return row.item == item; });
}

// What is not there any more is neither selected nor expanded.
void DropGoneItems(ShownTree& tree) {
  std::set<TreeItem> items;
  for (const TreeRow& row : tree.rows) items.insert(row.item);
  std::erase_if(tree.expanded, [&](TreeItem item) { return !items.contains(item); });
  if (!items.contains(tree.selected)) tree.selected = 0;
}

}  // namespace

// --- the tree ---

void FakeDisplay::CreateTree(std::u16string_view name, std::u16string_view font_face,
                             int font_size_index) {
  CheckThread("CreateTree");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || !window_.has_tabs) return;
    std::u16string caption = std::move(tree_.caption);
    tree_ = {};
    tree_.created = true;
    tree_.name = name;
    tree_.font_face = font_face;
    tree_.font_size_index = font_size_index;
    tree_.caption = std::move(caption);
    Changed();
  }
  observer().OnTreeChanged();
}

bool FakeDisplay::TreeCreated() {
  const Lock lock(mutex_);
  return tree_.created;
}

void FakeDisplay::FillTree(std::vector<TreeRow> rows) {
  CheckThread("FillTree");
  std::uint32_t above = 0;
  for (const TreeRow& row : rows) {
    if (row.item == 0 || row.depth > above) on_failure("display: a tree row without its parent");
    above = row.depth + 1;
  }
  {
    const Lock lock(mutex_);
    if (!tree_.created) return;
    tree_.rows = std::move(rows);
    ++tree_.fills;
    DropGoneItems(tree_);
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::ReplaceSubtree(TreeItem item, std::vector<TreeRow> rows) {
  CheckThread("ReplaceSubtree");
  {
    const Lock lock(mutex_);
    const auto first = FindRowOf(tree_.rows, item);
    if (first == tree_.rows.end()) return;
    const std::uint32_t depth = first->depth;
    const auto last = std::find_if(first + 1, tree_.rows.end(),
                                   [&](const TreeRow& row) { return row.depth <= depth; });
    for (TreeRow& row : rows) row.depth += depth;
    const auto place = tree_.rows.erase(first, last);
    tree_.rows.insert(place, std::make_move_iterator(rows.begin()),
                      std::make_move_iterator(rows.end()));
    DropGoneItems(tree_);
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::SetLabels(std::vector<TreeLabel> labels) {
  CheckThread("SetLabels");
  {
    const Lock lock(mutex_);
    for (TreeLabel& label : labels) {
      const auto row = FindRowOf(tree_.rows, label.item);
      if (row == tree_.rows.end()) continue;
      row->bold = label.bold;
      row->text = std::move(label.text);
    }
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::SelectItem(TreeItem item) {
  CheckThread("SelectItem");
  {
    const Lock lock(mutex_);
    const auto row = FindRowOf(tree_.rows, item);
    if (item != 0 && row == tree_.rows.end()) return;
    tree_.selected = item;
    std::uint32_t depth = item == 0 ? 0 : row->depth;
    for (auto above = row; item != 0 && above != tree_.rows.begin() && depth > 0;) {
      --above;
      if (above->depth >= depth) continue;
      depth = above->depth;
      tree_.expanded.insert(above->item);
    }
    Changed();
  }
  observer().OnTreeChanged();
}

TreeItem FakeDisplay::SelectedItem() {
  CheckThread("SelectedItem");
  const Lock lock(mutex_);
  return tree_.selected;
}

void FakeDisplay::SetCaption(std::u16string_view text) {
  CheckThread("SetCaption");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || !window_.has_tabs) return;
    tree_.caption = text;
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::FocusTree() {
  CheckThread("FocusTree");
  const Lock lock(mutex_);
  tree_.focused = tree_.created;
  article_.focused = false;
  Changed();
}

// --- pop-up menus and file dialogs ---

std::uint32_t FakeDisplay::ShowPopUp(WindowHandle /*owner*/,
                                     const std::vector<PopUpEntry>& entries) {
  CheckThread("ShowPopUp");
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

std::optional<std::u16string> FakeDisplay::SaveFile(WindowHandle /*owner*/,
                                                    const SaveFileTraits& traits) {
  CheckThread("SaveFile");
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
  const Lock lock(mutex_);
  return article_.created;
}

bool FakeDisplay::CreateToolbar(const std::vector<ToolbarButton>& buttons) {
  CheckThread("CreateToolbar");
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

void FakeDisplay::SetHeader(const std::array<HeaderLine, 2>& lines) {
  CheckThread("SetHeader");
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    article_.header = lines;
    Changed();
  }
  observer().OnArticleChanged();
}

void FakeDisplay::ClearViewer() {
  CheckThread("ClearViewer");
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    article_.source.clear();
    article_.plain_text = false;
    article_.ended = false;
    Changed();
  }
  observer().OnArticleChanged();
}

void FakeDisplay::AddToViewer(std::u16string_view text, bool plain_text) {
  CheckThread("AddToViewer");
  const Lock lock(mutex_);
  if (!article_.created) return;
  article_.source += text;
  article_.plain_text = plain_text;
  Changed();
}

void FakeDisplay::EndOfSource() {
  CheckThread("EndOfSource");
  {
    const Lock lock(mutex_);
    if (!article_.created) return;
    article_.ended = true;
    Changed();
  }
  observer().OnArticleChanged();
}

void FakeDisplay::ScrollViewer(ScrollStep step) {
  CheckThread("ScrollViewer");
  const Lock lock(mutex_);
  if (!article_.created) return;
  article_.scrolls.push_back(step);
  Changed();
}

void FakeDisplay::CopyFromViewer() {
  CheckThread("CopyFromViewer");
  const Lock lock(mutex_);
  if (!article_.created) return;
  ++article_.copies;
  Changed();
}

void FakeDisplay::FocusViewer() {
  CheckThread("FocusViewer");
  const Lock lock(mutex_);
  article_.focused = article_.created;
  tree_.focused = false;
  Changed();
}

// --- what is shown ---

ShownTree FakeDisplay::tree() const {
  const Lock lock(mutex_);
  return tree_;
}

TreeItem FakeDisplay::FindItem(std::u16string_view text) const {
  const Lock lock(mutex_);
  for (const TreeRow& row : tree_.rows) {
    if (row.text == text) return row.item;
  }
  return 0;
}

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

bool FakeDisplay::ClickItem(TreeItem item) {
  const Lock lock(mutex_);
  if (!TakesInputLocked(window_.handle) || window_.tab != kThreadTab) return false;
  if (!tree_.created || !HasItem(tree_.rows, item)) return false;
  tree_.selected = item;
  tree_.focused = true;
  Changed();
  return true;
}

bool FakeDisplay::ActivateItem(TreeItem item) {
  if (!ClickItem(item)) return false;
  const Lock lock(mutex_);
  queues_.Post({window_.handle, MessageKind::kItemActivated, item, 0, {}});
  return true;
}

bool FakeDisplay::AskItemMenu(TreeItem item) {
  if (!ClickItem(item)) return false;
  const Lock lock(mutex_);
  queues_.Post({window_.handle, MessageKind::kContextMenu, item, 0, {}});
  return true;
}

bool FakeDisplay::ExpandItem(TreeItem item, bool expanded) {
  const Lock lock(mutex_);
  if (!TakesInputLocked(window_.handle) || window_.tab != kThreadTab) return false;
  if (!HasItem(tree_.rows, item)) return false;
  if (expanded) {
    tree_.expanded.insert(item);
  } else {
    tree_.expanded.erase(item);
  }
  Changed();
  return true;
}

bool FakeDisplay::TapHeader() {
  const Lock lock(mutex_);
  if (!TakesInputLocked(window_.handle) || window_.tab != kArticleTab) return false;
  if (!article_.created) return false;
  queues_.Post({window_.handle, MessageKind::kHeaderTapped, 0, 0, {}});
  return true;
}

bool FakeDisplay::PressToolbar(std::uint32_t command) {
  {
    const Lock lock(mutex_);
    if (window_.tab != kArticleTab || command == 0) return false;
    const auto has = [&](const ToolbarButton& button) { return button.command == command; };
    if (std::none_of(article_.toolbar.begin(), article_.toolbar.end(), has)) return false;
  }
  return SendCommand(command);
}

void FakeDisplay::FailNextToolbar(int count) {
  const Lock lock(mutex_);
  failing_toolbars_ = count;
}

}  // namespace quillet::port
