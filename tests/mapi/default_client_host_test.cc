// Registration with each registry step failing in turn.
#include <gmock/gmock.h>

#include "mapi/default_client.h"
#include "platform/host/control.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {
namespace {

constexpr char kAdministrator[] = "You must run this program as administrator to set as default";
constexpr char kSummary[] = "An error occured while making default!";

std::string MailBox(int error) {
  return "An error occured SOFTWARE\\Clients\\Mail: " + std::to_string(error);
}
std::string AssociationBox(int error, int depth) {
  return "An error occured Microsoft\\...\\Progid: " + std::to_string(error) +
         ", depth: " + std::to_string(depth);
}

// Texts of the boxes shown, in order; each has the one caption and the one button.
std::vector<std::string> TakeBoxTexts() {
  std::vector<std::string> texts;
  for (const host::MessageBoxRecord& box : host::TakeMessageBoxes()) {
    EXPECT_EQ(box.caption, "Alarm");
    EXPECT_EQ(box.type, static_cast<UINT>(MB_OK));
    texts.push_back(box.text);
  }
  return texts;
}

class DefaultClientFaultTest : public testing::Test {
 protected:
  DefaultClientFaultTest() {
    host::RecordMessageBoxes();
    host::TakeMessageBoxes();
  }
  MailClientKey mail_;
};

TEST_F(DefaultClientFaultTest, EachStepOfTheWholeJob) {
  const struct {
    const char* call;
    uint32_t nth;
    DWORD error;
    std::vector<std::string> boxes;
  } kRows[] = {
      {"RegOpenKeyExA", 1, 2, {kSummary}},
      {"RegOpenKeyExA", 1, 5, {kAdministrator}},
      {"RegOpenKeyExA", 2, 2, {MailBox(2), kSummary}},
      {"RegOpenKeyExA", 3, 5, {MailBox(5), kAdministrator}},
      {"RegSetValueExA", 1, 8, {MailBox(8), kSummary}},
      {"RegOpenKeyExA", 4, 2, {AssociationBox(2, 0), kSummary}},
      {"RegOpenKeyExA", 5, 2, {AssociationBox(2, 1), kSummary}},
      {"RegCreateKeyExA", 1, 5, {AssociationBox(5, 2), kAdministrator}},
      {"RegCreateKeyExA", 2, 6, {AssociationBox(6, 3), kSummary}},
      {"RegCreateKeyExA", 3, 6, {AssociationBox(6, 4), kSummary}},
      {"RegCreateKeyExA", 4, 6, {AssociationBox(6, 5), kSummary}},
      {"RegCreateKeyExA", 5, 5, {AssociationBox(5, 6), kAdministrator}},
      {"RegSetValueExA", 2, 1018, {AssociationBox(1018, 6), kSummary}},
      {"RegCreateKeyExA", 6, 6, {AssociationBox(6, 7), kSummary}},
      {"RegSetValueExA", 3, 5, {AssociationBox(5, 7), kAdministrator}},
      {"RegOpenKeyExA", 6, 1, {}},  // there are no more
      {"RegCreateKeyExA", 7, 1, {}},
      {"RegSetValueExA", 4, 1, {}},
  };
  const uint32_t handles = host::OpenHandles();
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.call << " " << row.nth);
    host::FailCall(row.call, row.nth, row.error);
    MakeDefault();
    EXPECT_EQ(host::FaultsStruck(), row.boxes.empty() ? 0u : 1u);
    host::ClearFaults();
    EXPECT_EQ(TakeBoxTexts(), row.boxes);
    EXPECT_EQ(host::OpenHandles(), handles);
  }
}

TEST_F(DefaultClientFaultTest, EachStepOfTheLibrarysEntry) {
  const uint32_t handles = host::OpenHandles();
  const struct {
    const char* call;
    uint32_t steps;
  } kCalls[] = {{"RegOpenKeyExA", 3}, {"RegCreateKeyExA", 1}, {"RegSetValueExA", 3}};
  for (const auto& call : kCalls) {
    for (uint32_t nth = 1; nth <= call.steps + 1; ++nth) {
      SCOPED_TRACE(testing::Message() << call.call << " " << nth);
      host::FailCall(call.call, nth, 5);
      EXPECT_EQ(SetQVAsDefaultMailClient("C:\\x.dll"), nth > call.steps ? 1 : 0);
      EXPECT_EQ(host::FaultsStruck(), nth > call.steps ? 0u : 1u);
      host::ClearFaults();
      EXPECT_EQ(host::OpenHandles(), handles);
    }
  }
  EXPECT_THAT(TakeBoxTexts(), testing::IsEmpty());
}

}  // namespace
}  // namespace mapi_test
