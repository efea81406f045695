// The hash table beside std::map under random operations, and under allocations that fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "containers/hash_table.h"
#include "tests/containers/counted_memory.h"

namespace {

using qv::HashIterator;
using qv::HashTable;

constexpr uint32_t kInlineSize = 12;

// An entry is its 32-bit key and some bytes; the context is how many different hashes there are.
uint32_t KeyOf(const void* data) {
  uint32_t key;
  std::memcpy(&key, data, sizeof key);
  return key;
}
uint64_t HashKey(const void* data, uint32_t, uintptr_t hashes, uint32_t) {
  const uint32_t key = KeyOf(data);
  return qv::HashBytes(&key, sizeof key) % hashes * 0x9E3779B97F4A7C15;
}
bool SameKey(const void* data, uint32_t, const void* stored, uint32_t, uintptr_t, uint32_t) {
  return KeyOf(data) == KeyOf(stored);
}

std::string Entry(uint32_t key, const std::string& text) {
  return std::string(reinterpret_cast<const char*>(&key), sizeof key) + text;
}

// An iterator, and what it owes: every entry that is there all the while, and none twice.
struct Walk {
  HashIterator each;
  std::set<uint32_t> owed;     // there since Begin, not visited yet
  std::set<uint32_t> visited;  // and not added again since
};

class Model {
 public:
  Model(uint64_t buckets, uint16_t load, uint64_t hashes, uint32_t keys)
      : table_(kInlineSize, buckets - 1, load, HashKey, SameKey, static_cast<uintptr_t>(hashes)),
        keys_(keys) {}

  void Step() {
    const uint32_t key = Random() % keys_;
    // The table swells and shrinks in turns.
    const uint32_t adds = random_steps_++ / 300 % 2 == 0 ? 60 : 30;
    const uint32_t choice = Random() % 100;
    if (choice < adds) {
      Insert(key);
    } else if (choice < 85) {
      Remove(key);
    } else if (choice < 97) {
      GoOn(walks_[Random() % std::size(walks_)]);
    } else {
      StartOrEnd(walks_[Random() % std::size(walks_)]);
    }
    ASSERT_TRUE(table_.CheckInvariants());
    ASSERT_EQ(table_.Count(), entries_.size());
    LookUp(Random() % keys_);
  }

  void CompareAll() {
    for (uint32_t key = 0; key < keys_; ++key) LookUp(key);
  }

 private:
  uint32_t Random() { return static_cast<uint32_t>(random_()); }

  void Insert(uint32_t key) {
    std::string entry = Entry(key, std::string(Random() % 30, static_cast<char>(Random())));
    ASSERT_TRUE(table_.Insert(entry.data(), static_cast<uint32_t>(entry.size())));
    const bool added = entries_.insert_or_assign(key, entry).second;
    if (!added) return;
    for (Walk& walk : walks_) walk.visited.erase(key);
  }

  void Remove(uint32_t key) {
    ASSERT_EQ(table_.Remove(&key, sizeof key), entries_.erase(key) > 0);
    for (Walk& walk : walks_) walk.owed.erase(key);
  }

  void LookUp(uint32_t key) {
    char out[64];
    uint32_t size = sizeof out;
    auto expected = entries_.find(key);
    ASSERT_EQ(table_.Lookup(&key, sizeof key, out, &size), expected != entries_.end()) << key;
    if (expected == entries_.end()) return;
    ASSERT_EQ(std::string(out, size), expected->second);
  }

  void StartOrEnd(Walk& walk) {
    walk.owed.clear();
    walk.visited.clear();
    if (Random() % 3 == 0) {
      walk.each.End();
      return;
    }
    walk.each.Begin(table_);
    for (const auto& [key, entry] : entries_) walk.owed.insert(key);
  }

  void GoOn(Walk& walk) {
    if (walk.each.done()) {
      walk.each.End();  // lets the table grow
      return;
    }
    uint32_t size = 0;
    const void* entry = walk.each.Next(&size);
    if (entry == nullptr) {
      ASSERT_TRUE(walk.each.done());
      ASSERT_TRUE(walk.owed.empty()) << walk.owed.size() << " were passed over";
      return;
    }
    const uint32_t key = KeyOf(entry);
    ASSERT_TRUE(entries_.contains(key));
    ASSERT_EQ(std::string(static_cast<const char*>(entry), size), entries_[key]);
    ASSERT_TRUE(walk.visited.insert(key).second) << "visited twice: " << key;
    walk.owed.erase(key);
  }

  HashTable table_;
  uint32_t keys_;
  std::map<uint32_t, std::string> entries_;
  Walk walks_[3];
  std::mt19937 random_{12345};
  uint32_t random_steps_ = 0;
};

TEST(HashTableModelTest, RandomOperations) {
  const struct {
    const char* name;
    uint64_t buckets;
    uint16_t load;
    uint64_t hashes;
    uint32_t keys, steps;
  } kRows[] = {{"spread", 2, 80, UINT64_MAX, 200, 6000},
               {"seven hashes", 3, 100, 7, 60, 4000},
               {"one hash", 1, 100, 1, 40, 4000},
               {"long chains", 1, 2000, 1000, 90, 4000},
               {"nearly empty", 40, 2, UINT64_MAX, 50, 4000},
               {"no load", 1, 0, 50, 20, 1500}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::CountedMemory memory;
    {
      Model model(row.buckets, row.load, row.hashes, row.keys);
      for (uint32_t i = 0; i < row.steps && !testing::Test::HasFatalFailure(); ++i) model.Step();
      model.CompareAll();
    }
    EXPECT_EQ(test::Memory().blocks, 0);
  }
}

// Inserts, replaces and removes; every answer says what the table then holds.
void WorkWithFaults(std::map<uint32_t, std::string>* expected) {
  HashTable table(kInlineSize, 1, 80, HashKey, SameKey, 1000);
  for (uint32_t i = 0; i < 120; ++i) {
    const uint32_t key = i % 90;
    std::string entry = Entry(key, std::string(i % 20, static_cast<char>('a' + i % 26)));
    const uint32_t struck = test::Memory().struck;
    if (table.Insert(entry.data(), static_cast<uint32_t>(entry.size()))) {
      (*expected)[key] = entry;
    } else {
      EXPECT_GT(test::Memory().struck, struck) << "only a failed allocation fails an insert";
    }
    if (i % 7 == 6) {
      EXPECT_EQ(table.Remove(&i, sizeof i), expected->erase(i) > 0);
    }
    ASSERT_TRUE(table.CheckInvariants());
  }
  ASSERT_EQ(table.Count(), expected->size()) << "nothing is lost";
  for (const auto& [key, entry] : *expected) {
    char out[64];
    uint32_t size = sizeof out;
    ASSERT_TRUE(table.Lookup(&key, sizeof key, out, &size));
    ASSERT_EQ(std::string(out, size), entry);
  }
}

TEST(HashTableModelTest, AllocationsThatFail) {
  for (bool from_then_on : {false, true}) {
    uint32_t faults = 0;
    for (uint32_t nth = 1;; ++nth) {
      SCOPED_TRACE(testing::Message() << "allocation " << nth << (from_then_on ? " and on" : ""));
      test::CountedMemory memory;
      test::Memory().countdown = nth;
      test::Memory().from_then_on = from_then_on;
      std::map<uint32_t, std::string> expected;
      WorkWithFaults(&expected);
      if (HasFatalFailure()) return;
      EXPECT_EQ(test::Memory().blocks, 0) << "nothing leaks";
      if (test::Memory().struck == 0) break;
      ++faults;
    }
    EXPECT_GT(faults, 30u);
  }
}

}  // namespace
