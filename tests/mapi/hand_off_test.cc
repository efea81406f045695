#include "mapi/hand_off.h"

#include <cstring>

#include "mapi/request_builder.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {
namespace {

constexpr char kRequest[] = "mailto:?subject=a%20b\n&=?/\\\xC3\xA9";

class HandOffTest : public testing::Test {
 protected:
  HandOffTest() { std::strcpy(qv::RequestBuffers().request, kRequest); }

  // Milliseconds that the delivery took.
  DWORD Deliver(bool expected) {
    const DWORD start = GetTickCount();
    EXPECT_EQ(DeliverMailRequest(), expected);
    return GetTickCount() - start;
  }
  const std::string delivered_ = std::string(kRequest) + "&";
};

TEST_F(HandOffTest, RunningClient) {
  const struct {
    const char* name;
    ServerSettings settings;
    bool delivered, received;
  } kRows[] = {
      {"acknowledges", {"accept", 0, 0}, true, true},
      {"acknowledges too late", {"accept", 0, 1500}, true, true},
      {"refuses", {"refuse", 0, 0}, false, true},
      {"dies before it accepts", {"die-at-connect", 0, 0}, false, false},
      {"dies with the request", {"die-at-execute", 0, 0}, true, true},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    RunningServer server(row.settings);
    std::strcpy(qv::RequestBuffers().request, kRequest);
    EXPECT_LT(Deliver(row.delivered), 3000u) << "no client is registered: no retry";
    EXPECT_EQ(ReceivedRequest(), row.received ? delivered_ : "");
  }
}

TEST_F(HandOffTest, ClientIsStartedFromItsCommandInQuotes) {
  RegisteredCommand command("\"" + ServerPath() + "\"");
  PrepareServer({"accept", 3000, 0});
  const DWORD taken = Deliver(true);
  EXPECT_GE(taken, 2900u);
  EXPECT_LT(taken, 9000u);
  WaitUntilServerIsGone();
  EXPECT_EQ(ReceivedRequest(), delivered_);
}

TEST_F(HandOffTest, CommandsThatStartNothing) {
  PrepareServer({});
  EXPECT_LT(Deliver(false), 3000u) << "no command is registered";
  for (const std::string& text : {ServerPath() + " -url", std::string("C:\\qv\\missing.exe"),
                                  std::string("\"\""), std::string(400, 'x')}) {
    SCOPED_TRACE(text);
    RegisteredCommand command(text);
    EXPECT_LT(Deliver(false), 3000u);
  }
  EXPECT_EQ(ReceivedRequest(), "");
}

}  // namespace
}  // namespace mapi_test
