// SPDX-License-Identifier: GPL-3.0-or-later
// The file under LinuxRegistry: opening, checking and setting aside, and its prepared statements.
#pragma once

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace quillet::port {

// The statements, in the order of their texts in registry_database.cpp.
enum class RegistrySql {
  kFindKey,
  kAddKey,
  kGetValue,
  kSetValue,
  kDeleteKeys,
  kListValues,
  kListKeys,
  kBegin,
  kCommit,
  kRollback,
  kCount,
};

// A prepared statement in use; at its end it is ready for the next use.
class RegistryStatement {
 public:
  explicit RegistryStatement(sqlite3_stmt* statement) : statement_(statement) {}
  RegistryStatement(const RegistryStatement&) = delete;
  RegistryStatement& operator=(const RegistryStatement&) = delete;
  ~RegistryStatement();

  // Parameters in order. Texts and blobs must live as long as the statement is used.
  RegistryStatement& Bind(std::int64_t number);
  RegistryStatement& BindText(std::string_view text);
  RegistryStatement& BindBlob(std::string_view bytes);

  bool StepRow();   // true: there is a row
  bool StepDone();  // true: it ran to its end without an error

  // A column of the row; nothing when it holds another type.
  std::optional<std::int64_t> Integer(int column) const;
  std::optional<std::string> Text(int column) const;
  std::optional<std::string> Blob(int column) const;

 private:
  sqlite3_stmt* statement_;
  int parameter_ = 0;
  bool sound_ = true;
};

class RegistryDatabase {
 public:
  explicit RegistryDatabase(std::string file) : file_(std::move(file)) {}
  RegistryDatabase(const RegistryDatabase&) = delete;
  RegistryDatabase& operator=(const RegistryDatabase&) = delete;
  ~RegistryDatabase();

  // Opens the file, or makes it when `create` is set. False when that does not work.
  bool Connect(bool create);
  // What was in the way when Connect failed, in words with the name of the file; empty when there
  // is no file and none was to be made.
  const std::string& obstacle() const { return obstacle_; }
  sqlite3_stmt* Statement(RegistrySql sql);
  bool InTransaction() const { return sqlite3_get_autocommit(connection_) == 0; }
  // Nobody waits just now: moves the log into the file when it has grown enough to be worth it. Not
  // inside a transaction.
  void ShortenLog();
  bool IsWritable() const { return sqlite3_db_readonly(connection_, "main") == 0; }

  // Held around every use of the above.
  std::mutex& mutex() { return mutex_; }
  const std::string& set_aside() const { return set_aside_; }

 private:
  enum class Condition { kGood, kUnusable, kNoRegistry };

  Condition OpenBestWay();
  Condition OpenFile(int flags, bool immutable);
  std::string ReasonOf(Condition condition) const;
  Condition Check(bool may_write);
  bool Prepare();
  void Disconnect();
  bool SetAside();
  bool KeepLogShort();
  static int NoteLog(void* database, sqlite3* connection, const char* name, int frames);
  bool Succeeded(int result);
  bool Run(const char* sql);
  std::optional<std::string> Query(const std::string& sql);

  const std::string file_;
  std::mutex mutex_;
  sqlite3* connection_ = nullptr;
  std::array<sqlite3_stmt*, static_cast<std::size_t>(RegistrySql::kCount)> statements_{};
  int log_frames_ = 0;   // in the log after the last write
  int most_frames_ = 0;  // so many at most, then it is moved into the file at once
  bool damaged_ = false;
  bool busy_ = false;  // another process held it for too long
  std::string set_aside_;
  std::string obstacle_;
};

}  // namespace quillet::port
