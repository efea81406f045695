// Every failing step of the hand-off, forced one at a time, and what it leaves behind.
#include <gmock/gmock.h>

#include <cstring>

#include "mapi/hand_off.h"
#include "mapi/request_builder.h"
#include "platform/host/control.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HandOffFaultTest : public testing::Test {
 protected:
  HandOffFaultTest() {
    std::strcpy(qv::RequestBuffers().request, "mailto:?secret");
    host::TakeDebugOutput();
    host::ResetCallCounts();
    handles_ = host::OpenHandles();
  }
  ~HandOffFaultTest() override {
    host::ClearFaults();
    host::ThawTicks();
    EXPECT_EQ(host::OpenHandles(), handles_);
  }
  uint32_t handles_ = 0;
};

TEST_F(HandOffFaultTest, EachStepOfAConversation) {
  const struct {
    const char* call;
    uint32_t nth;
    DWORD error;
    bool delivered;
    const char* line;
  } kRows[] = {
      {"DdeInitializeA", 1, 0x400F, false, "DdeInitialize failed with error 0x400F"},
      {"DdeCreateStringHandleA", 1, 0x4008, false, "0x4008; no handle for the service name"},
      {"DdeCreateStringHandleA", 2, 0x4006, false, "0x4006; no handle for the topic name"},
      {"DdeConnect", 1, 0x400A, false, "DdeConnect failed with error 0x400A; no client answers"},
      {"DdeClientTransaction", 1, 0x4009, false, "DdeClientTransaction failed with error 0x4009"},
      {"DdeClientTransaction", 1, 0x400E, false, "DdeClientTransaction failed with error 0x400E"},
      {"DdeClientTransaction", 1, 0x4002, true, nullptr},
      {"DdeClientTransaction", 1, 0x4005, true, nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.call << " " << row.nth << " " << std::hex << row.error);
    RunningServer server;
    host::TakeDebugOutput();
    host::FailCall(row.call, row.nth, row.error);
    EXPECT_EQ(SendRequestOverDde("mailto:?secret"), row.delivered);
    EXPECT_EQ(host::FaultsStruck(), 1u);
    host::ClearFaults();
    EXPECT_EQ(host::OpenHandles(), handles_ + 1) << "only that of the server's process";
    const auto lines = host::TakeDebugOutput();
    if (row.line) {
      EXPECT_THAT(lines, ElementsAre(HasSubstr(row.line)));
      EXPECT_THAT(lines[0],
                  testing::AllOf(testing::StartsWith("QVSMAPI: "), testing::EndsWith("\n"),
                                 testing::Not(HasSubstr("secret"))));
    } else {
      EXPECT_THAT(lines, IsEmpty());
    }
  }
}

TEST_F(HandOffFaultTest, EachStepOfALaunch) {
  RegisteredCommand command(ServerPath());
  const struct {
    const char* call;
    uint32_t nth;
    DWORD error;
    const char* line;
  } kRows[] = {
      {"RegOpenKeyExA", 1, 2, "RegOpenKeyEx failed with error 2;"},
      {"RegOpenKeyExA", 2, 5, "RegOpenKeyEx failed with error 5;"},
      {"RegOpenKeyExA", 3, 5, "RegOpenKeyEx failed with error 5;"},
      {"RegOpenKeyExA", 4, 1018, "RegOpenKeyEx failed with error 1018;"},
      {"RegQueryValueExA", 1, 234, "RegQueryValueEx failed with error 234;"},
      {"CreateProcessA", 1, 193, "CreateProcess failed with error 193;"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.call << " " << row.nth);
    host::FailCall(row.call, row.nth, row.error);
    EXPECT_FALSE(LaunchMailClient());
    EXPECT_EQ(host::FaultsStruck(), 1u);
    host::ClearFaults();
    EXPECT_EQ(host::OpenHandles(), handles_);
    EXPECT_THAT(host::TakeDebugOutput(), ElementsAre(HasSubstr(row.line)));
  }
}

TEST_F(HandOffFaultTest, NothingRegisteredMeansOneAttemptAndTwoLines) {
  EXPECT_FALSE(DeliverMailRequest());
  EXPECT_EQ(host::CallsMade("DdeConnect"), 1u);
  EXPECT_THAT(host::TakeDebugOutput(),
              ElementsAre(HasSubstr("no client answers"), HasSubstr("no command is registered")));
}

// The counter passes its end in the middle of the retries.
TEST_F(HandOffFaultTest, RetriesEndAfterTenSecondsAlsoAcrossTheWrapOfTheTicks) {
  RegisteredCommand command(ServerPath());
  PrepareServer({"silent", 0, 0});
  for (const DWORD start : {DWORD{1000}, DWORD{0xFFFFFFFF - 5000}}) {
    SCOPED_TRACE(start);
    std::strcpy(qv::RequestBuffers().request, "mailto:?secret");
    host::FailCall("DdeConnect", 1, 0x400A, true);
    host::ResetCallCounts();
    host::FreezeTicks(start, 100);
    EXPECT_FALSE(DeliverMailRequest());
    host::ThawTicks();
    host::ClearFaults();
    // One attempt before the client is started, then one for each reading below the limit.
    EXPECT_EQ(host::CallsMade("DdeConnect"), 1u + 99u);
    EXPECT_THAT(host::TakeDebugOutput(),
                ElementsAre(HasSubstr("no client answers"), HasSubstr("QVSMAPI: 99 attempts in ")));
  }
}

TEST_F(HandOffFaultTest, RetriesThatEndWellLeaveOneLine) {
  RunningServer server;
  PrepareServer({"silent", 0, 0});  // for the one that is started beside it
  RegisteredCommand command(ServerPath());
  host::TakeDebugOutput();
  host::FailCall("DdeClientTransaction", 1, 0x4009);
  host::FailCall("DdeConnect", 2, 0x400A);
  EXPECT_TRUE(DeliverMailRequest());
  EXPECT_THAT(host::TakeDebugOutput(),
              ElementsAre(HasSubstr("0x4009"), HasSubstr("QVSMAPI: 1 attempts in ")));
  EXPECT_EQ(ReceivedRequest(), "mailto:?secret&");
}

}  // namespace
}  // namespace mapi_test
