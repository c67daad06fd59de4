// The one connection to the news server: opening, reading replies and blocks, closing, logs.
// Program thread only. All NNTP text is 8-bit; every line sent ends in CR LF.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "nntp/text_log.h"
#include "port/sockets.h"

namespace quillet {

inline constexpr std::u16string_view kVersionText = u"1.14r3";
// Commands are formatted and replies received in a line buffer of this size, NUL included.
constexpr std::size_t kLineBufferSize = 2048;

struct NntpConnection {
  port::SocketHandle socket = 0;
  std::string line;  // line buffer: at most kLineBufferSize - 1 bytes
  bool posting_allowed = false;
  std::uint16_t port = 0;
  // While set, every article stored gets it as its server name.
  std::optional<std::u16string> server_name;
  TextLog error_log;
  std::int32_t last_status = 0;
  std::uint32_t last_article_number = 0;
};

extern NntpConnection gConnection;
// Survives its connection; null before the first one.
extern std::unique_ptr<TextLog> gTransactionLog;

void StartInet();
void StopInet();
// The connection transaction. Always 0.
int OpenConnection();
void CloseConnection();

// Receives into gConnection.line until it ends with CR LF, and logs it.
bool ReadResponse();
// Receives the first line of a HEAD or BODY reply into last_status and last_article_number; what
// came after it goes into `rest`.
bool ReadStatusLine(std::string& rest);

enum class BlockResult { kComplete = 0, kClosed = 1, kNoText = 2, kOversized = 3 };
// Reads the rest of a dot-terminated block. `text` holds what came already; it never grows beyond
// capacity - 1 bytes. On kOversized its contents mean nothing.
BlockResult ReadMultiline(std::string* text, std::size_t capacity, bool show_progress,
                          std::uint32_t article_number, std::uint32_t estimated_k);
bool IsTerminated(std::string_view text);
std::uint32_t GetNumericField(std::string_view line, int field);

// Appends to the transaction log while `keeptranslog` is on.
void LogTransaction(std::string_view text);
void LogError(std::u16string_view text);
// Sends; logs the command before when `logged`. On failure "socket destroyed\r\n" goes to the
// error log.
bool SendCommand(std::string_view command, bool logged);

}  // namespace quillet
