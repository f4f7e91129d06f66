#pragma once

#include "frame/RandomSequence.h"

namespace keldra {

/// Drift of new notes and the random arpeggio, of all instances. Initial state 2222.
[[nodiscard]] CRandomSequence& EngineSequence();

/// The next number of that sequence, 0 .. 1.
[[nodiscard]] float DrawEngineRandom();

} // namespace keldra
