#include "net/addresses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/leveled_log.h"
#include "tests/text/guarded_text.h"
#include "text/formatter.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAreArray;

std::vector<std::string> lines;

void KeepLine(int32_t level, const char* format, va_list arguments) {
  char text[512];
  FormatTextV(text, sizeof text - 1, format, arguments);
  lines.push_back(std::to_string(level) + " " + text);
}

class Addresses : public testing::Test {
 protected:
  Addresses() { qv::SetLeveledLogHook(KeepLine); }
  ~Addresses() override { qv::SetLeveledLogHook(nullptr); }
};

constexpr char kUntouched = '\x5A';

struct Cleaned {
  int result;
  std::string output, name;
  bool operator==(const Cleaned&) const = default;
};
void PrintTo(const Cleaned& cleaned, std::ostream* out) {
  *out << cleaned.result << " '" << cleaned.output << "' '" << cleaned.name << "'";
}

// A text up to its terminator, "?" when it was not written; fails when a byte behind `size` was.
std::string Written(const std::string& buffer, uint32_t size) {
  EXPECT_EQ(buffer.find_first_not_of(kUntouched, size), std::string::npos) << "wrote behind";
  return size == 0 || buffer[0] == kUntouched ? "?" : std::string(buffer.c_str());
}

Cleaned Clean(const std::string& address, uint32_t size = 256, uint32_t name_size = 256) {
  lines.clear();
  const test::GuardedText text({address.c_str(), address.size() + 1});
  std::string output(size + 8, kUntouched), name(name_size + 8, kUntouched);
  const int result = ZRCleanAddress(text.get(), output.data(), size, name.data(), name_size);
  EXPECT_EQ(std::string(text.get(), address.size()), address) << "the address was changed";
  return {result, Written(output, size), Written(name, name_size)};
}

Cleaned CleanInPlace(const std::string& address) {
  std::string buffer = address + '\0' + std::string(8, kUntouched);
  char name[8] = {kUntouched};
  const auto size = static_cast<uint32_t>(address.size() + 1);
  const int result = ZRCleanAddress(buffer.data(), buffer.data(), size, name, sizeof name);
  EXPECT_EQ(name[0], kUntouched);
  return {result, Written(buffer, size), "?"};
}

// "invalid x" for the line "4 ZRCleanAddress: invalid x", without the first and last line.
std::vector<std::string> Reasons() {
  std::vector<std::string> reasons;
  for (size_t i = 1; i + 1 < lines.size(); ++i) {
    EXPECT_EQ(lines[i].substr(1, 17), " ZRCleanAddress: ");
    reasons.push_back((lines[i][0] == '4' ? "" : lines[i].substr(0, 1)) + lines[i].substr(18));
  }
  return reasons;
}

constexpr char kMismatch[] = "Enclosing characters do not match";
constexpr char kNoDomain[] = "unable to isolate valid domain name";
constexpr char kNoMailbox[] = "unable to isolate valid mailbox";
constexpr char kBadLiteral[] = "invalid [x.x.x.x] IP domain part";
constexpr char kBadNumber[] = "invalid '#IP' domain part";
constexpr char kTooMany[] = "too many '@'signs";
constexpr char kRoute[] = "5 culled routing info";

std::string BadCharacter(const std::string& c) {
  return "invalid character in domain part '" + c + (c.empty() ? "" : "'");
}

