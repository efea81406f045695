// The file behind the source: opening, making, closing it, and reading its map.
#include "resources/resource_file.h"

#include <algorithm>

#include "files/disk_file.h"
#include "memory/handle_bytes.h"
#include "resources/locked_handle.h"

using qv::MapHeader;
using qv::ResourceMap;

namespace {

constexpr qv::ResourceTypeCode kCodePageType = qv::ResourceType("ZRcs");
constexpr qv::Field kCodePageField{0, 2};

// A new handle with `size` bytes of the fork; 0 with the error.
ZRHandle ReadHandle(const qv::ForkFile& fork, uint64_t at, uint32_t size, ZRError* error) {
  ZRHandle handle = ZRNewHandle(size);
  void* const bytes = ZRLockHandle(handle);
  *error = bytes == nullptr ? ZRErrResMemory : fork.Read(bytes, size, at);
  if (bytes != nullptr) ZRUnlockHandle(handle);
  if (*error != ZRErrNone) ZRDisposeHandle(&handle);
  return *error == ZRErrNone ? handle : 0;
}

bool IsInFork(int32_t value, uint64_t fork_size) {
  return value >= 0 && static_cast<uint64_t>(value) <= fork_size;
}

// An image that a stopped update left behind its place names that place in the copy of the header.
int32_t HomeOf(const qv::ForkHeader& header, const qv::ForkHeader& copy) {
  const bool left_behind = copy.data_length == header.data_length &&
                           copy.map_length == header.map_length && copy.data_offset >= 0 &&
                           copy.data_offset < header.data_offset &&
                           header.map_offset - header.data_offset == header.data_length &&
                           copy.map_offset - copy.data_offset == copy.data_length;
  const int32_t home = left_behind ? copy.data_offset : header.data_offset;
  return home < static_cast<int32_t>(qv::kForkHeaderSize) ? int32_t{qv::kNewDataOffset} : home;
}

}  // namespace

CRezFmt::CRezFmt() { code_page_ = kUtf8; }

CRezFmt::~CRezFmt() { Forget(); }

void CRezFmt::SetForkRange(int64_t start, int64_t length) {
  fork_.start = std::max<int64_t>(start, 0);
  fork_.length = length < 0 ? -1 : length;
}

// Drops the map and lets the file go.
void CRezFmt::Forget() {
  map_.Drop();
  if (owns_file_) delete fork_.file;
  fork_.file = nullptr;
  owns_file_ = false;
}

// --- opening ---

ZRError CRezFmt::Open(CDiskFile** file, bool read_only) {
  WaitForUpdate();
  const bool reopens = file == nullptr || *file == nullptr || (owns_file_ && *file == fork_.file);
  if (reopens) {
    if (!owns_file_) return ZRErrParam;
    fork_.file->Close();
    if (file != nullptr) *file = nullptr;
    return OpenOwn(read_only, true);
  }
  Forget();
  fork_.file = *file;
  const ZRError error = OpenOwn(read_only, false);
  if (error != ZRErrNone) {
    fork_.file = nullptr;
    return error;
  }
  owns_file_ = true;
  *file = nullptr;
  return ZRErrNone;
}

// Opens the file and reads its map; it is closed again when that fails.
ZRError CRezFmt::OpenOwn(bool read_only, bool reopens) {
  map_.Drop();
  CDiskFile& file = *fork_.file;
  ZRError remembered = ZRErrNone;
  ZRError error = read_only ? file.Open(kFileRead, kShareRead) : file.OpenExclusive();
  if (error != ZRErrNone && !read_only && reopens) {
    remembered = ZRErrOpenFailed;
    error = file.Open(kFileRead, kShareRead);
  }
  if (error != ZRErrNone) return error;
  error = ReadMap();
  if (error == ZRErrNone && !map_.Validate(header_)) error = ZRErrOpenFailed;
  if (error != ZRErrNone) {
    map_.Drop();
    file.Close();
    return error;
  }
  TakeCodePage();
  return remembered;
}

ZRError CRezFmt::Attach(CDiskFile* file) {
  WaitForUpdate();
  if (file == nullptr) return ZRErrParam;
  if (file != fork_.file) Forget();
  fork_.file = file;
  ZRError error = ReadMap();
  if (error == ZRErrNone && !map_.Validate(header_)) error = ZRErrResDamaged;
  if (error == ZRErrNone) {
    TakeCodePage();
    return ZRErrNone;
  }
  map_.Drop();
  if (!owns_file_) fork_.file = nullptr;
  return error;
}

ZRError CRezFmt::Close() {
  WaitForUpdate();
  if (!owns_file_) return ZRErrParam;
  map_.Drop();
  return fork_.file->Close();
}

ZRError CRezFmt::Reopen() { return Open(nullptr, true); }

// --- the map ---

