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
    struct Posted {
        std::function<void()> call;
        EKind kind;
    };
    /// Work under way, on the stack of its thread.
    struct Working {
        std::thread::id thread;
        Working* next;
    };
    std::list<Posted> calls; // unlike a deque it takes no memory until it is used
    Working* working = nullptr;
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
constexpr std::chrono::seconds kPatienceWithDisks{10};

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
    std::list<Queue::Posted> dropped;
    const std::lock_guard lock(queue_->mutex);
    dropped.swap(queue_->calls);
}

void CHostCalls::Post(std::function<void()> call, EKind kind)
{
    {
        const std::lock_guard lock(queue_->mutex);
        queue_->calls.push_back({std::move(call), kind});
    }
    const CUiLock lock; // held already: only to be sure of `posted`
    State().posted.push_back(queue_);
}

/// Makes the queue's calls, unless another thread is at it: that one goes on until none is left.
void CHostCalls::Deliver(Queue& queue)
{
    std::unique_lock lock(queue.mutex);
    MakeCalls(queue, lock);
}

void CHostCalls::MakeCalls(Queue& queue, std::unique_lock<std::mutex>& lock)
{
    const std::thread::id self = std::this_thread::get_id();
    if (queue.depth > 0 && queue.maker != self)
        return;
    queue.maker = self;
    ++queue.depth; // more than 1 when a call came back to us
    const unsigned era = queue.era;
    while (!queue.calls.empty() && queue.era == era) {
        Queue::Working work{self, queue.working};
        {
            const Queue::Posted posted = std::move(queue.calls.front());
            queue.calls.pop_front();
            if (posted.kind == EKind::Work)
                queue.working = &work;
            lock.unlock();
            try {
                posted.call();
            } catch (...) { // out of memory, most likely: not done, and the thread's owner lives on
            }
        }
        lock.lock();
        for (Queue::Working** place = &queue.working; *place != nullptr; place = &(*place)->next)
            if (*place == &work) {
                *place = work.next;
                queue.idle.notify_all();
                break;
            }
    }
    if (queue.era == era && --queue.depth == 0)
        queue.idle.notify_all();
}

void CHostCalls::Finish()
{
    const std::shared_ptr<Queue> queue = queue_; // a call may destroy this object
    std::unique_lock lock(queue->mutex);
    const std::thread::id self = std::this_thread::get_id();
    const auto nobodyElse = [&] { return queue->depth == 0 || queue->maker == self; };
    if (!queue->idle.wait_for(lock, kPatience, nobodyElse)) {
        ++queue->era; // the other one finds on its return that it is no longer the maker
        queue->depth = 0;
    }
    MakeCalls(*queue, lock); // without letting go: another might begin a call first
}

void CHostCalls::FinishWork()
{
    const std::shared_ptr<Queue> queue = queue_;
    std::unique_lock lock(queue->mutex);
    queue->idle.wait_for(lock, kPatienceWithDisks, [&] {
        for (const Queue::Working* work = queue->working; work != nullptr; work = work->next)
            if (work->thread != std::this_thread::get_id()) // this object's end may be part of it
                return false;
        return true;
    });
}

} // namespace keldra
