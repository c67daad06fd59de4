// SPDX-License-Identifier: GPL-3.0-or-later
// The transcript is a queue of steps, and only its front counts: the client's bytes are matched
// with it as they come, in any pieces, and Receive hands out the server's. A client may
// send before it has read all: what the server said until then stays readable, as on the wire. The
// lock is let go wherever code of the test runs: its actions, its hooks, its failure handler.
#include "port/fake/fake_sockets.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillet::port {
namespace {

constexpr int kErrorInterrupted = 10004;
constexpr int kErrorInvalid = 10022;
constexpr int kErrorNotSocket = 10038;
constexpr int kErrorNotConnected = 10057;
constexpr int kErrorHostNotFound = 11001;

std::size_t Index(SocketCall kind) {
  return static_cast<std::size_t>(kind);
}

// A text as it would stand in a test.
std::string Quote(std::string_view text) {
  constexpr std::size_t kShown = 200;
  std::string quoted = "\"";
  for (const char c : text.substr(0, kShown)) {
    if (c == '\r') {
      quoted += "\\r";
    } else if (c == '\n') {
      quoted += "\\n";
    } else {
      quoted += c;
    }
  }
  return quoted + (text.size() > kShown ? "...\"" : "\"");
}

}  // namespace

void FakeSockets::Add(Step step) {
  const Lock lock(mutex_);
  steps_.push_back(std::move(step));
  changed_.notify_all();
}

void FakeSockets::Server(std::string bytes) {
  if (!bytes.empty()) Add({StepKind::kServer, std::move(bytes), nullptr});
}
void FakeSockets::Client(std::string bytes) {
  if (!bytes.empty()) Add({StepKind::kClient, std::move(bytes), nullptr});
}
void FakeSockets::ClientLineStarting(std::string prefix) {
  Add({StepKind::kClientLine, std::move(prefix), nullptr});
}
void FakeSockets::Then(std::function<void()> action) {
  Add({StepKind::kThen, {}, std::move(action)});
}
void FakeSockets::Closes() {
  Add({StepKind::kCloses, {}, nullptr});
}
void FakeSockets::Stalls() {
  Add({StepKind::kStalls, {}, nullptr});
}

void FakeSockets::StallsForGood() {
  Step step{StepKind::kStalls, {}, nullptr};
  step.for_good = true;
  Add(std::move(step));
}
void FakeSockets::Tls(TlsResult result) {
  Step step{StepKind::kTls, {}, nullptr};
  step.tls = std::move(result);
  Add(std::move(step));
}

void FakeSockets::Resume() {
  const Lock lock(mutex_);
  resumed_ = true;
  changed_.notify_all();
}

void FakeSockets::SetChunk(std::size_t n) {
  const Lock lock(mutex_);
  chunk_ = n;
}

void FakeSockets::CloseAfter(std::uint64_t n) {
  const Lock lock(mutex_);
  close_after_ = n;
}

void FakeSockets::FailNth(SocketCall kind, int n, int error) {
  const Lock lock(mutex_);
  faults_[Index(kind)] = {n, error};
}

void FakeSockets::SetHost(std::string name, std::array<std::uint8_t, 4> ipv4) {
  SetHost(std::move(name), std::vector{Ipv4(ipv4[0], ipv4[1], ipv4[2], ipv4[3])});
}

void FakeSockets::SetHost(std::string name, std::vector<Address> addresses) {
  const Lock lock(mutex_);
  hosts_[std::move(name)] = std::move(addresses);
}

void FakeSockets::SetVersion(std::optional<SocketVersion> version) {
  const Lock lock(mutex_);
  version_ = version;
}

std::string FakeSockets::sent() const {
  const Lock lock(mutex_);
  return sent_;
}

std::uint64_t FakeSockets::delivered() const {
  const Lock lock(mutex_);
  return delivered_;
}

int FakeSockets::open_sockets() const {
  const Lock lock(mutex_);
  return static_cast<int>(open_.size());
}

int FakeSockets::calls(SocketCall kind) const {
  const Lock lock(mutex_);
  return calls_[Index(kind)];
}

int FakeSockets::startups() const {
  const Lock lock(mutex_);
  return startups_;
}

int FakeSockets::cleanups() const {
  const Lock lock(mutex_);
  return cleanups_;
}

std::optional<SocketVersion> FakeSockets::version_wanted() const {
  const Lock lock(mutex_);
  return version_wanted_;
}

std::vector<std::string> FakeSockets::resolved() const {
  const Lock lock(mutex_);
  return resolved_;
}

std::vector<FakeSockets::Connection> FakeSockets::connections() const {
  const Lock lock(mutex_);
  return connections_;
}

