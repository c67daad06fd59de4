// SPDX-License-Identifier: GPL-3.0-or-later
// The article's panes, the save dialog, drop-down lists and selected texts: the same cases on the
// toolkit's display and on the one without pixels.
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QToolButton>
#include <future>

#include "port/fake/fake_platform.h"
#include "qt/forms.h"
#include "qt/text.h"
#include "tests/qt/display_fixture.h"
#include "tests/support/select_text.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::WindowHandle;
using Path = std::optional<std::u16string>;

// A display with somebody in front of it who reads an article.
class Reader {
 public:
  virtual ~Reader() = default;
  virtual port::ThreadQueues& Queues() = 0;
  virtual port::Windows& Windows() = 0;
  virtual port::Dialogs& Dialogs() = 0;
  virtual port::ArticlePanes& Article() = 0;

  virtual void TapHeader() = 0;
  virtual void PressButton(std::uint32_t command) = 0;
  virtual void OpenLink(std::u16string target) = 0;
  virtual void ChooseItem(WindowHandle dialog, std::uint32_t control, int index) = 0;
  // The text with the focus and its selected part.
  virtual bool IsSelected(WindowHandle dialog, std::uint32_t control) = 0;
  virtual bool TextHasFocus() = 0;
  // The program asks for a file to save, and the user answers.
  virtual Path AskForFile(const port::SaveFileTraits& traits, const Path& answer) = 0;
  // The same for a file to open.
  virtual Path AskForFile(const port::OpenFileTraits& traits, const Path& answer) = 0;
};

class FakeReader final : public Reader {
 public:
  port::ThreadQueues& Queues() override { return fake_.queues; }
  port::Windows& Windows() override { return fake_.display; }
  port::Dialogs& Dialogs() override { return fake_.display; }
  port::ArticlePanes& Article() override { return fake_.display; }
  void TapHeader() override { EXPECT_TRUE(fake_.display.TapHeader()); }
  void PressButton(std::uint32_t command) override {
    EXPECT_TRUE(fake_.display.PressToolbar(command));
  }
  void OpenLink(std::u16string target) override { EXPECT_TRUE(fake_.display.ActivateLink(target)); }
  void ChooseItem(WindowHandle dialog, std::uint32_t control, int index) override {
    EXPECT_TRUE(fake_.display.Choose(dialog, control, index));
  }
  bool IsSelected(WindowHandle dialog, std::uint32_t control) override {
    for (const port::ShownDialog& shown : fake_.display.dialogs()) {
      if (shown.handle != dialog) continue;
      for (const port::ShownControl& one : shown.controls) {
        if (one.id == control) return one.text_selected();
      }
    }
    return false;
  }
  bool TextHasFocus() override { return fake_.display.article().focused; }
  Path AskForFile(const port::SaveFileTraits& traits, const Path& answer) override {
    fake_.display.ExpectSaveFile(answer);
    return fake_.display.SaveFile(0, traits);
  }
  Path AskForFile(const port::OpenFileTraits& traits, const Path& answer) override {
    fake_.display.ExpectOpenFile(answer);
    return fake_.display.OpenFile(0, traits);
  }

 private:
  port::FakePlatform fake_;
};

class QtReader final : public Reader {
 public:
  QtReader() {
    gDisplayThread->Call([this] { device_ = std::make_unique<QtDevice>(queues_); });
  }
  ~QtReader() override {
    gDisplayThread->Call([this] { device_.reset(); });
  }
  port::ThreadQueues& Queues() override { return queues_; }
  port::Windows& Windows() override { return device_->windows(); }
  port::Dialogs& Dialogs() override { return device_->dialogs(); }
  port::ArticlePanes& Article() override { return device_->article(); }
  void TapHeader() override {
    OnDisplay([&] { Pane().Header()->click(); });
  }
  void PressButton(std::uint32_t command) override {
    OnDisplay([&] {
      for (QToolButton* button : Main().Toolbar()->findChildren<QToolButton*>()) {
        if (button->property("commandId").toUInt() == command) return button->click();
      }
      ADD_FAILURE() << "no such button: " << command;
    });
  }
  void OpenLink(std::u16string target) override {
    OnDisplay([&] {
      Viewer& text = *Pane().Text();
      QTextCursor place(text.document());
      while (place.charFormat().anchorHref() != ToQt(target) && !place.atEnd()) {
        place.movePosition(QTextCursor::NextCharacter);
      }
      QTest::mouseClick(text.viewport(), Qt::LeftButton, Qt::NoModifier,
                        text.cursorRect(place).center() + QPoint(2, 0));
    });
  }
  void ChooseItem(WindowHandle dialog, std::uint32_t control, int index) override {
    OnDisplay([&] {
      auto* list = qobject_cast<QComboBox*>(Control(dialog, control));
      list->setFocus();
      QTest::keyClick(list, Qt::Key_Home);
      for (int i = 0; i < index; ++i) QTest::keyClick(list, Qt::Key_Down);
    });
  }
  bool IsSelected(WindowHandle dialog, std::uint32_t control) override {
    bool selected = false;
    OnDisplay([&] {
      const auto* edit = qobject_cast<QLineEdit*>(Control(dialog, control));
      EXPECT_TRUE(QTest::qWaitForWindowActive(device_->display().WidgetOf(dialog)));
      selected = edit->hasFocus() && edit->selectedText() == edit->text();
    });
    return selected;
  }
  bool TextHasFocus() override {
    bool focused = false;
    OnDisplay([&] { focused = Main().focusWidget() == Pane().Text(); });
    return focused;
  }
  Path AskForFile(const port::SaveFileTraits& traits, const Path& answer) override {
    return Answered(
        std::async(std::launch::async, [&] { return device_->file_dialogs().SaveFile(0, traits); }),
        answer);
  }
  Path AskForFile(const port::OpenFileTraits& traits, const Path& answer) override {
    return Answered(
        std::async(std::launch::async, [&] { return device_->file_dialogs().OpenFile(0, traits); }),
        answer);
  }

