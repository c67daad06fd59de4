// SPDX-License-Identifier: GPL-3.0-or-later
// What each page edits: every control, and the setting that OK makes of it.
#include "mime/decoding.h"
#include "nntp/connection.h"
#include "store/compression.h"
#include "tests/app/sheet_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using PagesTest = SheetTest;

TEST_F(PagesTest, ReplyInformation) {
  StartAndWait();
  OpenAt(kReplyPlace);
  EXPECT_EQ(Shown(kControlFullName).text, u"My Name");
  EXPECT_EQ(Shown(kControlQuoteText).text, u"> ");
  EXPECT_EQ(Shown(kControlAttribution).text, u"In message $i, $a wrote:");
  EXPECT_FALSE(Shown(kControlFullPostView).checked);
  Type(kControlReturnAddress, u"ann@example.org");
  Type(kControlFullName, u"Ann");
  Type(kControlQuoteText, u"");
  Type(kControlAttribution, u"$a:");
  Tick(kControlFullPostView, true);
  Ok();
  EXPECT_EQ(Text(u"returnmailaddress"), u"ann@example.org");
  EXPECT_EQ(Text(u"fullname"), u"Ann");
  EXPECT_EQ(Text(u"quotestring"), u"");
  EXPECT_EQ(Text(u"attribution"), u"$a:");
  EXPECT_EQ(Dword(u"simplepost"), 0U);
}

TEST_F(PagesTest, TextOfOneLineHasNoLineEndsAndEndsAtANul) {
  StartAndWait();
  OpenAt(kReplyPlace);
  Type(kControlFullName, u"Ann\r\nB");
  Type(kControlAttribution, std::u16string(u"a\0b", 3));
  Ok();
  EXPECT_EQ(gPrefs->fullname, u"Ann  B");
  EXPECT_EQ(gPrefs->attribution, u"a");
}

TEST_F(PagesTest, TextLongerThanWhatIsReadBackIsRefused) {
  StartAndWait();
  OpenAt(kReplyPlace);
  Type(kControlFullName, std::u16string(100000, u'n'));
  fake_.display.Expect(
      u"This text has 100000 characters, but only 1023 can be kept. Please shorten it.",
      port::kIdOk);
  Ok();
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE(Shown(kControlFullName).focused);
  Type(kControlFullName, std::u16string(1023, u'n'));
  Turn(kHeadersPlace);
  Type(kControlExtraHeaders, std::u16string(1024, u'x'));
  fake_.display.Expect(u"This text has 1024 characters", port::kIdOk);
  Ok();
  Type(kControlExtraHeaders, std::u16string(1023, u'x'));
  Ok();
  EXPECT_FALSE(IsOpen());
  End();
  StartAndWait();
  EXPECT_EQ(gPrefs->fullname, std::u16string(1023, u'n'));
  EXPECT_EQ(gPrefs->extraheaders, std::u16string(1023, u'x'));
}

TEST_F(PagesTest, SignatureOfFourLineEndsIsWarnedOfAndKept) {
  StartAndWait();
  OpenAt(kSignaturePlace);
  Type(kControlSignature, u"1\n2\n3\n4");
  Turn(kServerPlace);
  EXPECT_TRUE(fake_.display.boxes().empty());
  Turn(kSignaturePlace);
  Type(kControlSignature, u"1\n2\n3\n4\n");
  const std::u16string warning =
      u"Your signature contains more than the recommended four lines of text.";
  fake_.display.Expect(warning, port::kIdOk);
  Turn(kServerPlace);
  EXPECT_EQ(fake_.display.boxes().back().caption, u"Warning");
  EXPECT_EQ(fake_.display.boxes().back().owner, Sheet());
  Turn(kSignaturePlace);
  fake_.display.Expect(warning, port::kIdOk);
  Ok();
  EXPECT_EQ(Text(u"signature"), u"1\r\n2\r\n3\r\n4\r\n");
}

TEST_F(PagesTest, SignatureIsReadUpTo2047Characters) {
  StartAndWait();
  OpenAt(kSignaturePlace);
  EXPECT_FALSE(Shown(kControlSignatureNote).visible);
  Type(kControlSignature, std::u16string(1023, u's'));
  EXPECT_FALSE(Shown(kControlSignatureNote).visible);
  Type(kControlSignature, std::u16string(3000, u's'));
  EXPECT_TRUE(Shown(kControlSignatureNote).visible);
  Ok();
  EXPECT_EQ(gPrefs->signature, std::u16string(2047, u's'));
}

