// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/body.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "mime/attachment.h"
#include "mime/binary_in_text.h"
#include "mime/charset.h"
#include "mime/decoding.h"
#include "mime/flowed.h"
#include "mime/harmless.h"
#include "mime/html_text.h"
#include "mime/mime_tree.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kMostFiles = 1000;  // of those that lie in texts; more are text
constexpr std::string_view kPlain = "text/plain", kHtml = "text/html";

bool HasText(std::string_view body) {
  return body.find_first_not_of(" \t\r\n") != std::string_view::npos;
}

// The body as its sender wrote it: a server doubles the dots at the start of lines. Nothing where
// there are none.
std::optional<std::string> WithoutDoubledDots(std::string_view body) {
  if (!body.starts_with("..") && body.find("\n..") == std::string_view::npos) return std::nullopt;
  std::string plain;
  plain.reserve(body.size());
  while (!body.empty()) {
    if (body.starts_with("..")) body.remove_prefix(1);
    const std::size_t end = std::min(body.find('\n'), body.size() - 1) + 1;
    plain.append(body.substr(0, end));
    body.remove_prefix(end);
  }
  return plain;
}

// Whether the text of such a part stands for itself, one unit a byte.
bool IsPlainAscii(const PartHead& head, std::string_view body) {
  return head.type == kPlain && head.transfer == Transfer::kNone && !head.flowed && IsAscii(body) &&
         (head.charset.empty() || KeepsAscii(head.charset));
}

// How well a part serves as the text of several that say the same; 0: not at all.
int Rank(const MimePart& part) {
  if (part.head.attached) return 0;
  if (part.broken) return HasText(part.body) ? 1 : 0;
  if (part.IsMultipart()) {
    int best = 0;
    for (const MimePart& inner : part.parts) best = std::max(best, Rank(inner));
    return best;
  }
  if (!HasText(part.body)) return 0;
  if (part.head.type == kPlain) return 3;
  if (part.head.type == kHtml) return 2;
  return part.head.type.starts_with("text/") && part.head.type != "text/calendar" ? 1 : 0;
}

// Walks through the parts in their order: shows what is text, lists what is not.
class BodyReader {
 public:
  // `wanted`: the attachment whose bytes are to be kept.
  explicit BodyReader(std::optional<std::size_t> wanted = std::nullopt) : wanted_(wanted) {}

  void Read(std::string_view head, std::string_view body) {
    const MimeTree tree(head, body);
    const MimePart& root = tree.root();
    Show(root);
    if (result_.text.empty() && root.IsMultipart() && !root.broken) {
      AppendText(DecodeUnlabelled(HasText(root.preamble) ? root.preamble : root.epilogue));
    }
  }

  DecodedBody TakeResult() { return std::move(result_); }
  std::string TakeBytes() { return std::move(bytes_); }

 private:
  void Show(const MimePart& part) {
    const std::string& type = part.head.type;
    if (part.head.attached) return List(part);
    if (part.broken) return ShowBroken(part);
    if (type == "multipart/alternative") return ShowBest(part);
    if (type == "multipart/related" || type == "multipart/signed") return ShowFirst(part);
    if (part.IsMultipart()) return ShowAll(part);
    if (part.IsMessage()) return ShowMessage(part);
    if (IsShownAsText(type)) return ShowText(part);
    List(part);
  }

  static bool IsShownAsText(const std::string& type) {
    if (type.starts_with("message/") || type == "application/pgp") return true;
    return type.starts_with("text/") && type != "text/calendar" && type != "text/vcard" &&
           type != "text/x-vcard" && type != "text/directory";
  }

  void ShowAll(const MimePart& part) {
    for (const MimePart& inner : part.parts) Show(inner);
  }

  // The first is the text; the others belong to it.
  void ShowFirst(const MimePart& part) {
    for (std::size_t i = 0; i < part.parts.size(); ++i) {
      if (i == 0) {
        Show(part.parts[i]);
      } else {
        ListAll(part.parts[i]);
      }
    }
  }

  // Of several forms of one text the best; other forms of text are no attachments.
  void ShowBest(const MimePart& part) {
    const auto best = std::ranges::max_element(part.parts, {}, Rank);
    for (auto inner = part.parts.begin(); inner != part.parts.end(); ++inner) {
      if (inner == best && Rank(*inner) > 0) {
        Show(*inner);
      } else {
        ListAll(*inner, true);
      }
    }
  }

  void ShowMessage(const MimePart& part) {
    std::u16string lines;
    for (const std::string_view name : {"From", "Subject", "Date"}) {
      const auto value = FieldValue(part.parts.front().own_head, name);
      if (value) lines += Widen(name) + u": " + ShownHeader(*value) + u"\r\n";
    }
    AppendText(lines);
    Show(part.parts.front());
  }

