// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/profile.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

using Action = Arguments::Action;

Arguments Parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "quillet");
  return ParseArguments(static_cast<int>(arguments.size()), arguments.data());
}

TEST(ParseArguments, NothingIsTheUsersOwnProfile) {
  const Arguments arguments = Parse({});
  EXPECT_EQ(arguments.action, Action::kRun);
  EXPECT_EQ(arguments.profile, "");
  EXPECT_EQ(arguments.CommandLine(), u"");
}

TEST(ParseArguments, ProfileIsTakenOutOfTheCommandLine) {
  for (const Arguments& arguments :
       {Parse({"--profile", "/p q", "AppRunAtTime"}), Parse({"AppRunAtTime", "--profile=/p q"})}) {
    EXPECT_EQ(arguments.action, Action::kRun);
    EXPECT_EQ(arguments.profile, "/p q");
    EXPECT_EQ(arguments.CommandLine(), u"AppRunAtTime");
  }
}

TEST(ParseArguments, HelpAndVersion) {
  EXPECT_EQ(Parse({"--help"}).action, Action::kHelp);
  EXPECT_EQ(Parse({"--version"}).action, Action::kVersion);
  EXPECT_NE(HelpText("quillet").find("--profile DIR"), std::string::npos);
  EXPECT_EQ(VersionText("quillet"), "quillet (Quillet CE) 1.14r3\n");
}

TEST(ParseArguments, AnythingElseIsAnError) {
  const std::pair<std::vector<const char*>, const char*> wrong[] = {
      {{"apprunattime"}, "unknown argument 'apprunattime'"},
      {{"AppRunAtTime "}, "unknown argument 'AppRunAtTime '"},
      {{"AppRunAtTime", "AppRunAtTime"}, "unknown argument 'AppRunAtTime'"},
      {{"--frobnicate"}, "unknown argument '--frobnicate'"},
      {{"-h"}, "unknown argument '-h'"},
      {{""}, "unknown argument ''"},
      {{"--profile"}, "--profile needs a folder"},
      {{"--profile", ""}, "--profile needs a folder"},
      {{"--profile="}, "--profile needs a folder"},
      {{"--profile", "a", "--profile=b"}, "--profile is given twice"},
      {{"-style", "news:a"}, "unknown argument '-style'"},
      {{"--", "--help"}, "unknown argument '--help'"},
      {{"--", "--"}, "unknown argument '--'"},
      {{"--", ""}, "unknown argument ''"},
      {{"snews:a"}, "unknown argument 'snews:a'"},
      {{"news:a", "news:b"}, "a link must be the only argument besides options"},
      {{"AppRunAtTime", "nntp://h/g"}, "a link must be the only argument besides options"},
      {{"news:a", "AppRunAtTime"}, "unknown argument 'AppRunAtTime'"},
  };
  for (const auto& [arguments, error] : wrong) {
    const Arguments parsed = Parse(arguments);
    EXPECT_EQ(parsed.action, Action::kWrong) << error;
    EXPECT_EQ(parsed.error, error);
  }
  EXPECT_EQ(kExitUsage, 2);
}

TEST(ParseArguments, LinkIsNoPartOfTheCommandLine) {
  for (const Arguments& arguments :
       {Parse({"--profile", "/p", "news:--help"}), Parse({"--profile=/p", "--", "news:--help"}),
        Parse({"news:--help", "--profile", "/p"})}) {
    EXPECT_EQ(arguments.action, Action::kRun);
    EXPECT_EQ(arguments.link, u"news:--help");
    EXPECT_EQ(arguments.profile, "/p");
    EXPECT_EQ(arguments.CommandLine(), u"");
  }
  EXPECT_EQ(Parse({"NNTP://h/g/1"}).link, u"NNTP://h/g/1");
  EXPECT_EQ(Parse({}).link, u"");
  EXPECT_EQ(Parse({"--", "AppRunAtTime"}).CommandLine(), u"AppRunAtTime");
}

