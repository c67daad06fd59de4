// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/address_book.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <map>
#include <memory>
#include <string_view>
#include <utility>

#include "port/linux/native_files.h"
#include "port/linux/vcard.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::size_t kMostRows = 500'000;
constexpr int kLongestValue = 1'000'000;
// A file that was made to keep its reader busy does not: so many times so many steps.
constexpr int kStepsPerLook = 10'000;
constexpr int kMostLooks = 5'000;

constexpr const char* kQuery =
    "SELECT card, name, value FROM properties WHERE name IN ('FirstName', 'LastName', "
    "'DisplayName', 'PrimaryEmail', 'SecondEmail')";

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
struct Finalize {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

struct Card {
  std::u16string first;
  std::u16string last;
  std::u16string shown;
  std::u16string primary;
  std::u16string second;
};

std::string ColumnText(sqlite3_stmt* row, int column) {
  const void* text = sqlite3_column_blob(row, column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, column));
  return text == nullptr ? std::string() : std::string(static_cast<const char*>(text), size);
}

void NoteProperty(const std::string& name, const std::u16string& value, Card& card) {
  if (name == "FirstName") card.first = CleanName(value);
  if (name == "LastName") card.last = CleanName(value);
  if (name == "DisplayName") card.shown = CleanName(value);
  if (name == "PrimaryEmail") card.primary = CleanAddress(value);
  if (name == "SecondEmail") card.second = CleanAddress(value);
}

Contact ToContact(Card card) {
  Contact contact{std::move(card.last), std::move(card.first), {}};
  if (contact.last.empty() && contact.first.empty()) SplitFullName(card.shown, contact);
  for (std::u16string* address : {&card.primary, &card.second}) {
    if (!address->empty()) contact.addresses.push_back(std::move(*address));
  }
  return contact;
}

int CountLook(void* looks) {
  return ++*static_cast<int*>(looks) > kMostLooks ? 1 : 0;
}

}  // namespace

std::optional<std::vector<Contact>> ReadAddressBook(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(SqliteUri(file, true).c_str(), &opened,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  const std::unique_ptr<sqlite3, CloseDatabase> database(opened);
  if (result != SQLITE_OK) return std::nullopt;
  sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, kLongestValue);
  int looks = 0;
  sqlite3_progress_handler(opened, kStepsPerLook, CountLook, &looks);
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(opened, kQuery, -1, &prepared, nullptr) != SQLITE_OK) return std::nullopt;
  const std::unique_ptr<sqlite3_stmt, Finalize> rows(prepared);
  std::map<std::string, Card> cards;
  std::size_t count = 0;
  int step = sqlite3_step(prepared);
  for (; step == SQLITE_ROW && count < kMostRows; step = sqlite3_step(prepared)) {
    ++count;
    NoteProperty(ColumnText(prepared, 1), CardText(ColumnText(prepared, 2)),
                 cards[ColumnText(prepared, 0)]);
  }
  if (count == 0 && step != SQLITE_DONE) return std::nullopt;
  std::vector<Contact> contacts;
  for (auto& each : cards) {
    Contact contact = ToContact(std::move(each.second));
    if (!contact.addresses.empty()) contacts.push_back(std::move(contact));
  }
  return contacts;
}

}  // namespace quillet::port
