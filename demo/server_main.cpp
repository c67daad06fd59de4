// SPDX-License-Identifier: GPL-3.0-or-later
// The demo news server: prints "listening on 127.0.0.1:PORT" and serves until SIGTERM or SIGINT.
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "demo/article_files.h"
#include "demo/option_reader.h"
#include "demo/server_loop.h"
#include "demo/tls_layer.h"

namespace {

using namespace quillet::demo;

constexpr std::string_view kUsage =
    "usage: quillet-demo-server (--articles FOLDER | --generate N [--seed N] [--group NAME ...])\n"
    "         [--address 127.0.0.1] [--port N] [--user NAME --password TEXT] [--no-posting]\n"
    "         [--tls-port N --authority FILE] [--die-with-parent]\n"
    "\n"
    "A news server for one machine: it listens on the loopback address only, keeps everything in\n"
    "memory and forgets what was posted when it ends. Without --port the system chooses one; the\n"
    "line \"listening on 127.0.0.1:PORT\" on standard output names it.\n"
    "\n"
    "--authority makes a certificate of its own, writes the authority that signed it into FILE, "
    "and\n"
    "offers STARTTLS; --tls-port listens on one more port, for TLS from the start (0: the system\n"
    "chooses). The line \"TLS on 127.0.0.1:PORT\" names it.\n";

struct Options {
  std::string articles;
  std::uint64_t generate = 0;
  std::uint64_t seed = 1;
  std::vector<std::string> groups;
  std::string address = "127.0.0.1";
  std::uint64_t port = 0;
  std::string user;
  std::string password;
  std::string authority;
  std::optional<std::uint64_t> tls_port;
  bool no_posting = false;
  bool die_with_parent = false;
};

bool ReadTlsPort(OptionReader& reader, Options& options) {
  std::uint64_t port = 0;
  if (!reader.Number("--tls-port", port)) return false;
  options.tls_port = port;
  return true;
}

bool ReadOptions(OptionReader reader, Options& options) {
  while (reader.Next()) {
    const bool known =
        reader.Text("--articles", options.articles) ||
        reader.Number("--generate", options.generate) || reader.Number("--seed", options.seed) ||
        reader.Texts("--group", options.groups) || reader.Text("--address", options.address) ||
        reader.Number("--port", options.port) || reader.Text("--user", options.user) ||
        reader.Text("--password", options.password) ||
        reader.Text("--authority", options.authority) || ReadTlsPort(reader, options) ||
        reader.Flag("--no-posting", options.no_posting) ||
        reader.Flag("--die-with-parent", options.die_with_parent);
    if (!known) return false;
  }
  if (options.tls_port && (options.authority.empty() || *options.tls_port > 65535)) return false;
  return options.port <= 65535 && options.articles.empty() != (options.generate == 0);
}

int Fail(const std::string& problem) {
  std::cerr << "quillet-demo-server: " << problem << "\n";
  return 1;
}

bool Fill(const Options& options, NewsStore& store, std::string& problem) {
  if (!options.articles.empty()) return LoadArticles(options.articles, store, problem);
  const auto& groups = options.groups.empty() ? GeneratedGroups() : options.groups;
  FillWithGenerated(options.generate, options.seed, groups, store);
  return true;
}

// A descriptor that becomes readable when the process is asked to end.
int EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

// Null without TLS, and with a reason in `problem` when it cannot be had.
std::unique_ptr<TlsAuthority> MakeAuthority(const Options& options, std::string& problem) {
  if (options.authority.empty()) return nullptr;
  auto authority = TlsAuthority::Make(problem);
  if (!authority) return nullptr;
  std::ofstream file(options.authority, std::ios::binary);
  file << authority->Certificate();
  file.close();
  if (file) return authority;
  problem = options.authority + " cannot be written";
  return nullptr;
}

// Adds a listener on the port, and says which it is; false with a reason.
bool Listen(std::uint64_t wanted, bool encrypted, std::vector<Listener>& listeners,
            std::string& problem) {
  auto port = static_cast<std::uint16_t>(wanted);
  const int descriptor = ListenOnLoopback(port, problem);
  if (descriptor < 0) return false;
  listeners.push_back({descriptor, encrypted});
  std::cout << (encrypted ? "TLS on 127.0.0.1:" : "listening on 127.0.0.1:") << port << std::endl;
  return true;
}

int Run(const Options& options, int stop) {
  NewsStore store;
  std::string problem;
  if (!Fill(options, store, problem)) return Fail(problem);
  const auto authority = MakeAuthority(options, problem);
  if (!authority && !options.authority.empty()) return Fail(problem);
  ServerSettings settings;
  settings.user = options.user;
  settings.password = options.password;
  settings.posting_allowed = !options.no_posting;
  settings.authority = authority.get();
  settings.now = [] { return static_cast<std::int64_t>(std::time(nullptr)); };
  std::vector<Listener> listeners;
  const bool listening = Listen(options.port, false, listeners, problem) &&
                         (!options.tls_port || Listen(*options.tls_port, true, listeners, problem));
  if (listening) ServeClients(listeners, stop, store, settings);
  for (const Listener& listener : listeners) ::close(listener.descriptor);
  return listening ? 0 : Fail(problem);
}

}  // namespace

int main(int argc, char** argv) {
  const pid_t parent = ::getppid();
  Options options;
  if (!ReadOptions(OptionReader(argc, argv), options)) {
    std::cerr << kUsage;
    return 2;
  }
  if (options.address != "127.0.0.1" && options.address != "localhost") {
    return Fail("listens on the loopback address 127.0.0.1 only");
  }
  const int stop = EndSignals();
  if (options.die_with_parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    // The parent may have ended before the request was made.
    if (::getppid() != parent) return 0;
  }
  return Run(options, stop);
}
