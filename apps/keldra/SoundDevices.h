#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/keldra/SoundOutput.h"

namespace keldra::standalone {

/// A device that can play, on one of the machine's sound systems (JACK, PulseAudio, ALSA).
struct SoundDevice {
    int system = 0;         ///< the library's own number for it
    unsigned id = 0;        ///< within that system
    std::string name;       ///< with the system: "alsa: hw:Intel,0"
    int outputs = 0;        ///< channels
    bool isDefault = false; ///< of its system
    std::vector<int> ratesHz;
    int preferredRateHz = 0;
};

/// In the order in which they should be tried. Waits for sound servers to answer.
[[nodiscard]] std::vector<SoundDevice> ListSoundDevices();

/// @param rateHz       nothing: 48000 where the device can, else what it prefers
/// @param blockFrames  as near to it as the device can
/// @param error        receives one line, without the device's name, when the answer is null
[[nodiscard]] std::unique_ptr<CSoundOutput> OpenSoundDevice(const SoundDevice& device,
                                                            std::optional<int> rateHz,
                                                            int blockFrames, std::string& error);

} // namespace keldra::standalone
