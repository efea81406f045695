// Resource files in their right use: every step is compared with an independent reading of the
// file.
#include "resources/resource_file.h"

#include <map>
#include <random>

#include "files/forks.h"
#include "resources/resource_chain.h"
#include "tests/resources/resource_file_fixture.h"

namespace {

using test::Big;
using test::ForkBuilder;
using test::ForkEntry;
using test::ForkModel;
using test::ReadFork;

const std::string kOne = ForkBuilder().Add("TEXT", 1, "one").Build(),
                  kTwo = ForkBuilder().Add("TEXT", 1, "one").Add("TEXT", 2, "two").Build();

class ResourceFile : public test::ResourceFileTest {
 protected:
  // The file is, but for handles, what the model says, and another source reads the same.
  void ExpectFile(ForkModel& model) {
    ASSERT_EQ(source_->UpdateFile(), ZRErrNone);
    const std::string file = File();
    const test::ForkContents contents = ReadFork(file);
    ASSERT_EQ(contents.error, "");
    EXPECT_EQ(contents.entries, model.Entries());
    EXPECT_EQ(test::WithoutHandles(file), model.Update());
    EXPECT_EQ(Served(), model.Entries());
    EXPECT_EQ(Reread(file), model.Entries());
    EXPECT_FALSE(source_->IsDirty());
  }
};

TEST_F(ResourceFile, ANewFile) {
  ASSERT_EQ(Create(), ZRErrNone);
  const std::string header = Big(256, 4) + Big(256, 4) + Big(0, 4) + Big(30, 4);
  EXPECT_EQ(File(), header + std::string(240, '\0') + header + std::string(8, '\0') + Big(28, 2) +
                        Big(30, 2) + Big(0xFFFF, 2));
  EXPECT_EQ(source_->code_page(), kUtf8);
  EXPECT_FALSE(source_->IsDirty());
  EXPECT_EQ(Create(), ZRErrExists);
  EXPECT_EQ(File().size(), 286u) << "an existing file is not touched";
}

// Everything at random, by a seed that is said, against the model; now and then the lowest and
// highest numbers, and the longest names.
TEST_F(ResourceFile, RandomChanges) {
  for (const uint32_t seed : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    auto below = [&random](int limit) { return static_cast<int>(random() % limit); };
    Renew();
    test::EmptyFolder(folder_);
    ASSERT_EQ(Create(), ZRErrNone);
    ForkModel model;
    ExpectFile(model);
    const char* const kTypes[] = {"TEXT", "STR#", "icon", "ICON", "a\xFF\1 "};
    int names = 0;
    auto new_name = [&] {
      std::string name = "name " + std::to_string(++names);
      if (below(8) == 0) name.resize(255, 'n');
      return name;
    };
    auto body = [&] {
      return std::string(static_cast<size_t>(below(4) == 0 ? below(30000) : below(40)),
                         static_cast<char>('a' + below(26)));
    };
    for (int step = 0; step < 400; ++step) {
      SCOPED_TRACE(step);
      const std::vector<ForkEntry> all = model.Entries();
      const int action = all.empty() ? 0 : below(8);
      if (action <= 1) {
        const std::string type = kTypes[below(5)];
        const int number = below(20) ? below(60) - 30 : below(2) ? 32767 : -32768;
        const bool taken = std::any_of(all.begin(), all.end(), [&](const ForkEntry& entry) {
          return entry.type == type && entry.number == number;
        });
        if (taken) continue;
        const std::string name = below(2) ? new_name() : "";
        const std::string bytes = body();
        ASSERT_EQ(Add(type, number, bytes, name), ZRErrNone);
        model.Add(type, number, bytes, name);
        continue;
      }
      const ForkEntry& entry = all[static_cast<size_t>(below(static_cast<int>(all.size())))];
      if (action <= 3) {
        const std::string bytes = body();
        ASSERT_EQ(Change(entry.type, entry.number, bytes), ZRErrNone);
        model.Change(entry.type, entry.number, bytes);
      } else if (action == 4) {
        const std::string name = below(3) ? new_name() : "";
        ASSERT_EQ(
            source_->SetResourceName(test::Code(entry.type), entry.number, test::Name(name).get()),
            ZRErrNone);
        model.Rename(entry.type, entry.number, name);
      } else if (action == 5) {
        ASSERT_EQ(source_->RemoveResource(test::Code(entry.type), entry.number), ZRErrNone);
        model.Remove(entry.type, entry.number);
      } else if (action == 6) {
        source_->PurgeResources();
        ZRHandle handle = source_->GetResource(test::Code(entry.type), entry.number);
        ASSERT_EQ(test::BytesOf(handle), entry.body);
        if (below(2)) {
          EXPECT_EQ(source_->ReleaseResource(&handle), ZRErrNone);
        }
      } else {
        ExpectFile(model);
        if (below(3) == 0) {
          ASSERT_EQ(Open(), ZRErrNone);
        }
      }
      ASSERT_EQ(Get(entry.type, entry.number) == "(none)", action == 5);
      ASSERT_TRUE(source_->IsDirty() || action >= 6);
    }
    ExpectFile(model);
  }
}

// --- bodies in memory ---

TEST_F(ResourceFile, HandlesAndCopies) {
  ASSERT_EQ(OpenBytes(ForkBuilder().Add("TEXT", 1, "one", "first").Add("TEXT", 2, "two").Build()),
            ZRErrNone);
  const auto type = test::Code("TEXT");
  const ZRHandle one = source_->GetResource(type, 1);
  EXPECT_EQ(source_->GetNamedResource(type, test::Name("first").get()), one);
  EXPECT_EQ(source_->GetNamedResource(type, test::Name("First").get()), 0u);
  EXPECT_EQ(source_->GetNamedResource(type, nullptr), 0u);
  EXPECT_EQ(source_->GetResource(test::Code("text"), 1), 0u) << "no folding";
  ZRHandle copy = source_->LoadResourceCopy(type, 1);
  EXPECT_EQ(copy, one) << "the source gives it up";
  EXPECT_NE(source_->GetResource(type, 1), one);
  EXPECT_EQ(source_->ReleaseResource(&copy), ZRErrResNotFound) << "not the source's any more";
  ZRDisposeHandle(&copy);

  ZRHandle changed = source_->GetResource(type, 2);
  ASSERT_EQ(Change("TEXT", 2, "changed"), ZRErrNone);
  copy = source_->LoadNamedResourceCopy(type, test::Name("first").get());
  ZRDisposeHandle(&copy);
  copy = source_->LoadResourceCopy(type, 2);
  EXPECT_NE(copy, changed) << "a changed body stays the source's";
  EXPECT_EQ(test::BytesOf(copy), "changed");
  ZRDisposeHandle(&copy);
  EXPECT_EQ(source_->ReleaseResource(&changed), ZRErrNone);
  EXPECT_EQ(changed, 0u);
  EXPECT_EQ(Get("TEXT", 2), "changed") << "and is kept";
  source_->PurgeResources();
  EXPECT_EQ(Get("TEXT", 2), "changed") << "and not purged";
  EXPECT_EQ(source_->GetResourceSize(type, 2), 7);
  EXPECT_EQ(source_->GetResourceSize(type, 1), 3);
  EXPECT_EQ(source_->GetResourceSize(type, 3), qv::kNoResource);

  EXPECT_EQ(source_->ReloadResource(source_->GetResource(type, 2)), ZRErrNone);
  EXPECT_EQ(Get("TEXT", 2), "two") << "as in the file";
  EXPECT_EQ(source_->ReloadResource(12345), ZRErrResNotFound);
  ASSERT_EQ(Add("NEW ", 1, "not in the file"), ZRErrNone);
  EXPECT_EQ(source_->ReloadResource(source_->GetResource(test::Code("NEW "), 1)), ZRErrResNotFound);
  EXPECT_EQ(Get("NEW ", 1), "not in the file");
}

TEST_F(ResourceFile, PurgedBodiesComeBack) {
  ASSERT_EQ(OpenBytes(kTwo), 0);
  const ZRHandle one = source_->GetResource(test::Code("TEXT"), 1);
  const ZRHandle two = source_->GetResource(test::Code("TEXT"), 2);
  ASSERT_NE(ZRLockHandle(two), nullptr);
  source_->PurgeResources();
  EXPECT_EQ(ZRIsHandlePurged(one), 1);
  EXPECT_EQ(ZRIsHandlePurged(two), 0) << "it is locked";
  ZRUnlockHandle(two);
  EXPECT_EQ(source_->GetResource(test::Code("TEXT"), 1), one);
  EXPECT_EQ(test::BytesOf(one), "one");
  ZRPurgeHandles(0x7FFFFFFF);
  EXPECT_EQ(test::BytesOf(one), "one") << "a handle that was given out is not purged by others";
}

// A caller disposes of what is not his.
TEST_F(ResourceFile, DeadHandles) {
  ASSERT_EQ(OpenBytes(kTwo), 0);
  ZRHandle one = source_->GetResource(test::Code("TEXT"), 1);
  ZRDisposeHandle(&one);
  EXPECT_EQ(Get("TEXT", 1), "one") << "loaded again";
  const std::string before = File();
  ASSERT_EQ(Change("TEXT", 1, "changed"), ZRErrNone);
  ASSERT_EQ(Change("TEXT", 2, "long enough to grow"), ZRErrNone);
  one = source_->GetResource(test::Code("TEXT"), 1);
  ZRDisposeHandle(&one);
  EXPECT_EQ(source_->UpdateFile(), ZRErrMemHandle);
  EXPECT_EQ(File(), before) << "before the first write";
  EXPECT_EQ(source_->GetResource(test::Code("TEXT"), 1), 0u) << "the change is lost, and it shows";
  EXPECT_EQ(source_->RemoveResource(test::Code("TEXT"), 1), ZRErrNone);
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone) << "removed, it is in nobody's way";
  EXPECT_EQ(ReadFork(File()).entries,
            (std::vector<ForkEntry>{{"TEXT", 2, "", "long enough to grow"}}));

