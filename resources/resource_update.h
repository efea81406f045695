// What an update of a resource file writes: which bodies go where, and the image that they and the
// map make. Where the image is written, and when a reader finds it, is resource_file_update.cc's.
//
//   UpdateWork work(map);
//   ZRError error = work.Plan(source);         // reads the lengths of bodies, writes nothing
//   if (error == 0 && work.HasWork()) error = work.Prepare();
//   ImageWriter writer(fork, place, work.buffer.data(), kCopyBuffer);
//   if (error == 0) error = work.WriteImage(writer);
//   if (error == 0) error = writer.Finish();
//
// Lines of the trace tell places in the final image. Errors: resource_file.h. Threads: one task.
#pragma once

#include "base/hooks.h"
#include "resources/fork_file.h"
#include "resources/resource_map.h"

namespace qv {

constexpr uint32_t kCopyPiece = 10240;  // bytes that are read at once
constexpr uint32_t kCopyBuffer = 6 * kCopyPiece;

// Writes bytes one behind the other from a place in the fork on, through a buffer.
class ImageWriter {
 public:
  ImageWriter(const ForkFile& fork, uint64_t place, char* buffer, uint32_t size)
      : fork_(fork), place_(place), buffer_(buffer), size_(size) {}

  ZRError Put(const void* bytes, uint32_t count);
  // From the same fork. With `traced` each piece is told: the final place of the first byte.
  ZRError Copy(uint64_t from, uint32_t count, bool traced = false, uint64_t final_place = 0);
  // What is still in the buffer.
  ZRError Finish();

 private:
  const ForkFile& fork_;
  uint64_t place_;
  char* buffer_;
  uint32_t size_, used_ = 0;
};

struct UpdateWork {
  // Where the bodies are, and where the data of the new image begin.
  struct Source {
    const ForkFile& fork;
    uint64_t fork_size;
    int32_t data_offset, map_offset, home;
    uint64_t map_end;
  };

  explicit UpdateWork(ResourceMap& of_map);
  ~UpdateWork();
  UpdateWork(const UpdateWork&) = delete;
  UpdateWork& operator=(const UpdateWork&) = delete;

  ZRError Plan(const Source& from);
  bool HasWork() const { return rewrites || replaces; }
  // Memory for everything that follows, and the bytes of the map.
  ZRError Prepare();
  // Bodies and map, one behind the other; the rest is still in the writer's buffer.
  ZRError WriteImage(ImageWriter& writer);

  uint64_t ImageSize() const { return uint64_t{data_length} + map_size; }
  ForkHeader HeaderAt(uint64_t place) const;

  enum class Action : uint8_t { kNothing, kKeep, kReplace, kAppend, kLeaveOut };
  struct Body {
    uint32_t length;  // of what is written
    Action action;
    bool is_moved;
  };

  ResourceMap& map;
  const Source* source = nullptr;
  const uint32_t count;  // of references
  HookBlock memory;      // of the three lists below, each with an entry for each reference
  Body* bodies = nullptr;
  ResourceMap::BodyPlace* places = nullptr;
  uint32_t* order = nullptr;  // by place in the file

  uint32_t data_length = 0, map_size = 0;
  uint64_t old_end = 0;     // behind everything that the file's header leads to
  bool rewrites = false;    // bodies or the map change their places or lengths
  bool replaces = false;    // bodies change
  bool leaves_out = false;  // a body would lie where no offset leads to

  HookBlock buffer;
  ZRHandle map_bytes = 0, room = 0;  // the new map, and memory for the lists to come

 private:
  ZRError PlanBody(uint32_t index);
  ZRError PlanChanged(uint32_t index, bool is_readable, uint32_t length);
  ZRError Place(uint32_t index, Action action, uint32_t length, bool is_moved);
  void PlanAppended(uint32_t index);
  ZRError WriteBody(ImageWriter& writer, uint32_t index);
  ZRError PutHandle(ImageWriter& writer, uint32_t index);
};

}  // namespace qv
