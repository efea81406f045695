// Physical memory, page file and address space of the machine and the process.
//
//   MemoryStatusFull memory;
//   if (ZRMemoryStatusFull(&memory)) Report(memory.usable_available, memory.available_physical);
//
// All figures are bytes of one moment, and may be out of date when they are read. Threads: any.
#pragma once

#include <cstdint>

// What GlobalMemoryStatus says, cut at 2^32 - 1 where that call reports more. (In a 32-bit process
// it reports at most 2 or 4 GiB, whatever the machine has.)
struct MemoryStatus {
  uint32_t usable_total;      // the smallest of the three totals
  uint32_t usable_available;  // the smallest of available page file, total (not available)
                              // physical and available virtual
  uint32_t total_physical;
  uint32_t available_physical;
  uint32_t total_page_file;  // physical memory and page file together: the limit to allocations
  uint32_t available_page_file;
  uint32_t total_virtual;  // address space of this process
  uint32_t available_virtual;
};

// The same in 64-bit figures, as far as the system has them.
//
// Where GlobalMemoryStatusEx answers: its figures; usable_total is the total page file and
// usable_available the smallest of available page file, total physical and available virtual.
// Elsewhere: the figures of MemoryStatus, the three totals (usable, physical, page file) rounded up
// to a multiple of 1048576; a figure of 0 reads as 4294967296 (the 32-bit figure wrapped); the two
// virtual figures are not filled. The 32-bit figures are taken as unsigned, so 2 GiB and more stay
// positive.
struct MemoryStatusFull {
  double usable_total;
  double usable_available;
  double total_physical;
  double available_physical;
  double total_page_file;
  double available_page_file;
  double total_virtual;      // unchanged where GlobalMemoryStatusEx does not answer
  double available_virtual;  // likewise
};

// False, and nothing done, for a null `out`; true otherwise, since GlobalMemoryStatus cannot fail.
bool ZRMemoryStatus(MemoryStatus* out);
bool ZRMemoryStatusFull(MemoryStatusFull* out);
