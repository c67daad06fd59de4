// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_platform.h"

#include <utility>

#include "port/linux/cut_file.h"
#include "port/windows.h"

namespace quillet::port {

LinuxServices::LinuxServices(const Profile& profile, std::u16string command_line,
                             const std::string& program, std::u16string link)
    : queues(clock),
      files(profile.data_folder),
      registry(profile.RegistryFile()),
      shell(profile, std::move(command_line), std::move(link), queues),
      scheduler(profile, program, clock, [this] { shell.RequestDownload(); }),
      mail(profile.data_folder, [this] { return sockets.interrupts(); }),
      contacts(profile.data_folder),
      secrets(profile.config_folder, [this] { return sockets.interrupts(); }),
      signals_([this] { EndSession(); }) {
  TellOfCutFiles(files.NativePath(kCutFileNote));
}

LinuxServices::~LinuxServices() {
  Detach();
}

Platform& LinuxServices::Attach(const DisplayServices& display) {
  Detach();
  platform_.emplace(Platform{display, queues, registry, sockets, libraries, files, clock, shell,
                             scheduler, dialler, mail, contacts, security, secrets});
  shell.SetRaise([&windows = display.windows](const std::string& token) { windows.Raise(token); });
  gPlatform = &*platform_;
  return *platform_;
}

void LinuxServices::Detach() {
  shell.SetRaise({});
  if (platform_ && gPlatform == &*platform_) gPlatform = nullptr;
  platform_.reset();
}

void LinuxServices::SetOnEndSession(std::function<void()> call) {
  const std::lock_guard lock(end_session_mutex_);
  on_end_session_ = std::move(call);
}

void LinuxServices::EndSession() {
  {
    const std::lock_guard lock(end_session_mutex_);
    if (on_end_session_) on_end_session_();
  }
  shell.EndSession();
  sockets.Interrupt(InterruptReason::kSessionEnd);
  dialler.Interrupt();
}

}  // namespace quillet::port
