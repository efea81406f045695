// An update that is stopped anywhere leaves the old contents or the new ones.
#include <gmock/gmock.h>

#include "app/leveled_log.h"
#include "tests/resources/resource_file_fixture.h"
#include "text/formatter.h"

namespace {

using test::Big;
using test::ForkBuilder;
using test::ForkEntry;
using FileChange = test::StoppingFile::FileChange;

const std::string kLong(30000, 'l'), kLonger(70000, 'L');

// A file, and what is done with it before the update.
struct Kind {
  const char* name;
  std::string before;
  std::function<void(CRezFmt&)> change;
};

void ChangeBody(CRezFmt& source, const char* type, int number, const std::string& body) {
  const ZRHandle handle = source.GetResource(test::Code(type), number);
  ASSERT_EQ(ZRSetHandleBytes(body.data(), handle, static_cast<uint32_t>(body.size())), ZRErrNone);
  ASSERT_EQ(source.ChangedResource(test::Code(type), number), ZRErrNone);
}

void AddBody(CRezFmt& source, const char* type, int number, const std::string& body) {
  ASSERT_EQ(source.AddResource(test::HandleOf(body), test::Code(type), number,
                               test::Name("new name").get()),
            ZRErrNone);
}

std::vector<Kind> Kinds() {
  const std::string three = ForkBuilder()
                                .Add("TEXT", 1, kLong, "first")
                                .Add("STR#", 2, "second", "2")
                                .Add("TEXT", 3, "third")
                                .Build();
  return {
      {"added", three, [](CRezFmt& s) { AddBody(s, "NEW ", 9, "new"); }},
      {"added, long", three, [](CRezFmt& s) { AddBody(s, "NEW ", 9, kLonger); }},
      {"the first one, grown", three, [](CRezFmt& s) { ChangeBody(s, "TEXT", 1, kLonger); }},
      {"the first one, shrunk", three, [](CRezFmt& s) { ChangeBody(s, "TEXT", 1, "x"); }},
      {"the same length", three, [](CRezFmt& s) { ChangeBody(s, "STR#", 2, "dnoces"); }},
      {"the same length, long", three,
       [](CRezFmt& s) { ChangeBody(s, "TEXT", 1, std::string(30000, 'M')); }},
      {"removed", three,
       [](CRezFmt& s) { ASSERT_EQ(s.RemoveResource(test::Code("TEXT"), 1), ZRErrNone); }},
      {"all removed", three,
       [](CRezFmt& s) {
         for (const int n : {1, 3}) ASSERT_EQ(s.RemoveResource(test::Code("TEXT"), n), ZRErrNone);
         ASSERT_EQ(s.RemoveResource(test::Code("STR#"), 2), ZRErrNone);
       }},
      {"renamed", three,
       [](CRezFmt& s) {
         ASSERT_EQ(s.SetResourceName(test::Code("TEXT"), 3, test::Name("third").get()), ZRErrNone);
       }},
      {"everything at once", three,
       [](CRezFmt& s) {
         AddBody(s, "NEW ", 9, kLong);
         ChangeBody(s, "TEXT", 3, kLonger);
         ASSERT_EQ(s.RemoveResource(test::Code("STR#"), 2), ZRErrNone);
       }},
      {"an empty file", ForkBuilder().Build(), [](CRezFmt& s) { AddBody(s, "NEW ", 9, "new"); }},
  };
}

class ResourceFileUpdate : public test::ResourceFileTest {
 protected:
  void Begin(const Kind& kind) {
    ASSERT_EQ(OpenBytes(kind.before), ZRErrNone);
    kind.change(*source_);
  }
  // The file after an update that nothing stops, and what it changes on the way.
  std::string Finished(const Kind& kind) {
    Begin(kind);
    file_->Arm({});
    EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
    changes_ = file_->changes();
    return test::WithoutHandles(File());
  }
  std::vector<FileChange> changes_;
};

TEST_F(ResourceFileUpdate, StoppedAtEveryChange) {
  for (const Kind& kind : Kinds()) {
    SCOPED_TRACE(kind.name);
    const std::string finished = Finished(kind);
    const auto old_entries = test::ReadFork(kind.before).entries;
    const auto new_entries = test::ReadFork(finished).entries;
    ASSERT_NE(old_entries, new_entries);
    const int changes = static_cast<int>(changes_.size());
    ASSERT_GE(changes, 8);
    bool was_new = false;
    for (int n = 1; n <= changes; ++n) {
      for (const int32_t torn : {0, 1, 15000, 1 << 30}) {
        for (const bool once : {false, true}) {
          SCOPED_TRACE(testing::Message() << "change " << n << ", torn " << torn << once);
          Begin(kind);
          file_->Arm({n, torn, once});
          const ZRError error = source_->UpdateFile();
          EXPECT_NE(error, ZRErrNone);
          ASSERT_TRUE(file_->stopped());
          const std::string left = File();
          if (n == 1 && once) {
            EXPECT_EQ(error, ZRErrDiskFull);
            EXPECT_EQ(left, kind.before) << "without room it is as it was";
          }
          const auto entries = Reread(left);
          ASSERT_TRUE(entries == old_entries || entries == new_entries);
          EXPECT_TRUE(!was_new || torn > 0 || once || entries == new_entries)
              << "once new, always new";
          if (torn == 0 && !once) was_new = entries == new_entries;
          if (left.size() == kind.before.size() && entries == old_entries) {
            EXPECT_EQ(left, kind.before) << "nothing else of the file has changed";
          }
          if (once) {
            // The source goes on serving, and the next try ends as if nothing had happened.
            EXPECT_TRUE(source_->IsDirty());
            EXPECT_EQ(Served(), new_entries);
            EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
            EXPECT_EQ(test::WithoutHandles(File()), finished);
            continue;
          }
          // Another process changes what it finds: the file is in its right place again.
          ASSERT_EQ(Open(), ZRErrNone);
          AddBody(*source_, "LAST", 1, "last");
          EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
          const test::ForkContents after = test::ReadFork(File());
          EXPECT_EQ(after.error, "");
          EXPECT_EQ(after.data_offset, 256u);
          auto expected = entries;
          expected.push_back({"LAST", 1, "new name", "last"});
          EXPECT_EQ(after.entries, expected);
        }
      }
    }
    EXPECT_TRUE(was_new);
  }
}

// A machine that loses its power keeps what was flushed, and any part of what was written since.
TEST_F(ResourceFileUpdate, WhatWasNotFlushedMayBeLost) {
  for (const Kind& kind : Kinds()) {
    SCOPED_TRACE(kind.name);
    const std::string finished = Finished(kind);
    const auto old_entries = test::ReadFork(kind.before).entries;
    const auto new_entries = test::ReadFork(finished).entries;
    auto apply = [](std::string& disk, const FileChange& change) {
      const auto place = static_cast<size_t>(change.place);
      if (change.kind == FileChange::kCut) disk.resize(place);
      if (change.kind != FileChange::kWrite) return;
      disk.resize(std::max(disk.size(), place + change.bytes.size()));
      disk.replace(place, change.bytes.size(), change.bytes);
    };
    std::string disk = kind.before;
    std::vector<FileChange> pending;
    int states = 0;
    auto end = [&] {
      ASSERT_LE(pending.size(), 8u);
      for (uint32_t kept = 0; kept < 1u << pending.size(); ++kept) {
        std::string lost = disk;
        for (size_t i = 0; i < pending.size(); ++i) {
          if (kept >> i & 1) apply(lost, pending[i]);
        }
        const auto entries = Reread(lost);
        ASSERT_TRUE(entries == old_entries || entries == new_entries) << kept;
        ++states;
      }
      for (const FileChange& change : pending) apply(disk, change);
      pending.clear();
    };
    for (const FileChange& change : changes_) {
      if (change.kind == FileChange::kFlush) {
        end();
      } else {
        pending.push_back(change);
      }
    }
    end();
    EXPECT_EQ(test::WithoutHandles(disk), finished);
    EXPECT_GE(states, 10);
  }
}

TEST_F(ResourceFileUpdate, WithoutWorkNothingIsWritten) {
  ASSERT_EQ(OpenBytes(Kinds()[0].before), ZRErrNone);
  file_->Arm({});
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
  EXPECT_TRUE(file_->changes().empty());
}

// A range that holds no second image is written over; when a write fails it is put back.
TEST_F(ResourceFileUpdate, WrittenOver) {
  const std::string behind = "behind the fork";
  for (const Kind& kind : Kinds()) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << kind.name << " " << n);
      Renew();
      const std::string room(105000, '\0');
      Put(kind.before + room + behind);
      source_->SetForkRange(0, static_cast<int64_t>(kind.before.size() + room.size()));
      ASSERT_EQ(OpenInto(*source_, false), ZRErrNone);
      kind.change(*source_);
      file_->Arm({n, 100, true});
      const ZRError error = source_->UpdateFile();
      const bool stopped = file_->stopped();
      const auto new_entries = Served();
      EXPECT_EQ(error != ZRErrNone, stopped);
      Renew();
      const std::string left = File();
      EXPECT_EQ(left.substr(left.size() - behind.size()), behind);
      EXPECT_EQ(left.size(), kind.before.size() + room.size() + behind.size());
      const auto entries = Reread(left.substr(0, left.size() - behind.size()));
      ASSERT_TRUE(entries == new_entries ||
                  (stopped && entries == test::ReadFork(kind.before).entries));
      if (!stopped) break;
      ASSERT_LT(n, 30);
    }
  }
}