TEST_F(Addresses, AreReducedByTheRules) {
  const struct {
    const char* name;
    std::string address;
    Cleaned expected;
    std::vector<std::string> reasons = {};
  } kRows[] = {
      {"bare", "ann@example.com", {1, "ann@example.com", ""}},
      {"quoted name", "\"Ann Lee\" <ann@ex.com>", {1, "ann@ex.com", "Ann Lee"}},
      {"plain name", "Ann Lee <ann@ex.com>", {1, "ann@ex.com", "Ann Lee"}},
      {"brackets only", "<ann@ex.com>", {1, "ann@ex.com", ""}},
      {"comment behind", "ann@ex.com (Ann)", {1, "ann@ex.com", "(Ann)"}},
      {"name on both sides", "Ann <ann@ex.com> Lee ", {1, "ann@ex.com", "Ann  Lee"}},
      {"a bar belongs to the mailbox", "x|ann@ex.com|", {0, "x|ann@ex.com", ""}, {kMismatch}},
      {"the same special on both sides", "x;ann@ex.com;y", {1, "ann@ex.com", "xy"}},
      {"blank and tab", "a ann@ex.com\tb", {1, "ann@ex.com", "ab"}},
      {"quoted mailbox", "\"a b\"@ex.com", {1, "\"a b\"@ex.com", ""}},
      {"quoted mailbox in brackets", "N <\"a b\"@ex.com>", {1, "\"a b\"@ex.com", "N"}},
      {"quote escaped in it", "\"a\\\"b\"@ex.com", {1, "\"a\\\"b\"@ex.com", ""}},
      {"line break escaped in it", "\"a\\\nb\"@ex.com", {1, "\"a\\\nb\"@ex.com", ""}},
      {"line break not escaped",
       "\"a\nb\"@ex.com",
       {0, "\nb\"@ex.com", "\""},
       {"unescaped line break in mailbox", kNoMailbox, kMismatch}},
      {"quote never opened",
       "ab\"@ex.com",
       {0, "ab\"@ex.com", ""},
       {"unterminated quoted mailbox part", kNoMailbox}},
      {"last quote escaped: no quoted mailbox", "a\\\"@ex.com", {0, "\"@ex.com", "a"}, {kMismatch}},
      {"escaped special begins a mailbox", "<a\\,b@ex.com>", {0, ",b@ex.com", "<a"}, {kMismatch}},
      {"four numbers", "ann@[10.0.0.255]", {1, "ann@[10.0.0.255]", ""}},
      {"two numbers are not counted", "ann@[1.2]", {1, "ann@[1.2]", ""}},
      {"number too large", "ann@[1.2.3.256]", {0, "", "?"}, {kBadLiteral, kNoDomain}},
      {"number beyond 32 bits", "ann@[4294967297]", {0, "", "?"}, {kBadLiteral, kNoDomain}},
      {"no closing bracket", "ann@[1.2.3.4", {0, "", "?"}, {kBadLiteral, kNoDomain}},
      {"no number", "ann@[1..4]", {0, "", "?"}, {kBadLiteral, kNoDomain}},
      {"label behind a literal", "ann@[1].ex", {1, "ann@[1].ex", ""}},
      {"host number", "ann@#12.ex.com", {1, "ann@#12.ex.com", ""}},
      {"host number alone", "ann@#12", {0, "", "?"}, {kBadNumber, kNoDomain}},
      {"labels of all kinds", "ann@-a_.b9.c", {1, "ann@-a_.b9.c", ""}},
      {"two dots", "ann@ex..com", {0, "", "?"}, {BadCharacter("."), kNoDomain}},
      {"dot at the end", "ann@ex.", {0, "", "?"}, {BadCharacter(""), kNoDomain}},
      {"nothing behind the '@'", "ann@", {0, "", "?"}, {BadCharacter(""), kNoDomain}},
      {"domain above ASCII", "ann@\xE9x", {0, "", "?"}, {BadCharacter("\xE9"), kNoDomain}},
      {"mailbox above ASCII", "r\xE9my@ex.com", {0, "my@ex.com", "r"}, {kMismatch}},
      {"last control character", "r\x1Fmy@ex.com", {0, "my@ex.com", "r"}, {kMismatch}},
      {"delete", "r\x7Fmy@ex.com", {0, "my@ex.com", "r"}, {kMismatch}},
      {"every letter of the mailbox above ASCII",
       "\xE9@ex.com",
       {0, "@ex.com", ""},
       {kNoMailbox, kMismatch}},
      {"nothing before the '@'", "@ex.com", {0, "@", "ex.com"}, {kMismatch}},
      {"nothing in the brackets before it", "<@ex.com>", {0, "@ex.com", ""}, {kNoMailbox}},
      {"closing bracket only", "ann@ex.com>", {0, "ann@ex.com", ""}, {kMismatch}},
      {"comma behind", "ann@ex.com, x", {0, "ann@ex.com", "x"}, {kMismatch}},
      {"source route", "@a.b,@c.d:ann@ex.com", {1, "ann@ex.com", ""}, {kRoute}},
      {"route, then two signs", "x@y:z@ann@ex.com", {0, "ann@ex.com", "z"}, {kRoute, kMismatch}},
      {"colon behind the last sign", "a@b@c:d", {0, "", "?"}, {kTooMany}},
      {"three parts", "a@b@c", {0, "", "?"}, {kTooMany}},
      {"sign in the name", "a@b <ann@ex.com> x", {1, "ann@ex.com", ""}},
      {"two bracketed", "<ann@ex.com> <bob@ex.com>", {1, "ann@ex.com", ""}},
      {"first bracketed is broken", "<a@b@c> <bob@ex.com> x", {1, "bob@ex.com", ""}},
      {"second of two opened brackets", "<a@<b@c>", {1, "b@c", ""}},
      {"second of them without a sign", "<a@@<b>", {1, "b", ""}},
      {"quotes across the end of a bracket", "@@<\"a> \"b>", {0, "a", ""}, {kMismatch}},
      {"bracket without its end", "a@b <ann@ex.com", {1, "ann@ex.com", ""}},
      {"route in a bracket: its closing character is left",
       "a@b <@c:ann@ex.com>",
       {0, "ann@ex.com", ""},
       {kRoute, kMismatch}},
      {"bracket without a sign", "<ann> a@b c@d", {1, "ann", ""}},
      {"empty bracket before signs", "<> a@b c@d", {0, "", ""}},
      {"one word", "ann", {1, "ann", ""}},
      {"two words", "Lee ann", {1, "ann", "Lee"}},
      {"word in brackets", "Lee <ann> x", {1, "ann", "Lee  x"}},
      {"end of a bracket only", "ann> x", {0, "ann", "x"}, {kMismatch}},
      {"bracket in quotes is none", "\"<x>\" ann", {1, "ann", "<x>"}},
      {"bracket in a comment is none", "(>) <ann>", {1, "ann", "(>)"}},
      {"empty brackets", "<>", {1, "", ""}},
      {"empty", "", {0, "", ""}},
      {"one blank", " ", {1, "", ""}},
      {"one quote", "\"", {0, "", ""}, {kMismatch}},
      {"name of one quote", "\" <ann@ex.com>", {1, "ann@ex.com", "\""}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Clean(row.address), row.expected);
    EXPECT_THAT(Reasons(), ElementsAreArray(row.reasons));
    EXPECT_EQ(lines.front(), "4 ZRCleanAddress attempting to normalize addr '" + row.address + "'");
    EXPECT_EQ(lines.back(),
              row.expected.result == 0
                  ? "4 ZRCleanAddress failed"
                  : "4 ZRCleanAddress succeeded, cleaned name is '" + row.expected.output + "'");
    if (row.expected.output.size() <= row.address.size()) {
      EXPECT_EQ(CleanInPlace(row.address),
                (Cleaned{row.expected.result, row.expected.output, "?"}));
    }
  }
}

