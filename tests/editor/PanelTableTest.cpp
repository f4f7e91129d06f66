#include "editor/PanelTable.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

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
    const std::map<int, std::string> expected = {
        {kLfoSync, "--- 1/16 2/16 3/16 1/4 2/4 3/4 4/4 8/4 16/4 32/16 "},
        {kGateStepLength, "1/32 1/16 2/16 3/16 1/4 2/4 4/4 "},
        {kArpStepLength, "1/32 1/16 2/16 3/16 1/4 2/4 4/4 "},
        {kUnisonVoices, "1 2 3 4 8 12 16 "},
        {kBendRange, "1 2 3 4 5 6 7 8 9 10 11 12 "},
        {kNotBound, "Import CC Map Import gate pattern  Save Program  Load Program  "
                    "Clear all CC Links  Reset Program "},
    };
    for (const PanelControl& control : kPanelControls) {
        std::string items;
        for (int item = 0; control.kind == EPanelControl::Menu && item < control.items; ++item)
            items += MenuItemText(control, item) + " ";
        if (control.parameter == kPolyphony) {
            EXPECT_TRUE(items.starts_with("1 2 3 ") && items.ends_with(" 63 64 ")) << items;
        } else if (!items.empty()) {
            EXPECT_EQ(items, expected.at(control.parameter));
        }
    }
}

} // namespace
} // namespace keldra
