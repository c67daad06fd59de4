// SPDX-License-Identifier: GPL-3.0-or-later
// What is left when a step of the system fails, or a process is killed at one: calls of the C
// library are taken over by those of the same names here.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include "tests/port/linux_mail_fixture.h"

namespace {

enum class Act { kNothing, kFail, kKillBefore, kKillAfter };
enum class Whose { kOwn, kChilds };

// The step at which it happens, counted from 1 in the processes that are meant.
Act gAct = Act::kNothing;
Whose gWhose = Whose::kOwn;
int gAtStep = 0;
int gStep = 0;
pid_t gOwn = 0;
bool gNoLocks = false;
// True in the process that a test has started as the program.
std::atomic<bool> gCounting = false;

bool IsTheStep() {
  if (!gCounting) return false;
  const bool own = getpid() == gOwn;
  if (own != (gWhose == Whose::kOwn)) return false;
  return ++gStep == gAtStep;
}

template <class Call>
long Step(const Call& call) {
  if (!IsTheStep()) return call();
  if (gAct == Act::kFail) {
    errno = EIO;
    return -1;
  }
  if (gAct == Act::kKillBefore) kill(getpid(), SIGKILL);
  const long result = call();
  if (gAct == Act::kKillAfter) kill(getpid(), SIGKILL);
  return result;
}

}  // namespace

extern "C" {

int fsync(int descriptor) {
  return static_cast<int>(Step([&] { return syscall(SYS_fsync, descriptor); }));
}

int rename(const char* from, const char* to) noexcept {
  return static_cast<int>(
      Step([&] { return syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0); }));
}

ssize_t write(int descriptor, const void* data, size_t size) {
  return Step([&] { return syscall(SYS_write, descriptor, data, size); });
}

// Under its own name it would hide a structure of that name.
int TakenOverLock(int descriptor, int operation) noexcept __asm__("flock");
int TakenOverLock(int descriptor, int operation) noexcept {
  if (!gNoLocks) return static_cast<int>(syscall(SYS_flock, descriptor, operation));
  errno = ENOLCK;
  return -1;
}

int unlink(const char* path) noexcept {
  return static_cast<int>(Step([&] { return syscall(SYS_unlink, path); }));
}

}  // extern "C"

namespace quillet::port {
namespace {

constexpr int kMostSteps = 60;

class MailSteps : public testing::Test {
 protected:
  void TearDown() override { gCounting = gNoLocks = false; }