TEST_F(Addresses, FitTheirBuffers) {
  const std::string name300(300, 'n');
  const struct {
    const char* name;
    std::string address;
    uint32_t size, name_size;
    Cleaned expected;
  } kRows[] = {
      {"exactly", "a@b.c", 6, 9, {1, "a@b.c", ""}},
      {"domain one too long", "a@b.c", 5, 9, {0, "a@", ""}},
      {"no room for the sign", "abc@d", 4, 9, {0, "abc", ""}},
      {"no room for the mailbox", "abc@d", 3, 9, {0, "", "?"}},
      {"room for the terminator only", "@d", 1, 9, {0, "", "d"}},
      {"no room at all", "a@b.c", 0, 9, {0, "?", "?"}},
      {"without '@' exactly", "abc", 4, 9, {1, "abc", ""}},
      {"without '@' one too long", "abc", 3, 9, {0, "", "?"}},
      {"name cut", "Lee <a@b>", 9, 3, {1, "a@b", "Le"}},
      {"no name", "Lee <a@b>", 9, 0, {1, "a@b", "?"}},
      {"name of one terminator", "Lee <a@b>", 9, 1, {1, "a@b", ""}},
      {"long name", name300 + " <a@b>", 9, 400, {1, "a@b", std::string(255, 'n')}},
      {"cut before it loses its quotes",
       '"' + name300 + "\" <a@b>",
       9,
       400,
       {1, "a@b", '"' + std::string(254, 'n')}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Clean(row.address, row.size, row.name_size), row.expected);
  }
}

TEST_F(Addresses, TakeTheFirst255BytesInPlace) {
  const std::string blanks(250, ' ');
  EXPECT_EQ(CleanInPlace(blanks + "a@b.c"), (Cleaned{1, "a@b.c", "?"}));
  EXPECT_EQ(CleanInPlace(blanks + "a@b.cd"), (Cleaned{1, "a@b.c", "?"}));
}

TEST_F(Addresses, WithoutTextOrRoomNothingHappens) {
  lines.clear();
  char output[] = "x";
  EXPECT_EQ(ZRCleanAddress(nullptr, output, 2, nullptr, 0), 0);
  EXPECT_EQ(ZRCleanAddress("a@b", nullptr, 2, nullptr, 0), 0);
  EXPECT_EQ(output, "x"s);
  EXPECT_TRUE(lines.empty());
}

// Each byte is looked at a few times, however often brackets are entered.
TEST_F(Addresses, HostileTextTakesLinearTime) {
  constexpr size_t kMany = 1 << 20;
  qv::SetLeveledLogHook([](int32_t, const char*, va_list) {});
  const std::string opens(kMany, '<'), signs(kMany, '@'), closes(kMany, '>');
  for (const std::string& text : {opens + signs, opens + signs + closes, opens + "@@>" + signs}) {
    char output[256];
    EXPECT_EQ(ZRCleanAddress(text.c_str(), output, sizeof output, nullptr, 0), 0);
  }
}

}  // namespace
