// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/file_dialogs.h"

#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <filesystem>
#include <fstream>

#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using Path = std::optional<std::u16string>;

class FileDialogTest : public DisplayTest {
 protected:
  const port::SaveFileTraits kTraits{u"Save article as", u"Re__a_b.txt", u"Text (*.txt)", u"*.txt",
                                     u"txt"};

  const port::OpenFileTraits kOpenTraits{u"Import file", u"All files (*.*)", u"*.*", u"*"};

  // Asks from a thread of its own and waits for the dialog.
  std::future<Path> AskLater(port::WindowHandle owner = 0) { return AskWith(kTraits, owner); }
  std::future<Path> AskWith(const port::SaveFileTraits& traits, port::WindowHandle owner = 0) {
    return Shown(std::async(std::launch::async, [this, traits, owner] {
      return device->file_dialogs().SaveFile(owner, traits);
    }));
  }
  std::future<Path> AskForFileToOpen(port::WindowHandle owner = 0) {
    return Shown(std::async(std::launch::async, [this, owner] {
      return device->file_dialogs().OpenFile(owner, kOpenTraits);
    }));
  }
  std::future<Path> Shown(std::future<Path> path) {
    EXPECT_TRUE(WaitOnDisplay([&] {
      const QFileDialog* dialog = device->file_dialogs().OpenDialog();
      return dialog != nullptr && dialog->isVisible();
    }));
    return path;
  }
  QFileDialog& Dialog() { return *device->file_dialogs().OpenDialog(); }
  // Types the name and presses the dialog's button.
  void Save(const QString& name) {
    OnDisplay([&] {
      Dialog().findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(name);
      QMetaObject::invokeMethod(&Dialog(), "accept");
    });
  }
  bool WaitClosed() {
    return WaitOnDisplay([&] { return device->file_dialogs().OpenDialog() == nullptr; });
  }
  QString InFolder(const char* name) { return folder.filePath(QLatin1String(name)); }

  // The box that says why a choice was refused; closes it.
  QString TakeRefusal() {
    QString text;
    OnDisplay([&] {
      auto* box = Dialog().findChild<QMessageBox*>();
      if (box == nullptr) return;
      text = box->text();
      box->accept();
      EXPECT_TRUE(Dialog().isVisible());
    });
    return text;
  }

  QTemporaryDir folder;
};

TEST_F(FileDialogTest, ShowsWhatIsAsked) {
  auto path = AskLater();
  OnDisplay([&] {
    EXPECT_EQ(Dialog().windowTitle(), QStringLiteral("Save article as"));
    EXPECT_EQ(Dialog().accessibleName(), QStringLiteral("Save article as"));
    EXPECT_EQ(Dialog().acceptMode(), QFileDialog::AcceptSave);
    EXPECT_EQ(Dialog().fileMode(), QFileDialog::AnyFile);
    EXPECT_EQ(Dialog().nameFilters(), QStringList{QStringLiteral("Text (*.txt)")});
    EXPECT_EQ(Dialog().defaultSuffix(), QStringLiteral("txt"));
    EXPECT_TRUE(Dialog().testOption(QFileDialog::DontConfirmOverwrite));
    EXPECT_TRUE(Dialog().selectedFiles().front().endsWith(QStringLiteral("/Re__a_b.txt")));
    Dialog().reject();
  });
  EXPECT_EQ(path.get(), Path());
}

TEST_F(FileDialogTest, ReturnsTheWholePath) {
  auto path = AskLater();
  Save(InFolder("new.txt"));
  EXPECT_EQ(path.get(), Path(InFolder("new.txt").toStdU16String()));
}

TEST_F(FileDialogTest, AddsTheExtensionToANameWithoutOne) {
  auto path = AskLater();
  Save(InFolder("plain"));
  EXPECT_EQ(path.get(), Path(InFolder("plain.txt").toStdU16String()));
  path = AskLater();
  Save(InFolder("other.eml"));
  EXPECT_EQ(path.get(), Path(InFolder("other.eml").toStdU16String()));
}

