#include "resources/fork_file.h"

#include <algorithm>

#include "files/disk_file.h"
#include "resources/fork_layout.h"

namespace qv {
namespace {

constexpr uint32_t kMostAtOnce = 1u << 30;  // bytes of one call, whose count is signed

}  // namespace

ZRError ForkFile::Measure(uint64_t* size) const {
  *size = 0;
  if (file == nullptr) return ZRErrNotFound;
  if (!file->IsOpen()) return ZRErrNotOpen;
  const int64_t end = file->Seek(0, kSeekEnd);
  if (end < 0) return ZRErrSeek;
  const int64_t rest = std::max<int64_t>(end - start, 0);
  *size = static_cast<uint64_t>(HasGivenLength() ? std::min(length, rest) : rest);
  return ZRErrNone;
}

ZRError ForkFile::Read(void* bytes, uint32_t count, uint64_t at) const {
  if (count == 0) return ZRErrNone;
  uint32_t done = count;
  const ZRError error = file->ReadAt(bytes, &done, start + static_cast<int64_t>(at), kFromStart);
  return error == ZRErrNone && done < count ? ZRErrEOF : error;
}

ZRError ForkFile::Write(const void* bytes, uint32_t count, uint64_t at) const {
  if (HasGivenLength() && at + count > static_cast<uint64_t>(length)) return ZRErrParam;
  const auto* from = static_cast<const uint8_t*>(bytes);
  ZRError error = ZRErrNone;
  while (count > 0 && error == ZRErrNone) {
    const uint32_t part = std::min(count, kMostAtOnce);
    error = file->WriteAt(from, static_cast<int32_t>(part), start + static_cast<int64_t>(at),
                          kFromStart);
    from += part;
    at += part;
    count -= part;
  }
  return error;
}

ZRError ForkFile::Flush() const { return file->Flush(); }

ZRError ForkFile::Cut(uint64_t size) const {
  return HasGivenLength() ? ZRErrNone : file->SetEOF(static_cast<uint64_t>(start) + size);
}

ZRError ReadBodyLength(const ForkFile& fork, uint64_t fork_size, uint64_t place, uint32_t* length) {
  *length = 0;
  if (place + kLengthSize > fork_size) return ZRErrResDamaged;
  uint8_t bytes[kLengthSize];
  const ZRError error = fork.Read(bytes, sizeof bytes, place);
  if (error != ZRErrNone) return error == ZRErrEOF ? ZRErrResDamaged : error;
  const uint32_t value = ReadBigEndian(bytes, {0, kLengthSize});
  if (value > INT32_MAX || value > fork_size - place - kLengthSize) return ZRErrResDamaged;
  *length = value;
  return ZRErrNone;
}

}  // namespace qv
