// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_shell.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/linux/instance_socket.h"
#include "port/linux/linux_clock.h"
#include "port/linux/opener_link.h"
#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kScheduled = 2;
constexpr std::uint32_t kLink = 10;

// One instance of the program as far as the shell is concerned.
struct Instance {
  explicit Instance(const std::string& folder, std::u16string command_line = {},
                    std::u16string link = {})
      : shell(LocateProfile(folder), std::move(command_line), std::move(link), queues) {
    shell.SetRaise([this](const std::string& token) {
      raised_with = token;
      ++raised;
    });
  }
  // The next message of this thread's window; kNone when none comes soon.
  MessageKind Next() {
    queues.SetTimer(window, 99, 300);
    Message message;
    queues.Get(message);
    queues.KillTimer(window, 99);
    if (message.kind == MessageKind::kTimer) return MessageKind::kNone;
    EXPECT_EQ(message.window, window);
    if (message.kind == MessageKind::kUser) {
      EXPECT_EQ(message.id, kScheduled);
    }
    return message.kind;
  }

  LinuxClock clock;
  ThreadQueues queues{clock};
  const WindowHandle window = queues.AddWindow();
  std::atomic<int> raised{0};
  std::string raised_with;  // the token; looked at once `raised` has told of it
  LinuxShell shell;
};

class LinuxShellTest : public testing::Test {
 protected:
  TempFolder folder_;
  const std::string profile_ = folder_ / "profile";
};

