// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "base/prefs_fields.h"
#include "tests/base/prefs_test_device.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::u16string_view kCurrentSignature =
    u"-- \r\nPosted with Quillet (for PocketPC) from Brindle Software, Inc.\r\n"
    u"All the news that fits in your pocket: http://www.brindle.example/\r\n";

class ReadPrefs : public PrefsTest {
 protected:
  void Read() {
    ReadPreferences();
    ASSERT_TRUE(gPrefs);
  }
};

// --- Defaults ------------------------------------------------------------------------------------

TEST_F(ReadPrefs, MissingKeyGivesEveryDefault) {
  Read();
  const Prefs& p = *gPrefs;
  EXPECT_EQ(p.version, 2U);
  for (const std::uint32_t zero :
       {p.numgroups,         p.numrecips,        p.numservers,     p.selectedserver,
        p.useautodownload,   p.onlinemode,       p.showheaders,    p.removecrs,
        p.downloadmn,        p.downloadsc,       p.killfilecount,  p.prefspage,
        p.skipverifications, p.reversethread,    p.downloadnewest, p.alwaystransport,
        p.usecompression,    p.allserversareone, p.sidetabs,       p.autodeleteread,
        p.autodeletebefore,  p.autodeleteonquit, p.keeptranslog}) {
    EXPECT_EQ(zero, 0U);
  }
  for (const std::uint32_t one :
       {p.keepheaders, p.downloadfull, p.beepafter, p.colorquoted, p.simplepost, p.usethreading}) {
    EXPECT_EQ(one, 1U);
  }
  ExpectFactoryValues(p);
  EXPECT_EQ(p.signature, kCurrentSignature);
  EXPECT_EQ(p.databasestore, u"");
  EXPECT_EQ(p.transport, u"");
  EXPECT_TRUE(p.has_transport);
  EXPECT_EQ(p.databasefolder, u"\\Quillet CE News");
  EXPECT_EQ(p.columnWidths, (std::array<std::int32_t, 2>{0, 0}));
  EXPECT_THAT(p.groups, IsEmpty());
  EXPECT_THAT(p.servers, IsEmpty());
  for (const CommandBarBlob& bar : gCommandBars) {
    EXPECT_FALSE(bar.found);
    EXPECT_THAT(bar.bytes, Each('\0'));
  }
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_FALSE(fake.registry.KeyExists(kTestKey));
}

TEST_F(ReadPrefs, MissingListValuesBehindACountAreDefaults) {
  PutDword(u"numgroups", 2);
  PutDword(u"numservers", 1);
  PutDword(u"numrecips", 1);
  Read();
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"", u""));
  EXPECT_THAT(gPrefs->checked, ElementsAre(0U, 0U));
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(0U, 0U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(0U, 0U));
  EXPECT_THAT(gPrefs->servers, ElementsAre(u""));
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u""));
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u""));
  EXPECT_THAT(gPrefs->port, ElementsAre(119U));
  EXPECT_THAT(gPrefs->useauths, ElementsAre(0U));
  EXPECT_THAT(gPrefs->usentlms, ElementsAre(0U));
  EXPECT_THAT(gPrefs->prevnames, ElementsAre(u""));
  EXPECT_THAT(gPrefs->prevemail, ElementsAre(u""));
}

TEST_F(ReadPrefs, ValuesAreReadInTheirOrder) {
  PutDword(u"numgroups", 1);
  PutDword(u"numservers", 1);
  PutDword(u"numrecips", 1);
  PutDword(u"killfilecount", 1);
  PutList(u"killfiletexts", std::u16string_view(u"k\0\0", 3));
  NotingRegistry noting(fake.registry);
  const OtherRegistry other(noting);
  Read();
  // A list is looked at more than once: the last time counts.
  std::vector<std::u16string> order;
  for (auto entry = noting.log.rbegin(); entry != noting.log.rend(); ++entry) {
    if (std::ranges::find(order, *entry) == order.end()) order.insert(order.begin(), *entry);
  }
  EXPECT_THAT(
      order,
      ElementsAre(u"get version", u"delete key multipleservers", u"get numgroups", u"get numrecips",
                  u"get numservers", u"get selectedserver", u"get useautodownload",
                  u"get keepheaders", u"get downloadfull", u"get onlinemode", u"get beepafter",
                  u"get showheaders", u"get removecrs", u"get colorquoted", u"get maxstore",
                  u"get maxarticles", u"get fontsize", u"get groupfontsize", u"get threadfontsize",
                  u"get articleheaderfontsize", u"get maxarticlesize", u"get simplepost",
                  u"get downloadhr", u"get downloadmn", u"get downloadsc", u"get killfilecount",
                  u"get prefspage", u"get skipverifications", u"get usethreading",
                  u"get reversethread", u"get downloadnewest", u"get alwaystransport",
                  u"get usecompression", u"get allserversareone", u"get sidetabs",
                  u"get autodelete", u"get lastdownloaded", u"get lastonserver",
                  u"get killfilegroups", u"get port", u"get checked", u"get killfilekills",
                  u"get killfileauthors", u"get useauths", u"get usentlms", u"get articlecb",
                  u"get threadcb", u"get groupcb", u"get groups", u"get servers", u"get authusers",
                  u"get authpasses", u"get prevnames", u"get prevemail", u"get killfileTexts",
                  u"get returnmailaddress", u"get attribution", u"get extraheaders",
                  u"get quotestring", u"get signature", u"get fullname", u"get font",
                  u"get groupfont", u"get threadfont", u"get articleheaderfont", u"get conxmethod",
                  u"get databasestore", u"get transport", u"get columnWidths", u"get passwordset"));
}

