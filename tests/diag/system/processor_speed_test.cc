#include "diag/system/processor_speed.h"

#include <gtest/gtest.h>

namespace {

TEST(ProcessorSpeedTest, OnlyTheRegistrySpeedIsFilled) {
  qv::ResetProcessorSpeedForTest();
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedNominal, true), 0u);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedMeasured, true), 0u);
  const uint32_t registry = ZRProcessorSpeed(kProcessorSpeedRegistry, false);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedBest, false), registry);
  EXPECT_EQ(ZRProcessorSpeed(0xFFFFFFFF, false), registry);
}

}  // namespace
