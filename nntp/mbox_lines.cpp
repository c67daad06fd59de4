// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/mbox_lines.h"

#include <algorithm>
#include <new>
#include <span>

#include "base/messages.h"
#include "base/reset.h"
#include "port/platform.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::size_t kChunk = 2047;
constexpr std::size_t kLookAhead = 65536;
// The room for a longer line is not kept for the next one.
constexpr std::size_t kLargeLine = std::size_t{1} << 20;

LineEnds gLineEnds;

const ResetAtEnd kReset([] { gLineEnds = {}; });

void ReportFileError(std::uint32_t error) {
  ReportError(FormatWide(u"unknown (%d)", error), u"DetermineReturnCharacters");
}

// False at the end of the file and after an error.
bool Refill(MboxReader& reader) {
  reader.before += reader.held;
  reader.next = 0;
  reader.held = reader.file->Read(std::span(reader.chunk).first(kChunk), reader.error);
  return reader.held > 0;
}

// In front of a line also those at the beginning of the next chunk.
bool PassOverSkipped(MboxReader& reader) {
  for (;;) {
    while (reader.next < reader.held && reader.chunk[reader.next] == reader.ends.skipped) {
      ++reader.next;
    }
    if (reader.next < reader.held) return true;
    if (!Refill(reader)) return false;
  }
}

std::string_view Rest(const MboxReader& reader) {
  return std::string_view(reader.chunk.data(), reader.held).substr(reader.next);
}

void Append(std::string& line, std::string_view piece) {
  line.append(piece.substr(0, kLongestImportLine - std::min(line.size(), kLongestImportLine)));
}

LineRead JoinPieces(MboxReader& reader, std::string& line) {
  do {
    const std::string_view rest = Rest(reader);
    const std::size_t end = rest.find(reader.ends.terminator);
    Append(line, rest.substr(0, end));
    if (end != std::string_view::npos) {
      reader.next += end + 1;
      line += "\r\n";
      return LineRead::kLine;
    }
  } while (Refill(reader));
  return reader.error == 0 ? LineRead::kLastLine : LineRead::kNothing;
}

}  // namespace

LineEnds ImportLineEnds() {
  return gLineEnds;
}

void DetermineReturnCharacters(std::u16string_view path) {
  std::uint32_t error = 0;
  const auto file = gPlatform->files.OpenRead(path, error);
  if (!file) return ReportFileError(error);
  std::string piece(kLookAhead, '\0');
  while (const std::size_t got = file->Read(piece, error)) {
    const std::size_t end = std::string_view(piece).substr(0, got).find_first_of("\r\n");
    if (end == std::string_view::npos) continue;
    gLineEnds = piece[end] == '\n' ? LineEnds{'\n', '\r'} : LineEnds{'\r', '\n'};
    return;
  }
  if (error != 0) ReportFileError(error);
}

LineRead ReadLine(MboxReader& reader, std::string& line) {
  line.clear();
  if (line.capacity() > kLargeLine) line.shrink_to_fit();
  try {
    return PassOverSkipped(reader) ? JoinPieces(reader, line) : LineRead::kNothing;
  } catch (const std::bad_alloc&) {
    reader.out_of_memory = true;
    ReportError(u"out of memory", u"ReadLine");
    return LineRead::kNothing;
  }
}

bool NextLineStartsWith(MboxReader& reader, std::string_view prefix) {
  if (!PassOverSkipped(reader)) return false;
  for (const char wanted : prefix) {
    if (reader.next == reader.held && !Refill(reader)) return false;
    if (reader.chunk[reader.next++] != wanted) return false;
  }
  return true;
}

void Rewind(MboxReader& reader) {
  reader.file->Rewind();
  reader.held = reader.next = 0;
  reader.before = 0;
  reader.error = 0;
}

}  // namespace quillet
