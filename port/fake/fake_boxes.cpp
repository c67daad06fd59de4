// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_boxes.h"

#include <optional>
#include <utility>

#include "port/common/box_buttons.h"
#include "util/text.h"

namespace quillet::port {

void FakeBoxes::Expect(std::u16string text_prefix, int answer) {
  expected_.Add(std::move(text_prefix), answer);
}

void FakeBoxes::Allow(std::u16string text_prefix, int answer) {
  allowed_.Add(std::move(text_prefix), answer, {kAnyNumberOfTimes, true});
}

// The answer of an announcement; nothing announced: the usual answer, and for a question a failure.
int FakeBoxes::AnswerOf(const ShownBox& box) {
  {
    const auto lock = screen_.Locked();
    if (screen_.gone) return EscapeAnswer(box.style.buttons);
  }
  if (const auto once = expected_.Take(box.text)) return *once;
  if (const auto always = allowed_.Take(box.text)) return *always;
  if (box.style.buttons != BoxButtons::kOk) {
    screen_.on_failure("display: unannounced question: " + ToUtf8(box.text));
  }
  return EscapeAnswer(box.style.buttons);
}

int FakeBoxes::Show(WindowHandle owner, std::u16string_view caption, std::u16string_view text,
                    const BoxStyle& style) {
  ShownBox box{owner, std::u16string(caption), std::u16string(text), style, 0};
  std::uint64_t number = 0;
  std::size_t index = 0;
  bool gone = false;
  {
    const auto lock = screen_.Locked();
    gone = screen_.gone;
    index = boxes_.size();
    boxes_.push_back(box);
    if (!gone) number = screen_.OpenBox(owner);
    screen_.Changed();
  }
  const std::optional<int> observed = gone ? std::nullopt : screen_.observer().OnBox(box);
  box.answer = observed ? *observed : AnswerOf(box);
  if (!HasButton(style.buttons, box.answer)) {
    screen_.on_failure("display: no button " + std::to_string(box.answer) + " in: " + ToUtf8(text));
    box.answer = EscapeAnswer(style.buttons);
  }
  {
    const auto lock = screen_.Locked();
    if (!gone) screen_.CloseBox(number);
    if (index < boxes_.size()) boxes_[index].answer = box.answer;
    screen_.Changed();
  }
  return box.answer;
}

void FakeBoxes::Verify() {
  for (const auto& one : expected_.TakeLeftOver()) {
    screen_.on_failure("display: the announced box never came: " + ToUtf8(one.prefix));
  }
}

void FakeBoxes::SetWaitCursor(bool on) {
  int depth = 0;
  {
    const auto lock = screen_.Locked();
    depth = wait_depth_ += on ? 1 : -1;
    if (on) ++wait_shows_;
    screen_.Changed();
  }
  if (depth < 0) screen_.on_failure("display: the wait cursor was taken away more often than set");
  screen_.observer().OnWaitCursor(depth);
}

void FakeBoxes::Beep() {
  {
    const auto lock = screen_.Locked();
    ++beeps_;
    screen_.Changed();
  }
  screen_.observer().OnBeep();
}

// --- what is shown ---

std::vector<ShownBox> FakeBoxes::boxes() const {
  const auto lock = screen_.Locked();
  return boxes_;
}

void FakeBoxes::ForgetBoxes() {
  const auto lock = screen_.Locked();
  boxes_.clear();
}

int FakeBoxes::wait_cursor_depth() const {
  const auto lock = screen_.Locked();
  return wait_depth_;
}

int FakeBoxes::wait_cursor_shows() const {
  const auto lock = screen_.Locked();
  return wait_shows_;
}

int FakeBoxes::beeps() const {
  const auto lock = screen_.Locked();
  return beeps_;
}

}  // namespace quillet::port
