#include "programs/qvtool/commands.h"

#include <string>

namespace qvtool {
namespace {

struct Command {
  const char* name;
  const char* purpose;
  const char* example;
  Work (*describe)(const CommandPart& command);
};

constexpr Command kCommands[] = {
    {"address", "Reduce each line to its mail address and display name",
     "  echo '\"Ann Lee\" <ann@example.com>' | qvtool address", DescribeAddress},
    {"base64", "Encode standard input as Base64", "  qvtool base64 --separator lf <photo.jpg",
     DescribeBase64},
    {"charset", "Show the names of a code page", "  qvtool charset windows-1252", DescribeCharset},
    {"checksum", "Sum up standard input", "  qvtool checksum sha1 --hmac 6b6579 <letter.txt",
     DescribeChecksum},
    {"clock", "Read a clock time as people type it", "  qvtool clock 9.30p", DescribeClock},
    {"convert", "Convert standard input to another code page",
     "  qvtool convert --from shift_jis --to UTF-8 --line-ends lf <letter.txt", DescribeConvert},
    {"links", "Find the links and mail addresses of a text",
     "  qvtool links <letter.txt\n  qvtool links --markup --code-page 932 <letter.txt >letter.html",
     DescribeLinks},
    {"number", "Write and read numbers and durations",
     "  qvtool number count 1500000\n  qvtool number duration 93784 --style 1", DescribeNumber},
    {"rez", "Resource files: make, list and change them",
     "  qvtool rez create texts.rez\n  echo hello | qvtool rez add texts.rez TEXT 128 --name "
     "greeting",
     DescribeRez},
    {"url", "Escape lines for a URL, and back",
     "  echo 'Gr\u00fc\u00dfe' | qvtool url escape --set 2", DescribeURL},
    {"zone", "Time zones: their offsets and times",
     "  qvtool zone list\n  echo '3882643200 32769028 15729388' | qvtool zone convert",
     DescribeZone},
};

}  // namespace

void DescribeCommands(const CommandPart& program, Work* work) {
  for (const Command& command : kCommands) {
    const CommandPart part = program.AddCommand(command.name, command.purpose);
    part.Example(command.example);
    part.WhenGiven([work, run = command.describe(part)] { *work = run; });
  }
}

}  // namespace qvtool
