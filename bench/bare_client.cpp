// SPDX-License-Identifier: GPL-3.0-or-later
// The yardstick of the download benchmark: walks a group in lock-step with STAT/NEXT, HEAD and BODY
// as the program does, with the same socket options, and throws the text away.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "bare_client: %s\n", what.c_str());
  std::exit(1);
}

int Connect(const char* host, const char* port) {
  const int link = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(std::strtoul(port, nullptr, 10)));
  if (::inet_pton(AF_INET, host, &address.sin_addr) != 1)
    Fail("not an address: " + std::string(host));
  if (::connect(link, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) Fail("connect");
  const int on = 1;
  ::setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return link;
}

class Client {
 public:
  explicit Client(int link) : link_(link) {}

  std::string Line(std::string_view command) {
    Send(command);
    std::string reply;
    while (!reply.ends_with("\r\n")) reply += Receive();
    return reply;
  }
  // A reply of one line, and for codes 2xx a text that ends in a lone dot.
  void Block(std::string_view command) {
    Send(command);
    std::string tail;
    bool first = true;
    while (true) {
      const std::string_view part = Receive();
      if (first && part[0] != '2') return;
      first = false;
      tail.append(part.size() > 5 ? part.substr(part.size() - 5) : part);
      if (tail.size() > 5) tail.erase(0, tail.size() - 5);
      if (tail == "\r\n.\r\n") return;
    }
  }
  std::uint64_t bytes() const { return bytes_; }

 private:
  void Send(std::string_view text) {
    if (text.empty()) return;
    if (::send(link_, text.data(), text.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(text.size())) {
      Fail("send");
    }
  }
  std::string_view Receive() {
    const int on = 1;
    ::setsockopt(link_, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    const ssize_t n = ::recv(link_, buffer_.data(), buffer_.size(), 0);
    if (n <= 0) Fail("the server closed the connection");
    bytes_ += static_cast<std::uint64_t>(n);
    return {buffer_.data(), static_cast<std::size_t>(n)};
  }

  int link_;
  std::array<char, 65536> buffer_;
  std::uint64_t bytes_ = 0;
};

// The third number of the GROUP reply: where the group begins.
std::string FirstNumber(const std::string& reply) {
  std::size_t at = 0;
  for (int i = 0; i < 2; ++i) at = reply.find(' ', at) + 1;
  return reply.substr(at, reply.find(' ', at) - at);
}

std::uint64_t WalkGroup(Client& client, const std::string& group) {
  const std::string selected = client.Line("GROUP " + group + "\r\n");
  if (!selected.starts_with("211")) Fail(selected);
  std::uint64_t articles = 0;
  std::string reply = client.Line("STAT " + FirstNumber(selected) + "\r\n");
  while (reply.starts_with("223")) {
    client.Block("HEAD\r\n");
    client.Block("BODY\r\n");
    ++articles;
    reply = client.Line("NEXT\r\n");
  }
  return articles;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fputs("usage: bare_client HOST PORT GROUP...\n", stderr);
    return 2;
  }
  const int link = Connect(argv[1], argv[2]);
  Client client(link);
  client.Line("");
  std::uint64_t articles = 0;
  for (int i = 3; i < argc; ++i) articles += WalkGroup(client, argv[i]);
  client.Line("QUIT\r\n");
  ::close(link);
  std::printf("%llu articles, %llu bytes\n", static_cast<unsigned long long>(articles),
              static_cast<unsigned long long>(client.bytes()));
  return 0;
}
