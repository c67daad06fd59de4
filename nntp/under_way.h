// SPDX-License-Identifier: GPL-3.0-or-later
// The groups that a run moves forward, kept in the registry while it lasts. A process that is
// killed leaves them there: the last number of each may be that of an article that never came to
// the store, and is tried once more by the next run that visits the group. By name, since the lists
// of servers and groups may change in between. Program thread only.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "port/registry.h"

namespace quillet {

// Beside the settings, which stay what they are.
inline constexpr std::u16string_view kUnderWayPath =
    u"Software\\Brindle\\Quillet\\Extensions\\Download";

class GroupsUnderWay {
 public:
  // What an earlier run left behind.
  void Read();
  // Whether the group's last number is to be tried once more.
  bool LeftBehind(std::u16string_view server, std::u16string_view group) const;
  // It is being tried, and needs no more. False when that could not be written.
  bool NoteTried(std::u16string_view server, std::u16string_view group);
  // The group is going to be moved forward; written the first time. False when that failed.
  bool Add(std::u16string_view server, std::u16string_view group);
  // The run is at its end, and nothing is under way: only groups that were left behind and not
  // visited stay in the registry. False when that could not be written.
  bool End();

 private:
  // Server and group.
  struct Name {
    std::u16string server;
    std::u16string group;
    bool operator==(const Name&) const = default;
  };

  bool Write();

  std::unique_ptr<port::RegistryKey> key_;  // null until it exists
  std::vector<Name> left_behind_;
  std::vector<Name> moved_;
};

}  // namespace quillet
