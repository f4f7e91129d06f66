#pragma once

#include "frame/RandomSequence.h"

namespace keldra {

/// The noise of all voices of all instances. Initial state 22222.
[[nodiscard]] CRandomSequence& NoiseSequence();

/// What the LFOs' sample-and-hold shape draws from. Initial state 2222.
[[nodiscard]] CRandomSequence& LfoSequence();

} // namespace keldra
