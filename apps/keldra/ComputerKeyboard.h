#pragma once

#include <array>

#include "apps/keldra/MidiQueue.h"
#include "platform/TopWindow.h"

namespace keldra::standalone {

/// The computer's keyboard as two pianos, by the places of its keys: the lowest row of letters has
/// the white keys from C on (C3 at first) and the row above it the black ones; the row right of Tab
/// has the white keys an octave above that, with the digits as black ones. The two keys right of 0
/// go an octave down and up.
class CComputerKeyboard {
public:
    static constexpr int kVelocity = 100;

    explicit CComputerKeyboard(CMidiQueue& notes) : notes_(notes) { playing_.fill(kNothing); }

    void OnKey(const PlacedKey& key);
    void ReleaseAll();

private:
    static constexpr int kNothing = -1;

    void Release(int& playing);
    void Send(int status, int note, int velocity);

    CMidiQueue& notes_;
    int octave_ = 0;                 ///< above where it began
    std::array<int, 128> playing_{}; ///< the note that a held key began, by scan code
};

} // namespace keldra::standalone
