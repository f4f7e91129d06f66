#include "platform/x11/WindowLoop.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "platform/Forever.h"
#include "platform/UiThread.h"

namespace keldra {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTick{30};
constexpr std::chrono::milliseconds kPatience{100};

/// While it lives, threads that are made are born with all signals blocked: those are the host's.
class CSignalsBlocked {
public:
    CSignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~CSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    CSignalsBlocked(const CSignalsBlocked&) = delete;
    CSignalsBlocked& operator=(const CSignalsBlocked&) = delete;

private:
    sigset_t before_;
};

class CLoop {
public:
    CLoop() : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~CLoop() { close(wake_); }
    CLoop(const CLoop&) = delete;
    CLoop& operator=(const CLoop&) = delete;

    /// At the module's unloading the thread must be out of its code. While the process ends without
    /// having closed its editors, a host may keep it in a call for ever.
    /// @return whether nothing is left of it: no thread, no window
    bool Stop()
    {
        if (process_ != getpid())
            return false; // a child that the host has forked: it has no thread, only our locks
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        WakeUp();
        Join(std::chrono::seconds(1));
        const CUiLock uiLock;
        const std::lock_guard lock(mutex_);
        if (thread_.joinable()) {
            thread_.detach();
            return false;
        }
        return members_.empty();
    }

    void Add(CWindowLoopMember& member)
    {
        members_.reserve(members_.size() + 1); // from here on only Start may fail
        Start();
        members_.push_back(&member);
        WakeUp();
    }

    void Remove(CWindowLoopMember& member)
    {
        std::erase(members_, &member);
        WakeUp();
        if (!members_.empty())
            return;
        try {
            after_.Post([this] { Join(kPatience); });
        } catch (...) { // no memory to ask for it: the thread is joined by the next one's start
        }
    }

    void WakeUp() const
    {
        const std::uint64_t one = 1;
        // Full only when it has been told four billion times: then it knows.
        static_cast<void>(!write(wake_, &one, sizeof one));
    }

    bool IsRunning()
    {
        const std::lock_guard lock(mutex_);
        return running_;
    }

private:
    void Start()
    {
        std::unique_lock lock(mutex_);
        if (running_)
            return;               // also one that was about to end: it looks for members first
        if (thread_.joinable()) { // has ended
            std::thread done = std::move(thread_);
            lock.unlock();
            done.join();
            lock.lock();
        }
        const CSignalsBlocked duringBirth;
        thread_ = std::thread([this] { Run(); });
        process_ = getpid();
        running_ = true;
    }

    /// Waits for a thread that is about to end, unless it is this one.
    void Join(std::chrono::milliseconds patience)
    {
        std::unique_lock lock(mutex_);
        if (thread_.get_id() == std::this_thread::get_id() || joining_)
            return;
        joining_ = true;
        const bool ended = ended_.wait_for(lock, patience, [this] { return !running_; });
        joining_ = false;
        if (!ended || !thread_.joinable())
            return;
        std::thread done = std::move(thread_);
        lock.unlock();
        done.join();
    }

    void Run()
    {
        Clock::time_point nextTick = Clock::now() + kTick;
        std::vector<pollfd> files;
        for (;;) {
            try {
                if (!CollectFiles(files))
                    return;
                const auto left =
                    std::chrono::ceil<std::chrono::milliseconds>(nextTick - Clock::now());
                poll(files.data(), files.size(), std::max(static_cast<int>(left.count()), 0));
                Visit(nextTick);
            } catch (...) { // memory is short, and the host's process is none of ours to end
                std::this_thread::sleep_for(kTick);
            }
        }
    }

    void Visit(Clock::time_point& nextTick)
    {
        std::uint64_t count;
        static_cast<void>(!read(wake_, &count, sizeof count));
        const CUiLock lock;
        ForEach([](CWindowLoopMember& member) { member.ProcessEvents(); });
        const Clock::time_point now = Clock::now();
        if (now < nextTick)
            return;
        ForEach([](CWindowLoopMember& member) { member.Tick(); });
        // What came while a tick waited for an answer was read with it.
        ForEach([](CWindowLoopMember& member) { member.ProcessEvents(); });
        nextTick = std::max(nextTick + kTick, now + kTick / 2);
    }

    /// @return false when there is nobody left: the thread is over
    bool CollectFiles(std::vector<pollfd>& files)
    {
        const CUiLock uiLock;
        const std::lock_guard lock(mutex_);
        if (members_.empty() || stopping_) {
            running_ = false;
            ended_.notify_all();
            return false;
        }
        files.assign(1, {wake_, POLLIN, 0});
        for (const CWindowLoopMember* member : members_)
            if (member->File() >= 0)
                files.push_back({member->File(), POLLIN, 0});
        return true;
    }

    /// Members may go while they are visited.
    template <typename Visit>
    void ForEach(const Visit& visit)
    {
        const std::vector<CWindowLoopMember*> members = members_;
        for (CWindowLoopMember* member : members)
            if (std::find(members_.begin(), members_.end(), member) != members_.end())
                visit(*member);
    }

    const int wake_;
    std::vector<CWindowLoopMember*> members_; // with the UI lock
    CHostCalls after_;
    std::mutex mutex_; // of the rest; taken inside the UI lock
    std::condition_variable ended_;
    std::thread thread_;
    std::atomic<pid_t> process_{getpid()}; // that has the thread
    bool running_ = false;
    bool stopping_ = false;
    bool joining_ = false;
};

CLoop& Loop()
{
    static CForever<CLoop> loop;
    struct Stopper {
        ~Stopper()
        {
            if (loop->Stop())
                loop.Destroy();
        }
    };
    static const Stopper stopper;
    return *loop;
}

} // namespace

void CWindowLoop::Add(CWindowLoopMember& member)
{
    Loop().Add(member);
}

void CWindowLoop::Remove(CWindowLoopMember& member)
{
    Loop().Remove(member);
}

bool CWindowLoop::IsRunning()
{
    return Loop().IsRunning();
}

} // namespace keldra
