// Base64 (RFC 4648, alphabet and padding of RFC 2045) with a separator after every 64 characters.
//
//   std::string text(ZRBase64Encode(data, size, nullptr, "\r\n"), '\0');  // room, rarely too much
//   text.resize(ZRBase64Encode(data, size, text.data(), "\r\n"));
//
// Threads: any. Errors: none; a null source is empty, a null separator is no separator.
#pragma once

#include <cstddef>

// Encodes `length` bytes into `destination` and returns the characters written. The separator is
// written before a group of four characters when 16 groups stand behind the last one, so none
// follows the last group. No terminator is written. Source and destination do not overlap.
//
// With a null destination nothing is written and the result is the room to reserve: an upper bound,
// one separator more than is needed when the groups are a multiple of 16. The result has to fit a
// size_t, so on a 32-bit system `length` stays below 3 GB less the separators.
size_t ZRBase64Encode(const void* source, size_t length, char* destination,
                      const char* line_separator);
