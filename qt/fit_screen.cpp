// SPDX-License-Identifier: GPL-3.0-or-later
// The toolkit's box wraps a text in a label and grows with it, over the edge of the screen if need
// be. Only then the label gives its place to a view. How high the label would be is estimated from
// the narrowest width that the toolkit lays it out at.
#include "qt/fit_screen.h"

#include <QAbstractButton>
#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QScroller>
#include <QTextEdit>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <vector>

#include "qt/main_window.h"

namespace quillet::qt {
namespace {

constexpr int kLongTextColumns = 80;
// Half a screen, and no more than this, is what the toolkit's box takes before it wraps its text.
constexpr int kBoxWidth = 500;
// Lines of text of a title bar, where no frame of the program tells.
constexpr int kTitleLines = 2;

QSize FrameOf(const QWidget& window) {
  return window.frameGeometry().size() - window.geometry().size();
}

// A page of text without a frame on the colour of its window.
QTextEdit* NewTextView(QWidget* parent, const QString& text) {
  auto* view = new QTextEdit(parent);
  view->setAccessibleName(QStringLiteral("Message"));
  view->setReadOnly(true);
  view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  view->setTabChangesFocus(true);
  view->setFrameShape(QFrame::NoFrame);
  view->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  view->document()->setDocumentMargin(0);
  QPalette palette = view->palette();
  palette.setColor(QPalette::Base, palette.color(QPalette::Window));
  palette.setColor(QPalette::Text, palette.color(QPalette::WindowText));
  view->setPalette(palette);
  view->setPlainText(text);
  QScroller::grabGesture(view->viewport(), QScroller::TouchGesture);
  return view;
}

// Whether the toolkit's label shows the whole text in that room.
bool LabelFits(const QLabel& label, QSize room, int around) {
  const int width = std::max(std::min(WorkAreaOf(&label).width() / 2, kBoxWidth) - around, 1);
  const QRect text = label.fontMetrics().boundingRect(QRect(0, 0, width, QWIDGETSIZE_MAX),
                                                      Qt::TextWordWrap, label.text());
  return text.width() <= room.width() && text.height() <= room.height();
}

// The toolkit's own limit is narrow on small screens and with large letters.
void UseTheRoom(QLabel& label, int room) {
  const QFontMetrics metrics = label.fontMetrics();
  const QMargins margins = label.contentsMargins();
  const int around = margins.left() + margins.right() + 2 * label.margin();
  const int text = metrics.size(0, label.text()).width();
  const int columns = kLongTextColumns * metrics.averageCharWidth();
  label.setMinimumWidth(std::min(std::min(text, columns) + around, room));
}

// As wide as a text is read well, and as high as it then is.
QSize SizeOfText(const QTextEdit& view, QSize room) {
  const int bar = view.verticalScrollBar()->sizeHint().width();
  const int columns = kLongTextColumns * view.fontMetrics().averageCharWidth();
  const int width = std::min(columns + bar, room.width());
  view.document()->setTextWidth(width - bar);
  const double height = view.document()->documentLayout()->documentSize().height();
  return {width, std::min(static_cast<int>(std::ceil(height)), room.height())};
}

// Check boxes and radio buttons.
std::vector<QAbstractButton*> BoxesOf(const QWidget& form) {
  std::vector<QAbstractButton*> boxes;
  for (QAbstractButton* button : form.findChildren<QAbstractButton*>()) {
    const bool box = qobject_cast<QCheckBox*>(button) || qobject_cast<QRadioButton*>(button);
    if (box) boxes.push_back(button);
  }
  return boxes;
}

QString WholeTextOf(const QAbstractButton& box) {
  return box.text().replace(QLatin1Char('\n'), QLatin1Char(' '));
}

void SetTextOfBox(QAbstractButton& box, const QString& text) {
  if (box.text() != text) box.setText(text);
}

// Without the mark of the accelerator key.
int TextWidth(const QFontMetrics& metrics, const QString& text) {
  return metrics.size(Qt::TextShowMnemonic, text).width();
}

QString BrokenText(const QFontMetrics& metrics, const QString& text, int width) {
  QString lines;
  QString line;
  for (const QString& word : text.split(QLatin1Char(' '))) {
    const QString longer = line.isEmpty() ? word : line + QLatin1Char(' ') + word;
    if (line.isEmpty() || TextWidth(metrics, longer) <= width) {
      line = longer;
    } else {
      lines += line + QLatin1Char('\n');
      line = word;
    }
  }
  return lines + line;
}

// The widest of the boxes decide how wide the form is: by so much narrower they have to be.
void BreakTexts(const std::vector<QAbstractButton*>& boxes, int by) {
  if (by <= 0 || boxes.empty()) return;
  int widest = 0;
  for (const QAbstractButton* box : boxes) widest = std::max(widest, box->sizeHint().width());
  for (QAbstractButton* box : boxes) {
    const int over = box->sizeHint().width() - (widest - by);
    if (over <= 0) continue;
    const int width = TextWidth(box->fontMetrics(), box->text()) - over;
    SetTextOfBox(*box, BrokenText(box->fontMetrics(), box->text(), width));
  }
}

// Layouts inside another one do not hear of every change.
void ForgetSizes(const QWidget& form) {
  for (QLayout* layout : form.findChildren<QLayout*>()) layout->invalidate();
}

int LeastWidth(const QWidget& form) {
  ForgetSizes(form);
  return form.layout()->totalMinimumSize().width();
}

}  // namespace

QSize RoomForDialog(const QWidget* main) {
  const QSize work = WorkAreaOf(main).size();
  if (main != nullptr && main->isVisible()) return work - FrameOf(*main);
  if (FillsScreen(main)) return work;
  return work - QSize(0, kTitleLines * QFontMetrics(QApplication::font()).height());
}

void FitText(QMessageBox& box, QSize room) {
  auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
  QLayout* layout = box.layout();
  if (label == nullptr || layout == nullptr || room.isEmpty()) return;
  box.ensurePolished();
  // What the icon, the buttons and the margins take.
  QTextEdit* view = NewTextView(&box, label->text());
  view->setFixedSize(room);
  delete layout->replaceWidget(label, view);
  layout->activate();
  const QSize around = layout->totalMinimumSize() - room;
  const QSize left = room - around;
  if (LabelFits(*label, left, around.width())) {
    delete layout->replaceWidget(view, label);
    delete view;
    UseTheRoom(*label, left.width());
    return;
  }
  label->hide();
  view->setFixedSize(SizeOfText(*view, left));
}

void FitWidth(QWidget& form, int width) {
  const std::vector<QAbstractButton*> boxes = BoxesOf(form);
  for (QAbstractButton* box : boxes) SetTextOfBox(*box, WholeTextOf(*box));
  const auto buttons = form.findChildren<QPushButton*>();
  for (QPushButton* button : buttons) button->setMinimumWidth(0);
  BreakTexts(boxes, LeastWidth(form) - width);
  if (LeastWidth(form) <= width) return;
  for (QPushButton* button : buttons) {
    const QFontMetrics metrics = button->fontMetrics();
    button->setMinimumWidth(TextWidth(metrics, button->text()) + metrics.height() * 2 / 3);
  }
  ForgetSizes(form);
}

void FitMenu(QMenu& menu) {
  constexpr const char* kWholeText = "wholeText";
  const QList<QAction*> actions = menu.actions();
  for (QAction* action : actions) {
    if (!action->property(kWholeText).isValid()) action->setProperty(kWholeText, action->text());
    action->setText(action->property(kWholeText).toString());
  }
  const int room = WorkAreaOf(&menu).width();
  if (room <= 0 || menu.sizeHint().width() <= room) return;
  int widest = 0;
  for (QAction* action : actions) {
    action->setText(action->text().section(QLatin1Char('\t'), 0, 0));
    widest = std::max(widest, TextWidth(menu.fontMetrics(), action->text()));
  }
  const int over = menu.sizeHint().width() - room;
  if (over <= 0) return;
  for (QAction* action : actions) {
    action->setText(menu.fontMetrics().elidedText(action->text(), Qt::ElideRight, widest - over,
                                                  Qt::TextShowMnemonic));
  }
}

void FitControls(QDialog& dialog, QSize room) {
  QLayout* controls = dialog.layout();
  if (controls == nullptr || room.isEmpty()) return;
  FitWidth(dialog, room.width());
  const QSize least = controls->totalMinimumSize();
  if (least.height() <= room.height() && least.width() <= room.width()) return;
  auto* inside = new QWidget;
  inside->setAccessibleName(dialog.accessibleName());
  inside->setLayout(controls);  // takes the controls along
  auto* area = new QScrollArea;
  area->setAccessibleName(dialog.accessibleName());
  area->setFrameShape(QFrame::NoFrame);
  area->setFocusPolicy(Qt::NoFocus);
  area->setWidgetResizable(true);
  area->setWidget(inside);
  QScroller::grabGesture(area->viewport(), QScroller::TouchGesture);
  auto* layout = new QVBoxLayout(&dialog);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(area);
  dialog.resize(room.boundedTo(least + QSize(area->verticalScrollBar()->sizeHint().width(), 0)));
}

QRect OnScreens(const QRect& frame, std::span<const QRect> screens) {
  if (screens.empty()) return frame;
  const auto shared = [&](const QRect& screen) {
    const QRect both = screen.intersected(frame);
    return qint64{both.width()} * both.height();
  };
  const QRect screen = *std::ranges::max_element(screens, {}, shared);
  QRect place(frame.topLeft(), frame.size().boundedTo(screen.size()));
  place.moveLeft(std::clamp(place.left(), screen.left(), screen.right() + 1 - place.width()));
  place.moveTop(std::clamp(place.top(), screen.top(), screen.bottom() + 1 - place.height()));
  return place;
}

QRect OnScreens(const QRect& frame) {
  std::vector<QRect> areas;
  const QScreen* first = QGuiApplication::primaryScreen();
  if (first != nullptr) areas.push_back(first->availableGeometry());
  for (const QScreen* screen : QGuiApplication::screens()) {
    if (screen != first) areas.push_back(screen->availableGeometry());
  }
  return OnScreens(frame, areas);
}

// The frame comes from the desktop later; that of the window below is as wide.
void PlaceOver(QWidget& dialog, const QWidget* window) {
  if (dialog.isMaximized()) return;
  if (window != nullptr) window = window->window();
  const bool over = window != nullptr && window->isVisible() && !window->isMinimized();
  const bool framed = !dialog.windowFlags().testFlag(Qt::FramelessWindowHint);
  const QMargins frame = over && framed ? window->windowHandle()->frameMargins() : QMargins();
  QRect place = QRect(QPoint(), dialog.size()).marginsAdded(frame);
  // Not the widget's own idea of its frame, which comes later.
  const QRect below = over ? window->windowHandle()->frameGeometry() : WorkAreaOf(&dialog);
  place.moveCenter(below.center());
  // The inside: only that is known to the toolkit before there is a frame.
  dialog.setGeometry(OnScreens(place).marginsRemoved(frame));
}

}  // namespace quillet::qt
