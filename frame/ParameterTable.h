#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace keldra {

/// Every parameter that has a place in a program, and the two wheels behind them.
/// The numbers are part of saved songs and program files: never renumber.
enum EParameter : int {
    kOscAShape,
    kOscAPulseWidth,
    kOscASync,
    kOscARing,
    kOscBShape,
    kOscBPulseWidth,
    kOscBPitch,
    kOscBDetune,
    kOscBalance,
    kNoiseBalance,
    kEgAmount,
    kEgAttack,
    kEgDecay,
    kEgSustain,
    kEgRelease,
    kGain,
    kFineTune,
    kTranspose,
    kFilterCutoff,
    kFilterResonance,
    kFilterKeyTracking,
    kFilterVelocityTracking,
    kAmpAttack,
    kAmpDecay,
    kAmpSustain,
    kAmpRelease,
    kLfoAmount,
    kLfoRetrigger,
    kLfoRate,
    kUnisonDetune,
    kUnisonPan,
    kDelayOn,
    kDelayTimeLeft,
    kDelayTimeRight,
    kDelayFeedback,
    kDelayModDepth,
    kDelayLowCut,
    kDelayHighCut,
    kDelayWet,
    kChorusOn,
    kChorusRate,
    kChorusDepth,
    kChorusWet,
    kModWheelAmount,
    kMonophonic,
    kOctaver,
    kGlideTime,
    kGateMix,
    kGateSmooth,
    kGateStep1,
    kGateStep16 = kGateStep1 + 15,
    kEgDestination,
    kFilterMode,
    kLfoDestination,
    kLfoShape,
    kArpMode,
    kArpRange,
    kModWheelDestination,
    kGlideHeld,
    kGlideTimeStatic,

    kHostParameterCount, ///< 74: what a host sees by name and may automate

    kSpare74 = 74, ///< stored, without effect
    kUnisonVoices,
    kPolyphony,
    kArpStepLength,
    kBendRange,
    kGateStepLength,
    kLfoSync,

    kFirstControllerLink,                                                 ///< 81: link of index 0
    kLastControllerLink = kFirstControllerLink + kHostParameterCount - 1, ///< 154
    kSpare155, ///< stored, without effect

    kParameterCount, ///< 156: what a program stores

    kModWheelValue = 157,  ///< controller 1, 0 .. 1; not stored
    kPitchBendValue = 158, ///< 0 .. 1, centre 0.5; not stored
};

inline constexpr int kGateStepCount = 16;

/// How the engine reads a stored value v.
enum class EForm {
    Continuous, ///< any value 0 .. 1
    Switch,     ///< off at exactly 0, on for anything else
    GateStep,   ///< truncated, so on only at 1
    Bipolar,    ///< 2v - 1
    Semitones,  ///< trunc(48v) - 24
    Selector,   ///< one of `positions`
};

/// How the value text is written.
enum class EDisplay {
    Percent,       ///< "62 %", truncated
    OnOff,         ///< "Off" at exactly 0, else "On"
    Names,         ///< the chosen entry of `positions`
    Semitones,     ///< "-12"
    DetuneCents,   ///< "+ 25"
    SignedPercent, ///< "-100 %"
    Milliseconds,  ///< "350 ms", by the time curve from `shownLow` to `high`
    Decibels,      ///< "-5.00 dB", from `low` to `high`
    SignedCents,   ///< "-100"
    LfoHertz,      ///< "0.94 Hz", fifth power up to `high`
    Hertz,         ///< "2.60 Hz", from `low` to `high`
    Quarters,      ///< "4/4"
};

/// All that is known of one named parameter.
struct ParameterRow {
    EParameter index;                            ///< its own place in the table
    std::string_view name;                       ///< as hosts and the panel show it; ASCII
    float defaultValue;                          ///< stored form, 0 .. 1
    EForm form;                                  ///< how the engine reads the stored value
    EDisplay display;                            ///< how the value text is written
    std::span<const std::string_view> positions; ///< of a selector or two-way switch, else empty
    float low = 0.0f;                            ///< least value in the display's unit
    float high = 1.0f;                           ///< greatest value in the display's unit
    float shownLow = low;                        ///< least value in the text, where it differs
};

