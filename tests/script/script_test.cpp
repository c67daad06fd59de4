// SPDX-License-Identifier: GPL-3.0-or-later
// The units of the scripted front, and its observer on the display model.
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "port/fake/fake_clock.h"
#include "port/message.h"
#include "res/resource.h"
#include "script/commands.h"
#include "script/json.h"
#include "script/observer.h"
#include "script/options.h"
#include "script/registry_text.h"
#include "script/script_run.h"
#include "script/shown_nodes.h"
#include "script/words.h"
#include "tests/support/select_text.h"
#include "util/text.h"

namespace quillet {
namespace {

using Words = std::vector<std::u16string>;

TEST(JsonTextTest, PrintableAsciiStandsForItself) {
  EXPECT_EQ(JsonText(u"comp.lang.c++ [1/2] <a@b>"), "\"comp.lang.c++ [1/2] <a@b>\"");
}

TEST(JsonTextTest, QuotesBackslashesAndLineEndsAreEscaped) {
  EXPECT_EQ(JsonText(u"a\"b\\c\r\n\td"), "\"a\\\"b\\\\c\\r\\n\\td\"");
}

TEST(JsonTextTest, EveryOtherUnitIsAnEscapeOfItsOwn) {
  const std::u16string text = {0x00, 0x01, 0x1F, 0x7F, 0xE9, 0xE000, 0xFFFF};
  EXPECT_EQ(JsonText(text), "\"\\u0000\\u0001\\u001f\\u007f\\u00e9\\ue000\\uffff\"");
}

TEST(JsonTextTest, LoneSurrogatesSurvive) {
  const std::u16string text = {0xD83D, u'x', 0xDE00, 0xD83D, 0xDE00};
  EXPECT_EQ(JsonText(text), "\"\\ud83dx\\ude00\\ud83d\\ude00\"");
}

TEST(JsonObjectTest, MembersKeepTheirOrderAndKinds) {
  JsonObject object;
  object.Add("event", "box").Add("text", u"a\u20ac").Add("yes", true).Add("n", -1);
  object.Add("big", std::uint64_t{18446744073709551615U});
  object.AddRaw("list", JsonList().Add(u"x").Add(JsonObject()).AddRaw("null").Finish());
  EXPECT_EQ(object.Finish(),
            "{\"event\":\"box\",\"text\":\"a\\u20ac\",\"yes\":true,\"n\":-1,"
            "\"big\":18446744073709551615,\"list\":[\"x\",{},null]}");
}

TEST(ScriptLineTest, BlanksSeparateWords) {
  EXPECT_EQ(SplitScriptLine("  tick\tcomp.lang.c++  a#b \r").words,
            (Words{u"tick", u"comp.lang.c++", u"a#b"}));
}

TEST(ScriptLineTest, BlankLinesAndCommentsHaveNoWords) {
  for (const char* line : {"", "   \t", "# tick all", "   # \"unclosed"}) {
    const ScriptLine split = SplitScriptLine(line);
    EXPECT_TRUE(split.words.empty()) << line;
    EXPECT_EQ(split.error, "") << line;
  }
}

TEST(ScriptLineTest, QuotedWordsHoldBlanksAndEscapes) {
  EXPECT_EQ(SplitScriptLine(R"(set 1001 " a\"b\\c\n\r\t" "")").words,
            (Words{u"set", u"1001", u" a\"b\\c\n\r\t", u""}));
}

TEST(ScriptLineTest, AnEscapeMayBeALoneSurrogate) {
  const Words words = SplitScriptLine(R"("\ud83d" "\u0000\uE9e9")").words;
  ASSERT_EQ(words.size(), 2U);
  EXPECT_EQ(words[0], std::u16string(1, 0xD83D));
  EXPECT_EQ(words[1], (std::u16string{0x0000, 0xE9E9}));
}

TEST(ScriptLineTest, Utf8IsTakenAsItIs) {
  EXPECT_EQ(SplitScriptLine("tick de.caf\xC3\xA9 \"\xF0\x9F\x98\x80\"").words,
            (Words{u"tick", u"de.caf\u00e9", u"\U0001F600"}));
}

TEST(ScriptLineTest, MalformedLinesSayWhatIsWrong) {
  EXPECT_EQ(SplitScriptLine("set 1 \"a").error, "no closing quote");
  EXPECT_EQ(SplitScriptLine("set 1 \"a\\").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"\\x\"").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"\\u12g4\"").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"\\u12").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"a\"b").error, "no blank after a closing quote");
  EXPECT_EQ(SplitScriptLine("tick caf\xE9").error, "not UTF-8");
}

