// What the panel does beyond its single controls: programs, controller links, the preset browser,
// the about box, and a skin that isn't what it should be.

#include <filesystem>
#include <functional>
#include <numbers>

#include "editor/PresetListAboutBox.h"
#include "editor/PresetListEditor.h"
#include "gui/ControlList.h"
#include "platform/UiThread.h"
#include "tests/Dice.h"
#include "tests/editor/panel/AnyUser.h"
#include "tests/editor/panel/PanelRig.h"
#include "tests/gui/Golden.h"
#include "tests/gui/Tga.h"

namespace keldra::test {
namespace {

class Panel : public testing::Test {
protected:
    Panel()
    {
        Dialogs().answers.clear();
        Dialogs().requests.clear();
    }
    [[nodiscard]] float ValueOf(int parameter) const { return rig_.host->GetParameter(parameter); }
    /// The user's answer to the dialog that comes next; an empty one cancels it.
    static void Answer(const std::string& path)
    {
        using EState = CFileDialog::EState;
        Dialogs().answers = {{path.empty() ? EState::Cancelled : EState::Chosen, path, 1}};
    }
    /// What is seen in an area is as it was kept, and all around it the panel is as it was.
    void ExpectPicture(const PixelRect& area, const std::string& name) const
    {
        ExpectGolden(window_, area, name);
        std::size_t place = 0;
        int changedAround = 0;
        for (int y = 0; y < kPanelHeight; ++y)
            for (int x = 0; x < kPanelWidth; ++x, ++place)
                if (!area.Contains({x, y}))
                    changedAround += window_.PixelAt(x, y) != closed_[place] ? 1 : 0;
        EXPECT_EQ(changedAround, 0) << name;
    }