/// One whole-number setting of the engine: stored as it stands, without a name in hosts.
struct EngineSettingRow {
    EParameter index;
    std::string_view what;                    ///< in documents and command lines
    std::string_view title;                   ///< among the names of the others, on the panel
    float defaultValue;                       ///< stored form, a whole number
    int count;                                ///< the stored numbers on offer are 0 .. count - 1
    std::span<const float> choices;           ///< what 0, 1, 2, .. select; empty: counts from 1
    std::span<const std::string_view> labels; ///< as menus show the choices; empty: the numbers
};

// The words of selectors, in the order of their positions.
inline constexpr std::string_view kOscillatorShapes[] = {"Saw", "Pulse"};
inline constexpr std::string_view kEgDestinations[] = {"Cutoff", "Frq A", "Frq AB", "PW A",
                                                       "PW AB"};
inline constexpr std::string_view kFilterModes[] = {"LP", "BP", "HP"};
inline constexpr std::string_view kLfoDestinations[] = {"Cutoff", "Frq A", "Frq AB",
                                                        "PW A",   "PW AB", "Pan"};
inline constexpr std::string_view kLfoShapes[] = {"Saw", "Pulse", "Triangle", "Sine", "Random"};
inline constexpr std::string_view kArpModes[] = {"Off", "Up", "Down", "Up/Down", "Random"};
inline constexpr std::string_view kArpRanges[] = {"1 oct.", "2 oct.", "3 oct.", "4 oct."};
inline constexpr std::string_view kModWheelDestinations[] = {"Cutoff", "LFO", "Frq A", "PW A",
                                                             "PW AB"};

