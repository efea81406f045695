#include "platform/host/message_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/host/calls.h"
#include "platform/host/clock.h"
#include "platform/host/native_files.h"
#include "platform/host/process.h"

namespace host {
namespace {

// What posted work shows as: a message of DDE for a window that the program does not know.
constexpr UINT kWorkMessage = 0x03E0;
HWND WorkWindow() { return reinterpret_cast<HWND>(uintptr_t{0x30}); }

constexpr DWORD kInvalidThreadId = 1444;
constexpr int kBlindMilliseconds = 10;  // between two looks when there is no descriptor to wake

using Sources = std::vector<std::shared_ptr<QueueSource>>;

struct Queue {
  const Descriptor wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  std::mutex mutex;      // guards what follows
  bool waiting = false;  // the owner is about to sleep, or does
  Sources sources;
  std::deque<QueueWork> sent;
  std::deque<MSG> posted;
  std::map<LPARAM, QueueWork> work;  // of posted messages, until they are dispatched
  LPARAM next_work = 1;
  bool quitting = false;
  int quit_code = 0;
};

struct QueueTable {
  std::mutex mutex;
  std::map<DWORD, std::shared_ptr<Queue>> queues;  // by thread
};

QueueTable& State() {
  static auto& state = *new QueueTable;
  return state;
}

// A thread's queue leaves the table with the thread.
struct OwnQueue {
  std::shared_ptr<Queue> queue = std::make_shared<Queue>();
  OwnQueue() {
    std::lock_guard hold(State().mutex);
    State().queues[GetCurrentThreadId()] = queue;
  }
  ~OwnQueue() {
    std::lock_guard hold(State().mutex);
    State().queues.erase(GetCurrentThreadId());
  }
  OwnQueue(const OwnQueue&) = delete;
  OwnQueue& operator=(const OwnQueue&) = delete;
};

Queue& Own() {
  thread_local OwnQueue own;
  return *own.queue;
}

std::shared_ptr<Queue> QueueOf(DWORD thread) {
  QueueTable& table = State();
  std::lock_guard hold(table.mutex);
  auto found = table.queues.find(thread);
  return found == table.queues.end() ? nullptr : found->second;
}

MSG MakeMessage(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
  return {window, message, wide, parameter, static_cast<DWORD>(RealMilliseconds()), {0, 0}};
}

// Runs sent work; the lock is given up meanwhile.
void RunSentWork(Queue& queue, std::unique_lock<std::mutex>& hold) {
  while (!queue.sent.empty()) {
    QueueWork work = std::move(queue.sent.front());
    queue.sent.pop_front();
    hold.unlock();
    work();
    hold.lock();
  }
}

// The next message in the range (both ends 0: any). A quit comes after everything posted.
std::optional<MSG> NextMessage(Queue& queue, UINT first, UINT last, bool remove) {
  bool any = first == 0 && last == 0;
  for (auto at = queue.posted.begin(); at != queue.posted.end(); ++at) {
    if (!any && (at->message < first || at->message > last)) continue;
    MSG message = *at;
    if (remove) queue.posted.erase(at);
    return message;
  }
  if (!queue.quitting) return std::nullopt;
  if (remove) queue.quitting = false;
  return MakeMessage(nullptr, WM_QUIT, static_cast<WPARAM>(queue.quit_code), 0);
}

// Ends the owner's sleep.
void Wake(const Queue& queue) {
  const uint64_t one = 1;
  if (write(queue.wake.number(), &one, sizeof one) < 0) return;  // it looks by itself soon
}

bool AddTo(DWORD thread, const std::function<void(Queue&)>& add) {
  std::shared_ptr<Queue> queue = QueueOf(thread);
  if (!queue) return false;
  std::lock_guard hold(queue->mutex);
  add(*queue);
  if (queue->waiting) Wake(*queue);
  return true;
}

// What a source added to the entries.
struct Share {
  std::shared_ptr<QueueSource> source;
  size_t first, count;
};

// Asks the sources what to wait for; those that are done leave the queue.
std::vector<Share> Prepare(Queue& queue, const Sources& sources, std::vector<pollfd>& entries,
                           int* milliseconds) {
  std::vector<Share> shares;
  for (const std::shared_ptr<QueueSource>& source : sources) {
    const size_t first = entries.size();
    if (source->Prepare(&entries, milliseconds)) {
      shares.push_back({source, first, entries.size() - first});
    } else {
      std::lock_guard hold(queue.mutex);
      std::erase(queue.sources, source);
    }
  }
  return shares;
}

// Takes back what Wake wrote, if anything.
void EndWake(const Queue& queue) {
  uint64_t count;
  if (read(queue.wake.number(), &count, sizeof count) < 0) return;
}

// Waits for the sources and for what others put into the queue, or only looks. The lock is given
// up meanwhile.
void LookAtSources(Queue& queue, std::unique_lock<std::mutex>& hold, bool wait) {
  const Sources sources = queue.sources;
  queue.waiting = wait;
  hold.unlock();
  int milliseconds = wait ? (queue.wake.is_open() ? -1 : kBlindMilliseconds) : 0;
  std::vector<pollfd> entries{{queue.wake.number(), POLLIN, 0}};
  const std::vector<Share> shares = Prepare(queue, sources, entries, &milliseconds);
  const bool ready = poll(entries.data(), entries.size(), milliseconds) >= 0;
  if (ready && entries[0].revents != 0) EndWake(queue);
  hold.lock();
  queue.waiting = false;
  if (!ready) return;
  hold.unlock();
  for (const Share& share : shares) {
    share.source->Serve({entries.data() + share.first, share.count});
  }
  hold.lock();
}

}  // namespace

void MakeMessageQueue() { Own(); }

void AddQueueSource(DWORD thread, std::shared_ptr<QueueSource> source) {
  AddTo(thread, [&](Queue& queue) { queue.sources.push_back(std::move(source)); });
}

void WakeQueue(DWORD thread) {
  AddTo(thread, [](Queue&) {});
}

bool SendWork(DWORD thread, QueueWork work) {
  return AddTo(thread, [&](Queue& queue) { queue.sent.push_back(std::move(work)); });
}

bool PostWork(DWORD thread, QueueWork work) {
  return AddTo(thread, [&](Queue& queue) {
    LPARAM number = queue.next_work++;
    queue.work.emplace(number, std::move(work));
    queue.posted.push_back(MakeMessage(WorkWindow(), kWorkMessage, 0, number));
  });
}

}  // namespace host

