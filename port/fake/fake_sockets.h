// SPDX-License-Identifier: GPL-3.0-or-later
// A server that exists only as a transcript. A test writes the conversation in its order:
//
//   fake.sockets.Server("200 hi\r\n");
//   fake.sockets.Client("QUIT\r\n");
//
// and the sockets hold the program to it. A line that was not expected, a Receive while the server
// waits for the client, and steps left over at the end are failures of the test; after a failure
// the server closes. The transcript goes on over several connections. Any thread; the program uses
// the service itself on one.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "port/fake/failure.h"
#include "port/sockets.h"

namespace quillet::port {

enum class SocketCall { kOpen, kBind, kResolve, kConnect, kReceive, kSend, kClose, kStartTls };
constexpr std::size_t kSocketCallCount = 8;

class FakeSockets final : public Sockets {
 public:
  // --- the transcript ---

  // The server sends these bytes. One Receive never reads beyond the end of one step.
  void Server(std::string bytes);
  // The client must send exactly these bytes next, in one Send or several.
  void Client(std::string bytes);
  // The client must send a line (to its CR LF) that begins so.
  void ClientLineStarting(std::string prefix);
  // The test acts when the conversation gets here: at the end of the step before.
  void Then(std::function<void()> action);
  // The server closes: Receive yields 0, what the client still sends is swallowed until the next
  // Connect.
  void Closes();
  // Receive waits until Resume or Interrupt. What the client sends after an Interrupt is swallowed.
  void Stalls();
  void Resume();
  // The server is silent for good: where there is a stall limit, what waits for it fails at once
  // with kErrorStalled and the connection is as one that was closed. Without one it waits as above.
  void StallsForGood();
  // The client must start TLS next, having sent nothing before it; it gets that result. After any
  // but kDone the connection carries nothing any more.
  void Tls(TlsResult result = {TlsOutcome::kDone, {}, {}});

  // --- faults ---

  // At most n bytes a Receive; 0: no limit but the buffer's.
  void SetChunk(std::size_t n);
  // The server closes after n bytes of the whole of what it sends; the rest of the transcript is
  // void.
  void CloseAfter(std::uint64_t n);
  // The nth call of that kind from now on (1: the next) fails once with that code; 0 takes it back.
  // The failing call has no effect (a failing Close closes all the same).
  void FailNth(SocketCall kind, int n, int error);
  void FailOpen(int error) { FailNth(SocketCall::kOpen, 1, error); }
  void FailBind(int error) { FailNth(SocketCall::kBind, 1, error); }
  void FailConnect(int error) { FailNth(SocketCall::kConnect, 1, error); }
  void FailSend(int n, int error) { FailNth(SocketCall::kSend, n, error); }
  void FailReceive(int n, int error) { FailNth(SocketCall::kReceive, n, error); }
  // Called at the start of every call with its kind and its number of that kind (from 1).
  std::function<void(SocketCall kind, int n)> on_call;

  // The names Resolve knows; others are unknown (11001).
  void SetHost(std::string name, std::array<std::uint8_t, 4> ipv4);
  void SetHost(std::string name, std::vector<Address> addresses);
  // What Startup grants; nothing: it fails.
  void SetVersion(std::optional<SocketVersion> version);

  // --- what happened ---

  std::string sent() const;          // every byte the client sent
  std::uint64_t delivered() const;   // bytes the client received
  int open_sockets() const;          // opened and not closed
  int calls(SocketCall kind) const;  // calls so far, failed ones included
  int startups() const;              // successful ones
  int cleanups() const;
  std::optional<SocketVersion> version_wanted() const;
  std::vector<std::string> resolved() const;
  struct Connection {
    std::vector<Address> addresses;
    std::uint16_t port = 0;
    bool operator==(const Connection&) const = default;
  };
  std::vector<Connection> connections() const;
  std::vector<std::uint32_t> close_waits() const;   // milliseconds of each AwaitClose
  std::vector<std::uint32_t> stall_limits() const;  // of each SetStallLimit
  std::vector<TlsRequest> tls_requests() const;     // of each StartTls
  std::vector<InterruptReason> interrupts() const;

