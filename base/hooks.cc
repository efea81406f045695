#include "base/hooks.h"

#include <cstdlib>

namespace qv {
namespace {

constexpr Hooks kDefaults{std::malloc, std::free};

Hooks& State() {
  static constinit Hooks state = kDefaults;
  return state;
}

}  // namespace

Hooks& GlobalHooks() { return State(); }

void ResetHooksForTest() { State() = kDefaults; }

}  // namespace qv
