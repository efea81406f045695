// Bytes in and out of handles, without holding a lock between two calls.
//
//   ZRHandle text = 0;
//   ZRError error = ZRHandleFromBytes("abc", &text, 3);
//   error = ZRAppendHandleBytes("def", text, 3);        // "abcdef"
//   error = ZRDeleteHandleBytes(text, 1, 2);            // "adef"
//   char out[8];
//   uint32_t count = sizeof out;
//   error = ZRGetHandleBytes(text, out, &count);        // count is 4
//
// Sizes, counts and offsets are bytes. Each call is made of those of handles.h and reports as they
// do, so a handle that is not live may be reported twice, and a locked one is reported when
// "HeapLocks" is on. Threads: any; each call is one step for other threads, except
// ZRHandleFromBytes and ZRDeleteHandleBytes, which take the memory lock only in the calls that they
// are made of: a handle that several threads change at once needs a lock of theirs.
//
// Sums that wrap at 2^32 are refused before anything else is looked at: 4802 in an append, 4800 in
// a deletion. `source` must not lie in the block of the handle that is changed, which moves.
#pragma once

#include "memory/handles.h"

// A new handle with the same bytes, or 0: the source is purged or not live, or there is no memory.
ZRHandle ZRCopyHandle(ZRHandle handle);

// A new handle with `size` bytes from `source` (null: not set) in *out. 4802: no memory, and *out
// is as it was; 4801: it could not be locked, and *out is 0; 4800: `out` is null.
ZRError ZRHandleFromBytes(const void* source, ZRHandle* out, uint32_t size);

// Makes the handle hold exactly these bytes. The codes of ZRSetHandleSize; 4801 for a purged handle
// and 4800 for a null source with a size, and then the handle has its new size but no defined
// bytes.
ZRError ZRSetHandleBytes(const void* source, ZRHandle handle, uint32_t size);

// Adds bytes at the end; a size of 0 does not look at the handle. Codes as above, and as there the
// handle has its new size after 4800 and after a 4801 that comes from a purged handle.
ZRError ZRAppendHandleBytes(const void* source, ZRHandle handle, uint32_t size);

// Copies the first *count bytes to the destination, at most the handle's size, and says in *count
// how many. 4801, and *count as it was: not live or purged; 4800: a null pointer.
ZRError ZRGetHandleBytes(ZRHandle handle, void* destination, uint32_t* count);

// Takes `count` bytes out at `offset`; a count of 0 does not look at the handle. 4800: a count of
// 2^31 or more, a range that ends behind the handle (one that is not live has size 0), a purged
// handle. A locked handle: 4804 and its old size, but the bytes behind the range have moved down.
ZRError ZRDeleteHandleBytes(ZRHandle handle, uint32_t offset, uint32_t count);
