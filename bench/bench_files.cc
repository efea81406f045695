// A folder of 10000 files, listed through the file layer, and what paths cost, without a peer; the
// file cache (bench_file_cache.cc).
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/ratio.h"
#include "files/folder_listing.h"
#include "files/paths.h"
#include "files/volumes.h"
#include "platform/native_files.h"
#include "tests/test_platform.h"

namespace {

constexpr int kFiles = 10000;
constexpr char kFolder[] = "C:\\Users\\someone\\Documents\\Mail";

// Made past the calls, which would look through the folder for each new name.
const std::string& ManyFiles() {
  static const std::string& folder = *new std::string([] {
    const std::string path = test::TempFolder() + "\\many", native = platform::NativePath(path);
    std::filesystem::create_directory(native);
    for (int i = 0; i < kFiles; ++i) {
      std::ofstream(native + "/message " + std::to_string(i) + ".eml") << "text";
    }
    return path;
  }());
  return folder;
}

void List(benchmark::State& state) {
  const std::string& folder = ManyFiles();
  for (auto _ : state) {
    qv::FolderListing listing(false);
    qv::FolderEntry entry;
    int count = 0;
    for (ZRError e = listing.First(folder.c_str(), "*.*", 0, &entry); e == 0;
         e = listing.Next(&entry)) {
      ++count;
    }
    if (count != kFiles) state.SkipWithError("entries are missing");
  }
}

void Join(benchmark::State& state) {
  char path[kFolderSize];
  for (auto _ : state) {
    std::memcpy(path, kFolder, sizeof kFolder);
    benchmark::DoNotOptimize(ZRPathJoin(path, "message 17.eml"));
  }
}

void Split(benchmark::State& state) {
  const std::string path = std::string(kFolder) + "\\message 17.eml";
  char folder[kFolderSize], name[kNameSize];
  for (auto _ : state) {
    benchmark::DoNotOptimize(ZRPathSplit(path.c_str(), folder, name, false));
  }
}

void FindVolume(benchmark::State& state) {
  const std::string path = std::string(kFolder) + "\\message 17.eml";
  uint16_t volume;
  for (auto _ : state) benchmark::DoNotOptimize(ZRVolumeFromPath(path.c_str(), &volume));
}

}  // namespace

void AddFileCache();

int main(int argc, char** argv) {
  test::StartWithOwnState();
  bench::Add({.name = "one entry of a folder of 10000 files",
              .peer = "",
              .ours = List,
              .operations = kFiles});
  bench::Add({.name = "join a folder and a name", .peer = "", .ours = Join});
  bench::Add({.name = "split a path", .peer = "", .ours = Split});
  bench::Add({.name = "the volume of a path", .peer = "", .ours = FindVolume});
  AddFileCache();
  const int result = bench::Run(argc, argv);
  test::RemoveOwnState();
  return result;
}
