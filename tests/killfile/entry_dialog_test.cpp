// SPDX-License-Identifier: GPL-3.0-or-later
#include "killfile/entry_dialog.h"
#include "base/reset.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/messages.h"
#include "base/prefs_registry.h"
#include "killfile/killfile.h"
#include "mime/shown_text.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

constexpr std::uint32_t kForm = 125;

struct Entry {
  std::uint32_t group = 0;
  std::string text;
  bool kill = false;
  bool author = false;
  bool operator==(const Entry&) const = default;
};

class EntryDialog : public ::testing::Test {
 protected:
  EntryDialog() {
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
    fake.display.ShowMainWindow();
    ReadPreferences();
    SetGroups({u"a", u"b", u"c"});
  }
  ~EntryDialog() override {
    fake.display.Verify();
    ResetProgram();
  }

  static void SetGroups(const std::vector<std::u16string>& groups) {
    while (gPrefs->numgroups != 0) RemoveGroup(*gPrefs, GroupAt(0));
    for (const std::u16string& group : groups) AddGroup(*gPrefs, group);
  }

  // The user acts in the dialog as soon as it is shown.
  void WhenShown(std::function<void(port::WindowHandle)> act) {
    fake.display.WhenShown(kForm, std::move(act));
  }
  // One step after the other, each when the program has handled what the step before did.
  using Steps = std::vector<std::function<void(port::WindowHandle)>>;
  void InDialog(const Steps& steps) {
    WhenShown([=, this](port::WindowHandle dialog) { Take(steps, 0, dialog); });
  }
  void Take(const Steps& steps, std::size_t step, port::WindowHandle dialog) {
    if (step == steps.size()) return;
    steps[step](dialog);
    fake.queues.PostCall(std::this_thread::get_id(), [=, this] { Take(steps, step + 1, dialog); });
  }
  // Types both texts and presses the button.
  void Answer(const std::u16string& author, const std::u16string& subject,
              std::uint32_t button = kControlOk) {
    WhenShown([=, this](port::WindowHandle dialog) {
      EXPECT_TRUE(fake.display.Type(dialog, 1011, author));
      EXPECT_TRUE(fake.display.Type(dialog, 1013, subject));
      EXPECT_TRUE(fake.display.Press(dialog, button));
    });
  }
  port::ShownControl Control(port::WindowHandle dialog, std::uint32_t id) {
    return fake.display.Control(dialog, id).value_or(port::ShownControl());
  }

  static std::vector<Entry> Entries() {
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < gPrefs->killfilecount; ++i) {
      entries.push_back({gPrefs->killfilegroups[i], gPrefs->killfiletexts[i],
                         gPrefs->killfilekills[i] != 0, gPrefs->killfileauthors[i] != 0});
    }
    return entries;
  }
  // What a program started now would have.
  static std::vector<Entry> SavedEntries() {
    ReadPreferences();
    return Entries();
  }
  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }
  bool Saved() {
    const auto key = fake.registry.Open(kRegistryPath);
    return key && key->Get(u"killfilecount");
  }

  port::FakePlatform fake;
};

TEST_F(EntryDialog, ShowsItsListsTextsAndCaption) {
  WhenShown([this](port::WindowHandle dialog) {
    EXPECT_EQ(fake.display.FindDialog(dialog)->caption, u"Add to killfile");
    const port::ShownControl author = Control(dialog, 1010);
    EXPECT_EQ(author.choices,
              (std::vector<std::u16string>{u"Kill if author contains:",
                                           u"Require author to contain:", u"Don't check author"}));
    EXPECT_EQ(author.choice, 0);
    const port::ShownControl subject = Control(dialog, 1012);
    EXPECT_EQ(subject.choices, (std::vector<std::u16string>{u"Kill if subject contains:",
                                                            u"Require subject to contain:",
                                                            u"Don't check subject"}));
    EXPECT_EQ(subject.choice, 0);
    EXPECT_EQ(Control(dialog, 1011).text, u"Ann \u20AC <ann@x>");
    EXPECT_EQ(Control(dialog, 1013).text, u"Caf\u00E9");
    EXPECT_EQ(Control(dialog, 1015).text, u"A&dd to all group killfiles");
    EXPECT_TRUE(Control(dialog, 1015).visible);
    EXPECT_FALSE(Control(dialog, 1015).checked);
    fake.display.Press(dialog, kControlCancel);
  });
  OpenKillfileEntryDialog(GroupAt(0), "Ann \x80 <ann@x>", "Caf\xE9");
  EXPECT_TRUE(fake.display.dialogs().empty());
}

