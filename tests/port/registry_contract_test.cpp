// SPDX-License-Identifier: GPL-3.0-or-later
// The same promises, kept by the registry in memory and by the one in a file.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "port/fake/fake_registry.h"
#include "port/linux/linux_registry.h"
#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

using namespace std::string_literals;

constexpr std::u16string_view kPath = u"Software\\Brindle\\Quillet";

struct FakeMaker {
  FakeRegistry registry;
};

struct LinuxMaker {
  TempFolder folder;
  LinuxRegistry registry{folder / "registry.db"};
};

template <class Maker>
class RegistryContract : public testing::Test {
 protected:
  std::unique_ptr<RegistryKey> Create(std::u16string_view path = kPath) {
    auto key = maker_.registry.Create(path);
    EXPECT_NE(key, nullptr);
    return key;
  }
  std::unique_ptr<RegistryKey> Open(std::u16string_view path = kPath) {
    return maker_.registry.Open(path);
  }
  // The data of a value; "(none)" when it is missing.
  static std::string Data(RegistryKey& key, std::u16string_view name) {
    const auto value = key.Get(name);
    return value ? value->data : "(none)";
  }

  Maker maker_;
};

using Makers = testing::Types<FakeMaker, LinuxMaker>;
TYPED_TEST_SUITE(RegistryContract, Makers);

TYPED_TEST(RegistryContract, MissingKeyDoesNotOpen) {
  EXPECT_EQ(this->Open(), nullptr);
  this->Create();
  EXPECT_EQ(this->Open(u"Software\\Brindle\\Other"), nullptr);
}

TYPED_TEST(RegistryContract, EmptyPathIsNoKey) {
  EXPECT_EQ(this->maker_.registry.Create(u""), nullptr);
  EXPECT_EQ(this->maker_.registry.Create(u"\\"), nullptr);
}

TYPED_TEST(RegistryContract, KeyIsFoundWithoutRegardToCase) {
  this->Create()->Set(u"font", RegistryType::kString, "x");
  const auto key = this->Open(u"SOFTWARE\\brindle\\QUILLET");
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(this->Data(*key, u"font"), "x");
}

TYPED_TEST(RegistryContract, SurplusBackslashesNameTheSameKey) {
  this->Create()->Set(u"a", RegistryType::kString, "x");
  const auto key = this->Create(u"\\Software\\\\Brindle\\Quillet\\");
  EXPECT_EQ(this->Data(*key, u"a"), "x");
}

TYPED_TEST(RegistryContract, CreatingAKeyCreatesThoseAboveIt) {
  this->Create();
  EXPECT_NE(this->Open(u"Software"), nullptr);
  EXPECT_NE(this->Open(u"software\\brindle"), nullptr);
}

TYPED_TEST(RegistryContract, ValuesKeepTypeAndEveryByte) {
  const std::vector<std::pair<RegistryType, std::string>> values = {
      {RegistryType::kDword, "\x01\x02\x03\x04"s},
      {RegistryType::kDword, "\x00\x00\x00\x00\xFF\xFF\xFF\xFF"s},  // a DWORD of eight bytes
      {RegistryType::kString, "a\0\0\0"s},
      {RegistryType::kMultiString, "\0\0\0\0"s},
      {RegistryType::kBinary, ""s},
      {RegistryType::kBinary, "\0"s},
      {RegistryType::kBinary, std::string(40, '\0')},
      {RegistryType::kBinary, std::string(300000, '\xA5')},
  };
  auto key = this->Create();
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::u16string name = u"v" + std::u16string(i + 1, u'x');
    ASSERT_TRUE(key->Set(name, values[i].first, values[i].second));
    const auto value = this->Open()->Get(name);
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(value->type, values[i].first);
    EXPECT_EQ(value->data, values[i].second);
  }
}

TYPED_TEST(RegistryContract, MissingValueIsNothing) {
  EXPECT_FALSE(this->Create()->Get(u"version").has_value());
}

