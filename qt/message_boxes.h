// The message box service on the toolkit.
#pragma once

#include <QMessageBox>
#include <QPointer>
#include <atomic>
#include <vector>

#include "port/message_box.h"
#include "qt/display.h"

namespace quillet::qt {

class QtMessageBoxes final : public port::MessageBoxes {
 public:
  explicit QtMessageBoxes(Display& display) : display_(display) {}

  int Show(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
           const port::BoxStyle& style) override;
  void SetWaitCursor(bool on) override;
  void Beep() override;

  // Answers every open box and every later one as Escape would. Any thread.
  void AnswerAll();

  // The boxes on the screen. Display thread.
  std::vector<QMessageBox*> OpenBoxes() const;

 private:
  void Open(port::WindowHandle owner, std::u16string_view caption, std::u16string_view text,
            const port::BoxStyle& style, const std::function<void(int answer)>& answered);

  Display& display_;
  std::atomic<bool> answer_all_ = false;
  std::vector<QPointer<QMessageBox>> open_;  // display thread
};

}  // namespace quillet::qt
