// SPDX-License-Identifier: GPL-3.0-or-later
// What a server may send, in pieces of any size. The first byte chooses the reader (in turns: reply
// lines or articles; or replies under way), the second the pieces, the third the size of a block's
// buffer; the rest is what the server sends before it closes.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "nntp/connection.h"
#include "nntp/replies.h"
#include "port/fake/fake_platform.h"

namespace {

using namespace quillet;

void Require(bool holds) {
  if (!holds) std::abort();
}

class FuzzedSockets final : public port::Sockets {
 public:
  void Start(std::string_view bytes, std::uint32_t seed) {
    bytes_ = bytes;
    seed_ = seed;
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
  std::int64_t Receive(port::SocketHandle socket, std::span<char> buffer) override {
    Require(socket == 1 && !buffer.empty());
    seed_ = seed_ * 1664525 + 1013904223;
    const std::size_t piece = seed_ >> 30 == 0 ? bytes_.size() : 1 + (seed_ >> 24) % 64;
    const std::size_t count = std::min({bytes_.size(), buffer.size(), piece});
    std::copy_n(bytes_.data(), count, buffer.data());
    bytes_.remove_prefix(count);
    return static_cast<std::int64_t>(count);
  }
  bool Send(port::SocketHandle, std::string_view) override { return true; }
  void Close(port::SocketHandle) override {}
  int LastError() override { return 0; }
  void AwaitClose(port::SocketHandle, std::uint32_t) override {}
  void Interrupt(port::InterruptReason) override {}

 private:
  std::string_view bytes_;
  std::uint32_t seed_ = 0;
};

struct Device {
  Device() { gPlatform = &platform; }
  port::FakePlatform fake;
  FuzzedSockets sockets;
  port::Platform platform{fake.display.Services(), fake.queues,  fake.registry, sockets,
                          fake.libraries,          fake.files,   fake.clock,    fake.shell,
                          fake.scheduler,          fake.dialler, fake.mail,     fake.contacts,
                          fake.security,           fake.secrets};
};

void ReadReplies() {
  while (ReadResponse()) {
    Require(gConnection.reply.size() < kLineBufferSize);
    Require(gConnection.reply.find('\0') == std::string::npos);
    for (int field = 0; field < 5; ++field) GetNumericField(gConnection.reply, field);
  }
  Require(gConnection.wire.socket() == 0);
}

void ReadArticles(std::size_t capacity) {
  std::string text;
  while (ReadStatusLine(text)) {
    Require(text.size() < kLineBufferSize);
    const std::size_t brought = text.size();
    const BlockResult result = ReadMultiline(&text, capacity, true, 1, 0);
    Require(result != BlockResult::kNoText);
    Require(text.size() <= std::max<std::size_t>({capacity, brought, 5}));
    if (result == BlockResult::kComplete) {
      Require(text.size() + 3 < capacity);
      Require(text.find('\0') == std::string::npos);
    }
    if (result == BlockResult::kClosed) {
      Require(gConnection.wire.socket() == 0);
      return;
    }
    text.clear();
  }
}

// Lines with blocks between them, as replies under way are read.
void ReadAhead(std::size_t limit) {
  Wire& wire = gConnection.wire;
  std::size_t length = 0;
  for (;;) {
    const auto line = wire.ReadLine(limit);
    if (!line) return;
    Require(line->size() <= limit && line->ends_with("\r\n"));
    Require(line->find("\r\n") == line->size() - 2);
    const RunEnd end = wire.ReadBlock([&](std::string_view text, bool line_ends) {
      Require(text.find("\r\n") == std::string_view::npos);
      Require(!line_ends || length != 0 || text != ".");
      length = line_ends ? 0 : length + text.size();
    });
    if (end == RunEnd::kLost) return;
    Require(length == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Device device;
  if (size < 3) return 0;
  device.sockets.Start({reinterpret_cast<const char*>(data) + 3, size - 3}, data[1]);
  gConnection = NntpConnection();
  gConnection.wire.Open(1);
  if ((data[0] & 2) != 0) {
    ReadAhead(data[2] * std::size_t{8});
  } else if ((data[0] & 1) != 0) {
    ReadReplies();
  } else {
    ReadArticles(data[2] * std::size_t{8});
  }
  gConnection.wire.Close();  // before the device goes
  return 0;
}
