// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/connection.h"

#include <functional>

#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

using port::SocketCall;

constexpr char kHeader[] = "Quillet CE 1.14r3 transaction log\r\n";

class ConnectionTest : public NntpTest {
 protected:
  ConnectionTest() { gDownloadList.clear(); }

  // The transaction as the connect command runs it.
  void Run() {
    end_ = RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(gConnection.wire.socket(), 0U);
    EXPECT_EQ(fake.sockets.open_sockets(), 0);
    EXPECT_FALSE(gConnection.server_name.has_value());
  }

  // A message that waits in the outbox.
  void Put(const std::u16string& id, const std::u16string& to, const std::u16string& subject) {
    fake.mail.mails.push_back({id, u"work", u"", {{u"To", to}, {u"Subject", subject}}, u"Hello"});
  }

  void RunAbortedAt(SocketCall kind) {
    fake.sockets.on_call = [kind](SocketCall call, int) {
      if (call == kind) RequestAbort();
    };
    Run();
  }

  void ExpectError(std::u16string_view reason) {
    ASSERT_EQ(fake.display.boxes().size(), 1U);
    const port::ShownBox box = fake.display.boxes()[0];
    EXPECT_EQ(box.caption, u"Quillet");
    EXPECT_EQ(box.text,
              FormatWide(u"An unexpected error (%ls) occurred in OpenConnection.", reason));
    EXPECT_EQ(end_, RunEnd::kUnreachable);
  }

  RunEnd end_ = RunEnd::kGoOn;  // of the last Run
};

// --- starting the service ---

TEST_F(ConnectionTest, VersionOneDotOneIsAskedForAndTaken) {
  EXPECT_TRUE(StartInet());
  EXPECT_EQ(fake.sockets.version_wanted(), (port::SocketVersion{1, 1}));
  StopInet();
  EXPECT_EQ(fake.sockets.startups(), 1);
  EXPECT_EQ(fake.sockets.cleanups(), 1);
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(ConnectionTest, OtherVersionIsACriticalError) {
  fake.sockets.SetVersion(port::SocketVersion{2, 2});
  EXPECT_FALSE(StartInet());
  EXPECT_EQ(fake.sockets.cleanups(), 1);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"A critical error (incompatible WinSock DLL) occurred in StartInet."});
}

TEST_F(ConnectionTest, ServiceThatDoesNotStartIsTheSameCriticalError) {
  fake.sockets.SetVersion(std::nullopt);
  EXPECT_FALSE(StartInet());
  EXPECT_EQ(fake.sockets.cleanups(), 0);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"A critical error (incompatible WinSock DLL) occurred in StartInet."});
}

// --- the way to the greeting ---

TEST_F(ConnectionTest, WholeTransactionWithoutGroups) {
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(fake.sockets.resolved(), std::vector<std::string>{"news.example.org"});
  ASSERT_EQ(fake.sockets.connections().size(), 1U);
  EXPECT_EQ(fake.sockets.connections()[0].addresses, std::vector{port::Ipv4(192, 0, 2, 7)});
  EXPECT_EQ(fake.sockets.connections()[0].port, 119);
  EXPECT_EQ(TransactionLog(), std::string(kHeader) + "200 welcome\r\n200 welcome\r\nQUIT\r\n");
  EXPECT_EQ(fake.sockets.close_waits(), std::vector<std::uint32_t>{2000});
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Titles(), (std::vector<std::u16string>{u"Preparing to download...", u"Connecting...",
                                                   u"Looking up host news.example.org...",
                                                   u"Connected to news.example.org"}));
  EXPECT_EQ(Details(),
            (std::vector<std::u16string>{u"", u"Connecting to host news.example.org...",
                                         u"Waiting for response...", u"200 welcome\r\n"}));
}

