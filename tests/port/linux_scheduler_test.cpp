// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_scheduler.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <array>
#include <atomic>
#include <memory>

#include "port/fake/fake_clock.h"
#include "port/fake/fake_display.h"
#include "port/linux/child_process.h"
#include "port/linux/linux_platform.h"
#include "port/linux/unit_files.h"
#include "tests/port/linux_test_tools.h"
#include "tests/port/loopback_server.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr std::u16string_view kExecutable =
    u"\\Program Files\\Communication\\Quillet CE\\quillet.exe";

CalendarTime At(int month, int day, int hour, int minute, int second) {
  CalendarTime time;
  time.year = 2024;
  time.month = month;
  time.day = day;
  time.hour = hour;
  time.minute = minute;
  time.second = second;
  return time;
}

class UnitFiles : public testing::Test {
 protected:
  static Profile Named(const std::string& folder) { return LocateProfile(folder); }
};

TEST_F(UnitFiles, OwnProfileHasThePlainNameAndOthersOneEach) {
  EXPECT_EQ(UnitName(Profile{}), "quillet-download");
  EXPECT_EQ(UnitName(Named("/a")), "quillet-download-70d2182d");
  EXPECT_NE(UnitName(Named("/a")), UnitName(Named("/b")));
}

TEST_F(UnitFiles, ServiceStartsTheProgramWithTheScheduledCommandLine) {
  EXPECT_EQ(ServiceUnit(Profile{}, "/usr/bin/quillet"),
            "[Unit]\n"
            "Description=Scheduled download of Quillet CE\n"
            "Wants=graphical-session.target\n"
            "After=graphical-session.target\n"
            "\n"
            "[Service]\n"
            "Type=simple\n"
            "ExecStart=\"/usr/bin/quillet\" AppRunAtTime\n"
            "KillMode=process\n");
}

TEST_F(UnitFiles, ServiceOfANamedProfilePassesIt) {
  const std::string unit = ServiceUnit(Named("/my \"news\" $5"), "/opt/50% $x/quillet");
  EXPECT_NE(unit.find("\nExecStart=\"/opt/50%% $x/quillet\" --profile \"/my \\\"news\\\" $$5\" "
                      "AppRunAtTime\n"),
            std::string::npos)
      << unit;
}

TEST_F(UnitFiles, ProgramThatSystemdWouldRefuseIsStartedByAnother) {
  for (const char* path : {"/a\"b", "/a'b", "/a\\b", "/a\nb"}) {
    const std::string command = "\nExecStart=/usr/bin/env " +
                                QuoteForUnit(path, CommandWord::kArgument) + " AppRunAtTime\n";
    EXPECT_NE(ServiceUnit(Profile{}, path).find(command), std::string::npos) << path;
  }
}

