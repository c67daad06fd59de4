// SPDX-License-Identifier: GPL-3.0-or-later
// Articles: the record in memory, its stored form, and storing it.
//
// Keys that are strings include their terminating NUL. Program thread only.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "store/held_value.h"

namespace quillet {

struct Node;  // thread-tree node

// A missing string is nothing; SerializeArticle makes it an empty one.
struct AsciiArticle {
  std::optional<std::string> messageId;
  std::optional<std::string> headers;
  std::optional<std::string> body;
  std::uint32_t read = 0;  // in the pending posts database: inProgress
  std::optional<std::string> parentId;
  std::optional<std::string> subject;
  std::optional<std::string> from;
  std::uint32_t reserved1 = 0;
  std::uint32_t reserved2 = 0;
  std::uint32_t articleNumber = 0;
  std::optional<std::string> source;
  Node* node = nullptr;  // borrowed, never stored
  std::optional<std::string> date;
  std::optional<std::string> replyTo;
  std::uint8_t showFlag = 0;               // shown with ROT13; never stored
  std::optional<std::string> displayText;  // the last search text in it; never stored
  // The whole References of the kept header lines, with their line ends; never stored, and filled
  // by FetchArticleNames only.
  std::optional<std::string> references;
  double compressionSavings = 0;  // 0 for an uncompressed record, else 1 - compressed / plain
};

// Null after the critical report "out of memory" in "NewAsciiArticle".
std::unique_ptr<AsciiArticle> NewAsciiArticle();

enum class SerializeMode { kByPreference = 0, kCompress = 1, kPlain = 2 };

// The stored value; nothing when memory ran out. Missing strings of the article become empty. Text
// after an embedded NUL is not stored.
std::optional<std::string> SerializeArticle(AsciiArticle& article, SerializeMode mode);
// Takes the fields of a stored value; false for another format, a value that is too short, strings
// that do not end inside it, or a compressed one that cannot be expanded. With `names_only` just
// parentId, subject (as JoinedSubject makes it), from, source, date and references are taken. The
// four words are taken in any case.
bool ParseArticle(std::string_view value, AsciiArticle& article, bool names_only);

bool StoreArticle(AsciiArticle& article);
std::unique_ptr<AsciiArticle> FetchArticle(std::string_view message_id);
// The same with parentId, subject, from, source, date and references only: what threading needs,
// without the copies of the long texts, and with the subject joined (JoinedSubject) while decoding
// is on. Null for exactly the records that FetchArticle cannot read.
std::unique_ptr<AsciiArticle> FetchArticleNames(std::string_view message_id);
// The texts of a stored article where they lie in its record: for looking through many articles,
// without a copy of each text.
class StoredTexts {
 public:
  // False for exactly the records that FetchArticle cannot read; then there are no texts.
  bool Fetch(std::string_view message_id);
  // One of the nine texts that are stored; it lasts until the next Fetch.
  std::string_view Text(std::optional<std::string> AsciiArticle::*field) const;
  // All nine with a NUL after each.
  std::string_view All() const { return all_; }

 private:
  bool Take(HeldValue value);

  HeldValue value_;
  std::string expanded_;  // the texts of a compressed record
  std::string_view all_;
  std::array<std::string_view, 9> texts_;
};
bool ArticleExists(std::string_view message_id);
bool IsArticleRead(std::string_view message_id);
// False when the record is still there.
bool DeleteArticle(std::string_view message_id);

}  // namespace quillet