  ZRHandle own = source_->GetResource(test::Code("TEXT"), 2);
  EXPECT_EQ(source_->AddResource(own, test::Code("TEXT"), 3, nullptr), ZRErrParam) << "twice";
  EXPECT_EQ(source_->AddResource(0, test::Code("TEXT"), 3, nullptr), ZRErrParam);
  EXPECT_EQ(Add("TEXT", 32768, ""), ZRErrParam);
  EXPECT_EQ(source_->ChangedResource(test::Code("TEXT"), 9), ZRErrResNotFound);
}

// While one task reads a body another one does something with the same resource.
TEST_F(ResourceFile, TwoTasksAtOnce) {
  const auto type = test::Code("TEXT");
  ASSERT_EQ(OpenBytes(kTwo), ZRErrNone);
  ZRHandle others = 0;
  file_->before_read = [&] { others = source_->GetResource(type, 1); };
  EXPECT_EQ(source_->GetResource(type, 1), others) << "the first one stays";
  EXPECT_NE(others, 0u);

  ASSERT_EQ(OpenBytes(kTwo), ZRErrNone);
  file_->before_read = [&] { EXPECT_EQ(source_->RemoveResource(type, 1), ZRErrNone); };
  EXPECT_EQ(source_->GetResource(type, 1), 0u) << "it is gone";
  EXPECT_EQ(Get("TEXT", 2), "two");

  ASSERT_EQ(OpenBytes(kTwo), ZRErrNone);
  file_->before_read = [&] {
    EXPECT_EQ(source_->RemoveResource(type, 1), ZRErrNone);
    EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
  };
  EXPECT_EQ(Get("TEXT", 2), "two") << "it was moved meanwhile";
}

