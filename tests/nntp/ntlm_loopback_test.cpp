// SPDX-License-Identifier: GPL-3.0-or-later
// Encrypted logins over a real socket, with the system's own mechanism on both sides.
#include <gmock/gmock.h>

#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "nntp/ntlm.h"
#include "port/linux/linux_security.h"
#include "port/linux/linux_sockets.h"
#include "tests/nntp/nntp_fixture.h"
#include "tests/port/loopback_server.h"
#include "tests/port/ntlm_acceptor.h"
#include "util/base64.h"

namespace quillet {
namespace {

// A news server that wants an encrypted login and knows QUIT besides.
class NtlmServer {
 public:
  // The reply to the first token may be another one than the mechanism's.
  using Distort = std::function<std::string(const std::string& challenge)>;
  explicit NtlmServer(Distort distort = {})
      : distort_(std::move(distort)), server_([this](int client) { Serve(client); }) {}

  std::uint16_t port() const { return server_.port(); }
  std::string accepted() {
    const std::lock_guard lock(mutex_);
    return accepted_;
  }

 private:
  static bool Reply(int client, const std::string& reply) {
    return port::SendAll(client, reply + "\r\n");
  }

  static std::string ReadLine(int client) {
    std::string line;
    while (!line.ends_with("\r\n")) {
      const std::string byte = port::ReceiveExactly(client, 1);
      if (byte.empty()) return {};
      line += byte;
    }
    return line.substr(0, line.size() - 2);
  }

  void Serve(int client) {
    port::NtlmAcceptor acceptor;
    Reply(client, "200 encrypted news");
    for (std::string line = ReadLine(client); !line.empty(); line = ReadLine(client)) {
      if (line == "QUIT") {
        Reply(client, "205 bye");
        return;
      }
      if (!Reply(client, Answer(acceptor, line))) return;
    }
  }

  std::string Answer(port::NtlmAcceptor& acceptor, const std::string& line) {
    constexpr std::string_view kCommand = "AUTHINFO GENERIC ";
    if (!line.starts_with(kCommand)) return "480 who are you?";
    if (line == "AUTHINFO GENERIC NTLM") return "381 PROTOCOL";
    std::string challenge;
    switch (acceptor.Accept(Base64Decode(line.substr(kCommand.size())), challenge)) {
      case port::NtlmAcceptor::Result::kGoesOn:
        return "381 " + (distort_ ? distort_(challenge) : Base64Encode(challenge));
      case port::NtlmAcceptor::Result::kAccepted: {
        const std::lock_guard lock(mutex_);
        accepted_ = acceptor.name();
        return "281 Authentication ok";
      }
      case port::NtlmAcceptor::Result::kRefused:
        break;
    }
    return "502 Permission denied";
  }

  const Distort distort_;
  std::mutex mutex_;
  std::string accepted_;
  port::LoopbackServer server_;  // last: its thread uses the rest
};

class NtlmLoopbackTest : public NntpTest {
 protected:
  NtlmLoopbackTest() {
    gPlatform = &platform_;
    gDownloadList.clear();
    gPrefs->servers = {u"127.0.0.1"};
    gPrefs->useauths = {1};
    gPrefs->usentlms = {1};
  }
  ~NtlmLoopbackTest() override { gPlatform = &fake.platform; }

  RunEnd LogIn(NtlmServer& server, const std::u16string& user, const std::u16string& password) {
    gPrefs->port = {server.port()};
    gPrefs->authusers = {user};
    gPrefs->authpasses = {password};
    EXPECT_TRUE(StartInet());
    const RunEnd end = RunWithProgress(u"Preparing to download...", OpenConnection);
    StopInet();
    return end;
  }

  // What a challenge changed so comes to.
  RunEnd LogInWith(const NtlmServer::Distort& distort) {
    NtlmServer server(distort);
    const RunEnd end = LogIn(server, u"ann\\NEWS", u"secret");
    EXPECT_EQ(server.accepted(), "");
    return end;
  }

