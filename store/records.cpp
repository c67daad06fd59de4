// SPDX-License-Identifier: GPL-3.0-or-later
// An article's nine texts are one block of NUL-terminated strings, plain or compressed, behind a
// few words; kStrings has their order, which everything follows. Reading checks lengths before it
// looks inside. StoredTexts reads the same block without copying a text, for searches through
// everything.
#include "store/records.h"

#include <array>
#include <new>
#include <utility>

#include "base/messages.h"
#include "base/prefs.h"
#include "base/records.h"
#include "base/window_procedures.h"
#include "mime/references.h"
#include "mime/shown_text.h"
#include "store/bulk_store.h"
#include "store/compression.h"
#include "store/databases.h"
#include "store/record_strings.h"
#include "store/stored_article.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

constexpr std::uint32_t kPlainFormat = 1;
constexpr std::uint32_t kCompressedFormat = 2;
constexpr std::size_t kPlainHeader = 20;       // five words
constexpr std::size_t kCompressedHeader = 24;  // and the length of the text
constexpr std::size_t kShortestArticle = 24;   // shorter values are no articles

struct StringField {
  std::optional<std::string> AsciiArticle::*text;
  bool is_name;  // taken by names_only too
};

// In the order in which they are stored.
constexpr std::array<StringField, 9> kStrings = {{
    {&AsciiArticle::messageId, false},
    {&AsciiArticle::headers, false},
    {&AsciiArticle::body, false},
    {&AsciiArticle::parentId, true},
    {&AsciiArticle::subject, true},
    {&AsciiArticle::from, true},
    {&AsciiArticle::source, true},
    {&AsciiArticle::date, true},
    {&AsciiArticle::replyTo, false},
}};

constexpr std::size_t kHeadersText = 1, kSubjectText = 4;  // their places

void AppendWords(std::string& value, std::uint32_t format, const AsciiArticle& article) {
  for (const std::uint32_t word :
       {format, article.read, article.reserved1, article.reserved2, article.articleNumber}) {
    AppendU32(value, word);
  }
}

void TakeWords(std::string_view value, AsciiArticle& article) {
  article.read = GetU32(value, 4);
  article.reserved1 = GetU32(value, 8);
  article.reserved2 = GetU32(value, 12);
  article.articleNumber = GetU32(value, 16);
}

std::size_t TextLength(const AsciiArticle& article) {
  std::size_t length = 0;
  for (const StringField& field : kStrings) length += UntilNul(*(article.*field.text)).size() + 1;
  return length;
}

void AppendStrings(std::string& value, const AsciiArticle& article) {
  for (const StringField& field : kStrings) {
    value.append(UntilNul(*(article.*field.text)));
    value.push_back('\0');
  }
}

std::string SerializePlain(const AsciiArticle& article, std::size_t text_length) {
  std::string value;
  value.reserve(kPlainHeader + text_length + kSlackLength);
  AppendWords(value, kPlainFormat, article);
  AppendStrings(value, article);
  value.append(kSlackLength, '\0');
  return value;
}

std::optional<std::string> SerializeCompressed(const AsciiArticle& article,
                                               std::size_t text_length) {
  std::string block;
  block.reserve(text_length);
  AppendStrings(block, article);
  const auto stream = CompressBlock(block);
  if (!stream) return std::nullopt;
  std::string value;
  value.reserve(kCompressedHeader + stream->size() + kSlackLength);
  AppendWords(value, kCompressedFormat, article);
  AppendU32(value, static_cast<std::uint32_t>(block.size()));
  value.append(*stream);
  value.append(kSlackLength, '\0');
  return value;
}

bool WantsCompression(SerializeMode mode) {
  if (!gCompressionAvailable || mode == SerializeMode::kPlain) return false;
  return mode == SerializeMode::kCompress || (gPrefs && gPrefs->usecompression != 0);
}

