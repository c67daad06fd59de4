// SPDX-License-Identifier: GPL-3.0-or-later
// A process that works on a store, telling what it does, until it is killed. Everything here runs
// in a child of the test, on the platform that was set up before the fork; nothing returns.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "port/fake/fake_platform.h"
#include "tests/kill/deeds.h"
#include "tests/kill/expected_store.h"

namespace quillet {

enum class Work : std::uint8_t { kStoring, kDeleting, kMarking, kMixed, kPosting, kMaintaining };
inline constexpr int kWorkCount = 6;
const char* NameOf(Work work);

// How a child that was not killed ends.
enum ChildEnd : int { kChildDone = 0, kChildGaveUp = 3 };  // the log's complaint says why

struct WriterPlan {
  Work work = Work::kMixed;
  std::uint32_t seed = 0;
  std::size_t articles = 100;  // about so many stay in the store
};

// Opens the databases and works on for ever. `expected` is what the store holds.
[[noreturn]] void WriteUntilKilled(port::FakePlatform& fake, DeedLog& log, ExpectedStore expected,
                                   const WriterPlan& plan);
// Opens the databases, calls `ready`, carries the deeds out one after the other, each on what the
// seed chooses, and closes the databases unless it is to leave them open.
struct DeedPlan {
  std::vector<Deed> deeds;
  std::uint32_t seed = 1;
  std::function<void()> ready;
  bool close = true;
};
[[noreturn]] void CarryOut(port::FakePlatform& fake, DeedLog& log, ExpectedStore expected,
                           const DeedPlan& plan);
// Opens the databases, looks that nothing is asked or told, closes them.
[[noreturn]] void OpenAndClose(port::FakePlatform& fake, DeedLog& log);
// The next connection as far as the store knows of it: fetches what is on the list of lost
// articles.
[[noreturn]] void FetchLostArticles(port::FakePlatform& fake, DeedLog& log,
                                    const ExpectedStore& expected);

// The preferences that all of them work with.
void SetKillPreferences(bool compress);

}  // namespace quillet