TEST(NumberTest, OnlyDecimalDigitsOf32Bits) {
  EXPECT_EQ(ParseNumber(u"0"), 0U);
  EXPECT_EQ(ParseNumber(u"4294967295"), 4294967295U);
  for (const char16_t* word :
       {u"", u"-1", u"+1", u"4294967296", u"99999999999999999999999", u"1x"}) {
    EXPECT_FALSE(ParseNumber(word)) << JsonText(word);
  }
}

TEST(SizeTest, WidthAndHeight) {
  EXPECT_EQ(ParseSize(u"240x320"), (port::Size{240, 320}));
  for (const char16_t* word : {u"", u"240", u"240x", u"x320", u"0x320", u"240x0", u"40000x1"}) {
    EXPECT_FALSE(ParseSize(word)) << JsonText(word);
  }
}

TEST(HexTest, PairsOfDigits) {
  EXPECT_EQ(ParseHex(u"00fFA5"), std::string("\x00\xFF\xA5", 3));
  EXPECT_EQ(ParseHex(u""), "");
  EXPECT_FALSE(ParseHex(u"123"));
  EXPECT_FALSE(ParseHex(u"1g"));
}

TEST(KeyTest, CombinationsReadAsTheyAreWritten) {
  struct Case {
    const char16_t* word;
    std::uint32_t key;
    std::uint32_t modifiers;
    const char* text;
  };
  const Case cases[] = {
      {u"Escape", 0x1B, 0, "Escape"},
      {u"ctrl+alt+m", 'M', port::kModifierControl | port::kModifierAlt, "Ctrl+Alt+M"},
      {u"Alt+Ctrl+M", 'M', port::kModifierControl | port::kModifierAlt, "Ctrl+Alt+M"},
      {u"Ctrl+1", '1', port::kModifierControl, "Ctrl+1"},
      {u"Ctrl+Left", 0x25, port::kModifierControl, "Ctrl+Left"},
      {u"F1", 0x70, 0, "F1"},
      {u"Shift+F24", 0x87, port::kModifierShift, "Shift+F24"},
      {u"home", 0x24, 0, "Home"},
      {u"End", 0x23, 0, "End"},
      {u"Action", 0x86, 0, "Action"},
      {u"Menu", 0x5D, 0, "Menu"},
  };
  for (const Case& c : cases) {
    const auto key = ParseKey(c.word);
    ASSERT_TRUE(key) << c.text;
    EXPECT_EQ(key->virtual_key, c.key) << c.text;
    EXPECT_EQ(key->modifiers, c.modifiers) << c.text;
    EXPECT_EQ(KeyText(key->virtual_key, key->modifiers), c.text);
  }
}

TEST(KeyTest, UnknownKeysAreRefused) {
  for (const char16_t* word : {u"", u"Ctrl+", u"Ctrl", u"Ctrl+Ctrl+A", u"Hyper+A", u"+", u"AB"}) {
    EXPECT_FALSE(ParseKey(word)) << JsonText(word);
  }
}

// --- registry values -----------------------------------------------------------------------------

std::string Described(port::RegistryType type, std::string_view data) {
  const port::RegistryValue value{type, std::string(data)};
  return DescribeRegistryValue(u"x", &value).Finish();
}

