#include "editor/PanelTable.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace keldra {
namespace {

std::string Described(const PanelControl& control)
{
    return "control at (" + std::to_string(control.rect.x) + ", " + std::to_string(control.rect.y) +
           ")";
}

bool Overlap(const PanelRect& a, const PanelRect& b)
{
    return a.x < b.Right() && b.x < a.Right() && a.y < b.Bottom() && b.y < a.Bottom();
}

TEST(PanelTable, GivesEveryParameterOneControlOfTheKindThatItsFormAsksFor)
{
    std::map<int, const PanelControl*> controls;
    for (const PanelControl& control : kPanelControls)
        if (control.parameter != kNotBound) {
            EXPECT_TRUE(controls.emplace(control.parameter, &control).second)
                << control.parameter << " has two controls";
        }

    for (const ParameterRow& row : kParameters) {
        ASSERT_TRUE(controls.contains(row.index)) << row.name;
        const PanelControl& control = *controls[row.index];
        const bool isSwitch = row.form == EForm::Switch || row.form == EForm::GateStep;
        EXPECT_EQ(control.kind == EPanelControl::Button, isSwitch) << row.name;
        EXPECT_EQ(control.kind == EPanelControl::Selector, row.form == EForm::Selector) << row.name;
        if (row.form == EForm::Selector) {
            EXPECT_EQ(static_cast<std::size_t>(control.items), row.positions.size()) << row.name;
        }
        // A drag stops where a value without effect is hard to find otherwise.
        const bool hasMiddle = row.form == EForm::Bipolar || row.form == EForm::Semitones;
        EXPECT_EQ(control.snap, hasMiddle || row.index == kGain) << row.name;
    }
    for (int setting = kUnisonVoices; setting <= kLfoSync; ++setting) {
        ASSERT_TRUE(controls.contains(setting)) << setting;
        EXPECT_EQ(controls[setting]->kind, EPanelControl::Menu) << setting;
    }
    EXPECT_EQ(controls[kPitchBendValue], &ControlOf(EPanelRole::PitchWheel));
    EXPECT_EQ(controls[kModWheelValue], &ControlOf(EPanelRole::ModWheel));
    EXPECT_EQ(controls.size(), 74u + 6u + 2u);
}

TEST(PanelTable, ResetsAControlToItsParametersDefaultButForTwo)
{
    for (const PanelControl& control : kPanelControls) {
        if (control.kind != EPanelControl::Knob && control.kind != EPanelControl::Fader)
            continue;
        const int parameter = control.parameter;
        if (parameter >= kHostParameterCount)
            continue;
        const bool differs = parameter == kUnisonDetune || parameter == kEgRelease;
        EXPECT_EQ(control.defaultValue, differs ? 0.0f : TableDefault(parameter))
            << Described(control);
    }
    EXPECT_EQ(ControlOf(EPanelRole::PitchWheel).defaultValue, 0.5f);
}

TEST(PanelTable, AddsTheControlsKindByKindAndTheKeyboardLast)
{
    struct Run {
        EPanelControl kind;
        int count;
    };
    std::vector<Run> runs;
    for (const PanelControl& control : kPanelControls) {
        if (runs.empty() || runs.back().kind != control.kind)
            runs.push_back({control.kind, 0});
        ++runs.back().count;
    }
    constexpr Run kExpected[] = {
        {EPanelControl::Knob, 29 + 2}, {EPanelControl::Button, 11 + 16 + 4},
        {EPanelControl::Fader, 11},    {EPanelControl::Selector, 7},
        {EPanelControl::Menu, 6},      {EPanelControl::Display, 3},
        {EPanelControl::Menu, 1},      {EPanelControl::Keyboard, 1},
    };
    ASSERT_EQ(runs.size(), std::size(kExpected));
    for (std::size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i].kind, kExpected[i].kind) << i;
        EXPECT_EQ(runs[i].count, kExpected[i].count) << i;
    }
}

TEST(PanelTable, KeepsControlsApartAndInsideTheWindow)
{
    for (const PanelControl& control : kPanelControls) {
        const PanelRect& rect = control.rect;
        EXPECT_GT(rect.width, 0) << Described(control);
        EXPECT_GT(rect.height, 0) << Described(control);
        EXPECT_GE(rect.x, 0) << Described(control);
        EXPECT_GE(rect.y, 0) << Described(control);
        EXPECT_LE(rect.Right(), kPanelWidth) << Described(control);
        EXPECT_LE(rect.Bottom(), kPanelHeight) << Described(control);
        // The name at the top left opens the about box; a control there would take the click.
        EXPECT_FALSE(Overlap(rect, {25, 5, 255, 30})) << Described(control);
        for (const PanelControl& other : kPanelControls) {
            const bool overlap = &other != &control && Overlap(rect, other.rect);
            EXPECT_FALSE(overlap) << Described(control) << " and " << Described(other);
        }
    }
}

TEST(PanelTable, WritesTheItemsOfItsMenus)
{
    struct Case {
        int parameter;
        std::vector<std::pair<int, std::string>> items;
    };
    const Case cases[] = {
        {kLfoSync, {{0, "---"}, {4, "1/4"}, {10, "32/16"}}},
        {kGateStepLength, {{0, "1/32"}, {6, "4/4"}}},
        {kArpStepLength, {{1, "1/16"}, {6, "4/4"}}},
        {kUnisonVoices, {{0, "1"}, {4, "8"}, {6, "16"}}},
        {kPolyphony, {{0, "1"}, {63, "64"}}},
        {kBendRange, {{0, "1"}, {11, "12"}}},
        {kNotBound, {{0, "Import CC Map"}, {4, ""}, {9, "Reset Program"}}},
    };
    for (const PanelControl& control : kPanelControls) {
        if (control.kind != EPanelControl::Menu)
            continue;
        bool found = false;
        for (const Case& expected : cases) {
            if (expected.parameter != control.parameter)
                continue;
            found = true;
            for (const auto& [item, text] : expected.items)
                EXPECT_EQ(MenuItemText(control, item), text) << control.parameter;
            EXPECT_EQ(control.items, expected.items.back().first + 1) << control.parameter;
        }
        EXPECT_TRUE(found) << Described(control);
    }
}

} // namespace
} // namespace keldra
