// SPDX-License-Identifier: GPL-3.0-or-later
// Articles that an end without closing took from the store although nobody had deleted them. They
// are asked for again at the next connection. Kept in a small text file beside the databases, as
// docs/store-format.md says. Program thread only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillet {

struct LostArticle {
  std::string message_id;  // 8-bit, as in chain records; never empty
  // On whose chains it belongs, in code page 1252. Empty when that is not known: then those of the
  // list that the "Newsgroups:" line of the article names (GroupsOfHead).
  std::vector<std::string> groups;
};

// In the order in which they were lost. At most kMostLostArticles.
inline constexpr std::size_t kMostLostArticles = 50000;
std::vector<LostArticle> LostArticles();

// Puts them on the list, one that is there already with the groups of both. True when the list is
// safely on the disk; otherwise it is as it was. What it has no room for is left out.
bool AddLostArticles(const std::vector<LostArticle>& articles);

// The article has come, or the server refuses it. False when it was not on the list. It costs a
// write only now and then: what a killed writer had forgotten may be on the list again.
bool ForgetLostArticle(const std::string& message_id);

// Writes what has been forgotten. True when nothing is left to write.
bool WriteLostArticles();
// The list belongs to files that are closed.
void ReleaseLostArticles();

// The subscribed groups that the "Newsgroups:" line of a head names, in code page 1252 and in the
// order of the group list. The line begins a line; what continues it counts.
std::vector<std::string> GroupsOfHead(std::string_view head);

// The text of the file; and its reader, which leaves out what it cannot take.
std::string SerializeLostArticles(const std::vector<LostArticle>& articles);
std::vector<LostArticle> ParseLostArticles(std::string_view text);

}  // namespace quillet
