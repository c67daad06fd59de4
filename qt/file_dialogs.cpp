// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog opens without a nested event loop, and the program's thread waits for its answer as a
// Completion. Every way in which it can go away answers exactly once: a choice, Cancel, the end of
// the session, its owner's destruction. What came of it is shared with the caller, who may have
// stopped waiting.
#include "qt/file_dialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QLayout>
#include <QMessageBox>
#include <QPointer>
#include <QShowEvent>
#include <QStandardPaths>
#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "qt/fit_screen.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

class FileDialogService final : public QtFileDialogs {
 public:
  explicit FileDialogService(Display& display) : display_(display) {}

  // Both start in the folder that was used last in this run, at first in the user's documents.
  std::optional<std::u16string> SaveFile(port::WindowHandle owner,
                                         const port::SaveFileTraits& traits) override;
  std::optional<std::u16string> OpenFile(port::WindowHandle owner,
                                         const port::OpenFileTraits& traits) override;

  void AnswerAll() override;
  QFileDialog* OpenDialog() const override { return open_; }

 private:
  using NewDialog = std::function<QFileDialog*(QWidget* owner, const QString& folder)>;

  std::optional<std::u16string> Ask(port::WindowHandle owner, const NewDialog& new_dialog);
  void Open(port::WindowHandle owner, const NewDialog& new_dialog,
            const std::function<void(const QString& path)>& answered);

  Display& display_;
  std::atomic<bool> answer_all_ = false;
  // Display thread.
  QPointer<QFileDialog> open_;
  QString last_folder_;
};

QString FirstFolder() {
  const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  return QFileInfo(documents).isDir() ? documents : QDir::homePath();
}

template <class Traits>
QString NameFilter(const Traits& traits) {
  const QString text = ToQt(traits.filter_text);
  const QString pattern = QStringLiteral("(%1)").arg(ToQt(traits.filter_pattern));
  return text.endsWith(pattern) ? text : text + QLatin1Char(' ') + pattern;
}

// Here "*.*" would hide the names without a dot; the pattern that is used instead is not shown.
template <class Traits>
Traits WithEveryName(Traits traits) {
  if (traits.filter_pattern == u"*.*") traits.filter_pattern = u"*";
  return traits;
}

// Desktops make their own dialogs for screens at least as wide as this.
constexpr int kLeastDesktopWidth = 360;

// Before anything else is asked of the dialog.
void ChooseKind(QFileDialog& dialog, const QWidget* owner) {
  const int width = RoomForDialog(owner).width();
  if (width > 0 && width < kLeastDesktopWidth) {
    dialog.setOption(QFileDialog::DontUseNativeDialog);
  }
}

// Small screens have no room for the list of places, for the one type of file and for what only
// changes the view. The desktop's own dialog has no such parts here. `room`: what the frame of a
// window leaves of the screen.
void FitToScreen(QFileDialog& dialog, QSize room) {
  if (room.isEmpty()) return;
  dialog.setMaximumSize(room);
  if (dialog.sizeHint().width() <= room.width()) return;
  dialog.setViewMode(QFileDialog::List);
  for (const char* name : {"sidebar", "lookInLabel", "forwardButton", "listModeButton",
                           "detailModeButton", "fileNameLabel", "fileTypeLabel", "fileTypeCombo"}) {
    if (auto* widget = dialog.findChild<QWidget*>(QLatin1String(name))) widget->hide();
  }
  if (auto* edit = dialog.findChild<QWidget*>(QStringLiteral("fileNameEdit"))) {
    edit->setAccessibleName(QStringLiteral("File name"));
  }
  if (QLayout* layout = dialog.layout()) {
    constexpr int kMargin = 4;
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->activate();
  }
  dialog.resize(room);
}

QString ChosenPath(const QFileDialog& dialog) {
  const QStringList files = dialog.selectedFiles();
  if (files.isEmpty()) return {};
  return QDir::toNativeSeparators(QFileInfo(files.front()).absoluteFilePath());
}

// Over its owner.
class FileDialog : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;

 protected:
  void showEvent(QShowEvent* event) override {
    QFileDialog::showEvent(event);
    if (!event->spontaneous()) PlaceOver(*this, parentWidget());
  }
};

// What was chosen must be there, and its path short enough. The toolkit's own check waits in an
// event loop of its own.
class OpenFileDialog final : public FileDialog {
 public:
  using FileDialog::FileDialog;

  void accept() override {
    const QString path = ChosenPath(*this);
    if (!path.isEmpty() && !QFileInfo::exists(path)) {
      return Refuse(QStringLiteral("There is no file of that name."));
    }
    if (path.size() > static_cast<qsizetype>(port::kLongestOpenPath) && !QFileInfo(path).isDir()) {
      return Refuse(QStringLiteral("The path of that file has more than %1 characters.")
                        .arg(port::kLongestOpenPath));
    }
    QFileDialog::accept();
  }

