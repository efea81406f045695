// Hooks: where a low component uses a higher one, it calls through here.
//
// Each hook has a harmless default, so every layer works with only the layers below it; the higher
// component installs itself at start-up. Hooks are set before a second thread runs and read
// without a lock afterwards.
#pragma once

#include <cstddef>

namespace qv {

struct Hooks {
  // Plain memory for work areas. Returns null when there is none; never throws. The default is the
  // C runtime's allocator; the checked allocator takes its place when it starts.
  void* (*allocate)(size_t size);
  // Releases a block from `allocate`; null is ignored.
  void (*release)(void* block);
};

// The hooks in force.
Hooks& GlobalHooks();

// Puts the defaults back.
void ResetHooksForTest();

// Memory through the hooks, released at the end of its scope.
class HookBlock {
 public:
  explicit HookBlock(size_t size) : data_(GlobalHooks().allocate(size)) {}
  ~HookBlock() { GlobalHooks().release(data_); }
  HookBlock(const HookBlock&) = delete;
  HookBlock& operator=(const HookBlock&) = delete;
  // Null when the memory was not to be had.
  char* data() const { return static_cast<char*>(data_); }

 private:
  void* data_;
};

}  // namespace qv
