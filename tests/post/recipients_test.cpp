// SPDX-License-Identifier: GPL-3.0-or-later
// The pickers of recipients on the device in memory.
#include "post/recipients.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "base/messages.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

using Texts = std::vector<std::u16string>;

class RecipientsTest : public ::testing::Test {
 protected:
  RecipientsTest() {
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
    fake.display.ShowMainWindow();
    ReadPreferences();
    fake.contacts.contacts = {{u"Adams", u"Ann", {u"ann@example.com", u"ann@home.example"}},
                              {u"M\u00FCller", u"J\u00F6rg", {u"jm@example.org", u""}},
                              {u"Zed", u"", {u"zed@example.com"}}};
  }
  ~RecipientsTest() override {
    fake.display.Verify();
    ResetProgram();
  }

  // One step after the other, each when the program has handled what the step before did.
  using Steps = std::vector<std::function<void(port::WindowHandle)>>;
  void InDialog(std::uint32_t form, const Steps& steps) {
    fake.display.WhenShown(form, [=, this](port::WindowHandle dialog) { Take(steps, 0, dialog); });
  }
  void Take(const Steps& steps, std::size_t step, port::WindowHandle dialog) {
    if (step == steps.size()) return;
    steps[step](dialog);
    fake.queues.PostCall(std::this_thread::get_id(), [=, this] { Take(steps, step + 1, dialog); });
  }
  auto Press(std::uint32_t control) {
    return
        [=, this](port::WindowHandle dialog) { EXPECT_TRUE(fake.display.Press(dialog, control)); };
  }
  auto Tick(int row, bool on = true) {
    return [=, this](port::WindowHandle dialog) {
      EXPECT_TRUE(fake.display.TickListRow(dialog, 1072, row, on));
    };
  }
  auto Search(const std::u16string& text) {
    return [=, this](port::WindowHandle dialog) {
      EXPECT_TRUE(fake.display.Type(dialog, 1071, text));
    };
  }
  auto ExpectRows(const Texts& rows) {
    return [=, this](port::WindowHandle dialog) { EXPECT_EQ(Rows(dialog), rows); };
  }
  // "Name <address>", with a "*" in front when its box is ticked.
  Texts Rows(port::WindowHandle dialog) {
    Texts rows;
    const auto list = fake.display.Control(dialog, 1072);
    if (!list) return rows;
    for (const port::Row& row : list->rows) {
      rows.push_back((row.checked ? u"*" : u"") + row.texts[0] + u" <" + row.texts[1] + u">");
    }
    return rows;
  }
  Texts BoxTexts() {
    Texts texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }

  port::FakePlatform fake;
};

const Texts kAll = {u"Adams, Ann <ann@example.com>", u"Adams, Ann <ann@home.example>",
                    u"M\u00FCller, J\u00F6rg <jm@example.org>", u"Zed,  <zed@example.com>"};

TEST_F(RecipientsTest, EveryAddressHasARowAndTheTickedOnesAreJoined) {
  InDialog(131, {ExpectRows(kAll), Tick(3), Tick(1), Tick(2), Tick(2, false), Press(1)});
  EXPECT_EQ(PickAddresses(), u"ann@home.example, zed@example.com");
}

TEST_F(RecipientsTest, NothingTickedIsAnEmptyTextAndCancelIsNothing) {
  InDialog(131, {Press(1)});
  EXPECT_EQ(PickAddresses(), u"");
  InDialog(131, {Tick(0), Press(2)});
  EXPECT_EQ(PickAddresses(), std::nullopt);
}

TEST_F(RecipientsTest, TheSearchNarrowsByNameAndAddressWithoutRegardToCase) {
  InDialog(131, {Search(u"M\u00DCLL"), ExpectRows({kAll[2]}), Search(u"EXAMPLE.com"),
                 ExpectRows({kAll[0], kAll[3]}), Search(u"ann adams home"), ExpectRows({kAll[1]}),
                 Search(u"nobody"), ExpectRows({}), Search(u" "), ExpectRows(kAll), Press(2)});
  EXPECT_EQ(PickAddresses(), std::nullopt);
}

TEST_F(RecipientsTest, TicksOfRowsThatTheSearchHidesCount) {
  InDialog(131, {Tick(0), Search(u"zed"), ExpectRows({kAll[3]}), Tick(0), Search(u"m\u00FCller"),
                 Tick(0), Search(u""),
                 ExpectRows({u"*" + kAll[0], kAll[1], u"*" + kAll[2], u"*" + kAll[3]}),
                 Tick(2, false), Search(u"nobody"), Press(1)});
  EXPECT_EQ(PickAddresses(), u"ann@example.com, zed@example.com");
}

TEST_F(RecipientsTest, WithoutAnyContactSourceTheUserIsToldAndTheListIsEmpty) {
  fake.contacts.contacts = std::nullopt;
  InDialog(131, {ExpectRows({}), Press(1)});
  EXPECT_EQ(PickAddresses(), u"");
  EXPECT_EQ(BoxTexts(), Texts{u"An unexpected error (Unable to GetPOOMContacts) occurred in "
                              u"PickAddressDialogProc."});
}

TEST_F(RecipientsTest, NoContactsAreNoError) {
  fake.contacts.contacts = std::vector<port::Contact>();
  InDialog(131, {ExpectRows({}), Press(2)});
  EXPECT_EQ(PickAddresses(), std::nullopt);
  EXPECT_TRUE(BoxTexts().empty());
}

TEST_F(RecipientsTest, ReaddressingStartsWithTheRecipientsAndReturnsTheText) {
  InDialog(132, {[&](port::WindowHandle dialog) {
                   EXPECT_EQ(fake.display.Read(dialog, 1073).text, u"old@example.com");
                   EXPECT_TRUE(fake.display.Type(dialog, 1073, u"new@example.com"));
                 },
                 Press(1)});
  EXPECT_EQ(ReaddressEmail(u"old@example.com"), u"new@example.com");
}

TEST_F(RecipientsTest, CancellingLeavesTheRecipientsToTheCaller) {
  InDialog(132, {[&](port::WindowHandle dialog) {
                   EXPECT_TRUE(fake.display.Type(dialog, 1073, u"new@example.com"));
                 },
                 Press(2)});
  EXPECT_EQ(ReaddressEmail(u"old@example.com"), std::nullopt);
}

TEST_F(RecipientsTest, ThePickersOkReplacesTheTextAndItsCancelDoesNot) {
  port::WindowHandle outer = 0;
  const auto then = [&](const std::u16string& text, std::uint32_t control) {
    return [&, text, control](port::WindowHandle) {
      EXPECT_EQ(fake.display.Read(outer, 1073).text, text);
      EXPECT_TRUE(fake.display.Press(outer, control));
    };
  };
  InDialog(131, {Tick(0), Press(2), then(u"old@example.com", 1074)});
  InDialog(131, {Tick(0), Press(1), then(u"ann@example.com", 1)});
  InDialog(132, {[&](port::WindowHandle dialog) {
             outer = dialog;
             EXPECT_TRUE(fake.display.Press(dialog, 1074));
           }});
  EXPECT_EQ(ReaddressEmail(u"old@example.com"), u"ann@example.com");
}

}  // namespace
}  // namespace quillet
