// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/wire.h"

#include <algorithm>
#include <span>
#include <utility>

#include "base/long_operation.h"
#include "port/platform.h"

namespace quillet {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

Wire::Wire(Wire&& other) noexcept
    : socket_(std::exchange(other.socket_, 0)),
      buffer_(std::move(other.buffer_)),
      first_(std::exchange(other.first_, 0)),
      last_(std::exchange(other.last_, 0)),
      stalled_(std::exchange(other.stalled_, false)) {}

Wire& Wire::operator=(Wire&& other) noexcept {
  Wire taken(std::move(other));
  std::swap(socket_, taken.socket_);
  std::swap(buffer_, taken.buffer_);
  std::swap(first_, taken.first_);
  std::swap(last_, taken.last_);
  std::swap(stalled_, taken.stalled_);
  return *this;
}

void Wire::Open(port::SocketHandle socket) {
  Close();
  socket_ = socket;
  stalled_ = false;
}

void Wire::Close() {
  first_ = last_ = 0;
  if (const port::SocketHandle socket = std::exchange(socket_, 0); socket != 0) {
    gPlatform->sockets.Close(socket);
  }
}

bool Wire::Send(std::string_view bytes) {
  if (socket_ == 0) return false;
  if (gPlatform->sockets.Send(socket_, bytes)) return true;
  NoteFailure();
  return false;
}

std::optional<std::string_view> Wire::ReadLine(std::size_t limit) {
  for (;;) {
    const std::string_view start = Pending().substr(0, limit);
    const std::size_t end = start.find(kLineEnd);
    if (end != std::string_view::npos) return Take(end + kLineEnd.size());
    if (start.size() == limit || AbortRequested() || !Receive(limit - start.size())) {
      return std::nullopt;
    }
  }
}

RunEnd Wire::ReadBlock(const BlockSink& sink) {
  bool line_starts = true;
  std::size_t searched = 0;  // bytes of Pending() that no line end begins in
  for (;;) {
    const std::string_view pending = Pending();
    const std::size_t end = pending.find(kLineEnd, searched);
    if (end != std::string_view::npos) {
      const std::string_view line = Take(end + kLineEnd.size()).substr(0, end);
      if (line_starts && line == ".") return RunEnd::kGoOn;
      sink(line, true);
      line_starts = true;
      searched = 0;
      continue;
    }
    searched = pending.empty() ? 0 : pending.size() - 1;  // the last one may be a line end's CR
    if (pending.size() == kReadAhead) {
      sink(Take(std::exchange(searched, 0)), false);
      line_starts = false;
    }
    if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
    if (!Receive(kReadAhead)) return LostOrAsked();
  }
}

std::string_view Wire::Pending() const {
  return {buffer_.data() + first_, last_ - first_};
}

std::string_view Wire::Take(std::size_t count) {
  const std::string_view taken = Pending().substr(0, count);
  first_ += taken.size();
  return taken;
}

bool Wire::Receive(std::size_t most) {
  if (socket_ == 0) return false;
  buffer_.resize(kReadAhead);
  if (first_ == last_ || buffer_.size() - last_ < most) {
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(first_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(last_), buffer_.begin());
    last_ -= std::exchange(first_, 0);
  }
  const std::span<char> space(buffer_.data() + last_, std::min(most, buffer_.size() - last_));
  if (space.empty()) return false;
  const std::int64_t count = gPlatform->sockets.Receive(socket_, space);
  if (count <= 0) {
    if (count < 0) NoteFailure();
    return false;
  }
  last_ += static_cast<std::size_t>(count);
  return true;
}

void Wire::NoteFailure() {
  stalled_ = gPlatform->sockets.LastError() == port::kErrorStalled;
}

}  // namespace quillet