// The compressor's failures, memory included, end in the plain form, silently.
std::optional<std::string> TryCompressed(const AsciiArticle& article, std::size_t text_length) {
  try {
    return SerializeCompressed(article, text_length);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

std::optional<std::uint32_t> ArticleFormat(std::string_view value) {
  if (value.size() < kShortestArticle || value.size() > kLongestRecord) return std::nullopt;
  const std::uint32_t format = GetU32(value, 0);
  if (format != kPlainFormat && format != kCompressedFormat) return std::nullopt;
  return format;
}

using Texts = std::array<std::string_view, kStrings.size()>;

bool ReadTexts(std::string_view block, Texts& texts) {
  StringReader reader(block);
  for (std::string_view& text : texts) {
    const auto next = reader.Next();
    if (!next) return false;
    text = *next;
  }
  return true;
}

bool TakeStrings(std::string_view block, AsciiArticle& article, bool names_only) {
  Texts texts;
  if (!ReadTexts(block, texts)) return false;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (!names_only || kStrings[i].is_name) article.*kStrings[i].text = std::string(texts[i]);
  }
  if (names_only) {
    article.subject = JoinedSubject(texts[kSubjectText], texts[kHeadersText]);
    article.references = std::string(ReferencesField(texts[kHeadersText]));
  }
  return true;
}

void RefuseWithoutLibrary() {
  ShowMessage(
      u"You have requested that an article be opened which contains compressed data, but the BZIP2 "
      u"DLL is not available. Quillet CE will now quit.");
  Dispatch({gMainWindow, port::MessageKind::kClose, 0, 0, {}});
}

// The texts of a plain record.
std::string_view PlainBlock(std::string_view value) {
  return value.substr(kPlainHeader, value.size() - kPlainHeader - kSlackLength);
}

// No memory is taken for a length that no article has.
std::optional<std::string> Decompressed(std::string_view value) {
  if (value.size() < kCompressedHeader + kSlackLength) return std::nullopt;
  const std::uint32_t length = GetU32(value, 20);
  if (length < kStrings.size() || length > kLongestRecord) return std::nullopt;
  return DecompressBlock(
      value.substr(kCompressedHeader, value.size() - kCompressedHeader - kSlackLength), length);
}

enum class Damage { kTold, kSilent };

// Those of a compressed one; nothing after a failure, which is told.
std::optional<std::string> ExpandBlock(std::string_view value, Damage damage = Damage::kTold) {
  if (!gCompressionAvailable) {
    RefuseWithoutLibrary();
    return std::nullopt;
  }
  auto block = Decompressed(value);
  if (!block && damage == Damage::kTold) ShowMessage(u"Decompress returned an error");
  return block;
}

bool ParseCompressed(std::string_view value, AsciiArticle& article, bool names_only,
                     Damage damage) {
  const auto block = ExpandBlock(value, damage);
  if (!block || !TakeStrings(*block, article, names_only)) return false;
  // The four bytes at the end count as compressed text here.
  const auto stored = static_cast<float>(value.size() - kCompressedHeader);
  const auto plain = static_cast<float>(GetU32(value, 20));
  article.compressionSavings = 1.0 - static_cast<double>(stored / plain);
  return true;
}

bool ParseValue(std::string_view value, AsciiArticle& article, bool names_only, Damage damage) {
  const auto format = ArticleFormat(value);
  if (!format) return false;
  TakeWords(value, article);
  article.compressionSavings = 0;
  if (*format == kCompressedFormat) return ParseCompressed(value, article, names_only, damage);
  return TakeStrings(PlainBlock(value), article, names_only);
}

bool ParseGuarded(std::string_view value, AsciiArticle& article, bool names_only, Damage damage) {
  try {
    return ParseValue(value, article, names_only, damage);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::unique_ptr<AsciiArticle> FetchRecord(DatabaseIndex index, std::string_view key,
                                          bool names_only) {
  const auto value = FetchValue(index, key);
  if (!value) return nullptr;
  auto article = NewAsciiArticle();
  if (article && !ParseArticle(*value, *article, names_only)) article.reset();
  return article;
}

}  // namespace

std::unique_ptr<AsciiArticle> NewAsciiArticle() {
  return NewRecord<AsciiArticle>(u"NewAsciiArticle");
}

std::optional<std::string> SerializeArticle(AsciiArticle& article, SerializeMode mode) {
  for (const StringField& field : kStrings) {
    if (!(article.*field.text)) (article.*field.text).emplace();
  }
  const std::size_t length = TextLength(article);
  // What could not be read back is not written.
  if (length > kLongestRecord - kCompressedHeader - kSlackLength) return std::nullopt;
  if (WantsCompression(mode)) {
    if (auto value = TryCompressed(article, length)) return value;
  }
  try {
    return SerializePlain(article, length);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

bool ParseArticle(std::string_view value, AsciiArticle& article, bool names_only) {
  return ParseGuarded(value, article, names_only, Damage::kTold);
}

bool ParseArticleSilently(std::string_view value, AsciiArticle& article) {
  return ParseGuarded(value, article, false, Damage::kSilent);
}

bool IsArticleValue(std::string_view value) {
  return ArticleFormat(value).has_value();
}

std::unique_ptr<AsciiArticle> FetchArticleRecord(DatabaseIndex index, std::string_view key) {
  return FetchRecord(index, key, false);
}

bool StoreArticle(AsciiArticle& article) {
  const auto value = SerializeArticle(article, SerializeMode::kByPreference);
  const std::string key = StringKey(*article.messageId);
  if (value && StoreValue(DatabaseIndex::kArticles, key, *value, StoreMode::kReplace)) {
    NoteArticleStored(key.size() + value->size());
    return true;
  }
  // A download tells of a full store in its own words.
  if (!StoreLacksRoom() || !BulkStoring()) ShowMessage(u"Error inserting GDBM article.");
  return false;
}

std::unique_ptr<AsciiArticle> FetchArticle(std::string_view message_id) {
  return FetchArticleRecord(DatabaseIndex::kArticles, StringKey(message_id));
}

std::unique_ptr<AsciiArticle> FetchArticleNames(std::string_view message_id) {
  return FetchRecord(DatabaseIndex::kArticles, StringKey(message_id), true);
}

bool StoredTexts::Take(HeldValue value) {
  value_ = std::move(value);
  const auto format = ArticleFormat(value_.view());
  if (!format) return false;
  if (*format == kPlainFormat) {
    all_ = PlainBlock(value_.view());
  } else {
    auto block = ExpandBlock(value_.view());
    if (!block) return false;
    expanded_ = *std::move(block);
    all_ = expanded_;
  }
  return ReadTexts(all_, texts_);
}

bool StoredTexts::Fetch(std::string_view message_id) {
  try {
    if (Take(FetchHeldValue(DatabaseIndex::kArticles, StringKey(message_id)))) return true;
  } catch (const std::bad_alloc&) {
    // as a record that cannot be read
  }
  all_ = {};
  texts_ = {};
  return false;
}

std::string_view StoredTexts::Text(std::optional<std::string> AsciiArticle::*field) const {
  for (std::size_t i = 0; i < kStrings.size(); ++i) {
    if (kStrings[i].text == field) return texts_[i];
  }
  return {};
}

bool ArticleExists(std::string_view message_id) {
  return ValueExists(DatabaseIndex::kArticles, StringKey(message_id));
}

bool IsArticleRead(std::string_view message_id) {
  const HeldValue value = FetchHeldValue(DatabaseIndex::kArticles, StringKey(message_id));
  return value && IsArticleValue(value.view()) && GetU32(value.view(), 4) != 0;
}

bool DeleteArticle(std::string_view message_id) {
  const std::string key = StringKey(message_id);
  return DeleteValue(DatabaseIndex::kArticles, key) || !ValueExists(DatabaseIndex::kArticles, key);
}

}  // namespace quillet