  port::NtlmUsers users_;
  port::LinuxSockets sockets_;
  port::LinuxSecurity security_;
  port::Platform platform_{fake.display.Services(),
                           fake.queues,
                           fake.registry,
                           sockets_,
                           fake.libraries,
                           fake.files,
                           fake.clock,
                           fake.shell,
                           fake.scheduler,
                           fake.dialler,
                           fake.mail,
                           fake.contacts,
                           security_,
                           fake.secrets};
};

TEST_F(NtlmLoopbackTest, RightPassword) {
  NtlmServer server;
  EXPECT_EQ(LogIn(server, u"ann\\NEWS", u"secret"), RunEnd::kGoOn);
  EXPECT_EQ(server.accepted(), "NEWS\\ann");
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(NtlmLoopbackTest, WrongPasswordOrDomain) {
  NtlmServer server;
  for (const auto& [user, password] :
       {std::pair(u"ann\\NEWS", u"wrong"), std::pair(u"ann\\OTHER", u"secret")}) {
    EXPECT_EQ(LogIn(server, user, password), RunEnd::kRefused);
    EXPECT_EQ(server.accepted(), "");
    EXPECT_EQ(ErrorLog(),
              u"While negotiating NTLM AUTHINFO, the server responded '502 Permission "
              u"denied\r\n'.\r\n");
  }
}

TEST_F(NtlmLoopbackTest, UserWithoutADomain) {
  NtlmServer server;
  EXPECT_EQ(LogIn(server, u"carl", u"nodomain"), RunEnd::kGoOn);
  EXPECT_EQ(server.accepted(), "carl");
}

TEST_F(NtlmLoopbackTest, PasswordBeyondAscii) {
  NtlmServer server;
  EXPECT_EQ(LogIn(server, u"bob\\WORK", u"p\u00E4ss\u20AC"), RunEnd::kGoOn);
  EXPECT_EQ(server.accepted(), "WORK\\bob");
}

TEST_F(NtlmLoopbackTest, NoPassword) {
  NtlmServer server;
  EXPECT_EQ(LogIn(server, u"ann\\NEWS", u""), RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(),
            u"AcquireCredentialsHandle failed; unable to send encrypted credentials.\r\n");
}

TEST_F(NtlmLoopbackTest, LoginAfterLoginInOneRun) {
  NtlmServer server;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(LogIn(server, u"ann\\NEWS", u"wrong"), RunEnd::kRefused);
    EXPECT_EQ(LogIn(server, u"ann\\NEWS", u"secret"), RunEnd::kGoOn);
  }
}

TEST_F(NtlmLoopbackTest, ChallengeThatIsNone) {
  for (const char* bytes : {"", "hello", "*", "====", "TlRMTVNTUA=="}) {
    EXPECT_EQ(LogInWith([&](const std::string&) { return bytes; }), RunEnd::kRefused);
    EXPECT_THAT(Narrow(ErrorLog()),
                ::testing::MatchesRegex(
                    "While negotiating NTLM AUTHINFO, ISC returned 80090308; error is -?[0-9]+"))
        << bytes;
  }
}

TEST_F(NtlmLoopbackTest, TruncatedChallenge) {
  for (const std::size_t length : {1U, 8U, 12U, 31U, 32U, 47U, 55U}) {
    EXPECT_EQ(LogInWith([&](const std::string& challenge) {
                return Base64Encode(challenge.substr(0, length));
              }),
              RunEnd::kRefused);
    EXPECT_TRUE(StartsWith(ErrorLog(), u"While negotiating NTLM AUTHINFO, ISC returned 8009030"))
        << length;
  }
}

TEST_F(NtlmLoopbackTest, ChallengeOfHugeLengthsAndOffsets) {
  for (const std::size_t field : {12U, 40U}) {
    EXPECT_EQ(LogInWith([&](std::string challenge) {
                challenge.replace(field, 8, std::string(8, '\xFF'));
                return Base64Encode(challenge);
              }),
              RunEnd::kRefused);
  }
}

TEST_F(NtlmLoopbackTest, ChallengeOfAnyBytes) {
  std::mt19937 random(99);  // NOLINT: the same inputs on every run are the point
  for (int i = 0; i < 20; ++i) {
    std::string bytes(random() % 1500, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    EXPECT_EQ(LogInWith([&](const std::string&) { return Base64Encode(bytes); }), RunEnd::kRefused);
  }
}

TEST_F(NtlmLoopbackTest, EndlessChallengeIsALoss) {
  EXPECT_EQ(LogInWith([](const std::string&) { return std::string(100'000, 'A'); }), RunEnd::kLost);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

}  // namespace
}  // namespace quillet