// --- Single values -------------------------------------------------------------------------------

TEST_F(ReadPrefs, StoredValuesReplaceTheDefaults) {
  PutDword(u"MAXARTICLES", 0xFFFFFFFF);
  PutDword(u"fontsize", 8);
  PutDword(u"keepheaders", 0);
  fake.registry.PutString(kTestKey, u"FullName", u"A \x20AC name");
  fake.registry.PutString(kTestKey, u"transport", u"SMTP");
  Put(u"columnWidths", RegistryType::kDword, Bytes32({150, 0xFFFFFFFF}));
  Put(u"threadcb", RegistryType::kBinary, std::string(40, 't'));
  Read();
  EXPECT_EQ(gPrefs->maxarticles, 0xFFFFFFFF);
  EXPECT_EQ(gPrefs->fontsize, 8U);
  EXPECT_EQ(gPrefs->keepheaders, 0U);
  EXPECT_EQ(gPrefs->fullname, u"A \x20AC name");
  EXPECT_EQ(gPrefs->transport, u"SMTP");
  EXPECT_EQ(gPrefs->columnWidths, (std::array<std::int32_t, 2>{150, -1}));
  EXPECT_FALSE(gCommandBars[0].found);
  EXPECT_TRUE(gCommandBars[1].found);
  EXPECT_THAT(gCommandBars[1].bytes, Each('t'));
  EXPECT_FALSE(gCommandBars[2].found);
}

TEST_F(ReadPrefs, NumberOfAnotherTypeOrSizeReadsAsItsDefault) {
  Put(u"maxarticles", RegistryType::kBinary, Bytes32({7}));
  Put(u"maxstore", RegistryType::kDword, "ab");
  Put(u"maxarticlesize", RegistryType::kDword, Bytes32({1, 2}));
  Put(u"downloadhr", RegistryType::kString, Bytes16(u"12"));
  Put(u"version", RegistryType::kString, Bytes16(u"1"));
  Read();
  EXPECT_EQ(gPrefs->maxarticles, 50U);
  EXPECT_EQ(gPrefs->maxstore, 98U);
  EXPECT_EQ(gPrefs->maxarticlesize, 4U);
  EXPECT_EQ(gPrefs->downloadhr, 6U);
  EXPECT_EQ(gPrefs->version, 2U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ReadPrefs, AutoDeleteIsThreeFlagsAndIgnoresOtherBits) {
  PutDword(u"autodelete", 0xFFFFFFF1 | 8);
  Read();
  EXPECT_EQ(gPrefs->autodeleteread, 0U);
  EXPECT_EQ(gPrefs->autodeletebefore, 0U);
  EXPECT_EQ(gPrefs->autodeleteonquit, 1U);
  PutDword(u"autodelete", 2 | 4);
  Read();
  EXPECT_EQ(gPrefs->autodeleteread, 1U);
  EXPECT_EQ(gPrefs->autodeletebefore, 1U);
  EXPECT_EQ(gPrefs->autodeleteonquit, 0U);
}

TEST_F(ReadPrefs, NoSelectedServerLoadsAsTheFirst) {
  PutDword(u"selectedserver", 0xFFFFFFFF);
  Read();
  EXPECT_EQ(gPrefs->selectedserver, 0U);
}

TEST_F(ReadPrefs, SelectedServerBeyondTheListLoadsAsTheFirst) {
  PutDword(u"numservers", 2);
  PutDword(u"selectedserver", 1);
  Read();
  EXPECT_EQ(gPrefs->selectedserver, 1U);
  PutDword(u"selectedserver", 2);
  Read();
  EXPECT_EQ(gPrefs->selectedserver, 0U);
}

TEST_F(ReadPrefs, TextOf1023CharactersIsReadAndOneMoreIsTheDefault) {
  const std::u16string longest(1023, u'n');
  fake.registry.PutString(kTestKey, u"fullname", longest);
  Read();
  EXPECT_EQ(gPrefs->fullname, longest);
  fake.registry.PutString(kTestKey, u"fullname", longest + u"n");
  Read();
  EXPECT_EQ(gPrefs->fullname, u"My Name");
  // Without its NUL it would fit the buffer, but not as a text.
  Put(u"fullname", RegistryType::kString, Bytes16(longest + u"n"));
  Read();
  EXPECT_EQ(gPrefs->fullname, u"My Name");
}

TEST_F(ReadPrefs, TextEndsAtItsFirstNulOrAtItsEnd) {
  Put(u"fullname", RegistryType::kString, Bytes16(std::u16string_view(u"ab\0cd\0", 6)));
  Put(u"font", RegistryType::kString, Bytes16(u"ab") + "x");
  Put(u"groupfont", RegistryType::kString, "");
  Read();
  EXPECT_EQ(gPrefs->fullname, u"ab");
  EXPECT_EQ(gPrefs->font, u"ab");
  EXPECT_EQ(gPrefs->groupfont, u"");
}

TEST_F(ReadPrefs, TextOfAnotherTypeReadsAsItsDefault) {
  Put(u"fullname", RegistryType::kBinary, Bytes16(u"ab"));
  Put(u"font", RegistryType::kMultiString, Bytes16(std::u16string_view(u"ab\0\0", 4)));
  Read();
  EXPECT_EQ(gPrefs->fullname, u"My Name");
  EXPECT_EQ(gPrefs->font, u"Arial");
}

TEST_F(ReadPrefs, LegacySizesAndLeftoversAreIgnored) {
  for (const auto name : {u"groupsize", u"emailsize", u"namessize", u"usersize", u"passsize",
                          u"serversize", u"killfilesize", u"multipleservers", u"useauth"}) {
    PutDword(name, 0xFFFFFFFF);
  }
  Read();
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_EQ(gPrefs->numgroups, 0U);
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"multipleservers"), 0xFFFFFFFF);
}

