// SPDX-License-Identifier: GPL-3.0-or-later
// Forms are set up by their generated code; then what a form cannot say itself is added: styles,
// icons, places that stay, sizes that fit the screen, and who hears of the controls.
#include "qt/forms.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <algorithm>

#include "qt/article_edit.h"
#include "qt/fit_screen.h"
#include "qt/form_list.h"
#include "qt/form_table.h"
#include "qt/icons.h"
#include "qt/main_window.h"
#include "qt/search_field.h"
#include "qt/window_style.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

using port::DialogKind;

// Never closes by itself: the program destroys it.
class FormDialog final : public QDialog, public FormControls {
 public:
  FormDialog(QWidget* owner, DialogKind kind, Tell tell)
      : QDialog(owner), kind_(kind), tell_(std::move(tell)) {}

  // A form with `coversOwner` (dynamic property) lies exactly over its owner, or fills the screen.
  void setVisible(bool visible) override {
    if (visible && !isVisible() && property("coversOwner").toBool()) {
      const QWidget* owner = parentWidget();
      const bool over = owner != nullptr && owner->isVisible() && !owner->isMinimized();
      // Also over a maximized owner: a desktop without a window manager maximizes nothing.
      if (over) setGeometry(owner->geometry());
      if (!over || owner->isMaximized()) setWindowState(windowState() | Qt::WindowMaximized);
    }
    QDialog::setVisible(visible);
    auto* main = dynamic_cast<MainWindow*>(parentWidget());
    if (visible && kind_ == DialogKind::kProgress && main != nullptr) main->BlockBy(*this);
  }
  void reject() override { TellCancel(); }
  void accept() override {}

 protected:
  // A window of its own stands where the desktop puts it.
  void showEvent(QShowEvent* event) override {
    QDialog::showEvent(event);
    const bool over = kind_ != DialogKind::kWindow && !property("coversOwner").toBool();
    if (over && !event->spontaneous()) PlaceOver(*this, parentWidget());
  }

  // In a window, where Enter is a line end, Ctrl+Enter is OK.
  void keyPressEvent(QKeyEvent* event) override {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool control = (event->modifiers() & ~Qt::KeypadModifier) == Qt::ControlModifier;
    if (kind_ != DialogKind::kWindow || !enter || !control) return QDialog::keyPressEvent(event);
    auto* ok = qobject_cast<QAbstractButton*>(Find(kControlOk));
    if (ok != nullptr && !event->isAutoRepeat()) ok->click();
  }

  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    TellCancel();
  }

  // A dialog without a caption has no frame of the desktop either.
  void paintEvent(QPaintEvent* event) override {
    QDialog::paintEvent(event);
    if (!windowFlags().testFlag(Qt::FramelessWindowHint)) return;
    QStylePainter painter(this);
    QStyleOptionFrame frame;
    frame.initFrom(this);
    frame.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &frame, this);
    frame.state |= QStyle::State_Raised;
    painter.drawPrimitive(QStyle::PE_FrameMenu, frame);
  }

 private:
  void TellCancel() const { tell_({0, port::MessageKind::kCommand, kControlCancel, 0, {}}); }

  const DialogKind kind_;
  const Tell tell_;
};

class FormPage final : public QWidget, public FormControls {};

// A control with `keepsPlace` (dynamic property) leaves its place empty when it is hidden, so that
// nothing below it moves.
void KeepPlaces(const QWidget& form) {
  for (QWidget* widget : form.findChildren<QWidget*>()) {
    if (!widget->property("keepsPlace").toBool()) continue;
    QSizePolicy policy = widget->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget->setSizePolicy(policy);
  }
}

// Boxes, buttons, and what scrolls: the style of the desktop may hardly show them, or that they
// have the focus.
bool IsShownFaintly(const QWidget* widget) {
  return qobject_cast<const QCheckBox*>(widget) != nullptr ||
         qobject_cast<const QRadioButton*>(widget) != nullptr ||
         qobject_cast<const QPushButton*>(widget) != nullptr ||
         qobject_cast<const QAbstractScrollArea*>(widget) != nullptr;
}

void MakeBoxesVisible(QWidget& form) {
  auto* style = new WindowStyle;
  style->setParent(&form);
  for (QWidget* widget : form.findChildren<QWidget*>()) {
    if (IsShownFaintly(widget)) widget->setStyle(style);
  }
}

// `digits` (dynamic property): room for that many and no more, in a text for that many at least.
void SizeNumbers(const QWidget& form) {
  constexpr int kEditColumns = 17;  // which a line has room for by itself, in "x"
  for (QWidget* widget : form.findChildren<QWidget*>()) {
    const int digits = widget->property("digits").toInt();
    if (digits == 0) continue;
    const QFontMetrics metrics = widget->fontMetrics();
    const int width = digits * metrics.horizontalAdvance(QLatin1Char('0'));
    if (qobject_cast<QLineEdit*>(widget) != nullptr) {
      const int own = kEditColumns * metrics.horizontalAdvance(QLatin1Char('x'));
      widget->setFixedWidth(width + widget->sizeHint().width() - own);
    } else {
      widget->setMinimumWidth(width);
    }
  }
}

