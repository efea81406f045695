// The file object: a folder and a name, kept apart, and what can be done with the file or folder
// that they name.
//
//   CDiskFile file;
//   if (file.GoToTempFolder() == 0 && file.SetName("draft") == 0 && file.Create() == 0 &&
//       file.OpenExclusive() == 0) {
//     ZRError error = file.Write(text, length);
//     file.Close();
//   }
//
// Text is in the system's code page. A file object belongs to one task at a time; while a request
// runs on a worker, the task waits. With "ReportMissing" (section "QVSetup") a path that is not
// there is also said to the debug output. While a file is open its object keeps its place: what
// would change folder or name answers ZRErrFileOpen and changes nothing, but for Rename.
//
// Transfers name their place in the file. The mark, a place too, is kept by the object: it is where
// Read and Write go on, and it moves with what they transfer. It may lie behind the end.
//
// Reads go through the cache that all file objects share (file_cache.h), in blocks of 64 KB, and
// writes go to the disk and then into the blocks that are there:
//   - What one object has written, and was told is written, it reads. The blocks follow whatever
//     the disk answered: after a write that failed nobody knows what the disk has, so the blocks it
//     was about go, and the next read asks the disk. No read shows bytes that were not saved.
//   - What other objects, threads without the cache and programs write to the same file is not seen
//     as long as its block stays; opening the file anew, or SetEOF, shows it.
//   - A write beyond the end also drops the blocks that ended with the old end.
//   - Several tasks may transfer at the same time with one object, as long as they leave its mark,
//     its place and its opening alone. A read that runs while its bytes are written gives old or
//     new.
//   - SetEOF counts as a write that is under way beside others.
//   - A read longer than 4 MB, or than the cache's limit, is made in pieces.
//   - A task may be killed in any of the calls. What it has open stays open, like everything else
//     of its own.
//   - Off the kernel's thread transfers go straight to the disk and touch nothing process-wide; nor
//     does the end of an object that has no blocks. An object that has blocks is destroyed on the
//     kernel's thread. Without a kernel all calls work, on one thread, and nothing waits.
//   - An object that is destroyed while its transfers run waits for them. Where the kernel cannot
//     switch it goes at once, and they answer ZRErrNotOpen.
//
// Errors: framework codes; those of the platform are translated (errors.h). The source files: this
// class's folders and names stand in disk_file.cc and disk_file_levels.cc, opening and closing in
// disk_file_open.cc, transfers in disk_file_transfers.cc and, through the cache, in
// disk_file_cached.cc, moves in disk_file_moves.cc, what is written about a file in
// disk_file_information.cc.
#pragma once

#include <cstdint>

#include "base/counted_object.h"
#include "base/errors.h"
#include "files/file_blocks.h"
#include "files/folder_listing.h"
#include "files/paths.h"

// Access of an open, as bits.
constexpr uint32_t kFileRead = 1, kFileWrite = 2;

// What others may do with the file while it is open; any other number: read and write.
constexpr uint32_t kShareWrite = 1, kShareRead = 2, kShareNone = 3, kShareAll = 0;

// Where the offset of a transfer counts from.
constexpr uint32_t kFromStart = 0;
constexpr uint32_t kFromMark = 1;
constexpr uint32_t kFromStartKeepMark = 3;  // as kFromStart; a write leaves the mark

// Origins of Seek.
constexpr uint32_t kSeekStart = 0, kSeekMark = 1, kSeekEnd = 2;

constexpr uint32_t kDataFork = 0, kResourceFork = 1;

// Kinds of file objects.
constexpr uint32_t kPlainFileKind = 1, kTextFileKind = 3;

class CDiskFile : public CCountedObject {
 public:
  CDiskFile();
  virtual ~CDiskFile();

  // --- where: each begins with ResetSpec; the name is empty afterwards ---

  // A level of ZRGetLocation.
  virtual ZRError GoToLocation(uint32_t level);

