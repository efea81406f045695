// What tests of time zones share: the shipped data, texts as data, and a fresh start.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/hooks.h"
#include "resources/module_source.h"
#include "resources/resource_chain.h"
#include "time/time_zones.h"
#include "time/tz_parser.h"

namespace test {

template <typename Base>
class ZonesOf : public Base {
 protected:
  ZonesOf() {
    ZRReleaseTimeZones();
    ZRInitModuleResources(GetModuleHandleA(nullptr));
  }
  ~ZonesOf() override {
    qv::ResetHooksForTest();
    ZRReleaseTimeZones();
    qv::ResetResourceChainForTest();
  }
};
using Zones = ZonesOf<testing::Test>;

// Keeps the errors and counts the yields.
class KeepingParser final : public qv::TZDataParser {
 public:
  using TZDataParser::TZDataParser;
  std::vector<std::string> errors;
  int yields = 0;

 private:
  void Report(const char* text) override { errors.push_back(text); }
  void LetOthersRun() override { ++yields; }
};

// The bytes of one of the library's own resources.
inline std::string ShippedText(int32_t number) {
  const qv::Bytes bytes = qv::ModuleSource().Find(qv::ResourceType("ZRtz"), number);
  return {bytes.begin(), bytes.end()};
}

}  // namespace test