void DrawIcons(const QWidget& form) {
  for (QLabel* label : form.findChildren<QLabel*>()) {
    const QVariant id = label->property("iconId");
    if (!id.isValid()) continue;
    const QColor ink = label->palette().color(QPalette::WindowText);
    label->setPixmap(Image(id.toUInt(), ink, label->devicePixelRatioF()));
  }
}

// What the desktop draws in the frame beside the caption, in heights of its text: buttons, an icon.
constexpr int kCaptionButtons = 8;

// So that the whole caption can be seen: the desktop draws it bold, and cuts it to the window.
int CaptionWidth(const QDialog& dialog) {
  if (dialog.windowFlags().testFlag(Qt::FramelessWindowHint)) return 0;
  QFont bold = dialog.font();
  bold.setBold(true);
  const QFontMetrics caption(bold);
  return caption.horizontalAdvance(dialog.windowTitle()) + kCaptionButtons * caption.height();
}

// `columns` (dynamic property of the form) is the least width in average characters, as far as the
// screen has it.
void LimitToScreen(QDialog& dialog, DialogKind kind) {
  const QSize screen = WorkAreaOf(&dialog).size();
  if (screen.isEmpty()) return;
  const int columns = dialog.property("columns").toInt();
  const int wanted =
      std::max(columns * dialog.fontMetrics().averageCharWidth(), CaptionWidth(dialog));
  dialog.setMinimumWidth(std::min(wanted, screen.width()));
  if (kind != DialogKind::kWindow) dialog.setMaximumSize(screen);
}

// Texts that wrap take more lines in a window that is narrower than they would have it.
void MakeRoomForTexts(QDialog& dialog) {
  QLayout* layout = dialog.layout();
  if (layout == nullptr || !layout->hasHeightForWidth()) return;
  const QSize wanted = dialog.sizeHint().expandedTo(dialog.minimumSize());
  const QSize size = wanted.boundedTo(dialog.maximumSize());
  const int height = std::max(size.height(), layout->totalHeightForWidth(size.width()));
  dialog.resize(QSize(size.width(), height).boundedTo(dialog.maximumSize()));
}

// The line in an editable list is what has the focus.
void NameLines(const QWidget& form) {
  for (const QComboBox* list : form.findChildren<QComboBox*>()) {
    if (list->isEditable()) list->lineEdit()->setAccessibleName(list->accessibleName());
  }
}

void Prepare(QWidget& form, FormControls& controls, const Tell& tell) {
  controls.Collect(form);
  ConnectControls(controls, tell);
  KeepPlaces(form);
  NameLines(form);
  LeadDownFromSearchFields(form);
  MakeBoxesVisible(form);
  SizeNumbers(form);
  DrawIcons(form);
}

// Before the flags, which it would reset. The dialog of a long operation blocks the main window
// otherwise (qt/blocked_input.h).
void MakeModal(QDialog& dialog, const QWidget* owner, DialogKind kind) {
  if (kind == DialogKind::kProgress && owner != nullptr) return;
  dialog.setWindowModality(ModalityOver(owner));
}

void NameWindow(QDialog& dialog) {
  if (!dialog.windowTitle().isEmpty()) return;
  dialog.setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
  dialog.setWindowTitle(dialog.accessibleName());  // for lists of windows
}

}  // namespace

QDialog* NewFormDialog(std::uint32_t form, QWidget* owner, DialogKind kind, const Tell& tell) {
  const FormEntry* entry = FindForm(form);
  if (entry == nullptr || entry->is_page) return nullptr;
  auto* dialog = new FormDialog(kind == DialogKind::kWindow ? nullptr : owner, kind, tell);
  entry->set_up(*dialog);
  if (kind != DialogKind::kWindow) MakeModal(*dialog, owner, kind);
  NameWindow(*dialog);
  if (kind == DialogKind::kWindow) dialog->setWindowFlags(Qt::Window);
  Prepare(*dialog, *dialog, tell);
  LimitToScreen(*dialog, kind);
  if (kind != DialogKind::kWindow) {
    MakeRoomForTexts(*dialog);
    const QSize first = FirstSizeOf(*dialog, RoomForDialog(owner));
    if (first.isValid()) dialog->resize(first);
    FitControls(*dialog, RoomForDialog(owner));
  }
  return dialog;
}

QWidget* NewFormPage(std::uint32_t form, const Tell& tell) {
  const FormEntry* entry = FindForm(form);
  if (entry == nullptr || !entry->is_page) return nullptr;
  auto* page = new FormPage;
  entry->set_up(*page);
  Prepare(*page, *page, tell);
  for (auto* list : page->findChildren<FormList*>()) list->LetEnterThrough();
  return page;
}

Qt::WindowModality ModalityOver(const QWidget* owner) {
  const bool is_main = dynamic_cast<const MainWindow*>(owner) != nullptr;
  const bool covers_one = owner != nullptr && (is_main || owner->windowType() != Qt::Window);
  return covers_one ? Qt::WindowModal : Qt::ApplicationModal;
}

FormControls* ControlsOf(QWidget* form) {
  return dynamic_cast<FormControls*>(form);
}

QWidget* ControlOf(QWidget& form, std::uint32_t control) {
  const FormControls* controls = ControlsOf(&form);
  return controls != nullptr ? controls->Find(control) : nullptr;
}

}  // namespace quillet::qt