TEST(RegistryTextTest, ValuesAreDecodedByTheirType) {
  using port::RegistryType;
  using namespace std::string_view_literals;
  EXPECT_EQ(Described(RegistryType::kDword, "\x32\0\0\0"sv),
            R"({"name":"x","found":true,"type":"dword","value":50,"hex":"32000000"})");
  EXPECT_EQ(Described(RegistryType::kDword, "\x32\0\0\0\1\0\0\0"sv),
            R"({"name":"x","found":true,"type":"dword","value":null,"hex":"3200000001000000"})");
  EXPECT_EQ(Described(RegistryType::kString, "a\0\xAC\x20\0\0"sv),
            R"({"name":"x","found":true,"type":"string","value":"a\u20ac","hex":"6100ac200000"})");
  EXPECT_EQ(Described(RegistryType::kBinary, ""sv),
            R"({"name":"x","found":true,"type":"binary","value":[],"hex":""})");
  EXPECT_EQ(Described(RegistryType::kMultiString, "a\0\0\0\0\xE0\0\0\0\0"sv),
            R"({"name":"x","found":true,"type":"multi","value":["a","\ue000"],)"
            R"("hex":"6100000000e000000000"})");
  EXPECT_EQ(DescribeRegistryValue(u"x", nullptr).Finish(), R"({"name":"x","found":false})");
}

TEST(RegistryTextTest, ListsWithoutTheirEndDoNotRunOn) {
  using namespace std::string_view_literals;
  const std::string text = Described(port::RegistryType::kMultiString, "a\0b\0"sv);
  EXPECT_NE(text.find(R"("value":["ab"])"), std::string::npos) << text;
}

TEST(RegistryTextTest, WordsMakeValues) {
  const auto make = [](const Words& words) { return MakeRegistryValue(words); };
  EXPECT_EQ(make({u"dword", u"50"})->data, std::string("\x32\0\0\0", 4));
  EXPECT_EQ(make({u"string", u"a"})->data, std::string("a\0\0\0", 4));
  EXPECT_EQ(make({u"multi"})->data, std::string("\0\0\0\0", 4));
  EXPECT_EQ(make({u"multi", u"", u"b"})->data, std::string("\0\xE0\0\0b\0\0\0\0\0", 10));
  EXPECT_EQ(make({u"numbers"})->data, "");
  EXPECT_EQ(make({u"raw", u"7", u"ff"})->type, port::RegistryType::kMultiString);
  for (const Words& words :
       {Words{}, Words{u"dword"}, Words{u"dword", u"-1"}, Words{u"blob", u"00"},
        Words{u"numbers", u"1", u"x"}, Words{u"raw", u"2", u"00"}, Words{u"binary", u"0"},
        Words{u"string", u"a", u"b"}}) {
    EXPECT_FALSE(make(words));
  }
}

// --- options -------------------------------------------------------------------------------------

ScriptOptions Parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "quillet-script");
  return ParseScriptOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(ScriptOptionsTest, OwnOptionsAndThoseOfEveryProgram) {
  const ScriptOptions options = Parse({"--work-area", "800x600", "--profile", "/p", "--log", "/l",
                                       "--timeout", "5", "--hold", "AppRunAtTime"});
  EXPECT_EQ(options.program.action, port::Arguments::Action::kRun);
  EXPECT_EQ(options.program.profile, "/p");
  EXPECT_EQ(options.program.CommandLine(), u"AppRunAtTime");
  EXPECT_EQ(options.work_area, (port::Size{800, 600}));
  EXPECT_EQ(options.log, "/l");
  EXPECT_EQ(options.timeout, std::chrono::seconds(5));
  EXPECT_TRUE(options.hold);
}

TEST(ScriptOptionsTest, WrongOnesSayWhy) {
  const auto error = [](std::vector<const char*> arguments) {
    const ScriptOptions options = Parse(std::move(arguments));
    const bool wrong = options.program.action == port::Arguments::Action::kWrong;
    return wrong ? options.program.error : "accepted";
  };
  EXPECT_EQ(error({}), "either --profile DIR or --xdg is needed");
  EXPECT_EQ(error({"--profile", "/p", "--xdg"}), "either --profile DIR or --xdg is needed");
  EXPECT_EQ(error({"--profile", "/p", "--timeout"}), "--timeout needs a value");
  EXPECT_EQ(error({"--profile", "/p", "--work-area", "1"}), "bad value for --work-area: '1'");
  EXPECT_NE(error({"--profile", "/p", "nonsense"}), "accepted");
  EXPECT_EQ(error({"--profile", "/p"}), "accepted");
  EXPECT_EQ(error({"--xdg"}), "accepted");
}

