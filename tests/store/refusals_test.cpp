// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/refusals.h"

#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

class RefusalsTest : public StoreTest {
 protected:
  static constexpr char16_t kFolder[] = u"Software\\Brindle\\Quillet\\Extensions\\Refusals\\";
};

TEST_F(RefusalsTest, AReplyIsAValueBelowTheKeyOfItsPost) {
  KeepRefusal("2024123115905123", u"441 no\r\n");
  EXPECT_EQ(fake.registry.FindString(kFolder + std::u16string(u"2024123115905123"), u"reply"),
            u"441 no");
  EXPECT_EQ(RefusalOfPost("2024123115905123"), u"441 no");
  EXPECT_EQ(RefusalOfPost("2024123115905124"), u"");
}

TEST_F(RefusalsTest, KeysThatDifferInCaseOnlyAreTwo) {
  KeepRefusal("<A\\b@x>", u"one");
  KeepRefusal("<a\\b@x>", u"two");
  EXPECT_TRUE(fake.registry.KeyExists(kFolder + std::u16string(u"=3ca=5cb=40x=3e")));
  EXPECT_EQ(RefusalOfPost("<A\\b@x>"), u"one");
  EXPECT_EQ(RefusalOfPost("<a\\b@x>"), u"two");
  ForgetRefusal("<A\\b@x>");
  EXPECT_EQ(RefusalOfPost("<A\\b@x>"), u"");
  EXPECT_EQ(RefusalOfPost("<a\\b@x>"), u"two");
  EXPECT_FALSE(fake.registry.KeyExists(kFolder + std::u16string(u"=3c=41=5cb=40x=3e")));
}

TEST_F(RefusalsTest, ALongReplyIsCut) {
  KeepRefusal("1", std::u16string(2040, u'x') + u"\r\n");
  EXPECT_EQ(RefusalOfPost("1"), std::u16string(1000, u'x'));
}

TEST_F(RefusalsTest, ANulEndsAReply) {
  KeepRefusal("1", std::u16string_view(u"441\0no", 6));
  EXPECT_EQ(RefusalOfPost("1"), u"441");
}

TEST_F(RefusalsTest, ForgettingWhatIsNotThereIsNothing) {
  ForgetRefusal("1");
  ForgetAllRefusals();
  KeepRefusal("1", u"441 no");
  ForgetRefusal("2");
  ForgetRefusal("1");
  ForgetRefusal("1");
  EXPECT_EQ(RefusalOfPost("1"), u"");
}

TEST_F(RefusalsTest, AllGoTogetherAndNothingElse) {
  fake.registry.PutDword(u"Software\\Brindle\\Quillet\\Extensions", u"postmessageids", 0);
  KeepRefusal("1", u"441 no");
  KeepRefusal("2", u"441 no");
  ForgetAllRefusals();
  EXPECT_EQ(RefusalOfPost("1"), u"");
  EXPECT_EQ(RefusalOfPost("2"), u"");
  EXPECT_EQ(fake.registry.FindDword(u"Software\\Brindle\\Quillet\\Extensions", u"postmessageids"),
            0U);
}

TEST_F(RefusalsTest, ReplyThatCannotBeWrittenTakesTheOldOneAlong) {
  KeepRefusal("1", u"old");
  fake.registry.FailSet(1);
  KeepRefusal("1", u"new");
  EXPECT_EQ(RefusalOfPost("1"), u"");
  KeepRefusal("1", u"old");
  fake.registry.FailCreate(1);
  KeepRefusal("1", u"new");
  EXPECT_EQ(RefusalOfPost("1"), u"");
}

}  // namespace
}  // namespace quillet