// --- names and walks ---

TEST_F(ResourceFile, NamesAndWalks) {
  ASSERT_EQ(OpenBytes(ForkBuilder()
                          .Add("STR#", 3, "", "three")
                          .Add("STR#", 1, "")
                          .Add("TEXT", 7, "", "seven")
                          .Add("STR#", 2, "", "two")
                          .Build()),
            ZRErrNone);
  const auto list = test::Code("STR#");
  Str255 name;
  int32_t number = 0;
  EXPECT_EQ(source_->GetResourceName(list, 2, name), ZRErrNone);
  EXPECT_EQ(std::string(name, name + 4), "\3two");
  EXPECT_EQ(source_->GetResourceName(list, 1, name), ZRErrNone);
  EXPECT_EQ(name[0], 0);
  EXPECT_EQ(source_->GetResourceName(list, 7, name), ZRErrResNotFound);
  EXPECT_EQ(source_->GetResourceNumberByName(list, test::Name("three").get(), &number), ZRErrNone);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(source_->GetResourceNumberByName(list, test::Name("seven").get(), &number),
            ZRErrResNotFound);
  EXPECT_EQ(source_->GetResourceNumberByName(list, nullptr, &number), ZRErrParam);
  EXPECT_EQ(source_->GetResourceNumberByName(list, name, nullptr), ZRErrParam);
  EXPECT_EQ(source_->SetResourceName(list, 9, name), ZRErrResNotFound);

  struct Walk {
    std::string seen;
    int answer = 0;
  };
  const qv::SourceCallback visit = [](qv::ResourceTypeCode, int32_t n, const uint8_t*, CodePage cp,
                                      void* data) {
    auto& walk = *static_cast<Walk*>(data);
    walk.seen += std::to_string(n) + (cp == kUtf8 ? " " : "? ");
    return walk.answer;
  };
  const struct {
    const char* type;
    int answer;
    ZRError error;
    const char* seen;
  } kRows[] = {{"STR#", 0, ZRErrNone, "3 1 2 "},  {"STR#", 1, ZRErrNone, "3 "},
               {"STR#", 2, ZRErrNone, "3 1 2 "},  {"str#", 0, ZRErrResNotFound, ""},
               {"ABCD", 0, ZRErrResNotFound, ""}, {"TEXT", 0, ZRErrNone, "7 "}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.type);
    Walk walk{"", row.answer};
    EXPECT_EQ(source_->EnumResources(test::Code(row.type), visit, &walk), row.error);
    EXPECT_EQ(walk.seen, row.seen);
  }
  std::string types;
  const qv::TypeCallback visit_type = [](qv::ResourceTypeCode type, void* data) {
    *static_cast<std::string*>(data) += Big(type, 4);
    return *static_cast<std::string*>(data) == "STR#" ? 0 : 1;
  };
  EXPECT_EQ(source_->EnumTypes(visit_type, &types), ZRErrNone);
  EXPECT_EQ(types, "STR#TEXT");
  // The callback takes away what it is called for.
  EXPECT_EQ(source_->EnumResources(
                list,
                [](qv::ResourceTypeCode type, int32_t n, const uint8_t*, CodePage, void* data) {
                  return int{static_cast<CRezFmt*>(data)->RemoveResource(type, n)};
                },
                source_.get()),
            ZRErrNone);
  EXPECT_EQ(Served().size(), 2u) << "each second one";
}