// --- Lists ---------------------------------------------------------------------------------------

TEST_F(ReadPrefs, WordArraysOfAnotherSizeGiveTheirBeginning) {
  PutDword(u"numgroups", 2);
  PutDword(u"numservers", 2);
  Put(u"checked", RegistryType::kBinary, Bytes32({1}));
  Put(u"lastdownloaded", RegistryType::kBinary, Bytes32({1, 2, 3, 4, 5}));
  Put(u"lastonserver", RegistryType::kBinary, Bytes32({8}) + "xyz");
  Put(u"useauths", RegistryType::kDword, Bytes32({1, 1}));
  Read();
  EXPECT_THAT(gPrefs->checked, ElementsAre(1U, 0U));
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(1U, 2U, 3U, 4U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(8U, 0U, 0U, 0U));
  EXPECT_THAT(gPrefs->useauths, ElementsAre(0U, 0U));
}

struct Range {
  std::u16string_view name;
  std::uint32_t Prefs::*member;
  std::uint32_t least, most, fallback;
};

constexpr std::uint32_t kAnyNumber = 0xFFFFFFFF;
constexpr auto kRanges = std::to_array<Range>({
    {u"downloadhr", &Prefs::downloadhr, 0, 23, 6},
    {u"downloadmn", &Prefs::downloadmn, 0, 59, 0},
    {u"downloadsc", &Prefs::downloadsc, 0, 59, 0},
    {u"maxstore", &Prefs::maxstore, 0, 100, 98},
    {u"maxarticles", &Prefs::maxarticles, 1, kAnyNumber, 50},
    {u"maxarticlesize", &Prefs::maxarticlesize, 1, 4194303, 4},
    {u"fontsize", &Prefs::fontsize, 0, 8, 2},
    {u"groupfontsize", &Prefs::groupfontsize, 0, 8, 3},
    {u"threadfontsize", &Prefs::threadfontsize, 0, 8, 3},
    {u"articleheaderfontsize", &Prefs::articleheaderfontsize, 0, 8, 3},
    {u"sidetabs", &Prefs::sidetabs, 0, 2, 0},
    {u"prefspage", &Prefs::prefspage, 0, 16, 0},
});

TEST_F(ReadPrefs, NumbersInTheirRangesAreTaken) {
  for (const Range& range : kRanges) {
    for (const std::uint32_t number : {range.least, range.most}) {
      PutDword(range.name, number);
      Read();
      EXPECT_EQ((*gPrefs).*range.member, number) << Hex(Bytes16(range.name));
    }
  }
  ASSERT_TRUE(WritePreferences());
  EXPECT_FALSE(fake.registry.KeyExists(kDamagedKey));
}

TEST_F(ReadPrefs, NumbersOutsideTheirRangesCountAsTheirDefaults) {
  for (const Range& range : kRanges) {
    for (const std::uint32_t number :
         {range.least - 1, range.most + 1, 0x7FFFFFFFU, 0x80000000U, kAnyNumber}) {
      if (number >= range.least && number <= range.most) continue;
      PutDword(range.name, number);
      Read();
      EXPECT_EQ((*gPrefs).*range.member, range.fallback) << Hex(Bytes16(range.name)) << number;
    }
  }
}

TEST_F(ReadPrefs, PortsThatCannotBeAreTheStandardPort) {
  PutDword(u"numservers", 5);
  Put(u"port", RegistryType::kBinary, Bytes32({0, 1, 65535, 65536, 0xFFFFFFFF}));
  Read();
  EXPECT_THAT(gPrefs->port, ElementsAre(119U, 1U, 65535U, 119U, 119U));
}

