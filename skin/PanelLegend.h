#pragma once

#include <string_view>

#include "editor/PanelTable.h"

/// What is printed on the panel beside the controls' own captions and marks.

namespace keldra::skin {

/// A plate of the panel with the controls that belong together. Its title stands at its top left.
struct SectionRow {
    std::string_view title; ///< empty: none
    PanelRect plate;
};

// clang-format off
inline constexpr SectionRow kSections[] = {
    {"",               {  8,  52, 254,  79}}, // the display says what it is
    {"VOICES",         {264,  52, 223,  79}},
    {"PLAY MODE",      {489,  52, 202,  79}},
    {"MASTER",         {693,  52, 154,  79}},

    {"MOD WHEEL",      {  8, 133, 131, 113}},
    {"LFO",            {141, 133, 263, 113}},
    {"MOD ENVELOPE",   {406, 133, 266, 113}},
    {"AMP ENVELOPE",   {674, 133, 173, 113}},

    {"MIXER",          {  8, 248, 109,  81}},
    {"OSCILLATOR A",   {119, 248, 164,  81}},
    {"OSCILLATOR B",   {285, 248, 178,  81}},
    {"FILTER",         {465, 248, 223,  81}},
    {"ARPEGGIATOR",    {690, 248, 157,  81}},

    {"DELAY",          {  8, 331, 363,  70}},
    {"CHORUS",         {373, 331, 183,  70}},
    {"TRANCE GATE",    {558, 331, 289,  70}},
};

/// A word that belongs to no single control, or that heads a list.
struct LabelRow {
    std::string_view text;
    int x, baseline; ///< left edge; the pixel row below the capitals
};

inline constexpr LabelRow kLabels[] = {
    {"DEST",   17, 167},
    {"DEST",  152, 155},
    {"WAVE",  295, 167},
    {"DEST",  419, 167},
    {"MODE",  655, 266},
    {"RANGE", 755, 270},
    {"MENU",  186, 62},
    {"1",     706, 359}, // the first step of each row of the gate
    {"9",     706, 382},
    {"PROGRAM / PARAMETER / CC", 21, panel::kVoiceCaptions},
};

/// A line over neighbours that share a word.
struct BracketRow {
    std::string_view text;
    int left, right, baseline;
};

inline constexpr BracketRow kBrackets[] = {
    {"SPREAD", 401, 480, 77},
    {"GLIDE",  566, 680, 77},
    {"TUNE",   708, 783, 77},
};
// clang-format on

} // namespace keldra::skin
