// SPDX-License-Identifier: GPL-3.0-or-later
// The device: one reference to each service, one process-wide instance. The services' headers are
// not included here: a source includes those of the services that it calls.
#pragma once

namespace quillet::port {

class ArticlePanes;
class Clock;
class Contacts;
class Dialler;
class Dialogs;
class FileDialogs;
class Files;
class Libraries;
class ListView;
class MailStore;
class MessageBoxes;
class MessageQueue;
class PopUpMenus;
class PropertySheets;
class Registry;
class Scheduler;
class Secrets;
class Security;
class Shell;
class Sockets;
class TreeView;
class Windows;

// What a display brings.
struct DisplayServices {
  MessageBoxes& boxes;
  Windows& windows;
  ListView& group_list;
  Dialogs& dialogs;
  PropertySheets& sheets;
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
  MailStore& mail;
  Contacts& contacts;
  Security& security;
  Secrets& secrets;
};

}  // namespace quillet::port

namespace quillet {

// Set by each main and by tests before any program code runs; never null while it does.
extern port::Platform* gPlatform;

}  // namespace quillet
