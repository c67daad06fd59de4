// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QEventLoop>
#include <QStyleFactory>
#include <cstdio>
#include <cstring>
#include <thread>

#include "qt/form_table.h"
#include "tests/forms/forms.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
JobQueue* gDisplayThread = nullptr;
std::span<const FormEntry> TestForms();
}  // namespace quillet::qt

namespace {

void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                          const QString& text) {
  // The offscreen platform says what it does not do.
  if (type != QtFatalMsg && text.contains(QLatin1String("This plugin does not support"))) return;
  std::fprintf(stderr, "%s\n", qPrintable(text));
  if (type == QtFatalMsg) std::abort();
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  qInstallMessageHandler(HandleToolkitMessage);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillet::qt::AddForms(quillet::qt::TestForms());
  quillet::AddDialogTemplates(quillet::TestTemplates());
  quillet::qt::JobQueue jobs;
  quillet::qt::gDisplayThread = &jobs;
  QEventLoop loop;
  int result = 0;
  std::thread tests([&] {
    result = RUN_ALL_TESTS();
    jobs.Post([&] { loop.quit(); });
  });
  loop.exec();
  jobs.Close();
  tests.join();
  return result;
}
