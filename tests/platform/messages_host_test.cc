#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>
#include <thread>

#include "platform/windows_api.h"

namespace {

// While one lives, nothing gets a descriptor.
class NoDescriptors {
 public:
  NoDescriptors() {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit none{0, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit before_{};
};

TEST(MessagesHostTest, AQueueWithoutADescriptorIsReachedToo) {
  std::promise<DWORD> ready;
  UINT received = 0;
  std::thread other([&] {
    MSG message;
    {
      NoDescriptors scarce;
      PeekMessageA(&message, nullptr, 0, 0, 0);  // makes the queue
    }
    ready.set_value(GetCurrentThreadId());
    if (GetMessageA(&message, nullptr, 0, 0) > 0) received = message.message;
  });
  EXPECT_TRUE(PostThreadMessageA(ready.get_future().get(), WM_APP + 1, 0, 0));
  other.join();
  EXPECT_EQ(received, WM_APP + 1u);
}

}  // namespace