TEST_F(ConnectionTest, SocketIsBoundBeforeItIsConnected) {
  std::vector<SocketCall> order;
  fake.sockets.on_call = [&](SocketCall call, int) { order.push_back(call); };
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(order,
            (std::vector<SocketCall>{SocketCall::kOpen, SocketCall::kBind, SocketCall::kResolve,
                                     SocketCall::kConnect, SocketCall::kReceive, SocketCall::kSend,
                                     SocketCall::kClose}));
}

TEST_F(ConnectionTest, LogsStartAnew) {
  LogTransaction("old");
  LogError(u"old");
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(TransactionLog().find("old"), std::string::npos);
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(ConnectionTest, NoTransactionLogIsKeptUnlessAskedFor) {
  gPrefs->keeptranslog = 0;
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(TransactionLog(), "");
}

TEST_F(ConnectionTest, TransactionLogIsWidened) {
  Server("200 J\xF6rg \x80\r\n");
  Quits();
  Run();
  EXPECT_NE(gTransactionLog->text.find(u"200 J\u00F6rg \u20AC\r\n"), std::u16string::npos);
}

TEST_F(ConnectionTest, SelectedServerAndItsPortAreUsed) {
  gPrefs->numservers = 2;
  gPrefs->selectedserver = 1;
  gPrefs->servers = {u"news.example.org", u"10.1.2.3"};
  gPrefs->port = {119, 65536 + 8119};
  gPrefs->useauths = {1, 0};
  gPrefs->usentlms = {0, 0};
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(fake.sockets.connections()[0].addresses, std::vector{port::Ipv4(10, 1, 2, 3)});
  EXPECT_EQ(fake.sockets.connections()[0].port, 8119);
}

TEST_F(ConnectionTest, ServerIndexBeyondTheListIsAnUnknownHost) {
  gPrefs->selectedserver = 7;
  Run();
  EXPECT_EQ(ErrorLog(), u"Unable to find host .\r\n");
}

TEST_F(ConnectionTest, AllAddressesAreTriedUnlessOnlyTheFirstOfIpv4IsWanted) {
  const port::Address v6{true, {0x20, 1, 0xd, 0xb8}, 0};
  const port::Address first = port::Ipv4(192, 0, 2, 7);
  const port::Address second = port::Ipv4(192, 0, 2, 8);
  fake.sockets.SetHost("news.example.org", std::vector{v6, first, second});
  for (const std::uint32_t all : {1U, 0U}) {
    fake.registry.PutDword(kExtensionsPath, u"alladdresses", all);
    Server("200 welcome\r\n");
    Quits();
    Run();
    const auto expected = all != 0 ? std::vector{v6, first, second} : std::vector{first};
    EXPECT_EQ(fake.sockets.connections().back().addresses, expected);
  }
  fake.sockets.SetHost("news.example.org", std::vector{v6});
  Run();
  EXPECT_EQ(ErrorLog(), u"Unable to find host news.example.org.\r\n");
}

struct NameCase {
  std::u16string name;
  std::optional<port::Address> address;
};

TEST_F(ConnectionTest, DottedQuadsAreNotLookedUp) {
  const std::vector<NameCase> cases = {
      {u"10.0.0.1", port::Ipv4(10, 0, 0, 1)},
      {u"255.255.255.255", port::Ipv4(255, 255, 255, 255)},
      {u"010.000.0.001", port::Ipv4(10, 0, 0, 1)},
      {u" 10.0.0.1 ", port::Ipv4(10, 0, 0, 1)},
      {u"10.0.0.256", std::nullopt},
      {u"10.0.0.99999999999", std::nullopt},
      {u"10.0.0", std::nullopt},
      {u"10.0.0.", std::nullopt},
      {u"10..0.1", std::nullopt},
      {u"10.0.0.1.example.org", std::nullopt},
      {u"10.0.0.1x", std::nullopt},
      {u"10.0.0.-1", std::nullopt},
      {u"", std::nullopt},
  };
  for (const NameCase& c : cases) {
    gPrefs->servers = {c.name};
    const std::size_t lookups = fake.sockets.resolved().size();
    if (c.address) {
      Server("200 welcome\r\n");
      Quits();
    }
    Run();
    EXPECT_EQ(fake.sockets.resolved().size(), lookups + (c.address ? 0 : 1)) << Narrow(c.name);
    if (c.address) {
      EXPECT_EQ(fake.sockets.connections().back().addresses, std::vector{*c.address})
          << Narrow(c.name);
      EXPECT_EQ(ErrorLog(), u"");
    } else {
      EXPECT_EQ(ErrorLog(), u"Unable to find host " + c.name + u".\r\n");
    }
  }
}

TEST_F(ConnectionTest, UnknownHostSaysQuitAndShowsTheErrorLog) {
  gPrefs->servers = {u"nowhere.example.org"};
  Run();
  EXPECT_EQ(ErrorLog(), u"Unable to find host nowhere.example.org.\r\n");
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  const port::ShownBox box = fake.display.boxes()[0];
  EXPECT_EQ(box.caption, u"Error log");
  EXPECT_EQ(box.text, u"Unable to find host nowhere.example.org.\r\n");
  EXPECT_EQ(box.style.buttons, port::BoxButtons::kOk);
  EXPECT_EQ(box.style.icon, port::BoxIcon::kNone);
  EXPECT_NE(box.owner, 0U);  // the progress dialog
  EXPECT_EQ(TransactionLog(), std::string(kHeader) + "QUIT\r\n");
  EXPECT_EQ(fake.sockets.close_waits(), std::vector<std::uint32_t>{2000});
  EXPECT_EQ(end_, RunEnd::kUnreachable);
}

struct ErrorCase {
  int error;
  std::u16string_view text;
};

TEST_F(ConnectionTest, SocketErrorsAreReportedWithoutQuit) {
  for (const ErrorCase& c : {ErrorCase{10024, u"socket: the PDA has no more sockets available"},
                             ErrorCase{10050, u"socket: the network is down"},
                             ErrorCase{10055, u"socket: the PDA has no buffers available"},
                             ErrorCase{13, u"socket: unknown error 13"},
                             ErrorCase{10048, u"socket: unknown error 10048"}}) {
    fake.display.ForgetBoxes();
    fake.sockets.FailOpen(c.error);
    Run();
    ExpectError(c.text);
    EXPECT_EQ(TransactionLog(), kHeader);
    EXPECT_TRUE(fake.sockets.close_waits().empty());
  }
}

TEST_F(ConnectionTest, BindErrorsAreReportedAndClosed) {
  for (const ErrorCase& c : {ErrorCase{10048, u"bind: the address is already in use"},
                             ErrorCase{10050, u"bind: the network is down"},
                             ErrorCase{10055, u"bind: the PDA has no network buffers available"},
                             ErrorCase{10024, u"bind: unknown error 10024"}}) {
    fake.display.ForgetBoxes();
    fake.sockets.FailBind(c.error);
    Run();
    ExpectError(c.text);
    EXPECT_EQ(TransactionLog(), std::string(kHeader) + "QUIT\r\n");
  }
}

TEST_F(ConnectionTest, ConnectErrorsAreReportedAndClosed) {
  for (const ErrorCase& c :
       {ErrorCase{10048, u"connect: address in use"},
        ErrorCase{10050, u"connect: the network is down"},
        ErrorCase{10051, u"connect: the network is unreachable"},
        ErrorCase{10065, u"connect: the network is unreachable"},
        ErrorCase{10055, u"connect: the PDA is out of network buffers"},
        ErrorCase{10060, u"connect: unknown CE connection error; PDA may need rebooting"},
        ErrorCase{10061, u"connect: the news server refused the connection"},
        ErrorCase{110, u"connect: unknown error 110"}}) {
    fake.display.ForgetBoxes();
    fake.sockets.FailConnect(c.error);
    Run();
    ExpectError(c.text);
    EXPECT_EQ(TransactionLog(), std::string(kHeader) + "QUIT\r\n");
  }
}

// --- aborts ---

TEST_F(ConnectionTest, AbortBeforeTheSocketOpensNothing) {
  fake.display.CancelProgressAfter(1);  // the title
  Run();
  EXPECT_EQ(fake.sockets.calls(SocketCall::kOpen), 0);
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(ConnectionTest, AbortsLeaveWithoutAWord) {
  for (const SocketCall kind :
       {SocketCall::kOpen, SocketCall::kBind, SocketCall::kResolve, SocketCall::kConnect}) {
    RunAbortedAt(kind);
    EXPECT_EQ(end_, RunEnd::kCancelled);
    EXPECT_TRUE(fake.display.boxes().empty());
    EXPECT_EQ(fake.sockets.sent(), "");
    EXPECT_EQ(TransactionLog(), kHeader);
    EXPECT_TRUE(fake.sockets.close_waits().empty());
  }
}

TEST_F(ConnectionTest, FailuresOfAnAbortedStepAreSilent) {
  fake.sockets.FailBind(10050);
  RunAbortedAt(SocketCall::kBind);
  gPrefs->servers = {u"nowhere.example.org"};
  RunAbortedAt(SocketCall::kResolve);
  EXPECT_EQ(ErrorLog(), u"");
  gPrefs->servers = {u"news.example.org"};
  fake.sockets.FailConnect(10061);
  RunAbortedAt(SocketCall::kConnect);
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_EQ(fake.sockets.sent(), "");
}

TEST_F(ConnectionTest, AbortInTheMiddleOfTheGreetingIsNoLoss) {
  Server("200 we");
  fake.sockets.Then([] { RequestAbort(); });
  fake.sockets.Closes();
  Run();
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_EQ(fake.sockets.sent(), "");
  EXPECT_EQ(end_, RunEnd::kCancelled);
}

TEST_F(ConnectionTest, AbortDuringTheGreetingLeavesSilently) {
  Server("200 welcome\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  Run();
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_EQ(fake.sockets.sent(), "");
  EXPECT_EQ(TransactionLog(), std::string(kHeader) + "200 welcome\r\n");
  EXPECT_TRUE(gConnection.posting_allowed);
}

TEST_F(ConnectionTest, AbortDuringTheLoginSaysQuit) {
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  Server("200 welcome\r\n");
  Exchange("AUTHINFO USER ann", "281 ok");
  Quits();
  RunAbortedAt(SocketCall::kSend);
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_TRUE(fake.display.boxes().empty());
}

// Whatever the server is waited for: nothing is said of a loss, and there is no wait after QUIT.
TEST_F(ConnectionTest, AbortEndsAnyWaitForTheServer) {
  struct Wait {
    std::string name;
    std::function<void()> lay;
  };
  const auto greets = [this] { Server("200 welcome\r\n"); };
  const std::vector<Wait> waits = {
      {"login",
       [&] {
         greets();
         Client("AUTHINFO USER ann\r\n");
       }},
      {"password",
       [&] {
         greets();
         Exchange("AUTHINFO USER ann", "381 more");
         Client("AUTHINFO PASS \r\n");
       }},
      {"group",
       [&] {
         greets();
         Exchange("AUTHINFO USER ann", "281 ok");
         Client("GROUP alt.test\r\n");
       }},
      {"half a reply",
       [&] {
         greets();
         Exchange("AUTHINFO USER ann", "281 ok");
         Client("GROUP alt.test\r\n");
         Server("211 5 1 ");
       }},
  };
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  for (const Wait& wait : waits) {
    SCOPED_TRACE(wait.name);
    ChooseGroups({1});
    wait.lay();
    fake.sockets.Then([] { RequestAbort(); });
    fake.sockets.Stalls();
    const std::size_t waits_before = fake.sockets.close_waits().size();
    Run();
    EXPECT_EQ(end_, RunEnd::kCancelled);
    EXPECT_EQ(ErrorLog(), u"");
    EXPECT_TRUE(fake.display.boxes().empty());
    EXPECT_TRUE(EndsWith(fake.sockets.sent(), "QUIT\r\n"));
    EXPECT_TRUE(EndsWith(TransactionLog(), "QUIT\r\n"));
    EXPECT_EQ(fake.sockets.close_waits().size(), waits_before + 1);
  }
}

// --- the greeting ---

TEST_F(ConnectionTest, PostingIsAllowedByTheGreeting200Only) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"200 hi", true},       {"201 no posting", false}, {"2000", true},
      {"502 go away", false}, {"hello", false},          {"", false},
      {" 200 x", false},
  };
  for (const auto& [greeting, allowed] : cases) {
    gConnection.posting_allowed = !allowed;
    Server(greeting + "\r\n");
    Quits();
    Run();
    EXPECT_EQ(gConnection.posting_allowed, allowed) << greeting;
    EXPECT_TRUE(fake.display.boxes().empty()) << greeting;  // otherwise it is never judged
  }
}

