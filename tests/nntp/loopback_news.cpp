// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/nntp/loopback_news.h"

#include <netinet/tcp.h>

#include <array>
#include <chrono>

namespace quillet {

void TranscriptServer::Trickle(const std::string& bytes) {
  for (const char byte : bytes) Server(std::string(1, byte));
}

std::string TranscriptServer::Problem() {
  // The client has closed; its server thread may still be on the way to noticing.
  for (int i = 0; i < 500; ++i) {
    {
      const std::lock_guard lock(mutex_);
      if (served_) return problem_;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return "the connection never ended";
}

void TranscriptServer::Serve(int client) {
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::string problem = Play(client);
  const std::lock_guard lock(mutex_);
  problem_ += problem;
  served_ = true;
}

std::string TranscriptServer::Play(int client) const {
  for (const Step& step : steps_) {
    if (step.from_server) {
      if (!port::SendAll(client, step.bytes)) return "the client was gone before: " + step.bytes;
      continue;
    }
    const std::string got = port::ReceiveExactly(client, step.bytes.size());
    if (got != step.bytes) return "expected: " + step.bytes + " got: " + got;
  }
  if (!stalls_) shutdown(client, SHUT_WR);
  const std::string more = port::ReceiveExactly(client, 1);
  return more.empty() ? "" : "the client sent more: " + more;
}

void ModelServer::Serve(int client) const {
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  NewsSession session(model_);
  std::array<char, 4096> buffer{};
  std::string lines;
  if (!port::SendAll(client, NewsSession::Greeting())) return;
  while (!session.quit()) {
    const ssize_t count = recv(client, buffer.data(), buffer.size(), 0);
    if (count <= 0) return;
    lines.append(buffer.data(), static_cast<std::size_t>(count));
    std::size_t end = 0;
    while ((end = lines.find("\r\n")) != std::string::npos) {
      const std::string reply = session.Reply(std::string_view(lines).substr(0, end));
      lines.erase(0, end + 2);
      if (!port::SendAll(client, reply)) return;
    }
  }
}

}  // namespace quillet
