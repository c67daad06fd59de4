// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <random>
#include <sstream>

#include "base/prefs_fields.h"
#include "tests/base/prefs_test_device.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PrefsRecord : public PrefsTest {};

// --- Factory settings and copies -----------------------------------------------------------------

Prefs FilledPrefs() {
  Prefs p;
  p.version = 2;
  p.numgroups = 1;
  p.groups = {u"g"};
  p.checked = {1};
  p.numservers = 1;
  p.servers = {u"s"};
  p.authusers = {u"u"};
  p.authpasses = {u"p"};
  p.port = {1119};
  p.useauths = {1};
  p.usentlms = {1};
  p.lastdownloaded = {4};
  p.lastonserver = {5};
  p.columnWidths = {100, 50};
  p.numrecips = 1;
  p.prevnames = {u"n"};
  p.prevemail = {u"e"};
  p.killfilecount = 1;
  p.killfilegroups = {1};
  p.killfiletexts = {"k"};
  p.killfilekills = {1};
  p.killfileauthors = {1};
  p.databasestore = u"Card";
  p.databasefolder = u"\\Card\\Quillet CE News";
  p.transport = u"SMTP";
  p.keeptranslog = 1;
  for (const PrefsField& field : PrefsFields()) {
    if (const auto* number = std::get_if<NumberField>(&field.what)) {
      if (p.*number->member == 0) p.*number->member = 77;
    } else if (const auto* text = std::get_if<TextField>(&field.what)) {
      if ((p.*text->member).empty()) p.*text->member = u"changed";
    }
  }
  p.selectedserver = 0;
  p.autodeleteread = p.autodeletebefore = p.autodeleteonquit = 1;
  return p;
}

TEST_F(PrefsRecord, FactorySettingsDropTheServersAndKeepTheGroups) {
  Prefs p = FilledPrefs();
  p.selectedserver = 3;
  SetDefaultPrefs(p, false);
  EXPECT_EQ(p.numservers, 0U);
  EXPECT_EQ(p.selectedserver, 0U);
  EXPECT_THAT(p.servers, IsEmpty());
  EXPECT_THAT(p.authusers, IsEmpty());
  EXPECT_THAT(p.authpasses, IsEmpty());
  EXPECT_THAT(p.port, IsEmpty());
  EXPECT_THAT(p.useauths, IsEmpty());
  EXPECT_THAT(p.usentlms, IsEmpty());
  EXPECT_THAT(p.lastdownloaded, IsEmpty());
  EXPECT_THAT(p.lastonserver, IsEmpty());
  EXPECT_EQ(p.transport, u"");
  EXPECT_FALSE(p.has_transport);
  EXPECT_EQ(p.numgroups, 1U);
  EXPECT_THAT(p.groups, ElementsAre(u"g"));
  EXPECT_THAT(p.checked, ElementsAre(1U));
  EXPECT_EQ(p.databasestore, u"Card");
  EXPECT_EQ(p.numrecips, 1U);
  EXPECT_THAT(p.prevnames, ElementsAre(u"n"));
  EXPECT_THAT(p.prevemail, ElementsAre(u"e"));
  EXPECT_EQ(p.columnWidths, (std::array<std::int32_t, 2>{100, 50}));
  EXPECT_EQ(p.version, 2U);
  EXPECT_EQ(p.keeptranslog, 1U);
}

TEST_F(PrefsRecord, FactorySettingsKeepTheKillfileUnlessAsked) {
  Prefs p = FilledPrefs();
  SetDefaultPrefs(p, false);
  EXPECT_EQ(p.killfilecount, 1U);
  EXPECT_THAT(p.killfiletexts, ElementsAre("k"));
  SetDefaultPrefs(p, true);
  EXPECT_EQ(p.killfilecount, 0U);
  EXPECT_THAT(p.killfilegroups, IsEmpty());
  EXPECT_THAT(p.killfiletexts, IsEmpty());
  EXPECT_THAT(p.killfilekills, IsEmpty());
  EXPECT_THAT(p.killfileauthors, IsEmpty());
}