TEST_F(ConnectionTest, LostGreetingShowsTheErrorLogOnce) {
  Server("200 we");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{u"socket destroyed\r\n"});
  EXPECT_EQ(fake.sockets.close_waits(), std::vector<std::uint32_t>{2000});  // one QUIT only
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_FALSE(AbortRequested());
}

// --- closing ---

TEST_F(ConnectionTest, ClosingTwiceShowsTheErrorLogTwice) {
  Connected();
  LogError(u"trouble\r\n");
  Quits();
  CloseConnection();
  CloseConnection();
  EXPECT_EQ(BoxTexts(), (std::vector<std::u16string>{u"trouble\r\n", u"trouble\r\n"}));
  EXPECT_EQ(TransactionLog(), "QUIT\r\n");
}

// --- mail that waits ---

TEST_F(ConnectionTest, WaitingMailLeavesBetweenQuitAndTheErrorLog) {
  Put(u"m-1", u"ann@example.com", u"Tea");
  fake.mail.refuse = [&](const port::FakeMail&) {
    EXPECT_TRUE(EndsWith(fake.sockets.sent(), "QUIT\r\n"));
    EXPECT_FALSE(gConnection.wire.IsOpen());
    EXPECT_TRUE(fake.display.boxes().empty());
    return u"the mail program says no";
  };
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"The e-mail 'Tea' to ann@example.com could not be sent: the mail program says no\r\n");
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{ErrorLog()});
  EXPECT_EQ(Titles().back(), u"Sending e-mail...");
}

