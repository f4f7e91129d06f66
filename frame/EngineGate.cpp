#include "frame/EngineGate.h"

#include <chrono>

namespace keldra {

// State and flags are sequentially consistent: Leave reads the wanted flag before it publishes the
// state, and a waiting thread raises the flag before it looks at the state, so that either Leave
// grants or the waiter finds the engine free.

bool CEngineGate::Enter()
{
    int state = kFree;
    if (!state_.compare_exchange_strong(state, kInside))
        return false;
    owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    processingIsOn_.store(true); // also for a host that never said so
    return true;
}

void CEngineGate::Leave()
{
    owner_.store({}, std::memory_order_relaxed);
    state_.store(wanted_.load() ? kGranted : kFree);
}

CControlScope::CControlScope(CEngineGate& gate, EWhen when) : gate_(gate)
{
    if (gate_.CallerOwnsEngine()) {
        owns_ = nested_ = true;
        return;
    }
    gate_.controlMutex_.lock();
    gate_.wanted_.store(when == EWhen::Always);
    while (!owns_) {
        if (when == EWhen::ProcessingIsOff && gate_.processingIsOn_.load()) {
            gate_.controlMutex_.unlock();
            return;
        }
        for (int state : {CEngineGate::kFree, CEngineGate::kGranted})
            owns_ = owns_ || gate_.state_.compare_exchange_strong(state, CEngineGate::kControl);
        if (!owns_)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    gate_.wanted_.store(false);
    gate_.owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

CControlScope::~CControlScope()
{
    if (!owns_ || nested_)
        return;
    gate_.owner_.store({}, std::memory_order_relaxed);
    gate_.state_.store(CEngineGate::kFree);
    gate_.controlMutex_.unlock();
}

} // namespace keldra
