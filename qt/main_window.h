// SPDX-License-Identifier: GPL-3.0-or-later
// The main window as widgets. Display thread only; everything the user does is handed to `post`.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "port/list_view.h"
#include "port/message.h"
#include "port/windows.h"
#include "qt/article_pane.h"
#include "qt/blocked_input.h"
#include "qt/group_table.h"
#include "qt/image_tabs.h"
#include "qt/start_guide.h"
#include "qt/thread_pane.h"

namespace quillet::qt {

using PostMessage = std::function<void(const port::Message& message)>;

class MainWindow final : public QMainWindow {
 public:
  MainWindow(port::WindowHandle handle, const port::MainWindowTraits& traits, PostMessage post);

  port::WindowHandle Handle() const { return handle_; }

  // Shows the window for the first time, no larger than the work area with its frame, as soon as
  // that is known; on a small screen it fills the screen.
  void ShowFirst();
  // As in port/windows.h.
  std::optional<port::WindowPlace> Place() const;

  void CreateTabs(port::TabPlacement placement);
  // Group tab before the tabs exist.
  int SelectedTab() const;
  void SelectTab(int tab);
  void LayOut(port::Size inside, port::Size tabs);
  void SetStatusText(const QString& text);

  void CreateGroupList(std::span<const port::ListColumn, 2> columns, std::u16string_view face,
                       int font_size_index);
  GroupTable* GroupList() const { return list_; }   // null before CreateGroupList
  StartGuide* Guide() const { return guide_; }      // null before CreateGroupList
  TabControl* Tabs() const { return tabs_; }        // null before CreateTabs
  ThreadPane* Threads() const { return threads_; }  // null before CreateTabs
  QWidget* ViewButtons() const { return buttons_; }
  ArticlePane* Article() const { return article_; }  // null before CreateTabs

  // The article view's buttons, in the room that the tab control leaves free below it. False
  // before CreateTabs.
  bool CreateToolbar(const std::vector<port::ToolbarButton>& buttons);
  QWidget* Toolbar() const { return toolbar_; }

  // The dialog of a long operation, while it is shown: the window takes no input but from its close
  // button, which cancels the operation as well.
  void BlockBy(QDialog& dialog) { blocked_.BlockBy(dialog); }
  QDialog* Blocker() const { return blocked_.Blocker(); }
  // As in port/windows.h.
  void SetBusy(bool busy);
  // Whether keys and clicks are the window's; dialogs of the toolkit that block it aside.
  bool TakesInput() const { return !busy_ && Blocker() == nullptr; }

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  class Inside;

  void Post(port::MessageKind kind, std::uint32_t id, std::uint32_t detail = 0);
  void ShowBarOf(int view);
  void FitFrame();
  QRect WantedFrame() const;
  void InsideResized(QSize size);
  void PlaceTabs();
  QWidget* NewGroupPane();
  ArticlePane* NewArticlePane();
  void PlaceToolbar();
  QWidget* NewThreadPane();
  GroupTable::Told ListTold();

  const port::WindowHandle handle_;
  const PostMessage post_;
  QSize wanted_size_;  // frame included
  std::optional<port::WindowPlace> wanted_place_;
  bool frame_awaited_ = false;  // shown without the frame that the desktop will add
  Inside* inside_;
  BlockedInput blocked_{*this};
  bool busy_ = false;
  QPointer<QWidget> focus_before_;  // what had the focus when the window became busy
  QPointer<TabControl> tabs_;
  QPointer<QWidget> group_pane_;
  QPointer<GroupTable> list_;
  QPointer<StartGuide> guide_;
  QPointer<ThreadPane> threads_;
  QPointer<QLabel> status_;
  QPointer<ArticlePane> article_;
  QPointer<QWidget> toolbar_;
  QPointer<QWidget> buttons_;
  QSize margin_{0, 0};  // what the tab control leaves free of the inside, at the right and below
};

// Usable area of the screen the window is on, or of the first screen; empty without a screen.
QRect WorkAreaOf(const QWidget* window);

// Whether windows fill the screen that this one is on: a phone's.
bool FillsScreen(const QWidget* window);

}  // namespace quillet::qt
