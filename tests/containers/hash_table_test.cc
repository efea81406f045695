#include "containers/hash_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "base/hooks.h"
#include "tests/containers/counted_memory.h"

namespace qv {

// Looks inside, and makes the damage that an iterator has to bear.
struct HashTableTestAccess {
  static bool IsGrowing(const HashTable& table) { return table.growth_.is_growing; }
  static uint64_t Cursor(const HashTable& table) { return table.growth_.cursor; }
  static uint64_t Buckets(const HashTable& table) {
    return table.growth_.buckets * (IsGrowing(table) ? 2 : 1);
  }
  // Entries that a growing table has moved so far.
  static uint64_t Moved(const HashTable& table) {
    uint64_t moved = 0;
    for (uint64_t index = table.growth_.groups; index < table.array_.size(); ++index) {
      const HashGroup* group = table.array_.Group(index);
      for (; group != nullptr; group = table.pool_.Group(group->more)) {
        moved += static_cast<uint64_t>(std::popcount(group->live));
      }
    }
    return moved;
  }
  static uint32_t TagOf(uint64_t hash) { return HashTable::TagOf(hash); }
  static uint64_t FurtherGroups(const HashTable& table) { return table.pool_.in_use(); }
  static void EmptyPlaceUnder(HashIterator& iterator) {
    iterator.place_.group->SetFree(iterator.place_.slot);
  }
};

}  // namespace qv

namespace {

using qv::HashIterator;
using qv::HashTable;
using Access = qv::HashTableTestAccess;
using testing::ElementsAre;

// Entries are texts that begin with their key, one character.
uint64_t HashFirst(const void* data, uint32_t, uintptr_t, uint32_t) {
  return *static_cast<const unsigned char*>(data);
}
// In a table that began with one group, all of them belong into the new half when it grows first.
uint64_t HashToUpperHalf(const void* data, uint32_t size, uintptr_t context, uint32_t mode) {
  uint64_t hash = HashFirst(data, size, context, mode);
  while ((Access::TagOf(hash) & 1) == 0) hash += 256;
  return hash;
}
bool SameFirst(const void* data, uint32_t, const void* stored, uint32_t, uintptr_t, uint32_t) {
  return *static_cast<const char*>(data) == *static_cast<const char*>(stored);
}

bool Put(HashTable& table, const std::string& entry) {
  bool stored = table.Insert(entry.data(), static_cast<uint32_t>(entry.size()));
  EXPECT_TRUE(table.CheckInvariants()) << "after inserting " << entry;
  return stored;
}
bool Take(HashTable& table, const std::string& key) {
  bool removed = table.Remove(key.data(), static_cast<uint32_t>(key.size()));
  EXPECT_TRUE(table.CheckInvariants()) << "after removing " << key;
  return removed;
}
// The entry with a key, "-" when there is none.
std::string Get(const HashTable& table, const std::string& key) {
  char text[64];
  uint32_t size = sizeof text;
  if (!table.Lookup(key.data(), static_cast<uint32_t>(key.size()), text, &size)) return "-";
  return std::string(text, size);
}
// What the iterator still visits, in order.
std::vector<std::string> Rest(HashIterator& each) {
  std::vector<std::string> entries;
  uint32_t size = 0;
  while (const void* entry = each.Next(&size)) {
    entries.emplace_back(static_cast<const char*>(entry), size);
  }
  EXPECT_TRUE(each.done());
  return entries;
}

TEST(HashTableTest, HashOfBytes) {
  const struct {
    const char* name;
    std::string bytes;
    uint64_t hash;
  } kRows[] = {
      {"empty", "", 0},
      {"plain", "a", 0x00000006CA2E9442},
      {"negative", "\x80", 0x9C1B80092725CE27},
      {"minus one", "\xFF", 0x9C1B8000124A2494},
      {"both signs", "\x7F\x80", 0x000023BACAAC866F},
      {"eight", "12345678", 0x63E16E746474D7E5},
      {"with zeros", "\xFA\xFB\xFC\xFD\xFE\xFF" + std::string(10, '\0'), 0xC2626EE43EA95B8A}};
  for (const auto& row : kRows) {
    EXPECT_EQ(qv::HashBytes(row.bytes.data(), static_cast<uint32_t>(row.bytes.size())), row.hash)
        << row.name;
  }
}

TEST(HashTableTest, WithoutFunctionsTheKeyIsTheWholeEntry) {
  HashTable table(4);
  for (const char* entry : {"one", "two", "three", ""}) EXPECT_TRUE(Put(table, entry));
  EXPECT_EQ(Get(table, "three"), "three");
  EXPECT_EQ(Get(table, ""), "");
  EXPECT_EQ(Get(table, "thre"), "-");
  EXPECT_TRUE(Take(table, ""));
  EXPECT_EQ(table.Count(), 3u);
}

// Compares first characters, by functions of its own.
class FirstCharacterTable : public HashTable {
 public:
  FirstCharacterTable() : HashTable(4) {}

