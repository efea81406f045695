// A resource file as a source of resources: its map is in memory, bodies are loaded when they are
// asked for, changes are kept in memory until UpdateFile writes them.
//
//   auto* file = new CDiskFile;                       // the source takes it over
//   CRezFmt source;
//   if (file->SetPath("C:\\mail\\texts.rez") == 0 && source.Open(&file, false) == 0) {
//     ZRHandle body = 0;
//     ZRHandleFromBytes("hello", &body, 5);
//     ZRError error = source.AddResource(body, qv::ResourceType("TEXT"), 128, nullptr);
//     if (error == 0) error = source.UpdateFile();    // the body is the source's now
//   }
//   delete file;                                      // null after Open has succeeded
//
// Types, numbers and names are compared exactly. The fork may be a range of the file
// (SetForkRange). The code page is what "ZRcs" 0 of the file says, UTF-8 when there is none.
//
// What is lost and what is not. A body that was changed is neither purged nor let go, and a copy of
// it is a copy; anything not written is lost when the source is closed, opened anew or destroyed.
// An update that fails leaves the changes in memory, so that it can be tried again. Removing a
// resource disposes of its body, whoever uses it. A handle that a caller disposed of, although it
// was the source's, counts as not loaded; if its body was changed, the update is refused
// (ZRErrMemHandle) before it writes anything.
//
// The update. The file holds its old or its new contents, whole, wherever the update is stopped,
// because nothing that a header leads to is overwritten before another header is on the disk:
//
//   1. the new contents are written behind the old and the new ones, flushed      reader: old
//   2. the header is pointed at them, flushed                                     reader: new
//   3. they are copied to their final place, flushed                              reader: new
//   4. the header is pointed at the final place, flushed                          reader: new
//   5. the file is cut                                                            reader: new
//
// A reader that comes after a stop finds more in the file than the map needs, which it ignores
// (resource_map.h). The copy of the header in front of the map is that of the final place from the
// beginning; so it tells the next update where an image that was left behind belongs. A header has
// 16 bytes in one sector, and is taken to be written whole or not at all; when its write fails, the
// header before is written again.
// Without room for step 1 the file gets its old length back, and the answer is ZRErrDiskFull. A new
// file, which has nothing to lose, is written at its place at once. A range of a given length may
// have no room for a second image: the new one is then made in memory and written over the old one,
// which is put back when a write fails; only there a killed process leaves neither.
//
// What an update makes: bodies in the order in which they lay, without gaps, bodies that grew and
// new ones behind them, then the map. It begins where the data began, at 256 if they began inside
// the header. When bodies only change their bytes, nothing else of the file changes. Each body is
// read from its place before, so bodies may lie in each other or in the map. Refused before
// anything is written: a body that is not wholly in the fork (ZRErrResDamaged; if it was removed or
// replaced that does not matter), and an image that is larger than a given range, or than offsets
// lead to because bodies lay in each other (ZRErrResTooLarge). A new or grown body that would start
// behind 0xFFFFFE is left out, the rest is written, and the answer is ZRErrResTooLarge; the body
// stays in memory as changed.
//
// Sizes: the bytes of a changed body, else what the file says. The type 0 asks EnumResources for
// all types.
//
// Errors: ZRErrResNotFound, ZRErrResMemory, ZRErrResDamaged, ZRErrResTooLarge, ZRErrNotOpen without
// a map, ZRErrNotFound without a file, and those of the file object.
// Threads: one task at a time. While a body is read, other tasks may come in: the body that is
// there first stays, changes that begin during an update wait for its end.
#pragma once

#include "resources/fork_file.h"
#include "resources/resource_map.h"
#include "resources/resource_source.h"

namespace qv {
struct UpdateWork;
}

class CRezFmt : public CResSource {
 public:
  CRezFmt();
  ~CRezFmt() override;

