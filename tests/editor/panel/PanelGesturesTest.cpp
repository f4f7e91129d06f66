// Gestures as a host counts them, typed values, and the file chooser of the toolkit's own.

#include <sstream>

#include "tests/Dice.h"
#include "tests/editor/panel/AnyUser.h"
#include "tests/editor/panel/PanelRig.h"

namespace keldra::test {
namespace {

#ifdef KELDRA_SANITIZED
constexpr int kSteps = 5000; // each takes ten times as long
#else
constexpr int kSteps = 20000;
#endif

class PanelGestures : public testing::Test {
protected:
    void PointAt(int parameter)
    {
        const PixelRect rect = rig_.Control(ControlOf(parameter)).GetRect();
        Window().MoveTo({rect.x + rect.width / 2, rect.y + rect.height / 2});
    }
    void ClickTwice(unsigned modifiers = 0)
    {
        Window().Press(EMouseButton::Left, modifiers);
        Window().Release();
        Window().PressAgain(EMouseButton::Left, modifiers);
        Window().Release();
    }
    void Type(std::string_view text)
    {
        for (const char c : text)
            Window().Key(c == '\n' ? static_cast<int>(kKeyEnter) : c);
    }
    void DoSomethingRare(CDice& dice)
    {
        switch (dice.UpTo(11)) {
        case 0:
            return Window().LoseCapture();
        case 1:
            return Window().Focus(dice.OneIn(2));
        case 2:
            if (dice.OneIn(2))
                Window().Lose();
            rig_.host->CloseEditor();
            Count();
            EXPECT_EQ(held_, -1);
            return rig_.Open();
        default:
            rig_.host->SetParameter(dice.UpTo(kHostParameterCount - 1), dice.Between(0.0f, 1.0f));
        }
    }
    /// Reads what the host was told: no begin inside a begin, no value and no end outside of one.
    void Count()
    {
        std::istringstream log(rig_.TakeLog());
        char kind = 0;
        int parameter = 0;
        std::string rest;
        while (log >> kind >> parameter && std::getline(log, rest, ' ')) {
            EXPECT_EQ(held_, kind == 'B' ? -1 : parameter) << kind << parameter;
            held_ = kind == 'E' ? -1 : parameter;
            values_ += kind == 'A' ? 1 : 0;
        }
    }
    static CHeadlessWindow& Window() { return *CHeadlessWindow::Newest(); }

    CMachine machine_;
    CPanelRig rig_;
    int held_ = -1;
    int values_ = 0;
};

TEST_F(PanelGestures, TakeATypedValueByItsText)
{
    struct Case {
        int parameter;
        const char* typed;
        const char* log;   ///< after the double click, which is a gesture of its own on a knob
        const char* shown; ///< the value's text afterwards
    };
    constexpr Case kCases[] = {
        {kFilterCutoff, "50 %\n", "B18 E18 B18 A18=0.500 E18 ", "50 %"},
        {kFilterCutoff, "25\n", "B18 E18 B18 A18=0.250 E18 ", "25 %"},
        {kAmpDecay, "440\n", "B23 E23 B23 A23=0.385 E23 ", "440 ms"},
        {kGain, "-6 dB\n", "B15 E15 B15 A15=0.467 E15 ", "-6.00 dB"},
        {kGain, "loud\n\x1b", "B15 E15 ", "-6.00 dB"}, // not understood: nothing
        {kArpMode, "Up/Down\n", nullptr, "Up/Down"},
    };
    for (const Case& c : kCases) {
        PointAt(c.parameter);
        (void)rig_.TakeLog();
        ClickTwice(kModifierCtrl);
        Type(c.typed);
        Window().Key(kKeyEscape);
        const std::string log = rig_.TakeLog();
        if (c.log != nullptr) {
            EXPECT_EQ(log, c.log) << c.typed;
        }
        EXPECT_EQ(rig_.host->ParameterDisplay(c.parameter), c.shown) << c.typed;
    }
    PointAt(kFilterCutoff);
    Window().Press();
    Window().Release();
    Type("\n75\n"); // Enter opens the field as well
    EXPECT_EQ(rig_.TakeLog(), "B18 E18 B18 A18=0.750 E18 ");
    ClickTwice();
    EXPECT_EQ(rig_.TakeLog(), "B18 E18 B18 A18=1.000 E18 ");
}

TEST_F(PanelGestures, AreBalancedInRandomSessions)
{
    constexpr int kTop = 135; // below the program's menu, whose commands are no gestures
    CDice dice;
    for (int step = 0; step < kSteps; ++step) {
        if (!DoAnything(Window(), dice, dice.UpTo(18), kTop))
            DoSomethingRare(dice);
        Count();
        ASSERT_FALSE(HasFailure()) << step;
    }
    rig_.host->CloseEditor();
    Count();
    EXPECT_EQ(held_, -1);
    EXPECT_GT(values_, kSteps / 20);
}

TEST_F(PanelGestures, LeadToAFileChooserWhereTheDesktopHasNone)
{
    const PanelControl& menu = ControlOf(EPanelRole::ProgramMenu);
    const auto choose = [&](int item) {
        Dialogs().answers = {{CFileDialog::EState::Unavailable, "", 0}};
        rig_.Choose(menu, item);
        Window().Tick();
        EXPECT_NE(rig_.editor->GetModalGroup(), nullptr);
    };
    choose(3); // save
    Type("My Lead\n");
    Window().Tick(2);
    EXPECT_EQ(Slurp(machine_.Path("root/Banks/Alpha/My Lead.keldra")).size(),
              std::size_t{kStateSize});
    EXPECT_EQ(rig_.editor->GetModalGroup(), nullptr);
    choose(3);
    Type("My Lead\n"); // with its extension it is there now: asked about
    Window().Tick(2);
    EXPECT_NE(rig_.editor->GetModalGroup(), nullptr);
    rig_.host->CloseEditor(); // with the dialog on it
    rig_.Open();
    Window().Tick();
    EXPECT_EQ(rig_.editor->GetModalGroup(), nullptr);
    choose(5);
    Type("~\n");
    Window().Lose(); // the host ends without having closed anything
}

} // namespace
} // namespace keldra::test
