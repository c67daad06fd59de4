// Quick Setup, from the greeting to the stored settings.
#include "tests/app/sheet_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

constexpr const char16_t* kWelcome =
    u"Welcome to Quillet CE! The Quick Setup Wizard will now prompt you for some basic "
    u"configuration information. If you don't know what to enter, you can always come back to the "
    u"Quick Setup Wizard by selecting \"Quick Setup\" from the \"File\" menu.";
constexpr const char16_t* kThatsAll =
    u"That's all! Next, you'll probably want to add some groups to download. Select \"New Group\" "
    u"from the \"Group->Groups\" menu. You can also look at the extensive list of configuration "
    u"options in Quillet CE by selecting \"Preferences\" from the \"File\" menu.";

class QuickSetupTest : public SheetTest {
 protected:
  QuickSetupTest() { SetServers({}); }
  ~QuickSetupTest() override {
    for (const std::uint32_t form : {kDialogQuickSetup, kDialogQuickSetupConnection}) {
      const port::WindowHandle dialog = fake_.display.DialogOfForm(form);
      if (dialog != 0) PressIn(dialog, kControlCancel);
    }
  }
  void Begin() {
    fake_.display.Expect(kWelcome, port::kIdOk);
    StartAndWait();
  }
  port::WindowHandle First() { return fake_.display.DialogOfForm(kDialogQuickSetup); }
  port::WindowHandle Second() { return fake_.display.DialogOfForm(kDialogQuickSetupConnection); }
  void In(port::WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
    EXPECT_TRUE(fake_.display.Type(dialog, control, text));
    WaitIdle();
  }
  void PressIn(port::WindowHandle dialog, std::uint32_t control) {
    EXPECT_TRUE(fake_.display.Press(dialog, control));
    WaitIdle();
  }
  std::u16string TextIn(port::WindowHandle dialog, std::uint32_t control) {
    return fake_.display.Control(dialog, control)->text;
  }
  void FillFirst() {
    In(First(), kControlSetupServer, u" news.example.org ");
    In(First(), kControlSetupName, u"Ann Example");
    In(First(), kControlSetupAddress, u"ann@example.org");
    PressIn(First(), kControlOk);
  }
};

TEST_F(QuickSetupTest, LeadsFromAnEmptyProfileToStoredSettings) {
  fake_.dialler.entries[u"gprs"] = {};
  Begin();
  EXPECT_EQ(fake_.display.boxes()[0].caption, u"Quillet");
  EXPECT_EQ(fake_.display.FindDialog(First())->caption, u"Quillet CE Quick Setup");
  EXPECT_EQ(TextIn(First(), kControlSetupServer), u"");
  EXPECT_EQ(TextIn(First(), kControlSetupName), u"");
  EXPECT_EQ(TextIn(First(), kControlSetupAddress), u"");
  EXPECT_EQ(TextIn(First(), kControlOk), u"Next >>");
  FillFirst();
  EXPECT_EQ(First(), 0U);
  EXPECT_EQ(TextIn(Second(), kControlOk), u"Done");
  EXPECT_EQ(TextIn(Second(), kControlSetupBack), u"<< Back");
  EXPECT_THAT(fake_.display.Control(Second(), kControlSetupConnection)->choices,
              ElementsAre(u"gprs", u"<none>"));
  EXPECT_EQ(ChosenIn(Second(), kControlSetupConnection), u"<none>");
  EXPECT_TRUE(fake_.display.Choose(Second(), kControlSetupConnection, 0));
  fake_.scheduler.calls.clear();
  fake_.display.Expect(kThatsAll, port::kIdOk);
  PressIn(Second(), kControlOk);
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"news.example.org"));
  EXPECT_THAT(gPrefs->port, ElementsAre(119U));
  EXPECT_EQ(gPrefs->selectedserver, 0U);
  EXPECT_EQ(Text(u"fullname"), u"Ann Example");
  EXPECT_EQ(Text(u"returnmailaddress"), u"ann@example.org");
  EXPECT_EQ(Text(u"conxmethod"), u"gprs");
  EXPECT_EQ(Dword(u"numservers"), 1U);
  EXPECT_EQ(fake_.scheduler.calls.size(), 1U);
}

