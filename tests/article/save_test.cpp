// SPDX-License-Identifier: GPL-3.0-or-later
// Saving an article as a file.
#include "article/save.h"

#include "article/commands.h"
#include "base/save_file.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SavingArticles : public ArticleTest {
 protected:
  void OpenOne() {
    Put(kGroup, Written("<s@x>", 1, "", "Re: a/b", "Caf\xe9 \x80.\r\n"));
    OpenGroup(1);
    Open("<s@x>");
  }
  std::optional<std::string> File(std::u16string_view path) {
    return fake.files.ReadFile(path, 1 << 24);
  }
  void Save(std::u16string_view path) {
    fake.display.ExpectSaveFile(std::u16string(path));
    ArticleCommand(40057);
  }
  void CancelSaving() {
    fake.display.ExpectSaveFile({});
    ArticleCommand(40057);
  }
};

constexpr std::string_view kSavedText =
    "Subject: Re: a/b\r\n"
    "Date: 1 Jan 2001\r\n"
    "From: Ann <ann@example.invalid>\r\n"
    "Reply-To: Ann <ann@example.invalid>\r\n"
    "Message-ID: <s@x>\r\n"
    "\r\n"
    "Caf\xe9 \x80.\r\n";

TEST_F(SavingArticles, TheDialogHasItsTextsAndTheFileTheWholeArticle) {
  OpenOne();
  Save(u"\\my file.txt");
  const std::vector<port::SaveFileTraits> dialogs = fake.display.save_dialogs();
  ASSERT_EQ(dialogs.size(), 1U);
  EXPECT_EQ(dialogs[0].title, u"Save article as");
  EXPECT_EQ(dialogs[0].default_name, u"Re__a_b.txt");
  EXPECT_EQ(dialogs[0].filter_text, u"Text (*.txt)");
  EXPECT_EQ(dialogs[0].filter_pattern, u"*.txt");
  EXPECT_EQ(dialogs[0].default_extension, u"txt");
  EXPECT_EQ(File(u"\\my file.txt"), kSavedText);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingArticles, HeadersAreSavedWhateverIsShown) {
  OpenOne();
  gPrefs->showheaders = 1;
  Save(u"\\a.txt");
  EXPECT_EQ(File(u"\\a.txt"), kSavedText);
}

TEST_F(SavingArticles, WhatIsTurnedOnTheScreenIsTurnedInTheFile) {
  OpenOne();
  ArticleCommand(40022);
  Save(u"\\a.txt");
  EXPECT_TRUE(File(u"\\a.txt").value_or("").starts_with("Fhowrpg: Er: n/o\r\n"));
}

TEST_F(SavingArticles, ACancelledDialogSavesNothing) {
  OpenOne();
  const int calls = fake.files.calls(port::FileCall::kCreateNewFile);
  CancelSaving();
  EXPECT_EQ(fake.files.calls(port::FileCall::kCreateNewFile), calls);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// Keeps the paths of new files and makes none.
class PathKeeper final : public port::Files {
 public:
  std::vector<std::u16string> paths;

  std::uint32_t CreateNewFile(std::u16string_view path, std::string_view /*data*/) override {
    paths.emplace_back(path);
    return 0;
  }
  std::uint32_t CreatePrivateFile(std::u16string_view /*path*/,
                                  std::string_view /*data*/) override {
    return 0;
  }
  std::unique_ptr<port::FileReader> OpenRead(std::u16string_view /*path*/,
                                             std::uint32_t& /*error*/) override {
    return nullptr;
  }
  std::string NativePath(std::u16string_view /*path*/) override { return {}; }
  bool FolderExists(std::u16string_view /*path*/) override { return false; }
  bool CreateFolder(std::u16string_view /*path*/) override { return false; }
  bool CanWriteFolder(std::u16string_view /*path*/) override { return false; }
  std::vector<std::u16string> FileNames(std::u16string_view /*folder*/) override { return {}; }
  std::optional<std::uint64_t> FileSize(std::u16string_view /*path*/) override { return {}; }
  bool Delete(std::u16string_view /*path*/) override { return false; }
  bool Rename(std::u16string_view /*from*/, std::u16string_view /*to*/) override { return false; }
  bool Copy(std::u16string_view /*from*/, std::u16string_view /*to*/) override { return false; }
  bool CopyMode(std::u16string_view /*from*/, std::u16string_view /*to*/) override { return false; }
  bool WriteFile(std::u16string_view /*path*/, std::string_view /*data*/) override { return false; }
  std::optional<std::string> ReadFile(std::u16string_view /*path*/,
                                      std::uint64_t /*limit*/) override {
    return {};
  }
  std::optional<std::string> ReadAt(std::u16string_view /*path*/, std::uint64_t /*offset*/,
                                    std::size_t /*length*/) override {
    return {};
  }
  bool Overwrite(std::u16string_view /*path*/, std::uint64_t /*offset*/,
                 std::string_view /*data*/) override {
    return false;
  }
  std::optional<port::VolumeSpace> FreeSpace(std::u16string_view /*folder*/) override { return {}; }
  std::vector<std::u16string> Cards() override { return {}; }
};

TEST_F(SavingArticles, ThePathIsCorrectedAtItsBeginningAndItsEnd) {
  PathKeeper keeper;
  port::Platform platform{fake.display.Services(), fake.queues,  fake.registry, fake.sockets,
                          fake.libraries,          keeper,       fake.clock,    fake.shell,
                          fake.scheduler,          fake.dialler, fake.mail,     fake.contacts,
                          fake.security,           fake.secrets};
  gPlatform = &platform;
  for (const char16_t* path :
       {u"\\\\a.txt", u"\\\\\\a.txt", u"\\a.txt", u"a.txt", u"/home/me/\\\\a.txt", u"\\name.",
        u"\\name..", u"\\\\name.", u"\\plain", u"\\a.b"}) {
    fake.display.ExpectSaveFile(path);
    SaveAsFile(u"t", u"n", "text");
  }
  gPlatform = &fake.platform;
  EXPECT_THAT(keeper.paths,
              ElementsAre(u"\\a.txt", u"\\\\a.txt", u"\\a.txt", u"a.txt", u"/home/me/\\\\a.txt",
                          u"\\name.txt", u"\\name..txt", u"\\name.txt", u"\\plain", u"\\a.b"));
}

TEST_F(SavingArticles, ACorrectedPathIsTheFilesName) {
  OpenOne();
  Save(u"\\\\name.");
  EXPECT_EQ(File(u"\\name.txt"), kSavedText);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingArticles, AnExistingFileIsNeverWrittenOver) {
  OpenOne();
  ASSERT_TRUE(fake.files.WriteFile(u"\\a.txt", "mine"));
  Save(u"\\a.txt");
  EXPECT_EQ(File(u"\\a.txt"), "mine");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
}

TEST_F(SavingArticles, OtherFailuresAreToldByTheirCodes) {
  OpenOne();
  const auto boxes_after = [&](std::uint32_t code) {
    fake.display.ForgetBoxes();
    fake.files.create_error = code;
    fake.files.FailNth(port::FileCall::kCreateNewFile, 1);
    Save(u"\\a.txt");
    return BoxTexts();
  };
  EXPECT_THAT(boxes_after(183),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
  EXPECT_THAT(boxes_after(1222),
              ElementsAre(u"Our apologies, but you must tap the 'Options' button in the save "
                          u"dialog before saving the file."));
  EXPECT_THAT(boxes_after(112),
              ElementsAre(u"An unexpected error (unknown (112)) occurred in SaveAsFile."));
  EXPECT_THAT(boxes_after(5),
              ElementsAre(u"An unexpected error (unknown (5)) occurred in SaveAsFile."));
  EXPECT_EQ(File(u"\\a.txt"), std::nullopt);
}

TEST_F(SavingArticles, WithoutMemoryNothingIsAsked) {
  OpenOne();
  gReading.article->body = std::string(1 << 20, 'b');
  testing::LimitNew(1 << 20);
  ArticleCommand(40057);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"DisplayCurrentArticle."));
  testing::LimitNew(0);
  EXPECT_THAT(fake.display.save_dialogs(), IsEmpty());
  EXPECT_EQ(Source(), Page(u"Caf\u00e9 \u20ac.&nbsp;<br>"));
}