TEST_F(PrefsRecord, FactorySettingsAreTheStatedOnes) {
  Prefs p = FilledPrefs();
  SetDefaultPrefs(p, true);
  for (const std::uint32_t zero :
       {p.useautodownload, p.onlinemode, p.showheaders, p.removecrs, p.downloadmn, p.downloadsc,
        p.prefspage, p.skipverifications, p.reversethread, p.autodeleteread, p.autodeletebefore,
        p.autodeleteonquit, p.downloadnewest, p.alwaystransport, p.usecompression,
        p.allserversareone, p.sidetabs}) {
    EXPECT_EQ(zero, 0U);
  }
  for (const std::uint32_t one :
       {p.keepheaders, p.colorquoted, p.simplepost, p.downloadfull, p.beepafter, p.usethreading}) {
    EXPECT_EQ(one, 1U);
  }
  ExpectFactoryValues(p);
  EXPECT_EQ(p.signature,
            u"Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
            u"All the news that fits in your pocket: http://www.brindle.example/\r\n");
}

TEST_F(PrefsRecord, CopyIsDeep) {
  Prefs p = FilledPrefs();
  const std::unique_ptr<Prefs> copy = CopyPrefs(p);
  ASSERT_TRUE(copy);
  p.groups[0] = u"other";
  p.lastdownloaded[0] = 99;
  p.killfiletexts[0] = "other";
  p.killfilekills[0] = 0;
  EXPECT_THAT(copy->groups, ElementsAre(u"g"));
  EXPECT_THAT(copy->lastdownloaded, ElementsAre(4U));
  EXPECT_THAT(copy->killfiletexts, ElementsAre("k"));
  EXPECT_THAT(copy->killfilekills, ElementsAre(1U));
  EXPECT_EQ(copy->databasefolder, u"\\Card\\Quillet CE News");
  EXPECT_EQ(copy->keeptranslog, 1U);
}

TEST_F(PrefsRecord, NewRecordIsZeroFilled) {
  const std::unique_ptr<Prefs> p = NewPrefs();
  ASSERT_TRUE(p);
  EXPECT_EQ(p->version, 0U);
  EXPECT_EQ(p->maxarticles, 0U);
  EXPECT_EQ(p->fullname, u"");
  EXPECT_THAT(p->groups, IsEmpty());
}

TEST_F(PrefsRecord, OutOfMemoryIsACriticalReportUnderTheConstructorsName) {
  const std::u16string report = u"A critical error (out of memory) occurred in NewPrefs.";
  testing::FailNthNothrowNew(1);
  EXPECT_FALSE(NewPrefs());
  testing::FailNthNothrowNew(1);
  EXPECT_FALSE(CopyPrefs(FilledPrefs()));
  const Prefs filled = FilledPrefs();
  testing::FailNthNew(3);
  EXPECT_FALSE(CopyPrefs(filled));
  EXPECT_THAT(BoxTexts(), ElementsAre(report, report, report));
}

// --- Round trip ----------------------------------------------------------------------------------

class RandomPrefs {
 public:
  explicit RandomPrefs(unsigned seed) : random_(seed) {}

  Prefs Make() {
    Prefs p;
    p.version = 2;
    for (const PrefsField& field : PrefsFields()) {
      if (const auto* number = std::get_if<NumberField>(&field.what)) {
        p.*number->member = In(number->range);
      }
    }
    p.numgroups = Below(6);
    p.numservers = Below(4);
    p.numrecips = Below(4);
    p.killfilecount = Below(6);
    p.selectedserver = p.numservers == 0 ? 5 : Below(p.numservers);
    for (const PrefsField& field : PrefsFields()) {
      if (const auto* words = std::get_if<WordsField>(&field.what)) {
        (p.*words->member).resize(LengthOf(p, words->length));
        for (std::uint32_t& word : p.*words->member) word = In(words->range);
      } else if (const auto* texts = std::get_if<TextsField>(&field.what)) {
        (p.*texts->member).resize(LengthOf(p, texts->length));
        for (std::u16string& text : p.*texts->member) text = Text(12);
      } else if (const auto* text = std::get_if<TextField>(&field.what)) {
        p.*text->member = Text(1024);
      }
    }
    p.databasestore.clear();
    p.databasefolder = u"\\Quillet CE News";
    for (std::uint32_t i = 0; i < p.killfilecount; ++i) p.killfiletexts.push_back(Narrow());
    p.autodeleteread = Below(2);
    p.autodeletebefore = Below(2);
    p.autodeleteonquit = Below(2);
    p.columnWidths = {static_cast<std::int32_t>(Word()), static_cast<std::int32_t>(Word())};
    return p;
  }

