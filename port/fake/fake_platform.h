// SPDX-License-Identifier: GPL-3.0-or-later
// The whole in-memory device of a test:
//
//   quillet::port::FakePlatform fake;   // sets gPlatform until it goes out of scope
//
// The thread that makes it plays the program thread. Leftover announcements of the display and
// leftover steps of the sockets' transcript are failures when it goes.
#pragma once

#include "port/common/thread_queues.h"
#include "port/fake/failure.h"
#include "port/fake/fake_clock.h"
#include "port/fake/fake_contacts.h"
#include "port/fake/fake_display.h"
#include "port/fake/fake_files.h"
#include "port/fake/fake_libraries.h"
#include "port/fake/fake_mail_store.h"
#include "port/fake/fake_registry.h"
#include "port/fake/fake_secrets.h"
#include "port/fake/fake_security.h"
#include "port/fake/fake_services.h"
#include "port/fake/fake_sockets.h"
#include "port/platform.h"

// A program that does not link the test framework defines this; its failures end the process.
#ifndef QUILLET_FAKE_WITHOUT_GTEST
#include "port/fake/gtest_failures.h"
#endif

namespace quillet::port {

class FakePlatform {
 public:
  FakePlatform();
  FakePlatform(const FakePlatform&) = delete;
  FakePlatform& operator=(const FakePlatform&) = delete;
  ~FakePlatform();

  // Every failure of the display and the sockets; may be replaced before threads start.
  FailureHandler on_failure = DefaultFailureHandler();

  FakeClock clock;
  ThreadQueues queues{clock};
  FakeDisplay display{queues};
  FakeRegistry registry;
  FakeSockets sockets;
  FakeLibraries libraries;
  FakeFiles files;
  FakeDialler dialler;
  FakeScheduler scheduler;
  FakeShell shell{queues};
  FakeMailStore mail;
  FakeContacts contacts;
  FakeSecurity security;
  FakeSecrets secrets;

  Platform platform{
      display.Services(), queues,  registry, sockets,  libraries, files,  clock, shell,
      scheduler,          dialler, mail,     contacts, security,  secrets};

  // Handles every message that waits for this thread until there is none; false when the quit
  // message was among them.
  template <class Handle>
  bool HandleWaiting(const Handle& handle);
};

template <class Handle>
bool FakePlatform::HandleWaiting(const Handle& handle) {
  // A message of its own marks the end of what waits.
  const WindowHandle marker = queues.AddWindow();
  Message message;
  bool more = true;
  queues.Post({marker, MessageKind::kUser, 0, 0, {}});
  while ((more = queues.Get(message)) && message.window != marker) handle(message);
  queues.RemoveWindow(marker);
  return more;
}

}  // namespace quillet::port