 private:
  Path Answered(std::future<Path> path, const Path& answer) {
    while (path.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
      OnDisplay([&] { AnswerFileDialog(answer); });
    }
    return path.get();
  }
  void AnswerFileDialog(const Path& answer) {
    QFileDialog* dialog = device_->file_dialogs().OpenDialog();
    if (dialog == nullptr || !dialog->isVisible()) return;
    if (!answer) return dialog->reject();
    dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(ToQt(*answer));
    QMetaObject::invokeMethod(dialog, "accept");
  }
  void OnDisplay(const std::function<void()>& action) { device_->jobs().Call(action); }
  MainWindow& Main() { return *device_->display().main; }
  ArticlePane& Pane() { return *Main().Article(); }
  QWidget* Control(WindowHandle dialog, std::uint32_t control) {
    return ControlOf(*device_->display().WidgetOf(dialog), control);
  }

  port::LinuxClock clock_;
  port::ThreadQueues queues_{clock_};
  std::unique_ptr<QtDevice> device_;
};

enum class Kind { kFake, kQt };

class ArticleContract : public ::testing::TestWithParam<Kind> {
 protected:
  ArticleContract() {
    if (GetParam() == Kind::kFake) {
      reader = std::make_unique<FakeReader>();
    } else {
      reader = std::make_unique<QtReader>();
    }
  }

  WindowHandle ShowArticleTab() {
    const WindowHandle main =
        reader->Windows().CreateMainWindow({u"Quillet CE", u"Quillet CE 1.14r3", 103, {600, 400}});
    reader->Windows().ShowMainWindow();
    reader->Windows().CreateTabs(port::TabPlacement::kBottom);
    reader->Windows().SelectTab(2);
    reader->Windows().LayOut({600, 400}, {600, 374});
    reader->Article().CreatePanes(u"Tahoma", 10);
    TakeMessages(reader->Queues());
    return main;
  }
  void ExpectOnly(const port::Message& expected) {
    std::vector<port::Message> messages = TakeMessages(reader->Queues());
    std::erase_if(messages, [](const port::Message& message) {
      return message.kind == MessageKind::kSize || message.kind == MessageKind::kKeyDown ||
             message.kind == MessageKind::kKeyUp;
    });
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].window, expected.window);
    EXPECT_EQ(messages[0].kind, expected.kind);
    EXPECT_EQ(messages[0].id, expected.id);
    EXPECT_EQ(messages[0].text, expected.text);
  }

  std::unique_ptr<Reader> reader;
};

TEST_P(ArticleContract, PanesStandAfterTheyWereCreated) {
  EXPECT_FALSE(reader->Article().PanesCreated());
  reader->Article().CreatePanes(u"Tahoma", 10);  // there is no window
  EXPECT_FALSE(reader->Article().PanesCreated());
  ShowArticleTab();
  EXPECT_TRUE(reader->Article().PanesCreated());
  reader->Windows().CreateTabs(port::TabPlacement::kRight);
  EXPECT_FALSE(reader->Article().PanesCreated());
  reader->Windows().DestroyMainWindow();
  EXPECT_FALSE(reader->Article().PanesCreated());
}

TEST_P(ArticleContract, TappedHeaderIsTold) {
  const WindowHandle main = ShowArticleTab();
  reader->TapHeader();
  ExpectOnly({main, MessageKind::kHeaderTapped, 0, 0, {}});
}

TEST_P(ArticleContract, LinkIsToldWithItsTarget) {
  const WindowHandle main = ShowArticleTab();
  for (const std::u16string target : {u"http://a.b/?c=%20&d&amp;e", u"attachment:12"}) {
    reader->Article().ClearViewer();
    reader->Article().AddToViewer(u"<FONT SIZE=\"2\">see <a href=\"" + target + u"\">it</a></FONT>",
                                  false);
    reader->Article().EndOfSource();
    reader->OpenLink(target);
    ExpectOnly({main, MessageKind::kLink, 0, 0, target});
  }
}