  // Never throws away what it does not understand.
  void ShowBroken(const MimePart& part) {
    result_.damaged = true;
    if (part.parts.empty()) {
      AppendText(DecodeUnlabelled(part.body));
      return;
    }
    ShowAll(part);
    AppendText(DecodeUnlabelled(part.epilogue));
  }

  void ShowText(const MimePart& part) {
    const PartHead& head = part.head;
    std::string kept;
    if (IsPlainAscii(head, part.body)) return AppendText(Widen(WithoutBinaries(part.body, kept)));
    if (head.transfer == Transfer::kNone) {
      return AppendText(TextOf(head, WithoutBinaries(part.body, kept)));
    }
    const PartBytes decoded = DecodeTransfer(part.body, head.transfer);
    if (!decoded.sound) {
      result_.damaged = true;
      return AppendText(DecodeUnlabelled(part.body));
    }
    AppendText(WithFullLineEnds(TextOf(head, WithoutBinaries(decoded.bytes, kept))));
    if (HasText(decoded.rest)) AppendText(DecodeUnlabelled(decoded.rest));
  }

  std::u16string TextOf(const PartHead& head, std::string_view bytes) {
    const bool html = head.type == kHtml;
    const std::string named = html && head.charset.empty() ? HtmlCharset(bytes) : head.charset;
    std::u16string text = DecodeCharset(bytes, named);
    MakeLines(text);
    if (html) return HtmlToText(text);
    if (!head.flowed) return text;
    result_.flowed = result_.flowed || result_.text.empty();
    return JoinFlowed(text, head.del_space);
  }

  // The text without the files that lie in it, which are listed. `kept` is room for it.
  std::string_view WithoutBinaries(std::string_view text, std::string& kept) {
    std::size_t done = 0;
    for (const BinaryInText& binary : FindBinariesInText(text)) {
      if (result_.attachments.size() >= kMostFiles) break;
      if (!binary.damaged) {
        kept.append(text.substr(done, binary.begin - done));
        done = binary.end;
      }
      if (IsWanted()) bytes_ = DecodeBinaryInText(text, binary);
      AddAttachment(binary.name, binary.type, binary.bytes);
    }
    if (done == 0) return text;
    return kept.append(text.substr(done));
  }

  void ListAll(const MimePart& part, bool but_texts = false) {
    const bool text = part.head.type.starts_with("text/") && part.head.type != "text/calendar";
    const bool whole = part.head.attached || part.broken || !part.IsMultipart();
    if (whole && !(but_texts && text && !part.head.attached)) return List(part);
    for (const MimePart& inner : part.parts) ListAll(inner, but_texts);
  }

  void List(const MimePart& part) {
    PartBytes decoded = DecodeTransfer(part.body, part.head.transfer);
    const std::string type = part.head.type == "application/octet-stream" && !part.head.name.empty()
                                 ? TypeOfFileName(part.head.name)
                                 : part.head.type;
    if (IsWanted()) bytes_ = decoded.bytes;
    AddAttachment(part.head.name, type, decoded.bytes.size());
    if (HasText(decoded.rest)) AppendText(DecodeUnlabelled(decoded.rest));
  }

  bool IsWanted() const { return wanted_ == result_.attachments.size(); }

  void AddAttachment(std::u16string_view name, const std::string& type, std::uint64_t bytes) {
    const std::size_t part = result_.attachments.size();
    result_.attachments.push_back({AttachmentName(name, type, part + 1), type, bytes, part});
  }

  // Behind an empty line, when it is not the first.
  void AppendText(std::u16string text) {
    if (text.empty()) return;
    if (result_.text.empty()) {
      result_.text = std::move(text);
      return;
    }
    result_.text += result_.text.ends_with(u'\n') ? u"\r\n" : u"\r\n\r\n";
    result_.text += text;
  }

  std::optional<std::size_t> wanted_;
  DecodedBody result_;
  std::string bytes_;
};

}  // namespace

DecodedBody DecodeBody(const BodySource& source) {
  if (!Decoding()) return {.text = RawBody(source.body), .attachments = {}};
  const std::optional<std::string> plain =
      source.stuffed ? WithoutDoubledDots(source.body) : std::nullopt;
  BodyReader reader;
  reader.Read(source.head, plain ? std::string_view(*plain) : source.body);
  return reader.TakeResult();
}

std::u16string RawBody(std::string_view stored) {
  return Widen(stored);
}

std::string AttachmentBytes(const BodySource& source, std::size_t part) {
  if (!Decoding()) return {};
  const std::optional<std::string> plain =
      source.stuffed ? WithoutDoubledDots(source.body) : std::nullopt;
  BodyReader reader(part);
  reader.Read(source.head, plain ? std::string_view(*plain) : source.body);
  return reader.TakeBytes();
}

}  // namespace quillet
