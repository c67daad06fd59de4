// SPDX-License-Identifier: GPL-3.0-or-later
// Writes generated articles: as a stream for a news server and as a manifest for a check.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "demo/article_generator.h"
#include "demo/manifest.h"
#include "demo/option_reader.h"

namespace {

using quillet::demo::ArticleGenerator;
using quillet::demo::GeneratedArticle;
using quillet::demo::OptionReader;

constexpr std::string_view kUsage =
    "usage: quillet-demo-generate --group NAME [--group NAME ...] [--count N] [--first N]\n"
    "         [--seed N] [--tangled] [--stream FILE] [--manifest FILE]\n"
    "\n"
    "Writes the articles number FIRST (0 when not given) to FIRST + COUNT - 1 of the seed.\n"
    "The stream holds \"TAKETHIS <id>\" with the article, one after the other, ready to be sent;\n"
    "the manifest says what a reader must store of each, one JSON object a line. With --tangled\n"
    "parents come late, elsewhere or never, and subjects are written in every manner.\n";

struct Options {
  std::uint64_t count = 100;
  std::uint64_t first = 0;
  std::uint64_t seed = 1;
  bool tangled = false;
  std::vector<std::string> groups;
  std::string stream;
  std::string manifest;
};

bool ReadOptions(OptionReader reader, Options& options) {
  while (reader.Next()) {
    const bool known =
        reader.Number("--count", options.count) || reader.Number("--first", options.first) ||
        reader.Number("--seed", options.seed) || reader.Texts("--group", options.groups) ||
        reader.Flag("--tangled", options.tangled) || reader.Text("--stream", options.stream) ||
        reader.Text("--manifest", options.manifest);
    if (!known) return false;
  }
  return !options.groups.empty();
}

void WriteArticle(const GeneratedArticle& article, std::ostream& stream, std::ostream& manifest) {
  stream << "TAKETHIS " << article.message_id << "\r\n"
         << quillet::demo::WireText(article.head) << "\r\n"
         << quillet::demo::WireText(article.body) << ".\r\n";
  manifest << quillet::demo::ManifestLine(article);
}

int Generate(const Options& options) {
  std::ofstream stream(options.stream.empty() ? "/dev/null" : options.stream, std::ios::binary);
  std::ofstream manifest(options.manifest.empty() ? "/dev/null" : options.manifest,
                         std::ios::binary);
  ArticleGenerator generator(
      {.seed = options.seed, .groups = options.groups, .tangled = options.tangled});
  for (std::uint64_t i = 0; i < options.first; ++i) generator.Next();
  for (std::uint64_t i = 0; i < options.count; ++i) {
    WriteArticle(generator.Next(), stream, manifest);
  }
  stream.flush();
  manifest.flush();
  if (stream && manifest) return 0;
  std::cerr << "quillet-demo-generate: the files could not be written\n";
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ReadOptions(OptionReader(argc, argv), options)) {
    std::cerr << kUsage;
    return 2;
  }
  return Generate(options);
}