ZRError CRezFmt::ReadMap() {
  map_.Drop();
  header_ = {};
  is_new_ = false;
  ZRError error = fork_.Measure(&fork_size_);
  const uint64_t fork_size = fork_size_;
  if (error != ZRErrNone) return error;
  if (fork_size < qv::kForkHeaderSize) return ZRErrEOF;
  uint8_t bytes[qv::map_layout::kSize];
  error = fork_.Read(bytes, qv::kForkHeaderSize, 0);
  if (error != ZRErrNone) return error;
  header_ = qv::ReadForkHeader({bytes, qv::kForkHeaderSize});
  for (const int32_t value :
       {header_.data_offset, header_.map_offset, header_.data_length, header_.map_length}) {
    if (!IsInFork(value, fork_size)) return ZRErrResDamaged;
  }
  const auto map_offset = static_cast<uint64_t>(header_.map_offset);
  if (fork_size - map_offset < sizeof bytes ||
      fork_.Read(bytes, sizeof bytes, map_offset) != ZRErrNone) {
    return ZRErrResDamaged;
  }
  home_ = HomeOf(header_, qv::ReadForkHeader(bytes));
  return ReadLists(qv::ReadMapHeader(bytes));
}

ZRError CRezFmt::ReadLists(const MapHeader& header) {
  const int32_t size = ResourceMap::ListsSize(header);
  const auto map_offset = static_cast<uint64_t>(header_.map_offset);
  if (size < 0 || fork_size_ - map_offset < header.name_list_offset) return ZRErrResDamaged;
  const uint64_t lists_at = map_offset + header.type_list_offset + qv::type_layout::kCountSize;
  const uint64_t names_at = map_offset + header.name_list_offset;
  const auto names_size =
      static_cast<uint32_t>(std::min<uint64_t>(fork_size_ - names_at, ResourceMap::kMostNames + 1));
  ZRError error = ZRErrNone;
  ZRHandle names = 0;
  ZRHandle lists = ReadHandle(fork_, lists_at, static_cast<uint32_t>(size), &error);
  if (error == ZRErrNone) names = ReadHandle(fork_, names_at, names_size, &error);
  if (error == ZRErrNone) {
    error = map_.Load(header_, header, lists, names);
    map_end_ = names_at + map_.names_size();
    return error;
  }
  ZRDisposeHandle(&lists);
  return error == ZRErrEOF ? ZRErrResDamaged : error;
}

// --- making ---

ZRError CRezFmt::Create(CDiskFile* file, uint32_t word_1, uint32_t word_2) {
  return Create(file, 0, 0, word_1, word_2);
}

ZRError CRezFmt::Create(CDiskFile* file, uint32_t type, uint32_t creator, uint32_t word_1,
                        uint32_t word_2) {
  WaitForUpdate();
  if (file == nullptr || file == fork_.file) return ZRErrParam;
  ZRError error = type != 0 || creator != 0 ? file->CreateWithType(type, creator) : file->Create();
  if (error != ZRErrNone) return error;
  error = file->Open(kFileRead | kFileWrite, kShareRead);
  if (error == ZRErrNone) error = WriteNew(file);
  if (error == ZRErrNone && (word_1 != 0 || word_2 != 0)) {
    qv::FolderEntry information;
    error = file->GetInfo(&information);
    information.attributes = word_1;
    information.modified = word_2;
    if (error == ZRErrNone) error = file->SetInfo(information);
  }
  if (error == ZRErrNone) {
    owns_file_ = true;
    return ZRErrNone;
  }
  Forget();
  file->Close();
  if (file->GetFork() == kDataFork) file->Delete();
  return error;
}

// The file holds zeros up to its data, no data, and an empty map.
ZRError CRezFmt::WriteNew(CDiskFile* file) {
  Forget();
  fork_.file = file;
  header_ = {qv::kNewDataOffset, qv::kNewDataOffset, 0, 0};
  home_ = header_.data_offset;
  is_new_ = true;
  code_page_ = kUtf8;
  const uint8_t zeros[qv::kNewDataOffset] = {};
  ZRError error = fork_.Write(zeros, sizeof zeros, 0);
  if (error == ZRErrNone) error = map_.MakeEmpty();
  return error == ZRErrNone ? UpdateFile() : error;
}

// --- the code page ---

void CRezFmt::TakeCodePage() {
  code_page_ = kUtf8;
  const int32_t index = map_.Find(kCodePageType, 0);
  if (index < 0) return;
  ZRError error = ZRErrNone;
  ZRHandle body = ReadBody(map_.Get(index), &error);
  {
    const qv::LockedHandle bytes(body);
    if (bytes.bytes().size() >= kCodePageField.width) {
      code_page_ = static_cast<CodePage>(qv::ReadBigEndian(bytes.bytes(), kCodePageField));
    }
  }
  ZRDisposeHandle(&body);
}

ZRError CRezFmt::SetCodePage(CodePage cp) {
  code_page_ = cp;
  if (!map_.exists()) return ZRErrNotOpen;
  uint8_t bytes[2];
  qv::StoreBigEndian(bytes, kCodePageField, cp);
  ZRError error = ZRErrNone;
  ZRHandle body = GetResource(kCodePageType, 0);
  if (body != 0) {
    error = ZRSetHandleBytes(bytes, body, sizeof bytes);
    if (error == ZRErrNone) error = ChangedResource(kCodePageType, 0);
  } else {
    if (map_.Find(kCodePageType, 0) >= 0) return ZRErrResDamaged;
    if (ZRHandleFromBytes(bytes, &body, sizeof bytes) != ZRErrNone) return ZRErrResMemory;
    error = AddResource(body, kCodePageType, 0, nullptr);
    if (error != ZRErrNone) ZRDisposeHandle(&body);
  }
  return error == ZRErrNone ? UpdateFile() : error;
}
