// One qvsend of a user sends at a time. The library copies an attachment over a copy of the same
// name, so of two at once one could deliver the other's file.
//
//   SendTurn turn;
//   std::string trouble = turn.Take();   // "": it is our turn, until `turn` ends
//
// Other host applications take no turns. Threads: one at a time.
#pragma once

#include <string>

#include "programs/common/files.h"

namespace qvsend {

class SendTurn {
 public:
  // Waits up to a minute for the other one. Where no turn can be kept (a temporary folder that
  // cannot be written) the send itself says so.
  std::string Take();

 private:
  program::FileHandle file_;  // open for this process alone
};

}  // namespace qvsend
