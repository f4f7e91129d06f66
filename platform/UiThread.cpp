#include "platform/UiThread.h"

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Forever.h"

namespace keldra {

struct CHostCalls::Queue {
    std::mutex mutex;
    std::condition_variable idle;
    std::list<std::function<void()>> calls; // unlike a deque it takes no memory until it is used
    int depth = 0; ///< of calls under way, one inside the other, on the thread `maker`
    std::thread::id maker;
    unsigned era = 0; ///< counts the calls that were given up on
};

// The maker changes hands (tests: X11WindowThreads)
// 1. when it has made the last call: the next who delivers is it, or who waits to finish;
// 2. when a host closes and keeps the call waiting: the one who finishes gives up on it, and is it;
// 3. not when the host closes inside the call: it makes the rest within it;
// 4. when a call that was given up on posts another: its thread is it again, for what it delivers
//    there. What it had begun before belongs to an era that is over, and makes and counts nothing.

namespace {

constexpr std::chrono::milliseconds kPatience{100};

/// Behind every CUiLock.
struct CUiLockState {
    std::recursive_mutex mutex;
    int depth = 0; // the rest is guarded by the mutex
    std::vector<std::shared_ptr<CHostCalls::Queue>> posted;
};

CUiLockState& State()
{
    static CForever<CUiLockState> state;
    return *state;
}

} // namespace

CUiLock::CUiLock()
{
    State().mutex.lock();
    ++State().depth;
}

CUiLock::~CUiLock()
{
    CUiLockState& state = State();
    std::vector<std::shared_ptr<CHostCalls::Queue>> posted;
    if (--state.depth == 0)
        posted.swap(state.posted);
    state.mutex.unlock();
    for (const auto& queue : posted)
        CHostCalls::Deliver(*queue);
}

CHostCalls::CHostCalls() : queue_(std::make_shared<Queue>()) {}

CHostCalls::~CHostCalls()
{
    std::list<std::function<void()>> dropped;
    const std::lock_guard lock(queue_->mutex);
    dropped.swap(queue_->calls);
}

void CHostCalls::Post(std::function<void()> call)
{
    {
        const std::lock_guard lock(queue_->mutex);
        queue_->calls.push_back(std::move(call));
    }
    const CUiLock lock; // held already: only to be sure of `posted`
    State().posted.push_back(queue_);
}

/// Makes the queue's calls, unless another thread is at it: that one goes on until none is left.
void CHostCalls::Deliver(Queue& queue)
{
    std::unique_lock lock(queue.mutex);
    const std::thread::id self = std::this_thread::get_id();
    if (queue.depth > 0 && queue.maker != self)
        return;
    queue.maker = self;
    ++queue.depth; // more than 1 when a call came back to us
    const unsigned era = queue.era;
    while (!queue.calls.empty() && queue.era == era) {
        const std::function<void()> call = std::move(queue.calls.front());
        queue.calls.pop_front();
        lock.unlock();
        try {
            call();
        } catch (...) { // out of memory, most likely: not done, and the thread's owner lives on
        }
        lock.lock();
    }
    if (queue.era == era && --queue.depth == 0)
        queue.idle.notify_all();
}

void CHostCalls::Finish()
{
    const std::shared_ptr<Queue> queue = queue_; // a call may destroy this object
    {
        std::unique_lock lock(queue->mutex);
        const std::thread::id self = std::this_thread::get_id();
        const auto nobodyElse = [&] { return queue->depth == 0 || queue->maker == self; };
        if (!queue->idle.wait_for(lock, kPatience, nobodyElse)) {
            ++queue->era; // the other one finds on its return that it is no longer the maker
            queue->depth = 0;
        }
    }
    Deliver(*queue);
}

} // namespace keldra
