#include "app/ui/menu_titles.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "app/ui/accelerators.h"
#include "resources/resource_chain.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/length_prefixed.h"
#include "text/utf8.h"

namespace qv {
namespace {

struct Modifier {
  uint8_t flag;
  int32_t name;  // in kModifierList
};
// In the order in which they are shown.
constexpr Modifier kModifiers[] = {{FCONTROL, 1}, {FALT, 2}, {FSHIFT, 3}};

const char* Characters(const uint8_t* bytes) { return reinterpret_cast<const char*>(bytes); }

// Line ends stay; a text of which nothing can be converted gives nothing, where kKeep would copy
// it.
constexpr int kLineEnds = kKeepToo;

// The text makes no more units than it has bytes.
size_t WideRoom(Bytes text) { return text.size() * sizeof(WCHAR); }

}  // namespace

MenuTitle::MenuTitle(const uint8_t* title) { Append(LStrBytes(title)); }

void MenuTitle::AppendAccelerator(int32_t command) {
  const Accelerator* entry = FindAccelerator(command);
  if (entry == nullptr) return;
  Append(Bytes(reinterpret_cast<const uint8_t*>("\t"), 1));
  for (const Modifier& modifier : kModifiers) {
    Str255 name;
    if ((entry->flags & modifier.flag) == 0) continue;
    ZRGetIndString(name, kModifierList, modifier.name, kMostModifierName);
    Append(LStrBytes(name));
  }
  if (entry->display_text == nullptr) return AppendKey(entry->key);
  const auto* text = reinterpret_cast<const uint8_t*>(entry->display_text);
  Append(Bytes(text, std::strlen(entry->display_text)));
}

void MenuTitle::AppendKey(uint8_t key) {
  if (key < ' ') return;
  uint8_t character[4];
  const uint32_t code = key >= 'a' && key <= 'z' ? key - uint32_t{'a' - 'A'} : key;
  Append(Bytes(character, EncodeUtf8(code, character)));
}

void MenuTitle::Append(Bytes text) {
  uint32_t room = static_cast<uint32_t>(kRoom - size_);
  uint32_t wanted = static_cast<uint32_t>(text.size());
  size_ += CPCopyChars(reinterpret_cast<char*>(bytes_ + size_), &room, Characters(text.data()),
                       &wanted, kUtf8);
}

WideText::WideText(Bytes text) : block_(WideRoom(text) + sizeof(WCHAR)) {
  if (block_.data() == nullptr) return;
  auto size = static_cast<uint32_t>(WideRoom(text));
  ConvertText(Characters(text.data()), static_cast<uint32_t>(text.size()), kUtf8, block_.data(),
              &size, kUtf16Little, kLineEnds, 0);
  const WCHAR terminator = 0;
  std::memcpy(block_.data() + size, &terminator, sizeof terminator);
}

void StoreWideText(uint8_t* out, int32_t size, const WCHAR* text, size_t units) {
  if (size < 1) return;
  auto room = static_cast<uint32_t>(std::min(size - 1, kMostLStr));
  ConvertText(reinterpret_cast<const char*>(text), static_cast<uint32_t>(units * sizeof(WCHAR)),
              kUtf16Little, reinterpret_cast<char*>(out + 1), &room, kUtf8, kLineEnds, 0);
  out[0] = static_cast<uint8_t>(room);
}

}  // namespace qv
