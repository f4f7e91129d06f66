#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/render/CommandLine.h"
#include "apps/render/ParameterSetting.h"
#include "apps/render/SongRenderer.h"
#include "apps/render/WavWriter.h"

namespace keldra::render {

/// What the command line asks for.
struct Options {
    std::string songPath;
    std::string outputPath;
    std::string modulePath;
    std::string soundsPath; ///< empty: none
    struct Program {
        int channel = 0;  ///< 0 .. 15
        std::string name; ///< path, or "Bank/Name" of a factory program
    };
    std::vector<Program> programs;
    struct Setting {
        std::optional<int> channel; ///< 0 .. 15; nothing: all
        ParameterSetting setting;
    };
    std::vector<Setting> settings;
    RenderSettings render;
    std::optional<double> normaliseDb; ///< peak to reach, relative to full scale
    ESampleFormat format = ESampleFormat::Pcm24;
    bool listParameters = false; ///< instead of rendering; song and output are empty then
};

/// @param argv     as main gets it
/// @param options  set up with defaults before; whole when the answer is Run
/// @param text     receives what to print otherwise
[[nodiscard]] EParsed ParseOptions(int argc, const char* const* argv, Options& options,
                                   std::string& text);

} // namespace keldra::render
