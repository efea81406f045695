// The copies of one request, moved out of the staging folder before the request is acknowledged.
//
// The library copies an attachment over a copy of the same name, so from the acknowledgement on the
// next message may replace or a slow client delete what is not its own. A rename within the user's
// temporary folder takes no time whatever the size.
//
//   claimed.Claim(paths, copies);
//   ... read claimed.PathOf(path) ...
//   claimed.Delete();            // or Restore(): back to the staging folder
//
// A copy that cannot be moved (another program holds it) is used where it is.
// Threads: one at a time.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/windows_api.h"
#include "programs/qvclient/staged_copies.h"

namespace qvclient {

class ClaimedCopies {
 public:
  // `paths` are copies (StagedCopies::State); one may stand there twice.
  void Claim(const std::vector<std::string>& paths, const StagedCopies& copies);

  // Where the bytes of the copy are now; `path` itself when it was not claimed.
  std::string PathOf(const std::string& path) const;

  struct Outcome {
    size_t done = 0;
    std::vector<std::string> left;  // files that could not be deleted, or moved back
  };
  Outcome Delete(const StagedCopies& copies);
  // A name that is taken again in the staging folder keeps its copy in the folder where it is.
  Outcome Restore();

 private:
  void MoveAway(const std::string& path, const StagedCopies& copies);
  void RemoveFolder();

  std::string folder_;  // of the moved files; "" while there is none
  // By the path without regard to letter case.
  struct Copy {
    std::string original, current;
  };
  std::map<std::string, Copy> copies_;
};

}  // namespace qvclient
