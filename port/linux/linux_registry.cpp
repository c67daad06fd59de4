// SPDX-License-Identifier: GPL-3.0-or-later
// A handle is the row id of its key; names and paths are looked up in their folded form. All
// handles share one connection and therefore one transaction at a time: each call takes the
// database's lock, and a transaction that the system has dropped by itself makes the later writes
// of its handle fail.
#include "port/linux/linux_registry.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "port/linux/registry_database.h"
#include "util/text.h"

namespace quillet::port {
namespace {

// Between a folded path with a backslash and the same with this lie all paths below it.
constexpr char kAfterBackslash = '\\' + 1;

// Names are compared in this form.
std::string Fold(std::u16string_view name) {
  std::string folded = ToUtf8(name);
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](char c) { return ToLowerAscii(c); });
  return folded;
}

// The path without leading, trailing and doubled backslashes.
std::u16string TidyPath(std::u16string_view path) {
  std::u16string tidy;
  for (const char16_t unit : path) {
    if (unit == u'\\' && (tidy.empty() || tidy.back() == u'\\')) continue;
    tidy += unit;
  }
  if (!tidy.empty() && tidy.back() == u'\\') tidy.pop_back();
  return tidy;
}

bool IsKnownType(std::int64_t type) {
  return type == static_cast<std::int64_t>(RegistryType::kString) ||
         type == static_cast<std::int64_t>(RegistryType::kBinary) ||
         type == static_cast<std::int64_t>(RegistryType::kDword) ||
         type == static_cast<std::int64_t>(RegistryType::kMultiString);
}

// The value in two columns of a row; nothing when they hold what no registry writes.
std::optional<RegistryValue> ValueOf(const RegistryStatement& row, int type_column) {
  const auto type = row.Integer(type_column);
  auto data = row.Blob(type_column + 1);
  if (!type || !data || !IsKnownType(*type)) return std::nullopt;
  return RegistryValue{static_cast<RegistryType>(*type), std::move(*data)};
}

std::optional<std::int64_t> FindKey(RegistryDatabase& database, const std::string& folded) {
  RegistryStatement find(database.Statement(RegistrySql::kFindKey));
  if (!find.BindText(folded).StepRow()) return std::nullopt;
  return find.Integer(0);
}

bool AddKey(RegistryDatabase& database, const std::u16string& path) {
  const std::string folded = Fold(path);
  const std::string spelling = ToUtf8(path);
  RegistryStatement add(database.Statement(RegistrySql::kAddKey));
  return add.BindText(folded).BindText(spelling).StepDone();
}

class LinuxRegistryKey final : public RegistryKey {
 public:
  LinuxRegistryKey(std::shared_ptr<RegistryDatabase> database, std::int64_t id, std::string folded)
      : database_(std::move(database)), id_(id), folded_(std::move(folded)) {}
  ~LinuxRegistryKey() override;

  std::optional<RegistryValue> Get(std::u16string_view name) override;
  bool Set(std::u16string_view name, RegistryType type, std::string_view data) override;
  bool DeleteSubkey(std::u16string_view name) override;
  std::vector<std::u16string> Subkeys() override;
  std::vector<NamedRegistryValue> Values() override;
  bool Begin() override;
  bool Commit() override;

 private:
  bool Run(RegistrySql sql);
  // False when a transaction was begun here and the system has dropped it already, as it does when
  // the disk is full: later writes of it must not stand alone.
  bool MayWrite() const { return !begun_ || database_->InTransaction(); }

  const std::shared_ptr<RegistryDatabase> database_;
  const std::int64_t id_;
  const std::string folded_;
  bool begun_ = false;
};

LinuxRegistryKey::~LinuxRegistryKey() {
  const std::lock_guard lock(database_->mutex());
  if (begun_ && database_->InTransaction()) Run(RegistrySql::kRollback);
  database_->ShortenLog();
}

bool LinuxRegistryKey::Run(RegistrySql sql) {
  return RegistryStatement(database_->Statement(sql)).StepDone();
}

std::optional<RegistryValue> LinuxRegistryKey::Get(std::u16string_view name) {
  const std::string folded = Fold(name);
  const std::lock_guard lock(database_->mutex());
  RegistryStatement get(database_->Statement(RegistrySql::kGetValue));
  if (!get.Bind(id_).BindText(folded).StepRow()) return std::nullopt;
  return ValueOf(get, 0);
}

