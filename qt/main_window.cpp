// SPDX-License-Identifier: GPL-3.0-or-later
// The tab control, its panes and the toolbar lie in one widget without a layout, because the
// program computes their places and sends them by LayOut. Menu bar and buttons are made anew for
// each view. Close only asks: the program decides and destroys the window.
#include "qt/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QResizeEvent>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <chrono>

#include "qt/fit_screen.h"
#include "qt/fonts.h"
#include "qt/icons.h"
#include "qt/menus.h"
#include "qt/text.h"
#include "qt/window_style.h"

namespace quillet::qt {
namespace {

// Screens this narrow are phones: a window there fills the screen.
constexpr int kPhoneWidth = 480;
// A desktop that has not framed the window by then does not; a later frame is the user's wish.
constexpr std::chrono::seconds kFrameWithin(5);

// What was stored may be anything; sums of it must stay numbers.
QRect RectOf(const port::WindowPlace& place) {
  constexpr int kFar = 1 << 20;
  return {std::clamp(place.left, -kFar, kFar), std::clamp(place.top, -kFar, kFar),
          std::clamp(place.size.width, 1, kFar), std::clamp(place.size.height, 1, kFar)};
}

}  // namespace

QRect WorkAreaOf(const QWidget* window) {
  const QScreen* screen = window != nullptr ? window->screen() : QGuiApplication::primaryScreen();
  return screen != nullptr ? screen->availableGeometry() : QRect();
}

bool FillsScreen(const QWidget* window) {
  return WorkAreaOf(window).width() <= kPhoneWidth;
}

// What the frame and the menu bar leave. The tab control lies in it without a layout, where the
// program puts it.
class MainWindow::Inside final : public QWidget {
 public:
  explicit Inside(MainWindow* window) : QWidget(window), window_(window) {
    setAccessibleName(QStringLiteral("Inside of the window"));
  }

 protected:
  void resizeEvent(QResizeEvent* event) override { window_->InsideResized(event->size()); }

 private:
  MainWindow* window_;
};

MainWindow::MainWindow(port::WindowHandle handle, const port::MainWindowTraits& traits,
                       PostMessage post)
    : handle_(handle),
      post_(std::move(post)),
      wanted_size_(traits.size.width, traits.size.height),
      wanted_place_(traits.place),
      inside_(new Inside(this)) {
  setObjectName(ToQt(traits.window_class));
  setWindowTitle(ToQt(traits.title));
  setAccessibleName(ToQt(traits.title));
  setWindowIcon(PaletteIcon(traits.icon));
  setContextMenuPolicy(Qt::NoContextMenu);
  auto* style = new WindowStyle;
  style->setParent(this);
  setStyle(style);  // a style is not taken over by the children
  menuBar()->setStyle(style);
  menuBar()->setNativeMenuBar(false);  // the buttons stand in it
  menuBar()->setAccessibleName(QStringLiteral("Menu bar"));
  setCentralWidget(inside_);
  ShowBarOf(port::kGroupTab);
}

void MainWindow::Post(port::MessageKind kind, std::uint32_t id, std::uint32_t detail) {
  post_({handle_, kind, id, detail, {}});
}

QRect MainWindow::WantedFrame() const {
  const QRect work = WorkAreaOf(this);
  if (!wanted_place_) return {work.topLeft(), wanted_size_.boundedTo(work.size())};
  return OnScreens(RectOf(*wanted_place_));
}

void MainWindow::ShowFirst() {
  const QRect work = WorkAreaOf(this);
  if (FillsScreen(this)) {
    resize(work.size());
    showMaximized();
    return;
  }
  const QRect frame = WantedFrame();
  resize(frame.size());
  move(frame.topLeft());
  if (wanted_place_ && wanted_place_->maximised) return showMaximized();
  show();
  frame_awaited_ = true;
  QTimer::singleShot(kFrameWithin, this, [this] { frame_awaited_ = false; });
  FitFrame();
}

// The frame comes from the desktop some time after the window is shown. The size asked for includes
// it: left as it is, the window would hang over the edge of the screen by as much.
void MainWindow::FitFrame() {
  const QMargins frame = windowHandle()->frameMargins();
  if (frame.isNull() || isMaximized()) return;
  frame_awaited_ = false;
  const QRect wanted = WantedFrame();
  resize(wanted.size().shrunkBy(frame));
  move(wanted.topLeft());
}

std::optional<port::WindowPlace> MainWindow::Place() const {
  if (!isVisible() || FillsScreen(this)) return std::nullopt;
  // Maximised from the start: no frame was ever around what it goes back to.
  if (isMaximized() && wanted_place_ && wanted_place_->maximised) return wanted_place_;
  const QRect frame = isMaximized() ? normalGeometry().marginsAdded(windowHandle()->frameMargins())
                                    : frameGeometry();
  return port::WindowPlace{
      frame.left(), frame.top(), {frame.width(), frame.height()}, isMaximized()};
}

// Nothing tells of the frame itself; what comes with it are moves, sizes and the first painting.
bool MainWindow::event(QEvent* event) {
  const bool handled = QMainWindow::event(event);
  switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::UpdateRequest:
    case QEvent::WindowActivate:
      if (frame_awaited_) FitFrame();
      break;
    case QEvent::WindowStateChange:
      if (!isMaximized() && wanted_place_ && wanted_place_->maximised) wanted_place_.reset();
      break;
    default:
      break;
  }
  return handled;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  event->ignore();  // the program decides, and destroys the window
  if (QDialog* progress = Blocker()) progress->reject();
  Post(port::MessageKind::kClose, 0);
}

