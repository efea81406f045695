// The data of a transaction, for as long as the callback that is given it runs.
#pragma once

#include <string>

#include "platform/host/handles.h"

namespace host {

struct DdeData : Object {
  std::string bytes;
};

}  // namespace host
