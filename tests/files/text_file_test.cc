#include "files/text_file.h"

#include <string>

#include "tests/files/file_bytes.h"
#include "tests/files/files_fixture.h"

namespace {

class TextFileTest : public test::FilesTest {
 protected:
  static std::string Line(CTextFile& file, ZRError expected = ZRErrNone) {
    char line[64];
    int32_t length = 63;
    EXPECT_EQ(file.ReadLine(line, &length), expected);
    return line;
  }
};

TEST_F(TextFileTest, WritesAndReadsAtItsMark) {
  CTextFile file;
  test::OpenNew(file, folder_ + "\\text", "");
  EXPECT_EQ(file.FileKind(), kTextFileKind);
  EXPECT_EQ(file.WriteText("x\ny", 3), ZRErrNone);
  int32_t length = 1;
  EXPECT_EQ(file.WriteLine("z", &length), ZRErrNone);
  EXPECT_EQ(file.SetLineEnding("\n"), ZRErrNone);
  EXPECT_EQ(file.PrintText("%d of %s\n", 7, "ten"), ZRErrNone);
  EXPECT_EQ(file.Sense(), 16);
  EXPECT_EQ(file.Seek(0, kSeekStart), 0);
  EXPECT_EQ(Line(file), "x");
  EXPECT_EQ(file.Sense(), 3) << "what was read too far is given back";
  EXPECT_EQ(Line(file), "yz");
  EXPECT_EQ(Line(file), "7 of ten");
  EXPECT_EQ(Line(file, ZRErrEOF), "");

  // Cutting the file takes the limit along.
  EXPECT_EQ(file.SetReadLimit(5), ZRErrNone);
  EXPECT_EQ(file.SetEOF(2), ZRErrNone);
  EXPECT_EQ(file.SetEOF(10), ZRErrNone);
  file.Seek(0, kSeekStart);
  EXPECT_EQ(Line(file), "x");
  EXPECT_EQ(Line(file, ZRErrEOF), "") << "the limit is at 2";
  EXPECT_EQ(file.SetReadLimit(-1), ZRErrRange);
}

}  // namespace
