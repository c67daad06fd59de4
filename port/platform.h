// The device: one reference to each service, one process-wide instance.
#pragma once

#include "port/article_panes.h"
#include "port/clock.h"
#include "port/dialler.h"
#include "port/dialogs.h"
#include "port/file_dialogs.h"
#include "port/files.h"
#include "port/libraries.h"
#include "port/list_view.h"
#include "port/message_box.h"
#include "port/message_queue.h"
#include "port/pop_up_menus.h"
#include "port/registry.h"
#include "port/scheduler.h"
#include "port/shell.h"
#include "port/sockets.h"
#include "port/tree_view.h"
#include "port/windows.h"

namespace quillet::port {

// What a display brings.
struct DisplayServices {
  MessageBoxes& boxes;
  Windows& windows;
  ListView& group_list;
  Dialogs& dialogs;
  TreeView& thread_tree;
  PopUpMenus& pop_ups;
  ArticlePanes& article;
  FileDialogs& file_dialogs;
};

struct Platform : DisplayServices {
  MessageQueue& messages;
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