using host::Enter;
using host::Fail;

BOOL GetMessageA(MSG* message, HWND, UINT first, UINT last) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, -1);
  host::Queue& queue = host::Own();
  std::unique_lock hold(queue.mutex);
  // A program that always has messages reaches its sources too.
  if (!queue.posted.empty() && !queue.sources.empty()) host::LookAtSources(queue, hold, false);
  for (;;) {
    host::RunSentWork(queue, hold);
    if (std::optional<MSG> next = host::NextMessage(queue, first, last, true)) {
      *message = *next;
      return message->message != WM_QUIT;
    }
    host::LookAtSources(queue, hold, true);
  }
}

BOOL PeekMessageA(MSG* message, HWND, UINT first, UINT last, UINT remove) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  host::Queue& queue = host::Own();
  std::unique_lock hold(queue.mutex);
  if (!queue.sources.empty()) host::LookAtSources(queue, hold, false);
  host::RunSentWork(queue, hold);
  std::optional<MSG> next = host::NextMessage(queue, first, last, (remove & PM_REMOVE) != 0);
  if (next) *message = *next;
  return next.has_value();
}

// There is no keyboard whose keys could be made characters of.
BOOL TranslateMessage(const MSG*) {
  Enter(__func__);
  return FALSE;
}

LRESULT DispatchMessageA(const MSG* message) {
  if (Enter(__func__) || message->hwnd != host::WorkWindow()) return 0;
  host::Queue& queue = host::Own();
  std::unique_lock hold(queue.mutex);
  auto work = queue.work.extract(message->lParam);
  hold.unlock();
  if (work) work.mapped()();
  return 0;
}

BOOL PostThreadMessageA(DWORD thread, UINT message, WPARAM wide, LPARAM parameter) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  bool posted = host::AddTo(thread, [&](host::Queue& queue) {
    queue.posted.push_back(host::MakeMessage(nullptr, message, wide, parameter));
  });
  return posted ? TRUE : Fail(host::kInvalidThreadId, FALSE);
}

void PostQuitMessage(int code) {
  Enter(__func__);
  host::Queue& queue = host::Own();
  std::lock_guard hold(queue.mutex);
  queue.quitting = true;
  queue.quit_code = code;
}
