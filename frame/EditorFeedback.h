#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "frame/ParameterTable.h"

namespace keldra {

/// What the engine and the host side have to tell an editor. Written as atomics on any thread, read
/// by the editor's tick, which draws what changed: nobody ever waits for a picture.
class CEditorFeedback {
public:
    CEditorFeedback()
    {
        for (auto& word : changed_)
            word.store(0, std::memory_order_relaxed);
    }

    // Written by the engine and the bindings
    void SetKeySounding(int key, bool sounding)
    {
        keys_[static_cast<std::size_t>(key)].store(sounding, std::memory_order_relaxed);
    }
    void SetLastController(int controller)
    {
        lastController_.store(controller, std::memory_order_relaxed);
    }
    /// A stored value changed from elsewhere than the editor. Other indices are ignored.
    void MarkParameter(int index)
    {
        if (index >= 0 && index < kParameterCount)
            changed_[static_cast<std::size_t>(index) / 64].fetch_or(
                std::uint64_t{1} << (index % 64), std::memory_order_release);
    }
    /// Everything may have changed: a program was loaded or reset.
    void MarkProgram() { programs_.fetch_add(1, std::memory_order_release); }

    // Read by the editor
    [[nodiscard]] bool IsKeySounding(int key) const
    {
        return keys_[static_cast<std::size_t>(key)].load(std::memory_order_relaxed);
    }
    /// Number of the last controller received, -1 for none yet.
    [[nodiscard]] int LastController() const
    {
        return lastController_.load(std::memory_order_relaxed);
    }
    /// Counts program changes: another number than last time means to read everything again.
    [[nodiscard]] std::uint32_t ProgramCount() const
    {
        return programs_.load(std::memory_order_acquire);
    }
    /// Calls `changed(index)` for every parameter marked since the last call.
    template <typename Changed>
    void TakeChangedParameters(Changed&& changed)
    {
        for (std::size_t word = 0; word < changed_.size(); ++word) {
            std::uint64_t bits = changed_[word].exchange(0, std::memory_order_acquire);
            for (int bit = 0; bits != 0; ++bit, bits >>= 1)
                if ((bits & 1) != 0)
                    changed(static_cast<int>(word) * 64 + bit);
        }
    }

private:
    std::array<std::atomic<bool>, 128> keys_{};
    std::atomic<int> lastController_{-1};
    std::array<std::atomic<std::uint64_t>, (kParameterCount + 63) / 64> changed_;
    std::atomic<std::uint32_t> programs_{0};
};

} // namespace keldra
