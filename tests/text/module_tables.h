// The character set tables of the test executable's own resources, put into the registries without
// the loader, which stands above the text layer.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/big_endian.h"
#include "platform/windows_api.h"
#include "text/converters.h"
#include "text/unicode_engines.h"
#include "text/unicode_table.h"

namespace test {

inline BOOL CALLBACK CollectResource(HMODULE module, LPCSTR type, LPSTR name, LONG_PTR parameter) {
  const HRSRC found = FindResourceA(module, name, type);
  reinterpret_cast<std::vector<qv::Bytes>*>(parameter)->emplace_back(
      static_cast<const uint8_t*>(LockResource(LoadResource(module, found))),
      SizeofResource(module, found));
  return TRUE;
}

inline std::vector<qv::Bytes> ResourcesOfType(const char* type) {
  std::vector<qv::Bytes> resources;
  EnumResourceNamesA(GetModuleHandleA(nullptr), type, CollectResource,
                     reinterpret_cast<LONG_PTR>(&resources));
  return resources;
}

class ModuleTables : public testing::Test {
 protected:
  ModuleTables() {
    EXPECT_TRUE(qv::BuildUnicodeTables(ResourcesOfType("CHUC")));
    for (qv::Bytes resource : ResourcesOfType("CHST")) {
      EXPECT_TRUE(qv::AddConverter(qv::NewTableConverter(resource)));
    }
    EXPECT_TRUE(qv::SortConverters());
  }
  ~ModuleTables() override {
    qv::ReleaseConverters();
    qv::ReleaseUnicodeTables();
  }
};

constexpr uint32_t kAmple = 0xFFFF;  // room for any short text

// What a conversion wrote and consumed; fails the test when a byte behind `room` was touched.
struct Converted {
  std::string text;
  uint32_t consumed;
  bool operator==(const Converted&) const = default;
};
inline void PrintTo(const Converted& converted, std::ostream* out) {
  *out << testing::PrintToString(converted.text) << " after " << converted.consumed << " bytes";
}

template <class Run>
Converted ConvertGuarded(uint32_t room, Run run) {
  constexpr char kGuard = '\x5A';
  const uint32_t size = room < 0x10000 ? room + 16 : room;
  std::string output(size, kGuard);
  uint32_t written = room;
  const uint32_t consumed = run(output.data(), &written);
  EXPECT_LE(written, room);
  EXPECT_EQ(output.find_first_not_of(kGuard, room), std::string::npos) << "wrote behind " << room;
  return {output.substr(0, written), consumed};
}

// Through the engines, whatever the code pages are.
inline Converted ConvertWithEngine(const std::string& input, CodePage from, CodePage to, int mode,
                                   uint32_t room = kAmple, uint32_t flags = 0) {
  return ConvertGuarded(room, [&](char* output, uint32_t* written) {
    const qv::ConversionResult result =
        qv::ConvertBetweenCodePages(input.data(), static_cast<uint32_t>(input.size()), from, output,
                                    *written, to, {mode, flags});
    *written = result.written;
    return result.consumed;
  });
}

// Through the dispatcher.
inline Converted ConvertWithDispatcher(const std::string& input, CodePage from, CodePage to,
                                       int mode, uint32_t room = kAmple) {
  return ConvertGuarded(room, [&](char* output, uint32_t* written) {
    return ConvertText(input.data(), static_cast<uint32_t>(input.size()), from, output, written, to,
                       mode, 0);
  });
}

}  // namespace test