TEST_F(PagesTest, DownloadOptions) {
  StartAndWait();
  OpenAt(kDownloadPlace);
  EXPECT_TRUE(Shown(kControlBeepAfter).checked);
  EXPECT_FALSE(Shown(kControlDownloadNewest).checked);
  Tick(kControlBeepAfter, false);
  Tick(kControlDownloadNewest, true);
  Ok();
  EXPECT_EQ(Dword(u"beepafter"), 0U);
  EXPECT_EQ(Dword(u"downloadnewest"), 1U);
}

TEST_F(PagesTest, StorageOptions) {
  fake_.files.SetFreeSpace(u"\\Quillet CE News", port::VolumeSpace{195, 1000});
  StartAndWait();
  OpenAt(kStoragePlace);
  EXPECT_EQ(Shown(kControlStoreFull).text, u"Store is currently 81% full.");
  EXPECT_EQ(Shown(kControlMaxStorePercent).text, u"98%");
  EXPECT_EQ(Shown(kControlMaxStore).position, 98);
  EXPECT_EQ(Shown(kControlMaxStore).lower, 0);
  EXPECT_EQ(Shown(kControlMaxStore).upper, 100);
  EXPECT_TRUE(fake_.display.Slide(Page(), kControlMaxStore, 42));
  WaitIdle();
  EXPECT_EQ(Shown(kControlMaxStorePercent).text, u"42%");
  EXPECT_EQ(Shown(kControlMaxArticleSize).text, u"4");
  EXPECT_EQ(Shown(kControlMaxArticles).text, u"50");
  Type(kControlMaxArticleSize, u"0");
  Type(kControlMaxArticles, u" 00 ");
  Tick(kControlDiscardHeaders, true);
  Ok();
  EXPECT_EQ(Dword(u"maxstore"), 42U);
  EXPECT_EQ(Dword(u"maxarticlesize"), 1U);
  EXPECT_EQ(Dword(u"maxarticles"), 1U);
  EXPECT_EQ(Dword(u"keepheaders"), 0U);
}

TEST_F(PagesTest, StorageIsThatOfTheStoreChosenInTheSheet) {
  fake_.files.AddCard(u"Card");
  fake_.files.SetFreeSpace(u"\\Quillet CE News", port::VolumeSpace{900, 1000});
  fake_.files.SetFreeSpace(u"\\Card", port::VolumeSpace{100, 1000});
  StartAndWait();
  OpenAt(kStoragePlace);
  EXPECT_EQ(Shown(kControlStoreFull).text, u"Store is currently 10% full.");
  Turn(kDatabasePlace);
  Choose(kControlDatabaseStore, u"Card");
  Turn(kStoragePlace);
  EXPECT_EQ(Shown(kControlStoreFull).text, u"Store is currently 90% full.");
}

TEST_F(PagesTest, CompressionWithTheLibrary) {
  StartAndWait();
  OpenAt(kCompressionPlace);
  EXPECT_EQ(Shown(kControlCompressionLibrary).text,
            u"bzip2 dll information: " + CompressionLibraryVersion());
  Tick(kControlUseCompression, true);
  Ok();
  EXPECT_EQ(Dword(u"usecompression"), 1U);
}

TEST_F(PagesTest, CompressionWithoutTheLibrary) {
  fake_.libraries.hide_library(u"bzip2ce.dll");
  fake_.display.Expect(u"Unable to load BZIP2 library. Compression will not be available.",
                       port::kIdOk);
  StartAndWait();
  OpenAt(kCompressionPlace);
  EXPECT_EQ(Shown(kControlCompressionLibrary).text,
            u"Compression DLL (bzip2.dll) not loaded; compression not available.");
  EXPECT_FALSE(Shown(kControlUseCompression).visible);
  EXPECT_FALSE(Shown(kControlCompressNow).visible);
  EXPECT_FALSE(Shown(kControlUncompressNow).visible);
}

