// SPDX-License-Identifier: GPL-3.0-or-later
// quillet-screenshot: pictures of the real program on a profile, drawn without a screen.
//
// For every size a process of its own starts the whole program on a screen of that size in memory,
// waits until it is idle, draws the window in light and dark colours and closes it as a user would.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "qt/program.h"
#include "qt/sheet_dialog.h"
#include "qt/text.h"
#include "res/resource.h"

namespace {

using quillet::port::MessageKind;
using quillet::port::WindowHandle;
using quillet::qt::QtDevice;

constexpr int kIdleLimitMs = 60000;
constexpr int kStepMs = 20;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

struct Request {
  QString profile;
  QString folder;
  QString dialog;  // "" or one of kDialogs
  QString name;    // of the pictures; empty: by what they show
  int tab = 0;
  QSize size;
  QString group;        // to be opened; empty: none
  bool expand = false;  // all of its threads
  int article = 0;      // the row of its tree to be opened, from 1; 0: none
  QString page;         // of the preferences, by its caption; of Quick Setup, 1 or 2
};

struct DialogEntry {
  const char* name;
  std::uint32_t command;  // that opens it; 0: it is made here
  bool window;            // beside the main window, not over it
};
constexpr auto kDialogs = std::to_array<DialogEntry>({
    {"about", quillet::kCommandAbout, false},
    {"newgroup", quillet::kCommandNewGroup, false},
    {"progress", 0, false},
    {"queue", quillet::kCommandViewPostQueue, false},
    {"new", quillet::kCommandNewArticle, true},
    {"reply", quillet::kCommandReply, true},
    {"preferences", quillet::kCommandPreferences, false},
    {"quicksetup", quillet::kCommandQuickSetup, false},
});

// What the first box of Quick Setup begins with.
constexpr QLatin1String kWelcome("Welcome to Quillet CE!");

// Null when there is none of that name.
const DialogEntry* FindDialog(const QString& name) {
  const auto found = std::ranges::find_if(
      kDialogs, [&](const DialogEntry& one) { return name == QLatin1String(one.name); });
  return found == kDialogs.end() ? nullptr : &*found;
}

QPalette LightPalette() {
  const std::unique_ptr<QStyle> style(QStyleFactory::create(QStringLiteral("Fusion")));
  return style->standardPalette();
}

QPalette DarkPalette() {
  QPalette dark(QColor(0x2b, 0x2b, 0x2b));
  dark.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
  dark.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x26));
  dark.setColor(QPalette::Highlight, QColor(0x3d, 0x7a, 0xa8));
  dark.setColor(QPalette::HighlightedText, Qt::white);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    dark.setColor(role, QColor(0xe6, 0xe6, 0xe6));
  }
  return dark;
}