  std::string Data(const std::string& name) { return machine.folder / ("data/" + name); }
  LinuxMailStore Store() {
    return LinuxMailStore(machine.folder / "data", [] { return 0U; });
  }
  // Does it in a process of its own, in which the nth step is the last. False when there are fewer
  // steps.
  template <class Work>
  bool KilledAt(int step, Act act, Whose whose, const Work& work) {
    const pid_t child = fork();
    if (child == 0) {
      gOwn = getpid();
      gAct = act;
      gWhose = whose;
      gAtStep = step;
      gStep = 0;
      gCounting = true;
      work();
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }
  // Until no process hands anything over any more.
  void AwaitSupervisors() {
    EXPECT_TRUE(Eventually(
        [&] {
          for (const OutboxEntry& entry : Outbox(machine.folder / "data").Entries()) {
            if (entry.state == OutboxState::kUnderWay) return false;
          }
          return !std::filesystem::exists(machine.folder / "busy");
        },
        20000));
  }
  bool IsSent() { return std::filesystem::exists(Data("sent/cur/m-1:2,S")); }
  void Clear() {
    std::error_code error;
    std::filesystem::remove_all(machine.folder / "data", error);
    std::filesystem::remove(machine.folder / "sendmail.count", error);
  }

  MailMachine machine;
};

TEST_F(MailSteps, AStepOfPuttingThatFailsLeavesNothing) {
  int failures = 0;
  for (int step = 1; step < kMostSteps; ++step) {
    Clear();
    LinuxMailStore store = Store();
    ASSERT_TRUE(store.Open());
    gOwn = getpid();
    gAct = Act::kFail;
    gWhose = Whose::kOwn;
    gAtStep = step;
    gStep = 0;
    gCounting = true;
    const bool put = PutMail(store, {});
    const bool reached = gStep >= step;
    gCounting = false;
    if (!put) {
      ++failures;
      EXPECT_EQ(store.LastError(), 29U) << step;
      EXPECT_FALSE(store.WasPut(u"m-1")) << step;
      EXPECT_TRUE(store.Waiting().empty()) << step;
    } else {
      EXPECT_EQ(store.Waiting().size(), 1U) << step;
    }
    if (!reached) break;
    EXPECT_TRUE(PutMail(store, {})) << step;
    EXPECT_EQ(store.Waiting().size(), 1U) << step;
  }
  EXPECT_GE(failures, 6);  // write, sync, move and sync of the place, for message and what is known
}

TEST_F(MailSteps, AKillWhilePuttingLeavesAWholeMessageOrNone) {
  machine.AddStub("sendmail");
  for (const Act act : {Act::kKillBefore, Act::kKillAfter}) {
    int step = 1;
    for (bool killed = true; killed; ++step) {
      ASSERT_LT(step, kMostSteps);
      Clear();
      killed = KilledAt(step, act, Whose::kOwn, [&] {
        LinuxMailStore store = Store();
        PutMail(store, {});
      });
      LinuxMailStore store = Store();
      ASSERT_TRUE(PutMail(store, {})) << step;  // the second attempt of the next start
      ASSERT_EQ(store.Waiting().size(), 1U) << step;
      EXPECT_EQ(store.Waiting()[0].service, u"sendmail") << step;
      EXPECT_THAT(store.HandOver(), testing::IsEmpty()) << step;
      EXPECT_EQ(machine.Count("sendmail"), 1U) << step;
      EXPECT_TRUE(IsSent()) << step;
      EXPECT_THAT(NamesIn(Data("outbox/tmp")), testing::IsEmpty()) << step;
    }
    EXPECT_GT(step, 8);
  }
}

TEST_F(MailSteps, AKillOfTheProgramWhileHandingOverSendsExactlyOnce) {
  const std::string busy = machine.folder / "busy";
  machine.AddStub("sendmail", "rm -f " + busy + "; exit 0");
  for (const int wait_ms : {0, 1, 2, 4, 8, 12, 16, 24, 40}) {
    Clear();
    LinuxMailStore store = Store();
    ASSERT_TRUE(PutMail(store, {}));
    const pid_t child = fork();
    if (child == 0) {
      LinuxMailStore victim = Store();
      victim.HandOver();
      _exit(0);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(wait_ms));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    AwaitSupervisors();
    // One that was started and has not moved the message yet still holds it, and is left alone.
    EXPECT_TRUE(Eventually([&] { return store.HandOver().empty() && store.Waiting().empty(); }))
        << wait_ms;
    EXPECT_EQ(machine.Count("sendmail"), 1U) << wait_ms;
    EXPECT_TRUE(IsSent()) << wait_ms;
  }
}

TEST_F(MailSteps, AKillOfTheProgramAtAnyOfItsStepsSendsExactlyOnce) {
  machine.AddStub("sendmail");
  for (const Act act : {Act::kKillBefore, Act::kKillAfter}) {
    for (int step = 1; step < kMostSteps; ++step) {
      Clear();
      const bool killed = KilledAt(step, act, Whose::kOwn, [&] {
        LinuxMailStore store = Store();
        PutMail(store, {});
        store.HandOver();
      });
      LinuxMailStore store = Store();
      ASSERT_TRUE(PutMail(store, {}));
      AwaitSupervisors();
      EXPECT_TRUE(Eventually([&] { return store.HandOver().empty() && store.Waiting().empty(); }))
          << step;
      EXPECT_EQ(machine.Count("sendmail"), 1U) << step;
      EXPECT_TRUE(IsSent()) << step;
      if (!killed) break;
    }
  }
}

TEST_F(MailSteps, AFileSystemWithoutLocksKeepsNoMail) {
  machine.AddStub("sendmail");
  gNoLocks = true;
  LinuxMailStore store = Store();
  ASSERT_TRUE(PutMail(store, {}));
  EXPECT_THAT(store.HandOver(), testing::IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 1U);
  EXPECT_TRUE(IsSent());
}

// Whoever supervises the mail program is killed: nothing is sent twice and nothing is lost.
TEST_F(MailSteps, AKillOfTheSupervisorSendsAtMostOnceAndKeepsTheMessage) {
  int held = 0;
  int sent = 0;
  machine.AddStub("sendmail");
  for (const Act act : {Act::kKillBefore, Act::kKillAfter}) {
    for (int step = 1; step <= 8; ++step) {
      Clear();
      LinuxMailStore store = Store();
      ASSERT_TRUE(PutMail(store, {}));
      KilledAt(step, act, Whose::kChilds, [&] { Store().HandOver(); });
      AwaitSupervisors();
      // The mail program goes on when its supervisor has gone.
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      const auto left = store.HandOver();
      if (left.empty()) {
        ++sent;
        EXPECT_TRUE(IsSent()) << step;
        EXPECT_EQ(machine.Count("sendmail"), 1U) << step;
      } else {
        ++held;
        EXPECT_TRUE(left[0].held) << step;
        EXPECT_LE(machine.Count("sendmail"), 1U) << step;
      }
    }
  }
  EXPECT_GT(held, 0);
  EXPECT_GT(sent, 0);
}

TEST_F(MailSteps, AStepOfTheSupervisorThatFailsNeverSendsTwice) {
  machine.AddStub("sendmail");
  for (int step = 1; step <= 8; ++step) {
    Clear();
    LinuxMailStore store = Store();
    ASSERT_TRUE(PutMail(store, {}));
    KilledAt(step, Act::kFail, Whose::kChilds, [&] { Store().HandOver(); });
    AwaitSupervisors();
    const auto left = store.HandOver();
    EXPECT_EQ(machine.Count("sendmail"), 1U) << step;
    EXPECT_TRUE(IsSent() || (left.size() == 1 && left[0].held)) << step;
  }
}

}  // namespace
}  // namespace quillet::port