// --- the file ---

TEST_F(ResourceFile, OpenCloseReopen) {
  CRezFmt closed;
  EXPECT_EQ(closed.Close(), ZRErrParam);
  EXPECT_EQ(closed.Reopen(), ZRErrParam);
  EXPECT_EQ(closed.Open(nullptr, true), ZRErrParam);
  EXPECT_EQ(closed.UpdateFile(), ZRErrNotFound);
  EXPECT_EQ(closed.EnumTypes([](qv::ResourceTypeCode, void*) { return 0; }, nullptr), ZRErrNotOpen);
  EXPECT_EQ(closed.GetResource(test::Code("TEXT"), 1), 0u);
  EXPECT_EQ(closed.RemoveResource(test::Code("TEXT"), 1), ZRErrResNotFound);
  EXPECT_EQ(closed.AddResource(1, test::Code("TEXT"), 1, nullptr), ZRErrNotOpen);
  EXPECT_FALSE(closed.IsDirty());
  EXPECT_EQ(Open(), ZRErrNotFound) << "no such file";

  ASSERT_EQ(OpenBytes(kOne), ZRErrNone);
  ASSERT_EQ(Change("TEXT", 1, "lost"), ZRErrNone);
  EXPECT_EQ(source_->Reopen(), ZRErrNone);
  EXPECT_EQ(Get("TEXT", 1), "one");
  ASSERT_EQ(Change("TEXT", 1, "kept in memory"), ZRErrNone);
  EXPECT_NE(source_->UpdateFile(), ZRErrNone) << "open for reading only";
  EXPECT_EQ(Get("TEXT", 1), "kept in memory");
  EXPECT_TRUE(source_->IsDirty());
  EXPECT_EQ(ReadFork(File()).entries[0].body, "one");

  EXPECT_EQ(source_->Close(), ZRErrNone);
  EXPECT_EQ(Get("TEXT", 1), "(none)");
  EXPECT_EQ(source_->Open(nullptr, false), ZRErrNone);
  {
    // Another one reads: no writing then, but reading.
    CRezFmt reader;
    EXPECT_EQ(source_->Close(), ZRErrNone);
    CDiskFile* file = NewFile();
    EXPECT_EQ(reader.Open(&file, true), ZRErrNone);
    EXPECT_EQ(source_->Open(nullptr, false), ZRErrOpenFailed);
    EXPECT_EQ(Get("TEXT", 1), "one");
  }
  EXPECT_EQ(source_->Close(), ZRErrNone);
  Put("no resource file");
  EXPECT_EQ(source_->Reopen(), ZRErrResDamaged);
}

