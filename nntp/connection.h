// SPDX-License-Identifier: GPL-3.0-or-later
// The one connection to the news server: its state, its logs, opening, sending and closing.
// Program thread only. All NNTP text is 8-bit; every line sent ends in CR LF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/run_end.h"
#include "base/server_security.h"
#include "nntp/text_log.h"
#include "nntp/wire.h"

namespace quillet {

// A command and a reply are as long as a line buffer of this size holds, NUL included.
constexpr std::size_t kLineBufferSize = 2048;
// What a lost connection leaves in the error log.
inline constexpr std::u16string_view kSocketDestroyed = u"socket destroyed\r\n";

// The wire, and what is known of the session over it.
struct NntpConnection {
  Wire wire;
  std::string reply;  // the last one that ReadResponse read: at most kLineBufferSize - 1 bytes
  bool posting_allowed = false;
  bool logged_in = false;
  std::uint16_t port = 0;
  ServerSecurity security = ServerSecurity::kNone;
  bool connect_anew = false;      // what ended it is out of the way now
  std::uint32_t stall_limit = 0;  // seconds; 0: the server may be silent for ever
  // While set, every article stored gets it as its server name.
  std::optional<std::u16string> server_name;
  TextLog error_log;
  std::size_t errors_shown = 0;  // characters of the error log, while nobody waits
  bool nobody_waits = false;     // a scheduled run: its error log must not hold up the next one
  std::string status_line;       // of the last HEAD or BODY reply, without its line end
  std::int32_t last_status = 0;  // of the last HEAD or BODY reply
  std::uint32_t last_article_number = 0;  // of the last HEAD or BODY reply
};

extern NntpConnection gConnection;
// Survives its connection; null before the first one.
extern std::unique_ptr<TextLog> gTransactionLog;

// Starts the socket service, which must grant version 1.1 exactly. False after the critical report
// "incompatible WinSock DLL".
bool StartInet();
void StopInet();

// The connection transaction: logs, connecting, TLS, greeting, login, queued posts, download, QUIT,
// and between QUIT and the showing of the error log the mail that waits, unless the run was
// cancelled. A connection that is lost is made again as often as `retries` says and goes on where
// it was. Reports its own failures and leaves nothing open. kGoOn when the download came to its
// end.
RunEnd OpenConnection();

// Says QUIT when a socket is open, waits until the server closes, two seconds at most and not at
// all after an abort request, and closes the socket; then shows the error log when it holds text,
// and forgets the server's name. Meant: the error log is kept, and a second call shows it again. A
// lost connection is closed before the loss is logged, so only the call at the end of the
// transaction shows everything.
void CloseConnection();
// Closes without a word what an aborted connection left open. Idempotent.
void ReleaseConnection();

// Notes the loss of the connection in the error log, unless an abort was requested: that ends every
// wait, and then nothing was lost. "socket destroyed\r\n", or that the server was silent.
void LogLoss();
// That it was.
void LogSilence();
// Unless an abort was requested, closes a connection that was lost while a reply was read, and then
// notes the loss. As CloseConnection does, with QUIT and the error log; when the connection may be
// made again without either.
void NoteLoss();
// Appends to the transaction log while `keeptranslog` is on.
void LogTransaction(std::string_view text);
void LogError(std::u16string_view text);

enum class CommandLogging { kLogged, kUnlogged };
// Sends one line: `command` up to its first CR, LF or NUL, cut to the line buffer, and CR LF. When
// that fails, the loss is noted and the connection is left as it is.
bool SendCommand(std::string_view command, CommandLogging logging = CommandLogging::kLogged);

}  // namespace quillet
