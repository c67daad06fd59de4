// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/domain_name.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet {
namespace {

TEST(DomainName, HasTwoLabelsAtLeast) {
  EXPECT_TRUE(IsPlausibleDomain("example.org"));
  EXPECT_TRUE(IsPlausibleDomain("News-1.Example.ORG"));
  EXPECT_FALSE(IsPlausibleDomain("localhost"));
  EXPECT_FALSE(IsPlausibleDomain(""));
}

TEST(DomainName, HasNoEmptyLabels) {
  for (const char* domain : {".", ".a.b", "a..b", "a.b."}) {
    EXPECT_FALSE(IsPlausibleDomain(domain)) << domain;
  }
}

TEST(DomainName, HasHyphensInsideALabelOnly) {
  for (const char* domain : {"-a.b", "a-.b", "a.-b", "a.b-"}) {
    EXPECT_FALSE(IsPlausibleDomain(domain)) << domain;
  }
}

TEST(DomainName, HasNothingElse) {
  for (const char* domain : {"a b.c", "a_b.c", "a.c>", "a.\r\nb", "\xE9.org"}) {
    EXPECT_FALSE(IsPlausibleDomain(domain)) << domain;
  }
}

TEST(DomainName, IsNoLongerThanTheNetTakes) {
  const std::string label(63, 'a');
  EXPECT_TRUE(IsPlausibleDomain(label + ".b"));
  EXPECT_FALSE(IsPlausibleDomain(label + "a.b"));
  const std::string three = label + "." + label + "." + label + ".";
  EXPECT_TRUE(IsPlausibleDomain(three + std::string(61, 'b')));
  EXPECT_FALSE(IsPlausibleDomain(three + std::string(62, 'b')));
}

}  // namespace
}  // namespace quillet
