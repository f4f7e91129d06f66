#include "apps/keldra/ComputerKeyboard.h"

#include <algorithm>
#include <utility>

namespace keldra::standalone {

namespace {

constexpr int kLowestNote = 48; // C3
constexpr int kMostOctaves = 4; // either way: the lowest key then is note 0

constexpr int kOctaveDown = 12; // right of 0
constexpr int kOctaveUp = 13;

/// Keys of a piano in the order of their notes, as the numbers of their places.
constexpr int kLowerRows[] = {44, 31, 45, 32, 46, 47, 34, 48, 35, 49, 36, 50, 51, 38, 52, 39, 53};
constexpr int kUpperRows[] = {16, 3, 17, 4, 18, 19, 6, 20, 7, 21, 8, 22, 23, 10, 24, 11, 25};

constexpr int kNoteOff = 0x80;
constexpr int kNoteOn = 0x90;

/// Semitones above the lowest note, -1 for a key that is none.
int SemitonesOf(int scanCode)
{
    const auto placeIn = [scanCode](const auto& rows) {
        const auto* const found = std::find(std::begin(rows), std::end(rows), scanCode);
        return found == std::end(rows) ? -1 : static_cast<int>(found - std::begin(rows));
    };
    if (const int lower = placeIn(kLowerRows); lower >= 0)
        return lower;
    const int upper = placeIn(kUpperRows);
    return upper >= 0 ? 12 + upper : -1;
}

} // namespace

void CComputerKeyboard::OnKey(const PlacedKey& key)
{
    if (key.scanCode < 0 || key.scanCode >= static_cast<int>(playing_.size()))
        return;
    int& playing = playing_[static_cast<std::size_t>(key.scanCode)];
    if (!key.down) {
        Release(playing);
        return;
    }
    if ((key.modifiers & (kModifierCtrl | kModifierAlt)) != 0)
        return; // somebody's shortcut
    if (key.scanCode == kOctaveDown || key.scanCode == kOctaveUp) {
        octave_ =
            std::clamp(octave_ + (key.scanCode == kOctaveUp ? 1 : -1), -kMostOctaves, kMostOctaves);
        return; // what sounds goes on
    }
    const int semitones = SemitonesOf(key.scanCode);
    if (semitones < 0 || playing != kNothing)
        return;
    playing = kLowestNote + 12 * octave_ + semitones;
    Send(kNoteOn, playing, kVelocity);
}

void CComputerKeyboard::ReleaseAll()
{
    for (int& playing : playing_)
        Release(playing);
}

void CComputerKeyboard::Release(int& playing)
{
    const int note = std::exchange(playing, kNothing);
    // The rows overlap: another key may still hold the same note.
    if (note != kNothing && std::find(playing_.begin(), playing_.end(), note) == playing_.end())
        Send(kNoteOff, note, 0);
}

void CComputerKeyboard::Send(int status, int note, int velocity)
{
    const std::uint8_t message[] = {static_cast<std::uint8_t>(status),
                                    static_cast<std::uint8_t>(note),
                                    static_cast<std::uint8_t>(velocity)};
    static_cast<void>(notes_.Push(message)); // full only when nobody plays any more
}

} // namespace keldra::standalone
