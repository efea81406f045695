// The converters between the East Asian forms beside glibc's iconv and ICU, each by way of Unicode.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/text/east_asian_text.h"
#include "tests/text/module_tables.h"
#include "tests/text/peers.h"
#include "text/pair_converters.h"

namespace qv {
namespace {

using test::PeerText;

// A character for private use is none.
PeerText ByIcu(const char* from, const char* to, const std::string& text) {
  const PeerText units = test::ByIcu(from, test::kPeerUnicode, text);
  for (size_t i = 0; units && i < units->size(); i += 2) {
    const auto high = static_cast<uint8_t>((*units)[i]);
    if (high >= 0xE0 && high <= 0xF8) return {};
  }
  return units ? test::ByIcu(test::kPeerUnicode, to, *units) : units;
}

struct Direction {
  CodePage from, to;
  const char *from_name, *to_name;
  // Codes that the peer gives another counterpart, by first byte ("87:9", in hexadecimal, and how
  // many), and how many codes only we, only the peer can convert. docs/character-sets.md says why.
  std::string others;
  uint32_t only_ours, only_theirs;
};

std::string Ours(const Direction& direction, const std::string& text) {
  return test::ConvertGuarded(test::kPeerRoom,
                              [&](char* output, uint32_t* written) {
                                return PairConverter(direction.from, direction.to)
                                    .Convert(text.data(), static_cast<uint32_t>(text.size()),
                                             output, written, kKeep);
                              })
      .text;
}

// Compares every code; returns those on which both agree.
template <class Convert>
std::vector<uint32_t> CompareCodes(const Direction& direction, Convert by_peer) {
  std::vector<uint32_t> agreed;
  std::map<uint32_t, uint32_t> others;
  uint32_t only_ours = 0, only_theirs = 0;
  for (uint32_t code = 0; code < 0x10000; ++code) {
    if (code == kReplacement || !test::HasCode(direction.from, code)) continue;
    const std::string text = test::WriteCodes(direction.from, {code});
    const std::string ours = Ours(direction, text);
    const PeerText theirs = by_peer(direction.from_name, direction.to_name, text);
    const bool we_can = ours.find('\x1A') == std::string::npos;
    // Controls stay out of the texts: to iconv a CR alone is no line end.
    if (we_can && theirs == ours && code >= ' ') agreed.push_back(code);
    if (we_can && theirs && *theirs != ours) ++others[code >> 8];
    only_ours += we_can && !theirs;
    only_theirs += !we_can && theirs;
  }
  std::string listed;
  for (const auto& [lead, count] : others) {
    char text[40];
    std::snprintf(text, sizeof text, "%s%02X:%u", listed.empty() ? "" : " ", lead, count);
    listed += text;
  }
  EXPECT_EQ(listed, direction.others);
  EXPECT_EQ(only_ours, direction.only_ours);
  EXPECT_EQ(only_theirs, direction.only_theirs);
  return agreed;
}

// Texts of lines: the sequences between the characters have to be the same ones, too.
template <class Convert>
void CompareTexts(const Direction& direction, Convert by_peer,
                  const std::vector<uint32_t>& agreed) {
  std::mt19937 random(direction.from);
  for (int round = 0; round < 50; ++round) {
    std::vector<uint32_t> codes;
    for (int i = 0; i < 200; ++i) {
      const uint32_t kind = random() % 16;
      const auto plain = 'a' + static_cast<uint32_t>(random() % 26);
      codes.push_back(kind == 0 ? '\n' : kind < 5 ? plain : agreed[random() % agreed.size()]);
    }
    codes.push_back('\n');  // else iconv shifts in once more at the end of Chinese text
    const std::string text = test::WriteCodes(direction.from, codes);
    ASSERT_EQ(PeerText(Ours(direction, text)),
              by_peer(direction.from_name, direction.to_name, text));
  }
}

template <class Convert>
void Compare(const Direction& direction, Convert by_peer) {
  SCOPED_TRACE(testing::Message() << direction.from_name << " to " << direction.to_name);
  const std::vector<uint32_t> agreed = CompareCodes(direction, by_peer);
  ASSERT_FALSE(agreed.empty());
  CompareTexts(direction, by_peer, agreed);
}

class EastAsianPeers : public test::ModuleTables {};

TEST_F(EastAsianPeers, IconvAgreesButForTheListed) {
  const Direction kDirections[] = {
      {932, 20001, "CP932", "EUC-JP", "81:1 87:10 ED:155 EE:124", 1673, 0},
      {932, 20002, "CP932", "ISO-2022-JP", "87:9", 2017, 3},
      {20001, 932, "EUC-JP", "CP932", "", 1957, 0},
      {20001, 20002, "EUC-JP", "ISO-2022-JP", "", 2020, 3},
      {20002, 932, "ISO-2022-JP", "CP932", "00:63", 1957, 0},
      {20002, 20001, "ISO-2022-JP", "EUC-JP", "00:63", 1957, 0},
      {936, 20004, "EUC-CN", "ISO-2022-CN", "", 1391, 3},
      {936, 20014, "EUC-CN", "GBK", "", 18051, 0},
      {20004, 936, "ISO-2022-CN", "EUC-CN", "", 1392, 0},
      {20004, 20014, "ISO-2022-CN", "GBK", "A1:1", 1393, 0},
      {20014, 936, "GBK", "EUC-CN", "", 9911, 86},
      {20014, 20004, "GBK", "ISO-2022-CN", "A1:2 A2:10 A6:17", 1364, 8792},
      {949, 20003, "CP949", "ISO-2022-KR", "", 610, 3},
      {20003, 949, "ISO-2022-KR", "CP949", "", 610, 0},
  };
  for (const Direction& direction : kDirections) Compare(direction, test::ByIconv);
}

TEST_F(EastAsianPeers, IcuAgreesButForTheListed) {
  const Direction kDirections[] = {
      {932, 20001, "ibm-943_P15A-2003", "euc-jp-2007", "00:2 87:9 EE:1", 1500, 0},
      {932, 20002, "ibm-943_P15A-2003", "ISO-2022-JP", "00:2 87:9 EE:1", 1936, 0},
      {20001, 932, "euc-jp-2007", "ibm-943_P15A-2003", "00:2 2D:9 79:94 7A:94 7B:94 7C:92", 1500,
       0},
      {20001, 20002, "euc-jp-2007", "ISO-2022-JP", "2D:9 7C:1", 1936, 0},
      {20002, 932, "ISO-2022-JP", "ibm-943_P15A-2003", "00:2 2D:9 79:94 7A:94 7B:94 7C:92", 1500,
       0},
      {20002, 20001, "ISO-2022-JP", "euc-jp-2007", "2D:9 7C:1", 1500, 0},
      {936, 20004, "ibm-1383_P110-1999", "ISO-2022-CN", "FE:14", 1377, 0},
      {936, 20014, "ibm-1383_P110-1999", "windows-936-2000", "A1:1 FE:29", 10579, 0},
      {20004, 936, "ISO-2022-CN", "ibm-1383_P110-1999", "", 1391, 0},
      {20004, 20014, "ISO-2022-CN", "windows-936-2000", "A1:1", 1393, 0},
      {20014, 936, "windows-936-2000", "ibm-1383_P110-1999", "A2:10 A3:1 A8:5 A9:14", 10579, 0},
      {20014, 20004, "windows-936-2000", "ISO-2022-CN", "A1:1 A2:10 A6:16", 1367, 8785},
      {949, 20003, "windows-949-2000", "ISO-2022-KR", "00:2 A1:1", 618, 0},
      {20003, 949, "ISO-2022-KR", "windows-949-2000", "00:2", 619, 0},
  };
  for (const Direction& direction : kDirections) Compare(direction, ByIcu);
}

}  // namespace
}  // namespace qv