QString SizeText(QSize size) {
  return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

// Works on a thread of its own beside the program and the display.
class Photographer {
 public:
  Photographer(QtDevice& device, quillet::port::ThreadQueues& queues, const Request& request)
      : device_(device), queues_(queues), request_(request) {}

  // False when a picture is missing.
  bool Run() {
    const bool ready = WaitForWindow();
    const bool good = ready && TakeAll();
    End(ready);
    return good;
  }

 private:
  bool OnDisplay(const std::function<void()>& action) { return device_.jobs().Call(action); }

  bool WaitIdle() { return queues_.WaitIdle(device_.ProgramThread(), kIdleLimitMs); }

  // Quick Setup begins with a box; others have only OK, as one about connections that cannot be
  // listed. Display thread.
  void PressOkInBoxes() {
    for (QMessageBox* box : device_.boxes().OpenBoxes()) {
      const bool only_ok = box->standardButtons() == QMessageBox::Ok;
      if (only_ok || box->text().startsWith(kWelcome)) box->button(QMessageBox::Ok)->click();
    }
  }

  bool WaitIdleBehindBoxes() {
    for (int waited = 0; waited < kIdleLimitMs; waited += kStepMs) {
      if (queues_.WaitIdle(device_.ProgramThread(), kStepMs)) return true;
      OnDisplay([&] { PressOkInBoxes(); });
    }
    return false;
  }

  bool WaitForWindow() {
    for (int waited = 0; waited < kIdleLimitMs; waited += kStepMs) {
      bool shown = false;
      QString question;
      const bool running = OnDisplay([&] {
        const auto boxes = device_.boxes().OpenBoxes();
        if (!boxes.empty()) question = boxes.back()->text();
        if (question.startsWith(kWelcome)) boxes.back()->button(QMessageBox::Cancel)->click();
        const auto& main = device_.display().main;
        shown = main && main->isVisible() && main->GroupList() != nullptr;
        if (shown) main_ = main->Handle();
      });
      if (!running) return Complain("the program ended at its start");
      if (question.startsWith(kWelcome)) continue;
      if (!question.isEmpty()) return Complain("the program asks: " + question);
      // Not yet when a box is on its way.
      if (shown && queues_.WaitIdle(device_.ProgramThread(), kStepMs)) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(kStepMs));
    }
    return Complain("the window does not appear");
  }

  bool TakeAll() {
    if (!request_.group.isEmpty() && !OpenGroup()) {
      return Complain("there is no group " + request_.group);
    }
    if (request_.article != 0 && !OpenArticle()) return Complain("there is no such article");
    if (request_.tab != 0) ShowTab();
    const bool light = TakeOne(LightPalette(), QStringLiteral("light"));
    return TakeOne(DarkPalette(), QStringLiteral("dark")) && light;
  }

  // As a double click does.
  bool OpenGroup() {
    bool found = false;
    OnDisplay([&] {
      quillet::qt::GroupTable& list = *device_.display().main->GroupList();
      const QAbstractItemModel& rows = *list.model();
      for (int row = 0; row < rows.rowCount() && !found; ++row) {
        found = rows.index(row, 0).data().toString() == request_.group;
        if (found) list.setCurrentIndex(rows.index(row, 0));
      }
    });
    if (!found) return false;
    queues_.Post({main_, MessageKind::kItemActivated, 0, 0, {}});
    WaitIdle();
    if (request_.expand) {
      OnDisplay([&] {
        if (device_.thread_tree().TreeCreated()) Tree().expandAll();
      });
    }
    return true;
  }

  bool OpenArticle() {
    quillet::port::TreeItem item = 0;
    OnDisplay([&] {
      if (!device_.thread_tree().TreeCreated()) return;
      QModelIndex row = Tree().Rows().index(0, 0);
      for (int i = 1; i < request_.article; ++i) row = Tree().Rows().Next(row);
      item = Tree().Rows().ItemOf(row);
    });
    if (item == 0) return false;
    device_.thread_tree().SelectItem(item);
    queues_.Post({main_, MessageKind::kItemActivated, item, 0, {}});
    return WaitIdle();
  }

  quillet::qt::ThreadTree& Tree() { return *device_.display().main->Threads()->Tree(); }

  void ShowTab() {
    OnDisplay([&] { device_.display().main->Tabs()->Bar().setCurrentIndex(request_.tab); });
    WaitIdle();
  }

  bool TakeOne(const QPalette& palette, const QString& colours) {
    OnDisplay([&] {
      QApplication::setPalette(palette);
      device_.display().main->resize(request_.size);
    });
    WaitIdle();
    std::optional<WindowHandle> dialog = OpenDialog();
    if (dialog && !request_.page.isEmpty()) dialog = TurnTo(*dialog);
    if (!dialog) return Complain("the dialog does not appear");
    bool saved = false;
    OnDisplay([&] { saved = Save(*dialog, colours); });
    CloseDialog(*dialog);
    return saved || Complain("the picture cannot be written to " + request_.folder);
  }

  // 0: no dialog is wanted.
  std::optional<WindowHandle> OpenDialog() {
    if (request_.dialog.isEmpty()) return 0;
    if (request_.dialog == QLatin1String("progress")) return OpenProgress();
    const DialogEntry& entry = *FindDialog(request_.dialog);
    queues_.Post({main_, MessageKind::kCommand, entry.command, 0, {}});
    if (!entry.window) return AwaitDialogOtherThan(0);
    for (int waited = 0; waited < kIdleLimitMs; waited += kStepMs) {
      WindowHandle dialog = 0;
      OnDisplay([&] { dialog = device_.display().HandleOf(OpenWindow()); });
      if (dialog != 0 && WaitIdle()) return dialog;
      std::this_thread::sleep_for(std::chrono::milliseconds(kStepMs));
    }
    return std::nullopt;
  }

  // The page of the sheet, or the dialog that stands for it.
  std::optional<WindowHandle> TurnTo(WindowHandle dialog) {
    if (request_.dialog == QLatin1String("preferences")) {
      bool found = false;
      OnDisplay([&] {
        auto* sheet = dynamic_cast<quillet::qt::SheetDialog*>(device_.display().WidgetOf(dialog));
        found = sheet != nullptr && sheet->ShowPageNamed(request_.page);
      });
      if (!found || !WaitIdleBehindBoxes()) return std::nullopt;
      return dialog;
    }
    if (request_.page == QLatin1String("1")) return dialog;
    using quillet::port::Text;
    device_.dialogs().WriteMany(dialog,
                                {{quillet::kControlSetupServer, Text{u"news.example.org"}},
                                 {quillet::kControlSetupName, Text{u"Ann Example"}},
                                 {quillet::kControlSetupAddress, Text{u"ann@example.org"}}});
    queues_.Post({dialog, MessageKind::kCommand, quillet::kControlOk, 0, {}});
    return AwaitDialogOtherThan(dialog);
  }

  std::optional<WindowHandle> AwaitDialogOtherThan(WindowHandle before) {
    for (int waited = 0; waited < kIdleLimitMs; waited += kStepMs) {
      WindowHandle dialog = 0;
      OnDisplay([&] {
        PressOkInBoxes();
        dialog = device_.display().HandleOf(QApplication::activeModalWidget());
      });
      if (dialog != 0 && dialog != before && WaitIdleBehindBoxes()) return dialog;
      std::this_thread::sleep_for(std::chrono::milliseconds(kStepMs));
    }
    return std::nullopt;
  }

  // Display thread. The window beside the main one, null while there is none.
  const QWidget* OpenWindow() const {
    for (const auto& [handle, widget] : device_.display().windows) {
      if (widget && handle != main_ && widget->isVisible()) return widget;
    }
    return nullptr;
  }

  // With texts as a download shows them.
  std::optional<WindowHandle> OpenProgress() {
    auto& dialogs = device_.dialogs();
    const WindowHandle dialog =
        dialogs.Create(quillet::kDialogProgress, main_, quillet::port::DialogKind::kProgress);
    if (dialog == 0) return std::nullopt;
    using namespace quillet::port;
    dialogs.WriteMany(
        dialog,
        {{quillet::kControlProgressTitle, Text{u"Downloading from group news.software.readers"}},
         {quillet::kControlProgressDetail, Text{u"article 10132"}},
         {quillet::kControlProgressFigures,
          Text{u"group 2 of 5, article 132 of 400, 18 articles a second, 0:40 left"}},
         {quillet::kControlProgressBar, Range{400}},
         {quillet::kControlProgressBar, Position{132}},
         {quillet::kControlProgressBar, Text{u"33%"}}});
    dialogs.Show(dialog);
    return dialog;
  }

  // A window of its own stands in the middle: no desktop has placed it.
  static QPoint PlaceOver(const QWidget& main, const QWidget& over) {
    if (over.parentWidget() != nullptr) return over.pos() - main.pos();
    const QSize rest = main.size() - over.size();
    return {std::max(rest.width() / 2, 0), std::max(rest.height() / 2, 0)};
  }

  // Display thread.
  bool Save(WindowHandle dialog, const QString& colours) {
    QApplication::processEvents();  // all that is still to be laid out
    QWidget& main = *device_.display().main;
    for (QWidget* widget : main.findChildren<QWidget*>()) {
      widget->setAttribute(Qt::WA_UnderMouse, false);  // nothing shall look pointed at
    }
    QPixmap picture = main.grab();
    if (QWidget* over = device_.display().WidgetOf(dialog)) {
      // The platform in memory keeps a frame around it.
      if (over->isMaximized()) over->resize(main.size());
      QPainter painter(&picture);
      painter.drawPixmap(PlaceOver(main, *over), over->grab());
    }
    const QString name =
        QStringLiteral("%1-%2-%3.png").arg(SubjectName(), SizeText(request_.size), colours);
    const QString path = QDir(request_.folder).filePath(name);
    if (!picture.save(path)) return false;
    std::printf("%s\n", qPrintable(path));
    return true;
  }

  QString SubjectName() const {
    if (!request_.name.isEmpty()) return request_.name;
    if (!request_.dialog.isEmpty()) return request_.dialog;
    if (request_.tab != 0) return QStringLiteral("tab%1").arg(request_.tab);
    if (request_.article != 0) return QStringLiteral("article");
    return request_.group.isEmpty() ? QStringLiteral("window") : QStringLiteral("threads");
  }

  void CloseDialog(WindowHandle dialog) {
    if (dialog == 0) return;
    if (request_.dialog == QLatin1String("progress")) {
      device_.dialogs().Destroy(dialog);
      return;
    }
    queues_.Post({dialog, MessageKind::kCommand, quillet::kControlCancel, 0, {}});
    WaitIdle();
  }

  void End(bool ready) {
    if (!ready) device_.boxes().AnswerAll();
    queues_.Post({main_, ready ? MessageKind::kClose : MessageKind::kEndSession, 0, 0, {}});
  }

  bool Complain(const QString& text) {
    std::fprintf(stderr, "quillet-screenshot: %s\n", qPrintable(text));
    return false;
  }

  QtDevice& device_;
  quillet::port::ThreadQueues& queues_;
  const Request& request_;
  WindowHandle main_ = 0;
};

