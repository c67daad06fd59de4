// SPDX-License-Identifier: GPL-3.0-or-later
// Runs a fuzz target without the fuzzer: every file of a seed corpus, then deterministic mutations
// of them, so that every ordinary test run walks over hostile input too.
//
// usage: PROGRAM CORPUS_FOLDER MUTATION_COUNT

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::string;

void RunOne(const Bytes& input) {
  // A copy of exactly that size, so that an address sanitizer sees every byte read past its end.
  const std::vector<std::uint8_t> exact(input.begin(), input.end());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

std::vector<Bytes> ReadCorpus(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file()) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  std::vector<Bytes> corpus;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return corpus;
}

class Mutator {
 public:
  explicit Mutator(const std::vector<Bytes>& corpus) : corpus_(corpus) {}

  Bytes Next() {
    Bytes input = corpus_[Below(corpus_.size())];
    for (std::size_t steps = 1 + Below(4); steps > 0; --steps) Change(input);
    return input;
  }

 private:
  std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }
  char AnyByte() {
    static constexpr unsigned char kTelling[] = {0, 1, 2, 0x7F, 0x80, 0xFF, '\r', '\n', ' ', '.'};
    const std::size_t pick = Below(std::size(kTelling) * 2);
    return static_cast<char>(pick < std::size(kTelling) ? kTelling[pick] : Below(256));
  }

  void Change(Bytes& input) {
    const std::size_t at = Below(input.size() + 1);
    switch (Below(6)) {
      case 0:
        input.resize(at);
        break;
      case 1:
        input.insert(at, 1 + Below(8), AnyByte());
        break;
      case 2:
        input.erase(at, 1 + Below(8));
        break;
      case 3:
        input.insert(at, input.substr(Below(input.size()), Below(64)));
        break;
      case 4:
        Splice(input, at);
        break;
      default:
        if (at < input.size()) input[at] = AnyByte();
        break;
    }
  }

  void Splice(Bytes& input, std::size_t at) {
    const Bytes& other = corpus_[Below(corpus_.size())];
    input.replace(at, std::string::npos, other.substr(Below(other.size())));
  }

  const std::vector<Bytes>& corpus_;
  std::mt19937 random_{12345};  // NOLINT: the same inputs on every run are the point
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s CORPUS_FOLDER MUTATION_COUNT\n", argv[0]);
    return 2;
  }
  const std::vector<Bytes> corpus = ReadCorpus(argv[1]);
  if (corpus.empty()) {
    std::fprintf(stderr, "no seeds in %s\n", argv[1]);
    return 1;
  }
  for (const Bytes& seed : corpus) RunOne(seed);
  Mutator mutator(corpus);
  const unsigned long mutations = std::strtoul(argv[2], nullptr, 10);
  for (unsigned long i = 0; i < mutations; ++i) RunOne(mutator.Next());
  std::printf("%zu seeds, %lu mutations\n", corpus.size(), mutations);
  return 0;
}