TEST_F(UnitFiles, QuotingKeepsEveryCharacterOnOneLine) {
  EXPECT_EQ(QuoteForUnit("a\\b\"c%d$e", CommandWord::kArgument), R"("a\\b\"c%%d$$e")");
  EXPECT_EQ(QuoteForUnit("$e%", CommandWord::kProgram), R"("$e%%")");
  EXPECT_EQ(QuoteForUnit("a\nb\tc\x7F;#'", CommandWord::kArgument), R"("a\x0ab\x09c\x7f;#'")");
  EXPECT_EQ(QuoteForUnit("\xC3\xA4 b", CommandWord::kArgument), "\"\xC3\xA4 b\"");
}

TEST_F(UnitFiles, TimerFiresAtTheMomentAndDailyFromThenOn) {
  EXPECT_EQ(TimerUnit("quillet-download", At(2, 29, 6, 5, 9)),
            "[Unit]\n"
            "Description=Scheduled download of Quillet CE\n"
            "\n"
            "[Timer]\n"
            "OnCalendar=2024-02-29 06:05:09\n"
            "OnCalendar=*-*-* 06:05:09\n"
            "AccuracySec=1s\n"
            "Unit=quillet-download.service\n"
            "\n"
            "[Install]\n"
            "WantedBy=timers.target\n");
}

TEST_F(UnitFiles, SystemdUnderstandsThem) {
  if (std::system("command -v systemd-analyze > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "systemd-analyze is not installed";
  }
  const TempFolder folder;
  const Environment runtime("XDG_RUNTIME_DIR", folder.path());
  const Profile profile = Named(folder / "a \\ 'b' %n $x");
  const std::string name = UnitName(profile);
  for (const char* file : {"50% of $HOME x/quillet", "50% of $HOME \"x\"/quillet"}) {
    const std::string program = folder / file;
    WriteScript(program, "#!/bin/sh\n");
    const std::string service = folder / ("units/" + name + ".service");
    const std::string timer = folder / ("units/" + name + ".timer");
    WriteAll(service, ServiceUnit(profile, program));
    WriteAll(timer, TimerUnit(name, At(12, 31, 23, 59, 59)));
    const std::string log = folder / "log";
    std::string command = "systemd-analyze --user verify '";
    command.append(service).append("' '").append(timer).append("' > '").append(log);
    command += "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << ReadAll(log);
    EXPECT_EQ(ReadAll(log).find(name), std::string::npos) << ReadAll(log);
  }
}

// A scheduler with a systemctl that only notes what it is asked.
class LinuxSchedulerTest : public testing::Test {
 protected:
  LinuxSchedulerTest() {
    WriteAll(folder_ / "run/systemd/private", "");
    MakeSystemctl("exit 0");
  }
  void MakeSystemctl(const std::string& end) {
    WriteScript(folder_ / "bin/systemctl",
                "#!/bin/sh\necho \"$*\" >> '" + (folder_ / "calls") + "'\n" + end + "\n");
  }
  std::string Calls() {
    std::string calls = ReadAll(folder_ / "calls");
    std::filesystem::remove(folder_ / "calls");
    return calls;
  }
  std::string Unit(const std::string& suffix, const std::string& name = "quillet-download") const {
    return folder_ / ("config/systemd/user/" + name + suffix);
  }
  bool Run(const CalendarTime& at) { return scheduler_->RunAppAtTime(kExecutable, &at); }
  bool Cancel() { return scheduler_->RunAppAtTime(kExecutable, nullptr); }
  void UseProfile(const std::string& folder) {
    scheduler_ = std::make_unique<LinuxScheduler>(
        LocateProfile(folder), "/usr/bin/quillet", clock_, [this] { ++due_; },
        SchedulerLimits{2ms, 300});
  }
  bool ComesDue(int times) {
    return Eventually([&] { return due_ == times; }, 2000);
  }
  bool StaysAt(int times) {
    std::this_thread::sleep_for(30ms);
    return due_ == times;
  }

  TempFolder folder_;
  const Environment config_{"XDG_CONFIG_HOME", folder_ / "config"};
  const Environment runtime_{"XDG_RUNTIME_DIR", folder_ / "run"};
  const Environment path_{"PATH", folder_ / "bin:/usr/bin:/bin"};
  FakeClock clock_;  // 2 January 2024, 12:00:00
  std::atomic<int> due_{0};
  std::unique_ptr<LinuxScheduler> scheduler_ = std::make_unique<LinuxScheduler>(
      LocateProfile(""), "/usr/bin/quillet", clock_, [this] { ++due_; }, SchedulerLimits{2ms, 300});
};

TEST_F(LinuxSchedulerTest, RegistrationWritesTheUnitsAndEnablesTheTimer) {
  EXPECT_TRUE(Run(At(1, 3, 6, 0, 0)));
  EXPECT_EQ(ReadAll(Unit(".timer")), TimerUnit("quillet-download", At(1, 3, 6, 0, 0)));
  EXPECT_EQ(ReadAll(Unit(".service")), ServiceUnit(LocateProfile(""), "/usr/bin/quillet"));
  EXPECT_EQ(Calls(), "--user daemon-reload\n--user enable --now quillet-download.timer\n");
  clock_.SetLocalTime(At(1, 3, 6, 0, 1));
  EXPECT_TRUE(StaysAt(0));
}

TEST_F(LinuxSchedulerTest, NextRegistrationReplacesTheLast) {
  Run(At(1, 3, 6, 0, 0));
  Run(At(1, 3, 7, 30, 0));
  EXPECT_EQ(ReadAll(Unit(".timer")).find("06:00:00"), std::string::npos);
  EXPECT_NE(ReadAll(Unit(".timer")).find("OnCalendar=*-*-* 07:30:00\n"), std::string::npos);
}

TEST_F(LinuxSchedulerTest, NamedProfileHasItsOwnUnits) {
  Run(At(1, 3, 6, 0, 0));
  UseProfile("/a");
  Calls();
  EXPECT_TRUE(Run(At(1, 3, 7, 0, 0)));
  EXPECT_EQ(Calls(), "--user daemon-reload\n--user enable --now quillet-download-70d2182d.timer\n");
  EXPECT_NE(ReadAll(Unit(".service", "quillet-download-70d2182d"))
                .find("ExecStart=\"/usr/bin/quillet\" --profile \"/a\" AppRunAtTime\n"),
            std::string::npos);
  EXPECT_NE(ReadAll(Unit(".timer")).find("06:00:00"), std::string::npos);
}

TEST_F(LinuxSchedulerTest, CancellingDisablesTheTimerAndRemovesTheUnits) {
  Run(At(1, 3, 6, 0, 0));
  Calls();
  EXPECT_TRUE(Cancel());
  EXPECT_EQ(Calls(), "--user disable --now quillet-download.timer\n--user daemon-reload\n");
  EXPECT_FALSE(std::filesystem::exists(Unit(".timer")));
  EXPECT_FALSE(std::filesystem::exists(Unit(".service")));
}

TEST_F(LinuxSchedulerTest, CancellingNothingAsksNobody) {
  EXPECT_TRUE(Cancel());
  EXPECT_EQ(Calls(), "");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "config"));
}

