// SPDX-License-Identifier: GPL-3.0-or-later
// From the key to the painted article: the whole program in its real window (drawn into memory) on
// a group of articles of 4 KB, stepping through it with Ctrl+Right. Every other article is plain,
// the rest is UTF-8 in quoted-printable with encoded words in its head. For information also the
// viewer alone with long texts.
//
// usage: article_bench [ARTICLES]; ends with 1 when the median of the plain steps is above its
// target, or that of the others above its multiple of it.
#include <stdlib.h>

#include <QApplication>
#include <QKeyEvent>
#include <QStyleFactory>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "port/fake/fake_display.h"
#include "qt/program.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/records.h"
#include "util/format.h"

namespace quillet {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kTargetMs = 30;
constexpr double kDecodedRatio = 1.3;
constexpr int kWaitMs = 20000;
constexpr std::size_t kArticleBytes = 4096;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "article_bench: %s\n", what);
  std::_Exit(2);
}

double Since(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string Body(unsigned number) {
  std::string body = FormatNarrow("Article number %u.\r\n", number);
  for (unsigned line = 0; body.size() < kArticleBytes; ++line) {
    if (line % 4 == 0) body += "> ";
    if (line % 10 == 9) body += "See http://bench.example/page?a=1&b=2 for more. ";
    body += FormatNarrow("This is line %u of the text & it goes on for a while.\r\n", line);
  }
  return body;
}

// One line of text in quoted-printable, cut after 70 bytes.
std::string QuotedPrintable(std::string_view line) {
  constexpr std::size_t kLongest = 70;
  std::string out;
  std::size_t line_start = 0;
  for (const char c : line) {
    if (out.size() - line_start > kLongest) {
      out += "=\r\n";
      line_start = out.size();
    }
    const bool plain = c >= ' ' && c <= '~' && c != '=';
    if (plain) {
      out += c;
    } else {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      out.append("=").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
    }
  }
  return out + "\r\n";
}

// As long a text as the plain ones have; one word of five has a letter outside ASCII.
std::string EncodedBody(unsigned number) {
  std::string body = QuotedPrintable(FormatNarrow("Article num\xC3\xA9ro %u.", number));
  std::size_t length = 0;
  for (unsigned line = 0; length < kArticleBytes; ++line) {
    std::string text = line % 4 == 0 ? "> " : "";
    if (line % 10 == 9) text += "See http://bench.example/page?a=1&b=2 for more. ";
    text += "This is l\xC3\xADne " + std::to_string(line) +
            " of the text & it g\xC3\xB6"
            "es on for a wh\xC3\xAFle.";
    length += text.size();
    body += QuotedPrintable(text);
  }
  return body;
}

void Encode(AsciiArticle& article, unsigned number) {
  article.subject = FormatNarrow("=?UTF-8?Q?Subject_num=C3=A9ro?= %u", number);
  article.from = "=?UTF-8?Q?S=C3=B6mebody?= Else <somebody.else@bench.example>";
  *article.headers +=
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n";
  article.body = EncodedBody(number);
}

void Add(unsigned number) {
  AsciiArticle article;
  article.messageId = FormatNarrow("<%u@bench.example>", number);
  article.subject = FormatNarrow("Subject number %u", number);
  article.from = "Somebody Else <somebody.else@bench.example>";
  article.date = "Sat, 21 Nov 2026 12:00:00 +0000";
  article.headers = "Newsgroups: bench.articles\r\n";
  article.articleNumber = number;
  article.body = Body(number);
  if (number % 2 == 1) Encode(article, number);
  if (!StoreArticle(article) || !AddArticleToGroup(u"bench.articles", *article.messageId)) {
    Fail("cannot store an article");
  }
  ++gReadInfo[0]->totalCount;
}

// The store of a group, written without a display of pixels.
void MakeProfile(port::LinuxServices& services, unsigned articles) {
  port::FakeDisplay display(services.queues);
  services.Attach(display.Services());
  ReadPreferences();
  AddGroup(*gPrefs, u"bench.articles");
  AddServer(*gPrefs, {u"news.example"});
  WritePreferences();
  if (!LoadDatabaseLibrary() || !OpenGDBMDatabases()) Fail("no databases");
  for (unsigned i = 0; i < articles; ++i) Add(i);
  UpdateGlobalGDBMArticleCountCache(0);
  CloseDatabases();
  services.Detach();
}

// Tells when a page that shows another article has been painted. Display thread.
class PaintWatcher final : public QObject {
 public:
  explicit PaintWatcher(qt::Viewer& viewer) : viewer_(viewer) {
    after_painting_.setSingleShot(true);
    connect(&after_painting_, &QTimer::timeout, this, [this] { ++painted; });
    viewer.viewport()->installEventFilter(this);
  }
  std::atomic<unsigned> painted{0};

 protected:
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() != QEvent::Paint || viewer_.toPlainText() == shown_) return false;
    shown_ = viewer_.toPlainText();
    if (!shown_.isEmpty()) after_painting_.start(0);
    return false;
  }

 private:
  qt::Viewer& viewer_;
  QString shown_;
  QTimer after_painting_;
};

