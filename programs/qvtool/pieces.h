// Standard input in pieces, so that it may be of any length.
//
//   ForEachPiece(streams.input, "summing", [&](std::string_view piece) {
//     sum.Add(piece);
//     return true;
//   });
#pragma once

#include <functional>
#include <string_view>

#include "programs/common/standard_streams.h"

namespace qvtool {

// Hands pieces of at most 64 KiB to `take` until the input ends or `take` answers false; shows the
// progress under the label, which is gone afterwards. True at the end of an input that could be
// read: what a failing stream left behind may be cut.
bool ForEachPiece(program::StandardInput& input, const char* label,
                  const std::function<bool(std::string_view)>& take);

}  // namespace qvtool