TEST_F(ReadPrefs, ANumberThatWasNotTakenIsKeptBesideTheSettings) {
  PutDword(u"downloadhr", 2147483647);
  Read();
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"downloadhr"), 6U);
  EXPECT_EQ(fake.registry.FindDword(kDamagedKey, u"downloadhr"), 2147483647U);
}

TEST_F(ReadPrefs, PortsOfAnotherSizeAreAllTheStandardPort) {
  PutDword(u"numservers", 2);
  Put(u"port", RegistryType::kBinary, Bytes32({1119}));
  Read();
  EXPECT_THAT(gPrefs->port, ElementsAre(119U, 119U));
  Put(u"port", RegistryType::kBinary, Bytes32({1119, 563, 1}));
  Read();
  EXPECT_THAT(gPrefs->port, ElementsAre(119U, 119U));
  Put(u"port", RegistryType::kBinary, Bytes32({1119, 563}));
  Read();
  EXPECT_THAT(gPrefs->port, ElementsAre(1119U, 563U));
}

TEST_F(ReadPrefs, BlobsOfAnotherSizeGiveTheirBeginning) {
  Put(u"groupcb", RegistryType::kBinary, "abc");
  Put(u"articlecb", RegistryType::kBinary, std::string(41, 'z'));
  Put(u"columnWidths", RegistryType::kDword, Bytes32({77}));
  Read();
  EXPECT_TRUE(gCommandBars[0].found);
  EXPECT_EQ(std::string(gCommandBars[0].bytes.data(), 40), "abc" + std::string(37, '\0'));
  EXPECT_TRUE(gCommandBars[2].found);
  EXPECT_THAT(gCommandBars[2].bytes, Each('z'));
  EXPECT_EQ(gPrefs->columnWidths, (std::array<std::int32_t, 2>{77, 0}));
}

TEST_F(ReadPrefs, ServerValuesWithoutACountAreIgnored) {
  PutList(u"servers", std::u16string_view(u"a\0\0", 3));
  Put(u"port", RegistryType::kBinary, Bytes32({1119}));
  Read();
  EXPECT_THAT(gPrefs->servers, IsEmpty());
  EXPECT_THAT(gPrefs->port, IsEmpty());
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Hex(Stored(u"servers")), "610000000000");
  EXPECT_FALSE(fake.registry.KeyExists(kDamagedKey));
}

TEST_F(ReadPrefs, KillfileCountIsCutToTheTextsReallyThere) {
  PutDword(u"killfilecount", 0xFFFFFFFF);
  PutList(u"KILLFILETEXTS", std::u16string_view(u"\x20AC\0b\0\0", 5));
  Put(u"killfilegroups", RegistryType::kBinary, Bytes32({1, 2, 3}));
  Put(u"killfilekills", RegistryType::kBinary, Bytes32({1}));
  testing::TakeLargestNew();
  Read();
  EXPECT_LT(testing::TakeLargestNew(), 65536U);
  EXPECT_EQ(gPrefs->killfilecount, 2U);
  EXPECT_THAT(gPrefs->killfiletexts, ElementsAre("\x80", "b"));
  EXPECT_THAT(gPrefs->killfilegroups, ElementsAre(1U, 2U));
  EXPECT_THAT(gPrefs->killfilekills, ElementsAre(1U, 0U));
  EXPECT_THAT(gPrefs->killfileauthors, ElementsAre(0U, 0U));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- Versions ------------------------------------------------------------------------------------

TEST_F(ReadPrefs, NewerVersionIsSaidOnceAndLoadsNormally) {
  PutDword(u"version", 3);
  PutDword(u"maxarticles", 9);
  Read();
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"The preferences on this machine are newer than the version of Quillet "
                          u"CE that you are using. Continuing may have unexpected results unless "
                          u"you reset your preferences to their default values."));
  EXPECT_EQ(gPrefs->maxarticles, 9U);
  EXPECT_EQ(gPrefs->version, 3U);
}

class Version1 : public ReadPrefs {
 protected:
  Version1() {
    PutDword(u"version", 1);
    PutDword(u"numservers", 2);
    PutList(u"servers", std::u16string_view(u"a\0b\0\0", 5));
  }
  void PutLogin() {
    PutDword(u"useauth", 1);
    PutDword(u"usentlm", 5);
    fake.registry.PutString(kTestKey, u"authuser", u"me");
    fake.registry.PutString(kTestKey, u"authpass", u"secret");
    PutDword(u"emailsize", 44);
  }

  const std::u16string converted_ =
      u"The news server login preferences have changed, and your old entries have been converted. "
      u"If you have multiple news servers, you should make sure that the login credentials are "
      u"correct for each server.";
};

