// SPDX-License-Identifier: GPL-3.0-or-later
// What a server may send during an encrypted login, line after line, up to the package that reads
// its challenge; fuzz_ntlm_challenge has that.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "base/subscriptions.h"
#include "nntp/connection.h"
#include "nntp/ntlm.h"
#include "port/fake/fake_platform.h"

namespace {

using namespace quillet;

void Require(bool holds) {
  if (!holds) std::abort();
}

class LineSockets final : public port::Sockets {
 public:
  void Start(std::string_view bytes) {
    bytes_ = bytes;
    sent.clear();
  }
  std::optional<port::SocketVersion> Startup(port::SocketVersion wanted) override { return wanted; }
  void Cleanup() override {}
  port::SocketHandle Open() override { return 1; }
  bool Bind(port::SocketHandle) override { return true; }
  std::vector<port::Address> Resolve(const std::string&) override { return {}; }
  bool Connect(port::SocketHandle, std::span<const port::Address>, std::uint16_t) override {
    return true;
  }
  void SetStallLimit(port::SocketHandle, std::uint32_t) override {}
  port::TlsResult StartTls(port::SocketHandle, const port::TlsRequest&) override { return {}; }
  // A line at a time, since a reply takes all that has come.
  std::int64_t Receive(port::SocketHandle, std::span<char> buffer) override {
    const std::size_t line = std::min(bytes_.find('\n'), bytes_.size() - 1) + 1;
    const std::size_t count = std::min({bytes_.size(), buffer.size(), line});
    std::copy_n(bytes_.data(), count, buffer.data());
    bytes_.remove_prefix(count);
    return static_cast<std::int64_t>(count);
  }
  bool Send(port::SocketHandle, std::string_view data) override {
    sent += data;
    return true;
  }
  void Close(port::SocketHandle) override {}
  int LastError() override { return 0; }
  void AwaitClose(port::SocketHandle, std::uint32_t) override {}
  void Interrupt(port::InterruptReason) override {}

  std::string sent;

 private:
  std::string_view bytes_;
};

struct Device {
  Device()
      : platform{fake.display.Services(), fake.queues,  fake.registry, sockets,
                 fake.libraries,          fake.files,   fake.clock,    fake.shell,
                 fake.scheduler,          fake.dialler, fake.mail,     fake.contacts,
                 fake.security,           fake.secrets} {}
  port::FakePlatform fake;
  LineSockets sockets;
  port::Platform platform;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Device device;
  gPlatform = &device.platform;
  port::FakeSecurity& canned = device.fake.security;
  canned = {};
  canned.packages = {{u"NTLM", 3}};
  canned.steps = {{port::kSecurityContinueNeeded, 0, "hello"}, {port::kSecurityDone, 0, "proof"}};
  gPrefs = std::make_unique<Prefs>();
  AddServer(*gPrefs, {u"news.example.org", 119, true, true, u"ann\\NEWS", u"secret"});
  device.sockets.Start({reinterpret_cast<const char*>(data), size});
  gConnection = NntpConnection();
  gConnection.wire.Open(1);
  const RunEnd end = NegotiateNtlm();
  Require(canned.credentials.empty() && canned.contexts.empty());
  Require(device.sockets.sent.starts_with("AUTHINFO GENERIC NTLM\r\n"));
  // Whatever ends it without a login is said.
  Require((end == RunEnd::kGoOn) == gConnection.error_log.text.empty());
  for (const std::string& call : canned.calls) Require(call.size() < 2 * kLineBufferSize);
  gConnection = NntpConnection();
  gPrefs.reset();
  return 0;
}