 protected:
  uint64_t Hash(const void* data, uint32_t size, uint32_t mode) const override {
    return HashFirst(data, size, 0, mode);
  }
  bool Equal(const void* data, uint32_t size, const void* stored, uint32_t stored_size,
             uint32_t mode) const override {
    return SameFirst(data, size, stored, stored_size, 0, mode);
  }
};

TEST(HashTableTest, FunctionsThatAreReplaced) {
  FirstCharacterTable table;
  for (const char* entry : {"one", "two", "only"}) EXPECT_TRUE(Put(table, entry));
  EXPECT_EQ(table.Count(), 2u);
  EXPECT_EQ(Get(table, "o"), "only");
  EXPECT_TRUE(Take(table, "t"));
  EXPECT_EQ(Get(table, "two"), "-");
}

// Whichever bits of a hash differ, entries spread over the groups: few need a further one.
TEST(HashTableTest, HashesThatDifferInFewBits) {
  for (uint32_t shift : {0, 1, 8, 20, 32, 40, 52}) {
    const auto hash = [](const void* data, uint32_t, uintptr_t context, uint32_t) {
      uint16_t number;
      std::memcpy(&number, data, sizeof number);
      return uint64_t{number} << context;
    };
    HashTable table(4, 100, 50, hash, nullptr, shift);
    for (uint16_t number = 0; number < 4000; ++number) table.Insert(&number, sizeof number);
    EXPECT_LT(Access::FurtherGroups(table), 10u) << shift;
    EXPECT_TRUE(table.CheckInvariants());
  }
}

TEST(HashTableTest, LookupForms) {
  HashTable table(4, HashFirst, SameFirst);
  Put(table, "abcdef");
  char out[8] = "#######";
  EXPECT_FALSE(table.Lookup("a", 1, out, 5u)) << "another size";
  EXPECT_FALSE(table.Lookup("b", 1, out, 6u));
  EXPECT_EQ(out, std::string("#######"));
  EXPECT_TRUE(table.Lookup("a", 1, out, 6u));
  EXPECT_EQ(out, std::string("abcdef#"));
  EXPECT_TRUE(table.Lookup("a", 1, nullptr, 6u));
  uint32_t size = 5;
  out[0] = '#';
  EXPECT_FALSE(table.Lookup("a", 1, out, &size)) << "too small";
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(out[0], '#');
  EXPECT_TRUE(table.Lookup("a", 1, out, &size));
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(out[0], 'a');
  size = 1;
  EXPECT_TRUE(table.Lookup("a", 1, nullptr, &size));
  EXPECT_EQ(size, 6u);
  EXPECT_TRUE(table.Lookup("a", 1, nullptr, nullptr));
  EXPECT_FALSE(table.Lookup("b", 1, out, &size));
  EXPECT_EQ(size, 0u);
}

TEST(HashTableTest, BadArgumentsAndSizes) {
  HashTable table(8, HashFirst, SameFirst);
  EXPECT_FALSE(table.Insert(nullptr, 3));
  EXPECT_FALSE(table.Remove(nullptr, 3));
  EXPECT_FALSE(table.Lookup(nullptr, 3, nullptr, nullptr));
  EXPECT_EQ(table.Count(), 0u);
  const struct {
    const char* name;
    uint64_t buckets_less_1;
  } kRows[] = {{"wraps to none", UINT64_MAX}, {"beyond reason", UINT64_MAX / 2}};
  for (const auto& row : kRows) {
    HashTable large(8, row.buckets_less_1, 100, HashFirst, SameFirst, 0);
    EXPECT_FALSE(Put(large, "a")) << row.name;
    EXPECT_EQ(Get(large, "a"), "-");
    EXPECT_FALSE(Take(large, "a"));
    HashIterator each;
    each.Begin(large);
    EXPECT_TRUE(each.done());
  }
}

// Every call that a table makes of its functions.
std::vector<std::string>& Calls() {
  static std::vector<std::string> calls;
  return calls;
}
TEST(HashTableTest, FunctionsGetModesSizesAndContext) {
  Calls().clear();
  auto hash = [](const void*, uint32_t size, uintptr_t context, uint32_t mode) -> uint64_t {
    Calls().push_back("hash" + std::to_string(size) + " mode" + std::to_string(mode));
    return context;
  };
  auto compare = [](const void* data, uint32_t size, const void* stored, uint32_t stored_size,
                    uintptr_t context, uint32_t mode) {
    EXPECT_EQ(context, 77u);
    Calls().push_back("compare" + std::to_string(size) + "," + std::to_string(stored_size) +
                      " mode" + std::to_string(mode));
    return SameFirst(data, size, stored, stored_size, context, mode);
  };
  HashTable table(8, hash, compare, 77);
  table.Insert("abc", 3);
  table.Insert("ab", 2);
  table.Lookup("a", 1, nullptr, nullptr);
  table.Remove("a", 1);
  EXPECT_THAT(Calls(), ElementsAre("hash3 mode0", "hash2 mode0", "compare2,3 mode0", "hash1 mode2",
                                   "compare1,2 mode2", "hash1 mode2", "compare1,2 mode1"));
}

TEST(HashTableTest, GrowsInStepsAndEstimatesItsMemory) {
  HashTable table(8, 3, 50, nullptr, nullptr, 0);  // 4 buckets: grows when 3 are in
  EXPECT_EQ(table.MemoryEstimate(), 128u);
  for (uint64_t i = 1; i <= 3; ++i) table.Insert(&i, sizeof i);
  EXPECT_EQ(table.MemoryEstimate(), 29u * 4 + 128);
  uint64_t next = 4;
  table.Insert(&next, sizeof next);
  EXPECT_EQ(table.MemoryEstimate(), 29u * (4 + 8) + 128);
  EXPECT_TRUE(table.CheckInvariants());
  EXPECT_TRUE(table.Remove(&next, sizeof next)) << "a step of its own";
  EXPECT_EQ(table.MemoryEstimate(), 29u * 8 + 128);
  EXPECT_TRUE(table.CheckInvariants());
  EXPECT_EQ(table.Count(), 3u);
  for (uint64_t i = 1; i <= 3; ++i) EXPECT_TRUE(table.Lookup(&i, 8, nullptr, nullptr));
}

// One chain of forty entries, all of which belong into the new half: it takes four steps, and in
// between an entry may be in either half.
TEST(HashTableTest, AChainIsDividedInSteps) {
  HashTable table(8, 0, 3899, HashToUpperHalf, SameFirst, 0);
  for (char key = 'A'; key < 'A' + 40; ++key) Put(table, std::string(1, key) + "1");
  ASSERT_TRUE(Access::IsGrowing(table)) << "with the last one";
  EXPECT_EQ(Access::Moved(table), 0u);
  for (uint64_t moved : {10, 20, 30}) {
    EXPECT_TRUE(Put(table, "C2"));
    EXPECT_EQ(Access::Moved(table), moved);
    for (char key = 'A'; key < 'A' + 40; ++key) {
      EXPECT_EQ(Get(table, std::string(1, key)), std::string(1, key) + (key == 'C' ? "2" : "1"));
    }
  }
  EXPECT_EQ(table.Count(), 40u) << "replaced where it stands";
  EXPECT_TRUE(Take(table, "D"));
  EXPECT_TRUE(Put(table, "B3"));
  EXPECT_FALSE(Access::IsGrowing(table));
  EXPECT_EQ(Get(table, "B"), "B3");
  EXPECT_EQ(table.Count(), 39u);
}

TEST(HashTableTest, DividedChainsCloseTheirGaps) {
  HashTable table(8, 0, 899, HashFirst, SameFirst, 0);
  for (char key = 'A'; key < 'A' + 10; ++key) Put(table, std::string(1, key));
  ASSERT_TRUE(Access::IsGrowing(table));
  EXPECT_EQ(Access::FurtherGroups(table), 1u);
  EXPECT_TRUE(Take(table, "A")) << "the further group's entries now have room in the first";
  EXPECT_EQ(Access::FurtherGroups(table), 0u);
}

// No call does more than its share, whatever the table's size and load.
TEST(HashTableTest, WorkOfACallIsBounded) {
  const struct {
    const char* name;
    uint64_t first_buckets;
    uint16_t load;
  } kRows[] = {{"full", 2, 100}, {"crowded", 2, 400}, {"sparse", 500, 1}};
  constexpr uint64_t kMostGroups = 128 / HashTable::kBucketsPerGroup, kGroupsOfSegment = 64;
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::CountedMemory memory;
    HashTable table(8, row.first_buckets - 1, row.load, nullptr, nullptr, 0);
    uint32_t doublings = 0;
    for (uint64_t i = 0; i < 30000; ++i) {
      const bool was_growing = Access::IsGrowing(table), is_looked_at = i % 61 < 2;
      const uint64_t cursor = Access::Cursor(table);
      const uint64_t moved = is_looked_at ? Access::Moved(table) : 0;
      test::Memory().allocated = 0;
      const uint64_t older = i / 2;
      if (i % 5 == 4) {
        table.Remove(&older, sizeof older);
      } else {
        ASSERT_TRUE(table.Insert(&i, sizeof i));
      }
      if (was_growing && Access::IsGrowing(table)) {
        ASSERT_LE(Access::Cursor(table) - cursor, kMostGroups * kGroupsOfSegment);
        if (is_looked_at) {
          ASSERT_LE(Access::Moved(table), moved + 11) << "one may be new";
        }
      }
      if (!was_growing && Access::IsGrowing(table)) ++doublings;
      ASSERT_LE(test::Memory().allocated, 14u);
    }
    EXPECT_GE(doublings, 3u);
    EXPECT_TRUE(table.CheckInvariants());
  }
}