TEST_F(PagesTest, ViewFonts) {
  fake_.display.SetFonts({u"Arial", u"Courier New", u"Tahoma"});
  StartAndWait();
  OpenAt(kGroupViewPlace);
  EXPECT_THAT(Shown(kControlGroupFont).choices, ElementsAre(u"Arial", u"Courier New", u"Tahoma"));
  EXPECT_EQ(Chosen(kControlGroupFont), u"Tahoma");
  EXPECT_THAT(Shown(kControlGroupFontSize).choices,
              ElementsAre(u"tiny", u"very small", u"small", u"medium", u"large", u"very large",
                          u"huge", u"enormous"));
  EXPECT_EQ(Shown(kControlGroupFontSize).choice, 2);
  Choose(kControlGroupFont, u"Courier New");
  Choose(kControlGroupFontSize, u"enormous");
  Turn(kThreadViewPlace);
  Choose(kControlThreadFont, u"Arial");
  Choose(kControlThreadFontSize, u"tiny");
  Tick(kControlUseThreading, false);
  Tick(kControlReverseThread, true);
  Turn(kArticleViewPlace);
  EXPECT_THAT(Shown(kControlArticleFont).choices,
              ElementsAre(u"<default>", u"Arial", u"Courier New", u"Tahoma"));
  EXPECT_EQ(Shown(kControlArticleFontSize).choice, 1);
  Choose(kControlArticleFont, u"<default>");
  Choose(kControlArticleFontSize, u"large");
  Choose(kControlHeaderFont, u"<default>");
  Choose(kControlHeaderFontSize, u"huge");
  Tick(kControlShowHeaders, true);
  Tick(kControlRemoveCrs, true);
  Tick(kControlColorQuoted, false);
  Ok();
  EXPECT_EQ(Text(u"groupfont"), u"Courier New");
  EXPECT_EQ(Dword(u"groupfontsize"), 8U);
  EXPECT_EQ(Text(u"threadfont"), u"Arial");
  EXPECT_EQ(Dword(u"threadfontsize"), 1U);
  EXPECT_EQ(Dword(u"usethreading"), 0U);
  EXPECT_EQ(Dword(u"reversethread"), 1U);
  EXPECT_EQ(Text(u"font"), u"<default>");
  EXPECT_EQ(Dword(u"fontsize"), 5U);
  EXPECT_EQ(Text(u"articleheaderfont"), u"<default>");
  EXPECT_EQ(Dword(u"articleheaderfontsize"), 7U);
  EXPECT_EQ(Dword(u"showheaders"), 1U);
  EXPECT_EQ(Dword(u"removecrs"), 1U);
  EXPECT_EQ(Dword(u"colorquoted"), 0U);
}

TEST_F(PagesTest, FaceThatIsNotInstalledIsShownAndKept) {
  fake_.display.SetFonts({u"Arial"});
  fake_.registry.PutString(kRegistryPath, u"groupfont", u"Gone");
  StartAndWait();
  OpenAt(kGroupViewPlace);
  EXPECT_THAT(Shown(kControlGroupFont).choices, ElementsAre(u"Gone", u"Arial"));
  EXPECT_EQ(Chosen(kControlGroupFont), u"Gone");
  Ok();
  EXPECT_EQ(Text(u"groupfont"), u"Gone");
}

TEST_F(PagesTest, Scheduling) {
  StartAndWait();
  OpenAt(kSchedulingPlace);
  EXPECT_EQ(Shown(kControlDownloadTime).time, (port::TimeOfDay{6, 0, 0}));
  EXPECT_TRUE(Shown(kControlDeleteAll).checked);
  EXPECT_FALSE(Shown(kControlDeleteRead).checked);
  Tick(kControlAutoDownload, true);
  EXPECT_TRUE(fake_.display.PickTime(Page(), kControlDownloadTime, {23, 59, 58}));
  Tick(kControlDeleteRead, true);
  Tick(kControlDeleteBefore, true);
  Tick(kControlDeleteOnQuit, true);
  fake_.scheduler.calls.clear();
  Ok();
  EXPECT_EQ(Dword(u"useautodownload"), 1U);
  EXPECT_EQ(Dword(u"downloadhr"), 23U);
  EXPECT_EQ(Dword(u"downloadmn"), 59U);
  EXPECT_EQ(Dword(u"downloadsc"), 58U);
  EXPECT_EQ(Dword(u"autodelete"), 14U);
  ASSERT_EQ(fake_.scheduler.calls.size(), 1U);
  ASSERT_TRUE(fake_.scheduler.calls[0].at);
  EXPECT_EQ(fake_.scheduler.calls[0].at->hour, 23);
}

TEST_F(PagesTest, Advanced) {
  fake_.registry.PutString(kRegistryPath, u"transport", u"Post");
  StartAndWait();
  OpenAt(kAdvancedPlace);
  EXPECT_TRUE(Shown(kControlTabsBottom).checked);
  Tick(kControlTabsRight, true);
  Tick(kControlSkipVerifications, true);
  fake_.display.Expect(
      u"The default email transport has been cleared. You will be prompted to choose a new email "
      u"transport when you next send email from within Quillet CE.",
      port::kIdOk);
  Press(kControlClearTransport);
  Ok();
  EXPECT_EQ(Dword(u"skipverifications"), 1U);
  EXPECT_EQ(Dword(u"sidetabs"), 2U);
  EXPECT_EQ(Text(u"transport"), u"");
  EXPECT_EQ(fake_.display.main_window().placement, port::TabPlacement::kRight);
}

