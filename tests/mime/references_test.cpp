// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/references.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> Ids(std::string_view field) {
  ReferencedIds ids(field);
  std::vector<std::string> found;
  for (std::string_view id = ids.Next(); !id.empty(); id = ids.Next()) found.emplace_back(id);
  EXPECT_EQ(ids.Next(), "");
  return found;
}

TEST(ReferencesField, IsTheLineOfThatName) {
  EXPECT_EQ(ReferencesField("Path: a\r\nReferences: <1@x>\r\nLines: 1"), " <1@x>\r\n");
  EXPECT_EQ(ReferencesField("References: <1@x>"), " <1@x>");
  EXPECT_EQ(ReferencesField("rEFERENCES:<1@x>\nLines: 1"), "<1@x>\n");
  EXPECT_EQ(ReferencesField(""), "");
  EXPECT_EQ(ReferencesField("Path: a\r\nLines: 1"), "");
  EXPECT_EQ(ReferencesField("Reference"), "");
  EXPECT_EQ(ReferencesField("References:"), "");
}

TEST(ReferencesField, GoesOnWithTheLinesThatBeginWithABlank) {
  EXPECT_EQ(ReferencesField("References: <1@x>\r\n <2@x>\r\n\t<3@x>\r\nLines: 1"),
            " <1@x>\r\n <2@x>\r\n\t<3@x>\r\n");
  EXPECT_EQ(ReferencesField("References:\r\n <1@x>"), "\r\n <1@x>");
  EXPECT_EQ(ReferencesField("References: <1@x>\n \n <2@x>\n\n <3@x>"), " <1@x>\n \n <2@x>\n");
}

TEST(ReferencesField, IsNoPartOfAnotherName) {
  EXPECT_EQ(ReferencesField("X-References: <0@x>\r\nReferences: <1@x>"), " <1@x>");
  EXPECT_EQ(ReferencesField("Comment: References: <0@x>\r\n References: <1@x>"), "");
}

TEST(ReferencesField, OfTwoTheFirstCounts) {
  EXPECT_EQ(ReferencesField("References: <1@x>\nReferences: <2@x>"), " <1@x>\n");
}

TEST(ReferencedIds, ComeFromTheLastToTheFirst) {
  EXPECT_THAT(Ids(" <1@x> <2@x>\r\n <3@x>\r\n\t<4@x>\r\n"),
              ElementsAre("<4@x>", "<3@x>", "<2@x>", "<1@x>"));
  EXPECT_THAT(Ids("<1@x>"), ElementsAre("<1@x>"));
  EXPECT_THAT(Ids(""), IsEmpty());
  EXPECT_THAT(Ids(" \r\n\t "), IsEmpty());
}

TEST(ReferencedIds, NeedNoBlankBetweenBrackets) {
  EXPECT_THAT(Ids("<1@x><2@x>,<3@x>"), ElementsAre("<3@x>", ",", "<2@x>", "<1@x>"));
}

TEST(ReferencedIds, MayHoldBlanksInBrackets) {
  EXPECT_THAT(Ids("<1@x> <2 @ x>"), ElementsAre("<2 @ x>", "<1@x>"));
}

TEST(ReferencedIds, WhatIsNoIdIsAWord) {
  EXPECT_THAT(Ids("<1@x> (Ann's of 10:20) <2@x>"),
              ElementsAre("<2@x>", "10:20)", "of", "(Ann's", "<1@x>"));
  EXPECT_THAT(Ids("<1@x> <cut@x"), ElementsAre("<cut@x", "<1@x>"));
  EXPECT_THAT(Ids("<cut@x <2@x>"), ElementsAre("<2@x>", "<cut@x"));
  EXPECT_THAT(Ids("cut@x> <2@x>"), ElementsAre("<2@x>", "cut@x>"));
  EXPECT_THAT(Ids("bare@x other@x"), ElementsAre("other@x", "bare@x"));
  EXPECT_THAT(Ids("<a>b>"), ElementsAre("b>", "<a>"));
  EXPECT_THAT(Ids("> > <"), ElementsAre("<", ">", ">"));
}

TEST(ReferencedIds, EndlessBracketsAreReadOnce) {
  for (const char* piece : {">", "<", "<>", "a>", " >", "<a", "a a a a a a a a> "}) {
    std::string field;
    while (field.size() < 500'000) field += piece;
    std::size_t length = 0;
    ReferencedIds ids(field);
    for (std::string_view id = ids.Next(); !id.empty(); id = ids.Next()) length += id.size();
    EXPECT_LE(length, field.size()) << piece;
    EXPECT_GE(length, field.size() / 3) << piece;
  }
}

}  // namespace
}  // namespace quillet
