// The transaction is a table of steps. Each tells what ended the run, if anything did; how the
// connection is left then is decided in one place: with QUIT and the error log, or without a word
// when an abort was requested before there was a session.
#include "nntp/connection.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "nntp/auth.h"
#include "nntp/download.h"
#include "nntp/error_log.h"
#include "nntp/outbox.h"
#include "nntp/post_queue.h"
#include "nntp/replies.h"
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
constexpr std::uint32_t kDefaultPort = 119;
constexpr std::uint32_t kLongestQuitWait = 2000;  // milliseconds

struct ErrorText {
  int error;
  std::u16string_view text;
};

constexpr std::array<ErrorText, 3> kSocketErrors = {{
    {port::kErrorTooManySockets, u"the PDA has no more sockets available"},
    {port::kErrorNetworkDown, u"the network is down"},
    {port::kErrorNoBuffers, u"the PDA has no buffers available"},
}};
constexpr std::array<ErrorText, 3> kBindErrors = {{
    {port::kErrorAddressInUse, u"the address is already in use"},
    {port::kErrorNetworkDown, u"the network is down"},
    {port::kErrorNoBuffers, u"the PDA has no network buffers available"},
}};
constexpr std::array<ErrorText, 7> kConnectErrors = {{
    {port::kErrorAddressInUse, u"address in use"},
    {port::kErrorNetworkDown, u"the network is down"},
    {port::kErrorNetworkUnreachable, u"the network is unreachable"},
    {port::kErrorHostUnreachable, u"the network is unreachable"},
    {port::kErrorNoBuffers, u"the PDA is out of network buffers"},
    {port::kErrorTimedOut, u"unknown CE connection error; PDA may need rebooting"},
    {port::kErrorRefused, u"the news server refused the connection"},
}};

void ReportSocketError(std::u16string_view call, std::span<const ErrorText> texts) {
  const int error = gPlatform->sockets.LastError();
  const auto known = std::find_if(texts.begin(), texts.end(),
                                  [&](const ErrorText& t) { return t.error == error; });
  const std::u16string reason = known != texts.end()
                                    ? FormatWide(u"%ls: %ls", call, known->text)
                                    : FormatWide(u"%ls: unknown error %d", call, error);
  ReportError(reason, u"OpenConnection");
}

void StartLogs() {
  gTransactionLog = std::make_unique<TextLog>();
  gConnection.error_log = TextLog();
  gConnection.errors_shown = 0;
  SetProgressTitle(u"Connecting...");
  SetProgressDetail(u"");
  LogTransaction(FormatNarrow("Quillet CE %s transaction log\r\n", kVersionText));
}

RunEnd TakeSelectedServer() {
  const std::size_t server = gPrefs->selectedserver;
  gConnection.server_name = server < gPrefs->servers.size() ? gPrefs->servers[server] : u"";
  const std::uint32_t port = server < gPrefs->port.size() ? gPrefs->port[server] : kDefaultPort;
  gConnection.port = static_cast<std::uint16_t>(port);
  return RequestedEnd();
}

RunEnd OpenSocket() {
  gConnection.wire.Open(gPlatform->sockets.Open());
  if (gConnection.wire.IsOpen()) return RequestedEnd();
  ReportSocketError(u"socket", kSocketErrors);
  return RunEnd::kUnreachable;
}

RunEnd BindSocket() {
  if (gPlatform->sockets.Bind(gConnection.wire.socket())) return RunEnd::kGoOn;
  if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
  ReportSocketError(u"bind", kBindErrors);
  return RunEnd::kUnreachable;
}

// One part of a dotted quad, taken off the front of `text`; nothing when it is not 0 to 255.
std::optional<std::uint8_t> TakeQuadPart(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  std::uint32_t value = 0;
  std::size_t digits = 0;
  for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
    value = std::min(value * 10 + static_cast<std::uint32_t>(text[digits] - '0'), 256U);
  }
  if (digits == 0 || value > 255) return std::nullopt;
  text.remove_prefix(digits);
  return static_cast<std::uint8_t>(value);
}

// The address when the whole name is a dotted quad (blanks around it do not matter).
std::optional<port::Address> ParseDottedQuad(std::string_view name) {
  port::Address address;
  for (std::size_t i = 0; i < 4; ++i) {
    if (i > 0) {
      if (!StartsWith(name, ".")) return std::nullopt;
      name.remove_prefix(1);
    }
    const std::optional<std::uint8_t> part = TakeQuadPart(name);
    if (!part) return std::nullopt;
    address.bytes[i] = *part;
  }
  if (name.find_first_not_of(' ') != std::string_view::npos) return std::nullopt;
  return address;
}

// Where to connect to; empty when the host is unknown.
std::vector<port::Address> FindAddresses(const std::string& host) {
  std::vector<port::Address> addresses = gPlatform->sockets.Resolve(host);
  if (ReadExtensions().alladdresses != 0) return addresses;
  std::erase_if(addresses, [](const port::Address& address) { return address.v6; });
  if (addresses.size() > 1) addresses.resize(1);
  return addresses;
}

RunEnd ConnectSocket() {
  RunEnd end = RunEnd::kGoOn;
  const std::u16string& name = *gConnection.server_name;
  const std::string narrow_name = Narrow(name);
  std::vector<port::Address> addresses;
  if (const auto address = ParseDottedQuad(narrow_name)) {
    addresses.push_back(*address);
  } else {
    SetProgressTitle(FormatWide(u"Looking up host %ls...", name));
    addresses = FindAddresses(narrow_name);
    if (addresses.empty()) {
      if (Ended(end)) return end;
      LogError(FormatWide(u"Unable to find host %ls.\r\n", name));
      return RunEnd::kUnreachable;
    }
  }
  SetProgressDetail(FormatWide(u"Connecting to host %ls...", name));
  if (Ended(end)) return end;
  const bool connected =
      gPlatform->sockets.Connect(gConnection.wire.socket(), addresses, gConnection.port);
  if (Ended(end) || connected) return end;
  ReportSocketError(u"connect", kConnectErrors);
  return RunEnd::kUnreachable;
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

constexpr std::array<TransactionStep, 8> kTransaction = {{
    {TakeSelectedServer, true},
    {OpenSocket, true},
    {BindSocket, true},
    {ConnectSocket, true},
    {ReadGreeting, true},
    {LogIn, false},
    {Post, false},
    {DownloadNews, false},
}};

bool WasAskedFor(RunEnd end) {
  return end == RunEnd::kCancelled || end == RunEnd::kSessionEnds;
}

void SayQuit() {
  if (gConnection.wire.IsOpen()) {
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

// Runs the steps up to the one that ends the run. An end that was asked for early leaves without a
// word; any other, the regular one too, closes the connection as a session is closed.
RunEnd RunTransaction() {
  for (const TransactionStep& step : kTransaction) {
    RunEnd end = step.work();
    if (end == RunEnd::kLost) end = LostOrAsked();
    if (end == RunEnd::kGoOn) continue;
    if (!step.silent_when_asked_to_stop || !WasAskedFor(end)) EndConnection();
    return end;
  }
  EndConnection();
  return RunEnd::kGoOn;
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
  StartLogs();
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
  if (!AbortRequested()) LogError(kSocketDestroyed);
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
