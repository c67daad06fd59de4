// The file: a line that names the layout, then numbers and texts in one order, each text with its
// length in bytes before it. Wide texts are UTF-16 little-endian, so that nothing of them is lost.
#include "post/draft.h"

#include "base/messages.h"
#include "base/registry_values.h"
#include "port/files.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

constexpr std::string_view kLayout = "Quillet draft 1\n";
constexpr std::uint64_t kLongestDraft = 1U << 30;

class Writer {
 public:
  void Number(std::size_t value) { AppendU32(data_, static_cast<std::uint32_t>(value)); }
  void Text(std::string_view text) {
    Number(text.size());
    data_ += text;
  }
  void Text(std::u16string_view text) { Text(Utf16Bytes(text)); }
  std::string Take() { return std::move(data_); }

 private:
  std::string data_{kLayout};
};

// After a value that is not there all are empty, and it is not good any more.
class Reader {
 public:
  explicit Reader(std::string_view data) : rest_(data), good_(data.starts_with(kLayout)) {
    rest_.remove_prefix(good_ ? kLayout.size() : rest_.size());
  }
  std::uint32_t Number() {
    if (!Has(4)) return 0;
    const std::uint32_t value = GetU32(rest_, 0);
    rest_.remove_prefix(4);
    return value;
  }
  // One of those below `end`.
  int Choice(int end) {
    const std::uint32_t value = Number();
    good_ = good_ && value < static_cast<std::uint32_t>(end);
    return good_ ? static_cast<int>(value) : 0;
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
  std::string_view Bytes() {
    const std::size_t length = Number();
    if (!Has(length)) return {};
    const std::string_view bytes = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return bytes;
  }

  std::string_view rest_;
  bool good_;
};

}  // namespace

std::string SerializeDraft(const Draft& draft) {
  Writer out;
  out.Number(draft.simple ? 1 : 0);
  out.Number(static_cast<std::size_t>(draft.info.reply));
  out.Number(static_cast<std::size_t>(draft.info.mode));
  out.Number(static_cast<std::size_t>(draft.field));
  out.Number(draft.caret);
  out.Number(draft.mailed ? 1 : 0);
  out.Text(draft.info.key);
  out.Text(draft.storing_key);
  out.Text(draft.mail_id);
  out.Text(draft.info.subject);
  out.Text(draft.info.newsgroups);
  out.Text(draft.info.references);
  out.Text(draft.info.recipients);
  out.Text(draft.info.copy_to);
  out.Text(draft.info.text);
  return out.Take();
}

std::optional<Draft> ParseDraft(std::string_view data) {
  Reader in(data);
  Draft draft;
  draft.simple = in.Choice(2) != 0;
  draft.info.reply = static_cast<ReplyFlag>(in.Choice(3));
  draft.info.mode = static_cast<RouteMode>(in.Choice(4));
  draft.field = in.Choice(3);
  draft.caret = in.Number();
  draft.mailed = in.Choice(2) != 0;
  in.Text(draft.info.key);
  in.Text(draft.storing_key);
  in.Text(draft.mail_id);
  in.Text(draft.info.subject);
  in.Text(draft.info.newsgroups);
  in.Text(draft.info.references);
  in.Text(draft.info.recipients);
  in.Text(draft.info.copy_to);
  in.Text(draft.info.text);
  if (!in.AtEnd()) return std::nullopt;
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