// The owner in a process of its own; `ready` when it owns the profile.
class OwnerProcess {
 public:
  explicit OwnerProcess(const std::string& profile) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    child_ = std::make_unique<Child>([&] {
      Instance owner(profile);
      const char answer = owner.shell.ForwardToOtherInstance(false) ? 'n' : 'y';
      if (write(ends[1], &answer, 1) == 1) pause();
    });
    char answer = 0;
    EXPECT_EQ(read(ends[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    close(ends[0]);
    close(ends[1]);
  }
  pid_t pid() const { return child_->pid(); }
  void Kill() { child_->Kill(); }

 private:
  std::unique_ptr<Child> child_;
};

TEST_F(LinuxShellTest, SecondInstanceRaisesTheFirstAndNothingElse) {
  Instance first(profile_);
  Instance second(profile_);
  EXPECT_FALSE(first.shell.ForwardToOtherInstance(false));
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
  EXPECT_TRUE(Eventually([&] { return first.raised == 1; }));
  EXPECT_EQ(first.Next(), MessageKind::kNone);
  EXPECT_EQ(second.raised, 0);
}

// A start by the desktop, whose token stands in the environment.
class Token {
 public:
  Token(const char* name, const std::string& token) : name_(name) {
    setenv(name, token.c_str(), 1);
  }
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  ~Token() { unsetenv(name_); }

 private:
  const char* name_;
};

TEST_F(LinuxShellTest, TokenOfTheDesktopIsHandedOver) {
  Instance first(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  struct Case {
    const char* name;
    std::string token;
    std::string handed_over;
  };
  int times = 0;
  for (const Case& c : {Case{"XDG_ACTIVATION_TOKEN", "a1-b2", "a1-b2"},
                        Case{"DESKTOP_STARTUP_ID", "host-7 x_TIME4711", "host-7 x_TIME4711"},
                        Case{"XDG_ACTIVATION_TOKEN", "two\nlines", ""},
                        Case{"XDG_ACTIVATION_TOKEN", std::string(10000, 'x'), ""}}) {
    const Token token(c.name, c.token);
    Instance second(profile_);
    EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
    EXPECT_TRUE(Eventually([&] { return first.raised == times + 1; }));
    EXPECT_EQ(first.raised_with, c.handed_over);
    ++times;
  }
}

// An owner of an earlier version knows no tokens, and hangs up.
TEST_F(LinuxShellTest, OwnerThatKnowsNoTokenIsAskedWithoutOne) {
  Instance owner(profile_);
  owner.shell.ForwardToOtherInstance(false);  // holds the lock
  const std::string path = profile_ + "/instance.sock";
  const FileDescriptor listener = ListenAt(path);
  ASSERT_TRUE(listener.valid());
  std::vector<std::string> heard;
  std::thread earlier([&] {
    while (heard.size() < 2) {
      pollfd waiting{listener.get(), POLLIN, 0};
      if (poll(&waiting, 1, 5000) != 1) return;
      const FileDescriptor client = AcceptFrom(listener.get());
      heard.push_back(ReceiveLine(client.get(), 500));
      if (heard.back() == "raise") SendLine(client.get(), "ok");
    }
  });
  const Token token("XDG_ACTIVATION_TOKEN", "a1");
  Instance second(profile_);
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
  earlier.join();
  EXPECT_EQ(heard, (std::vector<std::string>{"raise a1", "raise"}));
}

TEST_F(LinuxShellTest, OwnerThatKnowsNoLinksIsRaisedAndHasNotTakenIt) {
  Instance owner(profile_);
  owner.shell.ForwardToOtherInstance(false);
  const FileDescriptor listener = ListenAt(profile_ + "/instance.sock");
  ASSERT_TRUE(listener.valid());
  std::vector<std::string> heard;
  std::thread earlier([&] {
    while (heard.size() < 2) {
      pollfd waiting{listener.get(), POLLIN, 0};
      if (poll(&waiting, 1, 5000) != 1) return;
      const FileDescriptor client = AcceptFrom(listener.get());
      heard.push_back(ReceiveLine(client.get(), 500));
      if (heard.back() == "raise") SendLine(client.get(), "ok");
    }
  });
  Instance second(profile_, {}, u"news:a.b");
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
  EXPECT_FALSE(second.shell.LinkTaken());
  earlier.join();
  EXPECT_EQ(heard, (std::vector<std::string>{"link 0  news:a.b", "raise"}));
}

TEST_F(LinuxShellTest, ScheduledSecondInstanceHandsTheDownloadOver) {
  Instance first(profile_);
  Instance second(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(first.Next(), MessageKind::kUser);
  EXPECT_EQ(first.Next(), MessageKind::kNone);
  EXPECT_EQ(first.raised, 1);
}

TEST_F(LinuxShellTest, RequestsBeforeTheWindowAreDeliveredWithIt) {
  Instance first(profile_);
  Instance second(profile_);
  first.shell.ForwardToOtherInstance(false);
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(first.Next(), MessageKind::kNone);
  EXPECT_EQ(first.raised, 0);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  EXPECT_EQ(first.Next(), MessageKind::kUser);
  EXPECT_EQ(first.raised, 1);
}

TEST_F(LinuxShellTest, WithoutAWindowAgainRequestsAreKept) {
  Instance first(profile_);
  Instance second(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  first.shell.SetInstanceWindow(0, {.download = kScheduled});
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(first.Next(), MessageKind::kNone);
  EXPECT_EQ(first.raised, 0);
}

TEST_F(LinuxShellTest, ProfilesDoNotSeeEachOther) {
  Instance first(profile_);
  Instance other(folder_ / "other");
  EXPECT_FALSE(first.shell.ForwardToOtherInstance(false));
  EXPECT_FALSE(other.shell.ForwardToOtherInstance(true));
}

TEST_F(LinuxShellTest, NextInstanceOwnsTheProfileOfOneThatEnded) {
  {
    Instance first(profile_);
    EXPECT_FALSE(first.shell.ForwardToOtherInstance(false));
    EXPECT_TRUE(std::filesystem::exists(profile_ + "/instance.sock"));
  }
  EXPECT_FALSE(std::filesystem::exists(profile_ + "/instance.sock"));
  Instance second(profile_);
  EXPECT_FALSE(second.shell.ForwardToOtherInstance(false));
}

TEST_F(LinuxShellTest, OwnerInAnotherProcessIsFound) {
  const OwnerProcess owner(profile_);
  Instance second(profile_);
  const StopWatch watch;
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_LT(watch.Milliseconds(), 500);
}

TEST_F(LinuxShellTest, KilledOwnerLeavesNothingInTheWay) {
  OwnerProcess owner(profile_);
  owner.Kill();
  EXPECT_TRUE(std::filesystem::exists(profile_ + "/instance.sock"));
  Instance second(profile_);
  const StopWatch watch;
  EXPECT_FALSE(second.shell.ForwardToOtherInstance(true));
  EXPECT_LT(watch.Milliseconds(), 200);
  Instance third(profile_);
  EXPECT_TRUE(third.shell.ForwardToOtherInstance(false));
}

TEST_F(LinuxShellTest, HungOwnerHoldsNobodyUpForLong) {
  const OwnerProcess owner(profile_);
  kill(owner.pid(), SIGSTOP);
  for (int i = 0; i < 2; ++i) {
    Instance second(profile_);
    const StopWatch watch;
    EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
    EXPECT_LT(watch.Milliseconds(), 2000);
  }
}

TEST_F(LinuxShellTest, BusyOwnerIsNotWaitedFor) {
  Instance first(profile_);
  std::atomic<bool> go_on{false};
  first.shell.SetRaise([&](const std::string&) {
    while (!go_on) std::this_thread::sleep_for(1ms);
  });
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  Instance second(profile_);
  const StopWatch watch;
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_LT(watch.Milliseconds(), 500);
  EXPECT_EQ(first.Next(), MessageKind::kUser);
  go_on = true;
}

TEST_F(LinuxShellTest, OfManyStartsAtOnceOneOwnsTheProfile) {
  for (int round = 0; round < 5; ++round) {
    const std::string profile = folder_ / ("many" + std::to_string(round));
    std::vector<std::unique_ptr<Instance>> instances(8);
    for (auto& instance : instances) instance = std::make_unique<Instance>(profile);
    std::atomic<int> owners{0};
    std::vector<std::thread> threads;
    threads.reserve(instances.size());
    for (const auto& instance : instances) {
      threads.emplace_back([&owners, &instance] {
        if (!instance->shell.ForwardToOtherInstance(false)) ++owners;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(owners, 1);
  }
}

TEST_F(LinuxShellTest, LongProfilePathsWork) {
  const std::string profile =
      folder_ / (std::string(100, 'a') + "/" + std::string(100, 'b') + "/" + std::string(100, 'c'));
  Instance first(profile);
  EXPECT_FALSE(first.shell.ForwardToOtherInstance(false));
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  Instance second(profile);
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(first.Next(), MessageKind::kUser);
}

TEST_F(LinuxShellTest, UsersOwnProfileMeetsInTheRuntimeFolderOrWithoutOne) {
  const Environment config("XDG_CONFIG_HOME", folder_ / "config");
  const Environment data("XDG_DATA_HOME", folder_ / "data");
  auto first = [&] {
    const Environment runtime("XDG_RUNTIME_DIR", folder_ / "run");
    return std::make_unique<Instance>("");
  }();
  EXPECT_FALSE(first->shell.ForwardToOtherInstance(false));
  EXPECT_TRUE(std::filesystem::exists(folder_ / "run/quillet/instance.sock"));
  first->shell.SetInstanceWindow(first->window, {.download = kScheduled});
  const Environment no_runtime("XDG_RUNTIME_DIR", std::nullopt);
  Instance second("");
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(first->Next(), MessageKind::kUser);
}

TEST_F(LinuxShellTest, RubbishOnTheSocketIsIgnored) {
  Instance first(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  const std::string path = profile_ + "/instance.sock";
  for (const std::string& rubbish :
       {std::string(), std::string("raise+downloads\n"), std::string("raise"), std::string("\n"),
        std::string(100000, 'x'), std::string("raise\0\n", 7), std::string("RAISE\n")}) {
    const FileDescriptor peer = ConnectTo(path);
    ASSERT_TRUE(peer.valid());
    send(peer.get(), rubbish.data(), rubbish.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  }
  const FileDescriptor silent = ConnectTo(path);
  ASSERT_TRUE(silent.valid());
  Instance second(profile_);
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(true));
  EXPECT_EQ(first.Next(), MessageKind::kUser);
  EXPECT_EQ(first.Next(), MessageKind::kNone);
  EXPECT_EQ(first.raised, 1);
}

// The next link that comes to this thread's window.
std::u16string NextLink(Instance& instance) {
  instance.queues.SetTimer(instance.window, 99, 2000);
  Message message;
  instance.queues.Get(message);
  instance.queues.KillTimer(instance.window, 99);
  EXPECT_EQ(message.kind, MessageKind::kUser);
  EXPECT_EQ(message.id, kLink);
  return message.text;
}

TEST_F(LinuxShellTest, LinkOfALaterStartIsHandedOver) {
  Instance first(profile_, {}, u"news:its.own");
  EXPECT_EQ(first.shell.Link(), u"news:its.own");
  EXPECT_FALSE(first.shell.ForwardToOtherInstance(false));
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled, .link = kLink});
  EXPECT_EQ(first.Next(), MessageKind::kNone);  // its own is for the program to ask for
  int times = 0;
  for (const std::u16string& link :
       {std::u16string(u"news:a.b"), std::u16string(u"NNTP://h/g/1"),
        std::u16string(u"news:a b\u00E4\uFFFD"), u"news:" + std::u16string(2044, u'\uFFFD')}) {
    Instance second(profile_, {}, link);
    EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
    EXPECT_TRUE(second.shell.LinkTaken());
    EXPECT_EQ(NextLink(first), link);
    EXPECT_TRUE(Eventually([&] { return first.raised == times + 1; }));
    ++times;
  }
  Instance scheduled(profile_, u"AppRunAtTime", u"news:not.both");
  EXPECT_TRUE(scheduled.shell.ForwardToOtherInstance(true));
  EXPECT_FALSE(scheduled.shell.LinkTaken());
  EXPECT_EQ(first.Next(), MessageKind::kUser);
  EXPECT_EQ(first.Next(), MessageKind::kNone);
}

TEST_F(LinuxShellTest, LinkComesWithTheTokenOfTheDesktop) {
  Instance first(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled, .link = kLink});
  int times = 0;
  for (const char* token : {"a1-b2", "7", "with a blank"}) {
    const Token given("XDG_ACTIVATION_TOKEN", token);
    Instance second(profile_, {}, u"news:a b");
    EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
    EXPECT_EQ(NextLink(first), u"news:a b");
    EXPECT_TRUE(Eventually([&] { return first.raised == times + 1; }));
    EXPECT_EQ(first.raised_with, token);
    ++times;
  }
}

TEST_F(LinuxShellTest, LinksWaitForTheWindow) {
  Instance first(profile_);
  first.shell.ForwardToOtherInstance(false);
  Instance second(profile_, {}, u"news:a.b");
  EXPECT_TRUE(second.shell.ForwardToOtherInstance(false));
  first.shell.RequestLink(u"news:c.d");
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled, .link = kLink});
  EXPECT_EQ(NextLink(first), u"news:a.b");
  EXPECT_EQ(NextLink(first), u"news:c.d");
  EXPECT_EQ(first.Next(), MessageKind::kNone);
}

TEST_F(LinuxShellTest, WhatIsNoLinkIsNotTakenFromTheSocket) {
  Instance first(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled, .link = kLink});
  for (const std::string& line : {std::string("link 0  http://x/"), std::string("link 99 a news:a"),
                                  "link 0  news:" + std::string(20000, 'a')}) {
    const FileDescriptor owner = ConnectTo(profile_ + "/instance.sock");
    ASSERT_TRUE(owner.valid());
    SendLine(owner.get(), line);
    EXPECT_EQ(ReceiveLine(owner.get(), 2000), "") << line.substr(0, 40);
  }
  EXPECT_EQ(first.Next(), MessageKind::kNone);
  EXPECT_EQ(first.raised, 0);
}

TEST_F(LinuxShellTest, OtherUsersAreNotHeard) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can become another user";
  Instance first(profile_);
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  for (const std::string& path : {folder_.path(), profile_, profile_ + "/instance.sock"}) {
    chmod(path.c_str(), 0777);
  }
  Child stranger([&] {
    if (seteuid(65534) != 0) _exit(2);
    // Its own check of the peer fails too, so this one speaks without it.
    const int peer = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = profile_ + "/instance.sock";
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (connect(peer, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) _exit(3);
    SendLine(peer, "raise+download");
    _exit(ReceiveLine(peer, 300) == "ok" ? 4 : 0);
  });
  const int status = stranger.Wait();
  EXPECT_EQ(status, 0);
  EXPECT_EQ(first.Next(), MessageKind::kNone);
}

TEST_F(LinuxShellTest, FolderThatCannotBeWrittenStillLetsTheProgramRun) {
  WriteAll(profile_, "a file in the way");
  Instance first(profile_);
  EXPECT_FALSE(first.shell.ForwardToOtherInstance(false));
}

TEST_F(LinuxShellTest, EndOfTheSessionGoesToTheWindowNowOrLater) {
  Instance instance(profile_);
  instance.shell.EndSession();
  instance.shell.SetInstanceWindow(instance.window, {.download = kScheduled});
  EXPECT_EQ(instance.Next(), MessageKind::kEndSession);
  EXPECT_EQ(instance.Next(), MessageKind::kNone);
  instance.shell.EndSession();
  EXPECT_EQ(instance.Next(), MessageKind::kEndSession);
}

TEST_F(LinuxShellTest, DownloadDueInThisProgramGoesToTheWindow) {
  Instance instance(profile_);
  instance.shell.RequestDownload();
  instance.shell.SetInstanceWindow(instance.window, {.download = kScheduled});
  EXPECT_EQ(instance.Next(), MessageKind::kUser);
  EXPECT_EQ(instance.raised, 0);
}

TEST_F(LinuxShellTest, NoRaiseIsUnderWayWhenItWasTakenBack) {
  Instance first(profile_);
  std::atomic<int> inside{0};
  first.shell.SetRaise([&](const std::string&) {
    ++inside;
    std::this_thread::sleep_for(50ms);
    --inside;
  });
  first.shell.ForwardToOtherInstance(false);
  first.shell.SetInstanceWindow(first.window, {.download = kScheduled});
  Instance second(profile_);
  second.shell.ForwardToOtherInstance(false);
  EXPECT_TRUE(Eventually([&] { return inside == 1; }));
  first.shell.SetRaise({});
  EXPECT_EQ(inside, 0);
}

TEST_F(LinuxShellTest, CommandLineIsWhatItWasGiven) {
  Instance instance(profile_, u"AppRunAtTime");
  EXPECT_EQ(instance.shell.CommandLine(), u"AppRunAtTime");
}

TEST(LinkForOpener, LinksAreHandedOnUnchanged) {
  for (const char16_t* link :
       {u"http://example.org/", u"HTTPS://example.org/a?b=c&d#e", u"ftp://x",
        u"mailto:me@example.org", u"news:comp.test", u"NNTP://x/y/1",
        u"MailTo:a@x?subject=How%20to%20attach&body=re-attach", u"http://example.org/\u00E4 b"}) {
    EXPECT_EQ(LinkForOpener(link), std::filesystem::path(link).string());
  }
}

TEST(LinkForOpener, HostNamesGetTheirScheme) {
  EXPECT_EQ(LinkForOpener(u"www.example.org/x"), "http://www.example.org/x");
  EXPECT_EQ(LinkForOpener(u"WWW.example.org"), "http://WWW.example.org");
}

TEST(LinkForOpener, WhatIsNoLinkIsRefused) {
  const std::u16string refused[] = {
      u"",
      u"-http://x",
      u"--help",
      u"/etc/passwd",
      u"example",
      u"example.org",
      u"://x",
      u"1http://x",
      u"a-b:c",
      u" http://x",
      u"file:///etc",
      u"FILE:/etc/passwd",
      u"http://a\nb",
      u"http://a\rb",
      u"http://a\u0007",
      std::u16string(u"http://a\0b", 10),
      u"http://a\u007F",
      u"www",
      u"./www.x",
      u"mailto",
      u"javascript:alert(1)",
      u"data:text/html,x",
      u"smb://x/y",
      u"ssh://x",
      u"httpx://x",
      u"htt:x",
      u"telnet://x",
      u"vnd:x",
      u"snews:x",
  };
  for (const std::u16string& target : refused) EXPECT_EQ(LinkForOpener(target), "");
}

// A mailer that obeys would send a file of the user's to whoever wrote the article.
TEST(LinkForOpener, MessagesWithAttachmentsAreRefused) {
  for (const char16_t* link :
       {u"mailto:a@x?attach=/etc/passwd", u"mailto:a@x?subject=x&attach=/etc/passwd",
        u"MAILTO:?ATTACHMENT=/etc/passwd", u"mailto:?%61ttach=/etc/passwd",
        u"mailto:?subject=x&amp;attach=/etc/passwd", u"mailto:?subject=x%26attach=/etc/passwd",
        u"mailto:?subject=x;%41%54%54ach=/etc/passwd", u"mailto:%3Fattach=x",
        u"mailto:?subject=%2526attach=x%26%61ttach=y"}) {
    EXPECT_EQ(LinkForOpener(link), "") << std::filesystem::path(link);
  }
  for (const char16_t* link : {u"mailto:attach@x", u"mailto:a@x?subject=100%&body=%", u"mailto:",
                               u"mailto:a@x?subject=%4", u"http://x/?attach=1"}) {
    EXPECT_NE(LinkForOpener(link), "") << std::filesystem::path(link);
  }
}

class OpenLinkTest : public LinuxShellTest {
 protected:
  // An opener that notes its arguments, one a line, and their number.
  void MakeOpener(const std::string& more = "") {
    WriteScript(folder_ / "bin/xdg-open",
                "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > " + (folder_ / "note.new") + "\nmv " +
                    (folder_ / "note.new") + " " + (folder_ / "note") + "\n" + more);
  }
  const Environment path_{"PATH", folder_ / "bin:/usr/bin:/bin"};
  Instance instance_{profile_};
};

TEST_F(OpenLinkTest, TargetIsOneArgumentWithoutAShell) {
  MakeOpener();
  const std::u16string target = u"http://example.org/a b;$(touch x)`'\"|&*\\";
  EXPECT_TRUE(instance_.shell.OpenLink(target));
  ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(folder_ / "note"); }));
  EXPECT_EQ(ReadAll(folder_ / "note"), "1\nhttp://example.org/a b;$(touch x)`'\"|&*\\\n");
}

