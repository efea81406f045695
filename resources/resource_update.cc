#include "resources/resource_update.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "app/leveled_log.h"
#include "resources/locked_handle.h"

namespace qv {
namespace {

constexpr int32_t kTraceLevel = 5;
constexpr uint64_t kMostPlace = std::numeric_limits<int32_t>::max();

constexpr size_t kBytesPerReference =
    sizeof(UpdateWork::Body) + sizeof(ResourceMap::BodyPlace) + sizeof(uint32_t);
static_assert(sizeof(UpdateWork::Body) % alignof(uint32_t) == 0);

template <class... Values>
void Trace(const char* format, Values... values) {
  LogAtLevel(kTraceLevel, format, static_cast<int32_t>(values)...);
}

}  // namespace

// --- writing ---

ZRError ImageWriter::Put(const void* bytes, uint32_t count) {
  const auto* from = static_cast<const char*>(bytes);
  while (count > 0) {
    if (used_ == size_) {
      const ZRError error = Finish();
      if (error != ZRErrNone) return error;
    }
    const uint32_t part = std::min(count, size_ - used_);
    std::memcpy(buffer_ + used_, from, part);
    used_ += part;
    from += part;
    count -= part;
  }
  return ZRErrNone;
}

ZRError ImageWriter::Copy(uint64_t from, uint32_t count, bool traced, uint64_t final_place) {
  while (count > 0) {
    if (used_ == size_) {
      const ZRError error = Finish();
      if (error != ZRErrNone) return error;
    }
    const uint32_t part = std::min({count, size_ - used_, kCopyPiece});
    const ZRError error = fork_.Read(buffer_ + used_, part, from);
    if (error != ZRErrNone) return error == ZRErrEOF ? ZRErrResDamaged : error;
    if (traced) {
      Trace("CRezFmt: R:%ld@%ld ", part, from);
      Trace("CRezFmt: W:%ld@%ld ", part, final_place);
    }
    used_ += part;
    from += part;
    final_place += part;
    count -= part;
  }
  return ZRErrNone;
}

ZRError ImageWriter::Finish() {
  const ZRError error = fork_.Write(buffer_, used_, place_);
  place_ += used_;
  used_ = 0;
  return error;
}

// --- planning ---

UpdateWork::UpdateWork(ResourceMap& of_map)
    : map(of_map),
      count(of_map.reference_count()),
      memory(std::max<size_t>(count, 1) * kBytesPerReference),
      buffer(kCopyBuffer) {}

UpdateWork::~UpdateWork() {
  ZRDisposeHandle(&map_bytes);
  ZRDisposeHandle(&room);
}

ForkHeader UpdateWork::HeaderAt(uint64_t place) const {
  return {static_cast<int32_t>(place), static_cast<int32_t>(place + data_length),
          static_cast<int32_t>(data_length), static_cast<int32_t>(map_size)};
}

ZRError UpdateWork::Plan(const Source& from) {
  if (memory.data() == nullptr || buffer.data() == nullptr) return ZRErrResMemory;
  source = &from;
  bodies = reinterpret_cast<Body*>(memory.data());
  places = reinterpret_cast<ResourceMap::BodyPlace*>(bodies + count);
  order = reinterpret_cast<uint32_t*>(places + count);
  map_size = map.FileSize();
  old_end = from.map_end;
  rewrites = map.dirty || from.home != from.data_offset;
  for (uint32_t i = 0; i < count; ++i) order[i] = i;
  const Reference* const references = map.references();
  std::sort(order, order + count, [references](uint32_t a, uint32_t b) {
    const uint32_t at_a = references[a].offset(), at_b = references[b].offset();
    return at_a != at_b ? at_a < at_b : a < b;
  });
  for (uint32_t i = 0; i < count; ++i) {
    const ZRError error = PlanBody(order[i]);
    if (error != ZRErrNone) return error;
  }
  for (uint32_t i = 0; i < count; ++i) {
    if (bodies[i].action == Action::kAppend) PlanAppended(i);
  }
  // A map that lies in the data has to move, also when the bodies stay.
  const uint64_t data_end = uint64_t(from.data_offset) + data_length;
  if (uint64_t(from.map_offset) < data_end && from.map_end > uint64_t(from.data_offset)) {
    rewrites = true;
  }
  const uint64_t end = uint64_t(from.home) + ImageSize();
  const bool passes_range =
      from.fork.HasGivenLength() && end > static_cast<uint64_t>(from.fork.length);
  return passes_range || end > kMostPlace ? ZRErrResTooLarge : ZRErrNone;
}

// Where the body of a reference goes that is to be kept or replaced; what goes to the end is only
// marked.
ZRError UpdateWork::PlanBody(uint32_t index) {
  const Reference& reference = map.references()[index];
  bodies[index] = {0, Action::kNothing, false};
  places[index] = {reference.offset(), false};
  const bool is_removed = reference.Has(kRemovedAttribute);
  if (is_removed) rewrites = true;
  uint32_t length = 0;
  bool is_readable = false;
  if (reference.HasBody()) {
    const uint64_t place = uint64_t(source->data_offset) + reference.offset();
    const ZRError error = ReadBodyLength(source->fork, source->fork_size, place, &length);
    if (error != ZRErrNone && error != ZRErrResDamaged) return error;
    is_readable = error == ZRErrNone;
    if (is_readable) {
      old_end = std::max(old_end, place + kLengthSize + length);
      Trace("CRezFmt: %5d: O=%6ld l=%6ld", reference.number, place, length);
    }
  }
  if (is_removed) return ZRErrNone;
  if (reference.Has(kChangedAttribute)) return PlanChanged(index, is_readable, length);
  if (!reference.HasBody()) return ZRErrNone;
  return is_readable ? Place(index, Action::kKeep, length, false) : ZRErrResDamaged;
}

ZRError UpdateWork::PlanChanged(uint32_t index, bool is_readable, uint32_t length) {
  const LockedHandle body(map.references()[index].handle);
  if (body.data() == nullptr) return ZRErrMemHandle;
  const auto size = static_cast<uint32_t>(body.bytes().size());
  if (is_readable && size <= length) return Place(index, Action::kReplace, size, size != length);
  bodies[index] = {size, Action::kAppend, true};
  rewrites = true;
  return ZRErrNone;
}

ZRError UpdateWork::Place(uint32_t index, Action action, uint32_t length, bool is_moved) {
  if (data_length >= reference_layout::kNoBody) return ZRErrResTooLarge;
  if (places[index].offset != data_length || is_moved) rewrites = true;
  if (action == Action::kReplace) replaces = true;
  const bool stays = places[index].offset == data_length;
  bodies[index] = {length, action, !stays};
  places[index] = {data_length, action == Action::kReplace};
  data_length += kLengthSize + length;
  return ZRErrNone;
}

void UpdateWork::PlanAppended(uint32_t index) {
  Body& body = bodies[index];
  const uint64_t end = uint64_t(source->home) + data_length + kLengthSize + body.length + map_size;
  Trace("CRezFmt: %5d: ", map.references()[index].number);
  if (data_length < reference_layout::kNoBody && end <= kMostPlace) {
    places[index] = {data_length, true};
    data_length += kLengthSize + body.length;
    return;
  }
  Trace("CRezFmt: Expanded resource too large");
  body.action = Action::kLeaveOut;
  places[index] = {reference_layout::kNoBody, false};
  leaves_out = true;
}

ZRError UpdateWork::Prepare() {
  map_bytes = ZRNewHandle(map_size);
  room = ZRNewHandle(map.ListsSizeWithoutRemoved());
  const LockedHandle bytes(map_bytes);
  if (bytes.data() == nullptr || room == 0) return ZRErrResMemory;
  map.Store(bytes.data(), HeaderAt(static_cast<uint64_t>(source->home)), places);
  for (uint32_t i = 0; i < count; ++i) {
    const Reference& reference = map.references()[i];
    if (reference.Has(kRemovedAttribute)) Trace("CRezFmt: %5d: Delref\n", reference.number);
  }
  return ZRErrNone;
}

// --- the image ---

ZRError UpdateWork::WriteImage(ImageWriter& writer) {
  ZRError error = ZRErrNone;
  for (uint32_t i = 0; i < count && error == ZRErrNone; ++i) {
    const Action action = bodies[order[i]].action;
    if (action == Action::kKeep || action == Action::kReplace) error = WriteBody(writer, order[i]);
  }
  for (uint32_t i = 0; i < count && error == ZRErrNone; ++i) {
    if (bodies[i].action == Action::kAppend) error = WriteBody(writer, i);
  }
  const LockedHandle bytes(map_bytes);
  return error == ZRErrNone ? writer.Put(bytes.data(), map_size) : error;
}

ZRError UpdateWork::WriteBody(ImageWriter& writer, uint32_t index) {
  const Body& body = bodies[index];
  uint8_t length[kLengthSize];
  StoreBigEndian(length, {0, kLengthSize}, body.length);
  const ZRError error = writer.Put(length, sizeof length);
  if (error != ZRErrNone) return error;
  const uint64_t to = uint64_t(source->home) + places[index].offset + kLengthSize;
  if (body.action != Action::kKeep) {
    const bool is_new = body.action == Action::kAppend;
    Trace(is_new ? "CRezFmt: Write %ld bytes @%ld" : "CRezFmt: Replace %ld bytes at %ld",
          body.length, to - (is_new ? kLengthSize : 0));
    return PutHandle(writer, index);
  }
  const uint64_t from =
      uint64_t(source->data_offset) + map.references()[index].offset() + kLengthSize;
  if (body.is_moved) {
    Trace("CRezFmt: L=%ld", body.length);
    Trace("CRezFmt: Move %ld from %ld to %ld", body.length, from, to);
  }
  return writer.Copy(from, body.length, body.is_moved, to);
}

// The body of a handle, which still has to be what it was when the update was planned.
ZRError UpdateWork::PutHandle(ImageWriter& writer, uint32_t index) {
  const LockedHandle body(map.references()[index].handle);
  if (body.data() == nullptr || body.bytes().size() != bodies[index].length) return ZRErrMemHandle;
  return writer.Put(body.data(), bodies[index].length);
}

}  // namespace qv
