// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/under_way.h"

#include <algorithm>

#include "base/multi_string.h"
#include "port/platform.h"

namespace quillet {
namespace {

constexpr std::u16string_view kValueName = u"groupsunderway";

}  // namespace

void GroupsUnderWay::Read() {
  left_behind_.clear();
  moved_.clear();
  key_ = gPlatform->registry.Open(kUnderWayPath);
  if (!key_) return;
  // Two strings a group; whatever else stands there is cut at what the data really holds.
  const auto count = static_cast<std::uint32_t>(CountStoredStrings(*key_, kValueName) / 2 * 2);
  const std::vector<std::u16string> names = ReadMultiString(*key_, kValueName, count);
  for (std::size_t i = 0; i + 1 < names.size(); i += 2) {
    left_behind_.push_back({names[i], names[i + 1]});
  }
}

bool GroupsUnderWay::LeftBehind(std::u16string_view server, std::u16string_view group) const {
  return std::any_of(left_behind_.begin(), left_behind_.end(), [&](const Name& name) {
    return name.server == server && name.group == group;
  });
}

bool GroupsUnderWay::NoteTried(std::u16string_view server, std::u16string_view group) {
  std::erase(left_behind_, Name{std::u16string(server), std::u16string(group)});
  return Write();
}

bool GroupsUnderWay::Add(std::u16string_view server, std::u16string_view group) {
  const Name name{std::u16string(server), std::u16string(group)};
  if (std::find(moved_.begin(), moved_.end(), name) != moved_.end()) return true;
  moved_.push_back(name);
  return Write();
}

bool GroupsUnderWay::End() {
  if (moved_.empty()) return true;
  moved_.clear();
  return Write();
}

bool GroupsUnderWay::Write() {
  std::vector<std::u16string> names;
  for (const std::vector<Name>* list : {&left_behind_, &moved_}) {
    for (const Name& name : *list) {
      names.push_back(name.server);
      names.push_back(name.group);
    }
  }
  if (!key_) key_ = gPlatform->registry.Create(kUnderWayPath);
  return key_ && key_->Set(kValueName, port::RegistryType::kMultiString, CreateMultiString(names));
}

}  // namespace quillet
