#include "quillon/timers.h"

namespace vantel::quillon
{

// Ids run through all positive numbers before one comes again, so a late kill with an old id hits
// nothing.
int32_t Timers::freeId()
{
    do {
        lastId_ = lastId_ == std::numeric_limits<int32_t>::max() ? 1 : lastId_ + 1;
    } while (byId_.contains(lastId_));
    return lastId_;
}

int32_t Timers::set(int64_t deadlineNs, quillon_timer callback, int32_t tag, void *user)
{
    MutexLock locked{mutex_};
    Due due{deadlineNs, ++sequence_};
    int32_t id = freeId();
    auto place = byDeadline_.emplace(due, Timer{id, tag, callback, user}).first;
    try {
        byId_.emplace(id, due);
    } catch (...) {
        byDeadline_.erase(place);
        throw;
    }
    pending_ = byId_.size();
    return id;
}

bool Timers::kill(int32_t id)
{
    MutexLock locked{mutex_};
    auto found = byId_.find(id);
    if (found == byId_.end()) return false;
    byDeadline_.erase(found->second);
    byId_.erase(found);
    pending_ = byId_.size();
    return true;
}

bool Timers::takeDue(int64_t nowNs, Timer *timer)
{
    MutexLock locked{mutex_};
    auto first = byDeadline_.begin();
    if (first == byDeadline_.end() || first->first.first > nowNs) return false;
    *timer = first->second;
    byId_.erase(timer->id);
    byDeadline_.erase(first);
    pending_ = byId_.size();
    return true;
}

int64_t Timers::earliestNs() const
{
    MutexLock locked{mutex_};
    return byDeadline_.empty() ? kNever : byDeadline_.begin()->first.first;
}

} // namespace vantel::quillon