TEST_F(EntryDialog, AddsAKillEntryForEachTextToTheGroupAuthorFirst) {
  Answer(u"bob@x", u"money");
  OpenKillfileEntryDialog(GroupAt(1), "", "");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{2, "bob@x", true, true}, {2, "money", true, false}}));
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(EntryDialog, SavesAtOnce) {
  Answer(u"bob@x", u"");
  OpenKillfileEntryDialog(GroupAt(2), "", "");
  EXPECT_EQ(SavedEntries(), (std::vector<Entry>{{3, "bob@x", true, true}}));
}

TEST_F(EntryDialog, TheSecondItemRequires) {
  WhenShown([this](port::WindowHandle dialog) {
    fake.display.Choose(dialog, 1010, 1);
    fake.display.Choose(dialog, 1012, 1);
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Linux");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "Ann", false, true}, {1, "Linux", false, false}}));
}

// A "?" in their place would kill what nobody named.
TEST_F(EntryDialog, ATextWithCharactersThatNoHeaderHasIsRefusedWithoutDecoding) {
  const testing::WithoutDecoding off;
  Answer(u"bob@x", u"\u0416\u20AC \u0417");
  OpenKillfileEntryDialog(GroupAt(1), "", "");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{2, "bob@x", true, true}}));
  EXPECT_EQ(BoxTexts(), (std::vector<std::u16string>{
                            u"Some characters of this text cannot be used here: \u0416 \u0417"}));
}

TEST_F(EntryDialog, TextsOfEveryLanguageAreKept) {
  Answer(u"bob@x", u"\u0416\u20AC \u0417");
  OpenKillfileEntryDialog(GroupAt(1), "", "");
  ASSERT_EQ(gPrefs->killfilecount, 2U);
  EXPECT_EQ(gPrefs->killfiletexts[0], "bob@x");
  EXPECT_EQ(ShownHeader(gPrefs->killfiletexts[1]), u"\u0416\u20AC \u0417");
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>());
  ReadPreferences();
  EXPECT_EQ(ShownHeader(gPrefs->killfiletexts[1]), u"\u0416\u20AC \u0417");
}

TEST_F(EntryDialog, ProposesWhatIsShownAndKillsByIt) {
  const std::string author = "=?UTF-8?B?0JbQsNC9?= <jean@x>",
                    subject = "=?koi8-r?Q?=F6=C1?= =?koi8-r?Q?=CE?=";
  WhenShown([this](port::WindowHandle dialog) {
    EXPECT_EQ(Control(dialog, 1011).text, u"\u0416\u0430\u043D <jean@x>");
    EXPECT_EQ(Control(dialog, 1013).text, u"\u0416\u0430\u043D");
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(0), author, subject);
  ASSERT_EQ(gPrefs->killfilecount, 2U);
  AsciiArticle article;
  article.from = "=?utf-8?Q?=D0=96=D0=B0=D0=BD?= <JEAN@x>";
  EXPECT_TRUE(ArticleIsKilled(*gPrefs, GroupAt(0), article));
  article.from = "Jean <jean@x>";
  article.subject = "\xD0\x96\xD0\x90\xD0\x9D!";
  EXPECT_TRUE(ArticleIsKilled(*gPrefs, GroupAt(0), article));
  article.subject = "???";
  EXPECT_FALSE(ArticleIsKilled(*gPrefs, GroupAt(0), article));
}

TEST_F(EntryDialog, ProposesTheStoredTextsWithoutDecoding) {
  const testing::WithoutDecoding scope;
  WhenShown([this](port::WindowHandle dialog) {
    EXPECT_EQ(Control(dialog, 1013).text, u"=?koi8-r?Q?=F6?=");
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(0), "", "=?koi8-r?Q?=F6?=");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "=?koi8-r?Q?=F6?=", true, false}}));
}

TEST_F(EntryDialog, CharactersOfATextThatIsNotCheckedDoNotMatter) {
  WhenShown([this](port::WindowHandle dialog) {
    fake.display.Type(dialog, 1013, u"\u0416");
    fake.display.Choose(dialog, 1012, 2);
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "Ann", true, true}}));
  EXPECT_TRUE(BoxTexts().empty());
}

