// Arrays that say when they cannot grow, instead of throwing.
#pragma once

#include <new>
#include <vector>

namespace qv {

// Adds to the end; a full array grows to twice its count plus 10. False, and nothing changed, when
// there is no memory.
template <typename Item>
bool Append(std::vector<Item>& array, const Item& item) {
  try {
    if (array.size() == array.capacity()) array.reserve(2 * array.size() + 10);
  } catch (const std::bad_alloc&) {
    return false;
  }
  array.push_back(item);
  return true;
}

}  // namespace qv