    CMachine machine_;
    CPanelRig rig_;
    CHeadlessWindow& window_ = *rig_.window;
    Pixels closed_ = rig_.Seen(); ///< the panel with nothing over it
};

TEST_F(Panel, LooksAsItDid)
{
    ExpectPicture({0, 0, kPanelWidth, kPanelHeight}, "panel");

    rig_.Click(EPanelRole::ProgramMenu);
    window_.MoveTo({300, 50});
    window_.Tick(4);
    ExpectPicture({186, 0, 220, 200}, "panel-menu");
    rig_.ClickAt({2, 2});

    rig_.Click(EPanelRole::ProgramName);
    ExpectPicture({177, 0, 500, kPanelHeight}, "panel-browser");
    rig_.ClickAt({2, 2});

    rig_.ClickAt({60, 20});
    ExpectPicture({206, 116, 442, 289}, "panel-about");
    rig_.ClickAt({2, 2});

    rig_.Click(ControlOf(kFilterCutoff).rect); // whose name then is shown
    closed_ = rig_.Seen();
    rig_.PressOn(ControlOf(kFilterCutoff));
    window_.MoveBy(0, 120);
    window_.Tick(3);
    ExpectPicture({459, 276, 80, 68}, "panel-knob-popup");
}

TEST_F(Panel, KeepsWhatHangsOverItWhenTheProgramChangesUnderneath)
{
    const std::function<void()> opens[] = {
        [&] { rig_.PressOn(ControlOf(kDelayTimeLeft)); }, // its pop-up lies over the wheels
        [&] { rig_.Click(EPanelRole::ProgramMenu); },     // over the unison's menu
    };
    const auto load = [&](const char* program) {
        window_.Drop(machine_.Path("root/Banks/Alpha/") + program, window_.Cursor());
        window_.Tick();
    };
    for (const auto& open : opens) {
        SCOPED_TRACE(&open - opens);
        Pixels seen[2];
        for (const bool isOpen : {false, true}) {
            load("One.keldra");
            rig_.host->SetParameter(kModWheelValue, 0.0f);
            rig_.host->SetParameter(kUnisonVoices, 3.0f);
            window_.Tick();
            const auto change = [&] {
                rig_.host->SetParameter(kModWheelValue, 1.0f);
                load("Two.keldra"); // without unison
            };
            if (!isOpen)
                change();
            open();
            window_.Tick(4);
            if (isOpen)
                change();
            Pixels& pixels = seen[isOpen ? 1 : 0];
            pixels = rig_.Seen();
            window_.MoveBy(0, -10); // draws it once more
            const Pixels moved = rig_.Seen();
            pixels.insert(pixels.end(), moved.begin(), moved.end());
            window_.Release();
            rig_.ClickAt({2, 2});
        }
        EXPECT_EQ(seen[1], seen[0]);
    }
}

TEST_F(Panel, LoadsWithTheProgramButtonsAndFromFilesThatAreDropped)
{
    /// @param told  to the host: what changed, and no more
    const auto expect = [this](const char* shown, float cutoff, const char* told) {
        window_.Tick();
        EXPECT_EQ(rig_.TextOf(EPanelRole::ProgramName), shown);
        EXPECT_EQ(rig_.host->ProgramName(), shown);
        EXPECT_EQ(rig_.Control(ControlOf(kFilterCutoff)).GetValue(), cutoff);
        EXPECT_EQ(ValueOf(kFilterCutoff), cutoff);
        EXPECT_EQ(rig_.TakeLog(), told) << shown;
    };
    rig_.Click(EPanelRole::PreviousProgram);
    expect("One", 1.0f, "");
    rig_.Click(EPanelRole::NextProgram);
    expect("Two", 0.25f, "A18=0.250 A50=1.000 ");
    rig_.Click(EPanelRole::NextProgram);
    expect("Two", 0.25f, "");
    window_.Drop(machine_.Path("Elsewhere.fxp"), {500, 480});
    expect("Elsewhere", 0.5f, "A18=0.500 ");
    for (const char* file : {"nothing there.fxp", "config"})
        window_.Drop(machine_.Path(file), {500, 480});
    expect("Elsewhere", 0.5f, "");
    (void)window_.TakePresented();
    rig_.host->SetProgramName("Mine");
    window_.Tick();
    expect("Mine", 0.5f, "");
    EXPECT_EQ(window_.TakePresented().size(), 1u);
    window_.Drop(machine_.Path("root/Banks/Alpha/One.keldra"), {1, 1});
    expect("One", 1.0f, "A18=1.000 A50=0.000 ");
    EXPECT_EQ(rig_.Seen(), closed_);
}

TEST_F(Panel, ImportsSavesLoadsAndResetsFromItsMenu)
{
    struct Case {
        const char* item;
        const char* answer;           ///< of the dialog; null: none is to open
        float cutoff, gateStep, link; ///< afterwards
    };
    constexpr const char* kElsewhere = "Elsewhere.fxp";
    constexpr const char* kSaved = "root/Banks/Beta/Four.keldra";
    constexpr Case kCases[] = {
        {"Load Program", "", 0.3f, 0.0f, -1.0f}, // cancelled
        {"Import gate pattern", kElsewhere, 0.3f, 1.0f, -1.0f},
        {"Import CC Map", kElsewhere, 0.3f, 1.0f, 7.0f},
        {"Save Program", kSaved, 0.3f, 1.0f, 7.0f},
        {"Clear all CC Links", nullptr, 0.3f, 1.0f, -1.0f},
        {"Load Program", kElsewhere, 0.5f, 1.0f, 7.0f},
        {"Reset Program", nullptr, 1.0f, 0.0f, 7.0f},
        {"", nullptr, 1.0f, 0.0f, 7.0f}, // a separator
        {"Load Program", kSaved, 0.3f, 1.0f, 7.0f},
    };
    std::string all;
    for (int p = 0; p < kHostParameterCount; ++p)
        all += CPanelRig::Told('A', p, TableDefault(p));
    const auto choose = [this](std::string_view item) {
        const auto* const place = std::ranges::find(kProgramMenuItems, item);
        rig_.Choose(ControlOf(EPanelRole::ProgramMenu),
                    static_cast<int>(place - std::begin(kProgramMenuItems)));
    };
    rig_.host->SetParameter(kFilterCutoff, 0.3f);
    for (const auto& [item, answer, cutoff, gateStep, link] : kCases) {
        SCOPED_TRACE(item);
        Dialogs().requests.clear();
        Answer(answer == nullptr || *answer == '\0' ? "" : machine_.Path(answer));
        choose(item);
        window_.Tick(4);
        EXPECT_EQ(Dialogs().requests.size(), answer != nullptr ? 1u : 0u);
        EXPECT_EQ(ValueOf(kFilterCutoff), cutoff);
        EXPECT_EQ(rig_.Control(ControlOf(kGateStep1 + 1)).GetValue(), gateStep);
        EXPECT_EQ(ValueOf(kGateStep1 + 1), gateStep);
        EXPECT_EQ(ValueOf(kFirstControllerLink + kGain), link);
        EXPECT_EQ(rig_.TakeLog() == all, std::string_view(item) == "Reset Program");
    }
    EXPECT_EQ(rig_.TextOf(EPanelRole::ProgramName), "Four");

    Dialogs().answers.clear(); // the user is still looking for a file
    choose("Load Program");
    EXPECT_EQ(Dialogs().openCount, 1);
    rig_.host->CloseEditor();
    EXPECT_EQ(Dialogs().openCount, 0) << "it goes with the window";
}

TEST_F(Panel, LinksAControllerToTheControlThatWasTouchedLast)
{
    /// @param shown  the two displays, and the cutoff's link
    const auto expect = [this](const char* shown, const char* told) {
        EXPECT_EQ(rig_.TakeLog(), told) << shown;
        window_.Tick();
        EXPECT_EQ(rig_.TextOf(EPanelRole::ParameterText) + ", " +
                      rig_.TextOf(EPanelRole::ControllerText) + ", " +
                      std::to_string(std::lround(ValueOf(kFirstControllerLink + kFilterCutoff))),
                  shown);
        EXPECT_EQ(rig_.Control(ControlOf(kFilterCutoff)).GetValue(), ValueOf(kFilterCutoff));
    };
    window_.Drop(machine_.Path("Elsewhere.fxp"), {1, 1});
    rig_.Click(EPanelRole::Link);
    expect("Param: ..., CC: ..., -1", "A18=0.500 A50=1.000 ");
    rig_.Click(ControlOf(kGain).rect);
    expect("Gain [7], CC: ..., -1", "B15 E15 ");
    rig_.Click(ControlOf(kFilterCutoff).rect);
    rig_.Click(EPanelRole::Link); // to what? no controller has come yet
    expect("Flt. Cutoff [N/A], CC: ..., -1", "B18 E18 ");
    rig_.Send(0xB0, 74, 100);
    expect("Flt. Cutoff [N/A], CC: 74, -1", "");
    rig_.Click(EPanelRole::Link);
    expect("Flt. Cutoff [74], CC: 74, 74", "");
    rig_.Send(0xB0, 74, 64);
    expect("Flt. Cutoff [74], CC: 74, 74", "A18=0.504 ");
    rig_.Send(0xB0, 7, 127); // volume isn't learnt, but moves what is linked to it
    rig_.Click(ControlOf(EPanelRole::ModWheel).rect);
    expect("Flt. Cutoff [74], CC: 74, 74", "A15=1.000 ");
    rig_.Click(EPanelRole::Unlink);
    rig_.Send(0xB0, 74, 0);
    expect("Flt. Cutoff [N/A], CC: 74, -1", "");

    rig_.Choose(ControlOf(kPolyphony), 3); // a setting of the engine can't be linked
    expect("Polyphony, CC: 74, -1", "");
    const std::vector<std::byte> before = rig_.host->GetChunk();
    rig_.Click(EPanelRole::Link);
    rig_.Click(EPanelRole::Unlink);
    EXPECT_EQ(rig_.host->GetChunk(), before);
}

// --- Browser and about box

class Browser : public Panel {
protected:
    [[nodiscard]] bool IsOpen() const { return !browser_.IsHidden() && browser_.IsModal(); }
    void Pick(const CControlList& list, int line)
    {
        const PixelRect row = list.ItemRect(line);
        rig_.ClickAt({row.x + 20, row.y + row.height / 2});
    }
    /// "1. Alpha* 2. Beta": the selected one with an asterisk.
    static std::string LinesOf(const CControlList& list)
    {
        std::string lines;
        for (int i = 0; i < list.GetItemCount(); ++i)
            lines.append(i > 0 ? " " : "")
                .append(list.GetItem(i)->text)
                .append(static_cast<float>(i) == list.GetValue() ? "*" : "");
        return lines;
    }