  // True when the whole transcript took place.
  bool Finished() const;
  // Leftover steps are no failure.
  void Release();
  // A failure for every step left over (once).
  void Verify();

  FailureHandler on_failure = DefaultFailureHandler();

  // --- the service ---

  std::optional<SocketVersion> Startup(SocketVersion wanted) override;
  void Cleanup() override;
  SocketHandle Open() override;
  bool Bind(SocketHandle socket) override;
  std::vector<Address> Resolve(const std::string& host) override;
  bool Connect(SocketHandle socket, std::span<const Address> addresses,
               std::uint16_t port) override;
  void SetStallLimit(SocketHandle socket, std::uint32_t milliseconds) override;
  TlsResult StartTls(SocketHandle socket, const TlsRequest& request) override;
  std::int64_t Receive(SocketHandle socket, std::span<char> buffer) override;
  bool Send(SocketHandle socket, std::string_view data) override;
  void Close(SocketHandle socket) override;
  int LastError() override;
  // Reads on in the transcript until the server closes or stalls or it is the client's turn;
  // nothing of it is waited for but a stall.
  void AwaitClose(SocketHandle socket, std::uint32_t milliseconds) override;
  void Interrupt(InterruptReason reason) override;

 private:
  enum class StepKind { kServer, kClient, kClientLine, kThen, kCloses, kStalls, kTls };
  struct Step {
    StepKind kind = StepKind::kServer;
    std::string bytes;
    std::function<void()> action;
    bool for_good = false;
    TlsResult tls{};
  };
  struct Fault {
    int in = 0;
    int error = 0;
  };
  using Lock = std::unique_lock<std::mutex>;

  void Add(Step step);
  bool Interrupted() const { return cancelled_ || session_ended_; }
  bool Enter(Lock& lock, SocketCall kind);
  bool CheckOpen(SocketHandle socket, bool connected);
  void Fail(Lock& lock, const std::string& message);
  void RunActions(Lock& lock);
  bool WaitWhileStalled(Lock& lock, SocketHandle socket);
  static std::string Describe(const Step& step);
  TlsResult RefuseTls(SocketHandle socket, int error);
  std::int64_t Deliver(Lock& lock, std::string& bytes, std::span<char> buffer);
  void MakeReadable(Lock& lock);
  bool MatchClient(Lock& lock);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Step> steps_;
  std::string unread_;     // server bytes passed by a client that sent before it had read them
  std::string unmatched_;  // client bytes that are the beginning of the expected ones
  std::string sent_;
  std::uint64_t delivered_ = 0;
  std::optional<std::uint64_t> close_after_;
  std::size_t chunk_ = 0;
  bool server_closed_ = false;
  bool cancelled_ = false;
  bool session_ended_ = false;
  std::vector<InterruptReason> interrupts_;
  std::vector<std::uint32_t> close_waits_;
  std::vector<std::uint32_t> stall_limits_;
  std::map<SocketHandle, std::uint32_t> limits_;
  std::vector<TlsRequest> tls_requests_;
  bool resumed_ = false;
  bool released_ = false;
  std::optional<SocketVersion> version_ = SocketVersion{1, 1};
  std::optional<SocketVersion> version_wanted_;
  int startups_ = 0;
  int cleanups_ = 0;
  std::map<std::string, std::vector<Address>> hosts_;
  std::vector<std::string> resolved_;
  std::vector<Connection> connections_;
  std::set<SocketHandle> open_;
  std::set<SocketHandle> connected_;
  SocketHandle last_socket_ = 0;
  std::array<Fault, kSocketCallCount> faults_{};
  std::array<int, kSocketCallCount> calls_{};
  int last_error_ = 0;
};

}  // namespace quillet::port