TEST_F(ConnectionTest, MailThatHasLeftIsNotSpokenOf) {
  Put(u"m-1", u"ann@example.com", u"Tea");
  Put(u"m-2", u"bob@example.com", u"Cake");
  fake.mail.refuse = [](const port::FakeMail& mail) -> std::u16string {
    return mail.id == u"m-2" ? u"no such user" : u"";
  };
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"The e-mail 'Cake' to bob@example.com could not be sent: no such user\r\n");
}

TEST_F(ConnectionTest, MailLeavesAlsoWhenTheNewsServerIsAway) {
  Put(u"m-1", u"ann@example.com", u"Tea");
  fake.sockets.FailConnect(port::kErrorRefused);
  Run();
  EXPECT_TRUE(fake.mail.mails[0].handed_over);
}

TEST_F(ConnectionTest, AfterALostConnectionMailIsTriedOnce) {
  Put(u"m-1", u"ann@example.com", u"Tea");
  fake.mail.refuse = [](const port::FakeMail&) { return u"no"; };
  Server("200 we");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(fake.mail.calls, std::vector<std::string>{"HandOver"});
  EXPECT_EQ(ErrorLog(),
            u"socket destroyed\r\n"
            u"The e-mail 'Tea' to ann@example.com could not be sent: no\r\n");
}

