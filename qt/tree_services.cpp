// SPDX-License-Identifier: GPL-3.0-or-later
// The tree's calls go to the widget through the job queue and are nothing while there is no tree. A
// pop-up menu opens without a nested event loop where it was asked for, while the program's thread
// waits; it is answered exactly once, however it goes away.
#include "qt/tree_services.h"

#include <QAction>
#include <QApplication>
#include <QPointer>
#include <atomic>
#include <functional>
#include <utility>

#include "qt/fonts.h"
#include "qt/forms.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

class QtTreeView final : public port::TreeView {
 public:
  explicit QtTreeView(Display& display) : display_(display) {}

  void CreateTree(std::u16string_view name, std::u16string_view font_face,
                  int font_size_index) override;
  bool TreeCreated() override;
  void SetTreeFont(std::u16string_view font_face, int font_size_index) override;
  void SetTreeTraits(const port::TreeTraits& traits) override;
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

class Menus final : public QtPopUpMenus {
 public:
  explicit Menus(Display& display) : display_(display) {}

  std::uint32_t ShowPopUp(port::WindowHandle owner,
                          const std::vector<port::PopUpEntry>& entries) override;

  void DismissAll() override;
  QMenu* OpenMenu() const override { return menu_ && menu_->isVisible() ? menu_.data() : nullptr; }

 private:
  MenuPlace PlaceFor(port::WindowHandle owner) const;
  void Open(port::WindowHandle owner, const std::vector<port::PopUpEntry>& entries,
            const std::function<void(std::uint32_t command)>& answered);

  Display& display_;
  std::atomic<bool> dismiss_all_ = false;
  QPointer<QMenu> menu_;  // display thread
};

template <class Action>
void QtTreeView::WithPane(const Action& action) {
  display_.jobs.Call([&] {
    if (display_.main && display_.main->Threads() != nullptr) action(*display_.main->Threads());
  });
}

template <class Action>
void QtTreeView::WithTree(const Action& action) {
  WithPane([&](ThreadPane& pane) {
    if (pane.Tree() != nullptr) action(*pane.Tree());
  });
}

void QtTreeView::CreateTree(std::u16string_view name, std::u16string_view font_face,
                            int font_size_index) {
  WithPane([&](ThreadPane& pane) {
    pane.CreateTree(ToQt(name), FontFor(font_face, font_size_index, QApplication::font()));
  });
}

bool QtTreeView::TreeCreated() {
  bool created = false;
  WithTree([&](const ThreadTree&) { created = true; });
  return created;
}

void QtTreeView::SetTreeFont(std::u16string_view font_face, int font_size_index) {
  WithTree([&](ThreadTree& tree) {
    tree.setFont(FontFor(font_face, font_size_index, QApplication::font()));
  });
}

void QtTreeView::SetTreeTraits(const port::TreeTraits& traits) {
  WithTree([&](ThreadTree& tree) { tree.SetTraits(traits); });
}

void QtTreeView::FillTree(std::vector<port::TreeRow> rows) {
  WithTree([&](ThreadTree& tree) { tree.Fill(std::move(rows)); });
}

void QtTreeView::ReplaceSubtree(port::TreeItem item, std::vector<port::TreeRow> rows) {
  WithTree([&](ThreadTree& tree) { tree.Replace(item, std::move(rows)); });
}

void QtTreeView::SetLabels(std::vector<port::TreeLabel> labels) {
  WithTree([&](ThreadTree& tree) { tree.SetLabels(std::move(labels)); });
}

void QtTreeView::SelectItem(port::TreeItem item) {
  WithTree([&](ThreadTree& tree) { tree.Select(item); });
}

port::TreeItem QtTreeView::SelectedItem() {
  port::TreeItem item = 0;
  WithTree([&](const ThreadTree& tree) { item = tree.Selected(); });
  return item;
}

void QtTreeView::SetCaption(std::u16string_view text) {
  WithPane([&](ThreadPane& pane) { pane.SetCaption(ToQt(text)); });
}

void QtTreeView::FocusTree() {
  WithTree([](ThreadTree& tree) { tree.setFocus(); });
}

std::uint32_t Menus::ShowPopUp(port::WindowHandle owner,
                               const std::vector<port::PopUpEntry>& entries) {
  const auto chosen = std::make_shared<std::uint32_t>(0);
  const bool answered =
      display_.jobs.CallUntilFinished([&](const std::shared_ptr<Completion>& completion) {
        if (dismiss_all_ || entries.empty() || !display_.main) {
          completion->Finish();
          return;
        }
        Open(owner, entries, [chosen, completion](std::uint32_t command) {
          *chosen = command;
          completion->Finish();
        });
      });
  // A display that has gone may still write the choice.
  return answered ? *chosen : 0;
}

MenuPlace Menus::PlaceFor(port::WindowHandle owner) const {
  const FormControls* form = ControlsOf(display_.WidgetOf(owner));
  if (form != nullptr && form->menu_place) return *form->menu_place;
  const ThreadPane* pane = display_.main->Threads();
  return pane != nullptr ? pane->LastMenuPlace() : MenuPlace{};
}

void AddEntry(QMenu& menu, const port::PopUpEntry& entry) {
  if (entry.command == 0) {
    menu.addSeparator();
    return;
  }
  QAction* action = menu.addAction(ToQt(entry.text));
  action->setData(entry.command);
  action->setCheckable(entry.checked);
  action->setChecked(entry.checked);
}

// A menu hides before it tells what was chosen: only what has not been answered by the next turn
// of the event loop was dismissed.
void Menus::Open(port::WindowHandle owner, const std::vector<port::PopUpEntry>& entries,
                 const std::function<void(std::uint32_t command)>& answered) {
  QWidget* over = display_.WidgetOf(owner);
  auto* menu = new QMenu(over != nullptr ? over : display_.main.data());
  menu->setAccessibleName(QStringLiteral("Menu of the selected row"));
  for (const port::PopUpEntry& entry : entries) {
    AddEntry(*menu, entry);
  }
  const auto answer_once = [answered, done = std::make_shared<bool>(false)](std::uint32_t command) {
    if (!std::exchange(*done, true)) answered(command);
  };
  QObject::connect(menu, &QMenu::triggered, menu,
                   [answer_once](const QAction* action) { answer_once(action->data().toUInt()); });
  QObject::connect(
      menu, &QMenu::aboutToHide, menu,
      [answer_once, menu] {
        answer_once(0);
        menu->deleteLater();
      },
      Qt::QueuedConnection);
  // The owner may be destroyed under the menu; the caller must not wait for ever.
  QObject::connect(menu, &QObject::destroyed, [answer_once] { answer_once(0); });
  menu_ = menu;
  const MenuPlace where = PlaceFor(owner);
  menu->popup(where.place);
  if (where.by_key) menu->setActiveAction(menu->actions().front());
}

void Menus::DismissAll() {
  dismiss_all_ = true;
  display_.jobs.Post([this] {
    if (menu_) menu_->close();
  });
}

}  // namespace

std::unique_ptr<port::TreeView> NewTreeView(Display& display) {
  return std::make_unique<QtTreeView>(display);
}

std::unique_ptr<QtPopUpMenus> NewPopUpMenus(Display& display) {
  return std::make_unique<Menus>(display);
}

}  // namespace quillet::qt