struct Steps {
  std::vector<double> plain, decoded;  // milliseconds
};

// Somebody who reads, beside the program and the display.
class Reader {
 public:
  Reader(qt::QtDevice& device, port::ThreadQueues& queues) : device_(device), queues_(queues) {}

  Steps Read(unsigned steps) {
    Wait("no window", [&] { return Main() != nullptr && Main()->GroupList() != nullptr; });
    Idle();
    device_.group_list().Fill(Rows(), 0);
    Key(Qt::Key_Return, Qt::NoModifier);
    Wait("no threads", [&] { return Main()->SelectedTab() == port::kThreadTab; });
    Idle();
    // To the first article below the first subject.
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_Right, Qt::Key_Down}) {
      Key(key, Qt::NoModifier);
      Idle();
    }
    Key(Qt::Key_Return, Qt::NoModifier);
    Wait("no article",
         [&] { return Main()->SelectedTab() == port::kArticleTab && Text() != nullptr; });
    Idle();
    device_.jobs().Call([&] { watcher_ = std::make_unique<PaintWatcher>(*Text()); });
    Steps times;
    for (unsigned i = 0; i < steps; ++i) {
      const double ms = Step();
      bool decoded = false;
      device_.jobs().Call([&] { decoded = Text()->toPlainText().contains(QChar(0xE9)); });
      (decoded ? times.decoded : times.plain).push_back(ms);
    }
    device_.jobs().Call([&] { watcher_.reset(); });
    return times;
  }

  void Close() { queues_.Post({handle_, port::MessageKind::kClose, 0, 0, {}}); }

  // The viewer alone: milliseconds from the call to the painted page.
  double Show(const std::u16string& source) {
    const auto start = Clock::now();
    device_.article().ClearViewer();
    device_.article().AddToViewer(source, false);
    device_.article().EndOfSource();
    device_.jobs().Call([&] { Text()->viewport()->repaint(); });
    return Since(start);
  }

 private:
  qt::MainWindow* Main() { return device_.display().main; }
  qt::Viewer* Text() { return Main()->Article() ? Main()->Article()->Text() : nullptr; }
  static std::vector<port::ListRow> Rows() {
    return {{u"bench.articles", u"0/0", port::CheckState::kChecked}};
  }
  void Idle() { queues_.WaitIdle(device_.ProgramThread(), kWaitMs); }

  void Wait(const char* what, const std::function<bool()>& condition) {
    const auto start = Clock::now();
    for (bool holds = false; !holds;) {
      device_.jobs().Call([&] {
        holds = condition();
        if (Main() != nullptr) handle_ = Main()->Handle();
      });
      if (Since(start) > kWaitMs) Fail(what);
      if (!holds) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  void Send(QEvent::Type type, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    device_.jobs().Post([this, type, key, modifiers] {
      QKeyEvent event(type, key, modifiers);
      QCoreApplication::sendEvent(Main()->windowHandle(), &event);
    });
  }
  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    device_.jobs().Call([&] { Main()->activateWindow(); });
    Send(QEvent::KeyPress, key, modifiers);
    Send(QEvent::KeyRelease, key, modifiers);
  }
  double Step() {
    const unsigned before = watcher_->painted;
    const auto start = Clock::now();
    Send(QEvent::KeyPress, Qt::Key_Right, Qt::ControlModifier);
    while (watcher_->painted == before) {
      if (Since(start) > kWaitMs) Fail("the next article does not come");
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const double ms = Since(start);
    Send(QEvent::KeyRelease, Qt::Key_Right, Qt::ControlModifier);
    Idle();
    return ms;
  }

  qt::QtDevice& device_;
  port::ThreadQueues& queues_;
  port::WindowHandle handle_ = 0;
  std::unique_ptr<PaintWatcher> watcher_;
};

std::u16string Repeated(const std::u16string& piece, std::size_t length) {
  std::u16string text;
  while (text.size() < length) text += piece;
  return text;
}

void ShowLongTexts(Reader& reader) {
  const std::u16string line =
      u"<FONT COLOR=\"#C02020\">&gt; quoted line of a long article</FONT>&nbsp;<br>"
      u"see <a href=\"http://bench.example/\">http://bench.example/</a>&nbsp;<br>";
  for (const std::size_t bytes : {std::size_t{1000000}, std::size_t{10000000}}) {
    std::printf("  viewer alone, %8zu bytes of lines:      %8.1f ms\n", bytes,
                reader.Show(Repeated(line, bytes)));
  }
  std::printf("  viewer alone,  1000000 bytes in one word:   %8.1f ms\n",
              reader.Show(std::u16string(1000000, u'x')));
  std::printf("  viewer alone,  1000000 bytes on one line:   %8.1f ms\n",
              reader.Show(Repeated(u"word ", 1000000)));
}

double Median(std::vector<double>& times) {
  if (times.empty()) Fail("no such articles");
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

bool Report(Steps times) {
  const double plain = Median(times.plain), decoded = Median(times.decoded);
  std::printf(
      "next article of 4 KB, from key to painted: median %5.1f ms, worst %5.1f ms (target <= "
      "%.0f)\n",
      plain, times.plain.back(), kTargetMs);
  std::printf(
      "  the same in quoted-printable UTF-8:      median %5.1f ms, worst %5.1f ms, ratio %.2f "
      "(target <= %.1f)\n",
      decoded, times.decoded.back(), decoded / plain, kDecodedRatio);
  return plain <= kTargetMs && decoded <= kDecodedRatio * plain;
}

int Main(unsigned articles, int argc, char** argv) {
  char name[] = "/tmp/quillet-article-XXXXXX";
  if (mkdtemp(name) == nullptr) return 2;
  port::Profile profile = port::LocateProfile(name);
  if (!port::PrepareProfile(profile).empty()) return 2;
  bool good = false;
  {
    port::LinuxServices services(profile, u"", port::OwnExecutable());
    MakeProfile(services, articles);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QApplication application(argc, argv);
    qt::QtDevice device(services.queues);
    Reader reader(device, services.queues);
    std::thread thread([&] {
      good = Report(reader.Read(articles - 1));
      ShowLongTexts(reader);
      reader.Close();
    });
    qt::RunQuilletOn(device, services);
    thread.join();
  }
  std::filesystem::remove_all(name);
  return good ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  const int articles = argc > 1 ? std::atoi(argv[1]) : 400;
  return quillet::Main(static_cast<unsigned>(std::max(articles, 4)), argc, argv);
}
