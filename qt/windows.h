// The main window and group list services on the toolkit.
#pragma once

#include "port/list_view.h"
#include "port/windows.h"
#include "qt/display.h"

namespace quillet::qt {

class QtWindows final : public port::Windows {
 public:
  explicit QtWindows(Display& display) : display_(display) {}

  port::Size WorkArea() override;
  port::WindowHandle CreateMainWindow(const port::MainWindowTraits& traits) override;
  void ShowMainWindow() override;
  // Does not wait for the display.
  void Raise() override;
  void DestroyMainWindow() override;
  void CreateTabs(port::TabPlacement placement) override;
  int SelectedTab() override;
  void SelectTab(int tab) override;
  void LayOut(port::Size inside, port::Size tabs) override;
  void SetStatusText(std::u16string_view text) override;
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

 private:
  template <class Action>
  void WithList(const Action& action);

  Display& display_;
};

}  // namespace quillet::qt
