// The dialog opens without a nested event loop, and the program's thread waits for its answer as a
// Completion. Every way in which it can go away answers exactly once: a choice, Cancel, the end of
// the session, its owner's destruction. What came of it is shared with the caller, who may have
// stopped waiting.
#include "qt/file_dialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QLayout>
#include <QPointer>
#include <QStandardPaths>
#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "qt/text.h"

namespace quillet::qt {
namespace {

class SaveDialogs final : public QtFileDialogs {
 public:
  explicit SaveDialogs(Display& display) : display_(display) {}

  // Starts in the folder that was used last in this run, at first in the user's documents.
  std::optional<std::u16string> SaveFile(port::WindowHandle owner,
                                         const port::SaveFileTraits& traits) override;

  void AnswerAll() override;
  QFileDialog* OpenDialog() const override { return open_; }

 private:
  void Open(port::WindowHandle owner, const port::SaveFileTraits& traits,
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

QString NameFilter(const port::SaveFileTraits& traits) {
  const QString text = ToQt(traits.filter_text);
  const QString pattern = QStringLiteral("(%1)").arg(ToQt(traits.filter_pattern));
  return text.endsWith(pattern) ? text : text + QLatin1Char(' ') + pattern;
}

// Small screens have no room for the list of places, for the one type of file and for what only
// changes the view. The desktop's own dialog has no such parts here.
void FitToScreen(QFileDialog& dialog) {
  const QSize screen = WorkAreaOf(&dialog).size();
  if (screen.isEmpty()) return;
  dialog.setMaximumSize(screen);
  if (dialog.sizeHint().width() <= screen.width()) return;
  dialog.setViewMode(QFileDialog::List);
  for (const char* name : {"sidebar", "lookInLabel", "forwardButton", "listModeButton",
                           "detailModeButton", "fileNameLabel", "fileTypeLabel", "fileTypeCombo"}) {
    if (auto* widget = dialog.findChild<QWidget*>(QLatin1String(name))) widget->hide();
  }
  if (auto* edit = dialog.findChild<QWidget*>(QStringLiteral("fileNameEdit"))) {
    edit->setAccessibleName(QStringLiteral("File name"));
  }
  if (dialog.layout() != nullptr) dialog.layout()->activate();
  dialog.resize(screen);
}

QFileDialog* NewSaveDialog(QWidget* owner, const port::SaveFileTraits& traits,
                           const QString& folder) {
  auto* dialog = new QFileDialog(owner, ToQt(traits.title), folder);
  dialog->setAccessibleName(ToQt(traits.title));
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setFileMode(QFileDialog::AnyFile);
  // The program creates the file new and says itself when there is one already.
  dialog->setOption(QFileDialog::DontConfirmOverwrite);
  dialog->setNameFilter(NameFilter(traits));
  dialog->setDefaultSuffix(ToQt(traits.default_extension));
  dialog->selectFile(ToQt(traits.default_name));
  dialog->setWindowModality(owner != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
  FitToScreen(*dialog);
  return dialog;
}

QString ChosenPath(const QFileDialog& dialog, int result) {
  const QStringList files = dialog.selectedFiles();
  if (result != QDialog::Accepted || files.isEmpty()) return {};
  return QDir::toNativeSeparators(QFileInfo(files.front()).absoluteFilePath());
}

std::optional<std::u16string> SaveDialogs::SaveFile(port::WindowHandle owner,
                                                    const port::SaveFileTraits& traits) {
  const auto path = std::make_shared<QString>();
  const bool answered =
      display_.jobs.CallUntilFinished([&](const std::shared_ptr<Completion>& completion) {
        if (answer_all_) {
          completion->Finish();
          return;
        }
        Open(owner, traits, [path, completion](const QString& chosen) {
          *path = chosen;
          completion->Finish();
        });
      });
  // A display that has gone may still write the path.
  if (!answered || path->isEmpty()) return std::nullopt;
  return FromQt(*path);
}

void SaveDialogs::Open(port::WindowHandle owner, const port::SaveFileTraits& traits,
                       const std::function<void(const QString& path)>& answered) {
  const QString folder = last_folder_.isEmpty() ? FirstFolder() : last_folder_;
  auto* dialog = NewSaveDialog(display_.WidgetOf(owner), traits, folder);
  open_ = dialog;
  const auto answer_once = [answered, done = std::make_shared<bool>(false)](const QString& path) {
    if (!std::exchange(*done, true)) answered(path);
  };
  QObject::connect(dialog, &QDialog::finished, dialog, [this, dialog, answer_once](int result) {
    const QString path = ChosenPath(*dialog, result);
    if (!path.isEmpty()) last_folder_ = QFileInfo(path).absolutePath();
    answer_once(path);
    dialog->deleteLater();
  });
  // The owner may be destroyed under the dialog; the caller must not wait for ever.
  QObject::connect(dialog, &QObject::destroyed, [answer_once] { answer_once({}); });
  dialog->show();
}

void SaveDialogs::AnswerAll() {
  answer_all_ = true;
  display_.jobs.Post([this] {
    if (open_) open_->reject();
  });
}

}  // namespace

std::unique_ptr<QtFileDialogs> NewFileDialogs(Display& display) {
  return std::make_unique<SaveDialogs>(display);
}

}  // namespace quillet::qt
