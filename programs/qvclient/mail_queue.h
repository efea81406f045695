// Messages that were accepted and wait to be stored, and the thread that stores them: the server
// acknowledges at once however large a message is.
//
//   MailQueue queue([&](Delivery& delivery) { mailbox.Store(delivery); });
//   queue.Add(mailbox.Receive(text));        // any thread
//   queue.Finish();         // everything added is handled
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "programs/qvclient/mailbox.h"

namespace qvclient {

class MailQueue {
 public:
  using Handler = std::function<void(Delivery& delivery)>;

  explicit MailQueue(Handler handler);
  ~MailQueue() { Finish(); }
  MailQueue(const MailQueue&) = delete;
  MailQueue& operator=(const MailQueue&) = delete;

  void Add(Delivery delivery);
  // Handles what is left and ends the thread; nothing may be added afterwards.
  void Finish();

 private:
  void Work();
  bool Next(Delivery* delivery);

  Handler handler_;
  std::mutex mutex_;  // guards the two below
  std::deque<Delivery> waiting_;
  bool finishing_ = false;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace qvclient