 private:
  std::uint32_t Word() { return static_cast<std::uint32_t>(random_()); }
  std::uint32_t Below(std::uint32_t limit) { return Word() % limit; }
  std::uint32_t In(const NumberRange& range) {
    const std::uint64_t numbers = std::uint64_t{range.most} - range.least + 1;
    return range.least + static_cast<std::uint32_t>(Word() % numbers);
  }
  // No NUL, and never the mark of an empty string at the beginning.
  std::u16string Text(std::uint32_t limit) {
    std::u16string text(Below(limit), u' ');
    for (char16_t& unit : text) unit = static_cast<char16_t>(1 + Below(0xDFFF));
    return text;
  }
  std::string Narrow() {
    std::string text(Below(8), ' ');
    for (char& c : text) c = static_cast<char>(1 + Below(255));
    return text;
  }

  std::mt19937 random_;
};

void ExpectSamePrefs(const Prefs& a, const Prefs& b) {
  for (const PrefsField& field : PrefsFields()) {
    const std::string name = Hex(Bytes16(field.name));
    if (const auto* number = std::get_if<NumberField>(&field.what)) {
      EXPECT_EQ(a.*number->member, b.*number->member) << name;
    } else if (const auto* words = std::get_if<WordsField>(&field.what)) {
      EXPECT_EQ(a.*words->member, b.*words->member) << name;
    } else if (const auto* texts = std::get_if<TextsField>(&field.what)) {
      EXPECT_EQ(a.*texts->member, b.*texts->member) << name;
    } else if (const auto* text = std::get_if<TextField>(&field.what)) {
      EXPECT_EQ(a.*text->member, b.*text->member) << name;
    }
  }
  EXPECT_EQ(a.killfiletexts, b.killfiletexts);
  EXPECT_EQ(a.autodeleteread, b.autodeleteread);
  EXPECT_EQ(a.autodeletebefore, b.autodeletebefore);
  EXPECT_EQ(a.autodeleteonquit, b.autodeleteonquit);
  EXPECT_EQ(a.columnWidths, b.columnWidths);
  EXPECT_EQ(a.databasefolder, b.databasefolder);
}

TEST_F(PrefsRecord, EveryRecordSurvivesAWriteAndARead) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    const Prefs written = RandomPrefs(seed).Make();
    for (CommandBarBlob& bar : gCommandBars) {
      bar.found = true;
      bar.bytes.fill(static_cast<char>(seed));
    }
    gPrefs = CopyPrefs(written);
    ASSERT_TRUE(WritePreferences());
    gCommandBars = {};
    ReadPreferences();
    ASSERT_TRUE(gPrefs);
    ExpectSamePrefs(*gPrefs, written);
    for (const CommandBarBlob& bar : gCommandBars) {
      EXPECT_TRUE(bar.found);
      EXPECT_EQ(bar.bytes[39], static_cast<char>(seed));
    }
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
    // Values of longer lists of another record may still lie behind the counts.
    ASSERT_TRUE(WritePreferences());
    EXPECT_FALSE(fake.registry.KeyExists(kDamagedKey)) << "seed " << seed;
  }
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- A registry of an earlier build --------------------------------------------------------------

std::string FromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

struct GoldenValue {
  std::u16string name;
  RegistryType type = RegistryType::kBinary;
  std::string data;
};

// Lines "name type hex"; "#" begins a comment, a lone "-" is no data.
std::vector<GoldenValue> GoldenRegistry() {
  std::ifstream file(QUILLET_TEST_DATA "/registry_of_an_earlier_build.txt");
  std::vector<GoldenValue> values;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    std::string name;
    std::string hex;
    std::uint32_t type = 0;
    words >> name >> type >> hex;
    values.push_back({std::u16string(name.begin(), name.end()), static_cast<RegistryType>(type),
                      hex == "-" ? "" : FromHex(hex)});
  }
  return values;
}

