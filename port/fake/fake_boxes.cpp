#include "port/fake/fake_boxes.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "util/text.h"

namespace quillet::port {
namespace {

bool HasButton(BoxButtons buttons, int answer) {
  switch (buttons) {
    case BoxButtons::kOk:
      return answer == kIdOk;
    case BoxButtons::kOkCancel:
      return answer == kIdOk || answer == kIdCancel;
    case BoxButtons::kYesNo:
      return answer == kIdYes || answer == kIdNo;
    case BoxButtons::kYesNoCancel:
      return answer == kIdYes || answer == kIdNo || answer == kIdCancel;
  }
  return false;
}

// What Escape means.
int EscapeAnswer(BoxButtons buttons) {
  for (const int answer : {kIdCancel, kIdNo}) {
    if (HasButton(buttons, answer)) return answer;
  }
  return kIdOk;
}

}  // namespace

void FakeBoxes::Expect(std::u16string text_prefix, int answer) {
  const auto lock = screen_.Locked();
  expected_.push_back({std::move(text_prefix), answer});
}

void FakeBoxes::Allow(std::u16string text_prefix, int answer) {
  const auto lock = screen_.Locked();
  allowed_.push_back({std::move(text_prefix), answer});
}

// The answer of an announcement; nothing announced: the usual answer, and for a question a failure.
int FakeBoxes::AnswerOf(const ShownBox& box) {
  const auto matches = [&](const Announcement& one) { return box.text.starts_with(one.prefix); };
  {
    const auto lock = screen_.Locked();
    if (screen_.gone) return EscapeAnswer(box.style.buttons);
    const auto once = std::find_if(expected_.begin(), expected_.end(), matches);
    if (once != expected_.end()) {
      const int answer = once->answer;
      expected_.erase(once);
      return answer;
    }
    const auto always = std::find_if(allowed_.begin(), allowed_.end(), matches);
    if (always != allowed_.end()) return always->answer;
  }
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
  if (!gone) screen_.observer().OnBoxClosed(box);
  return box.answer;
}

void FakeBoxes::Verify() {
  std::deque<Announcement> left_over;
  {
    const auto lock = screen_.Locked();
    left_over = std::exchange(expected_, {});
  }
  for (const Announcement& one : left_over) {
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