TEST_F(FileDialogTest, AFileOfAnyKindKeepsItsNameAndIsAmongAllOthers) {
  const port::SaveFileTraits traits{u"Save attachment as", u"\u5199\u771F.jpg", u"All files (*.*)",
                                    u"*.*", u""};
  auto path = AskWith(traits);
  OnDisplay([&] {
    EXPECT_TRUE(Dialog().selectedFiles().front().endsWith(QStringLiteral("/\u5199\u771F.jpg")));
    EXPECT_EQ(Dialog().defaultSuffix(), QString());
    // Of names without a dot as well.
    EXPECT_EQ(Dialog().nameFilters(), QStringList{QStringLiteral("All files (*.*) (*)")});
    EXPECT_TRUE(Dialog().testOption(QFileDialog::HideNameFilterDetails));
  });
  Save(InFolder("README"));
  EXPECT_EQ(path.get(), Path(InFolder("README").toStdU16String()));
}

TEST_F(FileDialogTest, DoesNotAskAboutAFileThatIsThere) {
  std::ofstream(InFolder("there.txt").toStdString()) << "old";
  auto path = AskLater();
  Save(InFolder("there.txt"));
  EXPECT_EQ(path.get(), Path(InFolder("there.txt").toStdU16String()));
}

TEST_F(FileDialogTest, StartsInTheFolderUsedLast) {
  auto path = AskLater();
  Save(InFolder("one.txt"));
  path.get();
  ASSERT_TRUE(WaitClosed());
  path = AskLater();
  OnDisplay([&] {
    EXPECT_EQ(Dialog().directory().canonicalPath(), QDir(folder.path()).canonicalPath());
    Dialog().reject();
  });
  EXPECT_EQ(path.get(), Path());
}

TEST_F(FileDialogTest, CancellingReturnsNothing) {
  auto path = AskLater();
  OnDisplay([&] { Dialog().close(); });
  EXPECT_EQ(path.get(), Path());
}