TEST_F(LinuxSchedulerTest, WithoutAUserManagerTheProgramKeepsTheTime) {
  std::filesystem::remove(folder_ / "run/systemd/private");
  EXPECT_TRUE(Run(At(1, 2, 12, 0, 5)));
  EXPECT_EQ(Calls(), "");
  EXPECT_FALSE(std::filesystem::exists(Unit(".timer")));
  EXPECT_TRUE(StaysAt(0));
  clock_.Advance(5000);
  EXPECT_TRUE(ComesDue(1));
  EXPECT_TRUE(StaysAt(1));
}

TEST_F(LinuxSchedulerTest, WithoutSystemctlTheProgramKeepsTheTime) {
  const Environment path("PATH", folder_ / "empty");
  EXPECT_TRUE(Run(At(1, 2, 12, 0, 5)));
  EXPECT_FALSE(std::filesystem::exists(Unit(".timer")));
  clock_.Advance(5000);
  EXPECT_TRUE(ComesDue(1));
}

TEST_F(LinuxSchedulerTest, WhenSystemctlFailsTheProgramKeepsTheTime) {
  Run(At(1, 3, 6, 0, 0));
  WriteAll(Unit(".timer", "timers.target.wants/quillet-download"), "");
  for (const char* end : {"exit 1", "case \"$2\" in enable) exit 5;; esac", "kill -9 $$"}) {
    MakeSystemctl(end);
    EXPECT_TRUE(Run(At(1, 2, 12, 0, 5))) << end;
    EXPECT_FALSE(std::filesystem::exists(Unit(".timer"))) << end;
    EXPECT_FALSE(std::filesystem::exists(Unit(".timer", "timers.target.wants/quillet-download")));
  }
  clock_.Advance(5000);
  EXPECT_TRUE(ComesDue(1));
}

TEST_F(LinuxSchedulerTest, SystemctlThatHangsIsEnded) {
  MakeSystemctl("sleep 60");
  const StopWatch watch;
  EXPECT_TRUE(Run(At(1, 2, 12, 0, 5)));
  EXPECT_LT(watch.Milliseconds(), 2000);
  clock_.Advance(5000);
  EXPECT_TRUE(ComesDue(1));
}

TEST_F(LinuxSchedulerTest, UnitsThatCannotBeWrittenLeaveTheTimeToTheProgram) {
  WriteAll(folder_ / "config/systemd", "a file in the way");
  EXPECT_TRUE(Run(At(1, 2, 12, 0, 5)));
  EXPECT_EQ(Calls(), "");
  clock_.Advance(5000);
  EXPECT_TRUE(ComesDue(1));
}

