// Where addresses of a program's own memory lie on this target.
#pragma once

#include <cstdint>

namespace platform {

// Nothing of a program lies below: such a pointer is a small number, or null with an offset.
constexpr uintptr_t kLowestUserAddress = 256;

// The last address that a program can have: 3 GB on 32-bit Windows (with the large address space),
// 47 bits on 64-bit systems.
constexpr uintptr_t kHighestUserAddress =
    static_cast<uintptr_t>(sizeof(void*) == 4 ? 0xBFFFFFFFu : 0x7FFFFFFFFFFFu);

}  // namespace platform
