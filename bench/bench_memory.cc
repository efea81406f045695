// Handles and plain blocks beside malloc, std::recursive_mutex, weak_ptr and realloc.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "bench/ratio.h"
#include "memory/checked_allocations.h"
#include "memory/handle_bytes.h"
#include "memory/handles.h"
#include "tests/test_platform.h"

namespace {

constexpr int kObjects = 100000;

void AddCreation(const char* name, uint32_t size) {
  bench::Add({name, "malloc, free, two mutex pairs", 1.3,
              [size](benchmark::State& state) {
                for (auto _ : state) {
                  ZRHandle handle = ZRNewHandle(size);
                  benchmark::DoNotOptimize(handle);
                  ZRDisposeHandle(&handle);
                }
              },
              [size](benchmark::State& state) {
                std::recursive_mutex mutex;
                for (auto _ : state) {
                  mutex.lock();
                  void* block = std::malloc(size);
                  mutex.unlock();
                  benchmark::DoNotOptimize(block);
                  mutex.lock();
                  std::free(block);
                  mutex.unlock();
                }
              }});
}

// Objects in random order, so that neither side finds them in its cache by luck.
std::vector<int> RandomOrder(int count) {
  std::vector<int> order(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) order[static_cast<size_t>(i)] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(5));
  return order;
}

void AddLocking(const char* name, int count) {
  auto order = std::make_shared<std::vector<int>>(RandomOrder(count));
  auto handles = std::make_shared<std::vector<ZRHandle>>();
  auto owners = std::make_shared<std::vector<std::shared_ptr<int>>>();
  auto weak = std::make_shared<std::vector<std::weak_ptr<int>>>();
  for (int i : *order) {
    handles->push_back(ZRNewHandle(4));
    owners->push_back(std::make_shared<int>(i));
    weak->push_back(owners->back());
  }
  bench::Add({name, "weak_ptr", 1.5,
              [handles](benchmark::State& state) {
                size_t next = 0;
                for (auto _ : state) {
                  const ZRHandle handle = (*handles)[next];
                  benchmark::DoNotOptimize(ZRLockHandle(handle));
                  ZRUnlockHandle(handle);
                  if (++next == handles->size()) next = 0;
                }
              },
              [weak, owners](benchmark::State& state) {
                size_t next = 0;
                for (auto _ : state) {
                  auto held = (*weak)[next].lock();
                  benchmark::DoNotOptimize(held.get());
                  if (++next == weak->size()) next = 0;
                }
              }});
}

constexpr uint32_t kPiece = 100, kWhole = 100000;

void AddAppending() {
  static const char piece[kPiece] = {};
  bench::Add({"append 100 B up to 100 kB, 1000 times", "realloc", 2.5,
              [](benchmark::State& state) {
                for (auto _ : state) {
                  ZRHandle handle = ZRNewHandle(0);
                  for (uint32_t size = 0; size < kWhole; size += kPiece) {
                    ZRAppendHandleBytes(piece, handle, kPiece);
                  }
                  ZRDisposeHandle(&handle);
                }
              },
              [](benchmark::State& state) {
                for (auto _ : state) {
                  char* block = nullptr;
                  for (uint32_t size = 0; size < kWhole; size += kPiece) {
                    block = static_cast<char*>(std::realloc(block, size + kPiece));
                    std::memcpy(block + size, piece, kPiece);
                  }
                  benchmark::DoNotOptimize(block);
                  std::free(block);
                }
              }});
}

void AddPlainBlocks() {
  bench::Add({"ZRAMEMAlloc and ZRAMEMFree, 100 B", "malloc, free, two mutex pairs", 1.3,
              [](benchmark::State& state) {
                for (auto _ : state) {
                  void* block = ZRAMEMAlloc(100);
                  benchmark::DoNotOptimize(block);
                  ZRAMEMFree(block);
                }
              },
              [](benchmark::State& state) {
                std::recursive_mutex mutex;
                for (auto _ : state) {
                  mutex.lock();
                  void* block = std::malloc(100);
                  mutex.unlock();
                  benchmark::DoNotOptimize(block);
                  mutex.lock();
                  std::free(block);
                  mutex.unlock();
                }
              }});
}

}  // namespace

int main(int argc, char** argv) {
  test::StartWithOwnState();
  // With a second thread locks and counts are atomic, as in a real program.
  std::atomic<bool> done = false;
  std::thread second([&done] { done.wait(false); });
  AddCreation("ZRNewHandle and ZRDisposeHandle, 100 B", 100);
  AddCreation("ZRNewHandle and ZRDisposeHandle, 64 KiB", 65536);
  AddLocking("ZRLockHandle and ZRUnlockHandle, one handle", 1);
  AddLocking("ZRLockHandle and ZRUnlockHandle, 100000 handles", kObjects);
  AddAppending();
  AddPlainBlocks();
  const int result = bench::Run(argc, argv);
  done = true;
  done.notify_one();
  second.join();
  test::RemoveOwnState();
  return result;
}