TEST_F(LinuxSchedulerTest, CancellingStopsTheProgramsOwnTimer) {
  std::filesystem::remove(folder_ / "run/systemd/private");
  Run(At(1, 2, 12, 0, 5));
  Cancel();
  clock_.Advance(10'000);
  EXPECT_TRUE(StaysAt(0));
}

TEST_F(LinuxSchedulerTest, TimeThatIsNoneIsRefused) {
  EXPECT_FALSE(Run(At(13, 1, 0, 0, 0)));
  EXPECT_FALSE(Run(At(1, 1, 24, 0, 0)));
  EXPECT_EQ(Calls(), "");
}

class DailyTimerTest : public testing::Test {
 protected:
  bool Rings(int times) {
    return Eventually([&] { return rings_ == times; }, 2000) && Stays(times);
  }
  bool Stays(int times) {
    std::this_thread::sleep_for(20ms);
    return rings_ == times;
  }
  FakeClock clock_;
  std::atomic<int> rings_{0};
  DailyTimer timer_{clock_, [this] { ++rings_; }, 2ms};
};

TEST_F(DailyTimerTest, RingsAtTheMomentAndEveryDayAfter) {
  timer_.Start(At(1, 2, 18, 0, 0));
  clock_.SetLocalTime(At(1, 2, 17, 59, 59));
  EXPECT_TRUE(Stays(0));
  clock_.SetLocalTime(At(1, 2, 18, 0, 0));
  EXPECT_TRUE(Rings(1));
  clock_.SetLocalTime(At(1, 3, 17, 59, 59));
  EXPECT_TRUE(Stays(1));
  clock_.SetLocalTime(At(1, 3, 18, 0, 0));
  EXPECT_TRUE(Rings(2));
}

TEST_F(DailyTimerTest, FirstMomentMayBeDaysAway) {
  timer_.Start(At(1, 5, 18, 0, 0));
  clock_.SetLocalTime(At(1, 4, 18, 0, 1));
  EXPECT_TRUE(Stays(0));
  clock_.SetLocalTime(At(1, 5, 18, 0, 1));
  EXPECT_TRUE(Rings(1));
}

TEST_F(DailyTimerTest, TimeSpentAsleepRingsOnce) {
  timer_.Start(At(1, 2, 18, 0, 0));
  clock_.SetLocalTime(At(1, 9, 3, 0, 0));
  EXPECT_TRUE(Rings(1));
  clock_.SetLocalTime(At(1, 9, 18, 0, 0));
  EXPECT_TRUE(Rings(2));
}

TEST_F(DailyTimerTest, HourLostToSummerTimeRingsAtItsEnd) {
  timer_.Start(At(3, 31, 2, 30, 0));
  clock_.SetLocalTime(At(3, 31, 1, 59, 59));
  EXPECT_TRUE(Stays(0));
  clock_.SetLocalTime(At(3, 31, 3, 0, 0));
  EXPECT_TRUE(Rings(1));
}

TEST_F(DailyTimerTest, HourThatComesTwiceRingsOnce) {
  timer_.Start(At(10, 27, 2, 30, 0));
  clock_.SetLocalTime(At(10, 27, 2, 30, 0));
  EXPECT_TRUE(Rings(1));
  clock_.SetLocalTime(At(10, 27, 2, 59, 0));
  EXPECT_TRUE(Stays(1));
  clock_.SetLocalTime(At(10, 27, 2, 31, 0));
  EXPECT_TRUE(Stays(1));
  clock_.SetLocalTime(At(10, 28, 2, 30, 0));
  EXPECT_TRUE(Rings(2));
}

TEST_F(DailyTimerTest, ClockSetBackRingsOnTheNextDayOfTheNewTime) {
  clock_.SetLocalTime(At(6, 20, 17, 0, 0));
  timer_.Start(At(6, 20, 18, 0, 0));
  clock_.SetLocalTime(At(6, 20, 18, 0, 0));
  EXPECT_TRUE(Rings(1));
  clock_.SetLocalTime(At(2, 28, 19, 0, 0));
  EXPECT_TRUE(Stays(1));
  clock_.SetLocalTime(At(2, 29, 18, 0, 0));
  EXPECT_TRUE(Rings(2));
}

TEST_F(DailyTimerTest, MomentThatIsPastRingsAtOnce) {
  timer_.Start(At(1, 2, 11, 0, 0));
  EXPECT_TRUE(Rings(1));
}

TEST_F(DailyTimerTest, StartAgainReplacesTheMoment) {
  timer_.Start(At(1, 2, 18, 0, 0));
  timer_.Start(At(1, 2, 19, 0, 0));
  clock_.SetLocalTime(At(1, 2, 18, 30, 0));
  EXPECT_TRUE(Stays(0));
  timer_.Stop();
  clock_.SetLocalTime(At(1, 2, 19, 30, 0));
  EXPECT_TRUE(Stays(0));
}

TEST(RunToEnd, GivesTheStatusOrNothing) {
  EXPECT_EQ(RunToEnd({"true"}, 5000), 0);
  EXPECT_EQ(RunToEnd({"sh", "-c", "exit 7"}, 5000), 7);
  EXPECT_EQ(RunToEnd({"sh", "-c", "kill -9 $$"}, 5000), std::nullopt);
  EXPECT_EQ(RunToEnd({"no-such-program-anywhere"}, 5000), std::nullopt);
  EXPECT_EQ(RunToEnd({}, 5000), std::nullopt);
}

TEST(RunToEnd, TakesAlongWhatTheProgramStarted) {
  const TempFolder folder;
  const StopWatch watch;
  EXPECT_EQ(RunToEnd({"sh", "-c", "(sleep 1; touch '" + folder.path() + "/late') & wait"}, 100),
            std::nullopt);
  EXPECT_LT(watch.Milliseconds(), 800);
  std::this_thread::sleep_for(1200ms);
  EXPECT_FALSE(std::filesystem::exists(folder / "late"));
}

// The services of a run in a process of its own, because they change what signals do.
class LinuxServicesTest : public testing::Test {
 protected:
  int InChild(const std::function<void(LinuxServices&)>& body) {
    Child child([&] {
      LinuxServices services(LocateProfile(folder_ / "p"), u"AppRunAtTime", "/usr/bin/quillet");
      body(services);
      _exit(testing::Test::HasFailure() ? 1 : 0);
    });
    return child.Wait();
  }
  TempFolder folder_;
};

TEST_F(LinuxServicesTest, SignalsBecomeTheEndOfTheSession) {
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    EXPECT_EQ(
        InChild([number](LinuxServices& services) {
          const WindowHandle window = services.queues.AddWindow();
          services.shell.SetInstanceWindow(window, {.download = 2});
          kill(getpid(), number);
          Message message;
          EXPECT_TRUE(services.queues.Get(message));
          EXPECT_EQ(message.kind, MessageKind::kEndSession);
          EXPECT_EQ(message.window, window);
          // The window hears of it a moment before the sockets do.
          EXPECT_TRUE(Eventually([&] { return services.sockets.Resolve("localhost").empty(); }));
        }),
        0)
        << number;
  }
}