TEST_F(ConnectionTest, NoMailLeavesAfterACancelledRun) {
  Put(u"m-1", u"ann@example.com", u"Tea");
  ChooseGroups({1});
  Server("200 welcome\r\n");
  Client("GROUP alt.test\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  fake.sockets.Stalls();
  Run();
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_EQ(fake.mail.calls, std::vector<std::string>());
}

TEST_F(ConnectionTest, ACancelDuringTheHandOverIsNoFailureOfTheMail) {
  Put(u"m-1", u"ann@example.com", u"Tea");
  fake.mail.refuse = [](const port::FakeMail&) {
    RequestAbort();
    return u"cancelled";
  };
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(ConnectionTest, FailedQuitIsNoError) {
  Connected();
  fake.sockets.FailSend(1, 10054);
  CloseConnection();
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
}

TEST_F(ConnectionTest, ReleaseClosesWithoutQuitAndMayBeRepeated) {
  Connected();
  LogError(u"trouble\r\n");
  ReleaseConnection();
  ReleaseConnection();
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
  EXPECT_EQ(fake.sockets.sent(), "");
  EXPECT_FALSE(gConnection.server_name.has_value());
  EXPECT_TRUE(fake.display.boxes().empty());
}

// --- commands ---

TEST_F(ConnectionTest, CommandsAreLoggedBeforeTheyAreSent) {
  Connected();
  fake.sockets.FailSend(1, 10054);
  EXPECT_FALSE(SendCommand("NEXT"));
  EXPECT_EQ(TransactionLog(), "NEXT\r\n");
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(fake.sockets.open_sockets(), 1);
}

TEST_F(ConnectionTest, UnloggedCommandsAreOnlySent) {
  Connected();
  Client("STAT 5\r\n");
  EXPECT_TRUE(SendCommand("STAT 5", CommandLogging::kUnlogged));
  EXPECT_EQ(TransactionLog(), "");
}

TEST_F(ConnectionTest, CommandWithoutASocketFails) {
  EXPECT_FALSE(SendCommand("NEXT"));
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(ConnectionTest, CommandsAreCutToTheLineBufferWithTheirLineEnd) {
  Connected();
  Client("GROUP " + std::string(2039, 'g') + "\r\n");
  EXPECT_TRUE(SendCommand("GROUP " + std::string(2039, 'g')));
  Client("GROUP " + std::string(2039, 'g') + "\r\n");
  EXPECT_TRUE(SendCommand("GROUP " + std::string(100'000, 'g')));
  EXPECT_EQ(fake.sockets.sent().size(), 2U * 2047U);
}

TEST_F(ConnectionTest, CommandIsOneLineWhateverItsText) {
  Connected();
  Client("GROUP a\r\nGROUP b\r\nGROUP c\r\n");
  EXPECT_TRUE(SendCommand("GROUP a\r\nDELETE"));
  EXPECT_TRUE(SendCommand("GROUP b\nDELETE"));
  EXPECT_TRUE(SendCommand(std::string_view("GROUP c\0x", 9)));
}

// --- login ---

TEST_F(ConnectionTest, SecondServerIsLoggedInToAsItsOwnSettingsSay) {
  gPrefs->numservers = 2;
  gPrefs->selectedserver = 1;
  gPrefs->servers = {u"news.example.org", u"10.1.2.3"};
  gPrefs->port = {119, 119};
  gPrefs->useauths = {0, 1};
  gPrefs->usentlms = {1, 0};
  gPrefs->authusers = {u"first", u"second"};
  gPrefs->authpasses = {u"one", u"two"};
  Server("200 welcome\r\n");
  Exchange("AUTHINFO USER second", "381 more");
  Exchange("AUTHINFO PASS two", "281 ok");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

class LoginTest : public ConnectionTest {
 protected:
  LoginTest() {
    gPrefs->useauths = {1};
    gPrefs->authusers = {u"ann"};
    gPrefs->authpasses = {u"s\u00E9cret"};
    Server("201 welcome\r\n");
  }
};

TEST_F(LoginTest, ServerWithoutLoginGetsNoAuthinfo) {
  gPrefs->useauths = {0};
  gPrefs->usentlms = {1};
  Quits();
  Run();
}

TEST_F(LoginTest, ServerBeyondTheListsGetsNoAuthinfo) {
  gPrefs->useauths = {};
  Quits();
  Run();
}

TEST_F(LoginTest, UserAcceptedWith281SkipsPass) {
  Exchange("AUTHINFO USER ann", "281 welcome ann");
  Quits();
  Run();
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(LoginTest, PasswordFollows381AndStandsInTheLog) {
  Exchange("AUTHINFO USER ann", "381 more");
  Exchange(
      "AUTHINFO PASS s\xE9"
      "cret",
      "281 ok");
  Quits();
  Run();
  EXPECT_EQ(TransactionLog(), std::string(kHeader) +
                                  "201 welcome\r\n201 welcome\r\nAUTHINFO USER ann\r\n381 more\r\n"
                                  "AUTHINFO PASS s\xE9"
                                  "cret\r\n281 ok\r\nQUIT\r\n");
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(LoginTest, RefusedUserEndsTheConnection) {
  Exchange("AUTHINFO USER ann", "482 out of sequence");
  Quits();
  Run();
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"I sent AUTHINFO, and the server responded '482 out of sequence\r\n'.\r\n"});
  EXPECT_EQ(end_, RunEnd::kRefused);
}

TEST_F(LoginTest, RefusedPasswordEndsTheConnection) {
  Exchange("AUTHINFO USER ann", "381 more");
  Exchange(
      "AUTHINFO PASS s\xE9"
      "cret",
      "502 no");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"I sent AUTHINFO, and the server responded '502 no\r\n'.\r\n");
}

TEST_F(LoginTest, SecondRequestForAPasswordIsARefusal) {
  Exchange("AUTHINFO USER ann", "381 more");
  Exchange(
      "AUTHINFO PASS s\xE9"
      "cret",
      "381 still more");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"I sent AUTHINFO, and the server responded '381 still more\r\n'.\r\n");
}

TEST_F(LoginTest, LostSendEndsTheLogin) {
  fake.sockets.FailSend(1, 10054);
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
}

TEST_F(LoginTest, LostReplyEndsTheLogin) {
  Client("AUTHINFO USER ann\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
}

TEST_F(LoginTest, EncryptedLoginFailsWithoutAProvider) {
  gPrefs->usentlms = {1};
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Quits();
  Run();
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"AcquireCredentialsHandle failed; unable to send encrypted credentials.\r\n"});
  EXPECT_EQ(TransactionLog(),
            std::string(kHeader) + "201 welcome\r\n201 welcome\r\n381 go on\r\nQUIT\r\n");
  EXPECT_EQ(end_, RunEnd::kRefused);
}

TEST_F(LoginTest, RefusedEncryptedLoginSaysWhatTheServerSaid) {
  gPrefs->usentlms = {1};
  Exchange("AUTHINFO GENERIC NTLM", "501 what?");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"While negotiating NTLM AUTHINFO, the server responded '501 what?\r\n'.\r\n");
}

TEST_F(LoginTest, LostEncryptedLoginIsSaid) {
  gPrefs->usentlms = {1};
  Client("AUTHINFO GENERIC NTLM\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\nsocket destroyed\r\n");
  EXPECT_TRUE(fake.sockets.Finished());
  EXPECT_EQ(end_, RunEnd::kLost);
}

TEST_F(LoginTest, EncryptedLoginThatCannotBeSentIsSaid) {
  gPrefs->usentlms = {1};
  fake.sockets.FailSend(1, 10054);
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

}  // namespace
}  // namespace quillet
