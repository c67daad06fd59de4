#include "nntp/under_way.h"

#include <algorithm>

#include "base/multi_string.h"
#include "base/prefs_damage.h"

namespace quillet {
namespace {

constexpr std::u16string_view kValueName = u"groupsunderway";

}  // namespace

void GroupsUnderWay::Read(port::RegistryKey& key) {
  left_behind_.clear();
  moved_.clear();
  // Two strings a group; whatever else stands there is cut at what the data really holds.
  const auto count = static_cast<std::uint32_t>(CountStoredStrings(key, kValueName) / 2 * 2);
  const std::vector<std::u16string> names = ReadMultiString(key, kValueName, count);
  for (std::size_t i = 0; i + 1 < names.size(); i += 2) {
    left_behind_.push_back({names[i], names[i + 1]});
  }
}

bool GroupsUnderWay::LeftBehind(std::u16string_view server, std::u16string_view group) const {
  return std::any_of(left_behind_.begin(), left_behind_.end(), [&](const Name& name) {
    return name.server == server && name.group == group;
  });
}

bool GroupsUnderWay::NoteTried(port::RegistryKey& key, std::u16string_view server,
                               std::u16string_view group) {
  std::erase(left_behind_, Name{std::u16string(server), std::u16string(group)});
  return Write(key);
}

bool GroupsUnderWay::Add(port::RegistryKey& key, std::u16string_view server,
                         std::u16string_view group) {
  const Name name{std::u16string(server), std::u16string(group)};
  if (std::find(moved_.begin(), moved_.end(), name) != moved_.end()) return true;
  moved_.push_back(name);
  return Write(key);
}

bool GroupsUnderWay::End(port::RegistryKey& key) {
  if (moved_.empty()) return true;
  moved_.clear();
  return Write(key);
}

bool GroupsUnderWay::Write(port::RegistryKey& key) const {
  std::vector<std::u16string> names;
  for (const std::vector<Name>* list : {&left_behind_, &moved_}) {
    for (const Name& name : *list) {
      names.push_back(name.server);
      names.push_back(name.group);
    }
  }
  return KeepSettingsAtRisk(key) &&
         key.Set(kValueName, port::RegistryType::kMultiString, CreateMultiString(names));
}

}  // namespace quillet