  // The file `name` of the product at a level: in the location, the folder "Quorvantis" (not at the
  // levels 5, 7, 8 and 9) and the subfolder (not at level 9; null or empty for none, at most 63
  // bytes, else ZRErrTooLong). ZRErrNotFound when a folder or the file is not there. Level and
  // subfolder are remembered.
  virtual ZRError GoToLevel(uint32_t level, const char* subfolder, const char* name);
  // The same, but makes what is missing: the product folder (ZRSetProductFolderName), the subfolder
  // and the file, which must not be there yet (ZRErrExists).
  virtual ZRError CreateAtLevel(uint32_t level, const char* subfolder, const char* name);

  virtual ZRError GoToAppFolder();
  virtual ZRError GoToAppDriveRoot();
  virtual ZRError GoToDocuments();
  virtual ZRError GoToTempFolder();

  // The folder that the folder lies in; the name is emptied. A drive root stays.
  virtual ZRError GoToParent();

  // A folder inside the folder; empties the name. ZRErrBadFolder without a name, ZRErrParam without
  // a folder, ZRErrNotFound when it is missing (not looked for with `skip_check`) or the path would
  // pass its 255 bytes or the name its 63; the last three empty folder and name.
  virtual ZRError EnterFolder(const char* name, bool skip_check);

  // The file's name inside the folder, at most 63 characters: a longer one answers ZRErrNotFound
  // and empties folder and name, as does any name without a folder. Null empties the name. With
  // `clean` it is made a valid name first (ZRSanitizeName), which also cuts it.
  virtual ZRError SetName(const char* name, bool clean = false);
  virtual ZRError SetNameLStr(const uint8_t* name, bool clean = false);  // length-prefixed

  // --- the open file ---

  // Open for reading and writing, without sharing.
  virtual ZRError OpenExclusive();

  // As OpenHere. A file that was reached at a level (GoToLevel) which its user may not write to,
  // and that is opened for writing, is copied to the user's own level and opened there (kOwnLevel
  // in disk_file_open.cc); from then on the object names the copy. An earlier copy is taken as it
  // is. When the copy is not to be had the first error is answered and the object names what it
  // named.
  virtual ZRError Open(uint32_t access, uint32_t share);

  // Transfers at the mark, which moves by what was transferred, also where a read or write was not
  // complete. As ReadAt and WriteAt.
  virtual ZRError Read(void* buffer, uint32_t* count);
  virtual ZRError Write(const void* bytes, int32_t length);

  // Cuts the file or makes it longer. The mark stays.
  virtual ZRError SetEOF(uint64_t length);

  // The new mark; -1, and the mark as it was, for a place below 0, an origin above 2, and when the
  // platform refuses. Only kSeekEnd needs an open file.
  virtual int64_t Seek(int64_t offset, uint32_t origin);
  // The mark; -1 when the file is not open.
  virtual int64_t Sense();

  // Has the system write what it holds back. ZRErrNotOpen.
  virtual ZRError Flush();
  // Waits for transfers of other tasks that are under way, where the kernel can switch; new ones
  // answer ZRErrNotOpen meanwhile. Closed afterwards, whatever the answer: ZRErrNotOpen, or the
  // platform's error. The mark is 0.
  virtual ZRError Close();

  // At most *count bytes from `offset`, counted as `mode` says. *count: bytes read. ZRErrEOF when
  // the file ended before; ZRErrParam, with a message, for another mode or a place below 0;
  // ZRErrNotOpen. The mark stays. What was read before an error has arrived, and counts.
  virtual ZRError ReadAt(void* buffer, uint32_t* count, int64_t offset, uint32_t mode = kFromStart);
  // As RawWriteAt. With a mode other than kFromStart all blocks of the file are dropped.
  virtual ZRError WriteAt(const void* bytes, int32_t length, int64_t offset,
                          uint32_t mode = kFromStart);
  // ReadAt that answers ZRErrRange when there are fewer bytes.
  virtual ZRError ReadExact(void* buffer, uint32_t count, int64_t offset,
                            uint32_t mode = kFromStart);

