#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "platform/host/control.h"
#include "tests/platform/child_process.h"
#include "tests/platform/dde_client.h"
#include "tests/test_platform.h"

namespace {

using platform_test::Child;
using platform_test::DdeClient;
using platform_test::WaitForText;

constexpr char kService[] = "QVHostTest";

// The one socket below the state directory.
std::string SocketPath() {
  for (const auto& entry : std::filesystem::directory_iterator(host::StateDirectory() + "/dde")) {
    if (entry.path().extension() == ".sock") return entry.path().string();
  }
  return "";
}

// A peer that speaks no DDE: connects and sends what it is given.
class Stranger {
 public:
  explicit Stranger(const std::string& bytes) : socket_(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, SocketPath().c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    if (!bytes.empty()) {
      EXPECT_GT(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), 0);
    }
  }
  ~Stranger() { close(socket_); }
  Stranger(const Stranger&) = delete;
  Stranger& operator=(const Stranger&) = delete;
  // Whether the server hangs up, within a few seconds.
  bool IsDropped() {
    timeval patience{5, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    char byte;
    ssize_t count;
    while ((count = recv(socket_, &byte, 1, 0)) > 0) {
    }
    return count == 0 || errno == ECONNRESET;
  }

 private:
  int socket_;
};

std::string Number(uint32_t n) { return std::string(reinterpret_cast<const char*>(&n), 4); }
std::string Frame(uint32_t kind, const std::string& body) {
  return Number(kind) + Number(static_cast<uint32_t>(body.size())) + body;
}

class DdeHostTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(WaitForText(file_, "ready")); }
  bool Serves() { return DdeClient().ConnectAndExecute(kService, "hello") == 0; }
  // A connect waits a few milliseconds only, which a server busy with others may need for them.
  bool ServesSoon() {
    for (int i = 0; i < 500; ++i) {
      if (Serves()) return true;
      Sleep(10);
    }
    return false;
  }

  // Emptied before the server, which is the next member, starts to write there.
  static std::string FreshLog() {
    test::EmptyFolder(test::TempFolder());
    return test::TempFolder() + "\\server.txt";
  }

  const std::string file_ = FreshLog();
  Child server_{{"serve", kService, "accept", file_}};
};

TEST_F(DdeHostTest, GarbageIsDroppedAtOnce) {
  const std::string greeting = Frame(1, std::string(kService) + '\0' + "Topic");
  const struct {
    const char* name;
    std::string bytes;
  } kRows[] = {
      {"no frame", std::string(1000, '\xFF')},
      {"unknown kind", Frame(99, "")},
      {"four gigabytes announced", Number(1) + Number(0xFFFFFFFF)},
      {"a server's frame", Frame(2, "")},
      {"greeting without a topic's place", Frame(1, kService)},
      {"greeting for another service", Frame(1, std::string("Other\0Topic", 11))},
      {"execute before the greeting", Frame(4, Number(1) + "text")},
      {"execute without its number", greeting + Frame(4, "x")},
      {"a second greeting", greeting + greeting},
      {"a topic without end", Frame(1, std::string(kService) + '\0' + std::string(70000, 't'))},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_TRUE(Stranger(row.bytes).IsDropped());
    EXPECT_TRUE(Serves());
  }
}

TEST_F(DdeHostTest, PeersThatKeepTheirPeaceBlockNobody) {
  std::vector<std::unique_ptr<Stranger>> silent;
  // More than the server has places for.
  for (int i = 0; i < 100; ++i) silent.push_back(std::make_unique<Stranger>(i % 2 ? "" : "\1"));
  EXPECT_TRUE(ServesSoon());
}

TEST_F(DdeHostTest, RequestsOfAPeerThatReadsNoAnswersDoNotPileUp) {
  std::string bytes = Frame(1, std::string(kService) + '\0' + "Topic");
  for (uint32_t i = 0; i < 500; ++i) bytes += Frame(4, Number(i) + "flood");
  Stranger flood(bytes);
  EXPECT_TRUE(ServesSoon());
  EXPECT_TRUE(WaitForText(file_, "5:flood\n5:flood\n"))
      << "what came in one piece is not forgotten";
}

TEST_F(DdeHostTest, SecondServerTakesOverWhenTheFirstIsGone) {
  const std::string file = test::TempFolder() + "\\second.txt";
  Child second({"serve", kService, "accept", file});
  ASSERT_TRUE(WaitForText(file, "ready"));
  EXPECT_TRUE(Serves());
  EXPECT_TRUE(WaitForText(file_, "hello")) << "the first one wins";
  server_.Kill();
  EXPECT_TRUE(ServesSoon());
  EXPECT_TRUE(WaitForText(file, "hello"));
}

TEST(DdeFrozenTest, WaitsMoveTheFrozenClockOn) {
  host::FreezeTicks(1000);
  EXPECT_EQ(DdeClient().Connect("QVNoSuchService"), static_cast<UINT>(DMLERR_NO_CONV_ESTABLISHED));
  EXPECT_GT(GetTickCount(), 1000u);
  const std::string file = test::TempFolder() + "\\dies.txt";
  Child server({"serve", kService, "die-at-execute", file});
  host::ThawTicks();
  ASSERT_TRUE(WaitForText(file, "ready"));
  host::FreezeTicks(5000);
  EXPECT_EQ(DdeClient().ConnectAndExecute(kService, "text"),
            static_cast<UINT>(DMLERR_EXECACKTIMEOUT));
  EXPECT_EQ(GetTickCount(), 6000u);
  host::ThawTicks();
}

}  // namespace