TEST_F(FileDialogTest, TakesTheInputOfItsOwnerAndHoldsUpNothingElse) {
  const port::WindowHandle main = ShowWindow();
  auto path = AskLater(main);
  OnDisplay([&] {
    EXPECT_EQ(Dialog().windowModality(), Qt::WindowModal);
    EXPECT_EQ(Dialog().parentWidget(), &Main());
  });
  device->windows().SetStatusText(u"still served");  // returns while the dialog is open
  EXPECT_EQ(path.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  OnDisplay([&] { Dialog().reject(); });
  path.get();
}

TEST_F(FileDialogTest, EndsWithItsOwner) {
  const port::WindowHandle main = ShowWindow();
  auto path = AskLater(main);
  device->windows().DestroyMainWindow();
  EXPECT_EQ(path.get(), Path());
}

TEST_F(FileDialogTest, EndOfSessionCancelsItAndEveryLaterOne) {
  auto path = AskLater();
  device->AnswerAll();
  EXPECT_EQ(path.get(), Path());
  EXPECT_EQ(device->file_dialogs().SaveFile(0, kTraits), Path());
}

TEST_F(FileDialogTest, EndOfTheDisplayEndsIt) {
  auto path = AskLater();
  OnDisplay([&] { device->jobs().Close(); });
  EXPECT_EQ(path.get(), Path());
  EXPECT_EQ(device->file_dialogs().SaveFile(0, kTraits), Path());
}

TEST_F(FileDialogTest, FitsTheScreen) {
  auto path = AskLater();
  OnDisplay([&] {
    const QSize screen = Dialog().screen()->availableSize();
    EXPECT_LE(Dialog().width(), screen.width());
    EXPECT_LE(Dialog().height(), screen.height());
    Dialog().reject();
  });
  path.get();
}

// A phone's screen; skips what was made for the other one.
class SmallScreenFiles : public FileDialogTest {
 protected:
  void SetUp() override {
    bool small = false;
    OnDisplay([&] { small = FillsScreen(nullptr); });
    if (!small) GTEST_SKIP() << "the screen is a desktop's";
  }
  // Every control that is shown is inside and as large as its content asks.
  void ExpectWhole() {
    EXPECT_EQ(Dialog().size(), QSize(240, 320));
    for (const QWidget* control : Dialog().findChildren<QWidget*>()) {
      if (!control->isVisible() || control->isWindow()) continue;
      const QRect place(control->mapTo(&Dialog(), QPoint(0, 0)), control->size());
      const std::string name = control->objectName().toStdString();
      EXPECT_TRUE(Dialog().rect().contains(place) || control->parentWidget() != &Dialog()) << name;
      const auto* button = qobject_cast<const QPushButton*>(control);
      if (button == nullptr) continue;
      EXPECT_TRUE(Dialog().rect().contains(place)) << name;
      EXPECT_GE(button->width(),
                button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width() + 4)
          << name;
    }
    const auto* name = Dialog().findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    EXPECT_GE(name->width(), 120) << "room for a name";
  }
};

TEST_F(SmallScreenFiles, NothingOfTheDialogsIsClipped) {
  QFont before;
  OnDisplay([&] { before = QApplication::font(); });
  for (const double factor : {1.0, 1.3}) {
    OnDisplay([&] {
      QFont font = before;
      font.setPointSizeF(before.pointSizeF() * factor);
      QApplication::setFont(font);
    });
    for (const bool saves : {true, false}) {
      auto path = saves ? AskLater() : AskForFileToOpen();
      OnDisplay([&] {
        QCoreApplication::processEvents();
        ExpectWhole();
        Dialog().reject();
      });
      path.get();
    }
  }
  OnDisplay([&] { QApplication::setFont(before); });
}

// --- a file to open ------------------------------------------------------------------------------

TEST_F(FileDialogTest, AFileToOpenIsAskedForAsStated) {
  auto path = AskForFileToOpen();
  OnDisplay([&] {
    EXPECT_EQ(Dialog().windowTitle(), QStringLiteral("Import file"));
    EXPECT_EQ(Dialog().accessibleName(), QStringLiteral("Import file"));
    EXPECT_EQ(Dialog().acceptMode(), QFileDialog::AcceptOpen);
    EXPECT_EQ(Dialog().findChild<QComboBox*>(QStringLiteral("fileTypeCombo"))->currentText(),
              QStringLiteral("All files (*.*)"));
    EXPECT_EQ(Dialog().defaultSuffix(), QString());
    EXPECT_LE(Dialog().width(), Dialog().screen()->availableSize().width());
    Dialog().reject();
  });
  EXPECT_EQ(path.get(), Path());
}

TEST_F(FileDialogTest, AFileWithoutADotInItsNameCanBeOpened) {
  std::ofstream(InFolder("archive").toStdString()) << "From ";
  auto path = AskForFileToOpen();
  Save(InFolder("archive"));
  EXPECT_EQ(path.get(), Path(InFolder("archive").toStdU16String()));
}

TEST_F(FileDialogTest, AFileThatIsNotThereIsRefusedAndAskedForAgain) {
  auto path = AskForFileToOpen();
  Save(InFolder("none"));
  EXPECT_EQ(TakeRefusal(), QStringLiteral("There is no file of that name."));
  std::ofstream(InFolder("none").toStdString()) << "From ";
  Save(InFolder("none"));
  EXPECT_EQ(path.get(), Path(InFolder("none").toStdU16String()));
}

TEST_F(FileDialogTest, APathOfMoreThan259CharactersIsRefused) {
  const QString below = InFolder("d");
  const QString deep = below + QLatin1Char('/') + QString(200, QLatin1Char('x'));
  ASSERT_TRUE(std::filesystem::create_directories(deep.toStdString()));
  const auto of_length = [&](qsizetype length) {
    const QString file =
        deep + QLatin1Char('/') + QString(length - deep.size() - 1, QLatin1Char('y'));
    std::ofstream(file.toStdString()) << "From ";
    return file;
  };
  auto path = AskForFileToOpen();
  Save(of_length(260));
  EXPECT_EQ(TakeRefusal(), QStringLiteral("The path of that file has more than 259 characters."));
  OnDisplay([&] { Dialog().reject(); });
  EXPECT_EQ(path.get(), Path());
  ASSERT_TRUE(WaitClosed());
  path = AskForFileToOpen();
  Save(of_length(259));
  EXPECT_EQ(path.get(), Path(of_length(259).toStdU16String()));
}

TEST_F(FileDialogTest, AFolderIsEnteredAndNotOpened) {
  std::filesystem::create_directories(InFolder("below").toStdString());
  auto path = AskForFileToOpen();
  Save(InFolder("below"));
  OnDisplay([&] {
    EXPECT_TRUE(Dialog().isVisible());
    EXPECT_EQ(Dialog().directory().dirName(), QStringLiteral("below"));
    Dialog().reject();
  });
  EXPECT_EQ(path.get(), Path());
}

TEST_F(FileDialogTest, ARefusalGoesWithItsDialog) {
  auto path = AskForFileToOpen();
  Save(InFolder("none"));
  device->AnswerAll();
  EXPECT_EQ(path.get(), Path());
  EXPECT_EQ(device->file_dialogs().OpenFile(0, kOpenTraits), Path());
}

}  // namespace
}  // namespace quillet::qt