TEST_F(Version1, LoginBecomesTheLoginOfEveryServer) {
  PutLogin();
  Read();
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u"me", u"me"));
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"secret", u"secret"));
  EXPECT_THAT(gPrefs->useauths, ElementsAre(1U, 1U));
  EXPECT_THAT(gPrefs->usentlms, ElementsAre(5U, 5U));
  EXPECT_EQ(gPrefs->version, 2U);
  EXPECT_THAT(BoxTexts(), ElementsAre(converted_));
  EXPECT_EQ(Hex(Stored(u"authusers")),
            "6d00650000006d0065000000"
            "0000");
  EXPECT_EQ(Hex(Stored(u"useauths")), "0100000001000000");
  EXPECT_EQ(fake.registry.Find(kTestKey, u"useauths")->type, RegistryType::kBinary);
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"version"), 2U);
}

TEST_F(Version1, OldValuesStayWhereTheyAre) {
  PutLogin();
  NotingRegistry noting(fake.registry);
  const OtherRegistry other(noting);
  Read();
  EXPECT_EQ(fake.registry.FindString(kTestKey, u"authuser"), u"me");
  EXPECT_EQ(fake.registry.FindString(kTestKey, u"authpass"), u"secret");
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"useauth"), 1U);
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"emailsize"), 44U);
  std::vector<std::u16string> changes;
  for (const std::u16string& entry : noting.log) {
    if (!entry.starts_with(u"get ")) changes.push_back(entry);
  }
  EXPECT_THAT(
      changes,
      ElementsAre(u"delete key authuser", u"delete key authpass", u"delete key useauth",
                  u"delete key emailsize", u"delete key namessize", u"delete key groupsize",
                  u"delete key usersize", u"delete key passsize", u"delete key serversize",
                  u"begin", u"set authusers", u"set authpasses", u"set useauths", u"set usentlms",
                  u"set version", u"commit", u"delete key multipleservers"));
}

TEST_F(Version1, IsConvertedOnlyOnce) {
  PutLogin();
  Read();
  fake.display.ForgetBoxes();
  fake.registry.PutString(kTestKey, u"authuser", u"other");
  Read();
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u"me", u"me"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(Version1, EmptyLoginIsConvertedSilently) {
  Read();
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u"", u""));
  EXPECT_EQ(Hex(Stored(u"authusers")), "00e0000000e000000000");
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"version"), 2U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(Version1, AnyOneOfTheLoginValuesIsWorthTelling) {
  PutDword(u"useauth", 2);
  Read();
  EXPECT_EQ(BoxTexts().size(), 1U);
  PutDword(u"version", 1);
  PutDword(u"useauth", 0);
  fake.registry.PutString(kTestKey, u"authpass", u"p");
  Read();
  EXPECT_EQ(BoxTexts().size(), 2U);
  PutDword(u"version", 1);
  fake.registry.PutString(kTestKey, u"authpass", u"");
  fake.registry.PutString(kTestKey, u"authuser", u"u");
  Read();
  EXPECT_EQ(BoxTexts().size(), 3U);
}

TEST_F(Version1, WithoutServersTheListsAreEmpty) {
  PutDword(u"numservers", 0);
  PutLogin();
  Read();
  EXPECT_EQ(Hex(Stored(u"authusers")), "00000000");
  EXPECT_EQ(Hex(Stored(u"useauths")), "");
  EXPECT_THAT(BoxTexts(), ElementsAre(converted_));
}

TEST_F(Version1, RegistryThatCannotBeWrittenStillGivesTheLogin) {
  PutLogin();
  for (int n = 1; n <= 5; ++n) {
    fake.registry.FailSet(n);
    Read();
    EXPECT_EQ(fake.registry.FindDword(kTestKey, u"version"), 1U) << n;
    EXPECT_EQ(Stored(u"authusers"), "(missing)") << n;
    EXPECT_THAT(gPrefs->authusers, ElementsAre(u"me", u"me"));
    EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"secret", u"secret"));
    EXPECT_THAT(gPrefs->usentlms, ElementsAre(5U, 5U));
  }
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Hex(Stored(u"authpasses")).size(), 4U * (7 + 7 + 1));
}

TEST_F(Version1, ImpossibleServerCountIsCutBeforeConverting) {
  PutLogin();
  PutDword(u"numservers", 0xFFFFFFFF);
  testing::TakeLargestNew();
  Read();
  EXPECT_LT(testing::TakeLargestNew(), 65536U);
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u"me", u"me"));
}

TEST_F(Version1, LoginsOfTheNewKindAreKeptAsideBeforeTheyAreWrittenOver) {
  PutList(u"authusers", std::u16string_view(u"x\0y\0\0", 5));
  Read();
  const auto kept = fake.registry.Find(kDamagedKey, u"authusers");
  ASSERT_TRUE(kept);
  EXPECT_EQ(Hex(kept->data),
            "7800000079000000"
            "0000");
}

// --- Signatures ----------------------------------------------------------------------------------

TEST_F(ReadPrefs, FirstDefaultSignatureIsReplacedByTheCurrentOne) {
  fake.registry.PutString(
      kTestKey, u"signature",
      u"Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
      u"All the news that fits in your pocket: http://www.brindle-software.example/\r\n");
  Read();
  EXPECT_EQ(gPrefs->signature, kCurrentSignature);
}

