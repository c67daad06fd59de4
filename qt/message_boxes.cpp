// SPDX-License-Identifier: GPL-3.0-or-later
// A box is shown without a nested event loop, and the thread that asked waits for its answer, so
// boxes of several threads do not hold each other up. Every way in which a box can go away answers
// exactly once; without a button pressed the answer is that of Escape.
#include "qt/message_boxes.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QShowEvent>
#include <QWindow>
#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <utility>

#include "port/common/box_buttons.h"
#include "qt/box_text.h"
#include "qt/fit_screen.h"
#include "qt/forms.h"
#include "qt/text.h"
#include "qt/window_style.h"

namespace quillet::qt {
namespace {

class Boxes final : public QtMessageBoxes {
 public:
  explicit Boxes(Display& display) : display_(display) {}

  int Show(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
           const port::BoxStyle& style) override;
  void SetWaitCursor(bool on) override;
  void Beep() override;

  void AnswerAll() override;
  std::vector<QMessageBox*> OpenBoxes() const override;

 private:
  void Open(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
            const port::BoxStyle& style, const std::function<void(int answer)>& answered);

  Display& display_;
  std::atomic<bool> answer_all_ = false;
  std::vector<QPointer<QMessageBox>> open_;  // display thread
};

struct ButtonPair {
  int id;
  QMessageBox::StandardButton button;
};

constexpr std::array<ButtonPair, 4> kButtons = {{{port::kIdOk, QMessageBox::Ok},
                                                 {port::kIdCancel, QMessageBox::Cancel},
                                                 {port::kIdYes, QMessageBox::Yes},
                                                 {port::kIdNo, QMessageBox::No}}};

QMessageBox::StandardButton ButtonOf(int id) {
  return std::ranges::find(kButtons, id, &ButtonPair::id)->button;
}

int IdOf(QMessageBox::StandardButton button) {
  return std::ranges::find(kButtons, button, &ButtonPair::button)->id;
}

// Lies over its owner. A box without one lies over the main window all the same: the desktop is to
// know that it belongs there, or it is found under the window.
class Box final : public QMessageBox {
 public:
  Box(QWidget* owner, QWidget* main) : QMessageBox(owner), main_(main) {}

 protected:
  void showEvent(QShowEvent* event) override {
    QMessageBox::showEvent(event);
    if (event->spontaneous()) return;
    if (parentWidget() == nullptr && main_ && main_->isVisible()) {
      windowHandle()->setTransientParent(main_->windowHandle());
    }
    PlaceOver(*this, parentWidget() != nullptr ? parentWidget() : main_.data());
  }

 private:
  const QPointer<QWidget> main_;
};

QMessageBox* NewBox(QWidget* owner, QWidget* main, std::u16string_view caption,
                    std::u16string_view text, const port::BoxStyle& style) {
  auto* box = new Box(owner, main);
  // Group names and server texts come in here: never as mark-up.
  box->setTextFormat(Qt::PlainText);
  box->setWindowTitle(ToQt(caption));
  box->setAccessibleName(ToQt(caption));
  box->setText(BoxText(ToQt(text)));
  box->setIcon(style.icon == port::BoxIcon::kExclamation ? QMessageBox::Warning
                                                         : QMessageBox::NoIcon);
  for (const int id : port::ButtonsOf(style.buttons)) box->addButton(ButtonOf(id));
  box->setDefaultButton(ButtonOf(port::DefaultButton(style)));
  box->setEscapeButton(ButtonOf(port::EscapeAnswer(style.buttons)));
  box->setWindowModality(ModalityOver(owner));
  // After the modality, which resets the flags.
  if (style.topmost) box->setWindowFlag(Qt::WindowStaysOnTopHint);
  auto* look = new WindowStyle;
  look->setParent(box);
  if (auto* icon = box->findChild<QLabel*>(QStringLiteral("qt_msgboxex_icon_label"))) {
    icon->setAccessibleName(QStringLiteral("Warning"));
  }
  for (auto* row : box->findChildren<QDialogButtonBox*>()) {
    row->setAccessibleName(QStringLiteral("Buttons"));
  }
  for (QAbstractButton* button : box->buttons()) {
    button->setStyle(look);
    button->setAccessibleName(button->text().remove(QLatin1Char('&')));
  }
  return box;
}

int Boxes::Show(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
                const port::BoxStyle& style) {
  const auto answer = std::make_shared<int>(port::EscapeAnswer(style.buttons));
  display_.jobs.CallUntilFinished([&](const std::shared_ptr<Completion>& completion) {
    if (answer_all_) {
      completion->Finish();
      return;
    }
    Open(owner, caption, text, style, [answer, completion](int given) {
      *answer = given;
      completion->Finish();
    });
  });
  return *answer;
}

void Boxes::Open(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
                 const port::BoxStyle& style, const std::function<void(int answer)>& answered) {
  QMessageBox* box = NewBox(display_.WidgetOf(owner), display_.main, caption, text, style);
  FitText(*box, RoomForDialog(display_.main));
  std::erase_if(open_, [](const auto& other) { return other.isNull(); });
  open_.emplace_back(box);
  const int escape = port::EscapeAnswer(style.buttons);
  const auto answer_once = [answered, done = std::make_shared<bool>(false)](int answer) {
    if (!std::exchange(*done, true)) answered(answer);
  };
  QObject::connect(box, &QDialog::finished, box, [box, answer_once, escape] {
    const auto pressed = box->standardButton(box->clickedButton());
    answer_once(pressed == QMessageBox::NoButton ? escape : IdOf(pressed));
    box->deleteLater();
  });
  // The owner may be destroyed under the box; the caller must not wait for ever.
  QObject::connect(box, &QObject::destroyed, [answer_once, escape] { answer_once(escape); });
  box->show();
}

void Boxes::SetWaitCursor(bool on) {
  display_.jobs.Post([on] {
    if (on) {
      QApplication::setOverrideCursor(Qt::WaitCursor);
    } else {
      QApplication::restoreOverrideCursor();
    }
  });
}

void Boxes::Beep() {
  display_.jobs.Post([] { QApplication::beep(); });
}

void Boxes::AnswerAll() {
  answer_all_ = true;
  display_.jobs.Post([this] {
    for (QMessageBox* box : OpenBoxes()) box->reject();
  });
}

std::vector<QMessageBox*> Boxes::OpenBoxes() const {
  std::vector<QMessageBox*> boxes;
  for (const auto& box : open_) {
    if (box && box->isVisible()) boxes.push_back(box);
  }
  return boxes;
}

}  // namespace

std::unique_ptr<QtMessageBoxes> NewMessageBoxes(Display& display) {
  return std::make_unique<Boxes>(display);
}

}  // namespace quillet::qt