    CPresetListEditor& Opened()
    {
        rig_.Click(EPanelRole::ProgramName);
        return *rig_.editor->Browser();
    }

    CPresetListEditor& browser_ = Opened();
    const CControlList& banks_ = dynamic_cast<CControlList&>(*browser_.GetFirstControl());
    const CControlList& programs_ = dynamic_cast<CControlList&>(*banks_.GetNext());
};

TEST_F(Browser, ListsBanksAndProgramsAndLoadsWhatIsPicked)
{
    const auto expect = [this](const char* banks, const char* programs, const char* told) {
        window_.Tick(4);
        EXPECT_EQ(LinesOf(banks_), banks);
        EXPECT_EQ(LinesOf(programs_), programs);
        EXPECT_EQ(rig_.TakeLog(), told) << banks << programs;
        EXPECT_TRUE(IsOpen());
    };
    expect("1. Alpha* 2. Beta", "1. One* 2. Two", "");
    Pick(programs_, 1);
    expect("1. Alpha* 2. Beta", "1. One 2. Two*", "A18=0.250 A50=1.000 ");
    rig_.host->SetParameter(kGain, 0.75f);
    Pick(programs_, 1); // what is picked already isn't loaded once more
    Pick(banks_, 0);
    expect("1. Alpha* 2. Beta", "1. One 2. Two*", "");
    Pick(banks_, 1);
    expect("1. Alpha 2. Beta*", "1. Three*", "A15=0.500 A18=0.375 ");
    Answer(machine_.Path("root/Banks/Alpha/Ten.keldra"));
    rig_.Click(PanelRect{262, 36, 60, 22}); // Save
    expect("1. Alpha* 2. Beta", "1. One 2. Ten* 3. Two", "");
    Answer(machine_.Path("Elsewhere.fxp"));
    rig_.Click(PanelRect{197, 36, 60, 22}); // Load
    expect("1. Alpha 2. Beta", "", "A18=0.500 ");
    Pick(banks_, 0);
    expect("1. Alpha* 2. Beta", "1. One* 2. Ten 3. Two", "A18=1.000 A50=0.000 ");
    window_.Key(kKeyDown);
    expect("1. Alpha* 2. Beta", "1. One 2. Ten* 3. Two", "A18=0.375 A50=1.000 ");

    // An empty bank, to save an edited sound into
    std::filesystem::create_directory(machine_.Path("root/Banks/Mine"));
    rig_.host->SetParameter(kGain, 0.75f);
    Answer(machine_.Path("root/Banks/Beta/Four.keldra"));
    rig_.Click(PanelRect{262, 36, 60, 22}); // Save
    rig_.host->SetParameter(kGain, 0.25f);
    expect("1. Alpha 2. Beta* 3. Mine", "1. Four* 2. Three", "");
    Pick(banks_, 2);
    expect("1. Alpha 2. Beta 3. Mine*", "", "");
    EXPECT_EQ(ValueOf(kGain), 0.25f);
}

TEST_F(Browser, KeepsItsListsWhereTheyAreAndTheSelectedInSightWhenTheyGrow)
{
    const std::string program = Slurp(machine_.Path("root/Banks/Alpha/One.keldra"));
    for (int i = 100; i < 160; ++i)
        machine_.Write("root/Banks/Alpha/P " + std::to_string(i) + ".keldra", program);
    for (const char* name : {"P 150b", "P 150a"}) { // the second takes the first one's line
        Answer(machine_.Path("root/Banks/Alpha/") + name + ".keldra");
        rig_.Click(PanelRect{262, 36, 60, 22}); // Save
        window_.Tick(4);
        EXPECT_EQ(programs_.GetValue(), 52.0f);
        EXPECT_EQ(programs_.GetScrollOffset(), 31.0f) << name;
        window_.MoveTo({500, 200});
        window_.Wheel(50.0f);
    }
    window_.Wheel(-36.0f);
    machine_.Write("root/Banks/Alpha/P 160.keldra", program); // another instance's
    window_.Key(kKeyDown);
    window_.Tick(4);
    EXPECT_EQ(programs_.GetItemCount(), 65);
    EXPECT_EQ(programs_.GetScrollOffset(), 36.0f);
}

TEST_F(Browser, KeepsThePanelBehindItFromReactingAndGivesItBack)
{
    const PanelControl& mod = ControlOf(EPanelRole::ModWheel);
    const Pixels open = rig_.Seen();
    EXPECT_NE(open, closed_);
    window_.MoveTo({mod.rect.x + 9, mod.rect.y + 20});
    window_.Wheel(3.0f);
    rig_.host->SetParameter(kFilterCutoff, 0.0f); // lies under it
    rig_.host->SetParameter(kAmpAttack, 1.0f);    // lies beside it
    window_.Tick(50);
    EXPECT_EQ(rig_.Seen(), open);
    rig_.host->SetParameter(kFilterCutoff, 1.0f);
    rig_.host->SetParameter(kAmpAttack, 0.0f);
    window_.Tick();

    const std::function<void()> ways[] = {
        [&] { rig_.Click(mod.rect); }, // beside it
        [&] {
            rig_.Click(PanelRect{647, 8, 20, 16});
        }, // its close button
        [&] {
            rig_.ClickAt({300, 15});
            window_.PressAgain();
        }, // twice where nothing is
        [&] { window_.Focus(false); },
        [&] {
            window_.MoveTo({220, 45}); // with a finger on "Load"
            window_.Press();
            window_.Focus(false);
        },
    };
    for (const auto& close : ways) {
        SCOPED_TRACE(&close - ways);
        EXPECT_TRUE(IsOpen());
        close();
        EXPECT_FALSE(IsOpen());
        EXPECT_FALSE(rig_.editor->IsCapturing());
        EXPECT_EQ(rig_.Seen(), closed_);
        EXPECT_EQ(ValueOf(kModWheelValue), 0.0f);
        window_.Release();
        window_.Focus(true);
        rig_.Click(EPanelRole::ProgramName);
        EXPECT_EQ(rig_.editor->Browser(), &browser_) << "the same one again";
    }
    window_.MoveTo({655, 15}); // pressed on the close button, let go elsewhere
    window_.Press();
    window_.MoveTo({500, 300});
    window_.Release();
    EXPECT_TRUE(IsOpen());
    rig_.host->CloseEditor();
    rig_.Open();
    EXPECT_EQ(rig_.Seen(), closed_) << "a new window shows the panel";
    EXPECT_EQ(rig_.TakeLog(), "");
    EXPECT_TRUE(Dialogs().requests.empty());
}

// After a moment in which the window was not attended to, several presses come in one batch: both
// of a double click, or one on a key behind that on the name.
TEST_F(Panel, OpensItsBrowserOnceAndIntoNobodysHand)
{
    for (const EPanelRole second : {EPanelRole::ProgramName, EPanelRole::Keyboard}) {
        {
            const CUiLock batch;
            rig_.Click(EPanelRole::ProgramName);
            rig_.PressOn(ControlOf(second));
        }
        window_.Release();
        EXPECT_FALSE(rig_.editor->IsCapturing()) << "the key has been let go";
        rig_.ClickAt({2, 2});
        EXPECT_EQ(rig_.editor->GetModalGroup(), nullptr);
    }
}

TEST_F(Panel, OpensTheAboutBoxAtItsNameAndClosesItWithAnyPress)
{
    constexpr PixelPoint kName{60, 20};
    rig_.ClickAt(kName, EMouseButton::Right);
    rig_.ClickAt({281, 20});
    EXPECT_EQ(rig_.editor->AboutBox(), nullptr);
    for (const PixelPoint press : {kName, PixelPoint{427, 260}, {90, 68}, {490, 286}}) {
        rig_.ClickAt(kName);
        const CPresetListAboutBox* const box = rig_.editor->AboutBox();
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(box->IsModal());
        EXPECT_NE(rig_.Seen(), closed_);
        rig_.ClickAt(press);
        EXPECT_TRUE(box->IsHidden());
        EXPECT_EQ(rig_.Seen(), closed_) << "and nothing else has seen the press";
    }
    EXPECT_EQ(AboutTitle(), "Keldra v.2.4  :  VST 32 bit");
    EXPECT_EQ(rig_.TakeLog(), "");
}

// --- The skin

TEST(PanelSkin, IsGreyWithoutAnImageAndEverythingElseLives)
{
    setenv("KELDRA_DEBUG", "1", 1);
    for (const char* file : {"knob.tga", "background.tga"}) {
        SCOPED_TRACE(file);
        const CMachine machine;
        machine.CopySkin();
        const std::string path = machine.Path("root/Skin/") + file;
        const std::string kept = Slurp(path);
        if (*file == 'k')
            std::filesystem::remove(path);
        else
            std::filesystem::resize_file(path, 10);
        testing::internal::CaptureStderr();
        CPanelRig rig(false);
        EXPECT_FALSE(rig.host->OpenEditor(reinterpret_cast<void*>(7))) << "the host is told";
        KeldraEditor alone; // as others open it
        EXPECT_TRUE(alone.Open(nullptr));
        CHeadlessWindow& grey = *CHeadlessWindow::Newest();
        for (const PixelPoint at : {PixelPoint{0, 0}, {300, 200}, {854, 520}})
            EXPECT_EQ(grey.PixelAt(at.x, at.y) & 0xffffffu, 0x414141u);
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_NE(told.find(path), std::string::npos) << told;
        EXPECT_EQ(told.find(path), told.rfind(path)) << "once";

        rig.host->SetParameter(kFilterCutoff, 0.5f);
        EXPECT_EQ(rig.host->GetParameter(kFilterCutoff), 0.5f);
        rig.Send(0x90, 60, 100);
        const std::vector<float> sound = rig.Render(20);
        EXPECT_GT(*std::max_element(sound.begin(), sound.end()), 0.001f);

        machine.Write("root/Skin/" + std::string(file), kept);
        EXPECT_TRUE(alone.Open(nullptr)); // with the skin mended, and still open
        EXPECT_NE(grey.PixelAt(300, 200) & 0xffffffu, 0x414141u);
        alone.Close();
        rig.Open(); // the panel is there
        EXPECT_NE(rig.editor->FindControl(kFilterCutoff), nullptr);

        std::filesystem::resize_file(path, 10); // and stays, now that it has been loaded
        const Pixels before = rig.Seen();
        rig.host->CloseEditor();
        rig.Open();
        EXPECT_EQ(rig.Seen(), before);
    }
    unsetenv("KELDRA_DEBUG");
}

// Somebody paints a skin of their own, and changes it while the window is open.
TEST(PanelSkin, IsOpenedAndUsedWithPicturesOfAnySize)
{
    CDice dice;
    const CMachine machine;
    machine.CopySkin();
    const auto change = [&] {
        for (const SkinImageRow& row : kSkinImages) {
            const int sizes[] = {1, 2, 127, 128, row.Width(), row.Height(), dice.UpTo(2000)};
            const PixelSize size{dice.Of(sizes), dice.Of(sizes)};
            std::string file = PlainTga(size, dice.OneIn(2) ? 24 : 32);
            if (dice.OneIn(10))
                file.resize(static_cast<std::size_t>(18 + dice.UpTo(40)));
            machine.Write("root/Skin/" + std::string(row.file), file);
        }
    };
    for (int round = 0; round < 4; ++round) {
        change();
        CPanelRig rig;
        for (int opened = 0; opened < 2 && !HasFailure(); ++opened) {
            for (int i = 0; i < 200; ++i)
                DoAnything(*rig.window, dice, dice.UpTo(17));
            rig.ClickAt({40, 15}); // the about box
            rig.ClickAt({40, 15});
            change();
            rig.host->CloseEditor();
            rig.Open(); // as it was: nobody has closed the last instance
        }
    }
}

TEST(PanelSkin, TurnsTheKnobsPointerEvenlyThroughThreeQuartersOfACircle)
{
    // The pointer is the one bright thing on the black skirt; what light the skirt's upper edge
    // reflects is left out.
    const SkinImageRow& size = RowOf(ESkinImage::Knob);
    CImage strip;
    ASSERT_TRUE(strip.Load(KELDRA_BINARY_DIR "/Keldra/Skin/" + std::string(size.file)));
    const auto pointerDegrees = [&](int frame) {
        constexpr double kAxisX = 18.0, kAxisY = 17.0;
        double x = 0.0, y = 0.0;
        for (int row = 0; row < size.frameHeight; ++row) {
            for (int column = 0; column < size.frameWidth; ++column) {
                const double dx = column + 0.5 - kAxisX;
                const double dy = row + 0.5 - kAxisY;
                const double radius = std::hypot(dx, dy);
                if (radius < 10.4 || radius > 13.0)
                    continue;
                const Color color = strip.GetPixel(column, frame * size.frameHeight + row);
                const double light = std::max(0.0, GreenOf(color) - 100.0);
                x += dx * light;
                y += dy * light;
            }
        }
        return std::atan2(x, -y) * 180.0 / std::numbers::pi;
    };
    EXPECT_NEAR(pointerDegrees(0), -135.0, 3.0);
    EXPECT_NEAR(pointerDegrees(127), 135.0, 3.0);
    for (int frame = 1; frame < kFilmstripFrames; ++frame) {
        const double step = pointerDegrees(frame) - pointerDegrees(frame - 1);
        EXPECT_NEAR(step, 270.0 / 127.0, 2.0) << frame;
        EXPECT_GT(step, 0.0) << frame;
    }
}

} // namespace
} // namespace keldra::test