TEST_P(ArticleContract, ButtonIsItsCommand) {
  EXPECT_FALSE(reader->Article().CreateToolbar({{40048, 4, u"Find"}}));
  const WindowHandle main = ShowArticleTab();
  EXPECT_TRUE(reader->Article().CreateToolbar(
      {{40019, 2, u"Next Article"}, {0, 0, u""}, {40048, 4, u"Find"}}));
  reader->PressButton(40048);
  ExpectOnly({main, MessageKind::kCommand, 40048, 0, {}});
}

TEST_P(ArticleContract, FocusComesToTheText) {
  ShowArticleTab();
  reader->Article().FocusViewer();
  EXPECT_TRUE(reader->TextHasFocus());
}

TEST_P(ArticleContract, ChosenItemIsToldAndASetOneIsNot) {
  const WindowHandle dialog = reader->Dialogs().Create(125, 0, port::DialogKind::kModal);
  reader->Dialogs().Show(dialog);
  EXPECT_EQ(reader->Dialogs().Read(dialog, 1010).choice, -1);
  reader->Dialogs().Write(dialog, 1010, port::Choices{{u"one", u"two", u"three"}});
  EXPECT_EQ(reader->Dialogs().Read(dialog, 1010).choice, 0);
  reader->Dialogs().Write(dialog, 1010, port::Choice{2});
  EXPECT_EQ(reader->Dialogs().Read(dialog, 1010).choice, 2);
  EXPECT_TRUE(TakeMessages(reader->Queues()).empty());
  reader->ChooseItem(dialog, 1010, 1);
  EXPECT_EQ(reader->Dialogs().Read(dialog, 1010).choice, 1);
  const Details commands = OfKind(TakeMessages(reader->Queues()), MessageKind::kCommand);
  ASSERT_FALSE(commands.empty());
  EXPECT_EQ(commands.back(), (std::pair<std::uint32_t, std::uint32_t>{1010, 0}));
  reader->Dialogs().Write(dialog, 1010, port::Choices{{}});
  EXPECT_EQ(reader->Dialogs().Read(dialog, 1010).choice, -1);
}

TEST_P(ArticleContract, ChoiceOfWhatIsNotThereIsNone) {
  const WindowHandle dialog = reader->Dialogs().Create(125, 0, port::DialogKind::kModal);
  reader->Dialogs().Write(dialog, 4711, port::Choices{{u"one"}});
  EXPECT_EQ(reader->Dialogs().Read(dialog, 4711).choice, -1);
  reader->Dialogs().Destroy(dialog);
  EXPECT_EQ(reader->Dialogs().Read(dialog, 1010).choice, -1);
}

TEST_P(ArticleContract, TextIsSelectedBeforeAndAfterTheDialogIsShown) {
  const WindowHandle dialog = reader->Dialogs().Create(123, 0, port::DialogKind::kModal);
  reader->Dialogs().Write(dialog, 1005, port::Text{u"needle"});
  SelectText(reader->Dialogs(), dialog, 1005);
  reader->Dialogs().Show(dialog);
  EXPECT_TRUE(reader->IsSelected(dialog, 1005));
  const WindowHandle other = reader->Dialogs().Create(125, 0, port::DialogKind::kModal);
  reader->Dialogs().Show(other);
  reader->Dialogs().Write(other, 1013, port::Text{u"subject"});
  SelectText(reader->Dialogs(), other, 1013);
  EXPECT_TRUE(reader->Dialogs().Read(other, 1013).focused);
  EXPECT_TRUE(reader->IsSelected(other, 1013));
}

TEST_P(ArticleContract, SaveDialogGivesThePathOrNothing) {
  const port::SaveFileTraits traits{u"Save article as", u"x.txt", u"Text (*.txt)", u"*.txt",
                                    u"txt"};
  EXPECT_EQ(reader->AskForFile(traits, u"/no-such-place.txt"), Path(u"/no-such-place.txt"));
  EXPECT_EQ(reader->AskForFile(traits, std::nullopt), Path());
}

TEST_P(ArticleContract, OpenDialogGivesThePathOrNothing) {
  QTemporaryDir folder;
  const std::u16string path = FromQt(folder.filePath(QStringLiteral("old.mbox")));
  ASSERT_TRUE(QFile(ToQt(path)).open(QIODevice::WriteOnly));
  const port::OpenFileTraits traits{u"Import file", u"All files (*.*)", u"*.*", u"*"};
  EXPECT_EQ(reader->AskForFile(traits, path), Path(path));
  EXPECT_EQ(reader->AskForFile(traits, std::nullopt), Path());
}

INSTANTIATE_TEST_SUITE_P(Displays, ArticleContract, ::testing::Values(Kind::kFake, Kind::kQt),
                         [](const auto& which) {
                           return which.param == Kind::kFake ? "InMemory" : "Toolkit";
                         });

}  // namespace
}  // namespace quillet::qt
