// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "base/prefs_fields.h"
#include "base/window_procedures.h"
#include "tests/base/prefs_test_device.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

struct DumpLine {
  std::u16string_view name;
  std::uint32_t type;
  std::string hex;
};

// SZ data: the text and its NUL.
std::string Sz(std::u16string_view text) {
  return Hex(Bytes16(text)) + "0000";
}

std::string Zeros(std::size_t bytes) {
  return std::string(2 * bytes, '0');
}

const std::vector<DumpLine>& FactoryRegistry() {
  static const std::vector<DumpLine> lines = {
      {u"allserversareone", 4, "00000000"},
      {u"alwaystransport", 4, "00000000"},
      {u"articlecb", 3, Zeros(40)},
      {u"articleheaderfont", 1, Sz(u"Tahoma")},
      {u"articleheaderfontsize", 4, "03000000"},
      {u"attribution", 1, Sz(u"In message $i, $a wrote:")},
      {u"autodelete", 4, "00000000"},
      {u"beepafter", 4, "01000000"},
      {u"checked", 3, ""},
      {u"colorquoted", 4, "01000000"},
      {u"columnWidths", 4, "0000000000000000"},
      {u"conxmethod", 1, Sz(u"<none>")},
      {u"databasestore", 1, "0000"},
      {u"downloadfull", 4, "01000000"},
      {u"downloadhr", 4, "06000000"},
      {u"downloadmn", 4, "00000000"},
      {u"downloadnewest", 4, "00000000"},
      {u"downloadsc", 4, "00000000"},
      {u"extraheaders", 1, "0000"},
      {u"font", 1, Sz(u"Arial")},
      {u"fontsize", 4, "02000000"},
      {u"fullname", 1, Sz(u"My Name")},
      {u"groupcb", 3, Zeros(40)},
      {u"groupfont", 1, Sz(u"Tahoma")},
      {u"groupfontsize", 4, "03000000"},
      {u"groups", 7, "00000000"},
      {u"keepheaders", 4, "01000000"},
      {u"killfilecount", 4, "00000000"},
      {u"killfilesize", 4, "04000000"},
      {u"killfiletexts", 7, "00000000"},
      {u"maxarticles", 4, "32000000"},
      {u"maxarticlesize", 4, "04000000"},
      {u"maxstore", 4, "62000000"},
      {u"numgroups", 4, "00000000"},
      {u"numrecips", 4, "00000000"},
      {u"numservers", 4, "00000000"},
      {u"onlinemode", 4, "00000000"},
      {u"prefspage", 4, "00000000"},
      {u"prevemail", 7, "00000000"},
      {u"prevnames", 7, "00000000"},
      {u"quotestring", 1, "3e0020000000"},
      {u"removecrs", 4, "00000000"},
      {u"returnmailaddress", 1, Sz(u"yourname@brindle.example")},
      {u"reversethread", 4, "00000000"},
      {u"selectedserver", 4, "00000000"},
      {u"showheaders", 4, "00000000"},
      {u"sidetabs", 4, "00000000"},
      {u"signature", 1,
       Sz(u"-- \r\nPosted with Quillet (for PocketPC) from Brindle Software, Inc.\r\n"
          u"All the news that fits in your pocket: http://www.brindle.example/\r\n")},
      {u"simplepost", 4, "01000000"},
      {u"skipverifications", 4, "00000000"},
      {u"threadcb", 3, Zeros(40)},
      {u"threadfont", 1, Sz(u"Tahoma")},
      {u"threadfontsize", 4, "03000000"},
      {u"transport", 1, "0000"},
      {u"useautodownload", 4, "00000000"},
      {u"usecompression", 4, "00000000"},
      {u"usethreading", 4, "01000000"},
      {u"version", 4, "02000000"},
  };
  return lines;
}

class WritePrefs : public PrefsTest {
 protected:
  WritePrefs() { ReadPreferences(); }

  void AddServer(std::u16string_view name) {
    Prefs& prefs = *gPrefs;
    ++prefs.numservers;
    prefs.servers.emplace_back(name);
    prefs.authusers.emplace_back(u"u");
    prefs.authpasses.emplace_back();
    prefs.port.push_back(1119);
    prefs.useauths.push_back(1);
    prefs.usentlms.push_back(0);
    prefs.lastdownloaded.resize(std::size_t{prefs.numservers} * prefs.numgroups, 7);
    prefs.lastonserver.resize(std::size_t{prefs.numservers} * prefs.numgroups, 9);
  }
  void AddGroup(std::u16string_view name) {
    Prefs& prefs = *gPrefs;
    ++prefs.numgroups;
    prefs.groups.emplace_back(name);
    prefs.checked.push_back(1);
    prefs.lastdownloaded.resize(std::size_t{prefs.numservers} * prefs.numgroups, 7);
    prefs.lastonserver.resize(std::size_t{prefs.numservers} * prefs.numgroups, 9);
  }
};

