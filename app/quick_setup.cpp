// SPDX-License-Identifier: GPL-3.0-or-later
// Two dialogs that are made anew each time they are shown; what was typed stands in an answer
// meanwhile, so that "<< Back" finds it again. The record is changed at the end only.
#include "app/quick_setup.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "app/pages/connection_methods.h"
#include "app/pages/fields.h"
#include "app/pages/page.h"
#include "app/pages/server_names.h"
#include "app/setup_reach.h"
#include "app/startup.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "groups/group_list.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/blanks.h"

namespace quillet {
namespace {

constexpr int kBack = 3;  // result of the second dialog

struct Answers {
  std::u16string server;
  std::u16string name;
  std::u16string address;
  std::u16string method;
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

Answers AnswersSoFar(const Prefs& prefs) {
  Answers answers;
  Prefs factory;
  SetDefaultPrefs(factory, true);
  if (prefs.selectedserver < prefs.numservers) answers.server = prefs.servers[prefs.selectedserver];
  answers.name = UnlessDefault(prefs.fullname, factory.fullname);
  answers.address = UnlessDefault(prefs.returnmailaddress, factory.returnmailaddress);
  answers.method = prefs.conxmethod;
  return answers;
}

// --- First page ----------------------------------------------------------------------------------

void ReadAnswers(port::WindowHandle dialog, Answers& answers) {
  for (const Question& question : kQuestions) {
    const std::u16string typed = gPlatform->dialogs.Read(dialog, question.control).text;
    answers.*question.answer = Trimmed(StorableText(typed, false));
  }
}

std::optional<Refusal> RefusalOfAnswers(const Answers& answers, const SetupReach& reach) {
  for (const Question& question : kQuestions) {
    if ((answers.*question.answer).empty()) {
      return Refusal{std::u16string(question.missing), question.control};
    }
  }
  const std::u16string refusal = RefusalOfServerName(answers.server);
  if (!refusal.empty()) return Refusal{refusal, kControlSetupServer};
  if (auto port = reach.RefusalOfPort()) return port;
  const auto name = RefusalOfLength(kControlSetupName, answers.name);
  return name ? name : RefusalOfLength(kControlSetupAddress, answers.address);
}

bool AskForServerAndUser(const Prefs& prefs, Answers& answers, SetupReach& reach) {
  const auto setup = [&](port::WindowHandle dialog) {
    for (const Question& question : kQuestions) {
      gPlatform->dialogs.Write(dialog, question.control, port::Text{answers.*question.answer});
    }
    reach.Show(dialog);
  };
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    reach.Handle(dialog, message);
    const std::optional<int> result = EndOnOkOrCancel(dialog, message);
    if (result != port::kIdOk) return result;
    ReadAnswers(dialog, answers);
    reach.Read(dialog);
    if (const std::optional<Refusal> refusal = RefusalOfAnswers(answers, reach)) {
      TellRefusal(dialog, *refusal);
      return std::nullopt;
    }
    if (reach.FindOut(prefs, dialog, answers.server)) return std::nullopt;
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
bool AskAll(const Prefs& prefs, Answers& answers, SetupReach& reach) {
  int result = kBack;
  while (result == kBack) {
    if (!AskForServerAndUser(prefs, answers, reach)) return false;
    result = AskForConnection(answers);
  }
  return result == port::kIdOk;
}

// --- Done ----------------------------------------------------------------------------------------

void TakeAnswers(Prefs& prefs, Answers answers, const SetupReach& reach) {
  std::optional<std::size_t> server = FindServer(prefs, answers.server);
  if (!server) {
    AddServer(prefs, {.name = std::move(answers.server)});
    server = prefs.numservers - 1;
  }
  reach.Take(prefs, *server);
  prefs.selectedserver = static_cast<std::uint32_t>(*server);
  prefs.fullname = std::move(answers.name);
  prefs.returnmailaddress = std::move(answers.address);
  if (!answers.method.empty()) prefs.conxmethod = std::move(answers.method);
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
  SetupReach reach(*copy, answers.server);
  if (!AskAll(*copy, answers, reach)) return;
  TakeAnswers(*copy, std::move(answers), reach);
  reach.StoreSecurity(*copy);
  gPrefs = std::move(copy);
  WritePreferences();
  ScheduleAutoDownload();
  RefreshStartGuide();
  if (gPrefs->numgroups == 0) TellOfGroups();
}

}  // namespace quillet