// --- rows and nodes ------------------------------------------------------------------------------

// a(b(c) d) e
port::ShownTree SmallTree() {
  port::ShownTree tree;
  tree.created = true;
  tree.rows = {{11, 0, true, u"a"},
               {12, 1, false, u"b"},
               {13, 2, false, u"c"},
               {14, 1, true, u"d"},
               {15, 0, false, u"e"}};
  tree.expanded = {11};
  tree.selected = 14;
  return tree;
}

TEST(ShownNodesTest, PathsCountChildrenFromOne) {
  const port::ShownTree tree = SmallTree();
  const std::pair<const char16_t*, port::TreeItem> paths[] = {
      {u"1", 11}, {u"1.1", 12}, {u"1.1.1", 13}, {u"1.2", 14}, {u"2", 15}};
  for (const auto& [path, item] : paths) {
    EXPECT_EQ(ItemAtPath(tree, path), item);
    EXPECT_EQ(FromUtf8(PathOfItem(tree, item)), path);
  }
  for (const char16_t* path : {u"", u"0", u"3", u"1.3", u"1.1.1.1", u"1.", u"01", u"x"}) {
    EXPECT_EQ(ItemAtPath(tree, path), 0U) << JsonText(path);
  }
  EXPECT_EQ(PathOfItem(tree, 0), "");
  EXPECT_EQ(PathOfItem(tree, 99), "");
}

TEST(ShownNodesTest, RowsTellWhatIsShownAndWhatTheProgramKnows) {
  port::ShownTree tree = SmallTree();
  tree.caption = u"a.one: 0 on server";
  tree.rows.resize(2);
  tree.selected = 12;
  NodesByItem nodes;
  nodes[12] = {NodeKind::kArticle, u"<i@j>", u"s", u"f", u"news", -3, 7, false, 2, 1};
  EXPECT_EQ(DescribeTree(tree, nodes).Finish(),
            R"({"created":true,"name":"","font":"","font_size":0,"caption":"a.one: 0 on server",)"
            R"("focused":false,"selected":"1.1","fills":0,"rows":[)"
            R"({"path":"1","item":11,"depth":0,"text":"a","bold":true,"expanded":true,)"
            R"("kind":"none"},)"
            R"({"path":"1.1","item":12,"depth":1,"text":"b","bold":false,"expanded":false,)"
            R"("kind":"article","id":"<i@j>","subject":"s","from":"f","source":"news",)"
            R"("number":-3,"chain":7,"read":false,"unread":1,"total":2}]})");
}

TEST(ShownNodesTest, ManyRowsAreToldInSeconds) {
  constexpr std::uint32_t kRows = 100000;
  port::ShownTree tree;
  NodesByItem nodes;
  for (std::uint32_t item = 1; item <= kRows; ++item) {
    tree.rows.push_back({item, item % 2 == 1 ? 0U : 1U, false, u"Ann <ann@example.org>"});
    nodes[item] = {NodeKind::kArticle, u"<a@b>", u"Hello", u"Ann", u"news", 1, item, false, 1, 1};
  }
  tree.selected = kRows;
  const auto start = std::chrono::steady_clock::now();
  const std::string text = DescribeTree(tree, nodes).Finish();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_NE(text.find(R"("selected":"50000.1")"), std::string::npos);
  EXPECT_NE(text.find(R"({"path":"50000.1","item":100000,)"), std::string::npos);
}

