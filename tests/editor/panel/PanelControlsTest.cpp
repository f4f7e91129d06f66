// Every control of the panel under the mouse, and what a host notices of it.

#include <algorithm>
#include <map>
#include <set>

#include "tests/editor/panel/PanelRig.h"

namespace keldra::test {
namespace {

class PanelControls : public testing::Test {
protected:
    /// That an edit was one whole gesture on this parameter. @return the values in between
    std::vector<float> TakeGesture(int parameter)
    {
        const std::vector<HostEvent> events = rig_.TakeEvents();
        std::vector<float> values;
        EXPECT_GE(events.size(), 2u) << parameter;
        for (std::size_t i = 0; i < events.size(); ++i) {
            const char expected = i == 0 ? 'B' : i + 1 == events.size() ? 'E' : 'A';
            EXPECT_EQ(events[i].kind, expected) << parameter << " event " << i;
            EXPECT_EQ(events[i].parameter, parameter);
            if (events[i].kind == 'A')
                values.push_back(events[i].value);
        }
        return values;
    }
    /// Control, engine, host and value text agree.
    void ExpectValue(const PanelControl& row, float value)
    {
        const CControl& control = rig_.Control(row);
        EXPECT_EQ(control.GetValue(), value) << row.parameter;
        EXPECT_EQ(rig_.host->GetParameter(row.parameter), value) << row.parameter;
        if (row.parameter < kHostParameterCount) {
            EXPECT_EQ(control.GetValueText(), rig_.ValueText(row.parameter));
        }
    }