TEST_F(LinuxServicesTest, SignalEndsABlockedReceive) {
  EXPECT_EQ(InChild([](LinuxServices& services) {
              LoopbackServer server([](int client) { ReceiveExactly(client, 1); });
              const SocketHandle socket = services.sockets.Open();
              EXPECT_TRUE(
                  services.sockets.Connect(socket, std::array{Ipv4(127, 0, 0, 1)}, server.port()));
              std::thread signaller([] {
                std::this_thread::sleep_for(50ms);
                kill(getpid(), SIGTERM);
              });
              char buffer[10];
              EXPECT_EQ(services.sockets.Receive(socket, buffer), -1);
              signaller.join();
              const WindowHandle window = services.queues.AddWindow();
              services.shell.SetInstanceWindow(window, {.download = 2});
              Message message;
              EXPECT_TRUE(services.queues.Get(message));
              EXPECT_EQ(message.kind, MessageKind::kEndSession);
            }),
            0);
}

TEST_F(LinuxServicesTest, ProgramsStartedByItTakeSignalsAsEver) {
  EXPECT_EQ(InChild([](LinuxServices&) {
              EXPECT_EQ(RunToEnd({"sh", "-c", "kill -TERM $$; exit 3"}, 5000), std::nullopt);
              EXPECT_EQ(RunToEnd({"sh", "-c", "kill -PIPE $$; exit 3"}, 5000), std::nullopt);
            }),
            0);
}

TEST_F(LinuxServicesTest, PlatformStandsFromAttachToDetach) {
  EXPECT_EQ(InChild([](LinuxServices& services) {
              FakeDisplay display(services.queues);
              EXPECT_EQ(gPlatform, nullptr);
              Platform& platform = services.Attach(display.Services());
              EXPECT_EQ(gPlatform, &platform);
              EXPECT_EQ(&platform.registry, &services.registry);
              EXPECT_EQ(&platform.messages, &services.queues);
              EXPECT_EQ(platform.shell.CommandLine(), u"AppRunAtTime");
              services.Detach();
              EXPECT_EQ(gPlatform, nullptr);
              services.Detach();
            }),
            0);
}

TEST_F(LinuxServicesTest, ServicesUseTheFoldersOfTheProfile) {
  EXPECT_EQ(InChild([this](LinuxServices& services) {
              EXPECT_NE(services.registry.Create(u"Software\\Brindle\\Quillet"), nullptr);
              EXPECT_TRUE(std::filesystem::exists(folder_ / "p/registry.db"));
              EXPECT_EQ(services.files.NativePath(u"\\x"), folder_ / "p/data/x");
              EXPECT_FALSE(services.shell.ForwardToOtherInstance(false));
              EXPECT_TRUE(std::filesystem::exists(folder_ / "p/instance.lock"));
            }),
            0);
}

}  // namespace
}  // namespace quillet::port