// What is disabled looks it, and takes nothing; the frame belongs to the window itself, which stays
// enabled.
void MainWindow::SetBusy(bool busy) {
  if (busy == busy_) return;
  busy_ = busy;
  if (busy) focus_before_ = focusWidget();
  menuBar()->setEnabled(!busy);
  inside_->setEnabled(!busy);
  if (busy) return setCursor(Qt::WaitCursor);
  unsetCursor();
  if (focus_before_) focus_before_->setFocus();
}

// What no control of the view has taken: F10 opens the menus, as in every window of the desktop.
void MainWindow::keyPressEvent(QKeyEvent* event) {
  QAction* first = menuBar()->actions().value(0);
  const bool opens = event->key() == Qt::Key_F10 && event->modifiers() == Qt::NoModifier;
  if (!opens || first == nullptr) return QMainWindow::keyPressEvent(event);
  menuBar()->setActiveAction(first);
  if (QMenu* menu = first->menu()) menu->setActiveAction(menu->actions().value(0));
}

void MainWindow::InsideResized(QSize size) {
  PlaceTabs();
  Post(port::MessageKind::kSize, static_cast<std::uint32_t>(size.width()),
       static_cast<std::uint32_t>(size.height()));
}

void MainWindow::ShowBarOf(int view) {
  const auto handler = [this](std::uint32_t command) {
    Post(port::MessageKind::kCommand, command);
  };
  FillMenuBar(*menuBar(), view, handler);
  if (buttons_) buttons_->deleteLater();
  buttons_ = NewViewButtons(view, handler, menuBar());
  menuBar()->setCornerWidget(buttons_);
  if (buttons_) buttons_->show();
}

QWidget* MainWindow::NewGroupPane() {
  group_pane_ = new QWidget;
  group_pane_->setAccessibleName(QStringLiteral("Group view"));
  auto* layout = new QVBoxLayout(group_pane_);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addStretch(1);
  // One line, or more where the window is too narrow for what it says.
  status_ = new QLabel(group_pane_);
  status_->setTextFormat(Qt::PlainText);
  status_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  status_->setWordWrap(true);
  status_->setAccessibleName(QStringLiteral("Status"));
  status_->setContentsMargins(4, 2, 4, 2);
  layout->addWidget(status_);
  return group_pane_;
}

QWidget* MainWindow::NewThreadPane() {
  threads_ =
      new ThreadPane([this](port::TreeItem item) { Post(port::MessageKind::kItemActivated, item); },
                     [this](port::TreeItem item) { Post(port::MessageKind::kContextMenu, item); });
  threads_->setStyle(style());
  return threads_;
}

ArticlePane* MainWindow::NewArticlePane() {
  article_ = new ArticlePane([this](port::MessageKind kind, const QString& text) {
    post_({handle_, kind, 0, 0, FromQt(text)});
  });
  article_->setStyle(style());
  return article_;
}

