// SPDX-License-Identifier: GPL-3.0-or-later
// News servers on a real socket of 127.0.0.1: a strict transcript, and the small model server.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tests/nntp/news_model.h"
#include "tests/port/loopback_server.h"

namespace quillet {

// One connection that goes exactly so. Lay the conversation down before the client connects.
class TranscriptServer {
 public:
  TranscriptServer() : server_([this](int client) { Serve(client); }) {}

  // Bytes of the server, and bytes that the client must send next.
  void Server(std::string bytes) { steps_.push_back({true, std::move(bytes)}); }
  void Client(std::string bytes) { steps_.push_back({false, std::move(bytes)}); }
  // Bytes of the server, one a packet.
  void Trickle(const std::string& bytes);
  // The server waits until the client closes, without a word.
  void Stalls() { stalls_ = true; }

  std::uint16_t port() const { return server_.port(); }
  // What went wrong, after the connection; empty when all went so.
  std::string Problem();

 private:
  struct Step {
    bool from_server = false;
    std::string bytes;
  };
  void Serve(int client);
  std::string Play(int client) const;

  std::vector<Step> steps_;
  bool stalls_ = false;
  std::mutex mutex_;
  bool served_ = false;
  std::string problem_;
  port::LoopbackServer server_;  // last: its thread uses the rest
};

// Serves the model to one client after the other. The model must not change meanwhile.
class ModelServer {
 public:
  explicit ModelServer(NewsModel& model)
      : model_(model), server_([this](int client) { Serve(client); }) {}
  std::uint16_t port() const { return server_.port(); }

 private:
  void Serve(int client) const;

  NewsModel& model_;
  port::LoopbackServer server_;
};

}  // namespace quillet