// clang-format off
inline constexpr ParameterRow kParameters[] = {
    {kOscAShape,              "OscA Shape",        0.0f, EForm::Switch,     EDisplay::Names, kOscillatorShapes},
    {kOscAPulseWidth,         "OscA PW",           1.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kOscASync,               "OscA Sync",         0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kOscARing,               "OscA Ring",         0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kOscBShape,              "OscB Shape",        0.0f, EForm::Switch,     EDisplay::Names, kOscillatorShapes},
    {kOscBPulseWidth,         "OscB PW",           1.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kOscBPitch,              "OscB Pitch",        0.5f, EForm::Semitones,  EDisplay::Semitones, {}},
    {kOscBDetune,             "OscB Detune",       0.0f, EForm::Continuous, EDisplay::DetuneCents, {}, 0.0f, 50.0f},
    {kOscBalance,             "Osc Balance",       0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kNoiseBalance,           "Noise Balance",     0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kEgAmount,               "EG Amount",         0.5f, EForm::Bipolar,    EDisplay::SignedPercent, {}},
    {kEgAttack,               "EG Attack",         0.0f, EForm::Continuous, EDisplay::Milliseconds, {}, 5.0f, 50000.0f},
    {kEgDecay,                "EG Decay",          1.0f, EForm::Continuous, EDisplay::Milliseconds, {}, 5.0f, 50000.0f},
    {kEgSustain,              "EG Sustain",        1.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kEgRelease,              "EG Release",        1.0f, EForm::Continuous, EDisplay::Milliseconds, {}, 5.0f, 50000.0f},
    {kGain,                   "Gain",              0.5f, EForm::Continuous, EDisplay::Decibels, {}, -20.0f, 10.0f},
    {kFineTune,               "Fine Tune",         0.5f, EForm::Bipolar,    EDisplay::SignedCents, {}},
    {kTranspose,              "Transpose",         0.5f, EForm::Semitones,  EDisplay::Semitones, {}},
    {kFilterCutoff,           "Flt. Cutoff",       1.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kFilterResonance,        "Flt. Reso",         0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kFilterKeyTracking,      "Flt. KbdTrk",       0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kFilterVelocityTracking, "Flt. VelTrk",       0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kAmpAttack,              "Amp. Attack",       0.0f, EForm::Continuous, EDisplay::Milliseconds, {}, 1.0f, 5000.0f},
    {kAmpDecay,               "Amp. Decay",        1.0f, EForm::Continuous, EDisplay::Milliseconds, {}, 5.0f, 20000.0f, 1.0f},
    {kAmpSustain,             "Amp. Sustain",      1.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kAmpRelease,             "Amp. Release",      0.0f, EForm::Continuous, EDisplay::Milliseconds, {}, 15.0f, 10000.0f},
    {kLfoAmount,              "LFO Amount",        0.5f, EForm::Bipolar,    EDisplay::SignedPercent, {}},
    {kLfoRetrigger,           "LFO Retrig",        0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kLfoRate,                "LFO Rate",          0.2f, EForm::Continuous, EDisplay::LfoHertz, {}, 0.0f, 30.0f},
    {kUnisonDetune,           "Unison Detune",     0.1f, EForm::Continuous, EDisplay::Percent, {}},
    {kUnisonPan,              "Unison Pan",        0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kDelayOn,                "Delay ON/OFF",      0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kDelayTimeLeft,          "Delay Time Left",   3.0f / 7.0f, EForm::Continuous, EDisplay::Quarters, {}},
    {kDelayTimeRight,         "Delay Time Right",  3.0f / 7.0f, EForm::Continuous, EDisplay::Quarters, {}},
    {kDelayFeedback,          "Delay Fdbk",        0.5f, EForm::Continuous, EDisplay::Percent, {}},
    {kDelayModDepth,          "Delay Mod. Depth",  0.3f, EForm::Continuous, EDisplay::Percent, {}},
    {kDelayLowCut,            "Delay Lo-Cut",      0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kDelayHighCut,           "Delay Hi-Cut",      1.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kDelayWet,               "Delay Wet",         0.5f, EForm::Continuous, EDisplay::Percent, {}},
    {kChorusOn,               "Chorus ON/OFF",     0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kChorusRate,             "Chorus Rate",       0.5f, EForm::Continuous, EDisplay::Hertz, {}, 0.1f, 5.1f},
    {kChorusDepth,            "Chorus Depth",      0.5f, EForm::Continuous, EDisplay::Percent, {}},
    {kChorusWet,              "Chorus Wet",        0.4f, EForm::Continuous, EDisplay::Percent, {}},
    {kModWheelAmount,         "MW Amount",         0.5f, EForm::Bipolar,    EDisplay::SignedPercent, {}},
    {kMonophonic,             "Monophonic",        0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kOctaver,                "Octaver",           0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kGlideTime,              "Glide Time",        0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kGateMix,                "Gate Mix",          0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {kGateSmooth,             "Gate Smooth",       0.0f, EForm::Continuous, EDisplay::Percent, {}},
    {EParameter(kGateStep1 +  0), "Gate Step 1",   1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  1), "Gate Step 2",   0.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  2), "Gate Step 3",   1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  3), "Gate Step 4",   0.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  4), "Gate Step 5",   1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  5), "Gate Step 6",   1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  6), "Gate Step 7",   1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  7), "Gate Step 8",   0.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  8), "Gate Step 9",   1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 +  9), "Gate Step 10",  0.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 + 10), "Gate Step 11",  1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 + 11), "Gate Step 12",  0.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 + 12), "Gate Step 13",  1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 + 13), "Gate Step 14",  1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 + 14), "Gate Step 15",  1.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {EParameter(kGateStep1 + 15), "Gate Step 16",  0.0f, EForm::GateStep,   EDisplay::OnOff, {}},
    {kEgDestination,          "EG Dest",           0.0f, EForm::Selector,   EDisplay::Names, kEgDestinations},
    {kFilterMode,             "Filter Mode",       0.0f, EForm::Selector,   EDisplay::Names, kFilterModes},
    {kLfoDestination,         "LFO Dest",          0.0f, EForm::Selector,   EDisplay::Names, kLfoDestinations},
    {kLfoShape,               "LFO Shape",         0.5f, EForm::Selector,   EDisplay::Names, kLfoShapes},
    {kArpMode,                "ARP Mode",          0.0f, EForm::Selector,   EDisplay::Names, kArpModes},
    {kArpRange,               "ARP Range",         0.0f, EForm::Selector,   EDisplay::Names, kArpRanges},
    {kModWheelDestination,    "ModWheel Dest",     0.0f, EForm::Selector,   EDisplay::Names, kModWheelDestinations},
    {kGlideHeld,              "Glide Held",        0.0f, EForm::Switch,     EDisplay::OnOff, {}},
    {kGlideTimeStatic,        "Glide Time Static", 0.0f, EForm::Switch,     EDisplay::OnOff, {}},
};
// clang-format on

