#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "platform/host/native_files.h"
#include "platform/host/resource_pack.h"
#include "platform/native_files.h"
#include "tests/test_platform.h"

namespace {

// A pack of two resources: "AB" number 1 with three bytes, type 6 named "N" with none.
std::string GoodPack() {
  auto number = [](uint32_t n) { return std::string(reinterpret_cast<const char*>(&n), 4); };
  const uint32_t texts = 12 + 2 * 24;
  return "QVRESPK1" + number(2) +                                                             //
         number(0) + number(texts) + number(1) + number(0) + number(texts + 5) + number(3) +  //
         number(6) + number(0) + number(0xFFFFFFFF) + number(texts + 3) + number(texts) +
         number(0) +  //
         std::string("AB\0N\0xyz", 8);
}

std::optional<host::ResourceList> Parse(const std::string& pack) {
  // Memory of exactly this size, so that a read behind it shows.
  std::vector<uint8_t> bytes(pack.begin(), pack.end());
  return host::ParseResourcePack(bytes);
}

TEST(ResourcePackTest, GoodPack) {
  const std::string pack = GoodPack();
  auto list = host::ParseResourcePack({reinterpret_cast<const uint8_t*>(pack.data()), pack.size()});
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 2u);
  EXPECT_EQ((*list)[0].type, (host::ResourceName{0, "AB"}));
  EXPECT_EQ((*list)[0].name, (host::ResourceName{1, ""}));
  EXPECT_EQ(std::string((*list)[0].data.begin(), (*list)[0].data.end()), "xyz");
  EXPECT_EQ((*list)[1].type, (host::ResourceName{6, ""}));
  EXPECT_EQ((*list)[1].name, (host::ResourceName{0, "N"}));
}

TEST(ResourcePackTest, CutAnywhereIsNoPack) {
  const std::string pack = GoodPack();
  for (size_t size = 0; size < pack.size(); ++size)
    EXPECT_FALSE(Parse(pack.substr(0, size))) << size;
}

TEST(ResourcePackTest, AnyBadWordGivesNoReadOutside) {
  const std::string pack = GoodPack();
  for (size_t at = 0; at + 4 <= pack.size(); ++at) {
    for (uint32_t word : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF0u, 60u}) {
      std::string bad = pack;
      std::memcpy(bad.data() + at, &word, 4);
      auto list = Parse(bad);
      if (list) {
        EXPECT_LE(list->size(), 2u);
      }
    }
  }
}

TEST(ResourcePackTest, SectionsOfRealAndOfDamagedFiles) {
  const std::string own = std::filesystem::read_symlink("/proc/self/exe");
  std::string bytes;
  ASSERT_EQ(host::ReadNativeFile(own, size_t{1} << 30, &bytes), 0u);
  // The address does not matter here: nothing is read through it.
  auto section = host::FindLoadedSection(own, 0, ".qvres");
  EXPECT_GT(section.size(), 12u);
  EXPECT_TRUE(host::FindLoadedSection(own, 0, ".no_such_section").empty());
  EXPECT_TRUE(host::FindLoadedSection(own, 0, ".comment").empty()) << "not loaded";

  const std::string copy = platform::NativePath(test::TempFolder()) + "/damaged";
  for (size_t size : {size_t{0}, size_t{1}, size_t{63}, size_t{64}, bytes.size() / 2}) {
    ASSERT_EQ(host::ReplaceNativeFile(copy, bytes.substr(0, size)), 0u);
    EXPECT_TRUE(host::FindLoadedSection(copy, 0, ".qvres").empty()) << size;
  }
  // Each byte of the headers' positions and counts at its worst.
  for (size_t at = 16; at < sizeof(Elf64_Ehdr); ++at) {
    std::string bad = bytes.substr(0, 4096);
    bad[at] = '\xFF';
    ASSERT_EQ(host::ReplaceNativeFile(copy, bad), 0u);
    EXPECT_TRUE(host::FindLoadedSection(copy, 0, ".qvres").empty()) << at;
  }
}

}  // namespace