// Lines of the log at the levels 5 and 4: what is planned, what goes where in the end, the new map.
TEST_F(ResourceFileUpdate, TellsWhatItDoes) {
  static std::vector<std::string> lines;
  ASSERT_EQ(OpenBytes(ForkBuilder()
                          .Add("TEXT", 1, "alpha")
                          .Add("TEXT", 2, "beta")
                          .Add("TEXT", 3, "gamma")
                          .Build()),
            ZRErrNone);
  ASSERT_EQ(source_->RemoveResource(test::Code("TEXT"), 1), ZRErrNone);
  ChangeBody(*source_, "TEXT", 2, "BB");
  ASSERT_EQ(Add("TEXT", 4, "new"), ZRErrNone);
  lines.clear();
  qv::SetLeveledLogHook([](int32_t level, const char* format, va_list arguments) {
    char text[300];
    FormatTextList(text, format, arguments);
    lines.push_back(std::to_string(level) + text);
  });
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
  qv::SetLeveledLogHook(nullptr);
  EXPECT_THAT(lines, testing::ElementsAre("5CRezFmt:     1: O=   256 l=     5",
                                          "5CRezFmt:     2: O=   265 l=     4",
                                          "5CRezFmt:     3: O=   273 l=     5",
                                          "5CRezFmt:     4: ", "5CRezFmt:     1: Delref\n",
                                          "5CRezFmt: Replace 2 bytes at 260", "5CRezFmt: L=5",
                                          "5CRezFmt: Move 5 from 277 to 266", "5CRezFmt: R:5@277 ",
                                          "5CRezFmt: W:5@266 ", "5CRezFmt: Write 3 bytes @271",
                                          "4CRezFmt: Update ResMap: Map=74@278 Data=22@256"));
}

