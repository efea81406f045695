#include "containers/hash_table_self_test.h"

#include <cstdio>
#include <cstring>

namespace qv {
namespace {

constexpr int32_t kEntryCount = 10000;
constexpr uint32_t kMessageSize = 128;

struct Entry {
  int32_t number;
  int32_t rest;  // kEntryCount - number
};
static_assert(sizeof(Entry) == 8);

bool IsEntry(const Entry& entry, int32_t number) {
  return entry.number == number && entry.rest == kEntryCount - number;
}

// Entries begin with their key, so the mode makes no difference.
uint64_t HashNumber(const void* data, uint32_t, uintptr_t, uint32_t) {
  return HashBytes(data, sizeof(int32_t));
}

bool SameNumber(const void* data, uint32_t, const void* stored, uint32_t, uintptr_t, uint32_t) {
  return std::memcmp(data, stored, sizeof(int32_t)) == 0;
}

class SelfTest {
 public:
  SelfTest(SelfTestTable& table, SelfTestReport report, void* context)
      : table_(table), report_(report), context_(context) {}

  uint32_t Run() {
    TestInserts();
    TestLookups();
    TestRemovals();
    TestWhatIsLeft();
    TestIterator();
    return failures_;
  }

 private:
  // The message of a failure; "%d" in it is the number.
  void Fail(const char* format, int32_t number = 0) {
    ++failures_;
    if (report_ == nullptr) return;
    char message[kMessageSize];
    std::snprintf(message, sizeof message, format, number);
    report_(case_, message, context_);
  }

  bool Find(int32_t number, Entry* entry) const {
    *entry = {-1, -1};
    return table_.Lookup(&number, sizeof number, entry, sizeof *entry);
  }

  void TestInserts() {
    case_ = "Inserts";
    for (int32_t i = 0; i < kEntryCount; ++i) {
      Entry entry{i, kEntryCount - i};
      if (!table_.Insert(&entry, sizeof entry)) Fail("<error>Couldn't add item %d</error>", i);
      if (!Find(i, &entry)) {
        Fail("<error>Lookup of freshly added item %d failed</error>", i);
      } else if (!IsEntry(entry, i)) {
        Fail("<error>Lookup of freshly added item returned invalid results</error>");
      }
    }
  }

  void TestLookups() {
    case_ = "Lookups";
    for (int32_t i = 0; i < kEntryCount; ++i) {
      Entry entry;
      if (!Find(i, &entry)) {
        Fail("<error>Lookup of %d failed</error>", i);
      } else if (!IsEntry(entry, i)) {
        Fail("<error>Lookup of %d returned invalid results</error>", i);
      }
    }
  }

  void TestRemovals() {
    case_ = "Removals";
    for (int32_t i = 0; i < kEntryCount; i += 2) {
      table_.Remove(&i, sizeof i);
      Entry entry;
      // The neighbour was never removed.
      if (!Find(i + 1, &entry)) {
        Fail("<error>Lookup of %d failed</error>", i + 1);
      } else if (!IsEntry(entry, i + 1)) {
        Fail("<error>Lookup of %d returned invalid results</error>", i + 1);
      }
    }
  }

  void TestWhatIsLeft() {
    case_ = "Removal Part Two";
    uint32_t found = 0;
    for (int32_t i = 0; i < kEntryCount; ++i) {
      Entry entry;
      const bool there = Find(i, &entry);
      if (there) ++found;
      const bool odd = i % 2 != 0;
      if (odd && !there) {
        Fail("<error>Lookup of %d should have succeeded - this item was never removed</error>", i);
      } else if (odd && !IsEntry(entry, i)) {
        Fail("<error>Lookup of %d returned the wrong item</error>", i);
      }
    }
    if (found > kEntryCount / 2) Fail("<error>Not enough removed</error>");
  }

  void TestIterator() {
    case_ = "Iterator Test";
    uint32_t visited = 0;
    Entry entry;
    HashIterator each;
    for (each.Begin(table_); each.Next(&entry, sizeof entry); ++visited) {
      table_.Remove(&entry.number, sizeof entry.number);
    }
    each.End();
    if (visited != kEntryCount / 2 || table_.Count() != 0) {
      Fail("<error>Didn't get 'm all</error>");
    }
  }

  SelfTestTable& table_;
  SelfTestReport report_;
  void* context_;
  const char* case_ = "";
  uint32_t failures_ = 0;
};

}  // namespace

SelfTestTable::SelfTestTable() : HashTable(sizeof(Entry), 1, 80, HashNumber, SameNumber, 0) {}

uint32_t RunHashTableSelfTest(SelfTestReport report, void* context) {
  SelfTestTable table;
  return RunHashTableSelfTestOn(table, report, context);
}

uint32_t RunHashTableSelfTestOn(SelfTestTable& table, SelfTestReport report, void* context) {
  return SelfTest(table, report, context).Run();
}

}  // namespace qv
