// A formatted debug line: with the log closed, and into an open log beside fprintf with a flush
// into a file that is appended to as well.
#include <cstdio>
#include <filesystem>

#include "app/debug_log.h"
#include "app/debug_output.h"
#include "bench/ratio.h"

namespace {

constexpr char kFormat[] = "%s: %d of %d at %08X\n";

void Closed(benchmark::State& state) {
  qv::CloseDebugLog();
  int number = 0;
  for (auto _ : state) benchmark::DoNotOptimize(DebugPrint(kFormat, "ZRFile", number++, 9, 77));
}

void ClosedPeer(benchmark::State& state) {
  char line[128];
  int number = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::snprintf(line, sizeof line, kFormat, "ZRFile", number++, 9, 77u));
  }
}

void Open(benchmark::State& state) {
  if (!qv::OpenDebugLog()) return state.SkipWithError("the debug log cannot be opened");
  int number = 0;
  for (auto _ : state) benchmark::DoNotOptimize(DebugPrint(kFormat, "ZRFile", number++, 9, 77));
  qv::ResetDebugLogForTest();
}

void OpenPeer(benchmark::State& state) {
  const auto path = std::filesystem::temp_directory_path() / "qvsmapi_bench_app.log";
  std::FILE* file = std::fopen(path.c_str(), "a");
  if (file == nullptr) return state.SkipWithError("no temporary file");
  int number = 0;
  for (auto _ : state) {
    std::fprintf(file, kFormat, "ZRFile", number++, 9, 77u);
    std::fflush(file);
  }
  std::fclose(file);
  std::filesystem::remove(path);
}

}  // namespace

int main(int argc, char** argv) {
  bench::Add({.name = "debug line, nothing to write to",
              .peer = "snprintf",
              .target = 0.1,
              .ours = Closed,
              .theirs = ClosedPeer});
  bench::Add({.name = "debug line into the log",
              .peer = "fprintf + fflush",
              .target = 1.0,
              .ours = Open,
              .theirs = OpenPeer});
  return bench::Run(argc, argv);
}