TEST_F(ResourceFile, CodePage) {
  ASSERT_EQ(OpenBytes(ForkBuilder().Add("ZRcs", 0, Big(1250, 2)).Build()), ZRErrNone);
  EXPECT_EQ(source_->code_page(), 1250);
  EXPECT_EQ(source_->SetCodePage(932), ZRErrNone);
  EXPECT_EQ(ReadFork(File()).entries[0].body, Big(932, 2));
  ASSERT_EQ(OpenBytes(ForkBuilder().Add("ZRcs", 0, "x").Add("ZRcs", 1, "yy").Build()), ZRErrNone);
  EXPECT_EQ(source_->code_page(), kUtf8) << "too short";
  ASSERT_EQ(OpenBytes(ForkBuilder().Build()), ZRErrNone);
  EXPECT_EQ(source_->SetCodePage(437), ZRErrNone);
  ASSERT_EQ(Open(), ZRErrNone);
  EXPECT_EQ(source_->code_page(), 437);
  CRezFmt none;
  EXPECT_EQ(none.SetCodePage(437), ZRErrNotOpen);
  EXPECT_EQ(none.code_page(), 437);
}

// A caller's own open file.
TEST_F(ResourceFile, Attach) {
  Put(kOne);
  CDiskFile file;
  ASSERT_EQ(file.SetPath(path_.c_str()), ZRErrNone);
  Renew();
  EXPECT_EQ(source_->Attach(nullptr), ZRErrParam);
  EXPECT_EQ(source_->Attach(&file), ZRErrNotOpen);
  ASSERT_EQ(file.Open(kFileRead | kFileWrite, kShareAll), ZRErrNone);
  EXPECT_EQ(source_->Attach(&file), ZRErrNone);
  EXPECT_EQ(Get("TEXT", 1), "one");
  EXPECT_EQ(source_->Close(), ZRErrParam) << "not the source's file";
  EXPECT_EQ(Change("TEXT", 1, "changed"), ZRErrNone);
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
  Renew();
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(ReadFork(File()).entries[0].body, "changed");
}

// What stands around a fork in a file stays.
TEST_F(ResourceFile, ForkRanges) {
  const std::string before(1000, 'b'), behind(500, 'e');
  const auto size = static_cast<int64_t>(kTwo.size());
  const struct {
    const char* name;
    int64_t room;  // of the range beyond the fork; -1: no given length
    const char* body;
    ZRError error;
  } kRows[] = {{"to the end of the file", -1, "grown to more", ZRErrNone},
               {"the same length", 0, "ONE", ZRErrNone},
               {"shorter", 0, "1", ZRErrNone},
               {"longer than the range", 0, "longer", ZRErrResTooLarge},
               {"room for it", 10, "longer", ZRErrNone},
               {"room for two images", 2000, "longer", ZRErrNone}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const bool given = row.room >= 0;
    const std::string room(given ? static_cast<size_t>(row.room) : 0, '\0');
    const std::string old = before + kTwo + room + (given ? behind : "");
    Renew();
    Put(old);
    source_->SetForkRange(1000, given ? size + row.room : -1);
    ASSERT_EQ(OpenInto(*source_, false), ZRErrNone);
    ASSERT_EQ(Change("TEXT", 1, row.body), ZRErrNone);
    EXPECT_EQ(source_->UpdateFile(), row.error);
    Renew();
    const std::string now = File();
    if (row.error != ZRErrNone) {
      EXPECT_EQ(now, old);
      continue;
    }
    EXPECT_EQ(now.substr(0, 1000), before);
    EXPECT_EQ(now.substr(now.size() - (given ? 500 : 0)), given ? behind : "");
    if (given) {
      EXPECT_EQ(now.size(), old.size());
    }
    const auto contents =
        ReadFork(now.substr(1000, given ? kTwo.size() + room.size() : ~0u), given);
    EXPECT_EQ(contents.error, "");
    std::map<int, std::string> bodies;
    for (const ForkEntry& entry : contents.entries) bodies[entry.number] = entry.body;
    EXPECT_EQ(bodies, (std::map<int, std::string>{{1, row.body}, {2, "two"}}));
    Renew();
    source_->SetForkRange(1000, given ? size + row.room : -1);
    EXPECT_EQ(OpenInto(*source_, true), ZRErrNone);
    EXPECT_EQ(Get("TEXT", 1), row.body);
  }
}

