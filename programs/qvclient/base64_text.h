// Base64 as mail carries it: lines of 76 characters, each ended by CR LF.
#pragma once

#include <string>
#include <string_view>

namespace qvclient {

// Bytes that fill one line.
constexpr size_t kBase64LineBytes = 57;

// One run of characters without line ends, padded.
std::string Base64(std::string_view bytes);

// Whole lines, the last one shorter. Pieces that are multiples of kBase64LineBytes may be encoded
// one after the other; "" gives "".
std::string Base64Lines(std::string_view bytes);

}  // namespace qvclient