TEST_F(WritePrefs, FactorySettingsOnAnEmptyRegistryAreTheseValues) {
  ASSERT_TRUE(WritePreferences());
  const auto values = fake.registry.Open(kTestKey)->Values();
  const std::vector<DumpLine>& expected = FactoryRegistry();
  ASSERT_EQ(values.size(), expected.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].name, expected[i].name);
    EXPECT_EQ(static_cast<std::uint32_t>(values[i].value.type), expected[i].type) << i;
    EXPECT_EQ(Hex(values[i].value.data), expected[i].hex) << i;
  }
  EXPECT_THAT(fake.registry.Keys(),
              ElementsAre(u"Software", u"Software\\Brindle", u"Software\\Brindle\\Quillet"));
}

TEST_F(WritePrefs, ListsAreWrittenWithTheirCounts) {
  AddGroup(u"misc.test");
  AddGroup(u"");
  AddServer(u"news");
  gPrefs->checked = {0, 1};
  gPrefs->lastdownloaded = {0x01020304, 5};
  gPrefs->numrecips = 1;
  gPrefs->prevnames = {u"N"};
  gPrefs->prevemail = {u"e"};
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = {2};
  gPrefs->killfiletexts = {"k"};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Hex(Stored(u"groups")),
            "6d006900730063002e00740065007300740000"
            "0000e000000000");
  EXPECT_EQ(Hex(Stored(u"checked")), "0000000001000000");
  EXPECT_EQ(Hex(Stored(u"servers")), "6e0065007700730000000000");
  EXPECT_EQ(Hex(Stored(u"authusers")), "750000000000");
  EXPECT_EQ(Hex(Stored(u"authpasses")), "00e000000000");
  EXPECT_EQ(Hex(Stored(u"port")), "5f040000");
  EXPECT_EQ(Hex(Stored(u"useauths")), "01000000");
  EXPECT_EQ(Hex(Stored(u"usentlms")), "00000000");
  EXPECT_EQ(Hex(Stored(u"lastdownloaded")), "0403020105000000");
  EXPECT_EQ(Hex(Stored(u"lastonserver")), "0900000009000000");
  EXPECT_EQ(Hex(Stored(u"prevnames")), "4e0000000000");
  EXPECT_EQ(Hex(Stored(u"prevemail")), "650000000000");
  EXPECT_EQ(Hex(Stored(u"killfiletexts")), "6b0000000000");
  EXPECT_EQ(Hex(Stored(u"killfilesize")), "06000000");
  EXPECT_EQ(Hex(Stored(u"killfilecount")), "01000000");
  EXPECT_EQ(Hex(Stored(u"killfilegroups")), "02000000");
  EXPECT_EQ(Hex(Stored(u"killfilekills")), "01000000");
  EXPECT_EQ(Hex(Stored(u"killfileauthors")), "00000000");
}

TEST_F(WritePrefs, ValuesAreWrittenInTheirOrderInOneStep) {
  AddGroup(u"g");
  AddServer(u"s");
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = gPrefs->killfilekills = gPrefs->killfileauthors = {1};
  gPrefs->killfiletexts = {"x"};
  NotingRegistry noting(fake.registry);
  const OtherRegistry other(noting);
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(
      noting.log,
      ElementsAre(u"begin", u"set groups", u"set useauths", u"set usentlms", u"set port",
                  u"set servers", u"set authusers", u"set authpasses", u"set prevnames",
                  u"set prevemail", u"set killfiletexts", u"set numgroups", u"set numrecips",
                  u"set numservers", u"set selectedserver", u"set useautodownload",
                  u"set keepheaders", u"set downloadfull", u"set onlinemode", u"set beepafter",
                  u"set showheaders", u"set removecrs", u"set colorquoted", u"set maxstore",
                  u"set maxarticles", u"set fontsize", u"set groupfontsize", u"set threadfontsize",
                  u"set articleheaderfontsize", u"set maxarticlesize", u"set simplepost",
                  u"set downloadhr", u"set downloadmn", u"set downloadsc", u"set killfilecount",
                  u"set killfilesize", u"set prefspage", u"set skipverifications",
                  u"set usethreading", u"set reversethread", u"set version", u"set downloadnewest",
                  u"set alwaystransport", u"set usecompression", u"set allserversareone",
                  u"set sidetabs", u"set autodelete", u"set checked", u"set articlecb",
                  u"set threadcb", u"set groupcb", u"set lastdownloaded", u"set lastonserver",
                  u"set killfilegroups", u"set killfilekills", u"set killfileauthors",
                  u"set columnWidths", u"set returnmailaddress", u"set attribution",
                  u"set extraheaders", u"set quotestring", u"set signature", u"set fullname",
                  u"set font", u"set groupfont", u"set threadfont", u"set articleheaderfont",
                  u"set conxmethod", u"set databasestore", u"set transport", u"commit"));
}