TYPED_TEST(RegistryContract, NamesMatchWithoutCaseAndKeepTheirFirstSpelling) {
  auto key = this->Create();
  EXPECT_TRUE(key->Set(u"killfileTexts", RegistryType::kString, "1"));
  EXPECT_TRUE(key->Set(u"KILLFILETEXTS", RegistryType::kBinary, "2"));
  EXPECT_EQ(this->Data(*key, u"killfiletexts"), "2");
  const auto values = key->Values();
  ASSERT_EQ(values.size(), 1U);
  EXPECT_EQ(values[0].name, u"killfileTexts");
  EXPECT_EQ(values[0].value.type, RegistryType::kBinary);
}

TYPED_TEST(RegistryContract, OnlyAsciiLettersAreEqualInBothCases) {
  auto key = this->Create();
  key->Set(u"\u00C4", RegistryType::kString, "capital");
  key->Set(u"\u00E4", RegistryType::kString, "small");
  EXPECT_EQ(this->Data(*key, u"\u00C4"), "capital");
  EXPECT_EQ(this->Data(*key, u"\u00E4"), "small");
}

TYPED_TEST(RegistryContract, ValuesComeOrderedByName) {
  auto key = this->Create();
  for (const char16_t* name : {u"port", u"Checked", u"version", u"attribution"}) {
    key->Set(name, RegistryType::kString, "x");
  }
  std::vector<std::u16string> names;
  for (const auto& value : key->Values()) names.push_back(value.name);
  EXPECT_EQ(names, (std::vector<std::u16string>{u"attribution", u"Checked", u"port", u"version"}));
}

TYPED_TEST(RegistryContract, ValuesOfOtherKeysAreNotTheirs) {
  this->Create(u"Software\\A")->Set(u"x", RegistryType::kString, "1");
  auto other = this->Create(u"Software\\B");
  EXPECT_FALSE(other->Get(u"x").has_value());
  EXPECT_TRUE(other->Values().empty());
}

TYPED_TEST(RegistryContract, DeletingASubkeyTakesAllBelowIt) {
  this->Create(u"S\\K\\deep\\er")->Set(u"x", RegistryType::kString, "1");
  auto key = this->Create(u"S");
  EXPECT_TRUE(key->DeleteSubkey(u"k"));
  EXPECT_EQ(this->Open(u"S\\K"), nullptr);
  EXPECT_EQ(this->Open(u"S\\K\\deep"), nullptr);
  EXPECT_EQ(this->Open(u"S\\K\\deep\\er"), nullptr);
  EXPECT_NE(this->Open(u"S"), nullptr);
  EXPECT_FALSE(key->DeleteSubkey(u"k"));
}

TYPED_TEST(RegistryContract, DeletingASubkeyLeavesItsNeighbours) {
  for (const char16_t* path : {u"S\\K", u"S\\K2", u"S\\K-x", u"S\\K]", u"S\\J"}) this->Create(path);
  EXPECT_TRUE(this->Create(u"S")->DeleteSubkey(u"K"));
  for (const char16_t* path : {u"S\\K2", u"S\\K-x", u"S\\K]", u"S\\J"}) {
    EXPECT_NE(this->Open(path), nullptr);
  }
}

TYPED_TEST(RegistryContract, DeletingASubkeyNeverTouchesAValueOfThatName) {
  auto key = this->Create();
  key->Set(u"authuser", RegistryType::kString, "me");
  EXPECT_FALSE(key->DeleteSubkey(u"authuser"));
  EXPECT_EQ(this->Data(*key, u"authuser"), "me");
  this->Create(std::u16string(kPath) + u"\\authuser");
  EXPECT_TRUE(key->DeleteSubkey(u"authuser"));
  EXPECT_EQ(this->Data(*key, u"authuser"), "me");
}

TYPED_TEST(RegistryContract, DeletingNoNameDeletesNothing) {
  auto key = this->Create();
  EXPECT_FALSE(key->DeleteSubkey(u""));
  EXPECT_FALSE(key->DeleteSubkey(u"\\"));
  EXPECT_NE(this->Open(), nullptr);
}

