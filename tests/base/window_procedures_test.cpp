// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/window_procedures.h"
#include "base/reset.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace quillet {
namespace {

port::Message To(port::WindowHandle window, std::uint32_t id = 0) {
  return {window, port::MessageKind::kUser, id, 0, {}};
}

class WindowProcedures : public testing::Test {
 protected:
  ~WindowProcedures() override { ResetProgram(); }
  WindowProcedure NoteIdsIn(std::vector<std::uint32_t>& ids) {
    return [&ids](const port::Message& message) { ids.push_back(message.id); };
  }

  std::vector<std::uint32_t> first;
  std::vector<std::uint32_t> second;
};

TEST_F(WindowProcedures, AMessageGoesToItsOwnWindow) {
  SetProcedure(1, NoteIdsIn(first));
  SetProcedure(2, NoteIdsIn(second));
  EXPECT_TRUE(Dispatch(To(1, 10)));
  EXPECT_TRUE(Dispatch(To(2, 20)));
  EXPECT_EQ(first, std::vector<std::uint32_t>{10});
  EXPECT_EQ(second, std::vector<std::uint32_t>{20});
}

TEST_F(WindowProcedures, AWindowWithoutOneIsNotHandled) {
  SetProcedure(1, NoteIdsIn(first));
  EXPECT_FALSE(Dispatch(To(2)));
  EXPECT_FALSE(Dispatch(To(0)));
  EXPECT_TRUE(first.empty());
}

TEST_F(WindowProcedures, AWindowThatHasGoneIsNotHandledAnyMore) {
  SetProcedure(1, NoteIdsIn(first));
  RemoveProcedure(1);
  RemoveProcedure(1);
  EXPECT_FALSE(Dispatch(To(1)));
  EXPECT_TRUE(first.empty());
}

TEST_F(WindowProcedures, ANewOneTakesThePlaceOfTheOld) {
  SetProcedure(1, NoteIdsIn(first));
  SetProcedure(1, NoteIdsIn(second));
  EXPECT_TRUE(Dispatch(To(1, 5)));
  EXPECT_TRUE(first.empty());
  EXPECT_EQ(second, std::vector<std::uint32_t>{5});
}

TEST_F(WindowProcedures, AProcedureMayRemoveItselfAndGoOn) {
  SetProcedure(1, [this, last = std::vector<std::uint32_t>{7}](const port::Message&) {
    RemoveProcedure(1);
    first = last;
  });
  EXPECT_TRUE(Dispatch(To(1)));
  EXPECT_EQ(first, std::vector<std::uint32_t>{7});
  EXPECT_FALSE(Dispatch(To(1)));
}

TEST_F(WindowProcedures, AProcedureMayDispatchAndSetOthers) {
  SetProcedure(1, [this](const port::Message& message) {
    SetProcedure(2, NoteIdsIn(second));
    Dispatch(To(2, message.id));
  });
  EXPECT_TRUE(Dispatch(To(1, 3)));
  EXPECT_EQ(second, std::vector<std::uint32_t>{3});
}

TEST_F(WindowProcedures, AnotherThreadHasWindowsOfItsOwn) {
  SetProcedure(1, NoteIdsIn(first));
  std::atomic<bool> done = false;
  int handled = 0;
  std::thread progress([&] {
    for (int i = 0; i < 5000; ++i) {
      SetProcedure(2, [&handled](const port::Message&) { ++handled; });
      Dispatch(To(2));
      RemoveProcedure(2);
    }
    done = true;
  });
  std::size_t sent = 0;
  while (!done) sent += Dispatch(To(1)) ? 1 : 0;
  progress.join();
  EXPECT_EQ(handled, 5000);
  EXPECT_EQ(first.size(), sent);
}

}  // namespace
}  // namespace quillet