void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                          const QString& text) {
  if (text.contains(QLatin1String("does not support propagateSizeHints"))) return;
  if (type == QtFatalMsg || type == QtCriticalMsg) std::fprintf(stderr, "%s\n", qPrintable(text));
}

bool WriteScreen(const QString& path, QSize size) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return false;
  const QString screen =
      QStringLiteral(R"({"screens":[{"name":"s","x":0,"y":0,"width":%1,"height":%2,)"
                     R"("logicalDpi":96,"logicalBaseDpi":96,"dpr":1}]})")
          .arg(size.width())
          .arg(size.height());
  return file.write(screen.toUtf8()) > 0;
}

// The process of one size.
int TakePictures(const Request& request, int argc, char** argv) {
  const auto profile = quillet::port::LocateProfile(request.profile.toStdString());
  const std::string problem = quillet::port::PrepareProfile(profile);
  const QTemporaryDir temporary;
  const QString screen = temporary.filePath(QStringLiteral("screen.json"));
  if (!problem.empty() || !WriteScreen(screen, request.size)) {
    std::fprintf(stderr, "quillet-screenshot: %s\n",
                 problem.empty() ? "no temporary folder" : problem.c_str());
    return kExitFailed;
  }
  qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screen).toLocal8Bit());
  qInstallMessageHandler(HandleToolkitMessage);
  // Not a start of the user: what is shown is what was asked for, not where he left off.
  quillet::port::LinuxServices services(profile, u"pictures", quillet::port::OwnExecutable());
  quillet::qt::NameApplication();
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  const QApplication application(argc, argv);
  QtDevice device(services.queues);
  Photographer photographer(device, services.queues, request);
  bool good = false;
  std::thread thread([&] { good = photographer.Run(); });
  const int result = quillet::qt::RunQuilletOn(device, services);
  thread.join();
  return good ? result : kExitFailed;
}