TEST_F(PrefsRecord, RegistryOfAnEarlierBuildReadsTheSame) {
  const std::vector<GoldenValue> golden = GoldenRegistry();
  ASSERT_EQ(golden.size(), 74U);
  for (const GoldenValue& value : golden) Put(value.name, value.type, value.data);
  ReadPreferences();
  ASSERT_TRUE(gPrefs);
  const Prefs& p = *gPrefs;
  EXPECT_THAT(p.groups, ElementsAre(u"misc.test", u"", u"de.alt.caf\x00E9"));
  EXPECT_THAT(p.checked, ElementsAre(1U, 0U, 1U));
  EXPECT_THAT(p.servers, ElementsAre(u"news.one.example", u"news.two.example"));
  EXPECT_THAT(p.authusers, ElementsAre(u"reader", u""));
  EXPECT_THAT(p.authpasses, ElementsAre(u"pa ss\x20AC", u""));
  EXPECT_THAT(p.port, ElementsAre(119U, 1119U));
  EXPECT_THAT(p.useauths, ElementsAre(1U, 0U));
  EXPECT_THAT(p.usentlms, ElementsAre(0U, 1U));
  EXPECT_THAT(p.lastdownloaded, ElementsAre(101U, 102U, 103U, 201U, 202U, 203U));
  EXPECT_THAT(p.lastonserver, ElementsAre(111U, 112U, 113U, 0x80000001U, 212U, 213U));
  EXPECT_EQ(p.columnWidths, (std::array<std::int32_t, 2>{171, 55}));
  EXPECT_EQ(p.selectedserver, 1U);
  EXPECT_EQ(p.maxarticlesize, 40U);
  EXPECT_EQ(p.maxarticles, 500U);
  EXPECT_EQ(p.maxstore, 80U);
  EXPECT_EQ(p.keepheaders, 0U);
  EXPECT_EQ(p.fontsize, 8U);
  EXPECT_EQ(p.groupfontsize, 1U);
  EXPECT_EQ(p.threadfontsize, 4U);
  EXPECT_EQ(p.articleheaderfontsize, 5U);
  EXPECT_EQ(p.useautodownload, 1U);
  EXPECT_EQ(p.downloadhr, 23U);
  EXPECT_EQ(p.downloadmn, 59U);
  EXPECT_EQ(p.downloadsc, 58U);
  EXPECT_EQ(p.autodeleteread, 1U);
  EXPECT_EQ(p.autodeletebefore, 0U);
  EXPECT_EQ(p.autodeleteonquit, 1U);
  EXPECT_EQ(p.sidetabs, 2U);
  EXPECT_EQ(p.prefspage, 12U);
  EXPECT_THAT(p.prevnames, ElementsAre(u"Ann Other", u""));
  EXPECT_THAT(p.prevemail, ElementsAre(u"ann@mail.example", u"bob@mail.example"));
  EXPECT_THAT(p.killfiletexts, ElementsAre("make money", "\xE9\x80", ""));
  EXPECT_THAT(p.killfilegroups, ElementsAre(1U, 3U, 3U));
  EXPECT_THAT(p.killfilekills, ElementsAre(1U, 0U, 1U));
  EXPECT_THAT(p.killfileauthors, ElementsAre(0U, 1U, 0U));
  EXPECT_EQ(p.fullname, u"A. Reader");
  EXPECT_EQ(p.returnmailaddress, u"reader@mail.example");
  EXPECT_EQ(p.signature, u"-- \r\nA. Reader\r\n");
  EXPECT_EQ(p.extraheaders, u"Organization: None\r\n");
  EXPECT_EQ(p.quotestring, u": ");
  EXPECT_EQ(p.conxmethod, u"Work");
  EXPECT_EQ(p.transport, u"SMTP");
  EXPECT_EQ(p.databasestore, u"");
  EXPECT_TRUE(gCommandBars[0].found);
  EXPECT_EQ(gCommandBars[0].bytes[0], '\x11');
  EXPECT_EQ(gCommandBars[1].bytes[39], '\x22');
  EXPECT_EQ(gCommandBars[2].bytes[20], '\x33');
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(PrefsRecord, RegistryOfAnEarlierBuildIsWrittenBackTheSame) {
  const std::vector<GoldenValue> golden = GoldenRegistry();
  for (const GoldenValue& value : golden) Put(value.name, value.type, value.data);
  ReadPreferences();
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.Open(kTestKey)->Values().size(), golden.size());
  for (const GoldenValue& value : golden) {
    const auto stored = fake.registry.Find(kTestKey, value.name);
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->type, value.type) << Hex(Bytes16(value.name));
    EXPECT_EQ(Hex(stored->data), Hex(value.data)) << Hex(Bytes16(value.name));
  }
  EXPECT_FALSE(fake.registry.KeyExists(kDamagedKey));
}

}  // namespace
}  // namespace quillet
