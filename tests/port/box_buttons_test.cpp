// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/common/box_buttons.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillet::port {
namespace {

struct Case {
  BoxButtons buttons;
  std::vector<int> ids;
  int escape;
};

TEST(BoxButtonsTest, EveryBoxHasItsButtonsAndOneThatEscapeMeans) {
  const Case cases[] = {
      {BoxButtons::kOk, {kIdOk}, kIdOk},
      {BoxButtons::kOkCancel, {kIdOk, kIdCancel}, kIdCancel},
      {BoxButtons::kYesNo, {kIdYes, kIdNo}, kIdNo},
      {BoxButtons::kYesNoCancel, {kIdYes, kIdNo, kIdCancel}, kIdCancel},
  };
  for (const Case& one : cases) {
    const auto ids = ButtonsOf(one.buttons);
    EXPECT_EQ(std::vector<int>(ids.begin(), ids.end()), one.ids);
    EXPECT_EQ(EscapeAnswer(one.buttons), one.escape);
    for (const int id : {kIdOk, kIdCancel, kIdYes, kIdNo, 0}) {
      EXPECT_EQ(HasButton(one.buttons, id), std::ranges::count(one.ids, id) == 1) << id;
    }
  }
}

TEST(BoxButtonsTest, EnterMeansTheFirstButtonUnlessTheStyleNamesAnother) {
  EXPECT_EQ(DefaultButton({BoxButtons::kYesNo}), kIdYes);
  BoxStyle style{BoxButtons::kYesNo};
  style.default_button = kIdNo;
  EXPECT_EQ(DefaultButton(style), kIdNo);
  style.default_button = kIdOk;  // the box has none
  EXPECT_EQ(DefaultButton(style), kIdYes);
}

}  // namespace
}  // namespace quillet::port
