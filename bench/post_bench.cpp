// SPDX-License-Identifier: GPL-3.0-or-later
// A queue of posts through the whole of the program's posting, against a bare client that sends the
// same texts to the same server of this machine, taken in turns. And the text of a large post
// against a copy of it.
//
// usage: post_bench [POSTS] [ROUNDS]; ends with 1 when a ratio misses its target.

#define QUILLET_FAKE_WITHOUT_GTEST
#include <arpa/inet.h>
#include <malloc.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "bench/child_server.h"
#include "bench/measure.h"
#include "nntp/connection.h"
#include "nntp/post_id.h"
#include "nntp/post_queue.h"
#include "nntp/post_text.h"
#include "port/fake/fake_platform.h"
#include "port/linux/linux_registry.h"
#include "port/linux/linux_sockets.h"
#include "store/databases.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "util/format.h"

namespace quillet {
namespace {

// A text that is broken or split in every line is no copy of itself any more.
constexpr double kWireTarget = 0.8, kCopyTarget = 10, kRewrittenTarget = 20;
constexpr std::array kLoopback = {port::Ipv4(127, 0, 0, 1)};

// --- the server ---

// One client after the other: takes every text, line by line as a server must.
void Serve(int listener) {
  for (;;) {
    const int link = accept(listener, nullptr, nullptr);
    if (link < 0) _exit(0);
    const int on = 1;
    setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const auto reply = [link](std::string_view text) {
      return send(link, text.data(), text.size(), MSG_NOSIGNAL) > 0;
    };
    std::array<char, 16384> buffer;
    std::string pending, article;
    bool in_text = false;
    reply("200 ready\r\n");
    for (ssize_t count = 0; (count = recv(link, buffer.data(), buffer.size(), 0)) > 0;) {
      pending.append(buffer.data(), static_cast<std::size_t>(count));
      std::size_t start = 0;
      for (std::size_t end = 0; (end = pending.find("\r\n", start)) != std::string::npos;) {
        const std::string_view line(pending.data() + start, end - start);
        start = end + 2;
        if (in_text && line == ".") {
          in_text = false;
          article.clear();
          reply("240 taken\r\n");
        } else if (in_text) {
          article.append(line.substr(line.starts_with('.') ? 1 : 0)).append("\n");
        } else if (line == "POST") {
          in_text = true;
          reply("340 send it\r\n");
        } else {
          reply("205 bye\r\n");
        }
      }
      pending.erase(0, start);
    }
    close(link);
  }
}

// --- the posts ---

std::string Words(std::size_t size) {
  std::string text;
  for (unsigned i = 0; text.size() < size; ++i) {
    if (i % 16 == 15) {
      text += "\r\n";
    } else {
      text += "word ";
    }
  }
  return text;
}

AsciiArticle MakePost(unsigned number) {
  AsciiArticle post;
  post.messageId = FormatNarrow("202411221530%lu", 10000 + number);
  post.subject = "Re: the price of a post";
  post.headers =
      "From: \"A. Writer\" <writer@example.org>\r\nSubject: Re: the price of a post\r\n"
      "Newsgroups: bench.post\r\nReferences: <1.bench@example.org> <2.bench@example.org>\r\n";
  post.body = Words(1850);
  return post;
}

// The queue, without the sync that storing one post by one asks for.
void FillQueue(unsigned posts) {
  for (unsigned i = 0; i < posts; ++i) {
    AsciiArticle post = MakePost(i);
    const auto value = SerializeArticle(post, SerializeMode::kPlain);
    Require(StoreValue(DatabaseIndex::kPendingPosts, *post.messageId + '\0', *value,
                       StoreMode::kInsert),
            "queueing");
  }
  gPendingPostCount = CountPendingPosts();
  Require(gPendingPostCount == posts, "counting the queue");
}

std::vector<std::string> TextsOf(unsigned posts) {
  const PostIdParts parts = TakePostIdParts();
  std::vector<std::string> texts;
  for (unsigned i = 0; i < posts; ++i) {
    const AsciiArticle post = MakePost(i);
    texts.push_back(BuildPostText(*post.headers, WrapPostBody(*post.body),
                                  MessageIdLine(parts, *post.messageId)));
  }
  return texts;
}

double Milliseconds(std::chrono::steady_clock::time_point start) {
  const auto time = std::chrono::steady_clock::now() - start;
  return std::chrono::duration<double, std::milli>(time).count();
}

void OpenLink(std::uint16_t port) {
  port::Sockets& sockets = gPlatform->sockets;
  gConnection.wire.Open(sockets.Open());
  Require(sockets.Connect(gConnection.wire.socket(), kLoopback, port), "connecting");
  Require(gConnection.wire.ReadLine(1000).has_value(), "the greeting");
}

double TimeBare(const std::vector<std::string>& texts, std::uint16_t port) {
  OpenLink(port);
  const auto start = std::chrono::steady_clock::now();
  for (const std::string& text : texts) {
    Require(gConnection.wire.Send("POST\r\n"), "POST");
    Require(gConnection.wire.ReadLine(1000)->starts_with("340"), "the go-ahead");
    Require(gConnection.wire.Send(text), "the text");
    Require(gConnection.wire.ReadLine(1000)->starts_with("240"), "the reply");
  }
  const double time = Milliseconds(start);
  gConnection.wire.Close();
  return time;
}

double TimeProgram(unsigned posts, std::uint16_t port) {
  FillQueue(posts);
  OpenLink(port);
  gConnection.posting_allowed = true;
  double time = 0;
  const RunEnd end = RunWithProgress(u"", [&] {
    const auto start = std::chrono::steady_clock::now();
    const RunEnd posted = PostQueuedArticles();
    time = Milliseconds(start);
    return posted;
  });
  Require(end == RunEnd::kGoOn && CountPendingPosts() == 0, "posting");
  gConnection.wire.Close();
  return time;
}

bool MeasureWire(unsigned posts, unsigned rounds, std::uint16_t port) {
  const std::vector<std::string> texts = TextsOf(posts);
  std::vector<double> bare, program;
  for (unsigned i = 0; i < rounds; ++i) {
    bare.push_back(TimeBare(texts, port));
    program.push_back(TimeProgram(posts, port));
  }
  // Two processes on a busy machine: what disturbs a round is not the program.
  const double ratio = Fastest(bare) / Fastest(program);
  std::printf("%u posts of %zu bytes: bare %.1f ms, program %.1f ms: ratio %.2f (target %.1f)\n",
              posts, texts.front().size(), Fastest(bare), Fastest(program), ratio, kWireTarget);
  return ratio >= kWireTarget;
}

// --- one large text ---

bool MeasureText(const char* name, const std::string& body, unsigned rounds, double target) {
  constexpr std::string_view kHeader = "From: writer@example.org\r\nNewsgroups: bench.post\r\n";
  std::vector<double> copy, text;
  for (unsigned i = 0; i < 20 * rounds; ++i) {
    std::string copied, original = body, built;
    copy.push_back(ProcessorMilliseconds([&] { copied = body; }));
    text.push_back(ProcessorMilliseconds(
        [&] { built = BuildPostText(kHeader, WrapPostBody(std::move(original))); }));
    Require(copied.size() == body.size() && built.size() > body.size(), "building");
  }
  const double ratio = Median(text) / Median(copy);
  std::printf("text of %zu bytes, %s: copy %.3f ms, built %.3f ms: ratio %.1f (target %.0f)\n",
              body.size(), name, Median(copy), Median(text), ratio, target);
  return ratio <= target;
}

std::string Repeated(std::string_view unit, std::size_t size) {
  std::string text;
  while (text.size() < size) text += unit;
  return text;
}

bool MeasureTexts(unsigned rounds) {
  constexpr std::size_t kSize = 1 << 20;
  const std::string line(71, 'x');
  bool good = MeasureText("lines of 73", Repeated(line + "\r\n", kSize), rounds, kCopyTarget);
  good = MeasureText("quoted words", Repeated("> " + Words(70) + "\r\n", kSize), rounds,
                     kCopyTarget) &&
         good;
  good = MeasureText("one paragraph", Repeated("some words ", kSize), rounds, kRewrittenTarget) &&
         good;
  good = MeasureText("lines of 1,000 without a blank",
                     Repeated(std::string(1000, 'x') + "\r\n", kSize), rounds, kRewrittenTarget) &&
         good;
  return good;
}

int Run(unsigned posts, unsigned rounds) {
  const ChildServer server(Serve);  // a process of its own, before there are threads
  port::FakePlatform fake;
  port::LinuxSockets sockets;
  char folder[] = "/tmp/quillet-post-bench-XXXXXX";
  Require(mkdtemp(folder) != nullptr, "a folder");
  bool good = false;
  {
    port::LinuxRegistry registry(std::string(folder) + "/registry.db");
    port::Platform platform{fake.display.Services(), fake.queues,  registry,   sockets,
                            fake.libraries,          fake.files,   fake.clock, fake.shell,
                            fake.scheduler,          fake.dialler, fake.mail,  fake.contacts,
                            fake.security,           fake.secrets};
    gPlatform = &platform;
    gPrefs = std::make_unique<Prefs>();
    gPrefs->returnmailaddress = u"writer@example.org";
    gDatabaseFolder = u"\\Quillet CE News";
    fake.files.CreateFolder(gDatabaseFolder);
    Require(LoadDatabaseLibrary() && OpenGDBMDatabases(), "opening");
    good = MeasureWire(posts, rounds, server.port());
    CloseDatabases();
    gPlatform = &fake.platform;
  }
  for (const char* name : {"/registry.db", "/registry.db-wal", "/registry.db-shm", ""}) {
    remove((std::string(folder) + name).c_str());
  }
  return MeasureTexts(rounds) && good ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  // Freed memory is used again whatever its size: it is not the fresh pages of the system that are
  // measured.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
  return quillet::Run(quillet::Argument(argc, argv, 1, 1000), quillet::Argument(argc, argv, 2, 9));
}
