#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "hosts/vst/VstInterface.h"

namespace keldra::standalone {

/// Where the state of an instrument is kept from run to run: a file named after its id in
/// $XDG_STATE_HOME/keldra, by default ~/.local/state/keldra. Empty when nobody knows a home folder.
[[nodiscard]] std::string StatePath(vst::VstInt32 instrumentId);

enum class EStateRead {
    Ok,
    Missing, ///< the first run
    Damaged, ///< not what was written, or unreadable
};

/// @param chunk  untouched unless the answer is Ok
[[nodiscard]] EStateRead ReadState(const std::string& path, std::vector<std::byte>& chunk);

/// Whole or not at all; makes the folders that lead there. @return false when the disk refuses
[[nodiscard]] bool WriteState(const std::string& path, std::span<const std::byte> chunk);

} // namespace keldra::standalone