inline constexpr float kUnisonVoiceChoices[] = {1, 2, 3, 4, 8, 12, 16};
/// Sixteenth notes.
inline constexpr float kStepLengthChoices[] = {0.5f, 1, 2, 3, 4, 8, 16};
inline constexpr std::string_view kStepLengthLabels[] = {"1/32", "1/16", "2/16", "3/16",
                                                         "1/4",  "2/4",  "4/4"};
/// Sixteenth notes a cycle; -1 runs free.
inline constexpr float kLfoSyncChoices[] = {-1, 1, 2, 3, 4, 8, 12, 16, 32, 64, 128};
inline constexpr std::string_view kLfoSyncLabels[] = {"---", "1/16", "2/16", "3/16", "1/4",  "2/4",
                                                      "3/4", "4/4",  "8/4",  "16/4", "32/16"};

// clang-format off
inline constexpr EngineSettingRow kEngineSettings[] = {
    {kSpare74,        "spare",                   "Spare",             0.0f,  1, {}, {}},
    {kUnisonVoices,   "unison voices",           "Unison Voices",     0.0f,  7, kUnisonVoiceChoices, {}},
    {kPolyphony,      "polyphony",               "Polyphony",        15.0f, 64, {}, {}},
    {kArpStepLength,  "arpeggiator step length", "ARP Step Length",   1.0f,  7, kStepLengthChoices, kStepLengthLabels},
    {kBendRange,      "pitch bend range",        "Pitch Bend Range",  0.0f, 12, {}, {}},
    {kGateStepLength, "gate step length",        "Gate Step Length",  0.0f,  7, kStepLengthChoices, kStepLengthLabels},
    {kLfoSync,        "LFO tempo sync",          "LFO Tempo Sync",    0.0f, 11, kLfoSyncChoices, kLfoSyncLabels},
};
// clang-format on

namespace detail {
template <typename Row>
constexpr bool RowsFollow(std::span<const Row> rows, int first)
{
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i].index != first + static_cast<int>(i))
            return false;
    return true;
}
} // namespace detail

static_assert(std::size(kParameters) == kHostParameterCount);
static_assert(detail::RowsFollow(std::span<const ParameterRow>(kParameters), 0));
static_assert(detail::RowsFollow(std::span<const EngineSettingRow>(kEngineSettings), kSpare74));
static_assert([] {
    for (const EngineSettingRow& row : kEngineSettings)
        if (!row.choices.empty() && std::ssize(row.choices) != row.count)
            return false;
    return true;
}());
static_assert(kHostParameterCount == 74 && kFirstControllerLink == 81);
static_assert(kLastControllerLink == 154 && kParameterCount == 156);

/// The row of a named parameter. @param index  0 .. kHostParameterCount - 1
[[nodiscard]] constexpr const ParameterRow& RowOf(int index)
{
    return kParameters[static_cast<std::size_t>(index)];
}

/// What a setting's stored number stands for, as menus show it: "16" unison voices, "1/4".
/// @param number  0 .. row.count - 1
[[nodiscard]] inline std::string ChoiceText(const EngineSettingRow& row, int number)
{
    const auto place = static_cast<std::size_t>(number);
    if (!row.labels.empty())
        return std::string(row.labels[place]);
    return std::to_string(row.choices.empty() ? number + 1 : static_cast<int>(row.choices[place]));
}

/// The default of a parameter that a reset changes: indices 0 .. 80. 0 for any other index.
[[nodiscard]] float TableDefault(int index);

// --- How stored values are read. All take what a host may have stored: any float, NaN included.

/// A switch: off only at exactly 0.
[[nodiscard]] constexpr bool IsOn(float value)
{
    // By its bits: processing threads take a denormal number for 0.
    return (std::bit_cast<std::uint32_t>(value) & 0x7FFFFFFFu) != 0;
}

/// The position that a selector's value chooses, 0 .. last. The 0.0001 makes k / last, as stored in
/// single precision, reach position k.
[[nodiscard]] int SelectorPosition(float value, int last);
[[nodiscard]] int SelectorPosition(const ParameterRow& row, float value);

/// -24 .. +24 for 0 .. 1, in whole semitones.
[[nodiscard]] int WholeSemitones(float value);

/// Times of envelopes in milliseconds: fine at the short end. Clamped to low .. high.
[[nodiscard]] float TimeCurve(float value, float low, float high);

/// LFO speed in Hz, 0 .. 30.
[[nodiscard]] float LfoRateHz(float value);

} // namespace keldra
