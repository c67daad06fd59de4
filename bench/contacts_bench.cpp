// SPDX-License-Identifier: GPL-3.0-or-later
// The contact picker on the display: from the program's call to the painted rows, for 10,000
// contacts in one file, and with a file each. Figures are processor time of all threads.
//
// usage: contacts_bench [CONTACTS] [ROUNDS]; ends with 1 when a time is above its target.
#define QUILLET_FAKE_WITHOUT_GTEST
#include <QAbstractItemView>
#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "base/messages.h"
#include "bench/measure.h"
#include "port/fake/fake_platform.h"
#include "port/linux/linux_clock.h"
#include "port/linux/linux_contacts.h"
#include "post/recipients.h"
#include "qt/device.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

constexpr double kTargetMs = 200;

double MillisecondsSince(std::clock_t start) {
  return static_cast<double>(std::clock() - start) * 1000.0 / CLOCKS_PER_SEC;
}

std::string Card(unsigned number) {
  const std::string n = std::to_string(number);
  return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + n + "\r\nN:Surname" + n +
         ";Given;;;\r\nFN:Given Surname" + n + "\r\nEMAIL;TYPE=home:person" + n +
         "@bench.example\r\nTEL;TYPE=cell:+1 555 " + n + "\r\nEND:VCARD\r\n";
}

void WriteCards(const fs::path& folder, unsigned contacts, bool one_file) {
  fs::remove_all(folder);
  fs::create_directories(folder);
  std::ofstream all;
  for (unsigned i = 0; i < contacts; ++i) {
    if (!one_file || i == 0) {
      all.close();
      all.open(folder / (std::to_string(i) + ".vcf"), std::ios::binary);
    }
    all << Card(i);
  }
  Require(all.good(), "cards are written");
}

// Cancels the picker as soon as it has painted all its rows. Display thread.
class PaintWatcher final : public QObject {
 public:
  explicit PaintWatcher(int rows) : rows_(rows) {}

  // The program calls for the next picker.
  void Begin(std::clock_t start) {
    start_ = start;
    waiting_ = true;
  }
  std::vector<double> times;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::Paint || !waiting_) return false;
    const auto* list = qobject_cast<QAbstractItemView*>(watched->parent());
    if (list == nullptr || list->model() == nullptr || list->model()->rowCount() != rows_)
      return false;
    waiting_ = false;
    QTimer::singleShot(0, this, [this, window = list->window()] {
      times.push_back(MillisecondsSince(start_));
      for (auto* button : window->findChildren<QPushButton*>()) {
        if (button->text() == QLatin1String("Cancel")) button->click();
      }
    });
    return false;
  }

 private:
  const int rows_;
  std::clock_t start_ = 0;
  bool waiting_ = false;
};

class Bench {
 public:
  Bench(qt::QtDevice& device, PaintWatcher& watcher, unsigned contacts, unsigned rounds)
      : device_(device), watcher_(watcher), contacts_(contacts), rounds_(rounds) {}

  bool Run(const fs::path& folder) {
    gMainWindow =
        device_.windows().CreateMainWindow({u"Quillet CE", u"Quillet CE", 103, {640, 480}});
    device_.windows().ShowMainWindow();
    WriteCards(folder, contacts_, true);
    Measure("contacts in one file, shown");
    WriteCards(folder, contacts_, false);
    Measure("contacts with a file each, shown");
    device_.windows().DestroyMainWindow();
    return good_;
  }

 private:
  void Measure(const char* what) {
    device_.jobs().Call([&] { watcher_.times.clear(); });
    std::vector<double> reading;
    for (unsigned i = 0; i < rounds_; ++i) {
      std::clock_t start = std::clock();
      Require(gPlatform->contacts.ReadAll().value().size() == contacts_, "all contacts are read");
      reading.push_back(MillisecondsSince(start));
      start = std::clock();
      device_.jobs().Call([&] { watcher_.Begin(start); });
      Require(!PickAddresses(), "the picker is cancelled");
    }
    std::vector<double> times;
    device_.jobs().Call([&] { times = watcher_.times; });
    Require(times.size() == rounds_, "each picker is painted once");
    const double median = Median(times);
    good_ = good_ && median <= kTargetMs;
    std::printf("%6u %-36s %7.1f ms, of that reading %7.1f ms (target %.0f ms)\n", contacts_, what,
                median, Median(reading), kTargetMs);
  }

  qt::QtDevice& device_;
  PaintWatcher& watcher_;
  const unsigned contacts_;
  const unsigned rounds_;
  bool good_ = true;
};

// The offscreen platform has something to say of every window.
void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                          const QString& text) {
  if (type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(text));
}

int Main(int argc, char** argv) {
  const unsigned contacts = Argument(argc, argv, 1, 10'000);
  const unsigned rounds = Argument(argc, argv, 2, 5);
  std::string folder = (fs::temp_directory_path() / "quillet-contacts-XXXXXX").string();
  Require(mkdtemp(folder.data()) != nullptr, "a folder is made");
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
    setenv(name, (folder + "/home").c_str(), 1);
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(HandleToolkitMessage);
  const QApplication application(argc, argv);
  port::FakePlatform fake;  // what is neither the display nor the contacts
  port::LinuxClock clock;
  port::ThreadQueues queues(clock);
  port::LinuxContacts book(folder + "/data");
  qt::QtDevice device(queues);
  port::Platform platform{device.Services(), queues, fake.registry, fake.sockets,   fake.libraries,
                          fake.files,        clock,  fake.shell,    fake.scheduler, fake.dialler,
                          fake.mail,         book,   fake.security, fake.secrets};
  gPlatform = &platform;
  PaintWatcher watcher(static_cast<int>(contacts));
  qApp->installEventFilter(&watcher);
  const int result = device.Run([&] {
    Bench bench(device, watcher, contacts, rounds);
    return bench.Run(folder + "/data/contacts") ? 0 : 1;
  });
  gPlatform = &fake.platform;
  fs::remove_all(folder);
  return result;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  return quillet::Main(argc, argv);
}