  // The part of the file that Open and Create are about: the data, or the resource fork (forks.h).
  virtual void SetFork(uint32_t fork);
  virtual uint32_t GetFork() const;

  // The name, 64 bytes at most. ZRErrTooLong without a buffer.
  virtual ZRError CopyName(char* buffer) const;
  virtual ZRError CopyNameLStr(uint8_t* buffer) const;  // length-prefixed

  virtual uint32_t FileKind() const;

  // --- the named file or folder ---

  // True when something exists at the path (a folder too).
  virtual bool Exists() const;

  virtual bool IsOpen() const;

  // The entry that a listing gives for it, with fork size, type and creator. ZRErrNotFound.
  virtual ZRError GetInfo(qv::FolderEntry* entry);

  // Of a file; framework times on the local clock, null leaves a time as it is. Where it is not
  // open it is opened for writing meanwhile.
  virtual ZRError SetTimes(const uint32_t* created, const uint32_t* modified);

  // Gives the file the attributes and the modification time of an entry; a time of 0 leaves the
  // time as it is. The file may be open. The platform's error, and then the time may be set.
  virtual ZRError SetInfo(const qv::FolderEntry& entry);

  // As Create, and with a type and a creator (forks.h); when they cannot be stored there is no file
  // afterwards, unless the file is of the resource fork.
  ZRError CreateWithType(uint32_t type, uint32_t creator);

  // Makes the named file, empty, and leaves it closed. ZRErrParam without a name, ZRErrExists,
  // ZRErrBadFolder when the folder is missing, ZRErrFileOpen, else the platform's error.
  virtual ZRError Create();

  // Makes the named folder; 0 when it was made or is a folder already. ZRErrParam without a name,
  // ZRErrExists when something else has the name, else the translated platform error.
  virtual ZRError CreateFolder();

  // Moves the named file or folder to what `destination` names, or, when something exists there,
  // into the folder of that name. With `unique_name` (a Str255) it goes into the destination's
  // folder under a name that nothing has (unique_names.h), which is delivered. The object then
  // names the new place. ZRErrNotFound without a destination, ZRErrTooLong for paths of 256 bytes,
  // else the platform's error, and nothing is moved.
  virtual ZRError MoveTo(CDiskFile* destination, uint8_t* unique_name);

  // Gives it a name in the same folder, or another path ("X:\..."). Also while it is open, where
  // the platform allows that. The same path in any letter case is no change, and a success.
  virtual ZRError Rename(const char* new_name);

  virtual ZRError Delete();
  virtual ZRError RemoveFolder();

  // --- the entries of the folder, or those that the name matches (folder_listing.h) ---

  virtual ZRError FirstEntry(qv::FolderEntry* entry, uint32_t options);
  virtual ZRError NextEntry(qv::FolderEntry* entry);
  // With the name length-prefixed too; `name` holds 64 bytes.
  virtual ZRError NextEntryLStr(qv::FolderEntry* entry, uint8_t* name);
  virtual void EndFind();

  // --- lines: of a text file only (text_file.h); here ZRErrParam ---

  virtual ZRError ReadLine(char* buffer, int32_t* length);
  virtual ZRError WriteLine(const char* text, int32_t* length);
  virtual ZRError PrintText(const char* format, ...);
  virtual ZRError WriteText(const char* text, uint32_t length);
  virtual ZRError SetReadLimit(int64_t position);
  virtual ZRError SetLineEnding(const char* text);

  // --- the whole path ---

  // An existing folder becomes the folder; any other path is split, and its folder must exist:
  // ZRErrNotFound. ZRErrParam for an empty path, ZRErrTooLong above 255 bytes. Empty after a
  // failure.
  virtual ZRError SetPath(const char* path);
  virtual ZRError SetPathLStr(const uint8_t* path);  // length-prefixed

  // Folder and name joined. ZRErrTooLong, with an empty buffer, when the whole does not fit below
  // `size` or there is no buffer; `size` is 4 at least.
  virtual ZRError GetNativePath(char* buffer, uint32_t size) const;