// --- iterators ---

TEST(HashIteratorTest, EmptyAndUnregistered) {
  HashTable table(8);
  HashIterator each;
  EXPECT_TRUE(each.done());
  EXPECT_FALSE(each.Next(nullptr, 8));
  each.End();
  each.Begin(table);
  EXPECT_TRUE(each.done());
  uint32_t size = 9;
  EXPECT_EQ(each.Next(&size), nullptr);
  EXPECT_EQ(size, 0u);
}

TEST(HashIteratorTest, FormsOfNext) {
  HashTable table(4, 0, 1000, HashFirst, SameFirst, 0);  // one bucket: in order
  for (const char* entry : {"a1", "b23456", "c3"}) Put(table, entry);
  HashIterator each;
  each.Begin(table);
  char out[8] = {};
  EXPECT_TRUE(each.Next(out, 2));
  EXPECT_STREQ(out, "a1");
  EXPECT_FALSE(each.Next(out, 2)) << "another size";
  EXPECT_FALSE(each.done());
  EXPECT_STREQ(out, "a1");
  EXPECT_THAT(Rest(each), ElementsAre("c3"));
  each.Begin(table);
  EXPECT_THAT(Rest(each), ElementsAre("a1", "b23456", "c3"));
}

TEST(HashIteratorTest, ATableThatGoesEndsItsIterators) {
  HashIterator first, second;
  {
    HashTable table(8);
    Put(table, "a");
    first.Begin(table);
    second.Begin(table);
    second.Begin(table);
    EXPECT_TRUE(table.CheckInvariants());
  }
  EXPECT_TRUE(first.done());
  EXPECT_EQ(second.Next(nullptr), nullptr);
}

