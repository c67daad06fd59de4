// SPDX-License-Identifier: GPL-3.0-or-later
// The file: a line that names the layout, then numbers and texts in one order, each text with its
// length in bytes before it. Wide texts are UTF-16 little-endian, so that nothing of them is lost.
#include "post/draft.h"

#include "base/messages.h"
#include "base/registry_values.h"
#include "port/files.h"
#include "port/platform.h"
#include "post/article_text.h"
#include "util/format.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

constexpr std::string_view kLayout = "Quillet draft 1\n";
// All the same, but every unit of the text is a character. Without a unit that could be a quoted
// byte there is no difference, and earlier versions can open the file.
constexpr std::string_view kCharacterLayout = "Quillet draft 2\n";
static_assert(kLayout.size() == kCharacterLayout.size());

class Writer {
 public:
  explicit Writer(std::string_view layout) : data_(layout) {}
  template <class Value>
  void Number(Value value, std::uint32_t /*end*/ = 0) {
    AppendU32(data_, static_cast<std::uint32_t>(value));
  }
  void Text(std::string_view text) {
    Number(text.size());
    data_ += text;
  }
  void Text(std::u16string_view text) { Text(Utf16Bytes(text)); }
  std::string Take() { return std::move(data_); }

 private:
  std::string data_;
};

// After a value that is not there all are empty, and it is not good any more.
class Reader {
 public:
  explicit Reader(std::string_view data)
      : rest_(data), good_(data.starts_with(kLayout) || HasCharacters(data)) {
    rest_.remove_prefix(good_ ? kLayout.size() : rest_.size());
  }
  static bool HasCharacters(std::string_view data) { return data.starts_with(kCharacterLayout); }
  // One of those below `end`; 0: any.
  template <class Value>
  void Number(Value& value, std::uint32_t end = 0) {
    const std::uint32_t number = Take();
    good_ = good_ && (end == 0 || number < end);
    value = static_cast<Value>(good_ ? number : 0);
  }
  void Text(std::string& text) { text = Bytes(); }
  void Text(std::u16string& text) { text = Utf16Text(Bytes()); }
  // Nothing may follow: a later layout has another name.
  bool AtEnd() const { return good_ && rest_.empty(); }

 private:
  bool Has(std::size_t count) {
    good_ = good_ && rest_.size() >= count;
    return good_;
  }
  std::uint32_t Take() {
    if (!Has(4)) return 0;
    const std::uint32_t number = GetU32(rest_, 0);
    rest_.remove_prefix(4);
    return number;
  }
  std::string_view Bytes() {
    const std::size_t length = Take();
    if (!Has(length)) return {};
    const std::string_view bytes = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return bytes;
  }

  std::string_view rest_;
  bool good_;
};

// All of a draft in the order of the file: to a Writer, or from a Reader.
template <class Stream, class AnyDraft>
void Pass(Stream& stream, AnyDraft& draft) {
  stream.Number(draft.simple, 2);
  stream.Number(draft.info.reply, 3);
  stream.Number(draft.info.mode, 4);
  stream.Number(draft.field, 3);
  stream.Number(draft.caret);
  stream.Number(draft.mailed, 2);
  stream.Text(draft.info.key);
  stream.Text(draft.storing_key);
  stream.Text(draft.mail_id);
  stream.Text(draft.info.subject);
  stream.Text(draft.info.newsgroups);
  stream.Text(draft.info.references);
  stream.Text(draft.info.recipients);
  stream.Text(draft.info.copy_to);
  stream.Text(draft.info.text);
}

}  // namespace

std::string SerializeDraft(const Draft& draft) {
  const bool differs = draft.info.characters && HasQuotedUnits(draft.info.text);
  Writer out(differs ? kCharacterLayout : kLayout);
  Pass(out, draft);
  return out.Take();
}

std::optional<Draft> ParseDraft(std::string_view data) {
  Reader in(data);
  Draft draft;
  Pass(in, draft);
  if (!in.AtEnd()) return std::nullopt;
  draft.info.characters = Reader::HasCharacters(data);
  return draft;
}

bool SaveDraft(const Draft& draft) {
  return gPlatform->files.WriteFile(kDraftPath, SerializeDraft(draft));
}

void DeleteDraft() {
  gPlatform->files.Delete(kDraftPath);
}

std::optional<Draft> LoadDraft() {
  port::Files& files = gPlatform->files;
  if (!files.FileSize(kDraftPath)) return std::nullopt;
  const auto data = files.ReadFile(kDraftPath, kLongestDraft);
  std::optional<Draft> draft = data ? ParseDraft(*data) : std::nullopt;
  if (draft) return draft;
  const bool aside = files.Rename(kDraftPath, kDamagedDraftPath);
  ShowMessage(FormatWide(
      u"The article that you were writing when Quillet CE ended could not be read. It has been "
      u"kept as \"%ls\".",
      FromUtf8(files.NativePath(aside ? kDamagedDraftPath : kDraftPath))));
  return std::nullopt;
}

}  // namespace quillet