  // Empties folder and name. False, and nothing changed, while the file is open.
  virtual bool ResetSpec();

  // Opens the named file, which must exist. ZRErrFileOpen when it is open, ZRErrParam without an
  // access bit, else the platform's error. While another call of Open waits for its worker, this
  // one waits for it.
  virtual ZRError OpenHere(uint32_t access, uint32_t share);

  // --- transfers as the platform makes them ---

  // *count bytes from `offset`; *count: bytes read, 0 after an error. Fewer are no error.
  // ZRErrNotOpen, ZRErrSeek for a place that the platform refuses.
  ZRError RawReadAt(void* buffer, uint32_t* count, uint64_t offset);
  // ZRErrDiskFull when fewer bytes were written than asked for. Except with kFromStartKeepMark the
  // mark grows by the bytes written; ZRErrTooLong when it cannot. ZRErrParam for another mode and
  // for a length below 0.
  ZRError RawWriteAt(const void* bytes, int32_t length, int64_t offset, uint32_t mode);

  // Makes an empty file or a folder in the folder, under a name that nothing has, which becomes the
  // object's.
  ZRError CreateUnique(bool folder);

  // The product's folder at a level with the subfolder, which must exist; the name is empty.
  ZRError GoToLevelFolder(uint32_t level, const char* subfolder);
  // Whether requests are handed to workers; new objects take what file_options.h says.
  void UseWorker(bool use_worker);

  uint64_t mark() const { return mark_; }
  const char* folder() const { return folder_; }
  const char* name() const { return name_; }
  uint32_t level() const { return level_; }
  const char* subfolder() const { return subfolder_; }

 private:
  static constexpr uint32_t kPathSize = 276;  // what the platform is given at most

  ZRError RememberLevel(uint32_t level, const char* subfolder);
  ZRError EnterOrMake(const char* name);
  ZRError RefuseFolder(const char* message, const char* name);
  // A request about the named thing.
  ZRError Ask(uint32_t operation) const;
  ZRError PathWithFork(char* path) const;
  ZRError OpenNative(char* path, uint32_t access, uint32_t share);
  ZRError OpenOwnCopy(uint32_t access, uint32_t share, ZRError refusal);
  ZRError CheckCreate(char* path) const;
  ZRError SetNativeTimes(void* file, const void* created, const void* modified) const;
  ZRError MoveIntoFolder(const char* source, const char* folder, uint8_t* unique_name,
                         char* target);
  ZRError Name(const char* path);
  ZRError RenameTarget(const char* new_name, char* target) const;
  bool PlaceOf(int64_t offset, uint32_t mode, uint64_t* place) const;
  ZRError RefuseRead(const char* message, int32_t value) const;
  ZRError CheckRead(int64_t offset, uint32_t mode, uint64_t* place) const;
  ZRError ReadFrom(uint64_t place, void* buffer, uint32_t* count, bool move_mark);
  ZRError ReadStraight(uint64_t place, void* buffer, uint32_t* count);
  ZRError CutNative(uint64_t length);
  void WaitForTransfers() const;
  bool MakeBlocks();
  bool IsClosing() const { return blocks_ != nullptr && blocks_->IsClosing(); }
  void DropForChange(const qv::FileOperation* may_yield);
  ZRError FinishMove(uint32_t trace, ZRError error, const char* target);
  ZRError FinishWrite(uint32_t native, uint32_t written, int32_t length, uint32_t mode);

  bool use_worker_;
  uint32_t fork_ = kDataFork;
  uint64_t mark_ = 0;
  char folder_[kFolderSize] = {};
  char name_[kNameSize] = {};
  void* file_ = reinterpret_cast<void*>(intptr_t{-1});  // -1: not open
  bool opening_ = false;
  uint32_t open_error_ = 0;  // the platform's, of the latest open
  uint32_t level_ = 0;
  char subfolder_[kNameSize] = {};
  qv::FolderListing listing_;
  qv::FileBlocks* blocks_ = nullptr;  // from the first transfer through the cache on
};
