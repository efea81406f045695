// Events, messages, counted operations, critical regions, words changed under the kernel lock.
#include <thread>
#include <vector>

#include "tasks/task_messages.h"
#include "tasks/worker_link.h"
#include "tests/tasks/kernel_fixture.h"

namespace {

class WaitsTest : public test::KernelTest {};

// Where a task cannot wait every wait returns at once, with nothing.
const struct {
  const char* name;
  uint32_t (*wait)();
} kWaits[] = {
    {"yield", [] { return ZRTaskYield(), 0u; }},
    {"sleep", [] { return ZRTaskYieldMicros(1000000000, false), 0u; }},
    {"sleep of milliseconds", [] { return ZRTaskYieldMillis(600000, true), 0u; }},
    {"sleep of ticks", [] { return ZRTaskYieldTicks(36000, false), 0u; }},
    {"yield to", [] { return uint32_t{ZRTaskYieldTo(0)}; }},
    {"events", [] { return ZRTaskWaitEvents(0xFFFF); }},
    {"job", [] { return uint32_t{qv::WaitForJob(nullptr)}; }},
    {"job of the workers' layer", [] { return ZRTaskWaitIO(), 0u; }},
    {"message", [] { return uint32_t{ZRTaskGetMessage(true) != nullptr}; }},
    {"reply", [] { return uint32_t{ZRTaskSendValue(ZRTaskCurrent(), 1, nullptr)}; }},
};

TEST_F(WaitsTest, NoneInACriticalRegionNorWithoutATask) {
  RunTasks([this] {
    for (const auto& row : kWaits) EXPECT_EQ(row.wait(), 0u) << row.name << ", no task";
    EXPECT_EQ(ZRTaskGetEvents(true), 0u);
    Spawn("a", [this] {
      qv::CriticalRegion outer, inner;
      for (const auto& row : kWaits) EXPECT_EQ(row.wait(), 0u) << row.name << ", in a region";
      EXPECT_EQ(ZRTaskGetEvents(true), 0u);
      Log("a");
    });
    Spawn("b", [this] { Log("b"); });
  });
  EXPECT_EQ(log, "a b");
}

TEST_F(WaitsTest, Events) {
  RunTasks([this] {
    static TaskId waiter;
    waiter = Spawn("waiter", [this] {
      EXPECT_EQ(ZRTaskWaitEvents(0x6), 0x2u);
      Log("first");
      EXPECT_EQ(ZRTaskGetEvents(false), 0x3u);
      // Set already, and blocks all the same.
      EXPECT_EQ(ZRTaskWaitEvents(0x1), 0u);
      Log("second");
      EXPECT_EQ(ZRTaskGetEvents(true), 0x10u);
      EXPECT_EQ(ZRTaskGetEvents(false), 0u);
    });
    Spawn("signaller", [this] {
      ZRTaskSignal(waiter, 0x3);
      ZRTaskSignal(waiter, 0x1000);  // ready by now: nothing
      Log("signalled");
      ZRTaskYield();
      ZRTaskYield();
      Log("still");
      ZRTaskSignal(waiter, 0x10);  // sets the whole word, wakes whatever the mask
    });
  });
  EXPECT_EQ(log, "signalled first still second");
}

struct Texted : ZRTaskMessage {
  explicit Texted(const char* what) : text(what) {}
  const char* text;
};

TEST_F(WaitsTest, MessagesComeInTheirOrder) {
  RunTasks([this] {
    static Texted one("one"), two("two"), three("three");
    static TaskId receiver, poster;
    receiver = Spawn("receiver", [this] {
      while (const ZRTaskMessage* message = ZRTaskGetMessage(true)) {
        Log(static_cast<const Texted*>(message)->text);
        EXPECT_EQ(ZRTaskMessageSender(message), poster);
        if (message == &three) break;
      }
      EXPECT_EQ(ZRTaskGetMessage(false), nullptr);
      EXPECT_EQ(ZRTaskGetEvents(false), 0u);
      EXPECT_EQ(ZRTaskMessageSender(nullptr), 0u);
    });
    poster = Spawn("poster", [this] {
      EXPECT_EQ(ZRTaskGetState(receiver), qv::TaskState::kWaiting);
      EXPECT_TRUE(ZRTaskPostMessage(receiver, &one));
      EXPECT_TRUE(ZRTaskPostMessage(receiver, &two));
      EXPECT_FALSE(ZRTaskPostMessage(receiver + 1, &three));
      Log("posted");
      ZRTaskYield();
      EXPECT_TRUE(ZRTaskPostMessage(receiver, &three));
    });
  });
  EXPECT_EQ(log, "posted one two three");
}

TEST_F(WaitsTest, TheMessageBitFollowsTheQueue) {
  RunTasks([this] {
    static ZRTaskMessage message;
    static TaskId other;
    other = Spawn("other", [] {
      // A message does not end a wait for other events, nor does a signal hide it.
      EXPECT_EQ(ZRTaskWaitEvents(0x2), 0x2u);
      EXPECT_EQ(ZRTaskGetEvents(true), qv::kMessageEvent | 0x2);
      EXPECT_EQ(ZRTaskGetEvents(false), qv::kMessageEvent);
      EXPECT_EQ(ZRTaskGetMessage(false), &message);
      EXPECT_EQ(ZRTaskGetEvents(false), 0u);
      EXPECT_EQ(ZRTaskWaitEvents(0x2), 0u);
      EXPECT_EQ(ZRTaskGetEvents(false), 0u);
    });
    Spawn("poster", [] {
      ZRTaskPostMessage(other, &message);
      EXPECT_EQ(ZRTaskGetState(other), qv::TaskState::kWaiting);
      ZRTaskSignal(other, 0x2);
      ZRTaskYield();
      ZRTaskSignal(other, qv::kMessageEvent);  // without a message there is no bit
    });
  });
}

TEST_F(WaitsTest, Replies) {
  RunTasks([this] {
    static TaskId server;
    server = Spawn("server", [this] {
      ZRTaskMessage* message = ZRTaskGetMessage(true);
      EXPECT_EQ(static_cast<ZRTaskValueMessage*>(message)->value, 41u);
      ZRTaskMessage stranger;
      stranger.sender = message->sender;
      ZRTaskReply(&stranger, 1);  // not the one that it waits on
      ZRTaskReply(nullptr, 1);
      ZRTaskYield();
      Log("replies");
      ZRTaskReply(message, 42);
      ZRTaskReply(message, 43);  // has its reply
    });
    Spawn("client", [this] {
      uint32_t reply = 0;
      EXPECT_TRUE(ZRTaskSendValue(server, 41, &reply));
      EXPECT_EQ(reply, 42u);
      Log("answered");
      EXPECT_FALSE(ZRTaskSendValue(server, 41, &reply));  // gone
      EXPECT_EQ(reply, 42u);
    });
  });
  EXPECT_EQ(log, "replies answered");
}

TEST_F(WaitsTest, BlockingOperationsYieldAtTheLimit) {
  const struct {
    const char* name;
    uint32_t limit;
    int setting;
    int before;  // operations that do not yield
  } kRows[] = {
      {"the setting", kSettingIOLimit, 3, 3},
      {"one of its own", 2, 3, 2},
      {"none", 0, 3, 0},
      {"the setting's own none", kSettingIOLimit, 0, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Set("QVSetup/LimitIO=" + std::to_string(row.setting));
    qv::ResetWaitsForTest();
    RunTasks([&] {
      EXPECT_FALSE(ZRTaskCountIO(row.limit));  // no task
      Spawn("a", [&row] {
        for (int round = 0; round < 2; ++round) {
          for (int i = 0; i < row.before; ++i) EXPECT_FALSE(ZRTaskCountIO(row.limit));
          EXPECT_TRUE(ZRTaskCountIO(row.limit));
        }
      });
      Spawn("b", [] {
        for (int i = 0; i < 9; ++i) ZRTaskYield();
      });
    });
  }
}

TEST_F(WaitsTest, AFlagIsHeldByOneTaskAtATime) {
  RunInBothModes([this] {
    static uint32_t flag;
    static bool inside;
    flag = 0;
    inside = false;
    for (int i = 0; i < 20; ++i) {
      Spawn("a", [this, i] {
        EXPECT_EQ(ZRTaskAcquireFlag(&flag), 0u);
        EXPECT_FALSE(std::exchange(inside, true));
        for (int turn = 0; turn < i % 4; ++turn) ZRTaskYield();
        inside = false;
        ZRTaskReleaseFlag(&flag);
        log += '.';
      });
    }
  });
  EXPECT_EQ(log, std::string(40, '.'));
}

TEST_F(WaitsTest, WordsChangeWholeBetweenThreads) {
  constexpr uint32_t kThreads = 4, kRounds = 5000;
  uint32_t word = 7, exchanged = 0, sum = 0;
  EXPECT_EQ(ZRTaskAtomicIncrement(&word), 7u);
  EXPECT_EQ(ZRTaskAtomicDecrement(&word), 8u);
  EXPECT_EQ(ZRTaskAtomicExchange(&word, 0), 7u);
  EXPECT_EQ(ZRTaskAtomicDecrement(&word), 0u);
  EXPECT_EQ(ZRTaskAtomicIncrement(&word), 0xFFFFFFFFu);
  std::vector<std::thread> threads;
  for (uint32_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (uint32_t round = 1; round <= kRounds; ++round) {
        ZRTaskAtomicIncrement(&word);
        // The kernel lock guards whatever is changed in a region that holds it.
        qv::CriticalRegion region(true);
        sum += std::exchange(exchanged, round);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(word, kThreads * kRounds);
  EXPECT_EQ(sum + exchanged, kThreads * (kRounds * (kRounds + 1) / 2));
}

}  // namespace