TEST_F(ReadPrefs, EveryOtherSignatureStays) {
  for (const std::u16string_view signature :
       {u"Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
        u"All the news that fits in your pocket: http://www.brindle.example/\r\n",
        u"Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
        u"All the news that fits in your pocket: http://www.brindle-software.example/",
        u"posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
        u"All the news that fits in your pocket: http://www.brindle-software.example/\r\n",
        u""}) {
    fake.registry.PutString(kTestKey, u"signature", signature);
    Read();
    EXPECT_EQ(gPrefs->signature, signature);
  }
}

// --- Counts that cannot be -----------------------------------------------------------------------

TEST_F(ReadPrefs, ImpossibleCountIsSaidOnceAndCutToWhatIsThere) {
  PutDword(u"numgroups", 0xFFFFFFFF);
  PutDword(u"numservers", 2);
  PutDword(u"numrecips", 0x80000000);
  PutList(u"groups", std::u16string_view(u"a\0b\0c\0\0", 7));
  PutList(u"prevnames", std::u16string_view(u"n\0\0", 3));
  PutList(u"prevemail", std::u16string_view(u"e\0f\0\0", 5));
  Put(u"checked", RegistryType::kBinary, Bytes32({1, 0, 1}));
  Put(u"lastdownloaded", RegistryType::kBinary, Bytes32({1, 2, 3, 4, 5, 6}));
  testing::TakeLargestNew();
  Read();
  EXPECT_LT(testing::TakeLargestNew(), 65536U);
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"a", u"b", u"c"));
  EXPECT_THAT(gPrefs->checked, ElementsAre(1U, 0U, 1U));
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(1U, 2U, 3U, 4U, 5U, 6U));
  EXPECT_THAT(gPrefs->prevnames, ElementsAre(u"n", u""));
  EXPECT_THAT(gPrefs->prevemail, ElementsAre(u"e", u"f"));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"Some of the preferences on this machine are damaged (numgroups is "
                          u"4294967295, numrecips is 2147483648). Quillet CE continues with the "
                          u"entries that are really there and keeps a copy of the damaged "
                          u"preferences in the registry."));
}

TEST_F(ReadPrefs, EveryCountImpossibleAtOnceLeavesNothingToAllocate) {
  for (const auto name : {u"numgroups", u"numservers", u"numrecips", u"killfilecount"}) {
    PutDword(name, 0xFFFFFFFF);
  }
  testing::TakeLargestNew();
  Read();
  EXPECT_LT(testing::TakeLargestNew(), 65536U);
  EXPECT_EQ(gPrefs->numgroups, 0U);
  EXPECT_EQ(gPrefs->numservers, 0U);
  EXPECT_EQ(gPrefs->numrecips, 0U);
  EXPECT_EQ(gPrefs->killfilecount, 0U);
  EXPECT_EQ(BoxTexts().size(), 1U);
}

TEST_F(ReadPrefs, CountsWhoseProductCannotBeAreCut) {
  PutDword(u"numgroups", 60000);
  PutDword(u"numservers", 60000);
  PutList(u"groups", std::u16string_view(u"a\0\0", 3));
  PutList(u"servers", std::u16string_view(u"s\0t\0\0", 5));
  Read();
  EXPECT_EQ(gPrefs->numgroups, 1U);
  EXPECT_EQ(gPrefs->numservers, 2U);
  EXPECT_EQ(gPrefs->lastdownloaded.size(), 2U);
  EXPECT_EQ(BoxTexts().size(), 1U);
}

TEST_F(ReadPrefs, ProductOfRealListsIsBoundedToo) {
  std::u16string groups;
  for (int i = 0; i < 5000; ++i) groups += std::u16string_view(u"g\0", 2);
  groups.push_back(u'\0');
  PutList(u"groups", groups);
  PutList(u"servers", groups);
  PutDword(u"numgroups", 5000);
  PutDword(u"numservers", 5000);
  Read();
  EXPECT_EQ(gPrefs->numgroups, 5000U);
  EXPECT_EQ(gPrefs->numservers, 3355U);  // 16,777,216 / 5,000
  EXPECT_EQ(BoxTexts().size(), 1U);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.Find(kDamagedKey, u"servers")->data, Bytes16(groups));
}

TEST_F(ReadPrefs, LongListThatIsReallyThereIsNoDamage) {
  std::u16string groups;
  for (int i = 0; i < 70000; ++i) groups += std::u16string_view(u"g\0", 2);
  groups.push_back(u'\0');
  PutList(u"groups", groups);
  PutDword(u"numgroups", 70000);
  PutDword(u"numservers", 70000);  // only these are too many
  Read();
  EXPECT_EQ(gPrefs->groups.size(), 70000U);
  EXPECT_EQ(gPrefs->checked.size(), 70000U);
  EXPECT_EQ(gPrefs->numservers, 0U);
  EXPECT_EQ(BoxTexts().size(), 1U);
}

// --- Nothing stored is lost ----------------------------------------------------------------------