TEST_F(PagesTest, ClearedTransportIsAChange) {
  fake_.registry.PutString(kRegistryPath, u"transport", u"Post");
  StartAndWait();
  OpenAt(kAdvancedPlace);
  fake_.display.Expect(u"The default email transport has been cleared.", port::kIdOk);
  Press(kControlClearTransport);
  fake_.display.Expect(kApplyQuestion, port::kIdNo);
  Cancel();
  EXPECT_EQ(gPrefs->transport, u"Post");
}

TEST_F(PagesTest, ExtraHeaders) {
  StartAndWait();
  OpenAt(kHeadersPlace);
  Type(kControlExtraHeaders, u"X-One: 1\nX-Two: 2");
  Ok();
  EXPECT_EQ(Text(u"extraheaders"), u"X-One: 1\r\nX-Two: 2");
}

TEST_F(PagesTest, KeptTransactionLogLivesAsLongAsTheProgram) {
  StartAndWait();
  OpenAt(kDebuggingPlace);
  EXPECT_EQ(Shown(kControlDatabaseVersion).text,
            u"Loaded GDBMce.dll version: '" + DatabaseLibraryVersion() + u"'");
  Tick(kControlKeepTransactionLog, true);
  Ok();
  EXPECT_EQ(gPrefs->keeptranslog, 1U);
  EXPECT_EQ(Bytes(u"keeptranslog"), "missing");
}

TEST_F(PagesTest, LogThatIsNotThereCannotBeSaved) {
  StartAndWait();
  OpenAt(kDebuggingPlace);
  fake_.display.Expect(
      u"There is no transaction log to save. The transaction log is created after you connect to "
      u"your news server.",
      port::kIdOk);
  Press(kControlSaveLog);
}

TEST_F(PagesTest, DatabaseManagement) {
  fake_.files.AddCard(u"Card");
  StartAndWait();
  OpenAt(kDatabasePlace);
  const port::ShownControl list = Shown(kControlDatabases);
  ASSERT_EQ(list.rows.size(), 3U);
  EXPECT_EQ(list.rows[0].texts[0], u"Articles");
  EXPECT_EQ(list.rows[1].texts[0], u"Newsgroup index");
  EXPECT_EQ(list.rows[2].texts[0], u"Pending posts");
  EXPECT_THAT(Shown(kControlDatabaseStore).choices, ElementsAre(u"Internal", u"Card"));
  EXPECT_EQ(Shown(kControlDatabaseStore).choice, 0);
  Choose(kControlDatabaseStore, u"Card");
  Ok();
  EXPECT_EQ(Text(u"databasestore"), u"Card");
  EXPECT_TRUE(fake_.files.FileSize(u"\\Card\\Quillet CE News\\Quillet articles.gdb"));
}

TEST_F(PagesTest, PurgeAsksAndDeletesEverything) {
  SetGroups({u"comp.test"});
  StartAndWait();
  OnProgramThread([] {
    AsciiArticle article;
    article.messageId = "<1@a>";
    StoreArticle(article);
  });
  OpenAt(kDatabasePlace);
  const std::u16string question = u"This will delete all downloaded and posted news. Are you sure?";
  fake_.display.Expect(question, port::kIdNo);
  Press(kControlPurge);
  EXPECT_TRUE(ArticleExists("<1@a>"));
  fake_.display.Expect(question, port::kIdYes);
  Press(kControlPurge);
  EXPECT_FALSE(ArticleExists("<1@a>"));
  EXPECT_TRUE(DatabasesOpen());
}

TEST_F(PagesTest, CompactAsksFirst) {
  StartAndWait();
  OpenAt(kDatabasePlace);
  const std::u16string question =
      u"Compacting the databases may take some time. If you interrupt the compacting process, the "
      u"databases may become corrupted. Are you sure you want to do this now?";
  fake_.display.Expect(question, port::kIdNo);
  Press(kControlCompact);
  EXPECT_EQ(fake_.display.DialogOfForm(kDialogProgress), 0U);
  fake_.display.Expect(question, port::kIdYes);
  fake_.display.ForgetProgressTexts();
  Press(kControlCompact);
  ASSERT_FALSE(fake_.display.progress_texts().empty());
  EXPECT_EQ(fake_.display.progress_texts()[0].text, u"Compacting databases");
}