TEST_F(OpenLinkTest, RefusedTargetStartsNothing) {
  MakeOpener();
  EXPECT_FALSE(instance_.shell.OpenLink(u"--version"));
  EXPECT_FALSE(instance_.shell.OpenLink(u"file:///etc/passwd"));
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "note"));
}

TEST_F(OpenLinkTest, OpenerThatStaysIsNotWaitedForAndLeavesNoZombie) {
  MakeOpener("exec sleep 0.3\n");
  const StopWatch watch;
  EXPECT_TRUE(instance_.shell.OpenLink(u"http://example.org"));
  EXPECT_LT(watch.Milliseconds(), 200);
  // No child is left, running or waiting to be taken away.
  EXPECT_TRUE(Eventually([] {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
  }));
}

// Beside this test, while it lives.
class GuideOfThisTest {
 public:
  GuideOfThisTest() {
    std::filesystem::create_directories(share_ / "quillet/guide");
    std::ofstream(share_ / "quillet/guide/user-guide.html") << "<!DOCTYPE html>";
  }
  GuideOfThisTest(const GuideOfThisTest&) = delete;
  GuideOfThisTest& operator=(const GuideOfThisTest&) = delete;
  ~GuideOfThisTest() { std::filesystem::remove_all(share_); }
  std::string Path() const { return share_ / "quillet/guide/user-guide.html"; }

 private:
  const std::filesystem::path share_ =
      std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "share";
};

TEST_F(OpenLinkTest, GuideBesideTheProgramIsOpened) {
  MakeOpener();
  EXPECT_FALSE(instance_.shell.OpenGuide()) << "there is none";
  const GuideOfThisTest guide;
  EXPECT_TRUE(instance_.shell.OpenGuide());
  ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(folder_ / "note"); }));
  EXPECT_EQ(ReadAll(folder_ / "note"), "1\n" + guide.Path() + "\n");
}

TEST_F(OpenLinkTest, MissingOpenerIsToldToTheCaller) {
  const Environment path("PATH", folder_ / "empty");
  EXPECT_FALSE(instance_.shell.OpenLink(u"http://example.org"));
  const GuideOfThisTest guide;
  EXPECT_FALSE(instance_.shell.OpenGuide());
}

}  // namespace
}  // namespace quillet::port