  // Opens for reading, sharing that with others, or for reading and writing, sharing nothing. With
  // no file (null or a null variable) the source's own is opened anew; when it cannot be opened for
  // writing it is opened for reading, and the answer is ZRErrOpenFailed all the same. ZRErrParam
  // without a file; the file's error; ZRErrEOF for fewer than 16 bytes; ZRErrResDamaged;
  // ZRErrOpenFailed for a map that is not valid.
  ZRError Open(CDiskFile** file, bool read_only) override;
  // As the next but one, without type and creator.
  ZRError Create(CDiskFile* file, uint32_t word_1, uint32_t word_2) override;
  ZRHandle GetResource(qv::ResourceTypeCode type, int32_t number) override;
  ZRHandle GetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) override;
  // The loaded body itself, which the source forgets; a copy of a changed one.
  ZRHandle LoadResourceCopy(qv::ResourceTypeCode type, int32_t number) override;
  ZRHandle LoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) override;
  int32_t GetResourceSize(qv::ResourceTypeCode type, int32_t number) override;
  // In list order; the callback may change the source.
  ZRError EnumResources(qv::ResourceTypeCode type, qv::SourceCallback callback,
                        void* user_data) override;
  ZRError EnumTypes(qv::TypeCallback callback, void* user_data) override;
  ZRError GetResourceName(qv::ResourceTypeCode type, int32_t number, uint8_t* name) override;
  ZRError GetResourceNumberByName(qv::ResourceTypeCode type, const uint8_t* name,
                                  int32_t* number) override;
  ZRError SetResourceName(qv::ResourceTypeCode type, int32_t number, const uint8_t* name) override;
  ZRError RemoveResource(qv::ResourceTypeCode type, int32_t number) override;
  // A body that was purged is read again, so this belongs before the change of its bytes or while
  // the handle is locked.
  ZRError ChangedResource(qv::ResourceTypeCode type, int32_t number) override;
  // ZRErrParam for a handle that is not live or is the source's already. A resource of that type
  // and number may be there already; it is found first.
  ZRError AddResource(ZRHandle handle, qv::ResourceTypeCode type, int32_t number,
                      const uint8_t* name) override;
  ZRError UpdateFile() override;
  ZRError ReleaseResource(ZRHandle* handle) override;
  void PurgeResources() override;
  // Changes are lost. ZRErrResNotFound also for a body that is not in the file yet.
  ZRError ReloadResource(ZRHandle handle) override;
  bool IsDirty() override;
  ZRError Close() override;
  ZRError Reopen() override;
  // Stores it in "ZRcs" 0 and updates the file.
  ZRError SetCodePage(CodePage cp) override;

  // 29. Reads the map of a file that is open already and stays the caller's. It must outlive the
  // source or its next Attach or Open.
  virtual ZRError Attach(CDiskFile* file);
  // 30. Makes the file, which must not be there, with type and creator when either is not 0, and
  // opens it; on success the source owns it. The words, when either is not 0, become the
  // attributes and the modification time of its information, after everything is written, since
  // a file for reading only could not be written and a write would set the time. A failure leaves
  // no file (of a fork, the stream may stay) and the object closed and the caller's.
  virtual ZRError Create(CDiskFile* file, uint32_t type, uint32_t creator, uint32_t word_1,
                         uint32_t word_2);

  // The attributes of a resource, 0 to 255; below 0 when there is none.
  int32_t GetAttributes(qv::ResourceTypeCode type, int32_t number);

  // Where the fork lies in the files that are opened from now on. A length below 0: to the file's
  // end. A start below 0 counts as 0.
  void SetForkRange(int64_t start, int64_t length);

 private:
  // --- files ---
  void Forget();
  ZRError OpenOwn(bool read_only, bool reopens);
  ZRError ReadMap();
  ZRError ReadLists(const qv::MapHeader& header);
  ZRError WriteNew(CDiskFile* file);
  void TakeCodePage();

  // --- bodies (resource_file_load.cc) ---
  uint64_t PlaceOf(const qv::Reference& reference) const;
  ZRError LengthOf(const qv::Reference& reference, uint32_t* length) const;
  ZRHandle ReadBody(const qv::Reference& reference, ZRError* error) const;
  ZRError Refill(ZRHandle handle, const qv::Reference& reference) const;
  template <class Find>
  ZRHandle Load(Find find);
  template <class Find>
  ZRHandle LoadCopy(Find find);

  // --- changes (resource_file_edit.cc) ---
  void WaitForUpdate() const;
  ZRError FinishChange(ZRError error);
  bool WalkType(qv::ResourceTypeCode type, qv::SourceCallback callback, void* user_data);

  // --- the update (resource_file_update.cc) ---
  ZRError RunUpdate();
  ZRError WriteDirectly(qv::UpdateWork& work);
  ZRError WriteStaged(qv::UpdateWork& work);
  ZRError Stage(qv::UpdateWork& work, uint64_t staged);
  ZRError MoveHome(qv::UpdateWork& work, uint64_t staged);
  ZRError WriteOver(qv::UpdateWork& work);
  ZRError WriteReplaced(const qv::UpdateWork& work, const char* image);
  ZRError PointTo(const qv::ForkHeader& header, const qv::ForkHeader& before, bool* is_before);
  void Commit(qv::UpdateWork& work, const qv::ForkHeader& header, uint64_t map_end);

  qv::ForkFile fork_;  // fork_.file is the file object, or null
  bool owns_file_ = false;
  uint64_t fork_size_ = 0, map_end_ = 0;
  qv::ForkHeader header_;
  // Where the data of the next update begin: where they are, but for an image left behind.
  int32_t home_ = 0;
  bool is_new_ = false;  // no header is in the file yet
  bool updating_ = false;
  qv::ResourceMap map_;
};
