// Plain memory that stays where it is, checked when it is freed.
//
//   char* text = static_cast<char*>(ZRAMEMAlloc(100));   // null when there is none
//   ...
//   ZRAMEMFreeAndClear(reinterpret_cast<void**>(&text));
//
// Blocks come from the C runtime. How far a free is checked says the settings file, section
// "Debug":
//
//   "CheckFree"   not 0: every block has a signature before and behind it, and a free verifies both
//                 (checked mode, below). Read once per process.
//   "HeapChecks"  without checked mode: 1 or more: the pointer lies where blocks were handed out;
//                 2: its memory is readable; 3: writable; 5: each allocation and free is logged
//                 (this also in checked mode).
//
// A free that fails a check is reported and the block is leaked: what is damaged or foreign never
// reaches the C runtime's heap. Allocation failures are not reported.
//
// Checked mode. A block of the C runtime of 12 bytes and the size rounded up to 4:
//
//   0xBEEFFEED, rounded size, data ..., 0xFEEDBEEF      (freed: 0xBAADFBEE, 0, ..., 0xBAADFEED)
//
// all words in the machine's byte order. The C runtime keeps its own links in freed memory, where
// our mark stands, so the last freed blocks of at most 64 KiB (64 of them) are held back before
// they are released to it: within that span a second free is certain to be seen as one. Later it is
// still refused as long as the memory was not handed out anew.
// Words of a block that is not yet known to be ours are read through the system (a copy that fails
// where there is no memory), never directly. So checked mode also runs under AddressSanitizer: it
// may look at a block that was freed, and no use of freed memory is reported for the look itself.
// The sanitizer does not see uses of the blocks that are held back.
//
// Threads: any; each call holds the memory lock (memory_lock.h), also while it writes messages.
// Sizes are bytes; a size that no block can have (more than 2^32 with signatures) gives null.
#pragma once

#include <cstdint>

// At least `size` bytes, not cleared; also for size 0 a block of its own. Null when there are none.
void* ZRAMEMAlloc(uint32_t size);

// Releases a block from ZRAMEMAlloc; null is ignored.
void ZRAMEMFree(void* pointer);
// The same, and sets the variable to null. A null variable address is ignored.
void ZRAMEMFreeAndClear(void** variable);

// 1 when the pointer passes the checks of "HeapChecks" over `size` bytes (0 counts as 4 bytes that
// are read and written), else 0.
int32_t ZRAMEMValidPointer(const void* pointer, uint32_t size);

// Verifies and releases a block of checked mode; a refusal is reported with a traceback.
void CheckFreeMem(void* pointer);

namespace qv {

// Makes ZRAMEMAlloc and ZRAMEMFree the memory of the layers below (GlobalHooks().allocate and
// release). A block that those layers took before cannot be freed through them afterwards, so this
// belongs to the start of the process; it empties the scratch pool first. Requests of 2^32 bytes or
// more get null.
void InstallCheckedAllocator();

// Releases the blocks held back and forgets where blocks were handed out.
void ResetCheckedAllocationsForTest();

}  // namespace qv
