// SPDX-License-Identifier: GPL-3.0-or-later
// The files of a closed store, read with the database library alone. Uses nothing of the program,
// so that a check of its files does not trust its own code.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quillet {

struct FoundArticle {
  std::string headers;
  std::string body;
  std::uint32_t number = 0;
  bool read = false;
};

struct FoundChainRecord {
  std::uint32_t number = 0;
  std::string message_id;
};

// Group names and Message-IDs are bytes without their NUL.
struct FoundStore {
  std::map<std::string, FoundArticle> articles;
  std::map<std::string, std::vector<FoundChainRecord>> chains;            // newest first
  std::map<std::string, std::pair<std::uint32_t, std::uint32_t>> counts;  // cached: read, all
  std::map<std::string, FoundArticle> posts;
  // The list of lost articles: their groups, none when they are not known.
  std::map<std::string, std::set<std::string>> lost;
  // What no store may have, whatever is in it, one line each: files that cannot be read, records
  // that cannot be found again or have no known form, chains that break off, lead in circles, rise
  // or name what is not there, records and articles on no chain, wrong counts, files left behind.
  std::vector<std::string> faults;
};

// `folder` is a path of the system. The store must not be open.
FoundStore ReadStore(const std::string& folder);

}  // namespace quillet