bool LinuxRegistryKey::Set(std::u16string_view name, RegistryType type, std::string_view data) {
  const std::string folded = Fold(name);
  const std::string spelling = ToUtf8(name);
  const std::lock_guard lock(database_->mutex());
  if (!MayWrite()) return false;
  RegistryStatement set(database_->Statement(RegistrySql::kSetValue));
  set.Bind(id_).BindText(folded).BindText(spelling).Bind(static_cast<std::int64_t>(type));
  return set.BindBlob(data).StepDone();
}

bool LinuxRegistryKey::DeleteSubkey(std::u16string_view name) {
  const std::u16string tidy = TidyPath(name);
  if (tidy.empty()) return false;
  const std::string key = folded_ + "\\" + Fold(tidy);
  const std::string below = key + "\\";
  const std::string beyond = key + kAfterBackslash;
  const std::lock_guard lock(database_->mutex());
  if (!MayWrite()) return false;
  const auto found = FindKey(*database_, key);
  if (!found) return false;
  RegistryStatement remove(database_->Statement(RegistrySql::kDeleteKeys));
  return remove.BindText(key).BindText(below).BindText(beyond).StepDone();
}

std::vector<std::u16string> LinuxRegistryKey::Subkeys() {
  const std::string below = folded_ + "\\";
  const std::string beyond = folded_ + kAfterBackslash;
  std::vector<std::u16string> names;
  const std::lock_guard lock(database_->mutex());
  RegistryStatement list(database_->Statement(RegistrySql::kListKeys));
  list.BindText(below).BindText(beyond);
  while (list.StepRow()) {
    const auto path = list.Text(0);
    if (!path || path->size() <= below.size()) continue;
    const std::string name = path->substr(below.size());
    if (name.find('\\') == name.npos) names.push_back(FromUtf8(name));
  }
  return names;
}

std::vector<NamedRegistryValue> LinuxRegistryKey::Values() {
  std::vector<NamedRegistryValue> values;
  const std::lock_guard lock(database_->mutex());
  RegistryStatement list(database_->Statement(RegistrySql::kListValues));
  list.Bind(id_);
  while (list.StepRow()) {
    const auto name = list.Text(0);
    auto value = ValueOf(list, 1);
    if (name && value) values.push_back({FromUtf8(*name), std::move(*value)});
  }
  return values;
}

bool LinuxRegistryKey::Begin() {
  const std::lock_guard lock(database_->mutex());
  if (begun_ || database_->InTransaction() || !database_->IsWritable()) return false;
  begun_ = Run(RegistrySql::kBegin);
  return begun_;
}

bool LinuxRegistryKey::Commit() {
  const std::lock_guard lock(database_->mutex());
  if (!std::exchange(begun_, false) || !database_->InTransaction()) return false;
  if (Run(RegistrySql::kCommit)) return true;
  if (database_->InTransaction()) Run(RegistrySql::kRollback);
  return false;
}

}  // namespace

LinuxRegistry::LinuxRegistry(std::string file)
    : database_(std::make_shared<RegistryDatabase>(std::move(file))) {}

LinuxRegistry::~LinuxRegistry() = default;

std::unique_ptr<RegistryKey> LinuxRegistry::Open(std::u16string_view path) {
  const std::string folded = Fold(TidyPath(path));
  const std::lock_guard lock(database_->mutex());
  if (!database_->Connect(false)) return nullptr;
  const auto id = FindKey(*database_, folded);
  if (!id) return nullptr;
  return std::make_unique<LinuxRegistryKey>(database_, *id, folded);
}

std::unique_ptr<RegistryKey> LinuxRegistry::Create(std::u16string_view path) {
  const std::u16string tidy = TidyPath(path);
  const std::string folded = Fold(tidy);
  const std::lock_guard lock(database_->mutex());
  if (tidy.empty() || !database_->Connect(true)) return nullptr;
  auto id = FindKey(*database_, folded);
  if (!id) {
    for (std::size_t end = tidy.find(u'\\'); end != tidy.npos; end = tidy.find(u'\\', end + 1)) {
      if (!AddKey(*database_, tidy.substr(0, end))) return nullptr;
    }
    if (!AddKey(*database_, tidy)) return nullptr;
    id = FindKey(*database_, folded);
  }
  if (!id) return nullptr;
  return std::make_unique<LinuxRegistryKey>(database_, *id, folded);
}

std::u16string LinuxRegistry::DamagedFile() const {
  return FromUtf8(SetAsidePath());
}

std::u16string LinuxRegistry::Obstacle() {
  const std::lock_guard lock(database_->mutex());
  return database_->Connect(false) ? std::u16string() : FromUtf8(database_->obstacle());
}

std::string LinuxRegistry::SetAsidePath() const {
  const std::lock_guard lock(database_->mutex());
  return database_->set_aside();
}

}  // namespace quillet::port