std::vector<std::uint32_t> FakeSockets::close_waits() const {
  const Lock lock(mutex_);
  return close_waits_;
}

std::vector<std::uint32_t> FakeSockets::stall_limits() const {
  const Lock lock(mutex_);
  return stall_limits_;
}

std::vector<TlsRequest> FakeSockets::tls_requests() const {
  const Lock lock(mutex_);
  return tls_requests_;
}

std::vector<InterruptReason> FakeSockets::interrupts() const {
  const Lock lock(mutex_);
  return interrupts_;
}

bool FakeSockets::Finished() const {
  const Lock lock(mutex_);
  return steps_.empty() && unmatched_.empty();
}

void FakeSockets::Release() {
  const Lock lock(mutex_);
  released_ = true;
}

void FakeSockets::Verify() {
  Lock lock(mutex_);
  if (std::exchange(released_, true)) return;
  if (!unmatched_.empty()) Fail(lock, "sockets: the client stopped after " + Quote(unmatched_));
  const std::deque<Step> left = std::exchange(steps_, {});
  for (const Step& step : left) {
    switch (step.kind) {
      case StepKind::kServer:
        Fail(lock, "sockets: never received: " + Quote(step.bytes));
        break;
      case StepKind::kClient:
      case StepKind::kClientLine:
        Fail(lock, "sockets: never sent: " + Quote(step.bytes));
        break;
      case StepKind::kTls:
        Fail(lock, "sockets: TLS was never started");
        break;
      case StepKind::kThen:
      case StepKind::kCloses:
      case StepKind::kStalls:
        break;  // the client was free not to get there
    }
  }
}

// Reports with the lock released: the handler may look at the sockets.
void FakeSockets::Fail(Lock& lock, const std::string& message) {
  lock.unlock();
  on_failure(message);
  lock.lock();
}

// Counts a call and lets the test look on; false when the call has to fail.
bool FakeSockets::Enter(Lock& lock, SocketCall kind) {
  const int n = ++calls_[Index(kind)];
  if (on_call) {
    lock.unlock();
    on_call(kind, n);
    lock.lock();
  }
  Fault& fault = faults_[Index(kind)];
  if (fault.in > 0 && --fault.in == 0) {
    last_error_ = fault.error;
    return false;
  }
  // What would not wait goes on.
  const bool waits = kind == SocketCall::kResolve || kind == SocketCall::kConnect ||
                     kind == SocketCall::kReceive || kind == SocketCall::kBind ||
                     kind == SocketCall::kStartTls;
  if (Interrupted() && waits) {
    last_error_ = kErrorInterrupted;
    return false;
  }
  return true;
}

bool FakeSockets::CheckOpen(SocketHandle socket, bool connected) {
  if (!open_.contains(socket)) {
    last_error_ = kErrorNotSocket;
    return false;
  }
  if (connected && !connected_.contains(socket)) {
    last_error_ = kErrorNotConnected;
    return false;
  }
  return true;
}

std::optional<SocketVersion> FakeSockets::Startup(SocketVersion wanted) {
  const Lock lock(mutex_);
  version_wanted_ = wanted;
  if (version_) ++startups_;
  return version_;
}

void FakeSockets::Cleanup() {
  const Lock lock(mutex_);
  ++cleanups_;
}

SocketHandle FakeSockets::Open() {
  Lock lock(mutex_);
  if (!Enter(lock, SocketCall::kOpen)) return 0;
  cancelled_ = false;
  open_.insert(++last_socket_);
  return last_socket_;
}

bool FakeSockets::Bind(SocketHandle socket) {
  Lock lock(mutex_);
  return Enter(lock, SocketCall::kBind) && CheckOpen(socket, false);
}

std::vector<Address> FakeSockets::Resolve(const std::string& host) {
  Lock lock(mutex_);
  resolved_.push_back(host);
  if (!Enter(lock, SocketCall::kResolve)) return {};
  const auto found = hosts_.find(host);
  if (found != hosts_.end()) return found->second;
  last_error_ = kErrorHostNotFound;
  return {};
}

bool FakeSockets::Connect(SocketHandle socket, std::span<const Address> addresses,
                          std::uint16_t port) {
  Lock lock(mutex_);
  connections_.push_back({{addresses.begin(), addresses.end()}, port});
  if (!Enter(lock, SocketCall::kConnect) || !CheckOpen(socket, false)) return false;
  if (addresses.empty()) {
    last_error_ = kErrorInvalid;
    return false;
  }
  connected_.insert(socket);
  if (!steps_.empty() && steps_.front().kind == StepKind::kCloses) steps_.pop_front();
  server_closed_ = false;
  unread_.clear();
  unmatched_.clear();
  return true;
}