TEST(ShownNodesTest, TheArticleViewIsToldAsItIs) {
  port::ShownArticle article;
  article.created = true;
  article.source = u"<b>x</b>";
  article.additions = 1;
  article.ended = true;
  article.shows = 2;
  article.scrolls = {port::ScrollStep::kTop, port::ScrollStep::kPageDown};
  article.line = 7;
  article.notice = u"n";
  article.header[1] = {u"From: a", u"Article 0/1", u"today"};
  article.toolbar = {{40048, 4, u"Find"}, {}};
  EXPECT_EQ(DescribeViewer(article).Finish(),
            R"({"created":true,"source":"<b>x</b>","plain_text":false,"additions":1,"ended":true,)"
            R"("shows":2,"focused":false,"copies":0,"line":7,)"
            R"("notice":"n","scrolls":["top","page-down"]})");
  EXPECT_EQ(DescribeHeader(article).Finish(),
            R"({"created":true,"font":"","pixels":0,"lines":[{"left":"","right":"","aside":""},)"
            R"({"left":"From: a","right":"Article 0/1","aside":"today"}]})");
  EXPECT_EQ(DescribeToolbar(article).Finish(),
            R"({"buttons":[{"command":40048,"image":4,"tooltip":"Find"},{"separator":true}]})");
}

// --- the observer on the display model -----------------------------------------------------------

// A progress dialog on its own thread that counts the presses of its Cancel, and an operation that
// shows texts and positions.
class ObserverTest : public testing::Test {
 protected:
  ObserverTest() { display_.SetObserver(&observer_); }
  ~ObserverTest() override { std::fclose(out_); }

  // Runs `operation` under a dialog with the title "Working".
  void RunUnderDialog(const std::function<void()>& operation) {
    std::atomic<port::WindowHandle> dialog = 0;
    std::thread thread([&] {
      const port::WindowHandle own = display_.Create(kDialogProgress, 0, port::DialogKind::kModal);
      display_.Write(own, kControlProgressTitle, port::Text{u"Working"});
      display_.Show(own);
      dialog = own;
      dialog.notify_all();
      port::Message message;
      while (queues_.Get(message)) {
        if (message.kind == port::MessageKind::kCommand) ++presses_;
        if (message.kind == port::MessageKind::kClose) {
          display_.Destroy(own);
          queues_.PostQuit(0);
        }
      }
    });
    dialog.wait(0);
    dialog_ = dialog;
    operation();
    queues_.Post({dialog_, port::MessageKind::kClose, 0, 0, {}});
    thread.join();
  }

  // The lines reported so far.
  std::string Output() {
    std::rewind(out_);
    std::string text;
    for (int c = std::fgetc(out_); c != EOF; c = std::fgetc(out_)) text += static_cast<char>(c);
    std::fseek(out_, 0, SEEK_END);
    return text;
  }

  std::FILE* out_ = std::tmpfile();
  Reporter reporter_{out_, nullptr};
  port::FakeClock clock_;
  port::ThreadQueues queues_{clock_};
  port::FakeDisplay display_{queues_};
  int stops_ = 0;
  ScriptRun run_{reporter_, queues_, display_, std::chrono::milliseconds(500), [this] { ++stops_; },
                 [] {}};
  ScriptObserver observer_{run_};
  port::WindowHandle dialog_ = 0;
  std::atomic<int> presses_ = 0;
};

TEST_F(ObserverTest, CancelIsHandledRightAfterTheChangeItWasAnnouncedFor) {
  // Changes: the title, two texts, two positions (the second position is set twice).
  const int positions[] = {1, 1, 2};
  for (int n = 0; n <= 5; ++n) {
    presses_ = 0;
    observer_.CancelAfter(static_cast<std::uint32_t>(n));
    std::vector<int> seen;
    RunUnderDialog([&] {
      display_.Write(dialog_, kControlProgressDetail, port::Text{u"one"});
      seen.push_back(presses_);
      display_.Write(dialog_, kControlProgressDetail, port::Text{u"two"});
      seen.push_back(presses_);
      for (const int position : positions) {
        display_.Write(dialog_, kControlProgressBar, port::Position{position});
        seen.push_back(presses_);
      }
    });
    // The changes that each step makes the last one of.
    const int changes[] = {2, 3, 4, 4, 5};
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(seen[static_cast<std::size_t>(i)], changes[i] >= n ? 1 : 0) << n << " " << i;
    }
    EXPECT_EQ(presses_, 1);
  }
}