// --- limits ---

// A body that would begin behind 24 bits is left out, the rest is written.
TEST_F(ResourceFileUpdate, TheLimitOfOffsets) {
  ASSERT_EQ(Create(), ZRErrNone);
  // The next one begins at 0xFFFFFE, and one more at 0x1000003.
  const std::string big(0xFFFFFA, 'b');
  ASSERT_EQ(Add("BIG ", 1, big), ZRErrNone);
  ASSERT_EQ(Add("BIG ", 2, "x"), ZRErrNone);
  ASSERT_EQ(source_->UpdateFile(), ZRErrNone);
  ASSERT_EQ(Add("BIG ", 3, "left out", "name"), ZRErrNone);
  ASSERT_EQ(source_->SetResourceName(test::Code("BIG "), 2, test::Name("two").get()), ZRErrNone);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(source_->UpdateFile(), ZRErrResTooLarge);
    EXPECT_TRUE(source_->IsDirty());
    EXPECT_EQ(Get("BIG ", 3), "left out") << "in memory it stays";
  }
  const std::string file = File();
  const test::ForkContents contents = test::ReadFork(file);
  EXPECT_EQ(contents.error, "");
  ASSERT_EQ(contents.entries.size(), 3u);
  EXPECT_TRUE(contents.entries[0].body == big);
  EXPECT_EQ(contents.entries[1], (ForkEntry{"BIG ", 2, "two", "x"}));
  EXPECT_EQ(contents.entries[2], (ForkEntry{"BIG ", 3, "name", "(none)"}));
  ASSERT_EQ(source_->RemoveResource(test::Code("BIG "), 1), ZRErrNone);
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone) << "now there is room";
  EXPECT_EQ(test::ReadFork(File()).entries[1].body, "left out");
}

// Offsets in the map have 16 bits: what would pass them is refused, and nothing is changed.
TEST_F(ResourceFileUpdate, TheLimitsOfTheMap) {
  ASSERT_EQ(Create(), ZRErrNone);
  int added = 0;
  ZRError error = ZRErrNone;
  while ((error = Add("TEXT", added, "")) == ZRErrNone) ++added;
  EXPECT_EQ(error, ZRErrResTooLarge);
  EXPECT_EQ(added, (65535 - 30 - 8) / 12);
  ASSERT_EQ(source_->UpdateFile(), ZRErrNone);
  ASSERT_EQ(Open(), ZRErrNone);
  EXPECT_EQ(Served().size(), static_cast<size_t>(added));
  EXPECT_EQ(Add("NEW ", 1, ""), ZRErrResTooLarge);
  ASSERT_EQ(source_->RemoveResource(test::Code("TEXT"), 0), ZRErrNone);
  ASSERT_EQ(source_->UpdateFile(), ZRErrNone);
  EXPECT_EQ(Add("TEXT", 0, ""), ZRErrNone) << "one more where one has gone";

  // Names: the offset of the last one is 65534 at most.
  const std::string name(255, 'n');
  int named = 0;
  while ((error = source_->SetResourceName(test::Code("TEXT"), named + 1,
                                           test::Name(name).get())) == ZRErrNone) {
    ++named;
  }
  EXPECT_EQ(error, ZRErrResTooLarge);
  EXPECT_EQ(named, 256);
  EXPECT_EQ(Add("TEXT", -1, "", "name"), ZRErrResTooLarge);
  ASSERT_EQ(source_->UpdateFile(), ZRErrNone);
  const auto entries = test::ReadFork(File()).entries;
  EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                          [&](const ForkEntry& entry) { return entry.name == name; }),
            256);
  EXPECT_EQ(Reread(File()).size(), entries.size());
}

}  // namespace