// A process for each size, one after the other.
int TakeAllSizes(const QStringList& arguments, const QStringList& sizes) {
  int result = 0;
  for (const QString& size : sizes) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QString::fromStdString(quillet::port::OwnExecutable()),
                  arguments + QStringList{QStringLiteral("--size"), size});
    const bool ended = process.waitForFinished(2 * kIdleLimitMs);
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
      result = kExitFailed;
    }
  }
  return result;
}

QSize ParseSize(const QString& text) {
  const QStringList parts = text.split(QLatin1Char('x'));
  return parts.size() == 2 ? QSize(parts[0].toInt(), parts[1].toInt()) : QSize();
}

std::optional<Request> RequestOf(const QCommandLineParser& parser) {
  Request request{parser.value(QStringLiteral("profile")),
                  parser.value(QStringLiteral("out")),
                  parser.value(QStringLiteral("dialog")),
                  parser.value(QStringLiteral("name")),
                  parser.value(QStringLiteral("tab")).toInt(),
                  ParseSize(parser.value(QStringLiteral("size"))),
                  parser.value(QStringLiteral("open")),
                  parser.isSet(QStringLiteral("expand")),
                  parser.value(QStringLiteral("article")).toInt(),
                  parser.value(QStringLiteral("page"))};
  const bool dialog_known = request.dialog.isEmpty() || FindDialog(request.dialog) != nullptr;
  const bool size_fine = !parser.isSet(QStringLiteral("size")) || !request.size.isEmpty();
  if (!dialog_known || request.profile.isEmpty() || !size_fine || request.tab < 0 ||
      request.tab > 2 || request.article < 0 ||
      (request.group.isEmpty() && (request.expand || request.article != 0)) ||
      !QDir().mkpath(request.folder)) {
    return std::nullopt;
  }
  return request;
}

}  // namespace

