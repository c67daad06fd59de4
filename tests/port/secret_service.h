// SPDX-License-Identifier: GPL-3.0-or-later
// A session bus of the test's own, with a mocked Secret Service on it or without one. One a process
// at a time: it is what the environment names.
#pragma once

#include <signal.h>
#include <sys/prctl.h>

#include <memory>
#include <string>
#include <vector>

#include "port/linux/bus.h"
#include "tests/port/linux_test_tools.h"

namespace quillet::port {

// A call that nobody answers in this time has failed, in microseconds.
inline constexpr std::uint64_t kMockLimit = 5'000'000;

class PrivateBus {
 public:
  PrivateBus() : environment_("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder_ / "bus")) {
    // No services that the bus could start by itself.
    WriteAll(folder_ / "bus.conf",
             "<busconfig><type>session</type><listen>" + address() +
                 "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                 "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
    daemon_ =
        Start({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + (folder_ / "bus.conf")},
              "daemon.log");
    EXPECT_TRUE(Eventually([this] { return OpenBus(address()) != nullptr; }))
        << ReadAll(folder_ / "daemon.log");
    bus_ = OpenBus(address());
  }

  std::string address() const { return "unix:path=" + (folder_ / "bus"); }

  void StartService() {
    // The bus may not have noticed yet that the one before has gone.
    EXPECT_TRUE(Eventually([this] { return Call("Prompts") == nullptr; }));
    service_ = Start({"/usr/bin/python3", "-B", QUILLET_SECRET_SERVICE_MOCK}, "mock.log");
    EXPECT_TRUE(Eventually([this] { return Call("Prompts") != nullptr; }, 20000))
        << ReadAll(folder_ / "mock.log");
  }
  void StopService() { service_.reset(); }
  void StopBus() {
    service_.reset();
    daemon_.reset();
  }

  void Lock() { Call("Lock"); }
  void Silence() { Call("Silence"); }
  void DropDefault() { Call("DropDefault"); }
  // What becomes of prompts: "accept", "dismiss" or "never".
  void Answer(const char* answer) { Call("Answer", answer); }
  std::uint32_t Prompts() {
    std::uint32_t prompts = 0;
    const BusMessage reply = Call("Prompts");
    EXPECT_TRUE(reply && sd_bus_message_read(reply.get(), "u", &prompts) > 0);
    return prompts;
  }
  // What is kept, as "LABEL=TEXT", sorted.
  std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    const BusMessage reply = Call("Texts");
    const char* text = nullptr;
    if (!reply || sd_bus_message_enter_container(reply.get(), 'a', "s") < 0) return {"?"};
    while (sd_bus_message_read(reply.get(), "s", &text) > 0) texts.emplace_back(text);
    return texts;
  }

 private:
  std::unique_ptr<Child> Start(std::vector<std::string> arguments, const char* log) {
    return std::make_unique<Child>([&] {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (freopen((folder_ / log).c_str(), "w", stdout) == nullptr) _exit(126);
      dup2(STDOUT_FILENO, STDERR_FILENO);
      std::vector<char*> argv;
      argv.reserve(arguments.size() + 1);
      for (std::string& argument : arguments) argv.push_back(argument.data());
      argv.push_back(nullptr);
      execvp(argv[0], argv.data());
      _exit(127);
    });
  }

  BusMessage Call(const char* method, const char* text = nullptr) {
    sd_bus_message* request = nullptr;
    sd_bus_message_new_method_call(bus_.get(), &request, "org.freedesktop.secrets",
                                   "/org/freedesktop/secrets", "quillet.Mock", method);
    const BusMessage owned(request);
    if (text != nullptr) sd_bus_message_append(request, "s", text);
    sd_bus_message_set_auto_start(request, 0);
    sd_bus_message* reply = nullptr;
    sd_bus_call(bus_.get(), request, kMockLimit, nullptr, &reply);
    return BusMessage(reply);
  }

  TempFolder folder_;
  Environment environment_;
  std::unique_ptr<Child> daemon_;
  std::unique_ptr<Child> service_;
  BusConnection bus_;
};

}  // namespace quillet::port
