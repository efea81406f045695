#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "files/disk_file.h"
#include "files/unique_names.h"
#include "tests/files/files_fixture.h"
#include "tests/files/trace_capture.h"

namespace {

class MovesTest : public test::FilesTest {
 protected:
  MovesTest() {
    for (const char* folder : {"\\from", "\\to"})
      CreateDirectoryA((folder_ + folder).c_str(), nullptr);
    Write("\\from\\file");
  }
  ~MovesTest() override {
    for (const char* folder : {"\\from", "\\to", "\\to\\from", "\\moved", "\\renamed"}) {
      test::EmptyFolder(folder_ + folder);
      RemoveDirectoryA((folder_ + folder).c_str());
    }
  }
  void Write(const std::string& name) { EXPECT_TRUE(test::WriteWholeFile(folder_ + name, "x")); }
  bool Has(const std::string& name) {
    return GetFileAttributesA((folder_ + name).c_str()) != INVALID_FILE_ATTRIBUTES;
  }
  // Sets the object's path below the test's folder; the file need not exist.
  void Go(CDiskFile& file, const std::string& name) {
    EXPECT_EQ(file.SetPath((folder_ + name).c_str()), ZRErrNone) << name;
  }
  // Where the object stands, below the test's folder.
  std::string Place(const CDiskFile& file) {
    char path[300];
    EXPECT_EQ(file.GetNativePath(path, sizeof path), ZRErrNone);
    return std::string(path).substr(folder_.size());
  }
  void ExpectMoved(const CDiskFile& file, const char* from, const char* to, const char* call) {
    EXPECT_EQ(Place(file), to);
    EXPECT_TRUE(Has(to));
    EXPECT_FALSE(Has(from));
    EXPECT_EQ(test::TraceCapture::Take(), std::string("ZRFile: ") + call + "(\"" + folder_ + from +
                                              "\" to \"" + folder_ + to + "\") -- OK\n");
  }
};

TEST_F(MovesTest, Moves) {
  const struct {
    const char *source, *destination, *place;
  } kRows[] = {
      {"\\from\\file", "\\from\\other", "\\from\\other"},
      {"\\from\\other", "\\to", "\\to\\other"},  // into a folder
      {"\\to\\other", "\\from\\file", "\\from\\file"},
      {"\\from", "\\to", "\\to\\from"},
      {"\\to\\from", "\\moved", "\\moved"},
  };
  const test::TraceCapture trace(qv::kTraceTransfers);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.place);
    CDiskFile source, destination;
    Go(source, row.source);
    Go(destination, row.destination);
    EXPECT_EQ(source.MoveTo(&destination, nullptr), ZRErrNone);
    ExpectMoved(source, row.source, row.place, "MOVEFILE");
  }
  EXPECT_TRUE(Has("\\moved\\file"));
}

TEST_F(MovesTest, MovesThatAreRefused) {
  const test::TraceCapture trace(qv::kTraceTransfers);
  CDiskFile source, destination;
  Go(source, "\\from\\file");
  Go(destination, "\\to\\file");
  EXPECT_EQ(source.MoveTo(nullptr, nullptr), ZRErrNotFound);
  Write("\\to\\file");
  EXPECT_EQ(source.MoveTo(&destination, nullptr), ZRErrNotFound) << "a file is no folder";
  EXPECT_THAT(trace.Take(), testing::EndsWith("FAILED!\n"));
  EXPECT_EQ(Place(source), "\\from\\file");
  EXPECT_EQ(source.Open(kFileRead, kShareAll), ZRErrNone);
  Go(destination, "\\to");
  EXPECT_EQ(source.MoveTo(&destination, nullptr), ZRErrFileOpen);
  source.Close();
  source.SetName("missing");
  EXPECT_EQ(source.MoveTo(&destination, nullptr), ZRErrNotFound);
}

