#include "qt/device.h"

#include <QApplication>
#include <QEventLoop>
#include <thread>

namespace quillet::qt {

QtDevice::QtDevice(port::ThreadQueues& queues)
    : display_{jobs_, queues},
      boxes_(display_),
      windows_(display_),
      group_list_(display_),
      dialogs_(display_),
      keys_(display_) {
  // Windows come and go; the program decides when it ends.
  QApplication::setQuitOnLastWindowClosed(false);
  qApp->installEventFilter(&keys_);
}

QtDevice::~QtDevice() {
  jobs_.Close();
  for (QMessageBox* box : boxes_.OpenBoxes()) delete box;
  // Dialogs over the main window are deleted with it.
  for (const auto& [handle, window] : display_.windows) delete window;
}

int QtDevice::Run(const std::function<int()>& program) {
  int result = 0;
  QEventLoop loop;
  std::thread thread([&] {
    result = program();
    jobs_.Post([&loop] { loop.quit(); });
  });
  loop.exec();
  // Whoever still waits for the display is let go: the program ends without it.
  jobs_.Close();
  thread.join();
  return result;
}

}  // namespace quillet::qt
