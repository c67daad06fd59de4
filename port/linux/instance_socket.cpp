// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/instance_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

namespace quillet::port {
namespace {

constexpr std::size_t kLineLimit = 8192;
constexpr int kBacklog = 8;

FileDescriptor NewSocket() {
  return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

// The address of a path of any length: the folder is named by a descriptor, which must stay open
// while the address is used. False when even that does not fit.
bool AddressOf(const std::string& path, FileDescriptor& folder, sockaddr_un& address) {
  const std::filesystem::path whole(path);
  folder = FileDescriptor(open(whole.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder.valid()) return false;
  const std::string name =
      "/proc/self/fd/" + std::to_string(folder.get()) + "/" + whole.filename().string();
  if (name.size() >= sizeof address.sun_path) return false;
  address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
  return true;
}

bool IsOwnUser(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

}  // namespace

FileDescriptor ListenAt(const std::string& path) {
  FileDescriptor folder;
  sockaddr_un address{};
  FileDescriptor listener = NewSocket();
  if (!listener.valid() || !AddressOf(path, folder, address)) return {};
  unlink(path.c_str());
  const auto* name = reinterpret_cast<const sockaddr*>(&address);
  if (bind(listener.get(), name, sizeof address) != 0) return {};
  chmod(path.c_str(), 0600);
  if (listen(listener.get(), kBacklog) != 0) return {};
  return listener;
}

FileDescriptor ConnectTo(const std::string& path) {
  FileDescriptor folder;
  sockaddr_un address{};
  FileDescriptor client = NewSocket();
  if (!client.valid() || !AddressOf(path, folder, address)) return {};
  const auto* name = reinterpret_cast<const sockaddr*>(&address);
  // Without blocking a local connect succeeds or fails at once, also when the owner hangs.
  if (connect(client.get(), name, sizeof address) != 0 || !IsOwnUser(client.get())) return {};
  return client;
}

FileDescriptor AcceptFrom(int listener) {
  FileDescriptor client(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!client.valid() || !IsOwnUser(client.get())) return {};
  return client;
}

std::string ReceiveLine(int socket, int limit_ms) {
  using Milliseconds = std::chrono::milliseconds;
  const auto end = std::chrono::steady_clock::now() + Milliseconds(limit_ms);
  std::string line;
  for (;;) {
    const auto left =
        std::chrono::duration_cast<Milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd waiting{socket, POLLIN, 0};
    if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) == 0) return {};
    char c = 0;
    const ssize_t got = recv(socket, &c, 1, 0);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (got <= 0 || line.size() > kLineLimit) return {};
    if (c == '\n') return line;
    line += c;
  }
}

bool SendLine(int socket, std::string_view line) {
  const std::string bytes = std::string(line) + "\n";
  const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  return sent == static_cast<ssize_t>(bytes.size());
}

}  // namespace quillet::port
