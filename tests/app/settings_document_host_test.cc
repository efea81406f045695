// The table of settings in docs/ says what the code reads.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "app/setting_keys.h"

namespace {

std::string DefaultText(const qv::SettingKey& key) {
  switch (key.kind) {
    case qv::SettingKey::kNumber:
      return std::to_string(key.default_number);
    case qv::SettingKey::kText:
      return "`" + std::string(key.default_text) + "`";
    case qv::SettingKey::kComputed:
      break;
  }
  return "computed";
}

std::string Row(const qv::SettingKey& key) {
  return std::string("| ") + key.section + " | " + key.key + " | " + DefaultText(key) + " | " +
         (key.written ? "yes" : "") + " | " + key.meaning + " |\n";
}

TEST(SettingsDocumentTest, HoldsARowForEachKeyInTheOrderOfTheTable) {
  std::string expected;
  for (const qv::SettingKey* key : qv::setting::kAll) expected += Row(*key);
  std::ifstream file(QV_SETTINGS_DOCUMENT);
  std::ostringstream text;
  text << file.rdbuf();
  std::string rows;
  std::istringstream lines(text.str());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("| Console |") || line.starts_with("| Debug |") ||
        line.starts_with("| QV")) {
      rows += line + "\n";
    }
  }
  EXPECT_EQ(rows, expected) << "docs/settings.md should hold these rows:\n" << expected;
}

TEST(SettingsDocumentTest, NoKeyIsDeclaredTwice) {
  std::set<std::string> names;
  for (const qv::SettingKey* key : qv::setting::kAll) {
    EXPECT_TRUE(names.insert(std::string(key->section) + "/" + key->key).second) << key->key;
  }
}

}  // namespace