class DamagedPrefs : public ReadPrefs {
 protected:
  // Reads, writes, and expects a full copy of what was there before.
  void ExpectCopied() {
    const auto before = fake.registry.Open(kTestKey)->Values();
    Read();
    EXPECT_FALSE(fake.registry.KeyExists(kDamagedKey));
    ASSERT_TRUE(WritePreferences());
    const auto copy = fake.registry.Open(kDamagedKey);
    ASSERT_TRUE(copy);
    const auto copied = copy->Values();
    ASSERT_EQ(copied.size(), before.size());
    for (std::size_t i = 0; i < copied.size(); ++i) {
      EXPECT_EQ(copied[i].name, before[i].name);
      EXPECT_EQ(copied[i].value.type, before[i].value.type);
      EXPECT_EQ(copied[i].value.data, before[i].value.data);
    }
    ASSERT_TRUE(WritePreferences());
    Read();
    ASSERT_TRUE(WritePreferences());
    EXPECT_FALSE(fake.registry.KeyExists(u"Software\\Brindle\\Quillet damaged 2"));
  }
};

TEST_F(DamagedPrefs, ImpossibleCountKeepsACopy) {
  PutDword(u"numgroups", 0xFFFFFFFF);
  PutList(u"groups", std::u16string_view(u"a\0\0", 3));
  Put(u"checked", RegistryType::kBinary, Bytes32({1, 0, 1}));
  ExpectCopied();
}

TEST_F(DamagedPrefs, NumberOfAnotherTypeKeepsACopy) {
  Put(u"maxarticles", RegistryType::kString, Bytes16(u"75"));
  ExpectCopied();
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(DamagedPrefs, NumberOfAnotherSizeKeepsACopy) {
  Put(u"maxarticles", RegistryType::kDword, "abc");
  ExpectCopied();
}

TEST_F(DamagedPrefs, TextThatIsTooLongKeepsACopy) {
  fake.registry.PutString(kTestKey, u"signature", std::u16string(1024, u's'));
  ExpectCopied();
}

TEST_F(DamagedPrefs, TextOfAnotherTypeKeepsACopy) {
  Put(u"fullname", RegistryType::kBinary, "me");
  ExpectCopied();
}

TEST_F(DamagedPrefs, ListOfAnotherTypeKeepsACopy) {
  PutDword(u"numgroups", 1);
  Put(u"groups", RegistryType::kString, Bytes16(u"misc.test"));
  ExpectCopied();
}

TEST_F(DamagedPrefs, ListLongerThanItsCountKeepsACopy) {
  PutList(u"groups", std::u16string_view(u"a\0\0", 3));
  ExpectCopied();
}

TEST_F(DamagedPrefs, ArrayLongerThanItsCountKeepsACopy) {
  Put(u"checked", RegistryType::kBinary, Bytes32({1}));
  ExpectCopied();
}

TEST_F(DamagedPrefs, PortsOfAnotherSizeKeepACopy) {
  PutDword(u"numservers", 1);
  Put(u"port", RegistryType::kBinary, Bytes32({1119, 563}));
  ExpectCopied();
}

TEST_F(DamagedPrefs, KillfileTextsLongerThanTheirCountKeepACopy) {
  PutList(u"killfiletexts", std::u16string_view(u"a\0\0", 3));
  ExpectCopied();
}

TEST_F(DamagedPrefs, LaterDamageTakesTheNextFreeNumber) {
  PutDword(u"numgroups", 0xFFFFFFFF);
  Read();
  ASSERT_TRUE(WritePreferences());
  PutDword(u"numgroups", 0xFFFFFFFE);
  Read();
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindDword(kDamagedKey, u"numgroups"), 0xFFFFFFFF);
  EXPECT_EQ(fake.registry.FindDword(u"Software\\Brindle\\Quillet damaged 2", u"numgroups"),
            0xFFFFFFFE);
}

TEST_F(DamagedPrefs, NothingIsWrittenOverWhileTheCopyCannotBeMade) {
  PutDword(u"numgroups", 0xFFFFFFFF);
  PutDword(u"numservers", 1);
  PutList(u"groups", std::u16string_view(u"a\0\0", 3));
  Read();
  fake.display.ForgetBoxes();
  const auto key = fake.registry.Create(kTestKey);
  // What the copy does: make the key, begin, each value, commit.
  fake.registry.FailCreate(2);
  EXPECT_FALSE(WritePreferences());
  fake.registry.FailBegin(1);
  EXPECT_FALSE(WritePreferences());
  fake.registry.FailSet(2);
  EXPECT_FALSE(WritePreferences());
  fake.registry.FailCommit(1);
  EXPECT_FALSE(WritePreferences());
  fake.registry.FailSet(1);
  EXPECT_FALSE(WriteLastDownloaded(*key, *gPrefs));
  EXPECT_THAT(BoxTexts(), ElementsAre(kCannotSave, kCannotSave, kCannotSave, kCannotSave));
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"numgroups"), 0xFFFFFFFF);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"numgroups"), 1U);
}

