// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/shown_text.h"

#include <algorithm>

#include "mime/compared_header.h"
#include "mime/decoding.h"
#include "mime/folded_subject.h"
#include "mime/folding.h"
#include "mime/header_words.h"
#include "mime/utf16.h"
#include "util/text.h"

namespace quillet {
namespace {

// One past the first field with its continuation lines.
std::size_t FieldEnd(std::string_view lines) {
  for (std::size_t at = lines.find('\n'); at != std::string_view::npos; at = lines.find('\n', at)) {
    if (++at == lines.size() || (lines[at] != ' ' && lines[at] != '\t')) return at;
  }
  return lines.size();
}

}  // namespace

std::u16string ShownHeader(std::string_view stored) {
  if (HasNothingToDecode(stored) || !Decoding()) return Widen(stored);
  return DecodeHeaderWords(stored, HeaderForm::kOneLine);
}

std::u16string ShownHeaderLines(std::string_view stored) {
  if (HasNothingToDecode(stored) || !Decoding()) return Widen(stored);
  std::u16string shown;
  shown.reserve(stored.size());
  while (!stored.empty()) {
    const std::size_t end = FieldEnd(stored);
    const std::string_view field = stored.substr(0, end);
    shown +=
        HasNothingToDecode(field) ? Widen(field) : DecodeHeaderWords(field, HeaderForm::kLines);
    stored.remove_prefix(end);
  }
  return shown;
}

std::u16string RawHeader(std::string_view stored) {
  return Widen(stored);
}

std::string ToStored(std::u16string_view shown) {
  return Narrow(shown);
}

std::vector<std::u16string> NotStorable(std::u16string_view shown) {
  std::vector<std::u16string> lost;
  for (std::size_t at = 0; at < shown.size();) {
    const std::u16string_view character = shown.substr(at, UnitsOf(CharacterAt(shown, at)));
    at += character.size();
    if (Widen(Narrow(character)) == character) continue;
    if (std::ranges::find(lost, character) == lost.end()) lost.emplace_back(character);
  }
  return lost;
}

std::u16string Fold(std::u16string_view shown) {
  return Decoding() ? FoldFully(shown) : FoldAscii(shown);
}

std::string JoinedSubject(std::string_view subject, std::string_view kept_headers) {
  std::string joined(subject);
  if (!Decoding() || !HasContinuation(kept_headers)) return joined;
  for (const std::string_view line : SubjectContinuation(subject, kept_headers)) {
    const std::size_t text = line.find_first_not_of(" \t");
    if (text != std::string_view::npos) joined.append(" ").append(line.substr(text));
  }
  return joined;
}

bool HeaderContains(std::string_view stored, std::string_view wanted) {
  return ComparedHeader(stored).Contains(wanted);
}

}  // namespace quillet
