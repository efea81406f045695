#include "time/tz_parser.h"

#include <algorithm>
#include <string>

#include "tests/time/zone_fixture.h"

namespace {

using test::KeepingParser;

// "TYPE(TEXT or VALUE)@POSITION+LENGTH " of each symbol.
std::string Symbols(const std::string& text) {
  qv::SymbolReader reader(text);
  std::string out;
  for (;;) {
    const qv::Symbol symbol = reader.Next();
    if (symbol.type == qv::kEndOfText) return out;
    const std::string what =
        symbol.text.empty() ? std::to_string(symbol.value) : std::string(symbol.text);
    out += std::to_string(symbol.type) + "(" + what + ")@" + std::to_string(symbol.position) + "+" +
           std::to_string(symbol.length) + " ";
  }
}

TEST(TzSymbols, Rows) {
  const struct {
    const char *name, *in, *out;
  } kRows[] = {
      {"nothing but white space", " \t\v\f", ""},
      {"keywords of a line", "Rule Zone Link", "2(Rule)@0+4 11(Zone)@5+4 12(Link)@10+4 "},
      {"letter case matters", "rule ZONE", "5(rule)@0+4 5(ZONE)@5+4 "},
      {"a keyword inside a word", "Rules Zone5 onlyx", "5(Rules)@0+5 5(Zone5)@6+5 5(onlyx)@12+5 "},
      {"a keyword before a mark", "Rule-x May/x", "2(Rule)@0+4 5(-x)@4+2 6(4)@7+3 5(/x)@10+2 "},
      {"line ends", "a\r\nb\rc\n\n",
       "5(a)@0+1 13(\r\n)@1+2 5(b)@3+1 13(\r)@4+1 5(c)@5+1 13(\n)@6+1 "
       "13(\n)@7+1 "},
      {"lastSun", "lastSun firstMonday", "9(last)@0+4 7(7)@4+3 8(first)@8+5 7(1)@13+6 "},
      {"long and short names", "January Jan Saturday Sat",
       "6(0)@0+7 6(12)@8+3 7(6)@12+8 7(13)@21+3 "},
      {"comparisons", "Sun>=8 <=2 >1 <x",
       "7(7)@0+3 10(0)@3+2 3(8)@5+1 10(1)@7+2 3(2)@9+1 10(2)@11+1 3(1)@12+1 10(3)@14+1 5(x)@15+1 "},
      {"a comparison before a mark", ">=- >>", "5(>=-)@0+3 5(>>)@4+2 "},
      {"a time", "2:00s", "3(2)@0+1 4(:)@1+1 3(0)@2+2 5(s)@4+1 "},
      {"numbers", "-5 - -x 1990only", "3(-5)@0+2 5(-)@3+1 5(-x)@5+2 3(1990)@8+4 16(only)@12+4 "},
      {"a number that wraps", "4294967301 -2147483649", "3(5)@0+10 3(2147483647)@11+11 "},
      {"a comment mark ends nothing", "a#b #c", "5(a#b)@0+3 1(#)@4+1 5(c)@5+1 "},
      {"a control byte", "ab\x01\x01 c\x7F",
       "5(ab)@0+2 5(\x01)@2+1 5(\x01)@3+1 5(c)@5+1 5(\x7F)@6+1 "},
      {"bytes above 7F", "\xC3\xA9Rule", "5(\xC3\xA9Rule)@0+6 "},
      {"min, max", "min max minx", "14(min)@0+3 15(max)@4+3 5(minx)@8+4 "},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Symbols(row.in), row.out);
  }
  EXPECT_EQ(Symbols(std::string(300, 'x')), "5(" + std::string(255, 'x') + ")@0+300 ");
}

std::string Text(const qv::DaySpecification& day) {
  return day.kind == qv::DaySpecification::kDayOfMonth
             ? std::to_string(day.day)
             : "w" + std::to_string(day.week) + "d" + std::to_string(day.weekday);
}

// Every record on a line: the fields in their order, names as they are.
std::string Dump(const qv::TimeZoneData& data) {
  std::string out;
  const auto add = [&](const auto& field) {
    if constexpr (std::is_convertible_v<decltype(field), std::string_view>) {
      out += std::string(field) + " ";
    } else {
      out += std::to_string(field) + " ";
    }
  };
  const auto name = [&](qv::NameRef ref) { add(data.names.Text(ref)); };
  for (const qv::RuleRecord& r : data.rules()) {
    name(r.name), add(r.from), add(r.to), name(r.type), add(r.month), add(Text(r.day));
    add(r.hour), add(r.minute), add(r.option), add(r.save_hours), add(r.save_minutes);
    name(r.letters), out.back() = '\n';
  }
  for (const qv::ZoneLine& l : data.lines()) {
    name(l.name), add(l.standard), add(l.rules_kind);
    l.rules_kind == qv::ZoneLine::kNamedRules ? name(l.rules) : add(l.saving);
    name(l.format), add(l.until_year), add(l.until_month), add(Text(l.until_day));
    add(l.until_hour), add(l.until_minute), add(l.until_second), add(l.until_option);
    out.back() = '\n';
  }
  return out;
}

