// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of the file are a head up to the first empty line, then a body up to the next line that
// begins with "From ". Of a message only its own texts are held, so the size of the file does not
// matter.
#include "nntp/mbox_import.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "base/app_messages.h"
#include "base/box_owner.h"
#include "base/changes.h"
#include "base/extensions.h"
#include "base/guarded.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/wait_cursor.h"
#include "nntp/headers.h"
#include "nntp/imported_article.h"
#include "nntp/mbox_lines.h"
#include "port/file_dialogs.h"
#include "port/platform.h"
#include "store/bulk_store.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/whole_points.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// Larger files are imported under the progress dialog.
constexpr std::uint64_t kLargeFile = std::uint64_t{1} << 20;
constexpr std::uint64_t kBytesBetweenLooks = 65536;
constexpr std::string_view kSeparator = "From ";
constexpr std::string_view kEmptyLine = "\r\n";

void ReportImportError(std::uint32_t error) {
  ReportError(FormatWide(u"unknown (%d)", error), u"ImportMbox");
}

class MboxImport {
 public:
  // `watched`: it runs under the progress dialog.
  MboxImport(MboxReader& reader, bool watched) : reader_(reader), watched_(watched) {}

  // What ended it before the end of the file.
  RunEnd Run() {
    try {
      const BulkStore bulk;
      return TakeLines();
    } catch (const std::bad_alloc&) {
      return RunEnd::kNoMemory;
    }
  }

 private:
  RunEnd TakeLines();
  RunEnd TakeLine(const std::string& line);
  RunEnd EndHead();
  RunEnd EndMessage();
  RunEnd StoreMessage();
  void ShowProgress();

  MboxReader& reader_;
  const bool watched_;
  GroupPlaces places_;
  std::string text_;                       // of the head or body that is read
  std::unique_ptr<AsciiArticle> article_;  // from the end of its head on
  bool in_body_ = false;
  bool skipped_ = false;  // the message is stored already
  std::uint32_t imported_ = 0;
  std::uint64_t shown_ = 0;  // position of the last look at the progress
};

RunEnd MboxImport::TakeLines() {
  std::string line;
  LineRead read = LineRead::kLine;
  while (read == LineRead::kLine) {
    read = ReadLine(reader_, line);
    if (read == LineRead::kNothing) break;
    if (const RunEnd end = TakeLine(line); end != RunEnd::kGoOn) return end;
  }
  // What was cut off by an error would be taken for complete by a later import.
  if (reader_.out_of_memory) return RunEnd::kNoMemory;
  if (reader_.error != 0) {
    ReportImportError(reader_.error);
    return RunEnd::kLost;
  }
  return in_body_ && !skipped_ ? StoreMessage() : RunEnd::kGoOn;
}

// Meant: the first line of the file, a "From " line, is read as part of a head, and is the first
// line of the first message's kept headers; those of all other messages are dropped. What is shown
// and saved of an imported article has been so in every version.
RunEnd MboxImport::TakeLine(const std::string& line) {
  if (!in_body_ && line == kEmptyLine) return EndHead();
  if (in_body_ && StartsWith(line, kSeparator)) return EndMessage();
  // No record takes a longer text: the message is refused by the store and need not be held.
  if (!skipped_ && text_.size() <= kLongestImportLine) text_ += line;
  return RunEnd::kGoOn;
}

RunEnd MboxImport::EndHead() {
  // A separator with nothing but an empty line behind it: what follows is not known for a message.
  if (text_.empty()) {
    ShowMessage(
        FormatWide(u"The import file is corrupt. Bailing out after %lu articles.", imported_));
    return RunEnd::kRefused;
  }
  article_ = NewAsciiArticle();
  if (!article_) return RunEnd::kNoMemory;
  article_->headers = std::exchange(text_, {});
  // All headers are kept, whatever the preferences say of downloads: the file may be the only place
  // that has them.
  ExtractHeaders(*article_, true);
  skipped_ = ArticleExists(*article_->messageId);
  if (skipped_) article_.reset();
  in_body_ = true;
  return RunEnd::kGoOn;
}