    CMachine machine_;
    CPanelRig rig_;
};

TEST_F(PanelControls, TurnsKnobsAndFadersThroughTheirWholeRangeAndBackToTheDefault)
{
    int driven = 0;
    for (const PanelControl& row : kPanelControls) {
        const bool isNumber = row.kind == EPanelControl::Knob || row.kind == EPanelControl::Fader;
        if (!isNumber || row.parameter >= kHostParameterCount)
            continue;
        ++driven;
        const int p = row.parameter;
        SCOPED_TRACE(rig_.host->ParameterName(p));
        const float atFirst = rig_.host->GetParameter(p);
        CHeadlessWindow& window = *rig_.window;
        std::map<bool, std::vector<std::uint32_t>> looks;
        std::map<bool, std::string> texts;
        for (const bool up : {false, true}) {
            window.MoveTo({row.rect.x + 12, row.rect.y + 8});
            window.Press();
            EXPECT_TRUE(window.CursorIsHidden());
            int movesInTheMiddle = 0;
            for (int i = 0; i < 40; ++i) {
                window.MoveBy(0, up ? -20 : 20);
                const float value = rig_.host->GetParameter(p);
                movesInTheMiddle += std::fabs(value - 0.5f) < 1e-5f ? 1 : 0;
            }
            if (up) { // where a snapping control waits
                EXPECT_EQ(movesInTheMiddle, row.snap ? 6 : 1);
            }
            window.Release();
            EXPECT_FALSE(window.CursorIsHidden());
            const std::vector<float> values = TakeGesture(p);
            ExpectValue(row, up ? 1.0f : 0.0f);
            EXPECT_TRUE(std::is_sorted(values.begin(), values.end(),
                                       [up](float a, float b) { return up ? a < b : a > b; }));
            looks[up] = rig_.Seen(row.rect);
            texts[up] = rig_.ValueText(p);
        }
        EXPECT_NE(looks[true], looks[false]);
        EXPECT_NE(texts[true], texts[false]);

        rig_.Click(row.rect, EMouseButton::Right);
        EXPECT_EQ(TakeGesture(p).size(), 1u);
        const bool differs = p == kUnisonDetune || p == kEgRelease;
        ExpectValue(row, differs ? 0.0f : atFirst);

        rig_.host->SetParameter(p, 0.25f);
        window.Tick();
        window.Wheel(1.0f);
        const std::vector<float> wheeled = TakeGesture(p);
        ASSERT_EQ(wheeled.size(), 1u);
        EXPECT_NEAR(wheeled[0], 0.27f, 1e-6f);
        window.Wheel(-1.0f, kModifierShift);
        EXPECT_NEAR(TakeGesture(p).at(0), 0.269f, 1e-6f);
        ExpectValue(row, rig_.host->GetParameter(p));
    }
    EXPECT_EQ(driven, 29 + 11);
}

TEST_F(PanelControls, SwitchesButtonsOnThePressAndTellsTheEndOnTheRelease)
{
    int driven = 0;
    for (const PanelControl& row : kPanelControls) {
        if (row.kind != EPanelControl::Button || row.parameter == kNotBound)
            continue;
        ++driven;
        const int p = row.parameter;
        SCOPED_TRACE(rig_.host->ParameterName(p));
        const bool wasOn = rig_.host->GetParameter(p) != 0.0f;
        std::set<std::vector<std::uint32_t>> looks;
        std::set<std::string> texts;
        rig_.window->MoveTo({row.rect.x + row.rect.width / 2, row.rect.y + row.rect.height / 2});
        for (const bool on : {!wasOn, wasOn}) {
            rig_.window->Press();
            looks.insert(rig_.Seen(row.rect));
            const std::vector<HostEvent> begun = rig_.TakeEvents();
            ASSERT_EQ(begun.size(), 2u);
            EXPECT_EQ(begun[0].kind, 'B');
            EXPECT_EQ(begun[1].kind, 'A');
            EXPECT_EQ(begun[1].value, on ? 1.0f : 0.0f);
            rig_.window->MoveBy(0, 200); // it goes up elsewhere
            rig_.window->Release();
            rig_.window->MoveBy(0, -200);
            looks.insert(rig_.Seen(row.rect));
            EXPECT_EQ(rig_.TakeLog(), std::string("E").append(std::to_string(p)));
            ExpectValue(row, on ? 1.0f : 0.0f);
            texts.insert(rig_.ValueText(p));
        }
        EXPECT_EQ(looks.size(), 4u) << "off and on, held and not";
        EXPECT_EQ(texts.size(), 2u);
        rig_.Click(row.rect, EMouseButton::Right);
        EXPECT_EQ(rig_.TakeLog(), "");
    }
    EXPECT_EQ(driven, 11 + 16);
}

TEST_F(PanelControls, ChoosesEachTabWithAClickAndStepsThroughAllWithTheWheel)
{
    int driven = 0;
    for (const PanelControl& row : kPanelControls) {
        if (row.kind != EPanelControl::Selector)
            continue;
        ++driven;
        const int p = row.parameter;
        SCOPED_TRACE(rig_.host->ParameterName(p));
        std::set<std::string> words;
        std::set<std::vector<std::uint32_t>> looks;
        const auto click = [&](int tab) {
            rig_.ClickAt({row.rect.x + 3, row.rect.y + 12 * tab + 6});
        };
        click(0);
        (void)rig_.TakeEvents();
        for (int tab = row.items - 1; tab >= 0; --tab) {
            click(tab);
            EXPECT_EQ(TakeGesture(p).size(), 1u);
            ExpectValue(row, rig_.host->GetParameter(p));
            words.insert(rig_.ValueText(p));
            looks.insert(rig_.Seen(row.rect));
            click(tab);
            EXPECT_EQ(TakeGesture(p).size(), 0u) << "it is chosen already";
        }
        EXPECT_EQ(words.size(), static_cast<std::size_t>(row.items));
        EXPECT_EQ(looks.size(), static_cast<std::size_t>(row.items));
        for (int tab = 1; tab < row.items; ++tab) {
            rig_.window->Wheel(-1.0f);
            EXPECT_EQ(TakeGesture(p).size(), 1u);
            looks.insert(rig_.Seen(row.rect));
        }
        EXPECT_EQ(rig_.host->GetParameter(p), 1.0f);
        EXPECT_EQ(looks.size(), static_cast<std::size_t>(row.items)) << "the wheel stops at tabs";
        rig_.window->Wheel(-1.0f);
        EXPECT_EQ(rig_.TakeLog(), "");
    }
    EXPECT_EQ(driven, 7);
}

TEST_F(PanelControls, ChoosesEveryItemOfTheMenusWithoutTellingTheHost)
{
    int driven = 0;
    for (const PanelControl& row : kPanelControls) {
        if (row.kind != EPanelControl::Menu || row.parameter == kNotBound)
            continue;
        ++driven;
        SCOPED_TRACE(row.parameter);
        const auto& menu = dynamic_cast<CControlMenu&>(rig_.Control(row));
        std::set<std::vector<std::uint32_t>> looks;
        for (int item = row.items - 1; item >= 0; --item) {
            rig_.Choose(row, item);
            ExpectValue(row, static_cast<float>(item));
            EXPECT_EQ(menu.GetText(), MenuItemText(row, item));
            looks.insert(rig_.Seen(row.rect));
        }
        EXPECT_EQ(looks.size(), static_cast<std::size_t>(row.items));
        rig_.window->MoveTo({row.rect.x + 9, row.rect.y + 6});
        rig_.window->Wheel(-2.0f);
        ExpectValue(row, 2.0f);
        rig_.Click(row.rect);
        rig_.ClickAt({2, 2}); // beside the list: nothing is chosen
        ExpectValue(row, 2.0f);
        EXPECT_EQ(rig_.TakeLog(), "");
    }
    EXPECT_EQ(driven, 6);
}

TEST_F(PanelControls, LetsThePitchWheelSpringBackAndTheModulationWheelStay)
{
    for (const EPanelRole role : {EPanelRole::PitchWheel, EPanelRole::ModWheel}) {
        const PanelControl& row = ControlOf(role);
        const float rest = rig_.host->GetParameter(row.parameter);
        const auto atRest = rig_.Seen(row.rect);
        rig_.window->MoveTo({row.rect.x + 9, row.rect.y + 40});
        rig_.window->Press();
        rig_.window->MoveBy(0, -100);
        ExpectValue(row, rest + 0.25f);
        EXPECT_NE(rig_.Seen(row.rect), atRest);
        rig_.window->Release();
        rig_.window->Tick(5);
        const bool springs = role == EPanelRole::PitchWheel;
        ExpectValue(row, springs ? 0.5f : rest + 0.25f);
        EXPECT_EQ(rig_.Seen(row.rect) == atRest, springs);
    }
    EXPECT_EQ(rig_.TakeLog(), "");
    rig_.Send(0xE0, 0, 127); // the player's own wheels
    rig_.Send(0xB0, 1, 127);
    rig_.window->Tick();
    ExpectValue(ControlOf(EPanelRole::PitchWheel), rig_.host->GetParameter(kPitchBendValue));
    EXPECT_GT(rig_.Control(ControlOf(EPanelRole::PitchWheel)).GetValue(), 0.9f);
    ExpectValue(ControlOf(EPanelRole::ModWheel), 1.0f);
}

TEST_F(PanelControls, PlaysTheKeyUnderTheMouseAndShowsWhatSounds)
{
    rig_.host->SetParameter(kFilterCutoff, 0.2f);
    rig_.host->SetParameter(kFilterVelocityTracking, 1.0f);
    const PanelRect keys = ControlOf(EPanelRole::Keyboard).rect;
    const auto silent = rig_.Seen(keys);
    double soft = 0.0;
    for (const int depth : {70, 98}) { // of a white key, 101 pixels long
        rig_.window->MoveTo({keys.x + 12 * 19 + 9, keys.y + depth}); // the A of the second octave
        rig_.window->Press();
        EXPECT_NE(rig_.Seen(keys), silent);
        rig_.Render(20);
        double power = 0.0;
        int periods = 0;
        const std::vector<float> sound = rig_.Render(100);
        for (std::size_t i = 1; i < sound.size(); ++i) {
            periods += sound[i - 1] < 0.0f && sound[i] >= 0.0f ? 1 : 0;
            power += static_cast<double>((sound[i] - sound[i - 1]) * (sound[i] - sound[i - 1]));
        }
        EXPECT_NEAR(periods, 220, 2) << "one second of A";
        EXPECT_GT(power, 1.2 * soft) << "brighter, the lower on the key";
        soft = power;
        rig_.window->Release();
        rig_.Render(100);
        rig_.window->Tick();
        EXPECT_EQ(rig_.Seen(keys), silent);
        const std::vector<float> rest = rig_.Render(2);
        EXPECT_LT(*std::max_element(rest.begin(), rest.end()), 1e-4f);
    }

    // What comes from outside: the first and the last key shown, black and white, and one beyond.
    for (const int key : {36, 61, 95, 96}) {
        rig_.Send(0x90, static_cast<std::uint8_t>(key), 100);
        EXPECT_EQ(rig_.Seen(keys), silent) << "not before the tick";
        rig_.window->Tick();
        EXPECT_EQ(rig_.Seen(keys) == silent, key == 96) << key;
        rig_.Send(0x80, static_cast<std::uint8_t>(key), 0);
        rig_.window->Tick();
        EXPECT_EQ(rig_.Seen(keys), silent) << key;
    }
    EXPECT_EQ(rig_.TakeLog(), "");
}

TEST_F(PanelControls, FollowsTheHostAtTheNextTickAndDrawsNothingElse)
{
    rig_.window->Tick(200);
    EXPECT_TRUE(rig_.window->TakePresented().empty()) << "nothing changes, nothing is drawn";
    for (const PanelControl& row : kPanelControls) {
        if (row.parameter == kNotBound)
            continue;
        SCOPED_TRACE(row.parameter);
        const auto before = rig_.Seen(row.rect);
        const float old = rig_.host->GetParameter(row.parameter);
        rig_.host->SetParameter(row.parameter, old == 1.0f ? 0.0f : 1.0f);
        EXPECT_EQ(rig_.Control(row).GetValue(), old);
        rig_.window->Tick();
        ExpectValue(row, rig_.host->GetParameter(row.parameter));
        EXPECT_NE(rig_.Seen(row.rect), before);
        const std::vector<PixelRect> presented = rig_.window->TakePresented();
        ASSERT_EQ(presented.size(), 1u);
        EXPECT_EQ(presented[0],
                  (PixelRect{row.rect.x, row.rect.y, row.rect.width, row.rect.height}));
        rig_.host->SetParameter(row.parameter, rig_.host->GetParameter(row.parameter));
        rig_.window->Tick();
        EXPECT_TRUE(rig_.window->TakePresented().empty()) << "the same value once more";
    }
    EXPECT_EQ(rig_.TakeLog(), "") << "the host is not told what it told";

    // A hand on a control is stronger than the host.
    const PanelControl& cutoff = kPanelControls[7];
    ASSERT_EQ(cutoff.parameter, kFilterCutoff);
    rig_.host->SetParameter(kFilterCutoff, 0.5f);
    rig_.window->Tick();
    rig_.window->MoveTo({cutoff.rect.x + 9, cutoff.rect.y + 9});
    rig_.window->Press();
    rig_.window->MoveBy(0, -40);
    rig_.host->SetParameter(kFilterCutoff, 0.1f);
    rig_.window->Tick();
    EXPECT_FLOAT_EQ(rig_.Control(cutoff).GetValue(), 0.6f);
    rig_.window->Release();
}

TEST_F(PanelControls, KeepsItsValuesThroughClosingAndShowsWhatChangedMeanwhile)
{
    const PanelControl& cutoff = kPanelControls[7];
    rig_.window->MoveTo({cutoff.rect.x + 9, cutoff.rect.y + 9});
    rig_.window->Press();
    rig_.window->MoveBy(0, 100);
    rig_.host->CloseEditor(); // in the middle of a drag
    EXPECT_EQ(rig_.TakeLog(), "B18 A18=0.750 E18");
    rig_.host->SetParameter(kFilterCutoff, 0.3f);
    rig_.Open();
    EXPECT_EQ(rig_.Control(cutoff).GetValue(), 0.3f);
    rig_.window->MoveTo({cutoff.rect.x + 9, cutoff.rect.y + 9});
    rig_.window->MoveBy(0, 50);
    EXPECT_EQ(rig_.TakeLog(), "") << "nothing is held any more";
}

} // namespace
} // namespace keldra::test