const std::string kGrammar = "Parse failed, bad grammar.  Expected symbol type ",
                  kNotDash = "Rule.Type is too complex to process.",
                  kNoDay = "Grammar error: Expected day or week relative";
std::string BadGrammar(int expected, int found) {
  return kGrammar + std::to_string(expected) + ", encountered symbol type " +
         std::to_string(found) + ".";
}

struct ParseRow {
  const char* name;
  std::string in, out;
  std::vector<std::string> errors = {};
};

void CheckRows(const std::vector<ParseRow>& rows) {
  for (const ParseRow& row : rows) {
    SCOPED_TRACE(row.name);
    qv::TimeZoneData data;
    KeepingParser parser(data);
    EXPECT_EQ(parser.Parse(row.in), row.errors.empty());
    EXPECT_EQ(Dump(data), row.out);
    EXPECT_EQ(parser.errors, row.errors);
  }
}

TEST(TzParser, Rules) {
  CheckRows({
      {"only", "Rule X 1990 only - Apr Sun>=1 2:00 1:00 D\n", "X 1990 1990 - 4 w1d1 2 0 0 1 0 D\n"},
      {"max", "Rule X 2007 max - Mar lastSun 1:00u 0 -\n", "X 2007 0 - 3 w0d1 1 0 1 0 0 -\n"},
      {"min", "Rule X min 1990 - December 31 0:30s 0:20 x\n", "X 0 1990 - 12 31 0 30 2 0 20 x\n"},
      {"weeks of >=",
       "Rule X 1 2 - Jan Sat>=7 1:00w 0 -\nRule X 1 2 - Jan Sat>=8 1:00g 0 -\n"
       "Rule X 1 2 - Jan Sat>= -9 1:00z -1:30 -\n",
       "X 1 2 - 1 w1d7 1 0 0 0 0 -\nX 1 2 - 1 w2d7 1 0 1 0 0 -\nX 1 2 - 1 w0d7 1 0 1 -1 30 -\n"},
      {"first", "Rule X 1 2 - Jan firstMon 1:00 0 -\n", "X 1 2 - 1 w1d2 1 0 0 0 0 -\n"},
      {"wide numbers are cut", "Rule X 65537 only - Jan 65538 65539:65540 0 -\n",
       "X 1 1 - 1 2 3 4 0 0 0 -\n"},
      {"sorted, one name in its order",
       "Rule b 1 2 - Jan 1 1:00 0 -\n#Rule\r\nRule a 3 4 - Jan 1 1:00 0 -\r"
       "\nRule b 5 6 - Jan 1 1:00 0 - # end\nLink x y\n",
       "a 3 4 - 1 1 1 0 0 0 0 -\nb 1 2 - 1 1 1 0 0 0 0 -\nb 5 6 - 1 1 1 0 0 0 0 -\n"},
      {"no line end at the end", "Rule X 1 2 - Jan 1 1:00 0 -", "X 1 2 - 1 1 1 0 0 0 0 -\n"},
      {"one symbol alone is not looked at", "Rule", ""},
  });
}

TEST(TzParser, Zones) {
  CheckRows({
      {"named rules", "Zone A/B -3:30 NT N%sT\n", "A/B -12600 1 NT N%sT 0 0 0 0 0 0 0\n"},
      {"no saving", "Zone A 1:02:03 - X\n", "A 3723 0 0 X 0 0 0 0 0 0 0\n"},
      {"a fixed saving", "Zone A -1:02:03 1:30 X\n", "A -3723 0 5400 X 0 0 0 0 0 0 0\n"},
      {"parts of an end",
       "Zone A 0 - a 2000\n 1 - b 2001 Mar # c\n\n 2 - c 2002 Mar 5\n"
       "3 - d 2003 Mar lastSun 2:30\n 4 - e 2004 Mar Sun>=8 2:30:15u\n 5 - f",
       "A 0 0 0 a 2000 0 0 0 0 0 0\nA 3600 0 0 b 2001 3 0 0 0 0 0\n"
       "A 7200 0 0 c 2002 3 5 0 0 0 0\nA 10800 0 0 d 2003 3 w0d1 2 30 0 0\n"
       "A 14400 0 0 e 2004 3 w2d1 2 30 15 1\nA 18000 0 0 f 0 0 0 0 0 0 0\n"},
      {"an end before 1995 is dropped", "Zone A 1 - a 1994 Dec 31 23:59\n 2 - b 1995\n 3 - c\n",
       "A 7200 0 0 b 1995 0 0 0 0 0 0\nA 10800 0 0 c 0 0 0 0 0 0 0\n"},
      {"the text ends before the next line", "Zone A 1 - a 2000\n",
       "A 3600 0 0 a 2000 0 0 0 0 0 0\nA 0 0 0  0 0 0 0 0 0 0\n"},
      {"an offset that wraps", "Zone A 2147483647:59 - a\n", "A -7140 0 0 a 0 0 0 0 0 0 0\n"},
  });
}

