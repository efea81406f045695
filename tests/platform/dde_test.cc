#include <gtest/gtest.h>

#include "tests/platform/child_process.h"
#include "tests/platform/dde_client.h"
#include "tests/test_platform.h"

namespace {

using platform_test::Child;
using platform_test::DdeClient;
using platform_test::WaitForText;

std::string LogFile(const std::string& behaviour) {
  return test::TempFolder() + "\\dde_" + behaviour + ".txt";
}

TEST(DdeTest, WhatTheClientSeesOfEachServer) {
  const struct {
    const char* behaviour;
    UINT error;
    DWORD least, most;  // milliseconds
  } kRows[] = {
      {"accept", 0, 0, 900},
      {"refuse", DMLERR_NOTPROCESSED, 0, 900},
      {"refuse-connect", DMLERR_NO_CONV_ESTABLISHED, 0, 900},
      {"slow", DMLERR_EXECACKTIMEOUT, 900, 1450},
      {"die-at-connect", DMLERR_NO_CONV_ESTABLISHED, 0, 900},
      {"die-at-execute", DMLERR_EXECACKTIMEOUT, 900, 1450},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.behaviour);
    const std::string file = LogFile(row.behaviour);
    Child server({"serve", "QVPlatformTest", row.behaviour, file});
    ASSERT_TRUE(WaitForText(file, "ready"));
    DWORD start = GetTickCount();
    DdeClient client;
    EXPECT_EQ(client.ConnectAndExecute("QVPlatformTest", "text=1"), row.error);
    DWORD taken = GetTickCount() - start;
    EXPECT_GE(taken, row.least);
    EXPECT_LE(taken, row.most);
  }
}

TEST(DdeTest, DataArriveExactlyAndTheServerHearsTheEnd) {
  const std::string file = LogFile("data");
  Child server({"serve", "QVPlatformTest", "accept", file});
  ASSERT_TRUE(WaitForText(file, "ready"));
  const std::string texts[] = {"a", std::string("in\0side", 7), std::string(21768, 'x')};
  std::string expected = "ready\n";
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.size());
    DdeClient client;
    EXPECT_EQ(client.ConnectAndExecute("qvplatformTEST", text), 0u) << "letter case is ignored";
    EXPECT_EQ(client.Execute(text), 0u) << "in the same conversation";
    const std::string line = std::to_string(text.size()) + ":" + text + "\n";
    expected += line + line + "end\n";
  }
  EXPECT_TRUE(WaitForText(file, expected));
}

TEST(DdeTest, ClientThatLeavesEarlyDisturbsNobody) {
  const std::string file = LogFile("leave");
  Child server({"serve", "QVPlatformTest", "slow", file});
  ASSERT_TRUE(WaitForText(file, "ready"));
  {
    DdeClient client;
    ASSERT_EQ(client.Connect("QVPlatformTest"), 0u);
    EXPECT_EQ(client.Execute("first", 50), static_cast<UINT>(DMLERR_EXECACKTIMEOUT));
  }
  DdeClient next;
  ASSERT_EQ(next.Connect("QVPlatformTest"), 0u) << "waits until the server looks up";
  EXPECT_EQ(next.Execute("second", 5000), 0u);
  EXPECT_TRUE(WaitForText(file, "5:first\n"));
  EXPECT_TRUE(WaitForText(file, "6:second\n"));
}

TEST(DdeTest, KilledServerMakesRoomForTheNext) {
  for (const char* round : {"killed1", "killed2"}) {
    SCOPED_TRACE(round);
    const std::string file = LogFile(round);
    Child server({"serve", "QVPlatformTest", "accept", file});
    ASSERT_TRUE(WaitForText(file, "ready"));
    EXPECT_EQ(DdeClient().ConnectAndExecute("QVPlatformTest", "text"), 0u);
    server.Kill();
    DdeClient late;
    EXPECT_EQ(late.Connect("QVPlatformTest"), static_cast<UINT>(DMLERR_NO_CONV_ESTABLISHED));
    EXPECT_EQ(DdeGetLastError(late.instance()), static_cast<UINT>(DMLERR_NO_ERROR)) << "read once";
  }
}

TEST(DdeTest, StringHandles) {
  DdeClient client;
  DWORD instance = client.instance();
  HSZ a = DdeCreateStringHandleA(instance, "Service", CP_WINANSI);
  HSZ same = DdeCreateStringHandleA(instance, "SERVICE", CP_WINANSI);
  HSZ other = DdeCreateStringHandleA(instance, "Topic", CP_WINANSI);
  EXPECT_EQ(DdeCmpStringHandles(a, same), 0);
  EXPECT_NE(DdeCmpStringHandles(a, other), 0);
  for (HSZ handle : {a, same, other}) EXPECT_TRUE(DdeFreeStringHandle(instance, handle));
}

}  // namespace
