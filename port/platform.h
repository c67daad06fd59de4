// The device: one reference to each service, one process-wide instance.
#pragma once

#include "port/clock.h"
#include "port/dialler.h"
#include "port/dialogs.h"
#include "port/files.h"
#include "port/libraries.h"
#include "port/list_view.h"
#include "port/message_box.h"
#include "port/message_queue.h"
#include "port/registry.h"
#include "port/scheduler.h"
#include "port/shell.h"
#include "port/sockets.h"
#include "port/windows.h"

namespace quillet::port {

struct Platform {
  MessageQueue& messages;
  MessageBoxes& boxes;
  Windows& windows;
  ListView& group_list;
  Dialogs& dialogs;
  Registry& registry;
  Sockets& sockets;
  Libraries& libraries;
  Files& files;
  Clock& clock;
  Shell& shell;
  Scheduler& scheduler;
  Dialler& dialler;
};

}  // namespace quillet::port

namespace quillet {

// Set by each main and by tests before any program code runs; never null while it does.
extern port::Platform* gPlatform;

}  // namespace quillet
