// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the store whole after a writer that was killed, or whose disk was full. Only for store/.
//
// Such a writer may leave a chain record that the library has lost, an article that no chain names,
// and a chain record whose article the library has lost. Nothing of it can be seen in the files
// one by one, and a recovery of each of them does not mend it.
#pragma once

#include <string>

namespace quillet {

enum class WholeOutcome {
  kWhole,
  // Something could not be read or written: what was done so far stays, nothing was deleted that is
  // not on the list of lost articles, and another pass may mend the rest.
  kNotWhole,
};

// kNew: the newsgroups file was damaged beyond repair, and an empty one has taken its place.
// Articles without a group then stay where they are, for there may be very many.
enum class ChainsFile { kKept, kNew };

// One pass over the three open files. The copies are device paths of the newsgroups file and the
// pending posts as they were at the last whole point; empty where there is none.
//
// - Chain records of the file and the copy whose article is there are linked, each article once in
//   a group, the highest number first.
// - A chain record of the file whose article has gone goes to the list of lost articles.
// - An article that no chain names is put on those of the groups that its "Newsgroups:" line names;
//   when just one chain has a gap and the line names that group or none, on that one; without any
//   group it is taken out and goes to the list, unless it was imported without such a line.
// - Posts that only the copy has are put back: every change of the queue is a whole point.
// - The counts are taken and cached anew.
//
// Records of the copy whose article has gone were deleted by the user since. It may be killed at
// any moment: the next pass does the rest.
WholeOutcome MakeStoreWhole(const std::u16string& chains_copy, const std::u16string& posts_copy,
                            ChainsFile chains);

}  // namespace quillet
