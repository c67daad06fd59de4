// SPDX-License-Identifier: GPL-3.0-or-later
// Opening goes from the best to the bearable: read and write; when the file is no sound registry,
// it is set aside and a new one is made; when it cannot be written, read only; at last without any
// lock. Each try ends with the checks in Check. The statements of normal work are prepared once, in
// the order of RegistrySql.
#include "port/linux/registry_database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <utility>

#include "port/linux/file_descriptor.h"
#include "port/linux/native_files.h"

namespace quillet::port {
namespace {

constexpr int kBusyTimeoutMs = 2000;
// What PRAGMA application_id and user_version of a registry answer. The id is "Qlrg" in ASCII.
constexpr std::string_view kApplicationId = "1366061671";
constexpr std::string_view kLayoutVersion = "1";

// The log is moved into the file when it is this long, whoever waits, and at the end of a key's use
// when it is worth the syncs. Between the two lie the writes of several hundred articles.
constexpr int kLongestLog = 768 * 1024;
constexpr int kFrameHeader = 24;
constexpr int kFewFrames = 64;

constexpr const char* kLayout = R"(
  BEGIN IMMEDIATE;
  CREATE TABLE IF NOT EXISTS registry_key(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    folded TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL);
  CREATE TABLE IF NOT EXISTS registry_value(
    key INTEGER NOT NULL REFERENCES registry_key(id) ON DELETE CASCADE,
    folded TEXT NOT NULL,
    name TEXT NOT NULL,
    type INTEGER NOT NULL,
    data BLOB NOT NULL,
    PRIMARY KEY(key, folded)) WITHOUT ROWID;
  PRAGMA application_id = 1366061671;
  PRAGMA user_version = 1;
  COMMIT;
)";

constexpr const char* kSql[] = {
    "SELECT id FROM registry_key WHERE folded = ?1",
    "INSERT INTO registry_key(folded, path) VALUES(?1, ?2) ON CONFLICT DO NOTHING",
    "SELECT type, data FROM registry_value WHERE key = ?1 AND folded = ?2",
    R"(INSERT INTO registry_value(key, folded, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5)
       ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data)",
    "DELETE FROM registry_key WHERE folded = ?1 OR (folded > ?2 AND folded < ?3)",
    "SELECT name, type, data FROM registry_value WHERE key = ?1 ORDER BY folded",
    "SELECT path FROM registry_key WHERE folded > ?1 AND folded < ?2 ORDER BY folded",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};
static_assert(std::size(kSql) == static_cast<std::size_t>(RegistrySql::kCount));

std::string Quoted(const std::string& file) {
  return '"' + file + '"';
}

// The file must not be readable by others from its first moment: passwords are kept in it. SQLite
// gives the files that it makes beside it the same mode.
void MakePrivate(const std::string& file) {
  const FileDescriptor made(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (made.valid()) return;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    const std::string path = file + suffix;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) continue;
    if ((status.st_mode & 0077) != 0) chmod(path.c_str(), 0600);
  }
}

// What would keep the file from being opened, or would make opening it wait for ever; empty when
// nothing does, or nothing is there.
std::string ObstacleAt(const std::string& file) {
  struct stat status {};
  if (lstat(file.c_str(), &status) != 0) {
    return errno == ENOENT ? std::string() : Quoted(file) + " cannot be reached";
  }
  if (stat(file.c_str(), &status) != 0) return Quoted(file) + " is a link that leads nowhere";
  if (!S_ISREG(status.st_mode)) return Quoted(file) + " is not a regular file";
  return {};
}

// The same for the file and for those that SQLite opens beside it.
std::string FirstObstacle(const std::string& file) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    std::string obstacle = ObstacleAt(file + suffix);
    if (!obstacle.empty()) return obstacle;
  }
  return {};
}

std::uintmax_t SizeOf(const std::string& file) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  return error ? 0 : size;
}

// A free name beside the file: "registry.db.damaged-20260317-081502", with a count when taken.
std::string DatedName(const std::string& file) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char date[32];
  std::strftime(date, sizeof date, "%Y%m%d-%H%M%S", &local);
  const std::string base = file + ".damaged-" + date;
  std::string name = base;
  std::error_code error;
  for (int count = 2; std::filesystem::exists(name, error); ++count) {
    name = base + "-" + std::to_string(count);
  }
  return name;
}

}  // namespace

RegistryStatement::~RegistryStatement() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

RegistryStatement& RegistryStatement::Bind(std::int64_t number) {
  sound_ = sound_ && sqlite3_bind_int64(statement_, ++parameter_, number) == SQLITE_OK;
  return *this;
}

RegistryStatement& RegistryStatement::BindText(std::string_view text) {
  sound_ = sound_ && sqlite3_bind_text64(statement_, ++parameter_, text.data(), text.size(),
                                         SQLITE_STATIC, SQLITE_UTF8) == SQLITE_OK;
  return *this;
}

