#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace keldra {

/// How the programs of a bank are played to measure them: as they are meant to be.
enum class EStyle {
    Chord,  ///< four notes, held
    Struck, ///< four notes, struck again and again
    Low,    ///< a bass line
    High,   ///< a lead line
    Drum,   ///< one key, struck again and again
};
[[nodiscard]] EStyle StyleOf(const std::string& bank);

/// Power in a few bands over a few stretches of time, relative to the whole, in dB.
struct Fingerprint {
    static constexpr int kBands = 28;
    static constexpr int kStretches = 6;
    std::array<float, kBands * kStretches> level{};
};

/// How different two sounds are: the mean difference of their bands, in dB. Loudness doesn't count.
[[nodiscard]] double Distance(const Fingerprint& a, const Fingerprint& b);

/// What was measured of one program, over three velocities, each with the wheel down and up. At
/// 44.1 kHz, 120 beats per minute, transport running.
struct ProgramMeasure {
    std::string name;
    double loudness = 0.0;    ///< LUFS, velocity 90, wheel down
    double quietest = 0.0;    ///< LUFS, velocity 40, the lower of both wheel positions
    double peak = 0.0;        ///< dBFS, of all
    double brightness = 0.0;  ///< Hz: centre of the amplitude spectrum
    double attack = 0.0;      ///< seconds to 70 % of the greatest level
    double tail = 0.0;        ///< seconds from the release to below -80 dBFS; 22: never
    double offset = 0.0;      ///< mean of a channel that stays, dBFS
    double wheel = 0.0;       ///< distance between wheel down and up, dB
    double wheelChange = 0.0; ///< power of what the wheel changes, relative to the sound
    double cost = 0.0;        ///< share of one core at velocity 127
    bool finite = true;       ///< no sample was NaN or infinite
    Fingerprint fingerprint;
};

/// @param program  a program file
[[nodiscard]] ProgramMeasure MeasureProgram(const std::filesystem::path& program, EStyle style);

/// All programs of a bank's folder, by name.
[[nodiscard]] std::vector<ProgramMeasure> MeasureBank(const std::filesystem::path& bank);

} // namespace keldra
