// Reading through the file cache beside pread and fread on the same file, and transfers past it.
// Files lie in the system's own cache: what is measured is the way there.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio.h"
#include "files/disk_file.h"
#include "files/file_cache.h"
#include "platform/native_files.h"
#include "tasks/critical_regions.h"
#include "tasks/scheduler.h"
#include "tasks/waits.h"
#include "tasks/workers.h"
#include "tests/test_platform.h"

namespace {

using benchmark::State;

constexpr uint32_t kBlock = qv::kBlockBytes;
constexpr uint32_t kCachedBytes = 64u << 20, kFileBytes = 128u << 20;
constexpr uint32_t kLargePiece = 1u << 20;

// One file for all, of different bytes.
const std::string& Path() {
  static const std::string& path = *new std::string([] {
    std::string name = test::TempFolder() + "\\cached";
    FILE* file = std::fopen(platform::NativePath(name).c_str(), "wb");
    std::mt19937_64 random(3);
    std::vector<uint64_t> words(kLargePiece / sizeof(uint64_t));
    for (uint32_t done = 0; done < kFileBytes; done += kLargePiece) {
      for (uint64_t& word : words) word = random();
      std::fwrite(words.data(), 1, kLargePiece, file);
    }
    std::fclose(file);
    return name;
  }());
  return path;
}

struct OurFile {
  explicit OurFile(bool use_worker = false) {
    file.UseWorker(use_worker);
    file.SetPath(Path().c_str());
    if (file.OpenExclusive() != ZRErrNone) std::abort();
  }
  CDiskFile file;
};

struct TheirFile {
  TheirFile() : file(open(platform::NativePath(Path()).c_str(), O_RDWR | O_CLOEXEC)) {}
  ~TheirFile() { close(file); }
  int file;
};

// Places for pieces in what the cache holds.
std::vector<uint32_t> RandomPlaces(uint32_t count) {
  std::mt19937 random(7);
  std::vector<uint32_t> places(1 << 16);
  for (uint32_t& place : places) place = static_cast<uint32_t>(random() % (kCachedBytes - count));
  return places;
}

// --- pieces that are in the cache ---

void ReadCached(State& state, uint32_t count) {
  OurFile our;
  TheirFile their;
  const auto places = RandomPlaces(count);
  std::string bytes(count, 0), expected(count, 0);
  for (uint32_t place = 0; place < kCachedBytes; place += kBlock) {
    our.file.ReadExact(bytes.data(), 1, place);
  }
  for (const uint32_t place : places) {
    if (our.file.ReadExact(bytes.data(), count, place) != ZRErrNone ||
        pread(their.file, expected.data(), count, place) != static_cast<ssize_t>(count) ||
        bytes != expected) {
      return state.SkipWithError("other bytes");
    }
  }
  size_t i = 0;
  for (auto _ : state) {
    uint32_t done = count;
    our.file.ReadAt(bytes.data(), &done, places[i++ % places.size()]);
    benchmark::DoNotOptimize(bytes.data());
  }
}

void Pread(State& state, uint32_t count) {
  TheirFile their;
  const auto places = RandomPlaces(count);
  std::string bytes(count, 0);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pread(their.file, bytes.data(), count, places[i++ % places.size()]));
  }
}

// --- one after the other, again and again from the start ---

void ReadSequential(State& state, uint32_t count) {
  OurFile our;
  std::string bytes(count, 0);
  for (auto _ : state) {
    uint32_t done = count;
    our.file.Read(bytes.data(), &done);
    if (our.file.mark() + count > kCachedBytes) our.file.Seek(0, kSeekStart);
  }
}

void FreadSequential(State& state, uint32_t count) {
  FILE* file = std::fopen(platform::NativePath(Path()).c_str(), "rb");
  std::string bytes(count, 0);
  uint64_t mark = 0;
  for (auto _ : state) {
    mark += std::fread(bytes.data(), 1, count, file);
    if (mark + count > kCachedBytes) {
      std::rewind(file);
      mark = 0;
    }
  }
  std::fclose(file);
}