TEST(ParseArguments, LinkIsShortAndHasNoControlCharacters) {
  EXPECT_EQ(Parse({"news:a\nraise+download"}).link, u"news:a\uFFFDraise+download");
  EXPECT_EQ(Parse({"news:\x1B\x7F\xC2\x85\xFF"}).link, u"news:\uFFFD\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Parse({"news:gr\xC3\xBC"}).link, u"news:gr\u00FC");
  const std::string longest = "news:" + std::string(2043, 'a');
  EXPECT_EQ(Parse({longest.c_str()}).link.size(), 2048U);
  const std::string huge = "news:" + std::string(1 << 20, 'a');
  EXPECT_EQ(Parse({huge.c_str()}).link.size(), 2049U);
}

TEST(ParseArguments, WrongArgumentIsShownInAShortLine) {
  const std::string huge(1 << 20, 'a');
  EXPECT_EQ(Parse({huge.c_str()}).error, "unknown argument '" + std::string(100, 'a') + "...'");
  EXPECT_EQ(Parse({"\x1B[2J\n\xFF"}).error,
            "unknown argument '\xEF\xBF\xBD[2J\xEF\xBF\xBD\xEF\xBF\xBD'");
}

TEST(LocateProfile, OwnProfileFollowsTheDesktopsVariables) {
  const Environment config("XDG_CONFIG_HOME", "/c");
  const Environment data("XDG_DATA_HOME", "/d");
  const Environment runtime("XDG_RUNTIME_DIR", "/r");
  const Profile profile = LocateProfile("");
  EXPECT_EQ(profile.name, "");
  EXPECT_EQ(profile.RegistryFile(), "/c/quillet/registry.db");
  EXPECT_EQ(profile.data_folder, "/d/quillet");
  EXPECT_EQ(profile.runtime_folder, "/r/quillet");
  EXPECT_EQ(profile.config_home, "/c");
}

TEST(LocateProfile, WithoutVariablesOrWithRelativeOnesTheHomeFolderCounts) {
  const Environment home("HOME", "/home/me");
  const Environment config("XDG_CONFIG_HOME", "relative");
  const Environment data("XDG_DATA_HOME", std::nullopt);
  const Environment runtime("XDG_RUNTIME_DIR", "");
  const Profile profile = LocateProfile("");
  EXPECT_EQ(profile.config_folder, "/home/me/.config/quillet");
  EXPECT_EQ(profile.data_folder, "/home/me/.local/share/quillet");
  EXPECT_EQ(profile.runtime_folder, profile.config_folder);
}

TEST(LocateProfile, WithoutAHomeVariableTheUsersEntryCounts) {
  const Environment home("HOME", std::nullopt);
  const Environment config("XDG_CONFIG_HOME", std::nullopt);
  const std::string folder = LocateProfile("").config_folder;
  EXPECT_EQ(folder.front(), '/');
  EXPECT_NE(folder.find("/.config/quillet"), std::string::npos);
}

TEST(LocateProfile, NamedProfileKeepsAllInItsFolder) {
  const Environment config("XDG_CONFIG_HOME", "/c");
  const Profile profile = LocateProfile("/p/./x/../q/");
  EXPECT_EQ(profile.name, "/p/q");
  EXPECT_EQ(profile.RegistryFile(), "/p/q/registry.db");
  EXPECT_EQ(profile.data_folder, "/p/q/data");
  EXPECT_EQ(profile.runtime_folder, "/p/q");
  EXPECT_EQ(profile.config_home, "/c");
}

TEST(LocateProfile, RelativeNameIsMadeAbsolute) {
  const Profile profile = LocateProfile("some/where");
  EXPECT_EQ(profile.name, (std::filesystem::current_path() / "some/where").string());
}

TEST(PrepareProfile, FoldersAreMadeForTheUserAlone) {
  const TempFolder folder;
  const mode_t old = umask(0);
  const Profile profile = LocateProfile(folder / "a/b");
  EXPECT_EQ(PrepareProfile(profile), "");
  EXPECT_EQ(PrepareProfile(profile), "");
  umask(old);
  for (const char* name : {"a", "a/b", "a/b/data"}) EXPECT_EQ(ModeOf(folder / name), 0700U);
}

TEST(PrepareProfile, FolderThatCannotBeMadeIsNamed) {
  const TempFolder folder;
  WriteAll(folder / "file", "");
  EXPECT_EQ(PrepareProfile(LocateProfile(folder / "file/x")),
            "cannot create the folder " + folder.path() + "/file/x");
}

TEST(OwnExecutable, IsAnAbsolutePathOfAFile) {
  EXPECT_TRUE(std::filesystem::is_regular_file(OwnExecutable()));
}

}  // namespace
}  // namespace quillet::port
