// What always holds of a pool between two steps.
#include <initializer_list>

#include "tasks/task_pool_state.h"

namespace qv {
namespace {

bool StandsRight(const ZRTaskPool* pool, const ZRTaskPoolJob& job) {
  if (job.list == &pool->free) return job.running == 0 && job.done == nullptr;
  if (job.list == &pool->started) return job.running > 0 && job.parallel == 0;
  return job.parallel > 0 && !job.completing;
}

template <typename Node>
uint32_t LengthOf(const Chain<Node>& chain) {
  uint32_t length = 0;
  const Node* before = nullptr;
  for (const Node* node = chain.head; node != nullptr; before = node, node = node->next, ++length) {
    if (node->previous != before) return UINT32_MAX;
  }
  return before == chain.tail ? length : UINT32_MAX;
}

bool ListIsConsistent(const JobList& list) {
  for (const ZRTaskPoolJob* job = list.head; job != nullptr; job = job->next) {
    if (job->list != &list) return false;
  }
  return LengthOf(list) == list.count && list.least <= list.count && list.count <= list.most;
}

}  // namespace

bool TaskPoolIsConsistent(const ZRTaskPool* pool) {
  uint32_t jobs = 0, running = 0, waiting = 0;
  for (const JobList* list :
       {&pool->free, &pool->urgent, &pool->normal, &pool->background, &pool->started}) {
    if (!ListIsConsistent(*list)) return false;
    jobs += list->count;
  }
  for (uint32_t i = 0; i < pool->capacity; ++i) {
    if (!StandsRight(pool, pool->jobs[i])) return false;
    running += pool->jobs[i].running;
  }
  for (const Chain<Guest>* chain : {&pool->entry_waiters, &pool->guests}) {
    if (LengthOf(*chain) == UINT32_MAX) return false;
    for (const Guest* guest = chain->head; guest != nullptr; guest = guest->next) {
      waiting += guest->submitter_waits ? 1 : 0;
    }
  }
  return jobs == pool->capacity && running == pool->running && LengthOf(pool->runs) == running &&
         waiting == pool->waiting_submitters && pool->active <= pool->workers;
}

}  // namespace qv
