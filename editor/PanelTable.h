#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "editor/SkinImages.h"
#include "frame/ParameterTable.h"

/// The panel: what is where, which parameter it moves and which picture shows it. The editor builds
/// its controls from these rows and the skin is drawn from them, so that picture and control can't
/// drift apart. Window pixels, y down; a rectangle's position is its top left corner.

namespace keldra {

struct PanelRect {
    int x = 0, y = 0, width = 0, height = 0;

    [[nodiscard]] constexpr int Right() const { return x + width; }
    [[nodiscard]] constexpr int Bottom() const { return y + height; }
};

enum class EPanelControl {
    Knob,     ///< filmstrip; the wheels, too
    Button,   ///< four frames, press and toggle
    Fader,    ///< handle that travels along the control
    Selector, ///< tabs stacked top to bottom, one a position
    Menu,     ///< unframed, black text; its value is the chosen item's number as it stands
    Display,  ///< unframed, black text
    Keyboard,
};

/// What the editor has to tell apart from all other controls of a kind.
enum class EPanelRole {
    None,
    PitchWheel,
    ModWheel,
    Link,
    Unlink,
    PreviousProgram,
    NextProgram,
    ProgramName,
    ParameterText,
    ControllerText,
    ProgramMenu,
    Keyboard,
};

/// The marks beside a knob or a fader.
enum class EScale {
    None,
    Even,      ///< tenths
    Bipolar,   ///< tenths, the middle stands out
    Semitones, ///< every sixth semitone of -24 .. +24, octaves stand out
    Quarters,  ///< the eight delay times
};

/// Words under a control, centred on it.
struct PanelCaption {
    std::string_view text;
    int baseline = 0; ///< the pixel row below the capitals
};

inline constexpr int kNotBound = -1;

struct PanelControl {
    EPanelControl kind;
    PanelRect rect;
    int parameter = kNotBound;                 ///< EParameter, where it moves one
    float defaultValue = 0.0f;                 ///< of the control: where a right click puts it
    bool snap = false;                         ///< whether a drag stops at the default
    ESkinImage image = ESkinImage::Background; ///< of knobs, buttons, faders and selectors
    int items = 0; ///< positions of a selector, items of a menu with separators, else 0
    EPanelRole role = EPanelRole::None;
    PanelCaption caption = {};
    EScale scale = EScale::None;
};

inline constexpr float kQuarterNoteDelay = 3.0f / 7.0f;

/// The keyboard shows five octaves from here.
inline constexpr int kLowestKey = 36;
inline constexpr int kPanelKeyCount = 60;

// clang-format off
/// An empty one is a separator.
inline constexpr std::string_view kProgramMenuItems[] = {
    "Import CC Map", "Import gate pattern", "",
    "Save Program", "",
    "Load Program", "",
    "Clear all CC Links", "",
    "Reset Program",
};
// clang-format on

namespace panel {

// Captions of one row of the panel stand on one line.
inline constexpr int kVoiceCaptions = 128;
inline constexpr int kModulationCaptions = 243;
inline constexpr int kSoundCaptions = 322;
inline constexpr int kEffectCaptions = 398;
inline constexpr int kWheelCaptions = 509;

enum class ESnap { No, Yes };

constexpr PanelRect FrameAt(int x, int y, ESkinImage image)
{
    return {x, y, RowOf(image).frameWidth, RowOf(image).frameHeight};
}

constexpr PanelControl Knob(int x, int y, int parameter, float defaultValue, ESnap snap,
                            PanelCaption caption, EScale scale = EScale::Even)
{
    return {EPanelControl::Knob,
            FrameAt(x, y, ESkinImage::Knob),
            parameter,
            defaultValue,
            snap == ESnap::Yes,
            ESkinImage::Knob,
            0,
            EPanelRole::None,
            caption,
            scale};
}

constexpr PanelControl Wheel(int x, int y, int parameter, float defaultValue, EPanelRole role,
                             PanelCaption caption, EScale scale)
{
    return {EPanelControl::Knob,
            FrameAt(x, y, ESkinImage::Wheel),
            parameter,
            defaultValue,
            false,
            ESkinImage::Wheel,
            0,
            role,
            caption,
            scale};
}

constexpr PanelControl Button(int x, int y, int parameter, ESkinImage image,
                              PanelCaption caption = {}, EPanelRole role = EPanelRole::None)
{
    return {EPanelControl::Button,
            FrameAt(x, y, image),
            parameter,
            0.0f,
            false,
            image,
            0,
            role,
            caption};
}

constexpr PanelControl Switch(int x, int y, int parameter, std::string_view text, int baseline)
{
    return Button(x, y, parameter, ESkinImage::BigButton, {text, baseline});
}

/// @param step  0 .. 15
constexpr PanelControl GateStep(int step)
{
    const int column = step % 8;
    return Button(714 + 16 * column, step < 8 ? 345 : 368, kGateStep1 + step,
                  column < 4 ? ESkinImage::GateWhite : ESkinImage::GateBlue);
}

constexpr PanelControl Fader(int x, int y, int parameter, float defaultValue, ESnap snap,
                             std::string_view text, EScale scale = EScale::Even)
{
    return {EPanelControl::Fader,
            {x, y, 32, 78},
            parameter,
            defaultValue,
            snap == ESnap::Yes,
            ESkinImage::FaderHandle,
            0,
            EPanelRole::None,
            {text, kModulationCaptions},
            scale};
}

constexpr PanelControl Selector(int x, int y, int parameter, ESkinImage image)
{
    const SkinImageRow& row = RowOf(image);
    return {EPanelControl::Selector,
            {x, y, row.frameWidth, row.frameHeight * row.across},
            parameter,
            0.0f,
            false,
            image,
            row.across};
}

constexpr PanelControl Menu(int x, int y, int parameter, int items, PanelCaption caption)
{
    return {EPanelControl::Menu,    {x, y, 37, 13}, parameter,        0.0f,   false,
            ESkinImage::Background, items,          EPanelRole::None, caption};
}

constexpr PanelControl Display(const PanelRect& rect, EPanelRole role)
{
    return {EPanelControl::Display, rect, kNotBound, 0.0f, false, ESkinImage::Background, 0, role};
}

// clang-format off
inline constexpr PanelControl kControls[] = {
    Knob( 92, 161, kModWheelAmount,         0.5f, ESnap::Yes, {"AMOUNT",  206}, EScale::Bipolar),
    Knob( 24, 276, kOscBalance,             0.0f, ESnap::No,  {"BALANCE",  kSoundCaptions}),
    Knob( 71, 276, kNoiseBalance,           0.0f, ESnap::No,  {"NOISE",    kSoundCaptions}),
    Knob(128, 276, kOscAPulseWidth,         1.0f, ESnap::No,  {"WIDTH",    kSoundCaptions}),
    Knob(297, 276, kOscBPulseWidth,         1.0f, ESnap::No,  {"WIDTH",    kSoundCaptions}),
    Knob(374, 276, kOscBPitch,              0.5f, ESnap::Yes, {"PITCH",    kSoundCaptions}, EScale::Semitones),
    Knob(418, 276, kOscBDetune,             0.0f, ESnap::No,  {"DETUNE",   kSoundCaptions}),
    Knob(481, 276, kFilterCutoff,           1.0f, ESnap::No,  {"CUTOFF",   kSoundCaptions}),
    Knob(525, 276, kFilterResonance,        0.0f, ESnap::No,  {"RESO",     kSoundCaptions}),
    Knob(570, 276, kFilterKeyTracking,      0.0f, ESnap::No,  {"KEY TRK",  kSoundCaptions}),
    Knob(614, 276, kFilterVelocityTracking, 0.0f, ESnap::No,  {"VEL TRK",  kSoundCaptions}),
    Knob( 56, 353, kDelayTimeLeft,  kQuarterNoteDelay, ESnap::No, {"TIME L",   kEffectCaptions}, EScale::Quarters),
    Knob(101, 353, kDelayTimeRight, kQuarterNoteDelay, ESnap::No, {"TIME R",   kEffectCaptions}, EScale::Quarters),
    Knob(146, 353, kDelayFeedback,          0.5f, ESnap::No,  {"FEEDBK",   kEffectCaptions}),
    Knob(191, 353, kDelayModDepth,          0.3f, ESnap::No,  {"MOD",      kEffectCaptions}),
    Knob(236, 353, kDelayLowCut,            0.0f, ESnap::No,  {"LO CUT",   kEffectCaptions}),
    Knob(281, 353, kDelayHighCut,           1.0f, ESnap::No,  {"HI CUT",   kEffectCaptions}),
    Knob(326, 353, kDelayWet,               0.5f, ESnap::No,  {"WET",      kEffectCaptions}),
    Knob(422, 353, kChorusDepth,            0.5f, ESnap::No,  {"DEPTH",    kEffectCaptions}),
    Knob(467, 353, kChorusRate,             0.5f, ESnap::No,  {"RATE",     kEffectCaptions}),
    Knob(512, 353, kChorusWet,              0.4f, ESnap::No,  {"WET",      kEffectCaptions}),
    Knob(617, 353, kGateMix,                0.0f, ESnap::No,  {"MIX",      kEffectCaptions}),
    Knob(570, 353, kGateSmooth,             0.0f, ESnap::No,  {"SMOOTH",   kEffectCaptions}),
    Knob(399,  82, kUnisonDetune,           0.0f, ESnap::No,  {"DETUNE",   kVoiceCaptions}),
    Knob(446,  82, kUnisonPan,              0.0f, ESnap::No,  {"PAN",      kVoiceCaptions}),
    Knob(646,  82, kGlideTime,              0.0f, ESnap::No,  {"TIME",     kVoiceCaptions}),
    Knob(706,  82, kTranspose,              0.5f, ESnap::Yes, {"SEMI",     kVoiceCaptions}, EScale::Semitones),
    Knob(749,  82, kFineTune,               0.5f, ESnap::Yes, {"FINE",     kVoiceCaptions}, EScale::Bipolar),
    Knob(803,  82, kGain,                   0.5f, ESnap::Yes, {"GAIN",     kVoiceCaptions}),
    Wheel(49, 405, kPitchBendValue,         0.5f, EPanelRole::PitchWheel, {"PITCH", kWheelCaptions}, EScale::Bipolar),
    Wheel(98, 405, kModWheelValue,          0.0f, EPanelRole::ModWheel,   {"MOD",   kWheelCaptions}, EScale::Even),

    Switch(494,  87, kOctaver,         "OCT",    kVoiceCaptions),
    Switch(529,  87, kMonophonic,      "MONO",   kVoiceCaptions),
    Switch(564,  87, kGlideHeld,       "HELD",   kVoiceCaptions),
    Switch(599,  87, kGlideTimeStatic, "STATIC", kVoiceCaptions),
    Switch(365, 162, kLfoRetrigger,    "RETRIG", 206),
    Switch(169, 279, kOscAShape,       "PULSE",  kSoundCaptions),
    Switch(206, 279, kOscARing,        "RING",   kSoundCaptions),
    Switch(243, 279, kOscASync,        "SYNC",   kSoundCaptions),
    Switch(335, 279, kOscBShape,       "PULSE",  kSoundCaptions),
    Switch( 17, 356, kDelayOn,         "ON",     kEffectCaptions),
    Switch(381, 356, kChorusOn,        "ON",     kEffectCaptions),
    GateStep(0), GateStep(1), GateStep( 2), GateStep( 3),
    GateStep(8), GateStep(9), GateStep(10), GateStep(11),
    GateStep( 4), GateStep( 5), GateStep( 6), GateStep( 7),
    GateStep(12), GateStep(13), GateStep(14), GateStep(15),
    Button(186, 86, kNotBound, ESkinImage::Link,            {"LINK",   kVoiceCaptions}, EPanelRole::Link),
    Button(215, 86, kNotBound, ESkinImage::Unlink,          {"CLEAR",  kVoiceCaptions}, EPanelRole::Unlink),
    Button(157, 63, kNotBound, ESkinImage::PreviousProgram, {}, EPanelRole::PreviousProgram),
    Button(168, 63, kNotBound, ESkinImage::NextProgram,     {}, EPanelRole::NextProgram),

    Fader(215, 157, kLfoAmount,  0.5f, ESnap::Yes, "AMOUNT", EScale::Bipolar),
    Fader(257, 157, kLfoRate,    0.2f, ESnap::No,  "RATE"),
    Fader(482, 157, kEgAmount,   0.5f, ESnap::Yes, "AMOUNT", EScale::Bipolar),
    Fader(525, 157, kEgAttack,   0.0f, ESnap::No,  "A"),
    Fader(561, 157, kEgDecay,    1.0f, ESnap::No,  "D"),
    Fader(597, 157, kEgSustain,  1.0f, ESnap::No,  "S"),
    Fader(633, 157, kEgRelease,  0.0f, ESnap::No,  "R"),
    Fader(693, 157, kAmpAttack,  0.0f, ESnap::No,  "A"),
    Fader(729, 157, kAmpDecay,   1.0f, ESnap::No,  "D"),
    Fader(765, 157, kAmpSustain, 1.0f, ESnap::No,  "S"),
    Fader(801, 157, kAmpRelease, 0.0f, ESnap::No,  "R"),

    Selector( 16, 170, kModWheelDestination, ESkinImage::ModWheelDestination),
    Selector(151, 158, kLfoDestination,      ESkinImage::LfoDestination),
    Selector(418, 170, kEgDestination,       ESkinImage::EgDestination),
    Selector(754, 273, kArpRange,            ESkinImage::ArpRange),
    Selector(699, 261, kArpMode,             ESkinImage::ArpMode),
    Selector(294, 170, kLfoShape,            ESkinImage::LfoShape),
    Selector(654, 269, kFilterMode,          ESkinImage::FilterMode),

    Menu(361, 214, kLfoSync,        11, {"SYNC",   kModulationCaptions}),
    Menu(664, 363, kGateStepLength,  7, {"STEP",   kEffectCaptions}),
    Menu(798, 274, kArpStepLength,   7, {"STEP",   298}),
    Menu(287,  93, kUnisonVoices,    7, {"UNISON", kVoiceCaptions}),
    Menu(341,  93, kPolyphony,      64, {"POLY",   kVoiceCaptions}),
    Menu( 87, 214, kBendRange,      12, {"BEND ST", kModulationCaptions}),

    Display({24, 62, 132, 13}, EPanelRole::ProgramName),
    Display({24, 78, 154, 13}, EPanelRole::ParameterText),
    Display({24, 94, 154, 13}, EPanelRole::ControllerText),
    {EPanelControl::Menu, {186, 66, 64, 11}, kNotBound, 0.0f, false, ESkinImage::Background,
     static_cast<int>(std::size(kProgramMenuItems)), EPanelRole::ProgramMenu},
    {EPanelControl::Keyboard, {167, 408, 663, 101}, kNotBound, 0.0f, false, ESkinImage::WhiteKey, 0,
     EPanelRole::Keyboard},
};
// clang-format on
} // namespace panel

/// Every control, in the order in which the editor adds them: of two that covered one point the
/// earlier one would be clicked.
inline constexpr std::span<const PanelControl> kPanelControls = panel::kControls;

inline constexpr int kPanelControlCount = 91;
static_assert(std::size(panel::kControls) == kPanelControlCount);

/// The control of a role that only one has, such as the keyboard.
[[nodiscard]] constexpr const PanelControl& ControlOf(EPanelRole role)
{
    std::size_t place = 0;
    while (kPanelControls[place].role != role)
        ++place;
    return kPanelControls[place];
}

/// The text of a menu's item: the engine's words for its choices, or the numbers behind them.
/// @param menu  a row of kind Menu  @param item  0 .. menu.items - 1
/// @return empty for a separator
[[nodiscard]] std::string MenuItemText(const PanelControl& menu, int item);

} // namespace keldra
