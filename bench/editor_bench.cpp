// SPDX-License-Identifier: GPL-3.0-or-later
// The windows in which articles are written: from the program's call to the painted window, keys in
// long texts, long pastes, long lists.
//
// usage: editor_bench [ROUNDS]; ends with 1 when a time is above its target.
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "bench/on_display.h"
#include "qt/device.h"
#include "qt/forms.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

constexpr double kOpenMs = 100;
constexpr double kOpenLongMs = 300;
constexpr double kKeyMs = 100;
constexpr double kLongLineKeyMs = 2000;
constexpr double kReadMs = 50;
constexpr double kHugePasteMs = 5000;
constexpr double kFillMs = 200;
constexpr int kListRows = 10000;

std::u16string Quoted(std::size_t size) {
  std::u16string text;
  while (text.size() < size) {
    text += u"> A line that somebody else has written, as long as lines usually are\r\n";
  }
  return text;
}

class Bench {
 public:
  Bench(QtDevice& device, int rounds) : device_(device), times_(rounds) {}

  bool Run() {
    Open("full editor opened", kDialogPostMessage, Quoted(2000), kOpenMs);
    Open("simple editor opened", kDialogSimplePost, Quoted(2000), kOpenMs);
    Open("full editor with 1 MB opened", kDialogPostMessage, Quoted(1 << 20), kOpenLongMs);
    Keys("1 MB in lines", Quoted(1 << 20), kKeyMs);
    // All of it is laid out anew, which is not what anybody writes.
    Keys("1 MB in one line", std::u16string(1 << 20, u'x'), kLongLineKeyMs);
    Paste();
    FillList();
    return times_.good();
  }

 private:
  using Step = std::function<void()>;

  void OnDisplay(const Step& action) { device_.jobs().Call(action); }
  QWidget& Widget() { return *device_.display().WidgetOf(window_); }
  QPlainTextEdit& Edit() {
    return *qobject_cast<QPlainTextEdit*>(ControlOf(Widget(), kControlArticleText));
  }
  void Paint() {
    OnDisplay([&] {
      QCoreApplication::processEvents();
      Widget().repaint();
    });
  }

  void Measure(const std::string& what, double target, const Step& before, const Step& step) {
    times_.Measure(what, target, before, [&] {
      step();
      Paint();
    });
  }

  void Show(std::uint32_t form, const std::u16string& text) {
    window_ = device_.dialogs().Create(form, 0, port::DialogKind::kWindow);
    device_.dialogs().WriteMany(window_, {{kControlArticleText, port::Text{text}},
                                          {kControlArticleText, port::FontChoice{}},
                                          {kControlArticleText, port::Focus{}}});
    device_.dialogs().Show(window_);
  }
  void Close() { device_.dialogs().Destroy(window_); }

  void Open(const std::string& what, std::uint32_t form, const std::u16string& text,
            double target) {
    Measure(
        what, target, [&] { Close(); }, [&] { Show(form, text); });
    Close();
  }

  void Type() {
    OnDisplay([&] {
      QKeyEvent key(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
      QApplication::sendEvent(&Edit(), &key);
    });
  }

  void Keys(const std::string& what, const std::u16string& text, double target) {
    Show(kDialogPostMessage, text);
    Paint();
    const auto caret = [&](std::size_t place) {
      device_.dialogs().Write(window_, kControlArticleText, port::TextState{place, 0, false});
      device_.dialogs().Read(window_, kControlPostBody);
      Paint();
    };
    Measure(
        "a key at the start of " + what, target, [&] { caret(0); }, [&] { Type(); });
    Measure(
        "a key at the end of " + what, target, [&] { caret(text.size()); }, [&] { Type(); });
    Measure(
        "  the whole text read", kReadMs, [] {}, [&] { device_.dialogs().ReadAll(window_); });
    Close();
  }

  void Paste() {
    OnDisplay(
        [] { QApplication::clipboard()->setText(QString::fromStdU16String(Quoted(10 << 20))); });
    Measure(
        "10 MB pasted", kHugePasteMs,
        [&] {
          Close();
          Show(kDialogPostMessage, {});
          Paint();
        },
        [&] { OnDisplay([&] { Edit().paste(); }); });
    Close();
  }

  void FillList() {
    port::Rows rows;
    for (int i = 0; i < kListRows; ++i) {
      const std::string name = "Somebody, Number " + std::to_string(i);
      rows.rows.push_back({{{name.begin(), name.end()}, u"somebody@example.invalid"}});
    }
    window_ = device_.dialogs().Create(kDialogChooseRecipients, 0, port::DialogKind::kModal);
    device_.dialogs().Show(window_);
    Measure(
        "10,000 rows with boxes filled", kFillMs, [&] { Paint(); },
        [&] {
          device_.dialogs().Write(window_, kControlContacts, rows);
          device_.dialogs().Read(window_, kControlContacts);
        });
    Close();
  }

  QtDevice& device_;
  MedianTimes times_;
  port::WindowHandle window_ = 0;
};

}  // namespace
}  // namespace quillet::qt

int main(int argc, char** argv) {
  return quillet::qt::RunOnDisplay<quillet::qt::Bench>(argc, argv);
}
