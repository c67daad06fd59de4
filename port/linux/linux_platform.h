// SPDX-License-Identifier: GPL-3.0-or-later
// All services of a run on Linux. A main makes them first of all, before any other thread
// (signals), then its display on services.queues, then attaches the display.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "port/common/thread_queues.h"
#include "port/linux/linux_clock.h"
#include "port/linux/linux_contacts.h"
#include "port/linux/linux_dialler.h"
#include "port/linux/linux_files.h"
#include "port/linux/linux_libraries.h"
#include "port/linux/linux_mail_store.h"
#include "port/linux/linux_registry.h"
#include "port/linux/linux_scheduler.h"
#include "port/linux/linux_secrets.h"
#include "port/linux/linux_security.h"
#include "port/linux/linux_shell.h"
#include "port/linux/linux_sockets.h"
#include "port/linux/profile.h"
#include "port/linux/signal_watcher.h"
#include "port/platform.h"

namespace quillet::port {

class LinuxServices {
 public:
  // `program` is the native path of the executable that the scheduler starts.
  LinuxServices(const Profile& profile, std::u16string command_line, const std::string& program,
                std::u16string link = {});
  LinuxServices(const LinuxServices&) = delete;
  LinuxServices& operator=(const LinuxServices&) = delete;
  ~LinuxServices();

  // Completes the platform with the display and makes it gPlatform. The display must live until
  // Detach, which the destructor does too.
  Platform& Attach(const DisplayServices& display);
  // From then on nobody else calls the display, and gPlatform is null. Idempotent.
  void Detach();

  // Called first when the session ends, on the thread that says so. Replaces the earlier one; after
  // the return the earlier one is not running any more.
  void SetOnEndSession(std::function<void()> call);

  // What a signal does: posts kEndSession to the main window (or once there is one) and ends
  // blocked calls of the network. Any thread.
  void EndSession();

  LinuxClock clock;
  ThreadQueues queues;
  LinuxFiles files;
  LinuxLibraries libraries;
  LinuxRegistry registry;
  LinuxSockets sockets;
  LinuxDialler dialler;
  LinuxShell shell;
  LinuxScheduler scheduler;
  LinuxMailStore mail;
  LinuxContacts contacts;
  LinuxSecurity security;
  LinuxSecrets secrets;

 private:
  std::optional<Platform> platform_;
  std::mutex end_session_mutex_;
  std::function<void()> on_end_session_;
  SignalWatcher signals_;  // last: it calls the others
};

}  // namespace quillet::port