void FakeSockets::SetStallLimit(SocketHandle socket, std::uint32_t milliseconds) {
  const Lock lock(mutex_);
  stall_limits_.push_back(milliseconds);
  if (open_.contains(socket)) limits_[socket] = milliseconds;
}

// The connection of a handshake that did not come about carries nothing.
TlsResult FakeSockets::RefuseTls(SocketHandle socket, int error) {
  last_error_ = error;
  connected_.erase(socket);
  server_closed_ = true;
  if (error == kErrorInterrupted) return {TlsOutcome::kInterrupted, {}, {}};
  return {TlsOutcome::kFailed, u"The connection ended during the handshake.", {}};
}

TlsResult FakeSockets::StartTls(SocketHandle socket, const TlsRequest& request) {
  Lock lock(mutex_);
  tls_requests_.push_back(request);
  if (!Enter(lock, SocketCall::kStartTls) || !CheckOpen(socket, true)) {
    return RefuseTls(socket, last_error_);
  }
  MakeReadable(lock);
  unread_.clear();  // came in the clear
  if (!server_closed_ && !WaitWhileStalled(lock, socket)) return RefuseTls(socket, last_error_);
  if (!server_closed_ && !steps_.empty() && steps_.front().kind == StepKind::kCloses) {
    steps_.pop_front();
    return RefuseTls(socket, 0);
  }
  if (server_closed_) return RefuseTls(socket, 0);
  if (!steps_.empty() && steps_.front().kind == StepKind::kTls && unmatched_.empty()) {
    TlsResult result = std::move(steps_.front().tls);
    steps_.pop_front();
    if (result.outcome != TlsOutcome::kDone) RefuseTls(socket, 0);
    RunActions(lock);
    return result;
  }
  const std::string expected = steps_.empty() ? "nothing more" : Describe(steps_.front());
  released_ = true;
  TlsResult refused = RefuseTls(socket, 0);
  Fail(lock, "sockets: the client starts TLS where the server expects " + expected +
                 (unmatched_.empty() ? "" : " after " + Quote(unmatched_)));
  return refused;
}

void FakeSockets::Close(SocketHandle socket) {
  Lock lock(mutex_);
  Enter(lock, SocketCall::kClose);
  open_.erase(socket);
  limits_.erase(socket);
  connected_.erase(socket);
  // The client has given up: the stall is over with its connection.
  if (Interrupted() && !steps_.empty() && steps_.front().kind == StepKind::kStalls) {
    steps_.pop_front();
  }
}

int FakeSockets::LastError() {
  const Lock lock(mutex_);
  return last_error_;
}

void FakeSockets::AwaitClose(SocketHandle socket, std::uint32_t milliseconds) {
  Lock lock(mutex_);
  close_waits_.push_back(milliseconds);
  if (Interrupted() || !connected_.contains(socket)) return;
  unread_.clear();
  MakeReadable(lock);
  unread_.clear();
  if (steps_.empty() || server_closed_) return;
  const Step& next = steps_.front();
  if (next.kind == StepKind::kStalls && !next.for_good) {
    changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                      [&] { return resumed_ || Interrupted(); });
  } else if (next.for_good || next.kind == StepKind::kCloses) {
    steps_.pop_front();  // nobody waits for one that is silent for good
    server_closed_ = true;
  }
}

void FakeSockets::Interrupt(InterruptReason reason) {
  const Lock lock(mutex_);
  interrupts_.push_back(reason);
  (reason == InterruptReason::kCancel ? cancelled_ : session_ended_) = true;
  changed_.notify_all();
}

// What the server waits for, as it would stand in a test.
std::string FakeSockets::Describe(const Step& step) {
  return step.kind == StepKind::kTls ? "TLS" : Quote(step.bytes);
}

// The actions that the conversation has reached.
void FakeSockets::RunActions(Lock& lock) {
  while (!steps_.empty() && steps_.front().kind == StepKind::kThen) {
    const std::function<void()> action = std::move(steps_.front().action);
    steps_.pop_front();
    lock.unlock();
    action();
    lock.lock();
  }
}

// False when the wait was interrupted or took too long.
bool FakeSockets::WaitWhileStalled(Lock& lock, SocketHandle socket) {
  while (!steps_.empty() && steps_.front().kind == StepKind::kStalls) {
    const auto limit = limits_.find(socket);
    if (steps_.front().for_good && limit != limits_.end() && limit->second != 0) {
      steps_.pop_front();
      server_closed_ = true;
      last_error_ = kErrorStalled;
      return false;
    }
    changed_.wait(lock, [&] { return resumed_ || Interrupted(); });
    if (Interrupted()) {
      last_error_ = kErrorInterrupted;
      return false;
    }
    resumed_ = false;
    steps_.pop_front();
    RunActions(lock);
  }
  return true;
}

