// Titles of menu items on their way between the library's text, UTF-8, and the platform's, UTF-16.
//
//   qv::MenuTitle title(text);                      // a length-prefixed string
//   title.AppendAccelerator(1001);                  // TAB, "Ctrl+", "C"
//   const qv::WideText wide(title.bytes());
//   if (wide.text() != nullptr) ...                 // null: no memory
//
// Line ends stay. What is not UTF-8 becomes a replacement character (26), a character that the end
// cuts is left out, and the platform's text ends at a zero byte.
// Without the character set tables, which ZROpenResourceFiles loads, every title is empty.
// Threads: that of the user interface, since accelerators and resources are read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/big_endian.h"
#include "base/hooks.h"
#include "platform/windows_api.h"

namespace qv {

// The names of the modifiers: strings 1 (control), 2 (alt) and 3 (shift), at most 39 bytes of each.
constexpr int32_t kModifierList = 999;
constexpr int32_t kMostModifierName = 39;

class MenuTitle {
 public:
  // The title of an item, length-prefixed; null is an empty one.
  explicit MenuTitle(const uint8_t* title);

  // When the command has an accelerator: TAB, the names of its modifiers, and its display text. An
  // entry without one shows its key code as a character, in upper case; codes below 32 show
  // nothing.
  void AppendAccelerator(int32_t command);

  Bytes bytes() const { return {bytes_, size_}; }
  bool is_separator() const { return size_ == 1 && bytes_[0] == '-'; }

 private:
  // Whole characters, as many as there is room for.
  void Append(Bytes text);
  void AppendKey(uint8_t key);

  static constexpr size_t kRoom = 1024;  // bytes: title, modifiers, and a long display text
  uint8_t bytes_[kRoom];
  size_t size_ = 0;
};

// A text as the platform takes it, in memory of the allocation hook.
class WideText {
 public:
  explicit WideText(Bytes text);
  // Null without memory.
  const WCHAR* text() const { return reinterpret_cast<const WCHAR*>(block_.data()); }

 private:
  HookBlock block_;
};

// Stores the first `units` of a platform's text into a length-prefixed string in a buffer of `size`
// bytes: at most min(255, size - 1) of them behind the length byte, in whole characters.
void StoreWideText(uint8_t* out, int32_t size, const WCHAR* text, size_t units);

}  // namespace qv