bool MainWindow::CreateToolbar(const std::vector<port::ToolbarButton>& buttons) {
  if (!tabs_) return false;
  delete toolbar_;
  toolbar_ = NewArticleToolbar(
      buttons, [this](std::uint32_t command) { Post(port::MessageKind::kCommand, command); },
      inside_);
  PlaceToolbar();
  return true;
}

void MainWindow::PlaceToolbar() {
  if (!toolbar_) return;
  const int below = inside_->height() - margin_.height();
  toolbar_->setGeometry(0, below, inside_->width(), margin_.height());
  toolbar_->setVisible(margin_.height() > 0 && SelectedTab() == port::kArticleTab);
}

void MainWindow::CreateTabs(port::TabPlacement placement) {
  delete tabs_;
  delete guide_;
  delete list_;
  delete toolbar_;
  margin_ = QSize(0, 0);
  tabs_ = new TabControl(
      placement, {NewGroupPane(), NewThreadPane(), NewArticlePane()},
      [this](int old_tab, int new_tab) {
        ShowBarOf(new_tab);
        PlaceToolbar();
        const auto old_id = static_cast<std::uint32_t>(old_tab);
        Post(port::MessageKind::kTabChanged, static_cast<std::uint32_t>(new_tab), old_id);
      },
      inside_);
  PlaceTabs();
  tabs_->show();
  ShowBarOf(port::kGroupTab);
}

int MainWindow::SelectedTab() const {
  return tabs_ ? tabs_->Selected() : port::kGroupTab;
}

void MainWindow::SelectTab(int tab) {
  if (!tabs_ || tab < 0 || tab >= port::kTabCount || tab == tabs_->Selected()) return;
  tabs_->Select(tab);
  ShowBarOf(tab);
  PlaceToolbar();
}

// Only what the tab control leaves free is kept: while the user drags the frame, the sizes of the
// program are a little behind those of the window.
void MainWindow::LayOut(port::Size inside, port::Size tabs) {
  margin_ = QSize(inside.width - tabs.width, inside.height - tabs.height).expandedTo({0, 0});
  PlaceTabs();
}

void MainWindow::PlaceTabs() {
  if (tabs_) tabs_->setGeometry(QRect(QPoint(0, 0), inside_->size() - margin_));
  PlaceToolbar();
}

void MainWindow::SetStatusText(const QString& text) {
  if (!status_) return;
  status_->setText(text);
  status_->setToolTip(text);
  status_->setAccessibleName(text.isEmpty() ? QStringLiteral("Status") : text);
}

GroupTable::Told MainWindow::ListTold() {
  return {
      [this](int row) { Post(port::MessageKind::kItemActivated, static_cast<std::uint32_t>(row)); },
      [this](int row, const std::u16string& name, bool checked) {
        post_({handle_, port::MessageKind::kRowChecked, static_cast<std::uint32_t>(row),
               checked ? 1U : 0U, name});
      },
      [this](int column, int width) {
        Post(port::MessageKind::kColumnSized, static_cast<std::uint32_t>(column),
             static_cast<std::uint32_t>(width));
      }};
}

void MainWindow::CreateGroupList(std::span<const port::ListColumn, 2> columns,
                                 std::u16string_view face, int font_size_index) {
  if (!group_pane_) return;
  delete guide_;
  delete list_;
  list_ = new GroupTable(ListTold(), group_pane_);
  list_->setStyle(style());
  list_->setFont(FontFor(face, font_size_index, QApplication::font()));
  list_->header()->setFont(QApplication::font());
  auto* layout = static_cast<QVBoxLayout*>(group_pane_->layout());
  if (layout->count() > 1) delete layout->takeAt(0);  // what held the place of the list
  layout->insertWidget(0, list_, 1);
  group_pane_->setFocusProxy(list_);
  layout->activate();
  list_->SetColumns(columns);
  list_->show();  // now: what is not shown yet does not keep the focus
  guide_ = new StartGuide(
      *list_, [this](std::uint32_t command) { Post(port::MessageKind::kCommand, command); });
  if (tabs_ && tabs_->Selected() == port::kGroupTab) list_->setFocus();
}

}  // namespace quillet::qt