TEST_F(MovesTest, UniqueNames) {
  CDiskFile destination;
  Go(destination, "\\to\\any");
  uint8_t chosen[kNameSize];
  for (char letter = 'A'; letter <= 'Z'; ++letter) Write(std::string("\\to\\") + letter);
  const test::TraceCapture trace(qv::kTraceTransfers);
  CDiskFile source;
  Go(source, "\\from\\file");
  ASSERT_EQ(source.MoveTo(&destination, chosen), ZRErrNone);
  const std::string name(chosen + 1, chosen + 1 + chosen[0]);
  EXPECT_THAT(name, testing::MatchesRegex(".A")) << "all single letters are taken";
  EXPECT_EQ(Place(source), "\\to\\" + name);
  EXPECT_EQ(trace.Take(), "ZRFile: MOVEUNIQ(\"" + folder_ + "\\from\\file\" to \"" + folder_ +
                              "\\to\\any\") --  as \"" + name + "\") -- OK\n");
  for (const bool folder : {false, true}) {
    CDiskFile made;
    Go(made, "\\from");
    EXPECT_EQ(made.CreateUnique(folder), ZRErrNone);
    EXPECT_EQ(ZRErrNone, folder ? made.RemoveFolder() : made.Delete());
    EXPECT_EQ(std::string(made.name()).size(), 1u);
  }
}

TEST_F(MovesTest, CandidatesInTheirOrder) {
  qv::UniqueNames names("C:\\");
  ASSERT_EQ(names.Next(), ZRErrNone);
  const std::string first = names.name();
  EXPECT_EQ(names.path(), "C:\\" + first);
  EXPECT_EQ(first.size(), 1u);
  EXPECT_TRUE(first[0] >= 'A' && first[0] <= 'Z') << first;
  std::vector<std::string> counters;
  for (int i = 0; i < 26 + 26 * 26 + 2; ++i) {
    ASSERT_EQ(names.Next(), ZRErrNone);
    ASSERT_EQ(names.name()[0], first[0]);
    counters.push_back(names.name() + 1);
  }
  const struct {
    size_t at;
    const char* counter;
  } kRows[] = {{0, "A"},   {1, "B"},   {25, "Z"},   {26, "AA"},   {27, "AB"},
               {51, "AZ"}, {52, "BA"}, {701, "ZZ"}, {702, "AAA"}, {703, "AAB"}};
  for (const auto& row : kRows) EXPECT_EQ(counters[row.at], row.counter);

  const std::string deep(253, 'd');
  qv::UniqueNames tight(deep.c_str());
  EXPECT_EQ(tight.Next(), ZRErrNone) << "255 bytes in all";
  EXPECT_EQ(tight.Next(), ZRErrTooLong);
  qv::UniqueNames full((deep + "d").c_str());
  EXPECT_EQ(full.Next(), ZRErrTooLong);
}

TEST_F(MovesTest, Renames) {
  const std::string drive_path = folder_ + "\\to\\elsewhere";
  const struct {
    const char* source;
    std::string name;
    const char* place;
  } kRows[] = {
      {"\\from\\file", "other", "\\from\\other"},
      {"\\from\\other", drive_path, "\\to\\elsewhere"},
      {"\\to\\elsewhere", folder_ + "\\from\\file", "\\from\\file"},
      {"\\from", "renamed", "\\renamed"},  // a folder
      {"\\renamed", "from", "\\from"},
  };
  const test::TraceCapture trace(qv::kTraceOpens);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.place);
    CDiskFile file;
    Go(file, row.source);
    EXPECT_EQ(file.Rename(row.name.c_str()), ZRErrNone);
    ExpectMoved(file, row.source, row.place, "RENAME");
  }
  CDiskFile file;
  Go(file, "\\from\\file");
  EXPECT_EQ(file.Rename("FILE"), ZRErrNone);
  EXPECT_EQ(trace.Take(),
            "Logic error: Request to move '" + folder_ + "\\from\\FILE' to original location.\n");
  EXPECT_EQ(Place(file), "\\from\\file");
  EXPECT_EQ(file.Rename(""), ZRErrUnexpected);
  EXPECT_EQ(file.Rename(nullptr), ZRErrUnexpected);
  EXPECT_EQ(file.Rename(std::string(250, 'n').c_str()), ZRErrTooLong);
  EXPECT_EQ(file.Rename("no\\such\\folder"), ZRErrNotFound);
  EXPECT_THAT(trace.Take(), testing::EndsWith("FAILED!\n"));
  Write("\\from\\taken");
  EXPECT_EQ(file.Rename("taken"), ZRErrExists);
  EXPECT_EQ(Place(file), "\\from\\file");
}

}  // namespace
