// Every control of the panel under the mouse, and what the host notices of it.

#include <map>
#include <set>

#include "frame/PluginInstance.h"
#include "tests/Listening.h"
#include "tests/editor/panel/PanelRig.h"

namespace keldra::test {
namespace {

class PanelControls : public testing::Test {
protected:
    [[nodiscard]] float ValueOf(int parameter) const { return rig_.host->GetParameter(parameter); }
    /// Control, engine, host and value text agree.
    void ExpectValue(const PanelControl& row, float value)
    {
        const CControl& control = rig_.Control(row);
        EXPECT_EQ(control.GetValue(), value) << row.parameter;
        EXPECT_EQ(ValueOf(row.parameter), value) << row.parameter;
        if (row.parameter < kHostParameterCount) {
            EXPECT_EQ(control.GetValueText(), rig_.host->ParameterDisplay(row.parameter) + " " +
                                                  rig_.host->ParameterLabel(row.parameter));
        }
    }
    /// That the host was told of one whole edit with one value, the present one.
    void ExpectEdit(const PanelControl& row)
    {
        const int p = row.parameter;
        EXPECT_EQ(rig_.TakeLog(), CPanelRig::Told('B', p) + CPanelRig::Told('A', p, ValueOf(p)) +
                                      CPanelRig::Told('E', p));
        ExpectValue(row, ValueOf(p));
    }
    /// Calls drive(row) for every control of a kind that is bound to a parameter below a limit.
    template <typename Drive>
    int ForEach(std::initializer_list<EPanelControl> kinds, int limit, const Drive& drive)
    {
        int driven = 0;
        for (const PanelControl& row : kPanelControls)
            if (std::count(kinds.begin(), kinds.end(), row.kind) != 0 &&
                row.parameter != kNotBound && row.parameter < limit) {
                SCOPED_TRACE(row.parameter);
                drive(row);
                ++driven;
            }
        return driven;
    }