TEST_F(WritePrefs, WithoutServersTheirValuesStayAsTheyWere) {
  const std::array<std::u16string_view, 8> names = {
      u"servers",  u"authusers", u"authpasses",     u"port",
      u"useauths", u"usentlms",  u"lastdownloaded", u"lastonserver"};
  for (const auto name : names) Put(name, RegistryType::kBinary, "before");
  AddGroup(u"g");
  ASSERT_TRUE(WritePreferences());
  for (const auto name : names) EXPECT_EQ(Stored(name), "before");
}

TEST_F(WritePrefs, WithoutEntriesTheKillfileArraysStayAsTheyWere) {
  for (const auto name : {u"killfilegroups", u"killfilekills", u"killfileauthors"}) {
    Put(name, RegistryType::kBinary, "before");
  }
  ASSERT_TRUE(WritePreferences());
  for (const auto name : {u"killfilegroups", u"killfilekills", u"killfileauthors"}) {
    EXPECT_EQ(Stored(name), "before");
  }
}

TEST_F(WritePrefs, WithoutGroupsNoProgressIsWritten) {
  AddServer(u"s");
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Stored(u"lastdownloaded"), "(missing)");
  EXPECT_EQ(Stored(u"lastonserver"), "(missing)");
  EXPECT_EQ(Hex(Stored(u"checked")), "");
}

TEST_F(WritePrefs, NoValueIsEverDeleted) {
  Put(u"somebody else's", RegistryType::kBinary, "x");
  PutDword(u"emailsize", 77);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Stored(u"somebody else's"), "x");
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"emailsize"), 77U);
}

TEST_F(WritePrefs, NullTransportIsSkipped) {
  fake.registry.PutString(kTestKey, u"transport", u"before");
  gPrefs->has_transport = false;
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindString(kTestKey, u"transport"), u"before");
}

TEST_F(WritePrefs, VersionWrittenIsAlwaysTwo) {
  gPrefs->version = 3;
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindDword(kTestKey, u"version"), 2U);
}

TEST_F(WritePrefs, AutoDeleteFlagsAreOneMask) {
  struct Case {
    std::uint32_t read, before, on_quit, mask;
  };
  for (const Case c : {Case{1, 0, 0, 2}, Case{0, 1, 0, 4}, Case{0, 0, 1, 8}, Case{1, 1, 1, 14}}) {
    gPrefs->autodeleteread = c.read;
    gPrefs->autodeletebefore = c.before;
    gPrefs->autodeleteonquit = c.on_quit;
    ASSERT_TRUE(WritePreferences());
    EXPECT_EQ(fake.registry.FindDword(kTestKey, u"autodelete"), c.mask);
  }
}

TEST_F(WritePrefs, ColumnWidthsAreTwoWordsUnderATypeOfOne) {
  gPrefs->columnWidths = {150, -1};
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Hex(Stored(u"columnWidths")), "96000000ffffffff");
  EXPECT_EQ(fake.registry.Find(kTestKey, u"columnWidths")->type, RegistryType::kDword);
}

TEST_F(WritePrefs, CommandBarsAreWrittenVerbatimAndAsZerosWhenAbsent) {
  gCommandBars[0].found = true;
  gCommandBars[0].bytes.fill('g');
  gCommandBars[2].found = true;
  gCommandBars[2].bytes.fill('a');
  gCommandBars[1].found = false;
  gCommandBars[1].bytes.fill('t');
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Stored(u"groupcb"), std::string(40, 'g'));
  EXPECT_EQ(Stored(u"threadcb"), std::string(40, '\0'));
  EXPECT_EQ(Stored(u"articlecb"), std::string(40, 'a'));
}

TEST_F(WritePrefs, LastDownloadedIsOneValueAlone) {
  AddGroup(u"g");
  AddServer(u"s");
  gPrefs->lastdownloaded = {0x00ABCDEF};
  const auto key = fake.registry.Create(kTestKey);
  const int before = fake.registry.sets();
  EXPECT_TRUE(WriteLastDownloaded(*key, *gPrefs));
  EXPECT_EQ(fake.registry.sets(), before + 1);
  EXPECT_EQ(Hex(Stored(u"lastdownloaded")), "efcdab00");
  EXPECT_EQ(fake.registry.Find(kTestKey, u"lastdownloaded")->type, RegistryType::kBinary);
  fake.registry.FailSet(1);
  EXPECT_FALSE(WriteLastDownloaded(*key, *gPrefs));
}

TEST_F(WritePrefs, LastDownloadedWithoutServersWritesNothing) {
  AddGroup(u"g");
  const auto key = fake.registry.Create(kTestKey);
  EXPECT_TRUE(WriteLastDownloaded(*key, *gPrefs));
  EXPECT_EQ(Stored(u"lastdownloaded"), "(missing)");
}

