#include "base/counted_object.h"

#include <atomic>

namespace qv {
namespace {

struct CountedObjectState {
  std::atomic<int32_t> live{0};  // any thread
};

CountedObjectState& State() {
  static constinit CountedObjectState state;
  return state;
}

}  // namespace
}  // namespace qv

CCountedObject::CCountedObject() { qv::State().live.fetch_add(1, std::memory_order_relaxed); }

CCountedObject::~CCountedObject() { qv::State().live.fetch_sub(1, std::memory_order_relaxed); }

int32_t ZRCountLiveObjects() { return qv::State().live.load(std::memory_order_relaxed); }
