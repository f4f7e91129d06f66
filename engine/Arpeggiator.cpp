#include "engine/Arpeggiator.h"

#include <algorithm>
#include <cmath>

#include "engine/EngineRandom.h"
#include "frame/Numbers.h"

namespace keldra {

CArpeggiator::Step::Step()
{
    notes.fill(-1);
    velocities.fill(1.0f);
}

CArpeggiator::CArpeggiator(CPlayer& player) : player_(player)
{
    sounding_.fill(-1);
}

void CArpeggiator::SetMode(int mode)
{
    mode_ = std::clamp<int>(mode, kUp, kRandom);
}
void CArpeggiator::SetRange(int octaves)
{
    range_ = std::clamp(octaves, 1, 4);
}
void CArpeggiator::SetStepLength(double sixteenths)
{
    stepLength_ = std::fmax(0.25, sixteenths);
}

void CArpeggiator::KeysChanged(std::span<const float, 128> velocities)
{
    std::array<int, 128> keys;
    int count = 0;
    for (int key = 0; key < 128; ++key)
        if (velocities[static_cast<std::size_t>(key)] != 0.0f)
            keys[static_cast<std::size_t>(count++)] = key;
    if (count == 0) {
        StopArpeggiator();
        return;
    }
    StartArpeggiator();
    for (int octave = 0; octave < range_; ++octave)
        for (int i = 0; i < count; ++i) {
            const int key = keys[static_cast<std::size_t>(i)];
            Step& step =
                pattern_[static_cast<std::size_t>(std::min(i + octave * count, kMaxSteps - 1))];
            step.notes[0] = key + 12 * octave;
            step.velocities[0] = velocities[static_cast<std::size_t>(key)];
        }
    patternLength_ = std::clamp(count * range_, 1, kMaxSteps);
}

void CArpeggiator::ReleaseSounding()
{
    for (int& note : sounding_) {
        if (note != -1)
            player_.PlayNote(note, 0.0f);
        note = -1;
    }
}

void CArpeggiator::ResetArpeggiator()
{
    phase_ = 0.0;
    stepDue_ = true;
    index_ = kBeforeFirst;
    ascending_ = true;
    sounding_.fill(-1);
}

void CArpeggiator::StopArpeggiator()
{
    if (stopped_)
        return;
    stopped_ = true;
    ReleaseSounding();
    ResetArpeggiator();
}

void CArpeggiator::StartArpeggiator()
{
    if (!stopped_)
        return;
    stopped_ = false;
    ReleaseSounding();
    ResetArpeggiator();
}

void CArpeggiator::AdvanceClock(double sampleRate, double tempo, int frames)
{
    if (stopped_)
        return;
    if (stepDue_) {
        stepDue_ = false;
        ChooseStep();
        PlayStep();
        MoveOn();
    }
    if (sampleRate > 0.0)
        phase_ += tempo / (kSixteenthAtOneBpmSeconds * stepLength_) / sampleRate * frames;
    if (phase_ >= 1.0) {
        do
            phase_ -= 1.0;
        while (phase_ >= 1.0);
        stepDue_ = true;
    }
}

// `index_` stands where the last move left it: beyond either end of the pattern, or inside a
// pattern that has become shorter since.
void CArpeggiator::ChooseStep()
{
    const int last = patternLength_ - 1;
    switch (mode_) {
    case kUp:
        if (index_ > last || index_ < 0)
            index_ = 0;
        break;
    case kDown:
        if (index_ < 0 || index_ > last)
            index_ = last;
        break;
    case kUpDown:
        if (index_ < 0) {
            ascending_ = true;
            index_ = index_ < -1 ? 0 : 1; // the lowest note isn't repeated on the way back up
        }
        if (index_ > last) {
            ascending_ = false;
            index_ = last - 1;
        }
        index_ = std::min(std::max(index_, 0), last);
        break;
    default: {
        const float place = DrawEngineRandom() * static_cast<float>(patternLength_);
        index_ = std::min(std::max(static_cast<int>(place), 0), last);
        break;
    }
    }
}

void CArpeggiator::PlayStep()
{
    const Step& step = pattern_[static_cast<std::size_t>(index_)];
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
        const int note = std::min(step.notes[slot], 127);
        if (sounding_[slot] != -1)
            player_.PlayNote(sounding_[slot], 0.0f);
        sounding_[slot] = note;
        if (note >= 0)
            player_.PlayNote(note, step.velocities[slot]);
    }
}

void CArpeggiator::MoveOn()
{
    switch (mode_) {
    case kUp:
        ++index_;
        break;
    case kDown:
        --index_;
        break;
    case kUpDown:
        index_ += ascending_ ? 1 : -1;
        break;
    default:
        break;
    }
}

} // namespace keldra