TYPED_TEST(RegistryContract, KeyThatWasDeletedTakesNoWrite) {
  auto key = this->Create();
  key->Set(u"x", RegistryType::kString, "1");
  this->Create(u"Software\\Brindle")->DeleteSubkey(u"Quillet");
  EXPECT_FALSE(key->Get(u"x").has_value());
  EXPECT_FALSE(key->Set(u"x", RegistryType::kString, "2"));
  EXPECT_FALSE(this->Create()->Get(u"x").has_value());
}

TYPED_TEST(RegistryContract, CommitMakesAllWritesOfATransactionStand) {
  auto key = this->Create();
  ASSERT_TRUE(key->Begin());
  EXPECT_TRUE(key->Set(u"a", RegistryType::kString, "1"));
  EXPECT_TRUE(key->Set(u"b", RegistryType::kString, "2"));
  EXPECT_EQ(this->Data(*key, u"a"), "1");
  ASSERT_TRUE(key->Commit());
  key.reset();
  EXPECT_EQ(this->Data(*this->Open(), u"a"), "1");
  EXPECT_EQ(this->Data(*this->Open(), u"b"), "2");
}

TYPED_TEST(RegistryContract, KeyDestroyedInATransactionDropsItsWrites) {
  this->Create()->Set(u"a", RegistryType::kString, "old");
  auto key = this->Create();
  ASSERT_TRUE(key->Begin());
  key->Set(u"a", RegistryType::kString, "new");
  key->Set(u"b", RegistryType::kString, "new");
  key.reset();
  EXPECT_EQ(this->Data(*this->Open(), u"a"), "old");
  EXPECT_EQ(this->Data(*this->Open(), u"b"), "(none)");
  auto next = this->Create();
  EXPECT_TRUE(next->Begin());
  EXPECT_TRUE(next->Set(u"a", RegistryType::kString, "newer"));
  EXPECT_TRUE(next->Commit());
}

TYPED_TEST(RegistryContract, TransactionsDoNotNestAndNeedABegin) {
  auto key = this->Create();
  EXPECT_FALSE(key->Commit());
  ASSERT_TRUE(key->Begin());
  EXPECT_FALSE(key->Begin());
  EXPECT_TRUE(key->Set(u"a", RegistryType::kString, "1"));
  EXPECT_TRUE(key->Commit());
  EXPECT_FALSE(key->Commit());
  EXPECT_EQ(this->Data(*this->Open(), u"a"), "1");
}

TYPED_TEST(RegistryContract, KeyOutlivesTheCallsThatMadeOthers) {
  auto first = this->Create(u"S\\A");
  auto second = this->Create(u"S\\B");
  first->Set(u"x", RegistryType::kString, "1");
  second->Set(u"x", RegistryType::kString, "2");
  EXPECT_EQ(this->Data(*first, u"x"), "1");
  EXPECT_EQ(this->Data(*second, u"x"), "2");
}

TYPED_TEST(RegistryContract, SubkeysAreTheDirectOnesInTheOrderOfTheirFoldedNames) {
  this->Create(u"PMail\\ServiceInfo\\work");
  this->Create(u"PMail\\ServiceInfo\\Home\\deep\\deeper");
  this->Create(u"PMail\\ServiceInfo\\ABROAD");
  this->Create(u"PMail\\ServiceInfo2\\other");
  const auto key = this->Create(u"pmail\\serviceinfo");
  key->Set(u"value", RegistryType::kString, "x");
  EXPECT_EQ(key->Subkeys(), (std::vector<std::u16string>{u"ABROAD", u"Home", u"work"}));
  ASSERT_TRUE(key->DeleteSubkey(u"home"));
  EXPECT_EQ(key->Subkeys(), (std::vector<std::u16string>{u"ABROAD", u"work"}));
  EXPECT_TRUE(this->Open(u"PMail\\ServiceInfo\\work")->Subkeys().empty());
}

TYPED_TEST(RegistryContract, SubkeysOfAKeyThatWasDeletedAreNone) {
  this->Create(u"PMail\\ServiceInfo\\work");
  const auto key = this->Open(u"PMail\\ServiceInfo");
  this->Open(u"PMail")->DeleteSubkey(u"ServiceInfo");
  EXPECT_TRUE(key->Subkeys().empty());
}

}  // namespace
}  // namespace quillet::port
