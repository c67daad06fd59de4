// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes of one connection to the news server: what is sent, and a reader that keeps what it has
// received and nobody has taken yet, so that several replies may be under way. Program thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "base/run_end.h"
#include "port/sockets.h"

namespace quillet {

// Gets a dot-terminated block as it comes: a line without its CR LF, dot-stuffing not undone. A
// line longer than Wire::kReadAhead comes in several pieces, the last with `line_ends`. The text is
// valid during the call, which must not touch the wire.
using BlockSink = std::function<void(std::string_view text, bool line_ends)>;

// Owns the socket. All texts it hands out are valid until the next call.
class Wire {
 public:
  // Bytes the reader holds at most, so also the most it asks the socket service for.
  static constexpr std::size_t kReadAhead = 65536;

  Wire() = default;
  ~Wire() { Close(); }
  Wire(Wire&& other) noexcept;
  Wire& operator=(Wire&& other) noexcept;
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  // Takes over a socket, connected or not; the one before it is closed. 0: none.
  void Open(port::SocketHandle socket);
  // Closes the socket and forgets what was left over. Idempotent.
  void Close();
  bool IsOpen() const { return socket_ != 0; }
  port::SocketHandle socket() const { return socket_; }

  // The last receive or send that failed waited too long for the server; until the next Open.
  bool stalled() const { return stalled_; }

  // Sends all bytes; false when the connection is lost. What is left over stays.
  bool Send(std::string_view bytes);

  // The next line with its CR LF, `limit` bytes at most; what came behind it is left over. Nothing
  // when the connection is lost or the line is longer: what came of it is left over then. Never
  // asks for more bytes than the limit leaves. After an abort request only what has come already is
  // looked at.
  std::optional<std::string_view> ReadLine(std::size_t limit);

  // Hands a block over to the sink, without its terminator; what came behind that is left over.
  // kGoOn at its end; kLost; an abort request (kCancelled, kSessionEnds) ends the reading before a
  // receive.
  RunEnd ReadBlock(const BlockSink& sink);

  // What was received and nobody has taken: an answer to nothing yet asked, if nothing is under
  // way.
  std::string_view Pending() const;
  // Takes the first `count` bytes of Pending(), of which there must be so many.
  std::string_view Take(std::size_t count);
  // One receive of at most `most` bytes, appended to Pending(). False when the connection is lost
  // and when there is no room.
  bool Receive(std::size_t most);

 private:
  void NoteFailure();

  port::SocketHandle socket_ = 0;
  std::vector<char> buffer_;  // empty until the first receive, kReadAhead bytes from then on
  std::size_t first_ = 0;     // Pending() is from first_ to last_
  std::size_t last_ = 0;
  bool stalled_ = false;
};

}  // namespace quillet
