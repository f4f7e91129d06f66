#pragma once

#include <functional>
#include <memory>
#include <mutex>

namespace keldra {

/// The place where the host's threads meet the editors.
///
/// Everything of a window, its controls and its editor belongs to whoever holds this one lock of
/// the module: the thread that reads the window system's events takes it for each batch of them,
/// and a host's thread takes it to build, open, change, close or destroy an editor. So each of them
/// finds the other's work done, never half done, and objects can be destroyed on any thread: nobody
/// else is inside them.
///
/// What is held is short: nothing under the lock waits for another program or for the host. Calls
/// to the host are posted (CHostCalls) and made when the lock has been let go, because a host may
/// take locks of its own in them, wait for its other threads, or come back to close the editor.
class CUiLock {
public:
    CUiLock();  ///< a thread that has it already gets it again
    ~CUiLock(); ///< the last one lets go, then makes the calls that were posted meanwhile
    CUiLock(const CUiLock&) = delete;
    CUiLock& operator=(const CUiLock&) = delete;
};

/// One editor's calls to its host: made in the order in which they were posted, never two at a
/// time, with nothing held. A call may post others, close the editor or destroy this object.
class CHostCalls {
public:
    enum class EKind {
        Call, ///< to the host; uses nothing of ours once the host has returned
        Work, ///< of ours, on a disk that may be slow, with calls to the host in it
    };

    CHostCalls();
    CHostCalls(const CHostCalls&) = delete;
    CHostCalls& operator=(const CHostCalls&) = delete;
    ~CHostCalls(); ///< what has not been made is dropped: Finish first

    /// With the UI lock held. What the call refers to must live until Finish returns, what work
    /// refers to until FinishWork does.
    void Post(std::function<void()> call, EKind kind = EKind::Call);

    /// Makes what is left on the calling thread and waits for a call that another thread is making:
    /// afterwards there is none under way. Without the UI lock. A host whose other thread holds on
    /// to that call until this one returns would wait for ever; so after a tenth of a second this
    /// gives up on it and makes the rest.
    void Finish();

    /// After Finish: waits for work that it gave up on, as long as a disk may take that has to
    /// start up. For whoever destroys what the work uses.
    void FinishWork();

    struct Queue; ///< the lock's own business
    static void Deliver(Queue& queue);

private:
    static void MakeCalls(Queue& queue, std::unique_lock<std::mutex>& lock);

    std::shared_ptr<Queue> queue_;
};

} // namespace keldra