TEST_F(ResourceFile, Information) {
  Renew();
  file_ = NewFile();
  const uint32_t time = 3'500'000'000;
  ASSERT_EQ(source_->Create(file_, qv::kEntryReadOnly | qv::kEntryArchive, time), ZRErrNone);
  EXPECT_EQ(source_->Close(), ZRErrNone);
  qv::FolderEntry entry;
  EXPECT_EQ(file_->GetInfo(&entry), ZRErrNone);
  EXPECT_EQ(entry.attributes & qv::kEntryReadOnly, qv::kEntryReadOnly);
  EXPECT_NEAR(entry.modified, time, 2) << "the file system's own steps";
  entry.attributes = qv::kEntryArchive;
  entry.modified = 0;
  EXPECT_EQ(file_->SetInfo(entry), ZRErrNone);
  EXPECT_EQ(file_->GetInfo(&entry), ZRErrNone);
  EXPECT_EQ(entry.attributes & qv::kEntryReadOnly, 0u);
  EXPECT_NEAR(entry.modified, time, 2) << "a time of 0 is none";
}

// Type and creator lie in a stream, which not every volume has.
TEST_F(ResourceFile, TypeAndCreator) {
  Renew();
  CDiskFile* file = NewFile();
  const ZRError error = source_->Create(file, 0x54455854, 0x51564D41, 0, 0);
  if (error != ZRErrNone) {
    EXPECT_TRUE(test::OnWindows()) << error;
    EXPECT_FALSE(test::Exists(path_)) << "no file without them";
    EXPECT_FALSE(file->IsOpen());
    delete file;
    return;
  }
  uint32_t type = 0, creator = 0;
  EXPECT_EQ(ZRGetTypeCreator(path_.c_str(), &type, &creator), ZRErrNone);
  EXPECT_EQ(type, 0x54455854u);
  EXPECT_EQ(creator, 0x51564D41u);
}

// The other fork of a file, beside its data.
TEST_F(ResourceFile, InTheResourceFork) {
  Renew();
  CDiskFile* file = NewFile();
  file->SetFork(kResourceFork);
  if (source_->Create(file, 0, 0) != ZRErrNone) {
    EXPECT_TRUE(test::OnWindows());
    delete file;
    GTEST_SKIP() << "no streams on this volume";
  }
  EXPECT_EQ(Add("TEXT", 1, "in the fork"), ZRErrNone);
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
  EXPECT_EQ(source_->Reopen(), ZRErrNone);
  EXPECT_EQ(Get("TEXT", 1), "in the fork");
  EXPECT_EQ(test::ReadWholeFile(path_), "") << "the data are the file's own";
  uint64_t size = 0;
  EXPECT_EQ(ZRGetResourceForkSize(path_.c_str(), &size), ZRErrNone);
  EXPECT_EQ(size, 256u + 4 + 11 + 30 + 8 + 12);
}

TEST_F(ResourceFile, OpenedByThePath) {
  Put(kOne);
  qv::ResetResourceChainForTest();
  std::unique_ptr<CResSource> opened(ZROpenResourceFile(path_.c_str()));
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(test::BytesOf(opened->GetResource(test::Code("TEXT"), 1)), "one");
  opened.reset();  // while it is open nobody may write to the file
  Put(std::string(100, 'x'));
  for (const std::string& path :
       {path_, folder_ + "\\none.rez", folder_, std::string("none.rez")}) {
    EXPECT_EQ(ZROpenResourceFile(path.c_str()), nullptr) << path;
  }
}

}  // namespace