 private:
  void Refuse(const QString& why) {
    auto* box = new QMessageBox(QMessageBox::Warning, windowTitle(), why, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    // The desktop's own dialog has closed itself by now.
    connect(box, &QDialog::finished, this, [this] {
      if (!testAttribute(Qt::WA_DontShowOnScreen)) return;
      hide();
      show();
    });
    box->open();
  }
};

void Prepare(QFileDialog& dialog, const QWidget* owner) {
  dialog.setAccessibleName(dialog.windowTitle());
  dialog.setWindowModality(owner != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
  FitToScreen(dialog, RoomForDialog(owner));
}

QFileDialog* NewSaveDialog(QWidget* owner, const port::SaveFileTraits& traits,
                           const QString& folder) {
  auto* dialog = new FileDialog(owner, ToQt(traits.title), folder);
  ChooseKind(*dialog, owner);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setFileMode(QFileDialog::AnyFile);
  // The program creates the file new and says itself when there is one already.
  dialog->setOption(QFileDialog::DontConfirmOverwrite);
  dialog->setNameFilter(NameFilter(WithEveryName(traits)));
  if (traits.filter_pattern == u"*.*") dialog->setOption(QFileDialog::HideNameFilterDetails);
  dialog->setDefaultSuffix(ToQt(traits.default_extension));
  dialog->selectFile(ToQt(traits.default_name));
  Prepare(*dialog, owner);
  return dialog;
}

QFileDialog* NewOpenDialog(QWidget* owner, const port::OpenFileTraits& traits,
                           const QString& folder) {
  auto* dialog = new OpenFileDialog(owner, ToQt(traits.title), folder);
  ChooseKind(*dialog, owner);
  dialog->setAcceptMode(QFileDialog::AcceptOpen);
  dialog->setFileMode(QFileDialog::AnyFile);
  dialog->setOption(QFileDialog::HideNameFilterDetails);
  dialog->setNameFilter(NameFilter(WithEveryName(traits)));
  if (traits.default_extension != u"*") dialog->setDefaultSuffix(ToQt(traits.default_extension));
  Prepare(*dialog, owner);
  return dialog;
}

std::optional<std::u16string> FileDialogService::SaveFile(port::WindowHandle owner,
                                                          const port::SaveFileTraits& traits) {
  return Ask(owner, [traits](QWidget* over, const QString& folder) {
    return NewSaveDialog(over, traits, folder);
  });
}

std::optional<std::u16string> FileDialogService::OpenFile(port::WindowHandle owner,
                                                          const port::OpenFileTraits& traits) {
  return Ask(owner, [traits](QWidget* over, const QString& folder) {
    return NewOpenDialog(over, traits, folder);
  });
}

std::optional<std::u16string> FileDialogService::Ask(port::WindowHandle owner,
                                                     const NewDialog& new_dialog) {
  const auto path = std::make_shared<QString>();
  const bool answered =
      display_.jobs.CallUntilFinished([&](const std::shared_ptr<Completion>& completion) {
        if (answer_all_) {
          completion->Finish();
          return;
        }
        Open(owner, new_dialog, [path, completion](const QString& chosen) {
          *path = chosen;
          completion->Finish();
        });
      });
  // A display that has gone may still write the path.
  if (!answered || path->isEmpty()) return std::nullopt;
  return FromQt(*path);
}

void FileDialogService::Open(port::WindowHandle owner, const NewDialog& new_dialog,
                             const std::function<void(const QString& path)>& answered) {
  const QString folder = last_folder_.isEmpty() ? FirstFolder() : last_folder_;
  QFileDialog* dialog = new_dialog(display_.WidgetOf(owner), folder);
  open_ = dialog;
  const auto answer_once = [answered, done = std::make_shared<bool>(false)](const QString& path) {
    if (!std::exchange(*done, true)) answered(path);
  };
  QObject::connect(dialog, &QDialog::finished, dialog, [this, dialog, answer_once](int result) {
    const QString path = result == QDialog::Accepted ? ChosenPath(*dialog) : QString();
    if (!path.isEmpty()) last_folder_ = QFileInfo(path).absolutePath();
    answer_once(path);
    dialog->deleteLater();
  });
  // The owner may be destroyed under the dialog; the caller must not wait for ever.
  QObject::connect(dialog, &QObject::destroyed, [answer_once] { answer_once({}); });
  dialog->show();
}

void FileDialogService::AnswerAll() {
  answer_all_ = true;
  display_.jobs.Post([this] {
    if (open_) open_->reject();
  });
}

}  // namespace

std::unique_ptr<QtFileDialogs> NewFileDialogs(Display& display) {
  return std::make_unique<FileDialogService>(display);
}

}  // namespace quillet::qt