RegistryStatement& RegistryStatement::BindBlob(std::string_view bytes) {
  // A null pointer would be bound as NULL, not as an empty blob.
  const char* data = bytes.empty() ? "" : bytes.data();
  sound_ = sound_ && sqlite3_bind_blob64(statement_, ++parameter_, data, bytes.size(),
                                         SQLITE_STATIC) == SQLITE_OK;
  return *this;
}

bool RegistryStatement::StepRow() {
  return sound_ && sqlite3_step(statement_) == SQLITE_ROW;
}

bool RegistryStatement::StepDone() {
  return sound_ && sqlite3_step(statement_) == SQLITE_DONE;
}

std::optional<std::int64_t> RegistryStatement::Integer(int column) const {
  if (sqlite3_column_type(statement_, column) != SQLITE_INTEGER) return std::nullopt;
  return sqlite3_column_int64(statement_, column);
}

std::optional<std::string> RegistryStatement::Text(int column) const {
  if (sqlite3_column_type(statement_, column) != SQLITE_TEXT) return std::nullopt;
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  if (text == nullptr) return std::nullopt;
  return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

std::optional<std::string> RegistryStatement::Blob(int column) const {
  if (sqlite3_column_type(statement_, column) != SQLITE_BLOB) return std::nullopt;
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  const int size = sqlite3_column_bytes(statement_, column);
  if (size == 0) return std::string();
  if (bytes == nullptr) return std::nullopt;
  return std::string(bytes, static_cast<std::size_t>(size));
}

RegistryDatabase::~RegistryDatabase() {
  Disconnect();
}

void RegistryDatabase::Disconnect() {
  for (sqlite3_stmt*& statement : statements_) {
    sqlite3_finalize(std::exchange(statement, nullptr));
  }
  sqlite3_close_v2(std::exchange(connection_, nullptr));
}

bool RegistryDatabase::Connect(bool create) {
  if (connection_ != nullptr) return true;
  obstacle_ = FirstObstacle(file_);
  if (!obstacle_.empty()) return false;
  std::error_code error;
  if (!std::filesystem::exists(file_, error)) {
    if (!create) return false;
    const std::string folder = std::filesystem::path(file_).parent_path().string();
    if (!folder.empty() && !MakeFolders(folder)) return false;
  }
  MakePrivate(file_);
  const Condition condition = OpenBestWay();
  if (condition != Condition::kGood) obstacle_ = Quoted(file_) + ReasonOf(condition);
  return condition == Condition::kGood;
}

RegistryDatabase::Condition RegistryDatabase::OpenBestWay() {
  Condition condition = OpenFile(SQLITE_OPEN_READWRITE, false);
  if (condition == Condition::kNoRegistry && SetAside()) {
    MakePrivate(file_);
    condition = OpenFile(SQLITE_OPEN_READWRITE, false);
  }
  // On a medium that cannot be written the settings can still be read. Without a log beside it the
  // file is complete in itself, and then needs no lock either. While another process writes to it,
  // neither helps.
  if (condition == Condition::kUnusable && !busy_)
    condition = OpenFile(SQLITE_OPEN_READONLY, false);
  if (condition == Condition::kUnusable && !busy_ && SizeOf(file_ + "-wal") == 0) {
    condition = OpenFile(SQLITE_OPEN_READONLY, true);
  }
  return condition;
}

std::string RegistryDatabase::ReasonOf(Condition condition) const {
  if (condition == Condition::kNoRegistry) return " is damaged and cannot be set aside";
  if (busy_) return " is in use by another program";
  if (euidaccess(file_.c_str(), R_OK) != 0) return " may not be read";
  return " cannot be opened";
}

RegistryDatabase::Condition RegistryDatabase::OpenFile(int flags, bool immutable) {
  const std::string uri = SqliteUri(file_, immutable);
  const int result = sqlite3_open_v2(uri.c_str(), &connection_,
                                     flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX |
                                         SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE,
                                     nullptr);
  damaged_ = false;
  busy_ = false;
  Condition condition = Condition::kUnusable;
  if (Succeeded(result)) {
    sqlite3_busy_timeout(connection_, kBusyTimeoutMs);
    condition = Check((flags & SQLITE_OPEN_READWRITE) != 0);
  }
  if (condition == Condition::kUnusable && damaged_) condition = Condition::kNoRegistry;
  if (condition != Condition::kGood) Disconnect();
  return condition;
}

// Finds out whether the open file is a sound registry, and lays one out when it is still empty.
RegistryDatabase::Condition RegistryDatabase::Check(bool may_write) {
  // One by one: each may wait for another process.
  const auto id = Query("PRAGMA application_id");
  if (!id) return Condition::kUnusable;
  const auto version = Query("PRAGMA user_version");
  const auto tables = Query("SELECT count(*) FROM sqlite_master");
  if (!version || !tables) return Condition::kUnusable;
  const bool blank = *tables == "0" && *id == "0" && *version == "0";
  const bool known = *id == kApplicationId && *version == kLayoutVersion;
  if (!blank && !known) return Condition::kNoRegistry;
  const bool writable = IsWritable();
  // A header that forbids writing to a file that may be written is not of our making.
  if (!writable && may_write && euidaccess(file_.c_str(), W_OK) == 0) return Condition::kNoRegistry;
  // A write copies whole pages to the log, and most values are small. Files of earlier builds keep
  // the size they were made with.
  if (blank && writable && !Run("PRAGMA page_size = 1024")) return Condition::kUnusable;
  // File systems that cannot share memory keep the older kind of journal.
  if (writable && !Query("PRAGMA journal_mode = WAL")) return Condition::kUnusable;
  if (writable && !KeepLogShort()) return Condition::kUnusable;
  if (!Run("PRAGMA synchronous = NORMAL") || !Run("PRAGMA foreign_keys = ON")) {
    return Condition::kUnusable;
  }
  if (blank && !Run(kLayout)) return Condition::kUnusable;
  const auto sound = Query("PRAGMA quick_check(1)");
  if (!sound) return Condition::kUnusable;
  if (*sound != "ok") return Condition::kNoRegistry;
  return Prepare() ? Condition::kGood : Condition::kUnusable;
}

bool RegistryDatabase::Prepare() {
  for (std::size_t i = 0; i < statements_.size(); ++i) {
    const int result = sqlite3_prepare_v3(connection_, kSql[i], -1, SQLITE_PREPARE_PERSISTENT,
                                          &statements_[i], nullptr);
    if (!Succeeded(result)) return false;
  }
  return true;
}

// The library's own rule counts pages of any size, and syncs in the middle of a download.
bool RegistryDatabase::KeepLogShort() {
  const auto page = Query("PRAGMA page_size");
  const int page_size = page ? std::atoi(page->c_str()) : 0;
  if (page_size <= 0) return false;
  most_frames_ = kLongestLog / (page_size + kFrameHeader);
  log_frames_ = 0;
  sqlite3_wal_hook(connection_, NoteLog, this);
  // A large write may be beyond the limit; the file is cut afterwards.
  return Query("PRAGMA journal_size_limit = " + std::to_string(kLongestLog)).has_value();
}

int RegistryDatabase::NoteLog(void* database, sqlite3* connection, const char* name, int frames) {
  auto& self = *static_cast<RegistryDatabase*>(database);
  self.log_frames_ = frames;
  if (frames >= self.most_frames_) {
    sqlite3_wal_checkpoint_v2(connection, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    self.log_frames_ = 0;
  }
  return SQLITE_OK;
}

void RegistryDatabase::ShortenLog() {
  if (log_frames_ < kFewFrames || InTransaction()) return;
  sqlite3_wal_checkpoint_v2(connection_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  log_frames_ = 0;
}

// Moves the file out of the way, its log with it. Nothing is deleted but the index of the log,
// which is made anew from it.
bool RegistryDatabase::SetAside() {
  const std::string name = DatedName(file_);
  if (std::rename(file_.c_str(), name.c_str()) != 0) return false;
  std::rename((file_ + "-wal").c_str(), (name + "-wal").c_str());
  std::remove((file_ + "-shm").c_str());
  set_aside_ = name;
  return true;
}

sqlite3_stmt* RegistryDatabase::Statement(RegistrySql sql) {
  return statements_[static_cast<std::size_t>(sql)];
}

// Notes what kind of failure the last call was.
bool RegistryDatabase::Succeeded(int result) {
  const int code = result & 0xFF;
  if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return true;
  busy_ = busy_ || code == SQLITE_BUSY || code == SQLITE_LOCKED;
  // The general error is what unknown formats and bent tables give.
  damaged_ = damaged_ || code == SQLITE_NOTADB || code == SQLITE_CORRUPT || code == SQLITE_ERROR;
  return false;
}

bool RegistryDatabase::Run(const char* sql) {
  const bool done = Succeeded(sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr));
  if (!done && InTransaction()) sqlite3_exec(connection_, "ROLLBACK", nullptr, nullptr, nullptr);
  return done;
}

// The first column of the statement's first row as text; nothing when there is none.
std::optional<std::string> RegistryDatabase::Query(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  std::optional<std::string> answer;
  if (Succeeded(sqlite3_prepare_v2(connection_, sql.c_str(), -1, &statement, nullptr)) &&
      Succeeded(sqlite3_step(statement))) {
    const unsigned char* text = sqlite3_column_text(statement, 0);
    if (text != nullptr) answer = reinterpret_cast<const char*>(text);
  }
  sqlite3_finalize(statement);
  return answer;
}

}  // namespace quillet::port
