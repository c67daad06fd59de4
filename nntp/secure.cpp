// SPDX-License-Identifier: GPL-3.0-or-later
// A connection that is to be secured and cannot be ends there: there is no way from here to one in
// the clear. What the server said before TLS stood counts for nothing after it, since anybody on
// the way could have said it.
#include "nntp/secure.h"

#include <optional>
#include <string>

#include "base/box_owner.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "nntp/connection.h"
#include "nntp/converse.h"
#include "nntp/run_memory.h"
#include "port/message_box.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

std::u16string WithFingerprint(const port::TlsResult& result) {
  return FormatWide(u"%ls\r\n\r\nSHA-256 fingerprint:\r\n%ls", result.problem, result.fingerprint);
}

// Somebody sits there, and has not been asked to come back for a connection that was lost.
bool SomebodyAnswers() {
  return !gConnection.nobody_waits && !IsRetry();
}

// What cannot be mended by trying again ends the run.
RunEnd Refused() {
  return IsRetry() ? RunEnd::kRefused : RunEnd::kUnreachable;
}

// Of a certificate that proves nothing. When the user trusts it all the same, the connection is
// made anew. Who was asked needs not be told again.
RunEnd AskForTrust(const port::TlsResult& result) {
  if (!SomebodyAnswers()) {
    LogError(WithFingerprint(result) + u"\r\n");
    return Refused();
  }
  const std::u16string question =
      WithFingerprint(result) + u"\r\n\r\nTrust this certificate from now on?";
  if (!AskYesNo(question, port::kIdNo)) return Refused();
  if (!TrustCertificate(*gConnection.server_name, gConnection.port, result.fingerprint)) {
    LogError(u"That this certificate is trusted could not be saved.\r\n");
  }
  gConnection.connect_anew = true;
  return RunEnd::kUnreachable;
}

RunEnd RefuseChanged(const port::TlsResult& result) {
  const std::u16string text =
      WithFingerprint(result) +
      u"\r\n\r\nNothing was sent. If the server has got a new certificate, choose its security "
      u"anew on the page \"Server\" of the preferences and press OK: at the next connection you "
      u"are asked about it.";
  if (SomebodyAnswers()) {
    ShowBox(CurrentBoxOwner(), u"Quillet", text,
            {port::BoxButtons::kOk, port::BoxIcon::kExclamation, true});
  } else {
    LogError(text + u"\r\n");
  }
  return Refused();
}

RunEnd Failed(const port::TlsResult& result, bool stalled) {
  if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
  if (stalled) {
    LogSilence();
  } else {
    LogError(result.problem + u"\r\n");
  }
  return RunEnd::kUnreachable;
}

RunEnd StartTls() {
  const std::u16string& server = *gConnection.server_name;
  SetProgressDetail(u"Securing the connection...");
  gConnection.wire.Take(gConnection.wire.Pending().size());
  const port::TlsResult result = gPlatform->sockets.StartTls(
      gConnection.wire.socket(), {Narrow(server), TrustedCertificate(server, gConnection.port)});
  const bool stalled = gPlatform->sockets.LastError() == port::kErrorStalled;
  if (result.outcome == port::TlsOutcome::kDone) {
    LogTransaction("#(the connection is encrypted)\r\n");
    return RequestedEnd();
  }
  // It carries nothing any more, not even a QUIT.
  gConnection.wire.Close();
  switch (result.outcome) {
    case port::TlsOutcome::kUntrusted:
      return AskForTrust(result);
    case port::TlsOutcome::kChangedPin:
      return RefuseChanged(result);
    case port::TlsOutcome::kInterrupted:
      return LostOrAsked();
    default:
      return Failed(result, stalled);
  }
}

// One line: whatever came with it may be from anybody.
RunEnd AskForStartTls() {
  if (!SendCommand("STARTTLS")) return RunEnd::kLost;
  const std::optional<std::string_view> line = gConnection.wire.ReadLine(kLineBufferSize - 1);
  if (!line) {
    NoteLoss();
    return RunEnd::kLost;
  }
  const std::string reply(UntilNul(*line));
  LogTransaction(reply);
  if (StartsWith(reply, "382")) return RunEnd::kGoOn;
  LogError(FormatWide(u"The news server offers no STARTTLS: %ls", reply));
  return RunEnd::kRefused;
}

// Whether the greeting allowed posting was said in the clear. A server that has the commands of
// readers answers MODE READER as it greets; one that answers otherwise says nothing about posting,
// and POST itself will be answered.
RunEnd LearnAboutPosting() {
  const RunEnd end = Converse("MODE READER");
  if (end != RunEnd::kGoOn) return end;
  gConnection.posting_allowed = !StartsWith(gConnection.reply, "201");
  return RequestedEnd();
}

}  // namespace

RunEnd SecureFromTheStart() {
  return gConnection.security == ServerSecurity::kTls ? StartTls() : RunEnd::kGoOn;
}

RunEnd SecureAfterGreeting() {
  if (gConnection.security != ServerSecurity::kStartTls) return RunEnd::kGoOn;
  gConnection.posting_allowed = false;
  RunEnd end = AskForStartTls();
  if (end == RunEnd::kGoOn) end = StartTls();
  return end == RunEnd::kGoOn ? LearnAboutPosting() : end;
}

}  // namespace quillet
