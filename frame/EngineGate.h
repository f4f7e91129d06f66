#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace keldra {

/// Decides which thread may touch the engine, so that the processing thread never waits.
///
/// While processing is on, the engine belongs to the processing thread alone: whoever else wants
/// something changed leaves the change in a queue (EngineChanges), and the processing thread
/// applies it before its next operation. While processing is off, there is no processing thread to
/// wait: the control threads (host UI, editor, state loading) take turns, and a change is applied
/// before the call returns. A few operations (a new sample rate, resume, suspend) need the engine
/// for themselves at any time: their thread waits for the running operation to end and takes the
/// engine away; a host that asks for a block just then gets silence instead of a wait.
///
/// Processing goes on when the host says so or with the first operation, and off when the host says
/// so.
class CEngineGate {
public:
    /// Begins an operation of the processing thread. Never waits.
    /// @return false when another thread has the engine this moment: leave everything as it is
    [[nodiscard]] bool Enter();
    void Leave(); ///< ends the operation that Enter began

    /// The calling thread has the engine: inside Enter .. Leave or inside a CControlScope.
    [[nodiscard]] bool CallerOwnsEngine() const
    {
        return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }

    [[nodiscard]] bool ProcessingIsOn() const { return processingIsOn_.load(); }

private:
    friend class CControlScope;

    enum EState : int {
        kFree,    ///< nobody has the engine
        kControl, ///< a control thread has it
        kInside,  ///< the processing thread has it: an operation runs
        kGranted, ///< an operation ended and left it to the waiting control thread
    };

    std::atomic<int> state_{kFree};
    std::atomic<bool> processingIsOn_{false};
    std::atomic<std::thread::id> owner_{};
    std::atomic<bool> wanted_{false}; ///< a control thread waits for the running operation to end
    std::mutex controlMutex_; ///< control threads among themselves; never the processing one
};

/// While it lives, the calling control thread has the engine.
class CControlScope {
public:
    enum class EWhen {
        ProcessingIsOff, ///< only when processing is off; else OwnsEngine() answers false
        Always,          ///< waits for a running operation to end
    };

    CControlScope(CEngineGate& gate, EWhen when);
    ~CControlScope();
    CControlScope(const CControlScope&) = delete;
    CControlScope& operator=(const CControlScope&) = delete;

    [[nodiscard]] bool OwnsEngine() const { return owns_; }

    /// What processing is from now on. Only with the engine owned.
    void TurnProcessing(bool on) { gate_.processingIsOn_.store(on); }

private:
    CEngineGate& gate_;
    bool owns_ = false;
    bool nested_ = false; ///< the thread had the engine already: it keeps it
};

} // namespace keldra
