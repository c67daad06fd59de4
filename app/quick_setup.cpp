// Two dialogs that are made anew each time they are shown; what was typed stands in an answer
// meanwhile, so that "<< Back" finds it again. The record is changed at the end only.
//
// Port and security are the server's that is in the list already, else the usual ones. While the
// user has not touched them they follow the name, and a server with nothing set that answers where
// TLS is at home gets TLS.
#include "app/quick_setup.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/pages/connection_methods.h"
#include "app/pages/fields.h"
#include "app/pages/page.h"
#include "app/pages/server_names.h"
#include "app/server_probe.h"
#include "app/startup.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/server_security.h"
#include "base/subscriptions.h"
#include "base/wait_cursor.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/blanks.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr int kBack = 3;                       // result of the second dialog
constexpr std::uint32_t kLongestProbe = 3000;  // milliseconds

// How a server is reached, as the first page shows it.
struct Reach {
  std::u16string port = u"119";
  ServerSecurity security = ServerSecurity::kNone;
  bool operator==(const Reach&) const = default;
};

struct Answers {
  std::u16string server;
  std::u16string name;
  std::u16string address;
  std::u16string method;
  Reach reach;
  Reach offered;               // what the page showed by itself last
  std::u16string offered_for;  // that server
  std::u16string probed;       // the server that was tried last
  std::u16string note;
};

struct Question {
  std::uint32_t control;
  std::u16string Answers::*answer;
  std::u16string_view missing;
};

constexpr auto kQuestions = std::to_array<Question>({
    {kControlSetupServer, &Answers::server, u"You have not specified your news server."},
    {kControlSetupName, &Answers::name, u"You have not specified your full name."},
    {kControlSetupAddress, &Answers::address, u"You have not specified your email address."},
});

// What was never set is asked for, not offered: "My Name" would go out with the first article.
std::u16string UnlessDefault(const std::u16string& text, const std::u16string& factory) {
  return text == factory ? std::u16string() : text;
}

// As it is set, or the usual one.
Reach ReachOf(const Prefs& prefs, std::u16string_view server) {
  const std::optional<std::size_t> at = FindServer(prefs, server);
  if (!at) return {};
  return {FormatWide(u"%lu", prefs.port[*at]),
          ReadServerSecurity(prefs.servers[*at]).value_or(ServerSecurity::kTls)};
}

Answers AnswersSoFar(const Prefs& prefs) {
  Answers answers;
  Prefs factory;
  SetDefaultPrefs(factory, true);
  if (prefs.selectedserver < prefs.numservers) answers.server = prefs.servers[prefs.selectedserver];
  answers.name = UnlessDefault(prefs.fullname, factory.fullname);
  answers.address = UnlessDefault(prefs.returnmailaddress, factory.returnmailaddress);
  answers.method = prefs.conxmethod;
  answers.offered_for = answers.server;
  answers.reach = answers.offered = ReachOf(prefs, answers.server);
  return answers;
}

// --- First page ----------------------------------------------------------------------------------

void ReadAnswers(port::WindowHandle dialog, Answers& answers) {
  for (const Question& question : kQuestions) {
    const std::u16string typed = gPlatform->dialogs.Read(dialog, question.control).text;
    answers.*question.answer = Trimmed(StorableText(typed, false));
  }
  answers.reach.port = Trimmed(gPlatform->dialogs.Read(dialog, kControlSetupPort).text);
  const int choice = gPlatform->dialogs.Read(dialog, kControlSetupSecurity).choice;
  if (choice >= 0) answers.reach.security = static_cast<ServerSecurity>(choice);
}

void ShowReach(port::WindowHandle dialog, const Answers& answers) {
  gPlatform->dialogs.WriteMany(
      dialog, {{kControlSetupPort, port::Text{answers.reach.port}},
               {kControlSetupSecurity, port::Choice{static_cast<int>(answers.reach.security)}},
               {kControlSetupNote, port::Text{answers.note}},
               {kControlSetupNote, port::Visible{!answers.note.empty()}}});
}

void ShowAnswers(port::WindowHandle dialog, const Answers& answers) {
  for (const Question& question : kQuestions) {
    gPlatform->dialogs.Write(dialog, question.control, port::Text{answers.*question.answer});
  }
  const auto names = ServerSecurityNames();
  gPlatform->dialogs.Write(dialog, kControlSetupSecurity,
                           port::Choices{{names.begin(), names.end()}});
  ShowReach(dialog, answers);
}

void Offer(port::WindowHandle dialog, Answers& answers, Reach reach, std::u16string_view note) {
  answers.reach = answers.offered = std::move(reach);
  answers.offered_for = answers.server;
  answers.note = note;
  ShowReach(dialog, answers);
}

// True when the page is to stay, so that the user sees what was found.
bool FindOutHowToReach(const Prefs& prefs, port::WindowHandle dialog, Answers& answers) {
  if (answers.reach != answers.offered) return false;  // by hand
  if (answers.offered_for != answers.server) {
    Offer(dialog, answers, ReachOf(prefs, answers.server), {});
  }
  if (answers.reach != Reach() || answers.probed == answers.server) return false;
  answers.probed = answers.server;
  const WaitCursor wait;
  if (!AnswersOnPort(answers.server, kTlsPort, kLongestProbe)) return false;
  Offer(dialog, answers, {FormatWide(u"%lu", kTlsPort), ServerSecurity::kTls},
        u"The server answers on port 563: TLS is filled in.");
  return true;
}

