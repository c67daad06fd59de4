// SPDX-License-Identifier: GPL-3.0-or-later
// Every article of the corpus is shown as the text beside it says. The articles lie there as a
// server sends them; corpus/generate.py writes both files.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "mime/body.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<fs::path> Articles() {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(QUILLET_MIME_CORPUS)) {
    if (entry.path().extension() == ".art") paths.push_back(entry.path());
  }
  std::ranges::sort(paths);
  return paths;
}

struct Stored {
  std::string subject, from, headers, body;
};

// As an article is stored: the first lines of two fields, and the lines without a place of their
// own.
Stored Store(const std::string& article) {
  const std::size_t empty = article.find("\r\n\r\n");
  Stored stored{.subject = {}, .from = {}, .headers = {}, .body = article.substr(empty + 4)};
  for (std::size_t at = 0; at < empty;) {
    const std::size_t end = article.find('\n', at) + 1;
    const std::string line = article.substr(at, end - at);
    if (line.starts_with("Subject: ")) {
      stored.subject = line.substr(9, line.size() - 11);
    } else if (line.starts_with("From: ")) {
      stored.from = line.substr(6, line.size() - 8);
    } else if (!line.starts_with("Date:") && !line.starts_with("Message-ID:")) {
      stored.headers += line;
    }
    at = end;
  }
  return stored;
}

std::u16string Shown(const Stored& stored) {
  const std::string subject = JoinedSubject(stored.subject, stored.headers);
  std::u16string shown = u"Subject: " + ShownHeader(subject) + u"\r\n";
  shown += u"From: " + ShownHeader(stored.from) + u"\r\n\r\n";
  DecodedBody body = DecodeBody({.head = stored.headers, .body = stored.body, .stuffed = true});
  if (!body.attachments.empty() && !body.text.empty()) {
    body.text += body.text.ends_with(u"\r\n") ? u"\r\n" : u"\r\n\r\n";
  }
  shown += body.text;
  for (const Attachment& attachment : body.attachments) {
    shown += AttachmentLine(attachment) + u"\r\n";
  }
  return shown;
}

TEST(Corpus, HoldsArticlesOfAllKinds) {
  EXPECT_GE(Articles().size(), 200U);
}

TEST(Corpus, EveryArticleIsShownAsItsTextSays) {
  for (const fs::path& path : Articles()) {
    const std::string expected = ReadFile(fs::path(path).replace_extension(".txt"));
    ASSERT_FALSE(expected.empty()) << path;
    EXPECT_EQ(ToUtf8(Shown(Store(ReadFile(path)))), expected) << path.filename();
  }
}

TEST(Corpus, WhatIsListedCanBeSaved) {
  std::size_t attachments = 0;
  for (const fs::path& path : Articles()) {
    const Stored stored = Store(ReadFile(path));
    const BodySource source{.head = stored.headers, .body = stored.body, .stuffed = true};
    for (const Attachment& attachment : DecodeBody(source).attachments) {
      EXPECT_EQ(AttachmentBytes(source, attachment.part).size(), attachment.bytes) << path;
      const std::u16string name = SafeFileName(attachment.name);
      EXPECT_EQ(name.find_first_of(u"/\\\r\n"), std::u16string::npos);
      ++attachments;
    }
  }
  EXPECT_GE(attachments, 20U);
}

TEST(Corpus, APicturesBytesComeOutWhole) {
  const Stored stored = Store(ReadFile(fs::path(QUILLET_MIME_CORPUS) / "mixed-picture.art"));
  std::string picture;
  for (int i = 0; i < 2048; ++i) picture += static_cast<char>(i % 256);
  EXPECT_EQ(AttachmentBytes({stored.headers, stored.body, true}, 0), picture);
}

}  // namespace
}  // namespace quillet
