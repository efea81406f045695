// Many tasks that read, write, cut, close, replace and drop at random on a few files, and compare
// each byte that they read with a plain model of the file.
//
// QV_CACHE_SEED repeats a run, QV_CACHE_STEPS makes it longer. With requests on the kernel's thread
// a seed always gives the same run; on workers it gives the same intentions.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "files/disk_file.h"
#include "files/file_cache.h"
#include "files/transfer_request.h"
#include "tests/files/file_bytes.h"
#include "tests/tasks/workers_fixture.h"
#include "tests/test_platform.h"

namespace {

constexpr int kFiles = 3, kTasks = 16;
constexpr uint32_t kBlock = qv::kBlockBytes;
constexpr uint32_t kLongest = 6 * kBlock;  // of a file
constexpr uint32_t kItems = 10;            // of the cache

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
  const char* text = std::getenv(name);
  const uint64_t value = text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
  std::printf("%s=%llu\n", name, static_cast<unsigned long long>(value));
  return value;
}
uint64_t Seed() { return FromEnvironment("QV_CACHE_SEED", std::random_device{}()); }

struct Write {
  uint32_t offset;
  std::string bytes;
};

// A read that is under way: what it may find.
struct ActiveRead {
  TaskId task = 0;
  uint32_t offset = 0;
  std::string bytes;             // its buffer, which outlives its task
  std::string before;            // what the file had when it began
  std::vector<Write> meanwhile;  // what was being written since
  bool resized = false, closed = false;

  bool Allows(size_t index, char byte) const {
    const size_t place = offset + index;
    if (index < before.size() && before[index] == byte) return true;
    if (resized && byte == 0) return true;
    return std::any_of(meanwhile.begin(), meanwhile.end(), [&](const Write& write) {
      return place >= write.offset && place - write.offset < write.bytes.size() &&
             write.bytes[place - write.offset] == byte;
    });
  }
};

// A file, and what it is known to hold.
struct Subject {
  std::string path;
  std::unique_ptr<CDiskFile> object;
  std::string bytes;
  std::list<Write> writes;  // under way; they do not overlap
  std::list<ActiveRead> reads;
  bool is_changing = false;  // by an operation that keeps the others off, but for reads
};

class CacheModelTest : public test::WorkersTest {
 protected:
  CacheModelTest() {
    qv::ResetFileCacheForTest();
    qv::ResetTransfersForTest();
    test::EmptyFolder(folder_);
    CreateDirectoryA(folder_.c_str(), nullptr);
  }
  ~CacheModelTest() override {
    qv::ResetTransfersForTest();
    test::EmptyFolder(folder_);
    RemoveDirectoryA(folder_.c_str());
  }

  void Begin(uint64_t seed) {
    random_.seed(seed);
    steps_left_ = static_cast<int>(FromEnvironment("QV_CACHE_STEPS", 8000));
    checked_ = kills_ = 0;
    qv::SetFileCacheItemsForTest(kItems);
    for (int i = 0; i < kFiles; ++i) {
      Subject& subject = subjects_[i];
      subject = {};
      subject.path = folder_ + "\\file" + std::to_string(i);
      test::WriteWholeFile(subject.path, "");
      Open(subject);
    }
    for (int i = 0; i < kTasks; ++i) StartTask();
    Spawn("killer", [this] { KillReaders(); });
  }
  uint64_t checked() const { return checked_; }
  int kills() const { return kills_; }

