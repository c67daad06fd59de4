#include "qt/forms.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QScreen>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <algorithm>
#include <array>

#include "qt/icons.h"
#include "qt/main_window.h"
#include "qt/window_style.h"
#include "res/resource.h"
#include "ui_about.h"
#include "ui_find.h"
#include "ui_killfile_entry.h"
#include "ui_message_headers.h"
#include "ui_new_group.h"
#include "ui_progress.h"

namespace quillet::qt {
namespace {

template <class Form>
void SetUp(QDialog* dialog) {
  Form form;
  form.setupUi(dialog);
}

struct FormEntry {
  std::uint32_t id;
  void (*set_up)(QDialog* dialog);
};

constexpr auto kForms = std::to_array<FormEntry>({
    {kDialogProgress, SetUp<Ui::ProgressDialog>},
    {kDialogAbout, SetUp<Ui::AboutDialog>},
    {kDialogNewGroup, SetUp<Ui::NewGroupDialog>},
    {kDialogFind, SetUp<Ui::FindDialog>},
    {kDialogMessageHeaders, SetUp<Ui::MessageHeadersDialog>},
    {kDialogKillfileEntry, SetUp<Ui::KillfileEntryDialog>},
});

// Never closes by itself: the program destroys it.
class FormDialog final : public QDialog {
 public:
  FormDialog(QWidget* owner, std::function<void(std::uint32_t control)> pressed)
      : QDialog(owner), pressed_(std::move(pressed)) {}

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
  }
  void reject() override { pressed_(kControlCancel); }
  void accept() override {}

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    pressed_(kControlCancel);
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
  const std::function<void(std::uint32_t control)> pressed_;
};

template <class Control, class Signal>
void Connect(QDialog& dialog, Signal signal, const std::function<void(std::uint32_t)>& pressed) {
  for (Control* control : dialog.findChildren<Control*>()) {
    const QVariant id = control->property("controlId");
    if (!id.isValid()) continue;
    QObject::connect(control, signal, &dialog, [pressed, id = id.toUInt()] { pressed(id); });
  }
}

// A control with `keepsPlace` (dynamic property) leaves its place empty when it is hidden, so that
// nothing below it moves.
void KeepPlaces(const QDialog& dialog) {
  for (QWidget* widget : dialog.findChildren<QWidget*>()) {
    if (!widget->property("keepsPlace").toBool()) continue;
    QSizePolicy policy = widget->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget->setSizePolicy(policy);
  }
}

void MakeBoxesVisible(QDialog& dialog) {
  auto* style = new WindowStyle;
  style->setParent(&dialog);
  for (QCheckBox* box : dialog.findChildren<QCheckBox*>()) box->setStyle(style);
}

void DrawIcons(const QDialog& dialog) {
  for (QLabel* label : dialog.findChildren<QLabel*>()) {
    const QVariant id = label->property("iconId");
    if (!id.isValid()) continue;
    const QColor ink = label->palette().color(QPalette::WindowText);
    label->setPixmap(Image(id.toUInt(), ink, label->devicePixelRatioF()));
  }
}

// `columns` (dynamic property of the form) is the least width in average characters, as far as the
// screen has it.
void LimitToScreen(QDialog& dialog) {
  const QSize screen = WorkAreaOf(&dialog).size();
  if (screen.isEmpty()) return;
  const int columns = dialog.property("columns").toInt();
  const int wanted = columns * dialog.fontMetrics().averageCharWidth();
  dialog.setMinimumWidth(std::min(wanted, screen.width()));
  dialog.setMaximumSize(screen);
}

}  // namespace

QDialog* NewFormDialog(std::uint32_t form, QWidget* owner,
                       const std::function<void(std::uint32_t control)>& pressed) {
  const auto* entry = std::find_if(kForms.begin(), kForms.end(),
                                   [form](const FormEntry& known) { return known.id == form; });
  if (entry == kForms.end()) return nullptr;
  auto* dialog = new FormDialog(owner, pressed);
  entry->set_up(dialog);
  // Before the flags, which it would reset.
  dialog->setWindowModality(owner != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
  if (dialog->windowTitle().isEmpty()) {
    dialog->setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    dialog->setWindowTitle(dialog->accessibleName());  // for lists of windows
  }
  Connect<QAbstractButton>(*dialog, &QAbstractButton::clicked, pressed);
  Connect<QComboBox>(*dialog, &QComboBox::activated, pressed);  // the user's own choices only
  KeepPlaces(*dialog);
  MakeBoxesVisible(*dialog);
  DrawIcons(*dialog);
  LimitToScreen(*dialog);
  return dialog;
}

QWidget* ControlOf(const QWidget& dialog, std::uint32_t control) {
  if (control == 0) return nullptr;
  for (QWidget* widget : dialog.findChildren<QWidget*>()) {
    const QVariant id = widget->property("controlId");
    if (id.isValid() && id.toUInt() == control) return widget;
  }
  return nullptr;
}

}  // namespace quillet::qt