TEST_F(QuickSetupTest, CancelOfTheGreetingEndsIt) {
  fake_.display.Expect(kWelcome, port::kIdCancel);
  StartAndWait();
  EXPECT_EQ(First(), 0U);
  EXPECT_EQ(gPrefs->numservers, 0U);
}

TEST_F(QuickSetupTest, EveryFieldIsRequiredInOrder) {
  Begin();
  const struct {
    std::uint32_t control;
    const char16_t* missing;
  } fields[] = {
      {kControlSetupServer, u"You have not specified your news server."},
      {kControlSetupName, u"You have not specified your full name."},
      {kControlSetupAddress, u"You have not specified your email address."},
  };
  for (const auto& field : fields) {
    fake_.display.Expect(field.missing, port::kIdOk);
    PressIn(First(), kControlOk);
    EXPECT_EQ(fake_.display.boxes().back().owner, First());
    EXPECT_TRUE(fake_.display.Control(First(), field.control)->focused);
    In(First(), field.control, u"x");
  }
  PressIn(First(), kControlOk);
  EXPECT_NE(Second(), 0U);
}

TEST_F(QuickSetupTest, BackFindsWhatWasTyped) {
  fake_.dialler.entries[u"gprs"] = {};
  Begin();
  FillFirst();
  EXPECT_TRUE(fake_.display.Choose(Second(), kControlSetupConnection, 0));
  PressIn(Second(), kControlSetupBack);
  EXPECT_EQ(Second(), 0U);
  EXPECT_EQ(TextIn(First(), kControlSetupServer), u"news.example.org");
  EXPECT_EQ(TextIn(First(), kControlSetupName), u"Ann Example");
  PressIn(First(), kControlOk);
  EXPECT_EQ(ChosenIn(Second(), kControlSetupConnection), u"gprs");
}

TEST_F(QuickSetupTest, CancelOfEitherPageChangesNothing) {
  for (const bool second : {false, true}) {
    Begin();
    if (second) {
      FillFirst();
      PressIn(Second(), kControlCancel);
    } else {
      PressIn(First(), kControlCancel);
    }
    EXPECT_EQ(First() + Second(), 0U);
    EXPECT_EQ(gPrefs->numservers, 0U);
    EXPECT_EQ(gPrefs->fullname, u"My Name");
    End();
  }
}

TEST_F(QuickSetupTest, ServerThatNoneCanBeIsRefused) {
  Begin();
  In(First(), kControlSetupServer, u"a b");
  In(First(), kControlSetupName, u"Ann");
  In(First(), kControlSetupAddress, u"ann@example.org");
  fake_.display.Expect(u"The name of a news server cannot have blanks or control characters in it.",
                       port::kIdOk);
  PressIn(First(), kControlOk);
  EXPECT_NE(First(), 0U);
}

TEST_F(QuickSetupTest, CommandShowsWhatIsSetAndSelectsAServerThatIsThere) {
  SetServers({u"one", u"two"});
  SetGroups({u"comp.test"});
  fake_.registry.PutString(kRegistryPath, u"fullname", u"Ann");
  StartAndWait();
  fake_.display.Expect(kWelcome, port::kIdOk);
  Command(kCommandQuickSetup);
  EXPECT_EQ(TextIn(First(), kControlSetupServer), u"one");
  EXPECT_EQ(TextIn(First(), kControlSetupName), u"Ann");
  EXPECT_EQ(TextIn(First(), kControlSetupAddress), u"");
  In(First(), kControlSetupServer, u"TWO");
  In(First(), kControlSetupAddress, u"ann@example.org");
  PressIn(First(), kControlOk);
  PressIn(Second(), kControlOk);
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"one", u"two"));
  EXPECT_EQ(gPrefs->selectedserver, 1U);
}

TEST_F(QuickSetupTest, PhoneBookThatFailsLeavesNoConnection) {
  fake_.dialler.phonebook = false;
  Begin();
  FillFirst();
  EXPECT_THAT(fake_.display.Control(Second(), kControlSetupConnection)->choices,
              ElementsAre(u"<none>"));
}

TEST_F(QuickSetupTest, ComesAfterAScheduledStartToo) {
  fake_.shell.command_line = u"AppRunAtTime";
  fake_.display.Expect(u"You do not have any groups in the group list.", port::kIdOk);
  Begin();
  EXPECT_NE(First(), 0U);
}

}  // namespace
}  // namespace quillet