// --- blocks that are not there: the file is twice as large as the cache ---

void FillBlocks(State& state) {
  OurFile our;
  uint32_t place = 0;
  char byte;
  for (auto _ : state) {
    our.file.ReadExact(&byte, 1, place);
    place = (place + kBlock) % kFileBytes;
  }
}

void PreadBlocks(State& state) {
  TheirFile their;
  // As many buffers as the cache has items.
  std::vector<char> memory(kCachedBytes);
  uint32_t place = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pread(their.file, &memory[place % kCachedBytes], kBlock, place));
    place = (place + kBlock) % kFileBytes;
  }
}

// --- large pieces past the cache ---

void TransferRaw(State& state, bool use_worker, bool writes) {
  OurFile our(use_worker);
  std::string bytes(kLargePiece, 'w');
  uint32_t place = 0;
  for (auto _ : state) {
    uint32_t count = kLargePiece;
    const ZRError error =
        writes ? our.file.RawWriteAt(bytes.data(), kLargePiece, place, kFromStartKeepMark)
               : our.file.RawReadAt(bytes.data(), &count, place);
    if (error != ZRErrNone) return state.SkipWithError("no transfer");
    place = (place + kLargePiece) % kFileBytes;
  }
}

void TransferNative(State& state, bool writes) {
  TheirFile their;
  std::string bytes(kLargePiece, 'w');
  uint32_t place = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(writes ? pwrite(their.file, bytes.data(), kLargePiece, place)
                                    : pread(their.file, bytes.data(), kLargePiece, place));
    place = (place + kLargePiece) % kFileBytes;
  }
}

// In a task of a kernel with workers.
void RunInTask(State& state, const std::function<void(State&)>& body) {
  struct Run {
    State& state;
    const std::function<void(State&)>& body;
  };
  Run run{state, body};
  ZRTaskStartKernel(
      1 << 20, nullptr,
      [](uintptr_t argument) -> int32_t {
        ZRWorkersStart();
        ZRTaskCreate(
            0x40000,
            [](TCB* task) {
              const auto* given = reinterpret_cast<const Run*>(task->parameter);
              given->body(given->state);
            },
            argument);
        ZRTaskLeaveCritical(false);
        ZRTaskYield();
        qv::ResetWorkersForTest();
        return 0;
      },
      reinterpret_cast<uintptr_t>(&run));
}

}  // namespace

void AddFileCache() {
  const struct {
    uint32_t count;
    const char* name;
    double random_target, sequential_target;
  } kPieces[] = {{100, "100 B", 0.2, 2.0}, {4096, "4 KiB", 0.55, 0.8}};
  for (const auto& piece : kPieces) {
    const uint32_t count = piece.count;
    bench::Add({.name = std::string("cached read at random places, ") + piece.name,
                .peer = "pread",
                .target = piece.random_target,
                .ours = [count](State& s) { ReadCached(s, count); },
                .theirs = [count](State& s) { Pread(s, count); }});
    bench::Add({.name = std::string("reads one after the other, ") + piece.name,
                .peer = "fread",
                .target = piece.sequential_target,
                .ours = [count](State& s) { ReadSequential(s, count); },
                .theirs = [count](State& s) { FreadSequential(s, count); }});
  }
  bench::Add({.name = "fill a block of 64 KiB",
              .peer = "pread",
              .target = 1.3,
              .ours = FillBlocks,
              .theirs = PreadBlocks});
  for (const bool writes : {false, true}) {
    for (const bool use_worker : {false, true}) {
      bench::Add({.name = std::string(writes ? "write" : "read") + " 1 MiB past the cache" +
                          (use_worker ? ", on a worker" : ""),
                  .peer = writes ? "pwrite" : "pread",
                  .ours =
                      [=](State& s) {
                        if (!use_worker) return TransferRaw(s, false, writes);
                        RunInTask(s, [=](State& t) { TransferRaw(t, true, writes); });
                      },
                  .theirs = [=](State& s) { TransferNative(s, writes); }});
    }
  }
}
