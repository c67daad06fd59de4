// SPDX-License-Identifier: GPL-3.0-or-later
// Message boxes, wait cursor and beep without pixels.
#pragma once

#include <string>
#include <vector>

#include "port/fake/answers.h"
#include "port/fake/fake_screen.h"
#include "port/message_box.h"

namespace quillet::port {

class FakeBoxes : public MessageBoxes {
 public:
  explicit FakeBoxes(FakeScreen& screen) : screen_(screen) {}

  // --- announced answers ---

  // The next box whose text begins so gets that answer. A box that nobody announced is a failure
  // and gets No or Cancel, unless it has but an OK. An announcement left over is a failure too.
  void Expect(std::u16string text_prefix, int answer);
  // The same for any number of boxes, none included. Looked at after Expect.
  void Allow(std::u16string text_prefix, int answer);
  // Failures for what was announced and did not happen (once).
  void Verify();

  // --- what is shown ---

  std::vector<ShownBox> boxes() const;  // in the order of their appearance
  void ForgetBoxes();
  int wait_cursor_depth() const;
  int wait_cursor_shows() const;  // times it went on
  int beeps() const;

  // --- the service ---

  int Show(WindowHandle owner, std::u16string_view caption, std::u16string_view text,
           const BoxStyle& style) override;
  void SetWaitCursor(bool on) override;
  void Beep() override;

 private:
  int AnswerOf(const ShownBox& box);

  FakeScreen& screen_;
  Answers<int> expected_;
  Answers<int> allowed_;
  std::vector<ShownBox> boxes_;
  int wait_depth_ = 0;
  int wait_shows_ = 0;
  int beeps_ = 0;
};

}  // namespace quillet::port
