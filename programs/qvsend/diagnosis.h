// Why a message was not delivered, as far as one can see afterwards: the library only says that it
// was not.
#pragma once

#include <string>

#include "programs/qvsend/outgoing.h"

namespace qvsend {

// `letter` as it was sent. One line: what failed and what to do.
std::string WhyNotSent(const Letter& letter, const Outgoing& outgoing, uint32_t code_page);

}  // namespace qvsend