TEST(TzParser, Errors) {
  const std::string good = "Rule G 1 2 - Jan 1 1:00 0 -\n", kept = "G 1 2 - 1 1 1 0 0 0 0 -\n";
  CheckRows({
      {"no item", good + "Ruler\n" + good, kept, {BadGrammar(12, 5)}},
      {"a link with a number", "Link a 5\n" + good, "", {BadGrammar(5, 3)}},
      {"no name", "Rule 5 6", " 0 0  1 0 0 0 0 0 0 \n", {BadGrammar(5, 3), kNotDash, kNoDay}},
      {"an end without minutes",
       "Zone A 1 - a 2000 Jan 1 5 x\n 2 - b\n",
       "A 3600 0 0 a 2000 1 1 5 0 0 0\nA 0 0 0  0 0 0 0 0 0 0\n",
       {BadGrammar(4, 5)}},
  });
}

TEST(TzParser, ErrorsInARule) {
  // What stands behind "Rule X 1990 only ", and the fields of what is kept behind "X 1990 1990 ".
  const std::vector<ParseRow> kRows = {
      {"a type", "odd Apr 1 2:00 1:00 D\n", "odd 1 0 0 0 0 0 0 \n", {kNotDash, kNoDay}},
      {"no month", "- 5 1 2:00 0 -\n", "- 1 0 0 0 0 0 0 \n", {BadGrammar(6, 3), kNoDay}},
      {"no day", "- Apr - 2:00 0 -\n", "- 4 0 0 0 0 0 0 \n", {kNoDay}},
      {"<=", "- Apr Sun<=25 2:00 0 -\n", "- 4 w1d1 0 0 0 0 0 \n", {"Unsupported RelativeID: 1"}},
      {"<", "- Apr Sun<25 2:00 0 -\n", "- 4 w1d1 0 0 0 0 0 \n", {"Unsupported RelativeID: 3"}},
      {"a strange option", "- Apr 1 2:00x 0 -\n", "- 4 1 2 0 0 0 0 \n", {"Unknown time option"}},
      {"a long option", "- Apr 1 2:00us 0 -\n", "- 4 1 2 0 0 0 0 \n", {"Bad time option length"}},
      {"no colon", "- Apr 1 2 0 -\n", "- 4 1 2 0 0 0 0 \n", {BadGrammar(4, 3)}},
      {"cut off", "", " 1 0 0 0 0 0 0 \n", {kNotDash, kNoDay}},
      {"cut off behind the type", "- Apr 1", "- 4 1 0 0 0 0 0 \n"},
  };
  for (const ParseRow& row : kRows) {
    CheckRows({{row.name, "Rule X 1990 only " + row.in, "X 1990 1990 " + row.out, row.errors}});
  }
}

TEST(TzParser, YieldsEveryFewThousandBytes) {
  const struct {
    size_t bytes;
    int yields;
  } kRows[] = {{5119, 0}, {5120, 1}, {51200, 10}, {60000, 11}};
  for (const auto& row : kRows) {
    qv::TimeZoneData data;
    KeepingParser parser(data);
    EXPECT_TRUE(parser.Parse(std::string(row.bytes, '\n')));
    EXPECT_EQ(parser.yields, row.yields) << row.bytes;
  }
}

class ShippedRules : public test::Zones {};

TEST_F(ShippedRules, AreWhole) {
  qv::TimeZoneData data;
  KeepingParser parser(data);
  EXPECT_TRUE(parser.Parse(test::ShippedText(qv::kZoneRulesResource)));
  EXPECT_EQ(parser.errors, std::vector<std::string>());
  // Counted in the text by other means.
  EXPECT_EQ(data.rules().size(), 741u);
  EXPECT_EQ(data.lines().size(), 821u);
}

}  // namespace