// Hands out the beginning of `bytes`; actions behind a step run once it has been read whole.
std::int64_t FakeSockets::Deliver(Lock& lock, std::string& bytes, std::span<char> buffer) {
  std::size_t count = std::min(bytes.size(), buffer.size());
  if (chunk_ != 0) count = std::min(count, chunk_);
  if (close_after_) {
    const std::uint64_t left = *close_after_ - std::min(*close_after_, delivered_);
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, left));
    if (count == 0) {
      server_closed_ = true;
      close_after_.reset();
      steps_.clear();
      unread_.clear();
      return 0;
    }
  }
  std::copy_n(bytes.data(), count, buffer.data());
  bytes.erase(0, count);
  delivered_ += count;
  if (unread_.empty() && !steps_.empty() && steps_.front().kind == StepKind::kServer &&
      steps_.front().bytes.empty()) {
    steps_.pop_front();
    RunActions(lock);
  }
  return static_cast<std::int64_t>(count);
}

std::int64_t FakeSockets::Receive(SocketHandle socket, std::span<char> buffer) {
  Lock lock(mutex_);
  if (!Enter(lock, SocketCall::kReceive) || !CheckOpen(socket, true)) return -1;
  if (buffer.empty()) {
    last_error_ = kErrorInvalid;
    return -1;
  }
  if (!unread_.empty()) return Deliver(lock, unread_, buffer);
  RunActions(lock);
  if (!server_closed_ && !WaitWhileStalled(lock, socket)) return -1;
  if (server_closed_) return 0;
  if (close_after_ && delivered_ >= *close_after_) {
    std::string none;
    return Deliver(lock, none, buffer);
  }
  if (!steps_.empty() && steps_.front().kind == StepKind::kServer) {
    return Deliver(lock, steps_.front().bytes, buffer);
  }
  server_closed_ = true;
  if (!steps_.empty() && steps_.front().kind == StepKind::kCloses) {
    steps_.pop_front();
    RunActions(lock);
    return 0;
  }
  released_ = true;
  Fail(lock, steps_.empty()
                 ? "sockets: the client waits for the server after the end of the transcript"
                 : "sockets: the client waits while the server expects " +
                       Describe(steps_.front()) +
                       (unmatched_.empty() ? "" : " after " + Quote(unmatched_)));
  return 0;
}

// The client sends although it has not read everything: on the wire it can read that later.
void FakeSockets::MakeReadable(Lock& lock) {
  RunActions(lock);
  while (!steps_.empty() && steps_.front().kind == StepKind::kServer) {
    unread_ += steps_.front().bytes;
    steps_.pop_front();
    RunActions(lock);
  }
}

// Matches the client's bytes with the transcript as far as they go; false on a difference.
bool FakeSockets::MatchClient(Lock& lock) {
  while (!unmatched_.empty()) {
    MakeReadable(lock);
    if (steps_.empty()) return false;
    const Step& step = steps_.front();
    const std::size_t common = std::min(unmatched_.size(), step.bytes.size());
    if (step.kind == StepKind::kCloses) {
      unmatched_.clear();  // swallowed by a server that is about to close
      return true;
    }
    if (step.kind == StepKind::kTls) return false;
    if (step.kind == StepKind::kStalls && !step.for_good && !Interrupted()) return false;
    if (step.kind == StepKind::kStalls) {
      unmatched_.clear();  // nobody reads it
      return true;
    }
    if (unmatched_.compare(0, common, step.bytes, 0, common) != 0) return false;
    std::size_t end = step.bytes.size();
    if (step.kind == StepKind::kClientLine) {
      const std::size_t line_end = unmatched_.find("\r\n");
      if (line_end == std::string::npos) return true;
      end = line_end + 2;
    }
    if (unmatched_.size() < step.bytes.size()) return true;
    unmatched_.erase(0, end);
    steps_.pop_front();
    RunActions(lock);
  }
  return true;
}

bool FakeSockets::Send(SocketHandle socket, std::string_view data) {
  Lock lock(mutex_);
  if (!Enter(lock, SocketCall::kSend) || !CheckOpen(socket, true)) return false;
  sent_ += data;
  if (server_closed_) return true;
  unmatched_ += data;
  if (MatchClient(lock)) return true;
  const std::string expected = steps_.empty() ? "nothing more" : Describe(steps_.front());
  const std::string got = Quote(std::exchange(unmatched_, {}));
  server_closed_ = true;
  released_ = true;
  Fail(lock, "sockets: the client sent " + got + " where the server expects " + expected);
  return true;
}

}  // namespace quillet::port