TEST_F(DamagedPrefs, ProgressKeepsTheCopyBeforeItIsWritten) {
  PutDword(u"numgroups", 1);
  PutDword(u"numservers", 1);
  Put(u"lastdownloaded", RegistryType::kBinary, Bytes32({1, 2}));
  Read();
  const auto key = fake.registry.Create(kTestKey);
  gPrefs->lastdownloaded = {5};
  ASSERT_TRUE(WriteLastDownloaded(*key, *gPrefs));
  EXPECT_EQ(Hex(fake.registry.Find(kDamagedKey, u"lastdownloaded")->data), "0100000002000000");
}

TEST_F(DamagedPrefs, KeyThatCouldNotBeOpenedIsNotWrittenOverUnseen) {
  PutDword(u"maxarticles", 75);
  fake.registry.FailOpen(1);
  Read();
  EXPECT_EQ(gPrefs->maxarticles, 50U);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindDword(kDamagedKey, u"maxarticles"), 75U);
}

// --- Out of memory -------------------------------------------------------------------------------

TEST_F(ReadPrefs, RecordOutOfMemoryIsACriticalReport) {
  testing::FailNthNothrowNew(1);
  ReadPreferences();
  EXPECT_FALSE(gPrefs);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"A critical error (out of memory) occurred in NewPrefs."));
}

TEST_F(ReadPrefs, ListOutOfMemoryLeavesNoRecordAndWritesNothing) {
  PutDword(u"numgroups", 1);
  PutList(u"groups", std::u16string(9000, u'g'));
  testing::FailNewOfAtLeast(16000);
  ReadPreferences();
  testing::FailNewOfAtLeast(0);
  EXPECT_FALSE(gPrefs);
  EXPECT_EQ(BoxTexts().size(), 1U);
  EXPECT_FALSE(WritePreferences());
  EXPECT_EQ(Stored(u"groups").size(), 18000U);
}

TEST_F(ReadPrefs, AnyAllocationThatFailsIsReportedAndWritesNothing) {
  PutDword(u"numgroups", 1);
  PutDword(u"numservers", 1);
  PutList(u"groups", u"a.group.with.a.long.name");
  fake.registry.PutString(kTestKey, u"fullname", u"A name that needs its own memory");
  const std::size_t values = fake.registry.Open(kTestKey)->Values().size();
  for (int n = 1; n < 3000; ++n) {
    fake.display.ForgetBoxes();
    testing::FailNthNew(n);
    ReadPreferences();
    testing::FailNthNew(0);
    if (gPrefs) {
      EXPECT_GT(n, 50);
      return;
    }
    EXPECT_EQ(BoxTexts().size(), 1U) << n;
    EXPECT_FALSE(WritePreferences());
    ASSERT_EQ(fake.registry.Open(kTestKey)->Values().size(), values);
  }
  FAIL() << "never read";
}

// --- The database folder -------------------------------------------------------------------------

TEST_F(ReadPrefs, FolderIsMadeInMainMemory) {
  Read();
  EXPECT_TRUE(fake.files.FolderExists(u"\\Quillet CE News"));
  EXPECT_EQ(gDatabaseFolder, u"\\Quillet CE News");
  EXPECT_EQ(fake.files.calls(port::FileCall::kCreateFolder), 1);
  Read();
  EXPECT_EQ(fake.files.calls(port::FileCall::kCreateFolder), 1);
}

TEST_F(ReadPrefs, FolderIsMadeOnTheCard) {
  fake.files.AddCard(u"Storage Card");
  fake.registry.PutString(kTestKey, u"databasestore", u"Storage Card");
  Read();
  EXPECT_EQ(gPrefs->databasestore, u"Storage Card");
  EXPECT_EQ(gPrefs->databasefolder, u"\\Storage Card\\Quillet CE News");
  EXPECT_EQ(gDatabaseFolder, u"\\Storage Card\\Quillet CE News");
  EXPECT_TRUE(fake.files.FolderExists(u"\\Storage Card\\Quillet CE News"));
}

TEST_F(ReadPrefs, CardThatIsGoneFallsBackToMainMemory) {
  fake.registry.PutString(kTestKey, u"databasestore", u"Storage Card");
  fake.files.FailNth(port::FileCall::kCreateFolder, 1);
  Read();
  EXPECT_EQ(gPrefs->databasestore, u"");
  EXPECT_EQ(gPrefs->databasefolder, u"\\Quillet CE News");
  EXPECT_EQ(gDatabaseFolder, u"\\Quillet CE News");
  EXPECT_TRUE(fake.files.FolderExists(u"\\Quillet CE News"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ReadPrefs, CardNameThatIsNoNameFallsBackToMainMemory) {
  fake.registry.PutString(kTestKey, u"databasestore", u"..\\..");
  Read();
  EXPECT_EQ(gPrefs->databasestore, u"");
  EXPECT_TRUE(fake.files.FolderExists(u"\\Quillet CE News"));
}

}  // namespace
}  // namespace quillet
