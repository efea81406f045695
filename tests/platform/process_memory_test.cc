// Looking at memory that may not be there.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace {

constexpr size_t kPage = 4096;
const char kReadOnly[3 * kPage] = {1};

// A page of the program's constants, whole.
const char* ReadOnlyPage() {
  const auto address = reinterpret_cast<uintptr_t>(kReadOnly);
  return reinterpret_cast<const char*>((address + kPage - 1) / kPage * kPage);
}

TEST(ProcessMemoryTest, SaysWhatCanBeReadAndWritten) {
  std::vector<char> memory(5 * kPage, 'x');
  char byte = 'y';
  auto* constant = const_cast<char*>(ReadOnlyPage());
  auto* top = reinterpret_cast<char*>(~uintptr_t{0});
  const struct {
    const char* name;
    char* address;
    size_t size;
    bool bad_to_read, bad_to_write;
  } kRows[] = {{"several pages", memory.data(), memory.size(), false, false},
               {"odd start", memory.data() + 4095, 2, false, false},
               {"one byte", &byte, 1, false, false},
               {"constants", constant, kPage, false, true},
               {"null", nullptr, 1, true, true},
               {"null, no bytes", nullptr, 0, false, false},
               {"small number", reinterpret_cast<char*>(0x10), 4, true, true},
               {"runs on to the end of the address space", memory.data(),
                ~uintptr_t{0} - reinterpret_cast<uintptr_t>(memory.data()), true, true},
               {"wraps", memory.data(), ~uintptr_t{0}, true, true},
               {"last byte", top, 1, true, true},
               {"past the last byte", top, 2, true, true}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(IsBadReadPtr(row.address, row.size) != 0, row.bad_to_read);
    EXPECT_EQ(IsBadWritePtr(row.address, row.size) != 0, row.bad_to_write);
  }
  EXPECT_EQ(std::string(memory.begin(), memory.end()), std::string(memory.size(), 'x'));
  EXPECT_EQ(byte, 'y');
}

TEST(ProcessMemoryTest, ReadsOnlyWhatIsThere) {
  char copy[8] = "#######";
  SIZE_T copied = 77;
  EXPECT_TRUE(ReadProcessMemory(GetCurrentProcess(), "abcdefg", copy, 3, &copied));
  EXPECT_EQ(copied, 3u);
  EXPECT_STREQ(copy, "abc####");
  EXPECT_TRUE(ReadProcessMemory(GetCurrentProcess(), "xyz", copy, 3, nullptr));
  EXPECT_STREQ(copy, "xyz####");
  EXPECT_FALSE(ReadProcessMemory(GetCurrentProcess(), nullptr, copy, 3, &copied));
  EXPECT_EQ(copied, 0u);
  EXPECT_STREQ(copy, "xyz####");
}

}  // namespace
