// A print shop: clients share two printers, a cashier takes their money, and at the end of the day
// the manager closes.
#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "tasks/critical_regions.h"
#include "tasks/scheduler.h"
#include "tasks/semaphores.h"
#include "tasks/task_info.h"
#include "tasks/task_messages.h"
#include "tasks/waits.h"

namespace {

constexpr uint32_t kStack = 64000;  // bytes, of each task
constexpr uint32_t kAllStacks = 1 << 20;
constexpr uint32_t kCentsPerPage = 15;
constexpr uint32_t kMillisPerPage = 20;

struct Shop {
  ZRSemaphore* printers = nullptr;
  TaskId cashier = 0;
  int clients = 0;  // that have not paid yet
};

struct Bill : ZRTaskMessage {
  uint32_t pages = 0;
};

Shop& ShopOf(const TCB* task) { return *reinterpret_cast<Shop*>(task->parameter); }

// Serves for ever. What it asks of a message it asks before the reply, after which the sender goes
// on and the record may be gone.
void Cashier(TCB*) {
  while (ZRTaskMessage* message = ZRTaskGetMessage(true)) {
    const uint32_t cents = static_cast<Bill*>(message)->pages * kCentsPerPage;
    std::printf("cashier: %s pays\n", ZRTaskGetName(ZRTaskMessageSender(message)));
    ZRTaskReply(message, cents);
  }
}

void Client(TCB* task) {
  Shop& shop = ShopOf(task);
  const char* name = ZRTaskGetName(0);
  const uint32_t pages = name[0] == 'B' ? 5 : 2;  // Bob has more
  std::printf("%s: waits for a printer\n", name);
  if (!ZRTaskGetSemaphore(shop.printers, 1, true)) return;
  std::printf("%s: prints\n", name);
  ZRTaskYieldMillis(pages * kMillisPerPage, false);  // the printer works, and so do the others
  ZRTaskRelSemaphore(shop.printers, 1);

  Bill bill;  // on the stack of the task, which waits for the reply
  bill.pages = pages;
  uint32_t paid = 0;
  ZRTaskSendMessage(shop.cashier, &bill, &paid);
  std::printf("%s: has paid %u cents\n", name, static_cast<unsigned>(paid));
  --shop.clients;  // no lock: nobody else runs before the next wait
}

void Manager(TCB* task) {
  Shop& shop = ShopOf(task);
  while (shop.clients > 0) ZRTaskYieldMillis(30, false);
  ZRTaskKill(shop.cashier);  // or the kernel would never be without tasks
  ZRTaskDisposeSemaphore(&shop.printers);
  std::printf("manager: closes\n");
}

TaskId Start(const char* name, ZRTaskEntry entry, Shop* shop) {
  const TaskId task = ZRTaskCreate(kStack, entry, reinterpret_cast<uintptr_t>(shop));
  ZRTaskSetName(name, task, 0);
  return task;
}

int32_t OpenShop(uintptr_t argument) {
  auto* shop = reinterpret_cast<Shop*>(argument);
  shop->printers = ZRTaskNewSemaphore(2);
  shop->cashier = Start("cashier", Cashier, shop);
  for (const char* name : {"Ann", "Bob", "Cid"}) {
    if (Start(name, Client, shop) != 0) ++shop->clients;
  }
  Start("manager", Manager, shop);
  ZRTaskLeaveCritical();  // the kernel begins in a region: now tasks may switch
  ZRTaskYield();          // returns when all tasks have ended
  return shop->clients;
}

}  // namespace

int main() {
  Shop shop;
  const int32_t left =
      ZRTaskStartKernel(kAllStacks, nullptr, OpenShop, reinterpret_cast<uintptr_t>(&shop));
  std::printf("main: %d clients left\n", static_cast<int>(left));
  return left == 0 ? 0 : 1;
}