TEST_F(SavingArticles, OtherTextsAreSavedTheSameWay) {
  fake.display.ExpectSaveFile(u"\\translog.txt");
  SaveAsFile(u"Save log", u"translog.txt", Raw("a\0b\n"));
  EXPECT_EQ(fake.display.save_dialogs().at(0).title, u"Save log");
  EXPECT_EQ(fake.display.save_dialogs().at(0).default_name, u"translog.txt");
  EXPECT_EQ(File(u"\\translog.txt"), Raw("a\0b\n"));
}

class SavingAnyFile : public SavingArticles {
 protected:
  void Save(std::u16string_view path) {
    fake.display.ExpectSaveFile(std::u16string(path));
    SaveAnyFile(u"Save it", u"a b.bin", [this] {
      ++made_;
      cursor_ = fake.display.wait_cursor_depth();
      return bytes_;
    });
  }
  int cursor_ = 0;
  std::string bytes_ = Raw("\xff\0\r\n");
  int made_ = 0;
};

TEST_F(SavingAnyFile, OffersItsNameAmongFilesOfEveryKind) {
  Save(u"\\x.bin");
  const std::vector<port::SaveFileTraits> dialogs = fake.display.save_dialogs();
  ASSERT_EQ(dialogs.size(), 1U);
  EXPECT_EQ(dialogs[0].title, u"Save it");
  EXPECT_EQ(dialogs[0].default_name, u"a b.bin");
  EXPECT_EQ(dialogs[0].filter_text, u"All files (*.*)");
  EXPECT_EQ(dialogs[0].filter_pattern, u"*.*");
  EXPECT_EQ(dialogs[0].default_extension, u"");
  EXPECT_EQ(File(u"\\x.bin"), bytes_);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingAnyFile, ShowsTheWaitCursorWhileTheBytesAreMade) {
  Save(u"\\x.bin");
  EXPECT_EQ(cursor_, 1);
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

TEST_F(SavingAnyFile, TakesTheNameThatTheUserChose) {
  Save(u"\\\\name.");
  EXPECT_EQ(File(u"\\name."), bytes_);
  EXPECT_EQ(File(u"\\name.txt"), std::nullopt);
}

TEST_F(SavingAnyFile, MakesNoBytesForACancelledDialog) {
  fake.display.ExpectSaveFile({});
  SaveAnyFile(u"t", u"n", [this] {
    ++made_;
    return bytes_;
  });
  EXPECT_EQ(made_, 0);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingAnyFile, TellsOfAnExistingFileAndLeavesIt) {
  ASSERT_TRUE(fake.files.WriteFile(u"\\a", "mine"));
  Save(u"\\a");
  EXPECT_EQ(File(u"\\a"), "mine");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
}

TEST_F(SavingAnyFile, TellsOfAFullDisk) {
  fake.files.create_error = 112;
  fake.files.FailNth(port::FileCall::kCreateNewFile, 1);
  Save(u"\\a");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (unknown (112)) occurred in SaveAsFile."));
}

}  // namespace
}  // namespace quillet
