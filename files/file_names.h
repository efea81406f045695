// What a file name may hold. Names are in the system's code page; a double-byte character counts
// as one whatever its second byte. Threads: any; nothing is kept. A null name does nothing.
#pragma once

#include <cstdint>

// False for : / \ < > | " * ?
bool ZRIsValidNameChar(char c);

// In place: leaves double-byte characters, and the single bytes that a name may hold; of a whole
// path also ":", "/" and "\". Ends at 63 bytes (255 of a whole path), before a character that would
// pass them. Makes a valid name of any text, though perhaps an empty one.
void ZRSanitizeName(char* name, bool whole_path);

// In place: takes out < > : " \ / | ? * and the control characters 1 to 31. The look goes on behind
// the character that moved into a removed one's place, so of two such characters in a row the
// second stays (callers that need a valid name use ZRSanitizeName).
void ZRStripName(char* name);
void ZRStripName(uint8_t* name);  // length-prefixed