TEST_F(ObserverTest, ChangesAreCountedOverSeveralDialogs) {
  observer_.CancelAfter(3);
  RunUnderDialog([&] {
    display_.Write(dialog_, kControlProgressDetail, port::Text{u"one"});
    EXPECT_EQ(presses_, 0);
  });
  RunUnderDialog([&] {
    display_.Write(dialog_, kControlProgressDetail, port::Text{u"two"});
    EXPECT_EQ(presses_, 1);
  });
  EXPECT_NE(Output().find(R"({"event":"progress-cancelled","change":3})"), std::string::npos);
}

TEST_F(ObserverTest, AForgottenCancelIsNotPressed) {
  observer_.CancelAfter(1);
  observer_.CancelAfter(std::nullopt);
  RunUnderDialog([&] { display_.Write(dialog_, kControlProgressDetail, port::Text{u"one"}); });
  EXPECT_EQ(presses_, 0);
}

TEST_F(ObserverTest, FiguresAreReportedAndCountAsNoChange) {
  observer_.CancelAfter(3);
  RunUnderDialog([&] {
    EXPECT_EQ(observer_.ProgressDialog(), dialog_);
    display_.Write(dialog_, kControlProgressFigures, port::Text{u"group 1 of 2"});
    display_.Write(dialog_, kControlProgressBar, port::Text{u"34%"});
    display_.Write(dialog_, kControlProgressDetail, port::Text{u"one"});
    EXPECT_EQ(presses_, 0) << "two changes: the title and a text";
    EXPECT_TRUE(observer_.ProgressShows(u"group 1"));
    observer_.ReportPositions(true);
    display_.Write(dialog_, kControlProgressBar, port::Text{u"35%"});
    EXPECT_EQ(presses_, 0);
  });
  EXPECT_EQ(observer_.ProgressDialog(), 0U);
  const std::string output = Output();
  EXPECT_NE(output.find(R"({"event":"progress-figures","text":"group 1 of 2"})"),
            std::string::npos);
  EXPECT_NE(output.find(R"({"event":"progress-bar-text","text":"35%"})"), std::string::npos);
  EXPECT_EQ(output.find("34%"), std::string::npos) << "only on demand";
}

TEST_F(ObserverTest, ProgressIsReportedInOrderAndPositionsOnlyOnDemand) {
  RunUnderDialog([&] { display_.Write(dialog_, kControlProgressBar, port::Position{7}); });
  EXPECT_EQ(Output().find("progress-position"), std::string::npos);
  observer_.ReportPositions(true);
  RunUnderDialog([&] {
    EXPECT_TRUE(observer_.ProgressShows(u"Work"));
    EXPECT_FALSE(observer_.ProgressShows(u"one"));
    display_.Write(dialog_, kControlProgressDetail, port::Text{u"one"});
    EXPECT_TRUE(observer_.ProgressShows(u"one"));
    display_.Write(dialog_, kControlProgressBar, port::Range{9});
    display_.Write(dialog_, kControlProgressBar, port::Position{7});
  });
  EXPECT_FALSE(observer_.ProgressShows(u""));
  const std::string output = Output();
  const std::size_t second =
      output.rfind(R"({"event":"progress-text","control":1020,"text":"Working"})");
  ASSERT_NE(second, std::string::npos);
  const std::string tail = output.substr(second);
  const std::size_t shown = tail.find(R"({"event":"dialog","handle":)");
  const std::size_t text = tail.find(R"({"event":"progress-text","control":1022,"text":"one"})");
  const std::size_t range = tail.find(R"({"event":"progress-range","upper":9})");
  const std::size_t position = tail.find(R"({"event":"progress-position","position":7})");
  const std::size_t closed = tail.find(R"({"event":"dialog-closed","handle":)");
  EXPECT_LT(shown, text);
  EXPECT_LT(text, range);
  EXPECT_LT(range, position);
  EXPECT_LT(position, closed);
  EXPECT_NE(closed, std::string::npos);
}