TEST_F(EntryDialog, EmptyTextsAddNothing) {
  Answer(u"", u"");
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Subject");
  EXPECT_TRUE(Entries().empty());
  Answer(u"", u"money");
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Subject");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "money", true, false}}));
}

// An entry without text would throw away every article of the group.
TEST_F(EntryDialog, ATextThatBeginsWithANulAddsNothing) {
  Answer(std::u16string(u"\0bob", 4), std::u16string(u"mon\0ey", 6));
  OpenKillfileEntryDialog(GroupAt(0), "", "");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "mon", true, false}}));
}

TEST_F(EntryDialog, TextsAreNarrowed) {
  Answer(u"J\u00FCrgen \u20AC ?", u"");
  OpenKillfileEntryDialog(GroupAt(0), "", "");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "J\xFCrgen \x80 ?", true, true}}));
}

TEST_F(EntryDialog, DontCheckHidesTheTextAndAddsNothing) {
  WhenShown([this](port::WindowHandle dialog) {
    fake.display.Choose(dialog, 1010, 2);
    fake.display.Choose(dialog, 1012, 2);
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Subject");
  EXPECT_TRUE(Entries().empty());
}

TEST_F(EntryDialog, CancelAddsAndSavesNothing) {
  Answer(u"bob", u"money", kControlCancel);
  OpenKillfileEntryDialog(GroupAt(0), "", "");
  EXPECT_TRUE(Entries().empty());
  EXPECT_FALSE(Saved());
}

TEST_F(EntryDialog, AllGroupsAddsEachEntryToEveryGroupInTurn) {
  WhenShown([this](port::WindowHandle dialog) {
    EXPECT_TRUE(fake.display.Tick(dialog, 1015, true));
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(1), "Ann", "money");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "Ann", true, true},
                                           {2, "Ann", true, true},
                                           {3, "Ann", true, true},
                                           {1, "money", true, false},
                                           {2, "money", true, false},
                                           {3, "money", true, false}}));
}

