#include "qt/file_dialogs.h"

#include <QDir>
#include <QLineEdit>
#include <QTemporaryDir>
#include <fstream>

#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using Path = std::optional<std::u16string>;

class FileDialogTest : public DisplayTest {
 protected:
  const port::SaveFileTraits kTraits{u"Save article as", u"Re__a_b.txt", u"Text (*.txt)", u"*.txt",
                                     u"txt"};

  // Asks from a thread of its own and waits for the dialog.
  std::future<Path> AskLater(port::WindowHandle owner = 0) {
    auto path = std::async(std::launch::async, [this, owner] {
      return device->file_dialogs().SaveFile(owner, kTraits);
    });
    EXPECT_TRUE(WaitOnDisplay([&] {
      const QFileDialog* dialog = device->file_dialogs().OpenDialog();
      return dialog != nullptr && dialog->isVisible();
    }));
    return path;
  }
  QFileDialog& Dialog() { return *device->file_dialogs().OpenDialog(); }
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

}  // namespace
}  // namespace quillet::qt
