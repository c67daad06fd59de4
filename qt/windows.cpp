// SPDX-License-Identifier: GPL-3.0-or-later
// Each call is handed to the display thread, waits for it, and does nothing while there is no
// window; Raise alone does not wait: the thread that listens for other instances calls it.
// A window's handle is made on the calling thread: that thread gets its messages.
#include "qt/windows.h"

#include <QApplication>
#include <utility>

#include "qt/activation.h"
#include "qt/fonts.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

class QtWindows final : public port::Windows {
 public:
  explicit QtWindows(Display& display) : display_(display) {}

  port::Size WorkArea() override;
  std::vector<std::u16string> Fonts() override;
  port::WindowHandle CreateMainWindow(const port::MainWindowTraits& traits) override;
  void ShowMainWindow() override;
  std::optional<port::WindowPlace> MainWindowPlace() override;
  // Does not wait for the display.
  void Raise(const std::string& token) override;
  void DestroyMainWindow() override;
  void CreateTabs(port::TabPlacement placement) override;
  int SelectedTab() override;
  void SelectTab(int tab) override;
  void LayOut(port::Size inside, port::Size tabs) override;
  void SetStatusText(std::u16string_view text) override;
  void SetBusy(bool busy) override;
  void InjectKeyUp(std::uint32_t virtual_key) override;

 private:
  template <class Action>
  void WithMain(const Action& action);

  Display& display_;
};

class QtListView final : public port::ListView {
 public:
  explicit QtListView(Display& display) : display_(display) {}

  void Create(std::span<const port::ListColumn, 2> columns, std::u16string_view font_face,
              int font_size_index) override;
  void Fill(std::vector<port::ListRow> rows, int selected) override;
  void SetCounts(std::vector<std::u16string> counts) override;
  void SetCheckStates(int first, std::vector<port::CheckState> states) override;
  int SelectedRow() override;
  void SetGuide(std::vector<port::GuideStep> steps) override;

 private:
  template <class Action>
  void WithList(const Action& action);

  Display& display_;
};

port::WindowHandle FocusedWindow(const Display& display) {
  // A dialog takes the input of what it stands over, also before the desktop has activated it.
  if (const QWidget* over = display.LyingOver()) return display.HandleOf(over);
  return display.HandleOf(QApplication::activeWindow());
}

template <class Action>
void QtWindows::WithMain(const Action& action) {
  display_.jobs.Call([&] {
    if (display_.main) action(*display_.main);
  });
}

port::Size QtWindows::WorkArea() {
  port::Size size;
  display_.jobs.Call([&] {
    const QSize area = WorkAreaOf(display_.main).size();
    size = {area.width(), area.height()};
  });
  return size;
}

std::vector<std::u16string> QtWindows::Fonts() {
  std::vector<std::u16string> families;
  display_.jobs.Call([&] {
    for (const QString& family : InstalledFamilies()) families.push_back(FromQt(family));
  });
  return families;
}

port::WindowHandle QtWindows::CreateMainWindow(const port::MainWindowTraits& traits) {
  port::WindowHandle handle = display_.queues.AddWindow();
  const bool created = display_.jobs.Call([&] {
    display_.main = new MainWindow(
        handle, traits,
        [&queues = display_.queues](const port::Message& message) { queues.Post(message); });
    display_.windows[handle] = display_.main.data();
  });
  if (created) return handle;
  display_.queues.RemoveWindow(handle);
  return 0;
}

void QtWindows::ShowMainWindow() {
  WithMain([](MainWindow& main) { main.ShowFirst(); });
}

std::optional<port::WindowPlace> QtWindows::MainWindowPlace() {
  std::optional<port::WindowPlace> place;
  WithMain([&](const MainWindow& main) { place = main.Place(); });
  return place;
}

void QtWindows::Raise(const std::string& token) {
  display_.jobs.Post([this, token] {
    if (!display_.main) return;
    QWidget* over = display_.LyingOver();
    if (over == nullptr) return ComeForward(*display_.main, token);
    // Its dialog goes with a window that is minimized.
    if (display_.main->isMinimized()) display_.main->showNormal();
    display_.main->raise();
    ComeForward(*over, token);
  });
}

void QtWindows::DestroyMainWindow() {
  WithMain([this](MainWindow& main) {
    const port::WindowHandle handle = main.Handle();
    delete &main;
    display_.windows.erase(handle);
    display_.queues.RemoveWindow(handle);
  });
}

void QtWindows::CreateTabs(port::TabPlacement placement) {
  WithMain([&](MainWindow& main) { main.CreateTabs(placement); });
}

int QtWindows::SelectedTab() {
  int tab = port::kGroupTab;
  WithMain([&](const MainWindow& main) { tab = main.SelectedTab(); });
  return tab;
}

void QtWindows::SelectTab(int tab) {
  WithMain([&](MainWindow& main) { main.SelectTab(tab); });
}

void QtWindows::LayOut(port::Size inside, port::Size tabs) {
  WithMain([&](MainWindow& main) { main.LayOut(inside, tabs); });
}

void QtWindows::SetStatusText(std::u16string_view text) {
  WithMain([&](MainWindow& main) { main.SetStatusText(ToQt(text)); });
}

void QtWindows::SetBusy(bool busy) {
  WithMain([busy](MainWindow& main) { main.SetBusy(busy); });
}

void QtWindows::InjectKeyUp(std::uint32_t virtual_key) {
  display_.jobs.Call([&] {
    display_.queues.Post({FocusedWindow(display_), port::MessageKind::kKeyUp, virtual_key, 0, {}});
  });
}

template <class Action>
void QtListView::WithList(const Action& action) {
  display_.jobs.Call([&] {
    if (display_.main && display_.main->GroupList() != nullptr) {
      action(*display_.main->GroupList());
    }
  });
}

void QtListView::Create(std::span<const port::ListColumn, 2> columns, std::u16string_view font_face,
                        int font_size_index) {
  display_.jobs.Call([&] {
    if (display_.main) display_.main->CreateGroupList(columns, font_face, font_size_index);
  });
}

void QtListView::Fill(std::vector<port::ListRow> rows, int selected) {
  WithList([&](GroupTable& list) { list.Fill(std::move(rows), selected); });
}

void QtListView::SetCounts(std::vector<std::u16string> counts) {
  WithList([&](GroupTable& list) { list.Rows().SetCounts(std::move(counts)); });
}

void QtListView::SetCheckStates(int first, std::vector<port::CheckState> states) {
  WithList([&](GroupTable& list) { list.Rows().SetChecks(first, states); });
}

int QtListView::SelectedRow() {
  int row = -1;
  WithList([&](const GroupTable& list) { row = list.SelectedRow(); });
  return row;
}

void QtListView::SetGuide(std::vector<port::GuideStep> steps) {
  display_.jobs.Call([&] {
    if (display_.main && display_.main->Guide() != nullptr) display_.main->Guide()->Show(steps);
  });
}

}  // namespace

std::unique_ptr<port::Windows> NewWindows(Display& display) {
  return std::make_unique<QtWindows>(display);
}

std::unique_ptr<port::ListView> NewListView(Display& display) {
  return std::make_unique<QtListView>(display);
}

}  // namespace quillet::qt
