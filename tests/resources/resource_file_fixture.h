// What the tests of resource files share: a file of their own, sources over it, handles counted,
// and a file object whose writes can be made to stop.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "files/disk_file.h"
#include "memory/handle_bytes.h"
#include "resources/resource_file.h"
#include "tests/files/file_bytes.h"
#include "tests/resources/fork_bytes.h"
#include "tests/test_platform.h"

namespace test {

inline qv::ResourceTypeCode Code(const std::string& type) { return Peek(type, 0, 4); }

// A length-prefixed name; null for "".
class Name {
 public:
  explicit Name(const std::string& text) : text_(static_cast<char>(text.size()) + text) {}
  const uint8_t* get() const {
    return text_.size() == 1 ? nullptr : reinterpret_cast<const uint8_t*>(text_.data());
  }

 private:
  std::string text_;
};

inline ZRHandle HandleOf(const std::string& bytes) {
  ZRHandle handle = 0;
  ZRHandleFromBytes(bytes.data(), &handle, static_cast<uint32_t>(bytes.size()));
  return handle;
}

inline std::string BytesOf(ZRHandle handle) {
  std::string bytes(ZRGetHandleSize(handle), '\0');
  auto count = static_cast<uint32_t>(bytes.size());
  return ZRGetHandleBytes(handle, bytes.data(), &count) == ZRErrNone ? bytes : "(no bytes)";
}

// A process that ends at a change of the file (a write, a flush, a cut): a write then writes `torn`
// bytes of what it was asked for and fails, and so does every change after it. With `once` only
// that one fails. Changes are recorded.
class StoppingFile : public CDiskFile {
 public:
  struct Stop {
    int at_change = 0;  // 1 is the next one; 0: none
    int32_t torn = 0;
    bool once = false;
  };
  struct FileChange {
    enum { kWrite, kFlush, kCut } kind;
    uint64_t place = 0;  // or the file's new length
    std::string bytes;
  };
  void Arm(const Stop& stop) {
    stop_ = stop;
    stopped_ = false;
    changes_.clear();
  }
  bool stopped() const { return stopped_; }
  const std::vector<FileChange>& changes() const { return changes_; }
  std::function<void()> before_read;  // called once, by the next read

  ZRError WriteAt(const void* bytes, int32_t length, int64_t offset, uint32_t mode) override {
    const Step step = Next({FileChange::kWrite,
                            static_cast<uint64_t>(offset),
                            {static_cast<const char*>(bytes), static_cast<size_t>(length)}});
    if (step == kGoOn) return CDiskFile::WriteAt(bytes, length, offset, mode);
    // A header lies in one sector: it is written whole or not at all.
    const int32_t torn = length == 16 && offset == 0 ? 0 : std::min(stop_.torn, length);
    if (step == kFail) CDiskFile::WriteAt(bytes, torn, offset, mode);
    return ZRErrDiskFull;
  }
  ZRError SetEOF(uint64_t length) override {
    return Next({FileChange::kCut, length, ""}) == kGoOn ? CDiskFile::SetEOF(length) : ZRErrIO;
  }
  // Only noted: a real one takes milliseconds.
  ZRError Flush() override {
    return Next({FileChange::kFlush, 0, ""}) == kGoOn ? ZRErrNone : ZRErrIO;
  }
  ZRError ReadAt(void* buffer, uint32_t* count, int64_t offset, uint32_t mode) override {
    if (const auto run = std::exchange(before_read, nullptr)) run();
    return CDiskFile::ReadAt(buffer, count, offset, mode);
  }

 private:
  enum Step { kGoOn, kFail, kDead };
  Step Next(FileChange change) {
    changes_.push_back(std::move(change));
    if (stopped_) return stop_.once ? kGoOn : kDead;
    stopped_ = static_cast<int>(changes_.size()) == stop_.at_change;
    return stopped_ ? kFail : kGoOn;
  }
  Stop stop_;
  std::vector<FileChange> changes_;
  bool stopped_ = false;
};

class ResourceFileTest : public testing::Test {
 protected:
  ResourceFileTest() {
    EmptyFolder(folder_);
    ZRHandle first = ZRNewHandle(1);  // the table
    ZRDisposeHandle(&first);
    handles_ = ZRCountHandles();
    objects_ = ZRCountLiveObjects();
  }
  ~ResourceFileTest() override {
    source_.reset();
    EXPECT_EQ(ZRCountHandles(), handles_) << "handles left";
    EXPECT_EQ(ZRCountLiveObjects(), objects_) << "files or sources left";
    EmptyFolder(folder_);
  }

