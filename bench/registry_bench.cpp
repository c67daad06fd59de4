// SPDX-License-Identifier: GPL-3.0-or-later
// What one write of the per-group progress costs: the value "lastdownloaded" of 100 groups.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "port/linux/linux_registry.h"
#include "util/little_endian.h"

namespace quillet::port {
namespace {

constexpr std::u16string_view kPath = u"Software\\Brindle\\Quillet";
constexpr std::size_t kValueSize = 400;

class BenchFolder {
 public:
  BenchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quillet-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  BenchFolder(const BenchFolder&) = delete;
  BenchFolder& operator=(const BenchFolder&) = delete;
  ~BenchFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// The counter median_us is the median of single writes; the time column is their mean.
void LastDownloadedWrite(benchmark::State& state) {
  const BenchFolder folder;
  LinuxRegistry registry((folder.path() / "registry.db").string());
  const auto key = registry.Create(kPath);
  std::string value(kValueSize, '\0');
  std::vector<double> times;
  std::uint32_t number = 0;
  for (auto _ : state) {  // NOLINT: the framework's idiom
    PutU32(value, number % 100 * 4, number);
    ++number;
    const auto start = std::chrono::steady_clock::now();
    if (!key->Set(u"lastdownloaded", RegistryType::kBinary, value)) {
      state.SkipWithError("the write failed");
      break;
    }
    const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
    times.push_back(took.count());
  }
  state.counters["median_us"] = Median(times);
}
BENCHMARK(LastDownloadedWrite)->MinTime(1.0);

// The same with the key opened for every write.
void OpenKeyAndWrite(benchmark::State& state) {
  const BenchFolder folder;
  LinuxRegistry registry((folder.path() / "registry.db").string());
  const auto made = registry.Create(kPath);
  const std::string value(kValueSize, 'x');
  for (auto _ : state) {  // NOLINT: the framework's idiom
    const auto key = registry.Open(kPath);
    if (!key || !key->Set(u"lastdownloaded", RegistryType::kBinary, value)) {
      state.SkipWithError("the write failed");
      break;
    }
  }
}
BENCHMARK(OpenKeyAndWrite)->MinTime(0.5);

}  // namespace
}  // namespace quillet::port

BENCHMARK_MAIN();
