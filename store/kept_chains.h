// SPDX-License-Identifier: GPL-3.0-or-later
// All chains of a newsgroups file that a killed writer left, read without following its links, and
// together with those of its last copy. Only for store/.
//
// A record that the library lost leaves a gap, at which every walk along the links would end. So
// all records are taken one by one; their numbers have the order.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "store/gdbm_file.h"

namespace quillet {

struct ChainLink {
  std::uint32_t number = 0;
  std::uint32_t previous = 0;  // as stored
  std::uint32_t next = 0;
  std::string message_id;
  bool stored = false;  // false: only in the copy
};

struct KeptChain {
  std::optional<std::uint32_t> head;  // the stored head's link to the newest record
  std::vector<ChainLink> links;       // the highest number first
  bool has_gap = false;               // a link leads to a record that is nowhere
};

struct KeptChains {
  std::map<std::string, KeptChain> groups;  // by name, in code page 1252
  std::uint32_t counter = 1;                // no record has this number or a higher one
  std::uint32_t stored_counter = 0;         // of the file; 0: none
  bool complete = false;                    // all records of the file could be read
};

// `copy` may be closed. Of a record that both have, the file's counts.
KeptChains ReadKeptChains(GdbmFile& file, std::uint64_t file_size, GdbmFile& copy,
                          std::uint64_t copy_size);

// The highest number first.
void SortLinks(KeptChain& chain);

}  // namespace quillet
