// What the processor can do beyond the instructions that every one of its kind has. Asked once.
// Threads: any.
#pragma once

namespace qv {

// Multiplication without carries (PCLMULQDQ), and what SSE4.1 has beside it.
bool HasCarrylessMultiply();
// The SHA-1 instructions, and what SSE4.1 has beside them.
bool HasSha1Instructions();

}  // namespace qv
