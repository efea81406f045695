#include "programs/qvclient/mail_queue.h"

namespace qvclient {

MailQueue::MailQueue(Handler handler) : handler_(std::move(handler)), thread_([this] { Work(); }) {}

void MailQueue::Add(Delivery delivery) {
  {
    std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(delivery));
  }
  changed_.notify_one();
}

void MailQueue::Finish() {
  {
    std::lock_guard lock(mutex_);
    finishing_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void MailQueue::Work() {
  Delivery delivery;
  while (Next(&delivery)) handler_(delivery);
}

bool MailQueue::Next(Delivery* delivery) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return finishing_ || !waiting_.empty(); });
  if (waiting_.empty()) return false;
  *delivery = std::move(waiting_.front());
  waiting_.pop_front();
  return true;
}

}  // namespace qvclient
