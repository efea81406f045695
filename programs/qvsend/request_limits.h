// What of a message the library will have to leave out, worked out before it is sent. The library's
// request has fixed buffers (mapi/request_builder.h) and cuts in silence.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "programs/qvsend/outgoing.h"

namespace qvsend {

struct RequestFit {
  bool subject_cut = false;
  bool body_cut = false;
  bool files_fit = true;               // false: the send fails
  std::vector<std::string> addresses;  // that would be cut or dropped, in the system's code page
};

// `staging_folder` in UTF-8: the copies' paths are part of the request.
RequestFit FitRequest(const Outgoing& outgoing, uint32_t code_page,
                      const std::string& staging_folder);

// Bytes of the text once its 21 special characters are escaped.
size_t EscapedSize(std::string_view utf8);

}  // namespace qvsend
