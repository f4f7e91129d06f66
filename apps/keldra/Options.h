#pragma once

#include <optional>
#include <string>

#include "apps/render/CommandLine.h"

namespace keldra::standalone {

/// What the command line asks for.
struct Options {
    std::string modulePath;
    std::string program; ///< path, or "Bank/Name" of the library; empty: as it was left
    std::string device;  ///< of --list-devices, number or a part of its name; empty: the system's
    std::string midi;    ///< likewise; empty: every port; "none"
    std::optional<int> rateHz;
    int blockFrames = 256;
    double tempoBpm = 120.0;
    std::string recordPath; ///< empty: nothing is recorded
    bool noAudio = false;
    bool listDevices = false; ///< instead of playing
};

/// @param argv     as main gets it
/// @param options  set up with defaults before; whole when the answer is Run
/// @param text     receives what to print otherwise
[[nodiscard]] EParsed ParseOptions(int argc, const char* const* argv, Options& options,
                                   std::string& text);

} // namespace keldra::standalone
