// The thread tree and pop-up menu services on the toolkit.
#pragma once

#include <QMenu>
#include <QPointer>
#include <atomic>
#include <functional>
#include <vector>

#include "port/pop_up_menus.h"
#include "port/tree_view.h"
#include "qt/display.h"

namespace quillet::qt {

class QtTreeView final : public port::TreeView {
 public:
  explicit QtTreeView(Display& display) : display_(display) {}

  void CreateTree(std::u16string_view name, std::u16string_view font_face,
                  int font_size_index) override;
  bool TreeCreated() override;
  void FillTree(std::vector<port::TreeRow> rows) override;
  void ReplaceSubtree(port::TreeItem item, std::vector<port::TreeRow> rows) override;
  void SetLabels(std::vector<port::TreeLabel> labels) override;
  void SelectItem(port::TreeItem item) override;
  port::TreeItem SelectedItem() override;
  void SetCaption(std::u16string_view text) override;
  void FocusTree() override;

 private:
  template <class Action>
  void WithPane(const Action& action);
  template <class Action>
  void WithTree(const Action& action);

  Display& display_;
};

class QtPopUpMenus final : public port::PopUpMenus {
 public:
  explicit QtPopUpMenus(Display& display) : display_(display) {}

  std::uint32_t ShowPopUp(port::WindowHandle owner,
                          const std::vector<port::PopUpEntry>& entries) override;

  // Dismisses the open menu and every later one. Any thread.
  void DismissAll();

  // The menu on the screen, null for none. Display thread.
  QMenu* OpenMenu() const { return menu_ && menu_->isVisible() ? menu_.data() : nullptr; }

 private:
  MenuPlace PlaceFor(port::WindowHandle owner) const;
  void Open(port::WindowHandle owner, const std::vector<port::PopUpEntry>& entries,
            const std::function<void(std::uint32_t command)>& answered);

  Display& display_;
  std::atomic<bool> dismiss_all_ = false;
  QPointer<QMenu> menu_;  // display thread
};

}  // namespace quillet::qt
