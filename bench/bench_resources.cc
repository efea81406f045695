// A resource file of 2000 named resources in 20 types, beside the system's calls that the same
// bytes need at least: opened, all bodies loaded, and one of them changed and written.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench/ratio.h"
#include "files/disk_file.h"
#include "memory/handle_bytes.h"
#include "platform/native_files.h"
#include "resources/resource_file.h"
#include "tests/test_platform.h"

namespace {

constexpr int kTypes = 20, kPerType = 100, kResources = kTypes * kPerType;
constexpr uint32_t kBodySize = 273;

qv::ResourceTypeCode Type(int index) {
  return qv::ResourceType("TYP@") + static_cast<uint32_t>(index);
}

void Stop(ZRError error) {
  if (error == ZRErrNone) return;
  std::fprintf(stderr, "bench_resources: error %d\n", error);
  std::exit(1);
}

CDiskFile* NewFile() {
  static const std::string& path = *new std::string(test::TempFolder() + "\\many.rez");
  auto* file = new CDiskFile;
  file->UseWorker(false);
  Stop(file->SetPath(path.c_str()));
  return file;
}

void Open(CRezFmt& source, bool read_only) {
  CDiskFile* file = NewFile();
  Stop(source.Open(&file, read_only));
}

void Make() {
  CRezFmt source;
  Stop(source.Create(NewFile(), 0, 0));
  const std::string body(kBodySize, 'b');
  for (int i = 0; i < kResources; ++i) {
    ZRHandle handle = 0;
    Stop(ZRHandleFromBytes(body.data(), &handle, kBodySize));
    char name[32];
    const int length = std::snprintf(name + 1, sizeof name - 1, "resource%04d", i);
    name[0] = static_cast<char>(length);
    Stop(source.AddResource(handle, Type(i / kPerType), i % kPerType,
                            reinterpret_cast<const uint8_t*>(name)));
  }
  Stop(source.UpdateFile());
}

const std::string& NativeFile() {
  static const std::string& path =
      *new std::string(platform::NativePath(test::TempFolder() + "\\many.rez"));
  return path;
}

uint32_t Number(const std::vector<unsigned char>& bytes, size_t at) {
  return uint32_t{bytes[at]} << 24 | uint32_t{bytes[at + 1]} << 16 | uint32_t{bytes[at + 2]} << 8 |
         bytes[at + 3];
}

void OpenOurs(benchmark::State& state) {
  for (auto _ : state) {
    CRezFmt source;
    Open(source, true);
    benchmark::DoNotOptimize(&source);
  }
}

void OpenTheirs(benchmark::State& state) {
  std::vector<unsigned char> header(16), map(1 << 16);
  for (auto _ : state) {
    const int file = open(NativeFile().c_str(), O_RDONLY | O_CLOEXEC);
    if (pread(file, header.data(), 16, 0) != 16) state.SkipWithError("no header");
    const uint32_t offset = Number(header, 4), length = Number(header, 12);
    if (pread(file, map.data(), length, offset) != length) state.SkipWithError("no map");
    benchmark::DoNotOptimize(map.data());
    close(file);
  }
}

void LoadOurs(benchmark::State& state) {
  CRezFmt source;
  Open(source, true);
  for (auto _ : state) {
    for (int i = 0; i < kResources; ++i) {
      ZRHandle body = source.GetResource(Type(i / kPerType), i % kPerType);
      if (source.ReleaseResource(&body) != ZRErrNone) state.SkipWithError("no body");
    }
  }
}

void LoadTheirs(benchmark::State& state) {
  const int file = open(NativeFile().c_str(), O_RDONLY | O_CLOEXEC);
  std::vector<unsigned char> length(4);
  for (auto _ : state) {
    off_t at = 256;
    for (int i = 0; i < kResources; ++i) {
      if (pread(file, length.data(), 4, at) != 4) state.SkipWithError("no length");
      const uint32_t size = Number(length, 0);
      const std::unique_ptr<char[]> body(new char[size]);
      if (pread(file, body.get(), size, at + 4) != size) state.SkipWithError("no body");
      benchmark::DoNotOptimize(body.get());
      at += 4 + size;
    }
  }
  close(file);
}

// The least that an update which can be stopped anywhere takes: what it writes, with its flushes.
void UpdateOurs(benchmark::State& state) {
  CRezFmt source;
  Open(source, false);
  for (auto _ : state) {
    source.GetResource(Type(3), 7);
    Stop(source.ChangedResource(Type(3), 7));
    Stop(source.UpdateFile());
  }
}

void UpdateTheirs(benchmark::State& state) {
  const std::string path = NativeFile() + ".copy";
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  const std::vector<char> image(600000, 'i');
  for (auto _ : state) {
    const auto size = static_cast<off_t>(image.size());
    bool good = pwrite(file, image.data(), image.size(), size) == size && fsync(file) == 0;
    good = good && pwrite(file, image.data(), 16, 0) == 16 && fsync(file) == 0;
    good = good && pwrite(file, image.data(), kBodySize, 1000) == kBodySize && fsync(file) == 0;
    good = good && pwrite(file, image.data(), 16, 0) == 16 && fsync(file) == 0;
    if (!good || ftruncate(file, size) != 0) state.SkipWithError("not written");
  }
  close(file);
}

}  // namespace

int main(int argc, char** argv) {
  test::StartWithOwnState();
  Make();
  bench::Add({.name = "open a resource file of 2000 resources",
              .peer = "open, read header and map, close",
              .target = 6,
              .ours = OpenOurs,
              .theirs = OpenTheirs});
  bench::Add({.name = "load one of its 2000 bodies",
              .peer = "two preads",
              .target = 0.4,
              .ours = LoadOurs,
              .theirs = LoadTheirs,
              .operations = kResources});
  bench::Add({.name = "change one of its bodies and update",
              .peer = "the same writes and flushes",
              .ours = UpdateOurs,
              .theirs = UpdateTheirs});
  const int result = bench::Run(argc, argv);
  test::RemoveOwnState();
  return result;
}