std::optional<Refusal> RefusalOfAnswers(const Answers& answers) {
  for (const Question& question : kQuestions) {
    if ((answers.*question.answer).empty()) {
      return Refusal{std::u16string(question.missing), question.control};
    }
  }
  const std::u16string refusal = RefusalOfServerName(answers.server);
  if (!refusal.empty()) return Refusal{refusal, kControlSetupServer};
  const std::optional<std::uint32_t> port = NumberIn(answers.reach.port, kHighestPort);
  if (!port || *port == 0) return RefusedNumber(kControlSetupPort, u"port", kHighestPort);
  const auto name = RefusalOfLength(kControlSetupName, answers.name);
  return name ? name : RefusalOfLength(kControlSetupAddress, answers.address);
}

bool AskForServerAndUser(const Prefs& prefs, Answers& answers) {
  const auto setup = [&](port::WindowHandle dialog) { ShowAnswers(dialog, answers); };
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    if (IsPress(message, kControlSetupSecurity)) {
      LetPortFollow(dialog, kControlSetupSecurity, kControlSetupPort);
    }
    const std::optional<int> result = EndOnOkOrCancel(dialog, message);
    if (result != port::kIdOk) return result;
    ReadAnswers(dialog, answers);
    if (const std::optional<Refusal> refusal = RefusalOfAnswers(answers)) {
      TellRefusal(dialog, *refusal);
      return std::nullopt;
    }
    if (FindOutHowToReach(prefs, dialog, answers)) return std::nullopt;
    return result;
  };
  return RunModalDialog(kDialogQuickSetup, setup, procedure) == port::kIdOk;
}

// --- Second page ---------------------------------------------------------------------------------

int AskForConnection(Answers& answers) {
  const auto setup = [&](port::WindowHandle dialog) {
    OfferConnectionMethods(dialog, kControlSetupConnection, answers.method,
                           PhoneBookFailures::kSilent);
  };
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    std::optional<int> result = EndOnOkOrCancel(dialog, message);
    if (IsPress(message, kControlSetupBack)) result = kBack;
    if (result && result != port::kIdCancel) {
      answers.method = ChosenConnectionMethod(dialog, kControlSetupConnection);
    }
    return result;
  };
  return RunModalDialog(kDialogQuickSetupConnection, setup, procedure);
}

// False when the user gave up.
bool AskAll(const Prefs& prefs, Answers& answers) {
  int result = kBack;
  while (result == kBack) {
    if (!AskForServerAndUser(prefs, answers)) return false;
    result = AskForConnection(answers);
  }
  return result == port::kIdOk;
}

// --- Done ----------------------------------------------------------------------------------------

void TakeAnswers(Prefs& prefs, Answers answers) {
  std::optional<std::size_t> server = FindServer(prefs, answers.server);
  if (!server) {
    AddServer(prefs, {.name = std::move(answers.server)});
    server = prefs.numservers - 1;
  }
  prefs.port[*server] = NumberIn(answers.reach.port, kHighestPort).value_or(kPlainPort);
  prefs.selectedserver = static_cast<std::uint32_t>(*server);
  prefs.fullname = std::move(answers.name);
  prefs.returnmailaddress = std::move(answers.address);
  if (!answers.method.empty()) prefs.conxmethod = std::move(answers.method);
}

// Before the servers themselves, as everywhere.
void StoreSecurity(const Prefs& prefs, ServerSecurity of_selected) {
  std::vector<SecuredServer> securities;
  for (std::size_t at = 0; at < prefs.servers.size(); ++at) {
    const std::u16string& name = prefs.servers[at];
    const bool selected = at == prefs.selectedserver;
    securities.push_back(
        {name, selected ? of_selected : ReadServerSecurity(name).value_or(ServerSecurity::kTls)});
  }
  if (WriteServerSecurities(securities)) return;
  ShowMessage(u"The security of the news servers could not be saved.");
}

void TellOfGroups() {
  ShowMessage(
      u"That's all! Next, you'll probably want to add some groups to download. Select \"New "
      u"Group\" from the \"Group->Groups\" menu. You can also look at the extensive list of "
      u"configuration options in Quillet CE by selecting \"Preferences\" from the \"File\" menu.");
}

}  // namespace

void RunQuickSetup() {
  const int wanted = AskOkCancel(
      u"Welcome to Quillet CE! The Quick Setup Wizard will now prompt you for some basic "
      u"configuration information. If you don't know what to enter, you can always come back to "
      u"the Quick Setup Wizard by selecting \"Quick Setup\" from the \"File\" menu.");
  if (wanted != port::kIdOk) return;
  std::unique_ptr<Prefs> copy = CopyPrefs(*gPrefs);
  if (!copy) return;
  Answers answers = AnswersSoFar(*copy);
  if (!AskAll(*copy, answers)) return;
  const ServerSecurity security = answers.reach.security;
  TakeAnswers(*copy, std::move(answers));
  StoreSecurity(*copy, security);
  gPrefs = std::move(copy);
  WritePreferences();
  ScheduleAutoDownload();
  if (gPrefs->numgroups == 0) TellOfGroups();
}

}  // namespace quillet