TEST(HashIteratorTest, NothingMovesUnderIt) {
  HashTable table(8, 3, 50, HashFirst, SameFirst, 0);
  for (const char* entry : {"a", "b", "c"}) Put(table, entry);
  HashIterator each;
  each.Begin(table);
  Put(table, "d");
  EXPECT_TRUE(Access::IsGrowing(table));
  for (char key = 'e'; key <= 'z'; ++key) Put(table, std::string(1, key));
  EXPECT_EQ(Access::Cursor(table), 0u);
  EXPECT_EQ(Access::Buckets(table), 8u) << "and growth waits";
  std::vector<std::string> rest = Rest(each);
  EXPECT_EQ(std::set<std::string>(rest.begin(), rest.end()).size(), 26u);
  EXPECT_EQ(rest.size(), 26u);
  each.End();
  for (const char* entry : {"A", "B", "C"}) Put(table, entry);
  EXPECT_EQ(Access::Buckets(table), 16u) << "both go on when it has ended";
}

TEST(HashIteratorTest, ReportsAnEntryThatWasEmptiedUnderIt) {
  static std::string debug_text;
  debug_text.clear();
  qv::GlobalHooks().write_debug_text = [](const char* text) { debug_text += text; };
  HashTable table(8, 0, 1000, HashFirst, SameFirst, 0);
  for (const char* entry : {"a", "b", "c"}) Put(table, entry);
  HashIterator each;
  each.Begin(table);
  Access::EmptyPlaceUnder(each);
  EXPECT_FALSE(table.CheckInvariants());
  EXPECT_THAT(Rest(each), ElementsAre("b", "c"));
  EXPECT_EQ(debug_text, "\n\n!!! NO BOOM !!! GetNextHashSlot() - Stale data\n\n");
  qv::ResetHooksForTest();
}

}  // namespace