int main(int argc, char** argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
  QCommandLineParser parser;
  parser.addOptions({
      {QStringLiteral("profile"), QStringLiteral("Profile to run on."), QStringLiteral("folder")},
      {QStringLiteral("out"), QStringLiteral("Where the pictures go."), QStringLiteral("folder"),
       QStringLiteral(".")},
      {QStringLiteral("size"), QStringLiteral("Only this size, e.g. 240x320."),
       QStringLiteral("size")},
      {QStringLiteral("dialog"),
       QStringLiteral("With about, newgroup, progress, queue, new, reply, preferences or "
                      "quicksetup shown."),
       QStringLiteral("name")},
      {QStringLiteral("page"),
       QStringLiteral("Of the preferences, e.g. \"Server\"; of Quick Setup, 1 or 2."),
       QStringLiteral("page")},
      {QStringLiteral("name"), QStringLiteral("What the pictures' names begin with."),
       QStringLiteral("name")},
      {QStringLiteral("tab"), QStringLiteral("0 groups, 1 threads, 2 article."),
       QStringLiteral("number"), QStringLiteral("0")},
      {QStringLiteral("open"), QStringLiteral("Opens that group."), QStringLiteral("group")},
      {QStringLiteral("expand"), QStringLiteral("Expands all threads of the opened group.")},
      {QStringLiteral("article"), QStringLiteral("Opens that row of the group's threads."),
       QStringLiteral("number"), QStringLiteral("0")},
  });
  const bool parsed = parser.parse(arguments);
  const std::optional<Request> request = parsed ? RequestOf(parser) : std::nullopt;
  if (!request) {
    std::fprintf(stderr, "%s\n%s", qPrintable(parser.errorText()), qPrintable(parser.helpText()));
    return kExitUsage;
  }
  if (request->size.isValid()) return TakePictures(*request, argc, argv);
  return TakeAllSizes(arguments.mid(1), {QStringLiteral("240x320"), QStringLiteral("800x480"),
                                         QStringLiteral("1920x1080")});
}
