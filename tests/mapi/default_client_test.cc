// Registration through the real library: what lies in the registry afterwards, and what was shown.
#include <gmock/gmock.h>

#include <functional>

#include "tests/mapi/mapi_fixture.h"
#include "tests/test_platform.h"

namespace mapi_test {
namespace {

constexpr char kMailKey[] = "SOFTWARE\\Clients\\Mail";
constexpr char kChoiceKey[] =
    "SOFTWARE\\Microsoft\\Windows\\Shell\\Associations\\UrlAssociations\\MAILTO\\UserChoice";

std::string UserText(const std::string& path, const char* name) {
  return StoredText(HKEY_CURRENT_USER, path, name);
}

std::string WithTerminator(const std::string& text) { return text + '\0'; }

TEST(DefaultClient, WholeJobWritesItsEntriesBothWays) {
  using RunDll = void(QVSMAPI_CALL*)(HWND, HINSTANCE, LPSTR, int);
  const std::function<void()> kWays[] = {
      [] { Export<QvMakeDefault>("MakeDefault")(); },
      [] { Export<RunDll>("MakeDefaultAsRunDll")(nullptr, nullptr, nullptr, 0); }};
  test::MessageBoxWatcher boxes;
  for (const auto& way : kWays) {
    MailClientKey mail;
    for (int repeated = 0; repeated < 2; ++repeated) {
      way();
      EXPECT_EQ(UserText(kMailKey, nullptr), WithTerminator("Quorvantis"));
      EXPECT_EQ(UserText(kChoiceKey, "Progid"), WithTerminator("QVC"));
      EXPECT_EQ(UserText(kChoiceKey + std::string("\\Progid"), nullptr), WithTerminator("mailto"));
    }
  }
  EXPECT_THAT(boxes.Take(), testing::IsEmpty());
}

TEST(DefaultClient, MissingMailKeyShowsTwoBoxesAndWritesNothing) {
  { MailClientKey removed_again; }
  test::MessageBoxWatcher boxes;
  Export<QvMakeDefault>("MakeDefault")();
  EXPECT_THAT(
      boxes.Take(),
      testing::ElementsAre(test::BoxText{"Alarm", "An error occured SOFTWARE\\Clients\\Mail: 2"},
                           test::BoxText{"Alarm", "An error occured while making default!"}));
  EXPECT_EQ(UserText(kChoiceKey, "Progid"), "none");
}

TEST(DefaultClient, LibrarysEntryHoldsExactlyThePath) {
  // An ELF name holds no "@".
  const auto set = Export<QvSetAsDefaultMailClient>(
      test::OnWindows() ? "_SetQVAsDefaultMailClient@4" : "SetQVAsDefaultMailClient");
  EXPECT_EQ(set("C:\\x.dll"), 0) << "the keys are missing";
  MailClientKey mail;
  EXPECT_EQ(set(nullptr), 0);
  EXPECT_EQ(UserText(kMailKey, nullptr), "none");
  const std::string entry = kMailKey + std::string("\\Quorvantis");
  for (const std::string& path : {std::string("C:\\Program Files\\\"q\" %x%\\QVSMAPI.dll"),
                                  std::string(2000, 'x'), std::string("\xE9\x80"), std::string()}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(set(path.c_str()), 1);
    EXPECT_EQ(UserText(entry, "DllPath"), WithTerminator(path));
    EXPECT_EQ(UserText(entry, nullptr), WithTerminator("Quorvantis"));
    EXPECT_EQ(UserText(kMailKey, nullptr), WithTerminator("Quorvantis"));
  }
  EXPECT_EQ(UserText(kChoiceKey, "Progid"), "none");
}

}  // namespace
}  // namespace mapi_test
