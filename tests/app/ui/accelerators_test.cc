#include "app/ui/accelerators.h"

#include "app/ui/accelerator_descriptions.h"
#include "tests/app/ui/menu_fixture.h"

namespace {

using AcceleratorsTest = test::MenuTest;

TEST_F(AcceleratorsTest, ThePlatformTableIsMadeOnce) {
  EXPECT_FALSE(qv::CreatePlatformAccelerators());  // of no entries
  ParseAccelerator("1001w0B43\"C\"wFD58");  // with a flag that would end the platform's table
  ParseAccelerator("7w0170");
  EXPECT_EQ(FindAccelerator(1001)->key, 0x43);  // the first one
  EXPECT_EQ(FindAccelerator(1001 + 0x10000), nullptr);
  ASSERT_TRUE(qv::CreatePlatformAccelerators());
  HACCEL table = qv::PlatformAccelerators();
  ACCEL entries[4] = {};
  ASSERT_EQ(CopyAcceleratorTableW(table, entries, 4), 3);
  EXPECT_EQ(entries[0].fVirt & 0x1F, 0x0B);
  EXPECT_EQ(entries[0].key, 0x43);
  EXPECT_EQ(entries[0].cmd, 1001);
  EXPECT_EQ(entries[1].fVirt & 0x80, 0);
  EXPECT_EQ(entries[1].key, 0x58);
  EXPECT_EQ(entries[2].cmd, 7);
  ClearAccelerators();
  ParseAccelerator("8w0171");
  EXPECT_TRUE(qv::CreatePlatformAccelerators());
  EXPECT_EQ(qv::PlatformAccelerators(), table);
  qv::ReleasePlatformAccelerators();
  EXPECT_TRUE(qv::CreatePlatformAccelerators());
  EXPECT_EQ(CopyAcceleratorTableW(qv::PlatformAccelerators(), entries, 4), 1);
  EXPECT_EQ(entries[0].cmd, 8);
}

}  // namespace
