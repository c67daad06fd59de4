// SPDX-License-Identifier: GPL-3.0-or-later
// Sockets that lead to a NewsModel, with faults of every kind. One connection at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "port/sockets.h"
#include "tests/nntp/news_model.h"

namespace quillet {

class ModelSockets final : public port::Sockets {
 public:
  explicit ModelSockets(NewsModel& model) : model_(model) {}

  // --- faults; 0 or empty: none ---
  std::size_t chunk = 0;                     // bytes a Receive
  int fail_send = 0;                         // the nth from now on
  std::size_t failed_send_delivers = 0;      // bytes of it that arrive all the same
  int fail_receive = 0;                      // the nth from now on
  std::optional<std::uint64_t> close_after;  // bytes; the next connection is sound again
  std::uint64_t close_every = 0;             // bytes of each connection
  // May replace the nth reply (from 1, the greeting).
  std::function<std::string(int n, const std::string& reply)> on_reply;
  std::function<void(std::string_view line)> on_line;
  // At the start of every Send and Receive with its number (from 1).
  std::function<void(int n)> on_call;

  int open = 0;   // sockets not closed
  int calls = 0;  // of Send and Receive
  int replies = 0;
  std::uint64_t delivered = 0;

  std::optional<port::SocketVersion> Startup(port::SocketVersion wanted) override { return wanted; }
  void Cleanup() override {}
  port::SocketHandle Open() override {
    ++open;
    interrupted_ = false;
    return 1;
  }
  bool Bind(port::SocketHandle) override { return true; }
  std::vector<port::Address> Resolve(const std::string&) override {
    return {port::Ipv4(127, 0, 0, 1)};
  }
  void SetStallLimit(port::SocketHandle, std::uint32_t) override {}
  port::TlsResult StartTls(port::SocketHandle, const port::TlsRequest&) override { return {}; }
  bool Connect(port::SocketHandle, std::span<const port::Address>, std::uint16_t) override {
    session_ = std::make_unique<NewsSession>(model_);
    pending_.clear();
    line_.clear();
    closed_ = false;
    if (close_after && delivered >= *close_after && std::exchange(cut_, false)) close_after.reset();
    if (close_every != 0) close_after = delivered + close_every;
    Answer(NewsSession::Greeting());
    return true;
  }
  std::int64_t Receive(port::SocketHandle, std::span<char> buffer) override {
    Called();
    if (fail_receive > 0 && --fail_receive == 0) return -1;
    std::size_t count = std::min(buffer.size(), pending_.size() - read_);
    if (chunk != 0) count = std::min(count, chunk);
    if (close_after) {
      count = static_cast<std::size_t>(std::min<std::uint64_t>(count, *close_after - delivered));
    }
    if (interrupted_) return -1;
    cut_ |= close_after && count == 0;
    if (closed_ || count == 0) {
      closed_ = true;
      return 0;
    }
    std::copy_n(pending_.data() + read_, count, buffer.data());
    read_ += count;
    delivered += count;
    return static_cast<std::int64_t>(count);
  }
  bool Send(port::SocketHandle, std::string_view data) override {
    Called();
    const bool fails = fail_send > 0 && --fail_send == 0;
    line_ += fails ? data.substr(0, failed_send_delivers) : data;
    std::size_t end = 0;
    while ((end = line_.find("\r\n")) != std::string::npos) {
      const std::string line = line_.substr(0, end);
      line_.erase(0, end + 2);
      if (on_line) on_line(line);
      if (const std::string reply = session_->Reply(line); !reply.empty()) Answer(reply);
    }
    return !fails;
  }
  void Close(port::SocketHandle) override { --open; }
  int LastError() override { return 0; }
  void AwaitClose(port::SocketHandle, std::uint32_t) override {}
  void Interrupt(port::InterruptReason) override { interrupted_ = true; }

 private:
  void Called() {
    ++calls;
    if (on_call) on_call(calls);
  }
  void Answer(std::string reply) {
    ++replies;
    if (on_reply) reply = on_reply(replies, reply);
    pending_.erase(0, read_);
    read_ = 0;
    pending_ += reply;
  }

  NewsModel& model_;
  std::unique_ptr<NewsSession> session_;
  std::string pending_;
  std::size_t read_ = 0;
  std::string line_;
  bool closed_ = false;
  bool cut_ = false;  // by close_after
  bool interrupted_ = false;
};

}  // namespace quillet
