// One resource out of a resource fork that lies in memory as a whole, without a source.
//
//   if (auto body = qv::FindInFork(image, qv::ResourceType("STR#"), 128)) Show(*body);
//
// The image may be hostile: what does not lie wholly inside it is not there. Nothing is allocated.
// Types and numbers are compared exactly; the first match counts. Threads: any.
#pragma once

#include <optional>

#include "base/big_endian.h"
#include "resources/resource_source.h"

namespace qv {

// The body, which lies in the image; none when the image is damaged or does not have it.
std::optional<Bytes> FindInFork(Bytes image, ResourceTypeCode type, int32_t number);

}  // namespace qv
