#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "tests/test_platform.h"

namespace {

void EmptyQueue() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
  }
}

TEST(MessagesTest, PostedMessagesArriveInOrderAndQuitEndsTheLoop) {
  EmptyQueue();
  DWORD thread = GetCurrentThreadId();
  ASSERT_TRUE(PostThreadMessageA(thread, WM_APP, 1, 2));
  ASSERT_TRUE(PostThreadMessageA(thread, WM_APP + 1, 3, 4));
  ASSERT_TRUE(PostThreadMessageA(thread, WM_QUIT, 3, 0));
  MSG message{};
  ASSERT_GT(GetMessageA(&message, nullptr, 0, 0), 0);
  EXPECT_EQ(message.message, static_cast<UINT>(WM_APP));
  EXPECT_EQ(message.wParam, 1u);
  EXPECT_EQ(message.lParam, 2);
  ASSERT_GT(GetMessageA(&message, nullptr, 0, 0), 0);
  EXPECT_EQ(message.message, WM_APP + 1u);
  EXPECT_EQ(GetMessageA(&message, nullptr, 0, 0), 0);
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 3u);
}

TEST(MessagesTest, PeekLooksWithoutWaiting) {
  EmptyQueue();
  MSG message{};
  EXPECT_FALSE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
  ASSERT_TRUE(PostThreadMessageA(GetCurrentThreadId(), WM_APP + 5, 0, 0));
  EXPECT_FALSE(PeekMessageA(&message, nullptr, WM_APP + 6, WM_APP + 9, PM_REMOVE));
  EXPECT_TRUE(PeekMessageA(&message, nullptr, 0, 0, 0)) << "and left there";
  EXPECT_TRUE(PeekMessageA(&message, nullptr, WM_APP + 5, WM_APP + 5, PM_REMOVE));
  EXPECT_FALSE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST(MessagesTest, OtherThreadIsWokenByAMessage) {
  std::promise<DWORD> ready;
  UINT received = 0;
  std::thread other([&] {
    MSG message;
    PeekMessageA(&message, nullptr, 0, 0, 0);  // makes the queue
    ready.set_value(GetCurrentThreadId());
    if (GetMessageA(&message, nullptr, 0, 0) > 0) received = message.message;
  });
  DWORD thread = ready.get_future().get();
  EXPECT_TRUE(PostThreadMessageA(thread, WM_APP + 1, 0, 0));
  other.join();
  EXPECT_EQ(received, WM_APP + 1u);
  EXPECT_FALSE(PostThreadMessageA(thread, WM_APP, 0, 0)) << "the thread is gone";
}

TEST(MessagesTest, BoxesAreWatchedAndAnswered) {
  test::MessageBoxWatcher watcher(IDNO);
  EXPECT_EQ(MessageBoxA(nullptr, "Really?", "Question", MB_YESNO), IDNO);
  EXPECT_EQ(watcher.Take(), (std::vector<test::BoxText>{{"Question", "Really?"}}));
  EXPECT_TRUE(watcher.Take().empty());
}

}  // namespace