TEST_F(EntryDialog, DuplicatesAreSilentlyAccepted) {
  AddKillfileEntry(*gPrefs, 1, "Ann", true, true);
  WhenShown([this](port::WindowHandle dialog) {
    fake.display.Tick(dialog, 1015, true);
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "");
  EXPECT_EQ(
      Entries(),
      (std::vector<Entry>{{1, "Ann", true, true}, {2, "Ann", true, true}, {3, "Ann", true, true}}));
  EXPECT_TRUE(fake.display.boxes().empty());
}

constexpr std::u16string_view kFull =
    u"The killfile will exceed Windows CE's capacity to store it. Entry rejected.";

TEST_F(EntryDialog, ARejectedEntryEndsTheAddingAndKeepsWhatCameBefore) {
  WhenShown([this](port::WindowHandle dialog) {
    fake.display.Tick(dialog, 1015, true);
    fake.display.Press(dialog, kControlOk);
  });
  // Two of 1,000 characters take 4,004 bytes with the list's end; a third does not fit.
  const std::string author(1000, 'a');
  OpenKillfileEntryDialog(GroupAt(0), author, "money");
  const std::vector<Entry> expected = {{1, author, true, true}, {2, author, true, true}};
  EXPECT_EQ(Entries(), expected);
  EXPECT_EQ(BoxTexts(), (std::vector<std::u16string>{std::u16string(kFull)}));
  EXPECT_TRUE(fake.display.dialogs().empty());
  EXPECT_EQ(SavedEntries(), expected);
}

TEST_F(EntryDialog, ARejectedAuthorKeepsTheSubjectOut) {
  Answer(std::u16string(3000, u'a'), u"money");
  OpenKillfileEntryDialog(GroupAt(0), "", "");
  EXPECT_TRUE(Entries().empty());
  EXPECT_FALSE(Saved());
  EXPECT_EQ(BoxTexts(), (std::vector<std::u16string>{std::u16string(kFull)}));
}

TEST_F(EntryDialog, WithoutAGroupTheBoxIsTickedAndStaysSo) {
  using Group = std::optional<GroupIndex>;
  for (const Group group : {Group(), Group(GroupAt(3)), Group(GroupAt(2000000000))}) {
    gPrefs->killfilecount = 0;
    gPrefs->killfilegroups.clear();
    gPrefs->killfiletexts.clear();
    gPrefs->killfilekills.clear();
    gPrefs->killfileauthors.clear();
    WhenShown([this](port::WindowHandle dialog) {
      EXPECT_TRUE(Control(dialog, 1015).visible);
      EXPECT_TRUE(Control(dialog, 1015).checked);
      fake.display.Tick(dialog, 1015, false);
      fake.display.Press(dialog, kControlOk);
    });
    OpenKillfileEntryDialog(group, "Ann", "");
    EXPECT_EQ(Entries(),
              (std::vector<Entry>{
                  {1, "Ann", true, true}, {2, "Ann", true, true}, {3, "Ann", true, true}}));
  }
}

TEST_F(EntryDialog, WithOneGroupTheBoxIsShownToo) {
  SetGroups({u"a"});
  WhenShown([this](port::WindowHandle dialog) {
    EXPECT_TRUE(Control(dialog, 1015).visible);
    fake.display.Press(dialog, kControlCancel);
  });
  OpenKillfileEntryDialog(GroupAt(0), "", "");
}

TEST_F(EntryDialog, WithoutAnyGroupTheUserIsToldThatThereIsNone) {
  SetGroups({});
  WhenShown([this](port::WindowHandle dialog) {
    EXPECT_FALSE(Control(dialog, 1015).visible);
    fake.display.Press(dialog, kControlOk);
  });
  OpenKillfileEntryDialog(std::nullopt, "Ann", "");
  EXPECT_TRUE(Entries().empty());
  EXPECT_EQ(BoxTexts(),
            (std::vector<std::u16string>{
                u"You do not have any groups in the group list. Please add some groups (using "
                u"Group->Groups->New group) and try again."}));
}

TEST_F(EntryDialog, AFormThatCannotBeShownAddsNothing) {
  fake.display.FailNextDialog();
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Subject");
  EXPECT_TRUE(Entries().empty());
}

TEST_F(EntryDialog, TheEndOfTheSessionEndsItAndAddsNothing) {
  WhenShown([this](port::WindowHandle) { fake.display.EndSession(); });
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Subject");
  EXPECT_TRUE(Entries().empty());
  EXPECT_TRUE(fake.display.dialogs().empty());
}

TEST_F(EntryDialog, ChoosingDontCheckHidesThatTextAndAnotherItemShowsItAgain) {
  InDialog({[this](port::WindowHandle dialog) {
              EXPECT_TRUE(Control(dialog, 1011).visible);
              fake.display.Choose(dialog, 1010, 2);
            },
            [this](port::WindowHandle dialog) {
              EXPECT_FALSE(Control(dialog, 1011).visible);
              EXPECT_TRUE(Control(dialog, 1013).visible);
              fake.display.Choose(dialog, 1012, 2);
              fake.display.Choose(dialog, 1010, 1);
            },
            [this](port::WindowHandle dialog) {
              EXPECT_TRUE(Control(dialog, 1011).visible);
              EXPECT_EQ(Control(dialog, 1011).text, u"Ann");
              EXPECT_FALSE(Control(dialog, 1013).visible);
              fake.display.Choose(dialog, 1012, 0);
            },
            [this](port::WindowHandle dialog) {
              EXPECT_TRUE(Control(dialog, 1013).visible);
              fake.display.Press(dialog, kControlOk);
            }});
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "Subject");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "Ann", false, true}, {1, "Subject", true, false}}));
}

TEST_F(EntryDialog, TheTickCannotBeTakenAwayWithoutAGroup) {
  InDialog({[this](port::WindowHandle dialog) { fake.display.Tick(dialog, 1015, false); },
            [this](port::WindowHandle dialog) {
              EXPECT_TRUE(Control(dialog, 1015).checked);
              fake.display.Press(dialog, kControlCancel);
            }});
  OpenKillfileEntryDialog(std::nullopt, "", "");
}

TEST_F(EntryDialog, WithAGroupTheBoxCanBeTickedAndUntickedAgain) {
  InDialog({[this](port::WindowHandle dialog) { fake.display.Tick(dialog, 1015, true); },
            [this](port::WindowHandle dialog) {
              EXPECT_TRUE(Control(dialog, 1015).checked);
              fake.display.Tick(dialog, 1015, false);
            },
            [this](port::WindowHandle dialog) {
              EXPECT_FALSE(Control(dialog, 1015).checked);
              fake.display.Press(dialog, kControlOk);
            }});
  OpenKillfileEntryDialog(GroupAt(0), "Ann", "");
  EXPECT_EQ(Entries(), (std::vector<Entry>{{1, "Ann", true, true}}));
}

}  // namespace
}  // namespace quillet
