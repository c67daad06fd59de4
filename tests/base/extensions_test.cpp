// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/extensions.h"

#include <gtest/gtest.h>

#include "base/reset.h"
#include "mime/decoding.h"
#include "port/fake/fake_platform.h"
#include "port/fake/gtest_failures.h"

namespace quillet {
namespace {

class ExtensionsTest : public ::testing::Test {
 protected:
  port::FakePlatform fake;
};

TEST_F(ExtensionsTest, HaveTheirDefaultsWithoutAValue) {
  for (const bool others : {false, true}) {
    if (others) fake.registry.PutDword(kExtensionsPath, u"another", 0);
    EXPECT_EQ(ReadExtensions().postmessageids, 1U);
    EXPECT_EQ(ReadExtensions().passwordstore, 0U);
    EXPECT_EQ(ReadExtensions().importprogress, 1U);
    EXPECT_EQ(ReadExtensions().decodemime, 1U);
    EXPECT_EQ(ReadExtensions().postcharsets, 1U);
    EXPECT_EQ(ReadExtensions().stalllimit, 90U);
    EXPECT_EQ(ReadExtensions().retries, 3U);
    EXPECT_EQ(ReadExtensions().loginlater, 1U);
    EXPECT_EQ(ReadExtensions().alladdresses, 1U);
    EXPECT_EQ(ReadExtensions().crossposts, 1U);
    EXPECT_EQ(ReadExtensions().ancestors, 1U);
    EXPECT_EQ(ReadExtensions().restoreplace, 1U);
    EXPECT_EQ(ReadExtensions().startguide, 1U);
    EXPECT_EQ(ReadExtensions().progressline, 1U);
    EXPECT_EQ(ReadExtensions().readon, 1U);
    EXPECT_EQ(ReadExtensions().rowdetails, 1U);
  }
}

TEST_F(ExtensionsTest, AreWrittenWhenTheyDiffer) {
  const Extensions before = ReadExtensions();
  Extensions after = before;
  EXPECT_TRUE(WriteExtensions(before, after));
  EXPECT_EQ(fake.registry.Open(kExtensionsPath), nullptr);
  after.passwordstore = 1;
  EXPECT_TRUE(WriteExtensions(before, after));
  EXPECT_EQ(fake.registry.FindDword(kExtensionsPath, u"passwordstore"), 1U);
  EXPECT_EQ(fake.registry.FindDword(kExtensionsPath, u"postmessageids"), std::nullopt);
  EXPECT_EQ(ReadExtensions(), after);
}

TEST_F(ExtensionsTest, AllAreInTheTableOnce) {
  EXPECT_EQ(AllExtensions().size(), sizeof(Extensions) / sizeof(std::uint32_t));
  Extensions all;
  for (const Extension& extension : AllExtensions()) all.*extension.value = 77;
  EXPECT_EQ(all, (Extensions{77, 77, 77, 77, 77, 77, 77, 77, 77, 77, 77, 77, 77, 77, 77, 77}));
}

TEST_F(ExtensionsTest, NumberOtherThanZeroIsOn) {
  fake.registry.PutDword(u"Software\\Brindle\\Quillet\\Extensions", u"postmessageids", 0);
  EXPECT_FALSE(ReadExtensions().postmessageids);
  for (const std::uint32_t number : {1U, 2U, 0xFFFFFFFFU}) {
    fake.registry.PutDword(kExtensionsPath, u"postmessageids", number);
    EXPECT_TRUE(ReadExtensions().postmessageids);
  }
}

TEST_F(ExtensionsTest, ValueOfAnotherTypeOrSizeIsTheDefault) {
  fake.registry.PutString(kExtensionsPath, u"postmessageids", u"0");
  EXPECT_TRUE(ReadExtensions().postmessageids);
  fake.registry.Put(kExtensionsPath, u"postmessageids", port::RegistryType::kDword, "\0\0");
  EXPECT_TRUE(ReadExtensions().postmessageids);
}

TEST_F(ExtensionsTest, NumberAboveTheHighestIsTheDefault) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 100);
  fake.registry.PutDword(kExtensionsPath, u"stalllimit", 86400);
  EXPECT_EQ(ReadExtensions().retries, 100U);
  EXPECT_EQ(ReadExtensions().stalllimit, 86400U);
  fake.registry.PutDword(kExtensionsPath, u"retries", 101);
  fake.registry.PutDword(kExtensionsPath, u"stalllimit", 86401);
  EXPECT_EQ(ReadExtensions().retries, 3U);
  EXPECT_EQ(ReadExtensions().stalllimit, 90U);
  fake.registry.PutDword(kExtensionsPath, u"retries", 0);
  EXPECT_EQ(ReadExtensions().retries, 0U);
}

TEST_F(ExtensionsTest, DecodingIsPutInForceAndBackAtTheEnd) {
  EXPECT_TRUE(Decoding());
  ApplyExtensions({.decodemime = 0});
  EXPECT_FALSE(Decoding());
  ApplyExtensions({.decodemime = 7});
  EXPECT_TRUE(Decoding());
  SetDecoding(false);
  ResetProgram();
  EXPECT_TRUE(Decoding());
}

TEST_F(ExtensionsTest, RegistryThatCannotBeReadIsTheDefault) {
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  fake.registry.FailOpen(1);
  EXPECT_TRUE(ReadExtensions().postmessageids);
}

}  // namespace
}  // namespace quillet
