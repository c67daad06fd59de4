// The toolkit's box wraps a text in a label and grows with it, over the edge of the screen if need
// be. Only then the label gives its place to a view. How high the label would be is estimated from
// the narrowest width that the toolkit lays it out at.
#include "qt/fit_screen.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QLabel>
#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <QScroller>
#include <QTextEdit>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

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

// As wide as a text is read well, and as high as it then is.
QSize SizeOfText(const QTextEdit& view, QSize room) {
  const int bar = view.verticalScrollBar()->sizeHint().width();
  const int columns = kLongTextColumns * view.fontMetrics().averageCharWidth();
  const int width = std::min(columns + bar, room.width());
  view.document()->setTextWidth(width - bar);
  const double height = view.document()->documentLayout()->documentSize().height();
  return {width, std::min(static_cast<int>(std::ceil(height)), room.height())};
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
    return;
  }
  label->hide();
  view->setFixedSize(SizeOfText(*view, left));
}

void FitControls(QDialog& dialog, QSize room) {
  QLayout* controls = dialog.layout();
  if (controls == nullptr || room.isEmpty()) return;
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

}  // namespace quillet::qt
