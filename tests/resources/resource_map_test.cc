// The map by itself: its lock, and changes that find no memory.
#include "resources/resource_map.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "app/message.h"
#include "base/hooks.h"
#include "memory/handle_bytes.h"
#include "memory/raw_blocks.h"
#include "tests/resources/resource_file_fixture.h"
#include "text/formatter.h"

namespace {

using qv::Reference;
using qv::ResourceMap;

std::vector<std::string>& Said() {
  static std::vector<std::string> lines;
  return lines;
}

TEST(ResourceMapLock, CountsAndReports) {
  ZRSetMessageHook([](ZRError, uint32_t, const char* format, va_list arguments) {
    char text[300];
    FormatTextList(text, format, arguments);
    Said().push_back(text);
  });
  Said().clear();
  ResourceMap map;
  ASSERT_EQ(map.MakeEmpty(), ZRErrNone);
  ASSERT_EQ(map.Insert(1, Reference{7, 0, 0, 0}, nullptr), ZRErrNone);
  map.LockLists();
  map.LockLists();
  EXPECT_EQ(map.references()[0].number, 7);
  EXPECT_EQ(map.Insert(1, Reference{8, 0, 0, 0}, nullptr), ZRErrResMemory) << "no growth meanwhile";
  EXPECT_EQ(map.Remove(0), ZRErrResMemory);
  map.UnlockLists();
  EXPECT_NE(map.references(), nullptr);
  map.UnlockLists();
  EXPECT_EQ(map.references(), nullptr);
  EXPECT_EQ(map.types(), nullptr);
  EXPECT_EQ(map.Insert(1, Reference{8, 0, 0, 0}, nullptr), ZRErrNone);
  EXPECT_TRUE(Said().empty());
  map.UnlockLists();
  EXPECT_EQ(Said(),
            (std::vector<std::string>{"CRezFmt:Unlock ResTypeAndRefListsLock bad ref count(0)"}));
  map.LockLists();
  EXPECT_EQ(Said().back(), "CRezFmt:Lock ResTypeAndRefListsLock bad ref count(0)");
  ZRSetMessageHook(nullptr);
}

// Of the blocks to come one fails, and those behind it where that is said.
struct BlockFaults {
  uint32_t left = 0;  // until one fails; 0: none does
  bool from_then_on = false;
  uint32_t struck = 0;

  bool Strikes() {
    const bool fails = left == 1;
    if (left > 1 || (fails && !from_then_on)) --left;
    struck += fails;
    return fails;
  }
};
BlockFaults& Faults() {
  static BlockFaults faults;
  return faults;
}

class ResourceMapMemory : public test::ResourceFileTest {};

// Each block fails in turn: either the change is made or everything is as before, and the file too.
TEST_F(ResourceMapMemory, EachBlockFailsInTurn) {
  const std::string before = test::ForkBuilder()
                                 .Add("TEXT", 1, "one", "first")
                                 .Add("TEXT", 2, "two", "second")
                                 .Add("STR#", 3, "three")
                                 .Build();
  const auto text = test::Code("TEXT"), list = test::Code("STR#");
  ZRHandle added = 0;
  const struct {
    const char* name;
    std::function<ZRError(CRezFmt&)> run;
  } kRows[] = {
      {"add", [&](CRezFmt& s) { return s.AddResource(added, text, 9, test::Name("9").get()); }},
      {"a new type", [&](CRezFmt& s) { return s.AddResource(added, 5, 9, nullptr); }},
      {"remove", [&](CRezFmt& s) { return s.RemoveResource(text, 1); }},
      {"remove a type", [&](CRezFmt& s) { return s.RemoveResource(list, 3); }},
      {"rename", [&](CRezFmt& s) { return s.SetResourceName(text, 1, test::Name("x").get()); }},
      {"no name", [&](CRezFmt& s) { return s.SetResourceName(text, 1, nullptr); }},
      {"get", [&](CRezFmt& s) { return s.GetResource(text, 2) != 0 ? 0 : ZRErrResMemory; }},
      {"update",
       [&](CRezFmt& s) {
         const ZRError error = s.RemoveResource(text, 1);
         return error == ZRErrNone ? s.UpdateFile() : error;
       }},
      {"open", [&](CRezFmt& s) { return s.Open(nullptr, false); }},
  };
  for (const auto& row : kRows) {
    for (const bool from_then_on : {false, true}) {
      uint32_t n = 0;
      for (uint32_t struck = 1; struck > 0;) {
        SCOPED_TRACE(testing::Message() << row.name << " " << ++n << from_then_on);
        ASSERT_EQ(OpenBytes(before), ZRErrNone);
        added = test::HandleOf("added");
        source_->GetResource(text, 1);
        Faults() = {n, from_then_on};
        qv::GlobalRawBlocks().reallocate = [](void* block, uint32_t size) -> void* {
          return Faults().Strikes() ? nullptr : std::realloc(block, size);
        };
        const ZRError error = row.run(*source_);
        qv::ResetRawBlocksForTest();
        struck = Faults().struck;
        EXPECT_EQ(error, struck > 0 ? ZRErrResMemory : ZRErrNone);
        if (struck > 0) {
          const bool is_open = std::string(row.name) != "open";
          if (is_open && std::string(row.name) != "update") {
            EXPECT_EQ(Served(), test::ReadFork(before).entries);
          }
          EXPECT_EQ(File(), before);
          EXPECT_EQ(row.run(*source_),
                    std::string(row.name) == "update" && n > 2 ? ZRErrResNotFound : ZRErrNone)
              << "the next try";
        }
        EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
        EXPECT_EQ(test::ReadFork(File()).error, "");
        if (source_->ReleaseResource(&added) != ZRErrNone) ZRDisposeHandle(&added);
        ASSERT_LT(n, 20u);
      }
      EXPECT_GT(n, 1u) << "no block failed";
    }
  }
}

// The same for work areas of an update.
TEST_F(ResourceMapMemory, EachWorkAreaFailsInTurn) {
  const std::string before = test::ForkBuilder().Add("TEXT", 1, "one").Build();
  for (const bool in_range : {false, true}) {
    uint32_t n = 0;
    for (uint32_t struck = 1; struck > 0;) {
      SCOPED_TRACE(testing::Message() << ++n << in_range);
      Renew();
      Put(before);
      if (in_range) source_->SetForkRange(0, static_cast<int64_t>(before.size()));
      ASSERT_EQ(OpenInto(*source_, false), ZRErrNone);
      ASSERT_EQ(Change("TEXT", 1, "two"), ZRErrNone);
      Faults() = {n, true};
      qv::GlobalHooks().allocate = [](size_t size) {
        return Faults().Strikes() ? nullptr : std::malloc(size);
      };
      const ZRError error = source_->UpdateFile();
      qv::ResetHooksForTest();
      struck = Faults().struck;
      EXPECT_EQ(error, struck > 0 ? ZRErrResMemory : ZRErrNone);
      if (struck > 0) {
        EXPECT_EQ(File(), before);
      }
      EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
      EXPECT_EQ(test::ReadFork(File()).entries[0].body, "two");
      ASSERT_LT(n, 20u);
    }
    EXPECT_GT(n, 2u);
  }
}

}  // namespace