TEST_F(ObserverTest, AnUnannouncedQuestionStopsTheRunAndIsAnsweredWithoutHarm) {
  using port::BoxButtons;
  EXPECT_EQ(display_.Show(0, u"c", u"Just so", {BoxButtons::kOk}), port::kIdOk);
  EXPECT_EQ(run_.status(), kStatusFine);
  EXPECT_EQ(display_.Show(0, u"c", u"Sure?", {BoxButtons::kYesNo}), port::kIdNo);
  EXPECT_EQ(run_.status(), kStatusFailed);
  EXPECT_EQ(stops_, 1);
  EXPECT_EQ(display_.Show(0, u"c", u"Sure?", {BoxButtons::kOkCancel}), port::kIdCancel);
  EXPECT_EQ(display_.Show(0, u"c", u"Sure?", {BoxButtons::kYesNoCancel}), port::kIdCancel);
  EXPECT_NE(Output().find(R"({"event":"failure","reason":"unannounced-question","text":"Sure?")"),
            std::string::npos);
}

TEST_F(ObserverTest, BoxesAreReportedWithAllThatIsShown) {
  run_.announcements.Add(u"Sure", port::kIdYes);
  const port::BoxStyle style{port::BoxButtons::kYesNo, port::BoxIcon::kExclamation, true};
  EXPECT_EQ(display_.Show(0, u"Caption", u"Sure?", style), port::kIdYes);
  EXPECT_NE(Output().find(R"({"event":"box","owner":"none","caption":"Caption","text":"Sure?",)"
                          R"("buttons":"yesno","icon":"exclamation","topmost":true,)"
                          R"("answer":"yes","announced":true})"),
            std::string::npos)
      << Output();
  EXPECT_EQ(run_.status(), kStatusFine);
}

TEST_F(ObserverTest, MenusAndSaveDialogsAreAnsweredAsAnnounced) {
  run_.menu_answers.AddNext(u"Mark Read");
  run_.menu_answers.AddNext(u"");
  run_.save_answers.AddNext(u"\\a.txt");
  run_.save_answers.AddNext(u"");
  EXPECT_EQ(display_.ShowPopUp(0, {{7, u"Delete"}, {8, u"Mark Read"}}), 8U);
  EXPECT_EQ(display_.ShowPopUp(0, {{7, u"Delete"}}), 0U);
  const port::SaveFileTraits traits{u"Save", u"x.txt", u"Text (*.txt)", u"*.txt", u"txt"};
  EXPECT_EQ(display_.SaveFile(0, traits), u"\\a.txt");
  EXPECT_EQ(display_.SaveFile(0, traits), std::nullopt);
  EXPECT_EQ(run_.status(), kStatusFine);
  const std::string output = Output();
  EXPECT_NE(output.find(R"({"event":"pop-up","entries":[{"command":7,"text":"Delete"},)"
                        R"({"command":8,"text":"Mark Read"}],"chosen":8,"announced":true})"),
            std::string::npos);
  EXPECT_NE(output.find(R"-({"event":"save-dialog","title":"Save","default_name":"x.txt",)-"
                        R"-("filter_text":"Text (*.txt)","filter_pattern":"*.txt",)-"
                        R"-("default_extension":"txt","answer":"\\a.txt","announced":true})-"),
            std::string::npos);
}

TEST_F(ObserverTest, OpenDialogsAreAnsweredAsAnnounced) {
  run_.save_answers.AddNext(u"\\a.txt");
  run_.open_answers.AddNext(u"/old.mbox");
  run_.open_answers.AddNext(u"");
  const port::OpenFileTraits traits{u"Import file", u"All files (*.*)", u"*.*", u"*"};
  EXPECT_EQ(display_.OpenFile(0, traits), u"/old.mbox");
  EXPECT_EQ(display_.OpenFile(0, traits), std::nullopt);
  EXPECT_EQ(run_.status(), kStatusFine);
  EXPECT_NE(Output().find(R"-({"event":"open-dialog","title":"Import file",)-"
                          R"-("filter_text":"All files (*.*)","filter_pattern":"*.*",)-"
                          R"-("default_extension":"*","answer":"/old.mbox","announced":true})-"),
            std::string::npos)
      << Output();
  run_.open_answers.AddNext(u"/left");
  EXPECT_EQ(run_.UnusedAnnouncements(), (std::vector<std::u16string>{u"\\a.txt", u"/left"}));
}

