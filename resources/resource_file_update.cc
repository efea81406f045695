// The order in which an update writes, so that the file can be read wherever it is stopped
// (resource_file.h).
#include <algorithm>

#include "app/leveled_log.h"
#include "resources/resource_file.h"
#include "resources/resource_update.h"

using qv::ForkHeader;
using qv::ImageWriter;
using qv::UpdateWork;

namespace {

constexpr int32_t kUpdateLevel = 4;

void LogUpdate(const ForkHeader& header) {
  qv::LogAtLevel(kUpdateLevel, "CRezFmt: Update ResMap: Map=%ld@%ld Data=%ld@%ld",
                 header.map_length, header.map_offset, header.data_length, header.data_offset);
}

}  // namespace

ZRError CRezFmt::UpdateFile() {
  WaitForUpdate();
  if (fork_.file == nullptr) return ZRErrNotFound;
  if (!map_.exists()) return ZRErrNotOpen;
  updating_ = true;
  const ZRError error = RunUpdate();
  updating_ = false;
  if (!map_.Validate(header_) && error == ZRErrNone) return ZRErrResMapBad;
  return error;
}

ZRError CRezFmt::RunUpdate() {
  const qv::ListsLock lock(map_);
  UpdateWork work(map_);
  const UpdateWork::Source source{fork_, fork_size_, header_.data_offset, header_.map_offset,
                                  home_, map_end_};
  ZRError error = work.Plan(source);
  if (error != ZRErrNone) return error;
  if (!work.HasWork()) return ZRErrNone;
  error = work.Prepare();
  if (error != ZRErrNone) return error;
  error = is_new_ ? WriteDirectly(work) : WriteStaged(work);
  if (error != ZRErrNone) {
    map_.dirty = true;
    return error;
  }
  map_.dirty = false;
  return work.leaves_out ? ZRErrResTooLarge : ZRErrNone;
}

// The image is in the file, and this header leads to it. The first call for an update makes the
// change in memory too.
void CRezFmt::Commit(UpdateWork& work, const ForkHeader& header, uint64_t map_end) {
  if (work.room != 0) {
    map_.Commit(work.places, work.room);
    work.room = 0;
  }
  header_ = header;
  map_end_ = map_end;
  uint64_t size = 0;
  fork_size_ = fork_.Measure(&size) == ZRErrNone ? size : std::max<uint64_t>(fork_size_, map_end_);
}

// Writes the header. When that fails the one before is written again; *is_before says whether that
// is certain to be in the file.
ZRError CRezFmt::PointTo(const ForkHeader& header, const ForkHeader& before, bool* is_before) {
  uint8_t bytes[qv::kForkHeaderSize];
  qv::StoreForkHeader(bytes, header);
  const ZRError error = fork_.Write(bytes, sizeof bytes, 0);
  *is_before = false;
  if (error == ZRErrNone) return error;
  qv::StoreForkHeader(bytes, before);
  *is_before = fork_.Write(bytes, sizeof bytes, 0) == ZRErrNone;
  return error;
}

// --- a new file ---

ZRError CRezFmt::WriteDirectly(UpdateWork& work) {
  const auto place = static_cast<uint64_t>(home_);
  const ForkHeader header = work.HeaderAt(place);
  ImageWriter writer(fork_, place, work.buffer.data(), qv::kCopyBuffer);
  bool is_before = false;
  ZRError error = work.WriteImage(writer);
  if (error == ZRErrNone) error = writer.Finish();
  if (error == ZRErrNone) error = fork_.Flush();
  if (error == ZRErrNone) error = PointTo(header, header_, &is_before);
  if (error != ZRErrNone) return error;
  is_new_ = false;
  Commit(work, header, place + work.ImageSize());
  LogUpdate(header);
  return fork_.Flush();
}

// --- a file with contents ---

ZRError CRezFmt::WriteStaged(UpdateWork& work) {
  const uint64_t end = static_cast<uint64_t>(home_) + work.ImageSize();
  const uint64_t old_end = fork_.HasGivenLength() ? work.old_end : fork_size_;
  const uint64_t staged = std::max(old_end, end);
  const uint64_t staged_end = staged + work.ImageSize();
  if (fork_.HasGivenLength() && staged_end > static_cast<uint64_t>(fork_.length)) {
    return WriteOver(work);
  }
  if (staged_end > INT32_MAX) return ZRErrResTooLarge;
  const ForkHeader before = header_;
  const uint64_t old_size = fork_size_, old_map_end = map_end_;
  ZRError error = Stage(work, staged);
  if (error != ZRErrNone) return error;
  Commit(work, work.HeaderAt(staged), staged_end);
  error = fork_.Flush();
  if (error == ZRErrNone) error = MoveHome(work, staged);
  if (error != ZRErrNone) return error;
  const ForkHeader last = work.rewrites ? work.HeaderAt(static_cast<uint64_t>(home_)) : before;
  bool is_before = false;
  error = PointTo(last, header_, &is_before);
  if (error != ZRErrNone) return error;
  Commit(work, last, work.rewrites ? end : old_map_end);
  error = fork_.Flush();
  if (error == ZRErrNone) error = fork_.Cut(work.rewrites ? end : old_size);
  if (error != ZRErrNone) return error;
  Commit(work, last, map_end_);
  if (work.rewrites) LogUpdate(last);
  return ZRErrNone;
}

