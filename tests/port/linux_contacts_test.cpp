// SPDX-License-Identifier: GPL-3.0-or-later
// Contacts on Linux: the text of cards, address books, and where both are found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

#include "port/linux/address_book.h"
#include "port/linux/linux_contacts.h"
#include "port/linux/vcard.h"
#include "tests/port/linux_test_tools.h"
#include "util/text.h"

namespace quillet::port {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "Last, First: address address".
std::string Shown(const Contact& contact) {
  std::string text = ToUtf8(contact.last) + ", " + ToUtf8(contact.first) + ":";
  for (const std::u16string& address : contact.addresses) text += " " + ToUtf8(address);
  return text;
}

std::vector<std::string> Cards(std::string_view text) {
  std::vector<std::string> shown;
  for (const Contact& contact : ReadVcards(text)) shown.push_back(Shown(contact));
  return shown;
}

std::string Card(const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "END:VCARD\r\n";
}

// --- Cards ---------------------------------------------------------------------------------------

TEST(Vcard, NameAndAddressesOfEachCardAreRead) {
  EXPECT_THAT(
      Cards(Card("N:Doe;Ann;M.;Dr.;\r\nFN:Dr. Ann Doe\r\nEMAIL;TYPE=home:ann@home.example\r\n"
                 "item1.EMAIL;type=INTERNET;PREF=1:ann@work.example\r\n") +
            Card("N:Roe;Bob;;;\r\nEMAIL:bob@example.com\r\n")),
      ElementsAre("Doe, Ann: ann@home.example ann@work.example", "Roe, Bob: bob@example.com"));
}

TEST(Vcard, LineEndsMarksAndCaseDoNotMatter) {
  EXPECT_THAT(Cards("\xEF\xBB\xBF"
                    "begin:vcard\nn:Doe;Ann\nemail:a@b\nend:vcard\n"),
              ElementsAre("Doe, Ann: a@b"));
  EXPECT_THAT(Cards("BEGIN:VCARD\rN:Doe;Ann\rEMAIL:a@b\rEND:VCARD"), ElementsAre("Doe, Ann: a@b"));
}

TEST(Vcard, FoldedLinesAreJoined) {
  EXPECT_THAT(Cards(Card("N:D\r\n oe;A\r\n\tnn\r\nEMA\r\n IL:ann@exam\r\n ple.com\r\n")),
              ElementsAre("Doe, Ann: ann@example.com"));
}

TEST(Vcard, WithoutANameTheFullNameIsSplitAtItsLastBlank) {
  EXPECT_THAT(Cards(Card("FN:Ann Mary Doe\r\nEMAIL:a@b\r\n")), ElementsAre("Doe, Ann Mary: a@b"));
  EXPECT_THAT(Cards(Card("N:;;;;\r\nFN:Madonna\r\nEMAIL:a@b\r\n")), ElementsAre("Madonna, : a@b"));
  EXPECT_THAT(Cards(Card("FN:\r\nORG:Brindle\\, Inc.;Mail\r\nEMAIL:a@b\r\n")),
              ElementsAre("Brindle, Inc., : a@b"));
}

TEST(Vcard, EscapesAreUndone) {
  EXPECT_THAT(Cards(Card("N:Doe\\;Roe;An\\,n\\\\;;\r\nEMAIL:a@b\r\n")),
              ElementsAre("Doe;Roe, An,n\\: a@b"));
  EXPECT_THAT(Cards(Card("N:Doe\\nRoe;Ann\\\r\nEMAIL:a@b\r\n")),
              ElementsAre("Doe Roe, Ann\\: a@b"));
}

TEST(Vcard, QuotedPrintableOfOldCardsIsDecoded) {
  EXPECT_THAT(
      Cards("BEGIN:VCARD\r\nVERSION:2.1\r\n"
            "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCl=\r\nler;J=C3=B6rg=\r\n=20X\r\n"
            "EMAIL;INTERNET:a@b\r\nEND:VCARD\r\n"),
      ElementsAre("M\xC3\xBCller, J\xC3\xB6rg X: a@b"));
  EXPECT_THAT(Cards(Card("N;QUOTED-PRINTABLE;CHARSET=ISO-8859-1:M=FCller;=4\r\nEMAIL:a@b\r\n")),
              ElementsAre("M\xC3\xBCller, 4: a@b"));
}

TEST(Vcard, TextThatIsNoUtf8IsTakenForTheCodePage) {
  EXPECT_THAT(Cards(Card("N:M\xFCller;J\xF6rg\r\nEMAIL:a@b\r\n")),
              ElementsAre("M\xC3\xBCller, J\xC3\xB6rg: a@b"));
}

TEST(Vcard, ParametersMayHoldColonsAndSemicolonsInQuotes) {
  EXPECT_THAT(Cards(Card("N;SORT-AS=\"a:b;c\":Doe;Ann\r\nEMAIL;X=\"p:q\":mailto:a@b\r\n")),
              ElementsAre("Doe, Ann: a@b"));
}

TEST(Vcard, AnAddressThatCouldBeMoreThanOneIsDropped) {
  for (const char* address :
       {"a@b\\nBcc: eve@x", "a@b,eve@x", "a@b\\,eve@x", "a@b;eve@x", "Ann <a@b>", "a b@c",
        "\"a\"@b", "a@b\x01", "a@b\x7F", "a@b\xC2\x85", "a@b\xE2\x80\xA8", "", "   "}) {
    EXPECT_THAT(Cards(Card(std::string("N:Doe;Ann\r\nEMAIL:") + address + "\r\n")), IsEmpty())
        << address;
  }
  EXPECT_THAT(Cards("BEGIN:VCARD\nEMAIL;QUOTED-PRINTABLE:a@b=0D=0ABcc:=20eve@x\nEND:VCARD\n"),
              IsEmpty());
}

TEST(Vcard, CardsWithoutTheirEndAndCardsInCardsAreToldApart) {
  EXPECT_THAT(Cards("BEGIN:VCARD\nN:One\nEMAIL:a@b\nBEGIN:VCARD\nN:Two\nEMAIL:c@d\n"),
              ElementsAre("One, : a@b", "Two, : c@d"));
  EXPECT_THAT(Cards("BEGIN:VCARD\nN:One\nAGENT:\nBEGIN:VCARD\nN:In\nEMAIL:in@x\nEND:VCARD\n"
                    "EMAIL:a@b\nEND:VCARD\n"),
              ElementsAre("One, : a@b"));
  EXPECT_THAT(Cards("N:None\nEMAIL:a@b\nEND:VCARD\nEND:VCARD\n"), IsEmpty());
}

TEST(Vcard, AddressesOfOneCardAreBounded) {
  std::string lines = "N:Doe\r\n";
  for (int i = 0; i < 1000; ++i) lines += "EMAIL:a" + std::to_string(i) + "@b\r\n";
  EXPECT_EQ(ReadVcards(Card(lines)).at(0).addresses.size(), 50U);
}

// --- Where they are found ------------------------------------------------------------------------

class ContactsTest : public testing::Test {
 protected:
  void AddCard(const std::string& file, const std::string& last, const std::string& first,
               const std::string& address) {
    WriteAll(folder / file, Card("N:" + last + ";" + first + "\r\nEMAIL:" + address + "\r\n"));
  }
  // An address book with these properties: card, name, value.
  void AddBook(const std::string& file, const std::vector<std::vector<std::string>>& rows) {
    std::filesystem::create_directories(std::filesystem::path(folder / file).parent_path());
    sqlite3* book = nullptr;
    ASSERT_EQ(sqlite3_open((folder / file).c_str(), &book), SQLITE_OK);
    std::string sql = "BEGIN; CREATE TABLE properties (card TEXT, name TEXT, value TEXT);";
    for (const auto& row : rows) {
      sql += "INSERT INTO properties VALUES('" + row[0] + "','" + row[1] + "','" + row[2] + "');";
    }
    sql += "COMMIT;";
    ASSERT_EQ(sqlite3_exec(book, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(book);
  }
  std::vector<std::string> All() {
    std::vector<std::string> shown;
    const auto contacts = LinuxContacts(folder / "data").ReadAll();
    if (!contacts) return {"(no source)"};
    for (const Contact& contact : *contacts) shown.push_back(Shown(contact));
    return shown;
  }

  TempFolder folder;
  Environment home{"HOME", folder / "home"};
  Environment config{"XDG_CONFIG_HOME", folder / "home/.config"};
  Environment data{"XDG_DATA_HOME", folder / "home/.local/share"};
};

TEST_F(ContactsTest, WithoutAnySourceThereIsNothing) {
  EXPECT_THAT(All(), ElementsAre("(no source)"));
}

TEST_F(ContactsTest, AnEmptyFolderIsASource) {
  std::filesystem::create_directories(folder / "data/contacts");
  EXPECT_THAT(All(), IsEmpty());
}

TEST_F(ContactsTest, AllSourcesAreMergedAndSorted) {
  AddCard("data/contacts/one.vcf", "Zed", "Zoe", "zoe@x");
  AddCard("home/.contacts/list/two.VCF", "adams", "Bob", "bob@x");
  AddCard("home/.local/share/vdirsyncer/a/b/three.vcard", "Adams", "Ann", "ann@x");
  AddCard("khard/four.vcf", "\xC3\x84rger", "Anna", "aerger@x");
  WriteAll(folder / "home/.config/khard/khard.conf",
           "[addressbooks]\n[[friends]]\n path = " + (folder / "khard") + "\n");
  AddCard("home/sync/five.vcf", "Bond", "James", "bond@x");
  WriteAll(folder / "home/.config/vdirsyncer/config", "[storage x]\npath = \"~/sync/\"\n");
  AddBook("home/.thunderbird/abc.default/abook.sqlite", {{"c1", "LastName", "Miller"},
                                                         {"c1", "FirstName", "Max"},
                                                         {"c1", "PrimaryEmail", "max@x"},
                                                         {"c1", "SecondEmail", "max2@x"},
                                                         {"c1", "LowercasePrimaryEmail", "no@x"}});
  AddBook("home/.mozilla-thunderbird/p/history.sqlite",
          {{"c9", "DisplayName", "Carla Coe"}, {"c9", "PrimaryEmail", "carla@x"}});
  EXPECT_THAT(All(),
              ElementsAre("Adams, Ann: ann@x", "adams, Bob: bob@x", "\xC3\x84rger, Anna: aerger@x",
                          "Bond, James: bond@x", "Coe, Carla: carla@x", "Miller, Max: max@x max2@x",
                          "Zed, Zoe: zoe@x"));
}

TEST_F(ContactsTest, AnAddressHasOneContactAndAContactIsThereOnce) {
  AddCard("data/contacts/one.vcf", "Doe", "Ann", "Ann@Example.com");
  AddCard("data/contacts/two.vcf", "Doe", "Ann", "ann@example.COM");
  AddCard("home/.contacts/three.vcf", "Doe", "Ann", "second@example.com");
  AddCard("home/.contacts/four.vcf", "Other", "", "ANN@example.com");
  EXPECT_THAT(All(), ElementsAre("Doe, Ann: Ann@Example.com second@example.com"));
}

TEST_F(ContactsTest, ContactsWithoutANameAreLast) {
  AddCard("data/contacts/one.vcf", "", "", "nameless@x");
  AddCard("data/contacts/two.vcf", "Zed", "", "zed@x");
  EXPECT_THAT(All(), ElementsAre("Zed, : zed@x", ", : nameless@x"));
}

TEST_F(ContactsTest, FoldersInCirclesHugeFilesAndPipesAreLeftOut) {
  AddCard("data/contacts/one.vcf", "Doe", "Ann", "ann@x");
  std::filesystem::create_directory_symlink(folder / "data/contacts",
                                            folder / "data/contacts/again");
  std::filesystem::create_symlink(folder / "nowhere", folder / "data/contacts/broken.vcf");
  std::filesystem::create_directories(folder / "data/contacts/folder.vcf");
  ASSERT_EQ(mkfifo((folder / "data/contacts/pipe.vcf").c_str(), 0600), 0);
  WriteAll(folder / "data/contacts/huge.vcf", Card("N:Huge\r\nEMAIL:huge@x\r\n"));
  std::filesystem::resize_file(folder / "data/contacts/huge.vcf", 33 * 1024 * 1024);
  WriteAll(folder / "data/contacts/noise.vcf", std::string("\0\xFF\n:::\n;;", 9));
  EXPECT_THAT(All(), ElementsAre("Doe, Ann: ann@x"));
}

TEST_F(ContactsTest, AFolderThatCannotBeReadIsNoSource) {
  AddCard("data/contacts/one.vcf", "Doe", "Ann", "ann@x");
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  chmod((folder / "data/contacts").c_str(), 0755);
  {
    const PlainUser user;
    EXPECT_THAT(All(), ElementsAre("Doe, Ann: ann@x"));
  }
  chmod((folder / "data/contacts").c_str(), 0000);
  {
    const PlainUser user;
    EXPECT_THAT(All(), ElementsAre("(no source)"));
  }
  chmod((folder / "data/contacts").c_str(), 0700);
}

// --- Address books -------------------------------------------------------------------------------

TEST_F(ContactsTest, ALockedBookIsReadAndLeftAsItIs) {
  AddBook("p/abook.sqlite", {{"1", "PrimaryEmail", "a@x"}, {"1", "LastName", "Doe"}});
  sqlite3* writer = nullptr;
  ASSERT_EQ(sqlite3_open((folder / "p/abook.sqlite").c_str(), &writer), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(writer, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  const auto book = ReadAddressBook(folder / "p/abook.sqlite");
  sqlite3_close(writer);
  ASSERT_TRUE(book);
  ASSERT_EQ(book->size(), 1U);
  EXPECT_EQ(Shown(book->front()), "Doe, : a@x");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "p"), {}), 1);
}

TEST_F(ContactsTest, ABookInAStrangeFolderIsFound) {
  AddBook("p?q#r%41/abook.sqlite", {{"1", "PrimaryEmail", "a@x"}});
  EXPECT_TRUE(ReadAddressBook(folder / "p?q#r%41/abook.sqlite"));
}

TEST_F(ContactsTest, WhatIsNoBookIsNothing) {
  EXPECT_FALSE(ReadAddressBook(folder / "nowhere.sqlite"));
  WriteAll(folder / "text.sqlite", "no database at all, but long enough to be looked at as one");
  EXPECT_FALSE(ReadAddressBook(folder / "text.sqlite"));
  std::filesystem::create_directories(folder / "folder.sqlite");
  EXPECT_FALSE(ReadAddressBook(folder / "folder.sqlite"));
  ASSERT_EQ(mkfifo((folder / "pipe.sqlite").c_str(), 0600), 0);
  EXPECT_FALSE(ReadAddressBook(folder / "pipe.sqlite"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open((folder / "other.sqlite").c_str(), &other), SQLITE_OK);
  sqlite3_exec(other, "CREATE TABLE cards (a)", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  EXPECT_FALSE(ReadAddressBook(folder / "other.sqlite"));
}

TEST_F(ContactsTest, ADamagedBookEndsNothing) {
  std::vector<std::vector<std::string>> rows;
  rows.reserve(2000);
  for (int i = 0; i < 2000; ++i) {
    rows.push_back({std::to_string(i), "PrimaryEmail", "a" + std::to_string(i) + "@x"});
  }
  AddBook("p/abook.sqlite", rows);
  const std::string whole = ReadAll(folder / "p/abook.sqlite");
  for (std::size_t at = 0; at < whole.size(); at += 997) {
    std::string damaged = whole;
    for (std::size_t i = at; i < std::min(at + 64, whole.size()); ++i) damaged[i] = '\xA5';
    WriteAll(folder / "damaged.sqlite", damaged);
    const auto book = ReadAddressBook(folder / "damaged.sqlite");
    EXPECT_LE(book ? book->size() : 0, 3000U);
    WriteAll(folder / "cut.sqlite", whole.substr(0, at));
    ReadAddressBook(folder / "cut.sqlite");
  }
}

TEST_F(ContactsTest, ABookThatNeverEndsIsGivenUp) {
  sqlite3* book = nullptr;
  ASSERT_EQ(sqlite3_open((folder / "endless.sqlite").c_str(), &book), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(book,
                   "CREATE VIEW properties AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL "
                   "SELECT i + 1 FROM n) SELECT i AS card, 'X' || i AS name, 'a@b' AS value FROM n",
                   nullptr, nullptr, nullptr),
      SQLITE_OK);
  sqlite3_close(book);
  EXPECT_FALSE(ReadAddressBook(folder / "endless.sqlite"));
}

TEST_F(ContactsTest, ValuesOfABookAreCleaned) {
  AddBook("p/abook.sqlite", {{"1", "PrimaryEmail", "a@x\r\nBcc: eve@x"},
                             {"1", "SecondEmail", "b@x"},
                             {"1", "FirstName", "An\nn"},
                             {"1", "LastName", ""}});
  const auto book = ReadAddressBook(folder / "p/abook.sqlite");
  ASSERT_TRUE(book);
  EXPECT_EQ(Shown(book->at(0)), ", An n: b@x");
}

}  // namespace
}  // namespace quillet::port
