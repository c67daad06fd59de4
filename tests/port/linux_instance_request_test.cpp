// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/instance_request.h"

#include <gtest/gtest.h>

namespace quillet::port {
namespace {

using Lines = std::vector<std::string>;

TEST(InstanceRequest, FirstLineSaysAllAndTheLastIsKnownToEveryVersion) {
  EXPECT_EQ(LinesOf({}), Lines{"raise"});
  EXPECT_EQ(LinesOf({.download = true, .token = "t"}), Lines{"raise+download"});
  EXPECT_EQ(LinesOf({.token = "a b"}), (Lines{"raise a b", "raise"}));
  EXPECT_EQ(LinesOf({.link = u"news:a"}), (Lines{"link 0  news:a", "raise"}));
  EXPECT_EQ(LinesOf({.token = "a b", .link = u"news:a b\u00E4"}),
            (Lines{"link 3 a b news:a b\xC3\xA4", "raise a b", "raise"}));
}

TEST(InstanceRequest, LinesAreRead) {
  EXPECT_EQ(ParseInstanceRequest("raise"), InstanceRequest{});
  EXPECT_EQ(ParseInstanceRequest("raise+download"), InstanceRequest{.download = true});
  EXPECT_EQ(ParseInstanceRequest("raise a b"), InstanceRequest{.token = "a b"});
  EXPECT_EQ(ParseInstanceRequest("link 0  nntp://h/g/1"), InstanceRequest{.link = u"nntp://h/g/1"});
  EXPECT_EQ(ParseInstanceRequest("link 3 a b news:a b\xC3\xA4"),
            (InstanceRequest{.token = "a b", .link = u"news:a b\u00E4"}));
}

TEST(InstanceRequest, NothingElseIs) {
  for (const char* line : {"",
                           "raised",
                           "raise+",
                           "raise+download x",
                           "link",
                           "link ",
                           "link 0",
                           "link 0 ",
                           "link 0  ",
                           "link 0 news:a",
                           "link 1  news:a",
                           "link 99 a news:a",
                           "link -1 a news:a",
                           "link x a news:a",
                           "link 99999999999999999999 a news:a",
                           "link 0  http://x/",
                           "link 0  --help",
                           "link  news:a",
                           "linknews:a",
                           "link 0  news:a\x01",
                           "raise a\x7F",
                           "Raise"}) {
    EXPECT_EQ(ParseInstanceRequest(line), std::nullopt) << line;
  }
}

}  // namespace
}  // namespace quillet::port
