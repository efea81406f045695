#include "containers/hash_table_self_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/containers/counted_memory.h"

namespace {

using testing::Contains;
using testing::IsEmpty;

std::vector<std::string>& Reports() {
  static std::vector<std::string> reports;
  return reports;
}
void Keep(const char* test_case, const char* message, void*) {
  Reports().push_back(std::string(test_case) + ": " + message);
}

TEST(HashTableSelfTestTest, AllIsWell) {
  Reports().clear();
  EXPECT_EQ(qv::RunHashTableSelfTest(Keep, nullptr), 0u);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_EQ(qv::RunHashTableSelfTest(nullptr, nullptr), 0u);
}

// A table whose comparisons go wrong where a row says so. Two numbers share their hash.
class BrokenTable : public qv::SelfTestTable {
 public:
  struct Asked {
    int32_t number, stored;
    uint32_t mode;
    bool right;  // the right answer
  };
  using Fault = bool (*)(const Asked& asked);
  BrokenTable(int32_t number, int32_t same_hash, Fault fault)
      : number_(number), same_hash_(same_hash), fault_(fault) {}

 protected:
  uint64_t Hash(const void* data, uint32_t size, uint32_t mode) const override {
    const bool same = *static_cast<const int32_t*>(data) == same_hash_;
    return SelfTestTable::Hash(same ? &number_ : data, size, mode);
  }
  bool Equal(const void* data, uint32_t size, const void* stored, uint32_t stored_size,
             uint32_t mode) const override {
    const bool right = SelfTestTable::Equal(data, size, stored, stored_size, mode);
    return fault_(
        {*static_cast<const int32_t*>(data), *static_cast<const int32_t*>(stored), mode, right});
  }

 private:
  int32_t number_, same_hash_;
  Fault fault_;
};

TEST(HashTableSelfTestTest, FindsFaults) {
  using Asked = BrokenTable::Asked;
  auto misses_4 = [](const Asked& asked) {
    return asked.right && !(asked.number == 4 && asked.mode == qv::kHashLookup);
  };
  auto finds_7_for_9 = [](const Asked& asked) {
    if (asked.number != 9 || asked.mode != qv::kHashLookup) return asked.right;
    return asked.stored == 7;
  };
  auto removes_nothing = [](const Asked& asked) {
    return asked.right && asked.mode != qv::kHashRemove;
  };
  auto removes_11_for_8 = [](const Asked& asked) {
    if (asked.number != 8 || asked.mode != qv::kHashRemove) return asked.right;
    return asked.stored == 11;
  };
  const struct {
    const char* name;
    int32_t number, same_hash;
    BrokenTable::Fault fault;
    std::vector<std::string> reports;
  } kRows[] = {
      {"4 is not found",
       0,
       0,
       misses_4,
       {"Inserts: <error>Lookup of freshly added item 4 failed</error>",
        "Lookups: <error>Lookup of 4 failed</error>"}},
      {"8 for 11",
       8,
       11,
       removes_11_for_8,
       {"Removals: <error>Lookup of 11 failed</error>",
        "Removal Part Two: <error>Lookup of 11 should have succeeded - this item was never "
        "removed</error>",
        "Iterator Test: <error>Didn't get 'm all</error>"}},
      {"nothing goes",
       0,
       0,
       removes_nothing,
       {"Removal Part Two: <error>Not enough removed</error>",
        "Iterator Test: <error>Didn't get 'm all</error>"}},
      {"7 for 9",
       7,
       9,
       finds_7_for_9,
       {"Inserts: <error>Lookup of freshly added item returned invalid results</error>",
        "Lookups: <error>Lookup of 9 returned invalid results</error>",
        "Removals: <error>Lookup of 9 returned invalid results</error>",
        "Removal Part Two: <error>Lookup of 9 returned the wrong item</error>"}}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Reports().clear();
    BrokenTable table(row.number, row.same_hash, row.fault);
    EXPECT_EQ(qv::RunHashTableSelfTestOn(table, Keep, nullptr), row.reports.size());
    EXPECT_EQ(Reports(), row.reports);
  }
}

TEST(HashTableSelfTestTest, WithoutMemoryNothingCanBeAdded) {
  Reports().clear();
  test::CountedMemory memory;
  test::Memory().countdown = 1;
  test::Memory().from_then_on = true;
  EXPECT_GT(qv::RunHashTableSelfTest(Keep, nullptr), 10000u);
  EXPECT_THAT(Reports(), Contains("Inserts: <error>Couldn't add item 0</error>"));
  EXPECT_THAT(Reports(), Contains("Inserts: <error>Couldn't add item 9999</error>"));
}

}  // namespace