    CMachine machine_;
    CPanelRig rig_;
    CHeadlessWindow& window_ = *rig_.window;
};

TEST_F(PanelControls, TurnsKnobsAndFadersThroughTheirWholeRangeAndBackToTheDefault)
{
    const auto drive = [this](const PanelControl& row) {
        const int p = row.parameter;
        const float atFirst = ValueOf(p);
        std::set<Pixels> looks;
        std::set<std::string> texts;
        for (const bool up : {false, true}) {
            rig_.PressOn(row);
            EXPECT_EQ(rig_.TakeLog(), CPanelRig::Told('B', p));
            EXPECT_TRUE(window_.CursorIsHidden());
            int movesInTheMiddle = 0;
            for (int i = 0; i < 40; ++i) {
                const float before = ValueOf(p);
                window_.MoveBy(0, up ? -20 : 20);
                const float now = ValueOf(p);
                EXPECT_TRUE(up ? now >= before : now <= before);
                EXPECT_EQ(rig_.TakeLog(), now != before ? CPanelRig::Told('A', p, now) : "");
                movesInTheMiddle += std::fabs(now - 0.5f) < 1e-5f ? 1 : 0;
            }
            if (up) { // where a snapping control waits
                EXPECT_EQ(movesInTheMiddle, row.snap ? 6 : 1);
            }
            window_.Release();
            EXPECT_EQ(rig_.TakeLog(), CPanelRig::Told('E', p));
            EXPECT_FALSE(window_.CursorIsHidden());
            ExpectValue(row, up ? 1.0f : 0.0f);
            looks.insert(rig_.Seen(row.rect));
            texts.insert(rig_.host->ParameterDisplay(p));
        }
        EXPECT_EQ(looks.size(), 2u);
        EXPECT_EQ(texts.size(), 2u);

        rig_.Click(row.rect, EMouseButton::Right);
        ExpectEdit(row);
        const bool isOther = p == kUnisonDetune || p == kEgRelease; // than a new program's
        EXPECT_EQ(ValueOf(p), isOther ? 0.0f : atFirst);

        rig_.host->SetParameter(p, 0.25f);
        window_.Tick();
        window_.Wheel(1.0f);
        ExpectEdit(row);
        EXPECT_NEAR(ValueOf(p), 0.27f, 1e-6f);
        window_.Wheel(-1.0f, kModifierShift);
        ExpectEdit(row);
        EXPECT_NEAR(ValueOf(p), 0.269f, 1e-6f);
    };
    EXPECT_EQ(ForEach({EPanelControl::Knob, EPanelControl::Fader}, kHostParameterCount, drive), 40);
}

TEST_F(PanelControls, SwitchesButtonsOnThePressAndTellsTheEndOnTheRelease)
{
    const auto drive = [this](const PanelControl& row) {
        const int p = row.parameter;
        const bool wasOn = ValueOf(p) != 0.0f;
        std::set<Pixels> looks;
        std::set<std::string> texts;
        for (const bool on : {!wasOn, wasOn}) {
            rig_.PressOn(row);
            EXPECT_EQ(rig_.TakeLog(),
                      CPanelRig::Told('B', p) + CPanelRig::Told('A', p, on ? 1.0f : 0.0f));
            looks.insert(rig_.Seen(row.rect));
            window_.MoveTo({427, 2}); // it goes up elsewhere
            window_.Release();
            EXPECT_EQ(rig_.TakeLog(), CPanelRig::Told('E', p));
            looks.insert(rig_.Seen(row.rect));
            ExpectValue(row, on ? 1.0f : 0.0f);
            texts.insert(rig_.host->ParameterDisplay(p));
        }
        EXPECT_EQ(looks.size(), 4u) << "off and on, held and not";
        EXPECT_EQ(texts.size(), 2u);
        rig_.Click(row.rect, EMouseButton::Right);
        EXPECT_EQ(rig_.TakeLog(), "");
    };
    EXPECT_EQ(ForEach({EPanelControl::Button}, kHostParameterCount, drive), 11 + 16);
}

TEST_F(PanelControls, ChoosesEachTabWithAClickAndStepsThroughAllWithTheWheel)
{
    const auto drive = [this](const PanelControl& row) {
        const int p = row.parameter;
        std::set<std::string> words;
        std::vector<Pixels> looks(static_cast<std::size_t>(row.items)); // of each tab chosen
        const auto click = [&](int tab) {
            rig_.ClickAt({row.rect.x + 3, row.rect.y + 12 * tab + 6});
        };
        click(0);
        (void)rig_.TakeLog();
        for (int tab = row.items - 1; tab >= 0; --tab) {
            click(tab);
            ExpectEdit(row);
            words.insert(rig_.host->ParameterDisplay(p));
            looks[static_cast<std::size_t>(tab)] = rig_.Seen(row.rect);
            click(tab); // it is chosen already
            EXPECT_EQ(rig_.TakeLog(), CPanelRig::Told('B', p) + CPanelRig::Told('E', p));
        }
        EXPECT_EQ(words.size(), static_cast<std::size_t>(row.items));
        EXPECT_EQ(std::set(looks.begin(), looks.end()).size(), looks.size());
        for (int tab = 1; tab < row.items; ++tab) {
            window_.Wheel(-1.0f);
            ExpectEdit(row);
            EXPECT_EQ(rig_.Seen(row.rect), looks[static_cast<std::size_t>(tab)]) << tab;
        }
        EXPECT_EQ(ValueOf(p), 1.0f);
        for (int tab = row.items - 1; tab >= 0; --tab) { // as a host that stores six digits sets it
            rig_.host->SetParameter(
                p, static_cast<float>(std::floor(1e6 * tab / (row.items - 1)) / 1e6));
            window_.Tick();
            EXPECT_EQ(rig_.Seen(row.rect), looks[static_cast<std::size_t>(tab)]) << tab;
        }
        rig_.host->SetParameter(p, 1.0f);
        window_.Tick();
        window_.Wheel(-1.0f);
        EXPECT_EQ(rig_.TakeLog(), "");
    };
    EXPECT_EQ(ForEach({EPanelControl::Selector}, kHostParameterCount, drive), 7);
}

TEST_F(PanelControls, ChoosesEveryItemOfTheMenusWithoutTellingTheHost)
{
    const auto drive = [this](const PanelControl& row) {
        std::set<Pixels> looks;
        for (int item = row.items - 1; item >= 0; --item) {
            rig_.Choose(row, item);
            ExpectValue(row, static_cast<float>(item));
            EXPECT_EQ(dynamic_cast<CControlMenu&>(rig_.Control(row)).GetText(),
                      MenuItemText(row, item));
            looks.insert(rig_.Seen(row.rect));
        }
        EXPECT_EQ(looks.size(), static_cast<std::size_t>(row.items));
        window_.MoveTo({row.rect.x + 9, row.rect.y + 6});
        window_.Wheel(-2.0f);
        rig_.Click(row.rect);
        rig_.ClickAt({2, 2}); // beside the list: nothing is chosen
        ExpectValue(row, 2.0f);
        EXPECT_EQ(rig_.TakeLog(), "");
    };
    EXPECT_EQ(ForEach({EPanelControl::Menu}, kParameterCount, drive), 6);
}

TEST_F(PanelControls, LetsThePitchWheelSpringBackAndTheModulationWheelStay)
{
    for (const EPanelRole role : {EPanelRole::PitchWheel, EPanelRole::ModWheel}) {
        const PanelControl& row = ControlOf(role);
        const float rest = ValueOf(row.parameter);
        const Pixels atRest = rig_.Seen(row.rect);
        (void)window_.TakePresented();
        rig_.PressOn(row);
        window_.Tick(4);
        for (const PixelRect& drawn : window_.TakePresented()) // without a text, no pop-up
            EXPECT_EQ(drawn, rig_.Control(row).GetRect());
        window_.MoveBy(0, -100);
        ExpectValue(row, rest + 0.25f);
        EXPECT_NE(rig_.Seen(row.rect), atRest);
        window_.Release();
        const bool springs = role == EPanelRole::PitchWheel;
        ExpectValue(row, springs ? 0.5f : rest + 0.25f);
        EXPECT_EQ(rig_.Seen(row.rect) == atRest, springs);
        window_.PressAgain(EMouseButton::Left, kModifierCtrl);
        window_.Release();
        window_.Key(kKeyEnter);
        EXPECT_EQ(rig_.editor->GetModalGroup(), nullptr) << "and no field to type in";
    }
    rig_.Send(0xE0, 127, 127); // the player's own wheels
    rig_.Send(0xB0, 1, 127);
    window_.Tick();
    EXPECT_GT(ValueOf(kPitchBendValue), 0.99f);
    ExpectValue(ControlOf(EPanelRole::PitchWheel), ValueOf(kPitchBendValue));
    ExpectValue(ControlOf(EPanelRole::ModWheel), 1.0f);
    EXPECT_EQ(rig_.TakeLog(), "");
}

TEST_F(PanelControls, PlaysTheKeyUnderTheMouseAndShowsWhatSounds)
{
    rig_.host->SetParameter(kFilterCutoff, 0.2f);
    rig_.host->SetParameter(kFilterVelocityTracking, 1.0f);
    const PanelRect keys = ControlOf(EPanelRole::Keyboard).rect;
    const Pixels silent = rig_.Seen(keys);
    double before = 0.0;
    for (const int depth : {0, 70, 98}) {                       // of a white key, 101 pixels long
        window_.MoveTo({keys.x + 12 * 19 + 9, keys.y + depth}); // the A of the second octave
        window_.Press();
        EXPECT_NE(rig_.Seen(keys), silent);
        rig_.Render(20);
        const std::vector<float> second = rig_.Render(100);
        double brightness = 0.0;
        for (std::size_t i = 1; i < second.size(); ++i)
            brightness += static_cast<double>(std::fabs(second[i] - second[i - 1]));
        EXPECT_NEAR(FrequencyHz(second, 44100.0), 220.0, 2.0);
        EXPECT_GT(brightness, 1.1 * before) << "the lower on the key, the harder it is hit";
        before = brightness;
        window_.Release();
        rig_.Render(100);
        window_.Tick();
        EXPECT_EQ(rig_.Seen(keys), silent);
        EXPECT_LT(std::fabs(rig_.Render(1).back()), 1e-4f);
    }
    // What comes from outside: the first key shown, a black one, the last one, one beyond.
    for (const int key : {36, 61, 95, 96}) {
        rig_.Send(0x90, static_cast<std::uint8_t>(key), 100);
        EXPECT_EQ(rig_.Seen(keys), silent) << "not before the tick";
        window_.Tick();
        EXPECT_EQ(rig_.Seen(keys) == silent, key == 96);
        rig_.Send(0x80, static_cast<std::uint8_t>(key), 0);
        window_.Tick();
        EXPECT_EQ(rig_.Seen(keys), silent);
    }
    EXPECT_EQ(rig_.TakeLog(), "");
}

TEST_F(PanelControls, FollowsTheHostAtTheNextTickAndDrawsNothingElse)
{
    window_.Tick(200);
    EXPECT_TRUE(window_.TakePresented().empty()) << "nothing changes, nothing is drawn";
    for (const PanelControl& row : kPanelControls) {
        if (row.parameter == kNotBound)
            continue;
        SCOPED_TRACE(row.parameter);
        const Pixels before = rig_.Seen(row.rect);
        const float old = ValueOf(row.parameter);
        rig_.host->SetParameter(row.parameter, old == 1.0f ? 0.0f : 1.0f);
        EXPECT_EQ(rig_.Control(row).GetValue(), old);
        window_.Tick();
        ExpectValue(row, ValueOf(row.parameter));
        EXPECT_NE(rig_.Seen(row.rect), before);
        const std::vector<PixelRect> presented = window_.TakePresented();
        ASSERT_EQ(presented.size(), 1u);
        EXPECT_EQ(presented[0], rig_.Control(row).GetRect());
        rig_.host->SetParameter(row.parameter, ValueOf(row.parameter)); // the same once more
        window_.Tick();
        EXPECT_TRUE(window_.TakePresented().empty());
    }
    EXPECT_EQ(rig_.TakeLog(), "") << "the host is not told what it told";
}

TEST_F(PanelControls, LeavesTheRightButtonToTheHostThatHasAMenuForIt)
{
    rig_.host->SetParameter(kFilterCutoff, 0.5f);
    CPluginInstance::GetMutable().SetHostNative();
    rig_.Click(ControlOf(kFilterCutoff).rect, EMouseButton::Right);
    EXPECT_EQ(rig_.TakeLog(), "");
    EXPECT_EQ(ValueOf(kFilterCutoff), 0.5f);
    rig_.Click(EPanelRole::ProgramName);
    rig_.Click(ControlOf(kAmpRelease).rect, EMouseButton::Right); // beside the browser: closes it
    EXPECT_EQ(rig_.editor->GetModalGroup(), nullptr);
    CPluginInstance::GetMutable().SetHostVst();
}

TEST_F(PanelControls, ListensToTheHandRatherThanTheHostAndLetsGoWhenTheWindowGoes)
{
    const PanelControl& cutoff = ControlOf(kFilterCutoff);
    rig_.PressOn(cutoff);
    window_.MoveBy(0, 100);
    rig_.host->SetParameter(kFilterCutoff, 0.1f);
    window_.Tick(2);
    EXPECT_EQ(rig_.Control(cutoff).GetValue(), 0.75f);
    window_.Release();
    window_.Tick();
    ExpectValue(cutoff, 0.1f);
    rig_.PressOn(cutoff);
    rig_.host->CloseEditor();
    EXPECT_EQ(rig_.TakeLog(), "B18 A18=0.750 E18 B18 E18 ");
    rig_.host->SetParameter(kFilterCutoff, 0.3f);
    rig_.Open();
    ExpectValue(cutoff, 0.3f);
    rig_.window->MoveTo({cutoff.rect.x + 9, cutoff.rect.y + 9});
    rig_.window->MoveBy(0, 50);
    EXPECT_EQ(rig_.TakeLog(), "");
}

} // namespace
} // namespace keldra::test
