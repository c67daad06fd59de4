// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/guide_file.h"

#include <gtest/gtest.h>

#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

void MakeFile(const std::string& path) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << "<!DOCTYPE html>";
}

TEST(GuideFile, LiesBesideTheProgramInAnyPrefix) {
  const TempFolder folder;
  const std::string prefix = folder / "a prefix with blanks, %20 and \xFC";
  EXPECT_EQ(GuideBeside(prefix + "/bin/quillet"), "");
  MakeFile(prefix + "/share/quillet/guide/user-guide.html");
  EXPECT_EQ(GuideBeside(prefix + "/bin/quillet"), prefix + "/share/quillet/guide/user-guide.html");
}

TEST(GuideFile, AFolderOfThatNameIsNone) {
  const TempFolder folder;
  std::filesystem::create_directories(folder / "share/quillet/guide/user-guide.html");
  EXPECT_EQ(GuideBeside(folder / "bin/quillet"), "");
}

// The build folder's own guide lies where its programs find it, and no test lies there.
TEST(GuideFile, OfThisProgramIsLookedForBesideIt) {
  EXPECT_EQ(GuideFile(), GuideBeside(std::filesystem::read_symlink("/proc/self/exe").string()));
}

}  // namespace
}  // namespace quillet::port
