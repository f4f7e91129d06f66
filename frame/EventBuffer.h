#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace keldra {

/// Status byte, two data bytes, and one that isn't read.
using MidiMessage = std::array<std::uint8_t, 4>;

/// One queued MIDI message. Belongs to its queue.
struct EventNode {
    std::uint32_t time = 0; ///< frames from the start of the host block
    std::uint16_t size = 0; ///< always 4
    MidiMessage message{};
    std::uint16_t era = 0; ///< of the queue's when it was added
    EventNode* next = nullptr;
};

/// A time-stamped queue of MIDI messages for one host block, and their translation into calls.
/// Processing thread only, except where said. Nodes come from a pool made at construction: nothing
/// here allocates.
class CEventBuffer {
public:
    /// Most events that one block may hold; what comes beyond is discarded.
    static constexpr int kCapacity = 8192;
    static constexpr int kNoEvent = 0x7FFFFFFF;

    CEventBuffer();
    virtual ~CEventBuffer() = default;
    CEventBuffer(const CEventBuffer&) = delete;
    CEventBuffer& operator=(const CEventBuffer&) = delete;

    // MIDI entry points. Keys, velocities, controllers, values and programs 0 .. 127.
    virtual void MidiNoteOn(int key, int velocity);
    virtual void MidiNoteOff(int key, int velocity);
    virtual void MidiPitchBend(float bend); ///< -1 .. +1
    virtual void MidiControlChange(int controller, int value);
    virtual void MidiPolyPressure(int key, int value);
    virtual void MidiChannelPressure(int value);
    virtual void MidiProgramChange(int program);

    /// Appends an event; the caller copies the message into the node. Events come in time order:
    /// one stamped earlier than the last is discarded, and so is one that finds no room.
    /// @return null when discarded
    EventNode* AddEvent(std::uint32_t time, int size);

    /// The event after the given one; the first for null. Null at the end.
    [[nodiscard]] EventNode* NextEvent(const EventNode* event) const;

    /// Frames between an event and the next, or up to the first for null. kNoEvent when none comes.
    [[nodiscard]] int FramesUntilNext(const EventNode* event) const;

    [[nodiscard]] static std::uint8_t* EventData(EventNode* event);
    [[nodiscard]] static int EventSize(const EventNode* event);

    /// Calls the MIDI entry point of the message. The channel doesn't matter; other statuses than
    /// the seven are ignored.
    void DispatchEvent(const EventNode* event);
    void DispatchMessage(const MidiMessage& message); ///< the same for one that isn't queued

    void ClearEvents();

    /// All queued events become due at the start of the next block: for a block that had to be left
    /// out.
    void MoveEventsToStart();

    /// From now on what has been queued so far is out of date. Any thread.
    void BeginEra() { era_.fetch_add(1); }
    /// Takes off the queue what was added before the last BeginEra.
    void DropOutdatedEvents();

    /// An event has found no room since the last ClearEvents.
    [[nodiscard]] bool LostEvents() const { return lostEvents_; }

private:
    std::unique_ptr<EventNode[]> pool_;
    int poolUsed_ = 0;
    EventNode* head_ = nullptr;
    EventNode* tail_ = nullptr;
    bool lostEvents_ = false;
    std::atomic<std::uint16_t> era_{0};
};

} // namespace keldra