  // The bytes of the file; through the source's own file object while that shares it with nobody.
  std::string File() const {
    if (source_ == nullptr || file_ == nullptr || !file_->IsOpen()) return ReadWholeFile(path_);
    return DiskBytes(*file_, 0, static_cast<uint32_t>(file_->Seek(0, kSeekEnd)));
  }
  void Put(const std::string& bytes) { ASSERT_TRUE(WriteWholeFile(path_, bytes)); }
  StoppingFile* NewFile() const {
    auto* file = new StoppingFile;
    EXPECT_EQ(file->SetPath(path_.c_str()), ZRErrNone);
    return file;
  }
  ZRError Create() {
    Renew();
    file_ = NewFile();
    const ZRError error = source_->Create(file_, 0, 0);
    if (error != ZRErrNone) delete std::exchange(file_, nullptr);
    return error;
  }
  void Renew() {
    file_ = nullptr;
    source_ = std::make_unique<CRezFmt>();
  }
  ZRError Open(bool read_only = false) {
    Renew();
    return OpenInto(*source_, read_only);
  }
  ZRError OpenInto(CRezFmt& source, bool read_only) {
    file_ = NewFile();
    CDiskFile* given = file_;
    const ZRError error = source.Open(&given, read_only);
    EXPECT_EQ(given == nullptr, error == ZRErrNone);
    if (error != ZRErrNone) file_ = nullptr;
    delete given;
    return error;
  }
  // The file's own error when it cannot be opened.
  ZRError OpenBytes(const std::string& bytes, bool read_only = false) {
    Renew();
    Put(bytes);
    return Open(read_only);
  }

  ZRError Add(const std::string& type, int number, const std::string& body,
              const std::string& name = "") {
    ZRHandle handle = HandleOf(body);
    const ZRError error = source_->AddResource(handle, Code(type), number, Name(name).get());
    if (error != ZRErrNone) ZRDisposeHandle(&handle);
    return error;
  }
  ZRError Change(const std::string& type, int number, const std::string& body) {
    const ZRHandle handle = source_->GetResource(Code(type), number);
    EXPECT_EQ(ZRSetHandleBytes(body.data(), handle, static_cast<uint32_t>(body.size())), ZRErrNone);
    return source_->ChangedResource(Code(type), number);
  }
  std::string Get(const std::string& type, int number) {
    const ZRHandle handle = source_->GetResource(Code(type), number);
    return handle == 0 ? "(none)" : BytesOf(handle);
  }
  // Everything that the source serves.
  std::vector<ForkEntry> Served() { return Served(*source_); }
  static std::vector<ForkEntry> Served(CRezFmt& source) {
    std::vector<ForkEntry> entries;
    source.EnumResources(
        0,
        [](qv::ResourceTypeCode type, int32_t number, const uint8_t* name, CodePage, void* data) {
          static_cast<std::vector<ForkEntry>*>(data)->push_back(
              {Big(type, 4), number, std::string(name + 1, name + 1 + name[0]), ""});
          return 0;
        },
        &entries);
    for (ForkEntry& entry : entries) {
      const ZRHandle handle = source.GetResource(Code(entry.type), entry.number);
      entry.body = handle == 0 ? "(none)" : BytesOf(handle);
    }
    return entries;
  }
  // What another source finds in the file as it is on the disk.
  std::vector<ForkEntry> Reread(const std::string& bytes) {
    const std::string other = folder_ + "\\reread";
    EXPECT_TRUE(WriteWholeFile(other, bytes));
    CRezFmt source;
    CDiskFile* file = new CDiskFile;
    EXPECT_EQ(file->SetPath(other.c_str()), ZRErrNone);
    const ZRError error = source.Open(&file, true);
    delete file;
    if (error != ZRErrNone) return {{"????", error, "", ""}};
    return Served(source);
  }

  const std::string folder_ = TempFolder();
  const std::string path_ = folder_ + "\\file.rez";
  std::unique_ptr<CRezFmt> source_;
  StoppingFile* file_ = nullptr;  // the source's

 private:
  uint32_t handles_;
  int32_t objects_;
};

}  // namespace test