TEST_F(ObserverTest, AnUnannouncedOpenDialogStopsTheRun) {
  run_.save_answers.AddNext(u"\\a.txt");
  EXPECT_EQ(display_.OpenFile(0, {u"Import file"}), std::nullopt);
  EXPECT_EQ(run_.status(), kStatusFailed);
  EXPECT_NE(Output().find(R"("reason":"unannounced-open-dialog","text":"Import file")"),
            std::string::npos);
}

TEST_F(ObserverTest, AnUnannouncedMenuStopsTheRun) {
  EXPECT_EQ(display_.ShowPopUp(0, {{7, u"Delete"}}), 0U);
  EXPECT_EQ(run_.status(), kStatusFailed);
  EXPECT_NE(Output().find(R"("reason":"unannounced-menu")"), std::string::npos);
}

TEST_F(ObserverTest, AnEntryThatTheMenuDoesNotHaveStopsTheRun) {
  run_.menu_answers.AddNext(u"Copy");
  EXPECT_EQ(display_.ShowPopUp(0, {{7, u"Delete"}}), 0U);
  EXPECT_EQ(run_.status(), kStatusFailed);
  EXPECT_NE(Output().find(R"("reason":"no-such-entry","text":"Copy")"), std::string::npos);
}

TEST_F(ObserverTest, AnUnannouncedSaveDialogStopsTheRun) {
  EXPECT_EQ(display_.SaveFile(0, {}), std::nullopt);
  EXPECT_EQ(run_.status(), kStatusFailed);
  EXPECT_NE(Output().find(R"("reason":"unannounced-save-dialog")"), std::string::npos);
}

TEST_F(ObserverTest, DropDownListsTellTheirChoices) {
  const port::WindowHandle dialog =
      display_.Create(kDialogKillfileEntry, 0, port::DialogKind::kModal);
  display_.Write(dialog, kControlAuthorRule, port::Choices{{u"kill", u"require"}});
  display_.Write(dialog, kControlAuthorRule, port::Choice{1});
  SelectText(display_, dialog, kControlAuthorText);
  display_.Show(dialog);
  const std::string output = Output();
  EXPECT_NE(output.find(R"({"id":1010,"kind":"choice",)"), std::string::npos) << output;
  EXPECT_NE(output.find(R"("choices":["kill","require"],"choice":1})"), std::string::npos);
  EXPECT_NE(output.find(R"("text_selected":true})"), std::string::npos);
}

TEST_F(ObserverTest, ProgressTextsAreToldOnce) {
  RunUnderDialog([] {});
  ScriptContext context{run_, observer_, {}};
  const Words ask{u"progress"};
  CarryOut(context, ask);
  EXPECT_NE(Output().find(R"("texts":[{"control":1020,"text":"Working"}])"), std::string::npos)
      << Output();
  const std::size_t told = Output().size();
  CarryOut(context, ask);
  EXPECT_NE(Output().substr(told).find(R"("texts":[])"), std::string::npos) << Output();
}

TEST_F(ObserverTest, TheFirstFailureDecidesTheStatus) {
  run_.Fail({kStatusTimeout, "timeout", u""}, 1);
  run_.Fail({kStatusFailed, "refused", u""}, 2);
  EXPECT_EQ(run_.status(), kStatusTimeout);
  EXPECT_THROW(run_.Sleep(std::chrono::milliseconds(0)), ScriptStopped);
}

TEST_F(ObserverTest, WaitsEndWithWhatTheyWaitedFor) {
  try {
    run_.WaitFor("a miracle", [] { return false; });
    FAIL() << "no failure";
  } catch (const ScriptFailure& failure) {
    EXPECT_EQ(failure.status, kStatusTimeout);
    EXPECT_EQ(failure.text, u"waited 500 ms for a miracle");
  }
}

}  // namespace
}  // namespace quillet
