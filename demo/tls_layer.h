// SPDX-License-Identifier: GPL-3.0-or-later
// TLS for the demo server's clients: a throw-away authority with one certificate, and one client's
// side of the encryption, which knows no sockets.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace quillet::demo {

class TlsLayer;

// Made anew at every start: an authority, and its certificate for 127.0.0.1 and localhost.
class TlsAuthority {
 public:
  // Null with a reason when OpenSSL refuses.
  static std::unique_ptr<TlsAuthority> Make(std::string& problem);
  ~TlsAuthority();
  TlsAuthority(const TlsAuthority&) = delete;
  TlsAuthority& operator=(const TlsAuthority&) = delete;

  // The authority's certificate in PEM, for a client that is to trust it.
  const std::string& Certificate() const;

 private:
  friend class TlsLayer;
  struct State;
  explicit TlsAuthority(std::unique_ptr<State> state);

  std::unique_ptr<State> state_;
};

// The server's end of one encrypted connection. Bytes of the network go in and come out of it.
class TlsLayer {
 public:
  explicit TlsLayer(const TlsAuthority& authority);
  ~TlsLayer();
  TlsLayer(const TlsLayer&) = delete;
  TlsLayer& operator=(const TlsLayer&) = delete;

  // Takes what came from the client and appends what it said to `text`. False when the connection
  // cannot go on: no TLS was spoken, or the client has ended it. What is to be sent then is sent
  // all the same.
  bool Receive(std::string_view bytes, std::string& text);
  // Encrypts an answer; nothing goes out before the handshake is done, it is kept till then.
  void Send(std::string_view text);
  // Says goodbye: nothing comes after it.
  void Close();
  // What is to be sent to the client now.
  std::string TakeOutput();

 private:
  struct State;
  bool Handshake();
  bool Encrypt();

  std::unique_ptr<State> state_;
};

}  // namespace quillet::demo