// --- Failures ------------------------------------------------------------------------------------

class FailingWrite : public WritePrefs {
 protected:
  FailingWrite() {
    AddGroup(u"old.group");
    AddServer(u"old");
    EXPECT_TRUE(WritePreferences());
    before_ = Dump();
    AddGroup(u"new.group");
    gPrefs->fullname = u"Changed";
    gPrefs->maxarticles = 51;
  }

  std::string Dump() {
    std::string dump;
    for (const auto& value : fake.registry.Open(kTestKey)->Values()) {
      dump += Hex(Bytes16(value.name)) + "=" + Hex(value.value.data) + "\n";
    }
    return dump;
  }

  std::string before_;
};

TEST_F(FailingWrite, AnyFailedValueLeavesTheOldSettingsWholeWithOneBox) {
  const int sets_before = fake.registry.sets();
  fake.registry.FailSet(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_EQ(fake.registry.sets(), sets_before + 1);
  for (int n = 2; n < 200; ++n) {
    fake.display.ForgetBoxes();
    fake.registry.FailSet(n);
    if (WritePreferences()) {
      EXPECT_GT(n, 60);  // one more than there are values
      EXPECT_TRUE(BoxTexts().empty());
      EXPECT_EQ(fake.registry.FindString(kTestKey, u"fullname"), u"Changed");
      fake.registry.FailSet(0);
      return;
    }
    EXPECT_THAT(BoxTexts(), ElementsAre(kCannotSave));
    ASSERT_EQ(Dump(), before_) << n;
  }
  FAIL() << "never written";
}

TEST_F(FailingWrite, FailedBeginAndCommitLeaveTheOldSettingsWhole) {
  fake.registry.FailBegin(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_EQ(Dump(), before_);
  fake.registry.FailCommit(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_EQ(Dump(), before_);
  EXPECT_THAT(BoxTexts(), ElementsAre(kCannotSave, kCannotSave));
  EXPECT_TRUE(WritePreferences());
}

TEST_F(FailingWrite, ReadOnlyRegistryIsOneBox) {
  fake.registry.SetReadOnly(true);
  EXPECT_FALSE(WritePreferences());
  EXPECT_THAT(BoxTexts(), ElementsAre(kCannotSave));
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet");
}

TEST_F(FailingWrite, KeyThatCannotBeCreatedIsACriticalReport) {
  fake.registry.FailCreate(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"A critical error (unable to create registry key) occurred "
                                      u"in WritePreferences."));
}

TEST_F(FailingWrite, ClosingAfterTheReportShowsNoSecondBox) {
  gMainWindow = fake.display.CreateMainWindow({});
  SetProcedure(gMainWindow, [](const port::Message&) { WritePreferences(); });
  fake.registry.FailCreate(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_EQ(BoxTexts().size(), 1U);
  EXPECT_EQ(gMainWindow, 0U);
  EXPECT_EQ(Dump(), before_);
  EXPECT_TRUE(WritePreferences());  // the next one is written again
}

TEST_F(FailingWrite, OutOfMemoryWhileWritingLeavesTheOldSettingsWhole) {
  gPrefs->groups[1] = std::u16string(9000, u'g');
  testing::FailNewOfAtLeast(9000);
  EXPECT_FALSE(WritePreferences());
  testing::FailNewOfAtLeast(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in CreateMultiString."));
  EXPECT_EQ(Dump(), before_);
  fake.display.ForgetBoxes();
  gPrefs->groups[1] = u"g";
  gPrefs->fullname = std::u16string(30000, u'n');
  testing::FailNewOfAtLeast(30000);
  EXPECT_FALSE(WritePreferences());
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (out of memory) occurred in WritePreferences."));
  EXPECT_EQ(Dump(), before_);
}

TEST_F(FailingWrite, NothingIsWrittenWithoutARecord) {
  gPrefs.reset();
  EXPECT_FALSE(WritePreferences());
  EXPECT_EQ(Dump(), before_);
  EXPECT_TRUE(BoxTexts().empty());
}

// --- The table -----------------------------------------------------------------------------------

TEST(PrefsTable, EveryStoredFieldIsWrittenExactlyOnce) {
  for (const PrefsField& field : PrefsFields()) {
    const auto times = std::ranges::count(PrefsWriteOrder(), field.name);
    EXPECT_EQ(times, std::holds_alternative<IgnoredField>(field.what) ? 0 : 1)
        << Hex(Bytes16(field.name));
  }
  for (const std::u16string_view name : PrefsWriteOrder()) {
    EXPECT_EQ(PrefsFieldNamed(name).name, name);
  }
}

}  // namespace
}  // namespace quillet
