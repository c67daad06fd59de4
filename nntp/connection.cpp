// SPDX-License-Identifier: GPL-3.0-or-later
// The transaction is a table of steps. Each tells what ended the run, if anything did; how the
// connection is left then is decided in one place: with QUIT and the error log, or without a word
// when an abort was requested before there was a session. A loss starts the table anew, after a
// wait; what was done is remembered by the run.
#include "nntp/connection.h"

#include <array>
#include <utility>

#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "nntp/auth.h"
#include "nntp/download.h"
#include "nntp/error_log.h"
#include "nntp/figures.h"
#include "nntp/outbox.h"
#include "nntp/post_queue.h"
#include "nntp/reach.h"
#include "nntp/replies.h"
#include "nntp/retry.h"
#include "nntp/run_memory.h"
#include "nntp/secure.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/text.h"
#include "util/version.h"

namespace quillet {

NntpConnection gConnection;
std::unique_ptr<TextLog> gTransactionLog;

namespace {

const ResetAtEnd kReset([] {
  gConnection = {};
  gTransactionLog.reset();
});

constexpr port::SocketVersion kSocketVersion{1, 1};
constexpr std::uint32_t kLongestQuitWait = 2000;  // milliseconds

void StartRun() {
  gRun = {};
  gRun.retries = ReadExtensions().retries;
  gTransactionLog = std::make_unique<TextLog>();
  gConnection.error_log = TextLog();
  gConnection.errors_shown = 0;
  SetProgressTitle(u"Connecting...");
  SetProgressDetail(u"");
  LogTransaction(FormatNarrow("Quillet CE %s transaction log\r\n", kVersionText));
  BeginFigures();
}

RunEnd ReadGreeting() {
  SetProgressTitle(FormatWide(u"Connected to %ls", *gConnection.server_name));
  SetProgressDetail(u"Waiting for response...");
  if (!ReadResponse()) return RunEnd::kLost;
  gConnection.posting_allowed = StartsWith(gConnection.reply, "200");
  if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
  // Meant: the second time in the log. ReadResponse has logged the greeting as received; this line
  // is written only when the session goes on with it, and users know logs that begin so.
  LogTransaction(gConnection.reply);
  SetProgressDetail(Widen(gConnection.reply));
  return RunEnd::kGoOn;
}

RunEnd LogIn() {
  RunEnd end = SendAuthInfo();
  Ended(end);
  return end;
}

RunEnd Post() {
  RunEnd end = PostQueuedArticles();
  Ended(end);
  return end;
}

struct TransactionStep {
  RunEnd (*work)();
  bool silent_when_asked_to_stop;
};

constexpr std::array<TransactionStep, 10> kTransaction = {{
    {TakeSelectedServer, true},
    {OpenSocket, true},
    {BindSocket, true},
    {ConnectSocket, true},
    {SecureFromTheStart, true},
    {ReadGreeting, true},
    {SecureAfterGreeting, true},
    {LogIn, false},
    {Post, false},
    {DownloadNews, false},
}};

bool WasAskedFor(RunEnd end) {
  return end == RunEnd::kCancelled || end == RunEnd::kSessionEnds;
}

// A server that has not answered for so long is not waited for once more.
void SayQuit() {
  if (gConnection.wire.IsOpen() && !gConnection.wire.stalled()) {
    constexpr std::string_view kQuit = "QUIT\r\n";
    LogTransaction(kQuit);
    gConnection.wire.Send(kQuit);
    gPlatform->sockets.AwaitClose(gConnection.wire.socket(), kLongestQuitWait);
  }
  gConnection.wire.Close();
}

void ShowErrors() {
  const std::u16string_view errors = gConnection.error_log.text;
  if (!gConnection.nobody_waits) {
    if (!errors.empty()) ShowBox(CurrentBoxOwner(), u"Error log", errors, {});
  } else if (errors.size() > gConnection.errors_shown) {
    AddToErrorLogWindow(errors.substr(gConnection.errors_shown));
    gConnection.errors_shown = errors.size();
  }
}

// The end of the transaction. The line is up until it returns, and mail that waits can leave.
void EndConnection() {
  SayQuit();
  HandOverMailOnLine();
  ShowErrors();
  gConnection.server_name.reset();
}

struct Outcome {
  RunEnd end = RunEnd::kGoOn;
  bool silent = false;  // asked for before there was a session
};

// Runs the steps up to the one that ends the run.
Outcome RunSteps() {
  ++gRun.connections;
  for (const TransactionStep& step : kTransaction) {
    RunEnd end = step.work();
    if (end == RunEnd::kLost) end = LostOrAsked();
    if (end != RunEnd::kGoOn) return {end, step.silent_when_asked_to_stop && WasAskedFor(end)};
  }
  return {};
}

// The same, from the beginning again when the user has cleared away what ended it.
Outcome RunConnection() {
  for (;;) {
    const Outcome outcome = RunSteps();
    if (!std::exchange(gConnection.connect_anew, false)) return outcome;
    --gRun.connections;
  }
}

// A connection that stood and was lost, or one in its place that could not be made.
bool MayTryAgain(RunEnd end) {
  if (gRun.connections > gRun.retries) return false;
  return end == RunEnd::kLost || (end == RunEnd::kUnreachable && IsRetry());
}

// An end that was asked for early leaves without a word; any other, the regular one too, closes the
// connection as a session is closed. A run that has lost a connection has something to tell.
RunEnd RunTransaction() {
  Outcome outcome = RunConnection();
  while (MayTryAgain(outcome.end)) {
    gConnection.wire.Close();
    NotePause();
    if (const RunEnd asked = WaitBeforeRetry(gRun.connections); asked != RunEnd::kGoOn) {
      outcome = {asked, false};
      break;
    }
    SetProgressTitle(u"Connecting...");
    SetProgressDetail(u"");
    outcome = RunConnection();
  }
  EndFigures(outcome.end);
  if (!outcome.silent || IsRetry()) EndConnection();
  return outcome.end;
}

}  // namespace

bool StartInet() {
  const std::optional<port::SocketVersion> granted = gPlatform->sockets.Startup(kSocketVersion);
  if (granted == kSocketVersion) return true;
  if (granted) gPlatform->sockets.Cleanup();
  ReportCriticalError(u"incompatible WinSock DLL", u"StartInet");
  return false;
}

void StopInet() {
  gPlatform->sockets.Cleanup();
}

RunEnd OpenConnection() {
  StartRun();
  const RunEnd end = RunTransaction();
  ReleaseConnection();
  return end;
}

void CloseConnection() {
  SayQuit();
  ShowErrors();
  gConnection.server_name.reset();
}

void ReleaseConnection() {
  gConnection.wire.Close();
  gConnection.server_name.reset();
}

void LogTransaction(std::string_view text) {
  if (gPrefs && gPrefs->keeptranslog != 0 && gTransactionLog) {
    AppendToLog(*gTransactionLog, Widen(text));
  }
}

void LogLoss() {
  if (AbortRequested()) return;
  if (gConnection.wire.stalled()) return LogSilence();
  LogError(kSocketDestroyed);
}

void LogSilence() {
  LogError(FormatWide(u"The news server has not answered for %lu seconds.\r\n",
                      gConnection.stall_limit));
}

void NoteLoss() {
  if (AbortRequested()) return;
  if (gRun.retries == 0) {
    CloseConnection();
  } else {
    gConnection.wire.Close();
  }
  LogLoss();
}

void LogError(std::u16string_view text) {
  AppendToLog(gConnection.error_log, text);
}

bool SendCommand(std::string_view command, CommandLogging logging) {
  constexpr std::string_view kEndsLine("\r\n\0", 3);
  constexpr std::size_t kLongest = kLineBufferSize - 1 - 2;
  command = command.substr(0, std::min(command.find_first_of(kEndsLine), kLongest));
  std::string line(command);
  line += "\r\n";
  if (logging == CommandLogging::kLogged) LogTransaction(line);
  if (gConnection.wire.Send(line)) return true;
  LogLoss();
  return false;
}

}  // namespace quillet
