#include "frame/ParameterTable.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "frame/Numbers.h"
#include "frame/ValueText.h"

namespace keldra::test {

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::string TextOf(int index, float value)
{
    std::array<char, kValueTextSize> text;
    WriteValueText(index, value, text);
    return text.data();
}

} // namespace

TEST(ParameterTable, ReadsSelectorsFromTheValuesThatHostsSend)
{
    struct Case {
        float value;
        int last, position;
    };
    for (const auto& [value, last, position] :
         {Case{0.74f, 4, 2}, Case{0.75f, 4, 3}, Case{1.0f, 4, 4}, Case{0.9999f, 4, 3},
          Case{0.25f, 4, 1}, Case{0.2499f, 4, 0}, Case{0.5f, 2, 1}, Case{0.6f, 5, 3},
          Case{kNan, 4, 0}, Case{kInfinity, 4, 4}, Case{-1e30f, 4, 0}, Case{1e30f, 5, 5}})
        EXPECT_EQ(SelectorPosition(value, last), position) << value;
    for (int last = 1; last <= 10; ++last)
        for (int k = 0; k <= last; ++k)
            EXPECT_EQ(SelectorPosition(static_cast<float>(k) / static_cast<float>(last), last), k);
}

// The ends, the defaults and all positions are in README.md, which ParameterReference compares.
TEST(ValueText, SaysEachValueInTheMusiciansWords)
{
    struct Case {
        int index;
        float value;
        const char* text;
    };
    constexpr Case kCases[] = {
        {kLfoRate, 0.5f, "0.94 Hz"},  {kChorusRate, 0.5f, "2.60 Hz"},
        {kOscBDetune, 0.5f, "+ 25"},  {kFilterCutoff, 0.999f, "99 %"},
        {kPolyphony, 15.0f, "100 %"}, {kFirstControllerLink, -1.0f, "0 %"},
        {kFilterMode, 0.5f, "BP"},    {kOscBShape, 0.01f, "Pulse"},
        {kGateStep1, 0.7f, "On"},     {kArpMode, 0.75f, "Up/Down"},
        {kFilterCutoff, kNan, "0 %"}, {kTranspose, kInfinity, "24"},
        {-1, 0.5f, "50 %"},           {100000, 0.5f, "50 %"},
    };
    for (const auto& [index, value, text] : kCases)
        EXPECT_EQ(TextOf(index, value), text) << index << " at " << value;
}

TEST(ValueText, UnderstandsWhatItWritesAndWhatPeopleType)
{
    for (const ParameterRow& row : kParameters) {
        EXPECT_EQ(FindParameter(row.name), row.index);
        for (int i = 0; i <= 200; ++i) {
            const float value = static_cast<float>(i) / 200.0f;
            const std::string text = TextOf(row.index, value);
            const auto read = ParseValueText(row.index, text);
            ASSERT_TRUE(read.has_value()) << row.name << ": " << text;
            EXPECT_EQ(TextOf(row.index, *read), text) << row.name << " at " << value;
        }
    }
    EXPECT_EQ(FindParameter(" flt. cutoff "), kFilterCutoff);
    EXPECT_EQ(FindParameter("Unison Voices"), kUnisonVoices);
    EXPECT_EQ(FindParameter("Cutoff"), -1);

    struct Case {
        int index;
        const char* typed;
        const char* shown; ///< null: not understood
    };
    constexpr Case kCases[] = {
        {kEgAttack, "1.2 s", "1200 ms"},  {kEgAttack, "99999999", "50000 ms"},
        {kEgAttack, "0", "5 ms"},         {kGain, "-6 dB", "-6.00 dB"},
        {kFilterCutoff, "-3 %", "0 %"},   {kLfoRate, "440", "30.00 Hz"},
        {kLfoRate, " 2.5hz ", "2.50 Hz"}, {kTranspose, "+7", "7"},
        {kTranspose, "-12 st", "-12"},    {kArpMode, "rand", "Random"},
        {kArpMode, "u", nullptr},         {kArpRange, "2", "2 oct."},
        {kOscASync, "ON", "On"},          {kOscASync, "perhaps", nullptr},
        {kDelayTimeLeft, "3/4", "3/4"},   {kFilterCutoff, "50 dB", nullptr},
        {kFilterCutoff, "", nullptr},     {kFilterCutoff, "nan", nullptr},
        {kGain, "0,5", nullptr},          {kFirstControllerLink, "1", nullptr},
    };
    for (const auto& [index, typed, shown] : kCases) {
        const auto value = ParseValueText(index, typed);
        ASSERT_EQ(value.has_value(), shown != nullptr) << typed;
        if (value) {
            EXPECT_EQ(TextOf(index, *value), shown) << typed;
        }
    }
    for (const auto& [index, typed, stored] : {std::tuple{kUnisonVoices, "8", 4.0f},
                                               {kPolyphony, "64", 63.0f},
                                               {kBendRange, "2", 1.0f},
                                               {kGateStepLength, "1/16", 1.0f},
                                               {kLfoSync, "---", 0.0f},
                                               {kLfoSync, "16/4", 9.0f}})
        EXPECT_EQ(ParseValueText(index, typed), stored) << typed;
    EXPECT_FALSE(ParseValueText(kUnisonVoices, "5").has_value());
    EXPECT_FALSE(ParseValueText(kPolyphony, "65").has_value());
}

} // namespace keldra::test
