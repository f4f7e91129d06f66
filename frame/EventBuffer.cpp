#include "frame/EventBuffer.h"

namespace keldra {

CEventBuffer::CEventBuffer() : pool_(std::make_unique<EventNode[]>(kCapacity)) {}

void CEventBuffer::MidiNoteOn(int, int) {}
void CEventBuffer::MidiNoteOff(int, int) {}
void CEventBuffer::MidiPitchBend(float) {}
void CEventBuffer::MidiControlChange(int, int) {}
void CEventBuffer::MidiPolyPressure(int, int) {}
void CEventBuffer::MidiChannelPressure(int) {}
void CEventBuffer::MidiProgramChange(int) {}

EventNode* CEventBuffer::AddEvent(std::uint32_t time, int)
{
    DropOutdatedEvents(); // they neither take room nor come before this one
    if (tail_ != nullptr && time < tail_->time)
        return nullptr;
    if (poolUsed_ == kCapacity) {
        lostEvents_ = true;
        return nullptr;
    }
    EventNode* node = &pool_[static_cast<std::size_t>(poolUsed_++)];
    *node = EventNode{time, 4, {}, era_.load(), nullptr};
    (tail_ != nullptr ? tail_->next : head_) = node;
    tail_ = node;
    return node;
}

EventNode* CEventBuffer::NextEvent(const EventNode* event) const
{
    return event != nullptr ? event->next : head_;
}

int CEventBuffer::FramesUntilNext(const EventNode* event) const
{
    const EventNode* next = NextEvent(event);
    if (next == nullptr)
        return kNoEvent;
    const std::uint32_t now = event != nullptr ? event->time : 0;
    const std::uint32_t frames = next->time > now ? next->time - now : 0;
    return frames < std::uint32_t{kNoEvent} ? static_cast<int>(frames) : kNoEvent;
}

std::uint8_t* CEventBuffer::EventData(EventNode* event)
{
    return event != nullptr ? event->message.data() : nullptr;
}

int CEventBuffer::EventSize(const EventNode* event)
{
    return event != nullptr ? event->size : 0;
}

void CEventBuffer::DispatchEvent(const EventNode* event)
{
    if (event != nullptr && event->size == 4)
        DispatchMessage(event->message);
}

void CEventBuffer::DispatchMessage(const MidiMessage& message)
{
    const int data1 = message[1] & 0x7F;
    const int data2 = message[2] & 0x7F;
    switch (message[0] & 0xF0) {
    case 0x80:
        MidiNoteOff(data1, data2);
        break;
    case 0x90:
        MidiNoteOn(data1, data2);
        break;
    case 0xA0:
        MidiPolyPressure(data1, data2);
        break;
    case 0xB0:
        MidiControlChange(data1, data2);
        break;
    case 0xC0:
        MidiProgramChange(data1);
        break;
    case 0xD0:
        MidiChannelPressure(data1);
        break;
    case 0xE0:
        MidiPitchBend((static_cast<float>(data1 + data2 * 128) / 16383.0f - 0.5f) * 2.0f);
        break;
    default:
        break;
    }
}

void CEventBuffer::ClearEvents()
{
    head_ = tail_ = nullptr;
    poolUsed_ = 0;
    lostEvents_ = false;
}

void CEventBuffer::DropOutdatedEvents()
{
    const std::uint16_t era = era_.load();
    while (head_ != nullptr && head_->era != era)
        head_ = head_->next;
    if (head_ == nullptr)
        ClearEvents();
}

void CEventBuffer::MoveEventsToStart()
{
    for (EventNode* event = head_; event != nullptr; event = event->next)
        event->time = 0;
}

} // namespace keldra
