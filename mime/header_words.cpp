// SPDX-License-Identifier: GPL-3.0-or-later
// Written here and not left to the mail library, because most of what comes is not what the
// standard allows, and because sets have more names than iconv knows. A header of one word takes
// 0.3 to 0.7 us here, 0.3 to 1.8 us there; one of raw UTF-8 0.2 and 2.5 us.
#include "mime/header_words.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "mime/charset.h"
#include "mime/harmless.h"
#include "mime/transfer.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kLongestCharset = 64;

struct Word {
  std::string_view charset;
  bool base64 = false;
  std::string_view data;
  std::size_t end = 0;  // one past the word
};

bool IsFoldingSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool IsFoldingSpace(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return IsFoldingSpace(c); });
}

bool IsToken(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
}

// "=?charset?Q?" at `start`: a word without its end; `end` is where its data begin.
std::optional<Word> OpenerAt(std::string_view text, std::size_t start) {
  const std::string_view rest = text.substr(start + 2, kLongestCharset + 3);
  const std::size_t mark = rest.find('?');
  if (mark == std::string_view::npos || mark + 2 >= rest.size() || rest[mark + 2] != '?') return {};
  const char encoding = ToLowerAscii(rest[mark + 1]);
  if (encoding != 'b' && encoding != 'q') return {};
  std::string_view charset = rest.substr(0, mark);
  charset = charset.substr(0, charset.find('*'));  // a language may follow
  if (!IsToken(charset)) return {};
  return Word{charset, encoding == 'b', {}, start + 2 + mark + 3};
}

void DecodeData(const Word& word, std::string& out) {
  if (word.base64) return DecodeBase64(word.data, out);
  for (std::size_t at = 0; at < word.data.size();) {
    const int byte = EscapedByte(word.data.substr(at));
    const char c = word.data[at];
    at += byte < 0 ? 1 : 3;
    if (byte >= 0) {
      out += static_cast<char>(byte);
    } else if (c != '\r' && c != '\n') {
      out += c == '_' || c == '\t' ? ' ' : c;
    }
  }
}

class HeaderDecoder {
 public:
  HeaderDecoder(std::string_view text, HeaderForm form) : text_(text), form_(form) {}

  std::u16string Run() {
    out_.reserve(text_.size());
    std::size_t done = 0;
    for (std::size_t at = text_.find("=?"); at != std::string_view::npos;) {
      const std::optional<Word> word = WordAt(at);
      if (word) {
        TakeGap(text_.substr(done, at - done));
        TakeWord(*word);
        done = word->end;
      }
      at = text_.find("=?", word ? done : at + 2);
    }
    FlushWords();
    AppendPlain(text_.substr(done));
    return std::move(out_);
  }

 private:
  // The next "?=" from `from` on. Most often the same as the last time, so that many beginnings
  // without an end cost no more than one.
  std::size_t NextEnd(std::size_t from) {
    if (next_end_ == 0 || (next_end_ != std::string_view::npos && next_end_ < from)) {
      next_end_ = text_.find("?=", from);
    }
    return next_end_;
  }

  // A word in whose data another one begins has been cut: it stays, the other is taken.
  bool HoldsOpener(std::size_t from, std::size_t end) const {
    for (std::size_t at = text_.find("=?", from); at < end; at = text_.find("=?", at + 1)) {
      if (OpenerAt(text_, at)) return true;
    }
    return false;
  }

  std::optional<Word> WordAt(std::size_t start) {
    std::optional<Word> word = OpenerAt(text_, start);
    if (!word) return std::nullopt;
    const std::size_t data = word->end, end = NextEnd(data);
    if (end == std::string_view::npos || HoldsOpener(data, end)) return std::nullopt;
    if (!IsKnownCharset(word->charset)) return std::nullopt;
    word->data = text_.substr(data, end - data);
    word->end = end + 2;
    return word;
  }

  // What stands before a word: blanks between two words mean nothing.
  void TakeGap(std::string_view gap) {
    if (after_word_ && IsFoldingSpace(gap)) return;
    FlushWords();
    AppendPlain(gap);
  }

  void TakeWord(const Word& word) {
    if (!words_.empty() && !EqualsNoCase(Widen(words_.front().charset), Widen(word.charset))) {
      FlushWords();
    }
    words_.push_back(word);
    after_word_ = true;
  }

  // Words of one set that follow each other are one text: a character may be cut by their ends.
  // Where that makes no sense each speaks for itself.
  void FlushWords() {
    after_word_ = false;
    if (words_.empty()) return;
    const std::size_t from = out_.size();
    std::string bytes;
    for (const Word& word : words_) DecodeData(word, bytes);
    const std::string_view charset = words_.front().charset;
    if (words_.size() == 1) {
      out_ += DecodeCharset(bytes, charset);
    } else if (std::optional<std::u16string> whole = DecodeExactly(bytes, charset)) {
      out_ += *whole;
    } else {
      for (const Word& word : words_) {
        bytes.clear();
        DecodeData(word, bytes);
        out_ += DecodeCharset(bytes, charset);
      }
    }
    words_.clear();
    MakeOneLine(out_, from);
  }

  void AppendPlain(std::string_view stored) {
    if (stored.empty()) return;
    const std::size_t from = out_.size();
    if (form_ == HeaderForm::kOneLine) {
      std::u16string plain = DecodeUnlabelled(stored);
      std::erase_if(plain, [](char16_t unit) { return unit == u'\r' || unit == u'\n'; });
      out_ += plain;
      return MakeOneLine(out_, from);
    }
    for (bool more = true; more;) {
      const std::size_t end = std::min(stored.find_first_of("\r\n"), stored.size());
      const std::size_t line = out_.size();
      out_ += DecodeUnlabelled(stored.substr(0, end));
      MakeOneLine(out_, line);
      const std::size_t next = std::min(stored.find_first_not_of("\r\n", end), stored.size());
      out_ += Widen(stored.substr(end, next - end));
      stored.remove_prefix(next);
      more = !stored.empty();
    }
  }

  std::string_view text_;
  HeaderForm form_;
  std::u16string out_;
  std::vector<Word> words_;  // of one set, not shown yet
  bool after_word_ = false;
  std::size_t next_end_ = 0;
};

}  // namespace

bool HasNothingToDecode(std::string_view stored) {
  return IsAscii(stored) && stored.find("=?") == std::string_view::npos;
}

std::u16string DecodeHeaderWords(std::string_view stored, HeaderForm form) {
  return HeaderDecoder(stored, form).Run();
}

}  // namespace quillet