RunEnd MboxImport::EndMessage() {
  RunEnd end = skipped_ ? RunEnd::kGoOn : StoreMessage();
  skipped_ = false;
  in_body_ = false;
  text_.clear();
  if (watched_) {
    ShowProgress();
    Ended(end);
  } else if (end == RunEnd::kGoOn && SessionEnding()) {
    // The abort flag may be an earlier operation's.
    end = RunEnd::kSessionEnds;
  }
  return end;
}

RunEnd MboxImport::StoreMessage() {
  article_->body = std::exchange(text_, {});
  const Routed routed = RouteImportedArticle(*article_, places_);
  article_.reset();
  ++imported_;
  // Every further message would fail the same way; one that was refused for itself ends nothing. A
  // critical error has closed the databases.
  if (routed == Routed::kListNotSaved || gDatabaseErrorFlag || !DatabasesOpen()) {
    return RunEnd::kStoreFailed;
  }
  if (routed == Routed::kStored || !StoreLacksRoom()) return RunEnd::kGoOn;
  ShowMessage(
      FormatWide(u"There is no free space left for the databases. The import ended after "
                 u"%lu articles.",
                 imported_ - 1));
  return RunEnd::kStoreFailed;
}

void MboxImport::ShowProgress() {
  if (reader_.Position() - shown_ < kBytesBetweenLooks) return;
  shown_ = reader_.Position();
  SetProgressPosition(shown_);
  SetProgressDetail(FormatWide(u"%lu article%ls", imported_, imported_ == 1 ? u"" : u"s"));
}

RunEnd RunImport(MboxReader& reader) {
  const bool watched = reader.file->Size() > kLargeFile && ReadExtensions().importprogress != 0;
  MboxImport import(reader, watched);
  if (!watched) return import.Run();
  return RunWithProgress(u"Importing", [&] {
    SetProgressRange(reader.file->Size(), RangeCovers::kWholeOperation);
    return import.Run();
  });
}

void CacheAllCounts() {
  for (std::size_t i = 0; i < gReadInfo.size() && !gDatabaseErrorFlag; ++i) {
    UpdateGlobalGDBMArticleCountCache(i);
  }
}

void AskAndImport() {
  const auto path = gPlatform->file_dialogs.OpenFile(
      CurrentBoxOwner(), {u"Import file", u"All files (*.*)", u"*.*", u"*"});
  if (!path) return;
  NoteChange(Change::kStore | Change::kGroupList | Change::kCounts);
  DetermineReturnCharacters(*path);
  ImportMbox(*path);
}

}  // namespace

bool ImportMbox(std::u16string_view path) {
  MboxReader reader{.file = {}, .ends = ImportLineEnds()};
  std::uint32_t error = 0;
  reader.file = gPlatform->files.OpenRead(path, error);
  if (!reader.file) {
    ReportImportError(error);
    return false;
  }
  if (!NextLineStartsWith(reader, kSeparator)) {
    if (reader.error != 0) {
      ReportImportError(reader.error);
    } else {
      ShowMessage(u"This file is not in mbox format.");
    }
    return false;
  }
  Rewind(reader);
  const WaitCursor wait;
  RunImport(reader);
  if (DatabasesOpen()) {
    CacheAllCounts();
    StoreIsWhole();
  }
  return true;
}

void ImportCommand() {
  Guarded(u"ImportCommand", AskAndImport);
  // A critical error on the way has closed the window and the databases.
  if (gMainWindow == 0 || !DatabasesOpen()) return;
  // The marks of the boxes are in the preferences already: a click is told when it is made.
  Guarded(u"ImportCommand", CountArticles);
  PostToMainWindow(kUserRefreshCounts);
  PostToMainWindow(kUserRefillGroupList);
}

}  // namespace quillet
