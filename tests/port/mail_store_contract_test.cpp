// SPDX-License-Identifier: GPL-3.0-or-later
// The same promises, kept by the message store in memory and by the one in mail folders.
#include <gtest/gtest.h>

#include <string>

#include "port/fake/fake_mail_store.h"
#include "port/linux/linux_mail_store.h"
#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

struct FakeMailMaker {
  FakeMailStore store;
};

struct LinuxMailMaker {
  TempFolder folder;
  LinuxMailStore store{folder.path(), [] { return 0U; }};
};

template <class Maker>
class MailStoreContract : public testing::Test {
 protected:
  bool Put(std::u16string_view id, std::u16string_view to = u"ann@example.com") {
    store.Begin(id, u"sendmail");
    store.SetSender(u"me@example.org");
    store.SetField(u"To", to);
    store.SetField(u"Subject", u"Tea\r\nBcc: eve@example.com");
    store.SetBody(u"One\r\nTwo\r\n");
    return store.Put();
  }

  Maker maker_;
  MailStore& store = maker_.store;
};

using Makers = testing::Types<FakeMailMaker, LinuxMailMaker>;
TYPED_TEST_SUITE(MailStoreContract, Makers);

TYPED_TEST(MailStoreContract, AMessageThatWasPutWaitsInTheOutbox) {
  ASSERT_TRUE(this->store.Open());
  EXPECT_FALSE(this->store.WasPut(u"m-1"));
  ASSERT_TRUE(this->Put(u"m-1"));
  this->store.Close();
  EXPECT_TRUE(this->store.WasPut(u"m-1"));
  const auto waiting = this->store.Waiting();
  ASSERT_EQ(waiting.size(), 1U);
  EXPECT_EQ(waiting[0].id, u"m-1");
  EXPECT_EQ(waiting[0].service, u"sendmail");
  EXPECT_EQ(waiting[0].to, u"ann@example.com");
  EXPECT_EQ(waiting[0].reason, u"");
  EXPECT_FALSE(waiting[0].held);
  EXPECT_NE(waiting[0].message.find(u"To: ann@example.com"), std::u16string::npos);
  EXPECT_NE(waiting[0].message.find(u"Two"), std::u16string::npos);
}

TYPED_TEST(MailStoreContract, ALineEndInAFieldIsABlank) {
  ASSERT_TRUE(this->store.Open());
  ASSERT_TRUE(this->Put(u"m-1"));
  EXPECT_EQ(this->store.Waiting()[0].subject, u"Tea  Bcc: eve@example.com");
  EXPECT_EQ(this->store.Waiting()[0].message.find(u"\nBcc:"), std::u16string::npos);
}

TYPED_TEST(MailStoreContract, TheSecondMessageOfAnIdIsTheFirst) {
  ASSERT_TRUE(this->store.Open());
  ASSERT_TRUE(this->Put(u"m-1", u"first@example.com"));
  ASSERT_TRUE(this->Put(u"m-1", u"second@example.com"));
  ASSERT_EQ(this->store.Waiting().size(), 1U);
  EXPECT_EQ(this->store.Waiting()[0].to, u"first@example.com");
}

TYPED_TEST(MailStoreContract, TheOldestIsTheFirst) {
  ASSERT_TRUE(this->store.Open());
  std::u16string order;
  for (char16_t id = u'z'; id >= u'a'; --id) {
    ASSERT_TRUE(this->Put(std::u16string(1, id)));
    order += id;
  }
  std::u16string seen;
  for (const WaitingMail& mail : this->store.Waiting()) seen += mail.id;
  EXPECT_EQ(seen, order);
}

TYPED_TEST(MailStoreContract, PuttingWithoutAnOpenStoreFails) {
  EXPECT_FALSE(this->Put(u"m-1"));
  EXPECT_EQ(this->store.LastError(), 6U);
  EXPECT_FALSE(this->store.WasPut(u"m-1"));
}

}  // namespace
}  // namespace quillet::port
