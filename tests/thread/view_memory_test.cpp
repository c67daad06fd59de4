// SPDX-License-Identifier: GPL-3.0-or-later
// Memory that runs out while the thread view is built and filled.
#include <gmock/gmock.h>

#include "tests/support/failing_new.h"
#include "tests/thread/view_fixture.h"
#include "thread/labels.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using testing::FailNewOfAtLeast;
using testing::FailNthNothrowNew;

constexpr std::size_t kLongSubject = 200000;

class ViewMemoryTest : public ThreadViewTest {
 protected:
  ViewMemoryTest() {
    Put({"<1@x>", "", "First", "ann", 1, false});
    Put({"<2@x>", "", std::string(kLongSubject, 's'), "bob", 2, false});
    Put({"<3@x>", "", "Third", "cyd", 3, false});
    Recount();
    ShowThreadView();
    fake.display.ForgetBoxes();
  }
};

TEST_F(ViewMemoryTest, AControlThatCannotBeFilledStaysAsFilledSoFar) {
  FailNewOfAtLeast(kLongSubject * 2);  // the widened subject
  BuildTreeView(gReading.tree->root(), false);
  FailNewOfAtLeast(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (out of memory) occurred in BuildTreeView."));
  EXPECT_THAT(Rows(), ElementsAre("*First", "  *ann"));
  RefreshThreadLabels(gReading.tree->root());
  BuildTreeView(gReading.tree->root(), false);
  EXPECT_EQ(Rows().size(), 6U);
  ExpectInStep();
}

TEST_F(ViewMemoryTest, LabelsThatCouldNotBeHandedOverAreHandedOverNextTime) {
  for (const char* id : {"<1@x>", "<2@x>", "<3@x>"}) {
    SetArticleReadById(id, &NodeOf(id), true, kGroup);
  }
  FailNewOfAtLeast(kLongSubject * 2);
  RefreshThreadLabels(gReading.tree->root());
  FailNewOfAtLeast(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (out of memory) occurred in RefreshThreadLabels."));
  RefreshThreadLabels(gReading.tree->root());
  ExpectInStep();
}

TEST_F(ViewMemoryTest, ABuildThatCannotBeginIsACriticalError) {
  FailNthNothrowNew(1);
  BuildThreadList(GroupAt(kGroup), 3);
  FailNthNothrowNew(0);
  EXPECT_EQ(BoxTexts().front(), u"A critical error (out of memory) occurred in BuildThreadList.");
  EXPECT_EQ(gReading.tree->root().descendantCount, 3U);
}

}  // namespace
}  // namespace quillet