// Writes the image behind everything and points the header at it. After a failure the file has its
// old length again, unless the header may lead behind it.
ZRError CRezFmt::Stage(UpdateWork& work, uint64_t staged) {
  const uint64_t old_size = fork_size_;
  ImageWriter writer(fork_, staged, work.buffer.data(), qv::kCopyBuffer);
  ZRError error = work.WriteImage(writer);
  if (error == ZRErrNone) error = writer.Finish();
  if (error == ZRErrNone) error = fork_.Flush();
  bool is_before = true;
  if (error == ZRErrNone) {
    error = PointTo(work.HeaderAt(staged), header_, &is_before);
    if (error == ZRErrNone) return ZRErrNone;
    is_before = is_before && fork_.Flush() == ZRErrNone;
  }
  uint64_t size = 0;
  if (is_before && fork_.Measure(&size) == ZRErrNone && size > old_size) fork_.Cut(old_size);
  return error;
}

// Copies the image, or when nothing else changes the bodies that it replaces, to the final place.
ZRError CRezFmt::MoveHome(UpdateWork& work, uint64_t staged) {
  const auto home = static_cast<uint64_t>(home_);
  ZRError error = ZRErrNone;
  if (work.rewrites) {
    ImageWriter writer(fork_, home, work.buffer.data(), qv::kCopyBuffer);
    error = writer.Copy(staged, static_cast<uint32_t>(work.ImageSize()));
    if (error == ZRErrNone) error = writer.Finish();
  }
  for (uint32_t i = 0; !work.rewrites && i < work.count && error == ZRErrNone; ++i) {
    if (work.bodies[i].action != UpdateWork::Action::kReplace) continue;
    const uint64_t at = uint64_t{work.places[i].offset} + qv::kLengthSize;
    ImageWriter writer(fork_, home + at, work.buffer.data(), qv::kCopyBuffer);
    error = writer.Copy(staged + at, work.bodies[i].length);
    if (error == ZRErrNone) error = writer.Finish();
  }
  return error == ZRErrNone ? fork_.Flush() : error;
}

// --- a range without room for a second image ---

ZRError CRezFmt::WriteOver(UpdateWork& work) {
  const auto home = static_cast<uint64_t>(home_);
  const auto size = static_cast<uint32_t>(work.ImageSize());
  const qv::HookBlock image(size), old(size);
  if (image.data() == nullptr || old.data() == nullptr) return ZRErrResMemory;
  const auto old_size =
      static_cast<uint32_t>(std::min<uint64_t>(size, fork_size_ - std::min(fork_size_, home)));
  ZRError error = fork_.Read(old.data(), old_size, home);
  // The buffer holds all of the image, so that nothing is written before it is whole.
  ImageWriter writer(fork_, home, image.data(), size);
  if (error == ZRErrNone) error = work.WriteImage(writer);
  if (error != ZRErrNone) return error;
  bool is_before = true;
  error = work.rewrites ? writer.Finish() : WriteReplaced(work, image.data());
  if (error == ZRErrNone) error = fork_.Flush();
  const ForkHeader last = work.rewrites ? work.HeaderAt(home) : header_;
  if (error == ZRErrNone && work.rewrites) error = PointTo(last, header_, &is_before);
  if (error != ZRErrNone) {
    if (is_before) fork_.Write(old.data(), old_size, home);
    return error;
  }
  Commit(work, last, work.rewrites ? home + size : map_end_);
  if (work.rewrites) LogUpdate(last);
  return fork_.Flush();
}

ZRError CRezFmt::WriteReplaced(const UpdateWork& work, const char* image) {
  ZRError error = ZRErrNone;
  for (uint32_t i = 0; i < work.count && error == ZRErrNone; ++i) {
    if (work.bodies[i].action != UpdateWork::Action::kReplace) continue;
    const uint32_t at = work.places[i].offset + qv::kLengthSize;
    error = fork_.Write(image + at, work.bodies[i].length, static_cast<uint64_t>(home_) + at);
  }
  return error;
}
