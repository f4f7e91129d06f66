#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "frame/ParameterTable.h"

namespace keldra {

/// Which part of a program a load applies.
enum class EImport {
    Everything,          ///< resets the program first
    ControllerLinksOnly, ///< indices 81 .. 154
    GateStepsOnly,       ///< indices 49 .. 64
};

/// The values that one program load sets, whole.
struct ProgramValues {
    /// Indices below this are taken from `values`; the rest of a program that breaks off keeps what
    /// the reset gave.
    int count = 0;
    EImport import = EImport::Everything;
    std::array<float, kParameterCount> values{};

    [[nodiscard]] bool Resets() const { return import == EImport::Everything; }
    /// Whether it leaves nothing of what was set before.
    [[nodiscard]] bool IsWhole() const { return Resets() && count >= kParameterCount; }
    [[nodiscard]] bool Sets(int index) const
    {
        if (index < 0 || index >= count)
            return false;
        if (import == EImport::ControllerLinksOnly)
            return index >= kFirstControllerLink && index <= kLastControllerLink;
        if (import == EImport::GateStepsOnly)
            return index >= kGateStep1 && index <= kGateStep16;
        return true;
    }
};

/// Something that a thread wants changed in the engine.
struct EngineChange {
    enum class EKind : std::uint8_t {
        Parameter,    ///< index, value: a parameter or one of the two wheels
        KeyboardNote, ///< index = key, value = velocity 0 .. 1, 0 releases
        Program,      ///< *program
        Midi,         ///< index = the four bytes of a MidiMessage as they lie in memory
    };
    EKind kind = EKind::Parameter;
    int index = 0;
    float value = 0.0f;
    ProgramValues* program = nullptr; ///< in the queue: owned by it
    std::uint64_t storesBefore = 0;   ///< how many times values had been stored when it was made
};

/// Changes on their way from any thread to the one that has the engine, in the order in which they
/// were made. Lock-free: whoever adds never waits, and what was added is seen by the next drain
/// even if some other thread was stopped in the middle of adding. Two lists of nodes from one pool:
/// the free ones, popped by index with a tag against the ABA problem, and the pending ones, taken
/// whole.
class CEngineChanges {
public:
    static constexpr int kCapacity = 4096;

    CEngineChanges();
    ~CEngineChanges();
    CEngineChanges(const CEngineChanges&) = delete;
    CEngineChanges& operator=(const CEngineChanges&) = delete;

    /// Any thread; never allocates.
    /// @return false when the queue is full; the caller still owns the change
    [[nodiscard]] bool Push(const EngineChange& change);

    [[nodiscard]] bool IsEmpty() const { return pending_.load(std::memory_order_acquire) == kNone; }

    /// The thread that has the engine: hands over everything pending, oldest first. Programs that a
    /// whole one replaces are left out: whoever loads one after another must not keep the
    /// processing thread busy with them.
    template <typename Apply>
    void Drain(Apply&& apply)
    {
        if (IsEmpty())
            return;
        std::uint32_t node = TakeAllOldestFirst();
        std::uint32_t whole = LastWholeProgram(node);
        while (node != kNone) {
            const std::uint32_t next = nodes_[node].next.load(std::memory_order_relaxed);
            if (node == whole)
                whole = kNone;
            if (whole == kNone || nodes_[node].change.program == nullptr)
                apply(static_cast<const EngineChange&>(nodes_[node].change));
            if (nodes_[node].change.program != nullptr)
                Retire(node);
            else
                Free(node);
            node = next;
        }
    }

    /// Gives back the programs of applied changes. Any thread but the processing one (it frees
    /// memory).
    void CollectRetired();

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

    struct Node {
        std::atomic<std::uint32_t> next{kNone};
        EngineChange change;
    };

    std::uint32_t TakeAllOldestFirst();
    [[nodiscard]] std::uint32_t LastWholeProgram(std::uint32_t node) const;
    void Free(std::uint32_t node);
    void Retire(std::uint32_t node);

    std::unique_ptr<Node[]> nodes_;
    std::atomic<std::uint64_t> free_{kNone};    ///< low word: first free node; high word: tag
    std::atomic<std::uint32_t> pending_{kNone}; ///< newest first
    std::atomic<std::uint32_t> retired_{kNone}; ///< applied, but their programs aren't freed yet
};

} // namespace keldra
