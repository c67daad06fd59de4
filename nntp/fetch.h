// SPDX-License-Identifier: GPL-3.0-or-later
// Fetching, judging and storing one article. Program thread only, inside a download.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/run_end.h"
#include "nntp/under_way.h"
#include "port/files.h"
#include "port/registry.h"
#include "store/chain_members.h"
#include "store/records.h"

namespace quillet {

// One run of the download engine.
struct DownloadRun {
  std::unique_ptr<port::RegistryKey> key;
  // The store's volume, asked now and then and counted on in between; nothing (the query failed)
  // means room.
  std::optional<port::VolumeSpace> space;
  int stored_since_asked = 0;     // articles
  int steps_when_asked = 0;       // GrowthSteps()
  std::size_t body_capacity = 0;  // bytes, the terminator included
  bool has_room = true;           // never set again once cleared
  bool progress_saved = true;     // cleared by the first failed write of the progress
  RunEnd end = RunEnd::kGoOn;     // what ended the run: nothing more is asked for then
  // Text buffers, kept from article to article.
  std::string head;
  std::string body;
  GroupsUnderWay under_way;
  bool cross_posts = false;  // they are put on the chain of each group that has them
  // Of the group that is visited; nothing: cross-posts are dropped.
  std::optional<ChainMembers> members;
};

// Ends the run. The first reason stays: what follows it is its consequence. A loss after an abort
// request is that request's.
void EndRun(DownloadRun& run, RunEnd why);

// What became of the article the server stands at. All but a duplicate and a cross-post count
// against the number of articles still to get; `run.end` may be set with each of them, and the run
// then ends. kCrossPost: it was stored already, and is on this group's chain now as well.
// kUnfinished: the run ends, and nothing is known against the article. It is not in the group and
// is to be asked for again by the next run.
enum class Fetched { kCounted, kDuplicate, kCrossPost, kUnfinished };

// What became of one request for a part of an article. kDropped: the server or its size speak
// against it. kUnfinished: the run ends.
enum class Part { kTaken, kDropped, kUnfinished };
// `which` is what HEAD and BODY name: empty for the article the server stands at, else a
// Message-ID. The head comes into run.head; the body into run.body, or the notice that stands for
// it. `meanwhile` is called once unless the run ends first, and while the server looks the text up
// when it is asked for one.
using Meanwhile = std::function<void()>;
Part TakeHead(DownloadRun& run, std::string_view which, const Meanwhile& meanwhile);
Part TakeBody(DownloadRun& run, std::string_view which, std::uint32_t number,
              const Meanwhile& meanwhile);

// `number` is shown to the user; the stored number is the one of the server's reply. An article
// that is going to be stored has come in whole when `before_storing` is called: what is sent to the
// server there is answered while the article is stored. It returns false when the connection is
// lost: the article is stored, and the run ends.
Fetched DownloadArticle(DownloadRun& run, std::size_t group, std::uint32_t number,
                        const std::function<bool()>& before_storing);

// Counts the article's texts against the free space.
void CountUsedSpace(DownloadRun& run, const AsciiArticle& article);

}  // namespace quillet