 private:
  uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }

  static void Open(Subject& subject) {
    subject.object = std::make_unique<CDiskFile>();
    test::OpenExclusive(*subject.object, subject.path);
  }

  void StartTask() {
    ++running_;
    Spawn("user", [this] {
      while (steps_left_ > 0 && !HasFailure()) {
        --steps_left_;
        Step(subjects_[Below(kFiles)]);
        if (Below(4) == 0) ZRTaskYield();
      }
      if (--running_ == 0) End();
    });
  }
  void End() {
    for (Subject& subject : subjects_) {
      CheckAll(subject);
      subject.object.reset();
    }
    EXPECT_TRUE(qv::FileCacheIsConsistent());
    ZRDropFileCache();
    qv::ResetFileCacheForTest();
  }

  void Step(Subject& subject) {
    const uint32_t choice = Below(100);
    if (choice < 55) return ReadSome(subject);
    if (choice < 90) return WriteSome(subject);
    if (choice < 93) return Cut(subject);
    if (choice < 95) return Reopen(subject);
    if (choice < 97) return Replace(subject);
    if (choice < 99) return ZRDropFileCache();
    EXPECT_TRUE(qv::FileCacheIsConsistent());
  }

  // --- reading ---

  void ReadSome(Subject& subject) {
    if (subject.object == nullptr || !subject.object->IsOpen()) return;
    const bool is_long = Below(4) == 0;
    uint32_t count = 1 + Below(is_long ? 3 * kBlock : 300);
    // Often around a border, or the end.
    uint32_t offset = Below(kLongest);
    if (Below(2) == 0) offset = Below(6) * kBlock + kBlock - Below(200);
    if (Below(4) == 0)
      offset = static_cast<uint32_t>(subject.bytes.size()) -
               std::min<uint32_t>(Below(200), static_cast<uint32_t>(subject.bytes.size()));
    const auto read = BeginRead(subject, offset, count);
    const ZRError error = subject.object->ReadAt(read->bytes.data(), &count, offset);
    Check(*read, error, count);
    subject.reads.erase(read);
  }
  std::list<ActiveRead>::iterator BeginRead(Subject& subject, uint32_t offset, uint32_t count) {
    ActiveRead read;
    read.task = ZRTaskCurrent();
    read.offset = offset;
    read.bytes.assign(count, '#');
    read.meanwhile.assign(subject.writes.begin(), subject.writes.end());
    if (offset < subject.bytes.size()) read.before = subject.bytes.substr(offset, count);
    read.resized = subject.is_changing || Grows(subject);
    read.closed = subject.is_changing;
    subject.reads.push_front(read);
    return subject.reads.begin();
  }
  static bool Grows(const Subject& subject) {
    return std::any_of(subject.writes.begin(), subject.writes.end(), [&](const Write& write) {
      return write.offset + write.bytes.size() > subject.bytes.size();
    });
  }
  void Check(const ActiveRead& read, ZRError error, uint32_t count) {
    if (read.closed && error == ZRErrNotOpen) return;
    EXPECT_EQ(error, count < read.bytes.size() ? ZRErrEOF : ZRErrNone);
    EXPECT_TRUE(read.resized || count == read.before.size());
    for (uint32_t i = 0; i < count; ++i) {
      if (read.Allows(i, read.bytes[i])) continue;
      ADD_FAILURE() << "byte " << read.offset + i << " of a read from " << read.offset;
      break;
    }
    checked_ += count;
  }

  // --- changing; reads that are under way hear of it ---

  template <typename Tell>
  static void TellReads(Subject& subject, Tell tell) {
    for (ActiveRead& read : subject.reads) tell(read);
  }

  void WriteSome(Subject& subject) {
    if (subject.is_changing || subject.object == nullptr) return;
    const bool is_long = Below(8) == 0;
    Write write{Below(kLongest), std::string(1 + Below(is_long ? 2 * kBlock : 400), '\0')};
    if (Below(2) == 0) write.offset = Below(6) * kBlock + kBlock - Below(300);
    for (const Write& other : subject.writes) {
      if (write.offset < other.offset + other.bytes.size() &&
          other.offset < write.offset + write.bytes.size()) {
        return;
      }
    }
    const uint32_t salt = Below(1 << 16);
    for (size_t i = 0; i < write.bytes.size(); ++i) {
      write.bytes[i] = static_cast<char>((i * 31 + salt) >> 3 | 1);
    }
    subject.writes.push_front(write);
    const auto mine = subject.writes.begin();
    const bool grows = Grows(subject);
    TellReads(subject, [&](ActiveRead& read) {
      read.meanwhile.push_back(write);
      read.resized = read.resized || grows;
    });
    const bool other_mode = Below(10) == 0;
    EXPECT_EQ(subject.object->WriteAt(write.bytes.data(), static_cast<int32_t>(write.bytes.size()),
                                      write.offset, other_mode ? kFromStartKeepMark : kFromStart),
              ZRErrNone);
    const size_t end = write.offset + write.bytes.size();
    if (end > subject.bytes.size()) subject.bytes.resize(end);
    subject.bytes.replace(write.offset, write.bytes.size(), write.bytes);
    subject.writes.erase(mine);
  }

  // No write may begin until it has ended.
  bool BeginChange(Subject& subject, bool closes) {
    if (subject.is_changing || !subject.writes.empty()) return false;
    subject.is_changing = true;
    TellReads(subject, [&](ActiveRead& read) {
      read.resized = true;
      read.closed = read.closed || closes;
    });
    return true;
  }

  void Cut(Subject& subject) {
    if (!BeginChange(subject, false)) return;
    const uint32_t length = Below(kLongest);
    EXPECT_EQ(subject.object->SetEOF(length), ZRErrNone);
    subject.bytes.resize(length);
    subject.is_changing = false;
  }
  void Reopen(Subject& subject) {
    if (!BeginChange(subject, true)) return;
    EXPECT_EQ(subject.object->Close(), ZRErrNone);
    EXPECT_EQ(subject.object->OpenExclusive(), ZRErrNone);
    subject.is_changing = false;
  }
  void Replace(Subject& subject) {
    if (!BeginChange(subject, true)) return;
    subject.object.reset();
    Open(subject);
    subject.is_changing = false;
  }

  void CheckAll(Subject& subject) {
    ZRError error;
    EXPECT_TRUE(test::ReadBytes(*subject.object, 0, kLongest * 2, &error) == subject.bytes);
    EXPECT_EQ(error, ZRErrEOF);
    EXPECT_TRUE(test::DiskBytes(*subject.object, 0, kLongest * 2) == subject.bytes);
  }

  // Readers vanish in the middle of it.
  void KillReaders() {
    while (running_ > 0) {
      ZRTaskYield();
      Subject& subject = subjects_[Below(kFiles)];
      if (subject.reads.empty() || Below(12) != 0) continue;
      const TaskId victim = subject.reads.back().task;
      ZRTaskKill(victim);
      // One that waits for a worker goes a little later.
      while (ZRTaskIsValid(victim)) ZRTaskYield();
      ++kills_;
      subject.reads.remove_if([&](const ActiveRead& read) { return read.task == victim; });
      --running_;
      StartTask();
    }
  }

  const std::string folder_ = test::TempFolder() + "_model";
  Subject subjects_[kFiles];
  std::mt19937_64 random_;
  int steps_left_ = 0, running_ = 0, kills_ = 0;
  uint64_t checked_ = 0;
};

// The delays come from the seed too.
TEST_F(CacheModelTest, OnTheKernelsThread) {
  const uint64_t seed = Seed();
  static std::mt19937_64 delays;
  delays.seed(seed);
  RunTasks([&] {
    qv::GlobalHooks().run_on_worker = [](void (*job)(void*), void* argument) {
      for (uint64_t i = delays() % 4; i > 0; --i) ZRTaskYield();
      job(argument);
      for (uint64_t i = delays() % 4; i > 0; --i) ZRTaskYield();
    };
    Begin(seed);
  });
  EXPECT_GT(checked(), 1'000'000u);
  EXPECT_GT(kills(), 0);
}

// Also where the platform takes no places with its calls.
TEST_F(CacheModelTest, OnWorkers) {
  const uint64_t seed = Seed();
  SetThreads(8, 1);
  for (const bool with_places : {true, false}) {
    SCOPED_TRACE(with_places);
    if (!with_places) qv::RefusePositionsForTest();
    RunWithWorkers([&] { Begin(seed); });
    EXPECT_GT(checked(), 1'000'000u);
    EXPECT_GT(kills(), 0);
  }
}

}  // namespace