TEST_F(PagesTest, StoreWhoseCardHasGoneStaysChosen) {
  fake_.files.AddCard(u"Card");
  fake_.registry.PutString(kRegistryPath, u"databasestore", u"Card");
  StartAndWait();
  fake_.files.RemoveCard(u"Card");
  OpenAt(kDatabasePlace);
  EXPECT_EQ(Chosen(kControlDatabaseStore), u"Card");
  EXPECT_THAT(Shown(kControlDatabaseStore).choices, ElementsAre(u"Internal", u"Card"));
}

TEST_F(PagesTest, Extensions) {
  StartAndWait();
  OpenAt(kExtensionsPlace);
  for (const Extension& extension : AllExtensions()) {
    if (extension.kind == ExtensionKind::kSwitch) {
      EXPECT_EQ(Shown(extension.control).text, extension.title);
    }
    EXPECT_EQ(Shown(extension.line_control).text, extension.what_it_does);
  }
  EXPECT_TRUE(Shown(kControlPostMessageIds).checked);
  Tick(kControlPostMessageIds, false);
  fake_.display.Expect(kApplyQuestion, port::kIdNo);
  Cancel();
  EXPECT_EQ(fake_.registry.FindDword(kExtensionsPath, u"postmessageids"), std::nullopt);
  OpenAt(kExtensionsPlace);
  EXPECT_TRUE(Shown(kControlPostMessageIds).checked);
  Tick(kControlPostMessageIds, false);
  Ok();
  EXPECT_EQ(fake_.registry.FindDword(kExtensionsPath, u"postmessageids"), 0U);
  EXPECT_EQ(fake_.registry.FindDword(kExtensionsPath, u"importprogress"), std::nullopt);
}

TEST_F(PagesTest, NumbersOfExtensions) {
  StartAndWait();
  OpenAt(kExtensionsPlace);
  EXPECT_EQ(Shown(kControlStallLimit).text, u"90");
  EXPECT_EQ(Shown(kControlRetries).text, u"3");
  Type(kControlStallLimit, u"86401");
  Type(kControlRetries, u"many");
  fake_.display.Expect(u"The number of seconds without an answer must be a number from 0 to 86400.",
                       port::kIdOk);
  Ok();
  Type(kControlStallLimit, u"0");
  fake_.display.Expect(
      u"The number of attempts after a lost connection must be a number from 0 to 100.",
      port::kIdOk);
  Ok();
  Type(kControlRetries, u"12");
  Ok();
  EXPECT_EQ(fake_.registry.FindDword(kExtensionsPath, u"stalllimit"), 0U);
  EXPECT_EQ(fake_.registry.FindDword(kExtensionsPath, u"retries"), 12U);
}

TEST_F(PagesTest, DecodingIsSwitchedAtOnce) {
  StartAndWait();
  OpenAt(kExtensionsPlace);
  Tick(kControlDecodeMime, false);
  EXPECT_TRUE(Decoding());
  Ok();
  EXPECT_FALSE(Decoding());
}

TEST_F(PagesTest, ConnectionOffersThePhoneBook) {
  fake_.dialler.entries[u"gprs"] = {};
  fake_.dialler.entries[u"home"] = {};
  StartAndWait();
  OpenAt(kConnectionPlace);
  EXPECT_THAT(Shown(kControlConnectionMethod).choices, ElementsAre(u"gprs", u"home", u"<none>"));
  EXPECT_EQ(Chosen(kControlConnectionMethod), u"<none>");
  Choose(kControlConnectionMethod, u"home");
  Ok();
  EXPECT_EQ(Text(u"conxmethod"), u"home");
}

TEST_F(PagesTest, MethodThatThePhoneBookLacksStaysChosen) {
  fake_.registry.PutString(kRegistryPath, u"conxmethod", u"gone");
  StartAndWait();
  OpenAt(kConnectionPlace);
  EXPECT_THAT(Shown(kControlConnectionMethod).choices, ElementsAre(u"gone", u"<none>"));
  Ok();
  EXPECT_EQ(Text(u"conxmethod"), u"gone");
}

TEST_F(PagesTest, PhoneBookThatFailsIsToldOnce) {
  fake_.dialler.phonebook = false;
  StartAndWait();
  Open();
  fake_.display.Expect(u"An unexpected error (cannot open phonebook) occurred in PrefsTenDlgProc.",
                       port::kIdOk);
  Turn(kConnectionPlace);
  EXPECT_THAT(Shown(kControlConnectionMethod).choices, ElementsAre(u"<none>"));
  Turn(kServerPlace);
  Turn(kConnectionPlace);
}

}  // namespace
}  // namespace quillet
