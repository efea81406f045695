// The version record: the platform's VS_VERSIONINFO structure (type 16, number 1), made here so
// that every platform carries the same bytes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/resource_tool/bytes.h"

namespace qvresource {

struct VersionRecord {
  std::array<uint16_t, 4> number{};
  // Of the string block, in order, such as {"ProductName", "QVSMAPI"}; ASCII.
  std::vector<std::pair<std::string, std::string>> texts;
};

ByteVector EncodeVersionRecord(const VersionRecord& record);

}  // namespace qvresource
