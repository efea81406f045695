#include "programs/qvtool/pieces.h"

#include <vector>

#include "programs/common/progress.h"

namespace qvtool {

bool ForEachPiece(program::StandardInput& input, const char* label,
                  const std::function<bool(std::string_view)>& take) {
  constexpr size_t kPieceBytes = 1 << 16;
  program::ByteProgress progress(label);
  std::vector<char> piece(kPieceBytes);
  while (const size_t size = input.Read(piece.data(), piece.size())) {
    if (!take({piece.data(), size})) return false;
    progress.Advance(size);
  }
  return !input.trouble();
}

}  // namespace qvtool
