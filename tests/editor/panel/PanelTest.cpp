// What the panel does beyond its single controls: programs, controller links, the preset browser,
// the about box, and a skin that isn't what it should be.

#include <algorithm>

#include "editor/PresetListAboutBox.h"
#include "editor/PresetListEditor.h"
#include "gui/ControlList.h"
#include "tests/editor/panel/PanelRig.h"

namespace keldra::test {
namespace {

constexpr PanelRect kWholePanel{0, 0, kPanelWidth, kPanelHeight};
constexpr PixelPoint kLogo{60, 20};
constexpr int kImportControllerMap = 0, kImportGatePattern = 1, kSave = 3, kLoad = 5,
              kClearLinks = 7, kReset = 9;

const PanelControl& RowOfParameter(int parameter)
{
    return *std::find_if(kPanelControls.begin(), kPanelControls.end(),
                         [=](const PanelControl& row) { return row.parameter == parameter; });
}

/// A machine with two banks, made by the synthesizer itself: the programs differ in the cutoff and
/// have a link and a gate step of their own.
class Panel : public testing::Test {
protected:
    Panel()
    {
        auto maker = std::make_unique<CPanelRig>();
        const auto write = [&](const char* path, float cutoff) {
            machine_.WriteProgram(path, maker->ProgramWith({{kFilterCutoff, cutoff},
                                                            {kGateStep1 + 1, 1.0f},
                                                            {kFirstControllerLink + kGain, 7.0f}}));
        };
        write("root/Banks/Alpha/One.keldra", 0.125f);
        write("root/Banks/Alpha/Two.keldra", 0.25f);
        write("root/Banks/Beta/Three.keldra", 0.375f);
        write("Elsewhere.fxp", 0.5f);
        maker.reset();
        rig_ = std::make_unique<CPanelRig>();
        Dialogs().answers.clear();
        Dialogs().requests.clear();
    }

    void Menu(int item) { rig_->Choose(ControlOf(EPanelRole::ProgramMenu), item); }
    void Answer(const std::string& path)
    {
        using EState = CFileDialog::EState;
        Dialogs().answers.push_back({path.empty() ? EState::Cancelled : EState::Chosen, path, 1});
    }
    [[nodiscard]] float Cutoff() const { return rig_->host->GetParameter(kFilterCutoff); }
    [[nodiscard]] std::string Shown() const { return rig_->TextOf(EPanelRole::ProgramName); }
    [[nodiscard]] std::string Link() const { return rig_->TextOf(EPanelRole::ParameterText); }

    CMachine machine_;
    std::unique_ptr<CPanelRig> rig_;
};

TEST_F(Panel, StepsThroughTheProgramsOfABankAndStopsAtItsEnds)
{
    EXPECT_EQ(Shown(), "One");
    struct Step {
        EPanelRole button;
        const char* shown;
        float cutoff;
    };
    constexpr Step kSteps[] = {{EPanelRole::PreviousProgram, "One", 0.125f},
                               {EPanelRole::NextProgram, "Two", 0.25f},
                               {EPanelRole::NextProgram, "Two", 0.25f},
                               {EPanelRole::PreviousProgram, "One", 0.125f}};
    for (const auto& [button, shown, cutoff] : kSteps) {
        const bool moves = Cutoff() != cutoff;
        rig_->Click(button);
        rig_->window->Tick();
        EXPECT_EQ(Shown(), shown);
        EXPECT_EQ(rig_->host->ProgramName(), shown);
        EXPECT_EQ(Cutoff(), cutoff);
        EXPECT_EQ(rig_->Control(RowOfParameter(kFilterCutoff)).GetValue(), cutoff);
        EXPECT_EQ(rig_->TakeEvents().size(), moves ? 1u : 0u) << "what changed, and no more";
    }
}

TEST_F(Panel, LoadsAProgramThatIsDroppedAnywhere)
{
    rig_->window->Drop(machine_.Path("Elsewhere.fxp"), {500, 480});
    rig_->window->Tick();
    EXPECT_EQ(rig_->TakeLog(), "A18=0.500");
    EXPECT_EQ(Shown(), "Elsewhere");
    const auto before = rig_->Seen(kWholePanel);
    rig_->window->Drop(machine_.Path("nothing there.fxp"), {500, 480});
    rig_->window->Drop(machine_.Path("config/tallowen"), {1, 1});
    rig_->window->Tick();
    EXPECT_EQ(rig_->TakeLog(), "");
    EXPECT_EQ(rig_->Seen(kWholePanel), before);
}

TEST_F(Panel, ImportsSavesLoadsAndResetsFromItsMenu)
{
    using EKind = FileDialogRequest::EKind;
    const std::string elsewhere = machine_.Path("Elsewhere.fxp");
    const std::string saved = machine_.Path("root/Banks/Beta/Four.keldra");
    const PanelControl& step2 = RowOfParameter(kGateStep1 + 1);
    Menu(kReset);
    std::vector<HostEvent> events = rig_->TakeEvents();
    ASSERT_EQ(events.size(), 74u) << "the host hears of every parameter";
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].kind, 'A');
        EXPECT_EQ(events[i].parameter, static_cast<int>(i));
        EXPECT_EQ(events[i].value, TableDefault(static_cast<int>(i)));
    }
    rig_->window->Tick();
    EXPECT_EQ(rig_->Control(step2).GetValue(), 0.0f);

    for (const int item : {2, 4, 6, 8}) {
        rig_->Click(ControlOf(EPanelRole::ProgramMenu).rect);
        const auto& menu =
            dynamic_cast<CControlMenu&>(rig_->Control(ControlOf(EPanelRole::ProgramMenu)));
        const PixelRect row = menu.ItemRect(item);
        rig_->ClickAt({row.x + 20, row.y + row.height / 2});
        EXPECT_EQ(rig_->TakeLog(), "") << "separators do nothing";
    }

    struct Case {
        int item;
        std::string answer;
        EKind kind;
        float cutoff, step, link; ///< afterwards
    };
    const Case cases[] = {
        {kLoad, "", EKind::Open, 1.0f, 0.0f, 7.0f},
        {kImportGatePattern, elsewhere, EKind::Open, 1.0f, 1.0f, 7.0f},
        {kClearLinks, "", EKind::Open, 1.0f, 1.0f, -1.0f},
        {kImportControllerMap, elsewhere, EKind::Open, 1.0f, 1.0f, 7.0f},
        {kSave, saved, EKind::Save, 1.0f, 1.0f, 7.0f},
        {kLoad, elsewhere, EKind::Open, 0.5f, 1.0f, 7.0f},
        {kLoad, saved, EKind::Open, 1.0f, 1.0f, 7.0f},
    };
    for (const auto& [item, answer, kind, cutoff, step, link] : cases) {
        SCOPED_TRACE(MenuItemText(ControlOf(EPanelRole::ProgramMenu), item) + " " + answer);
        Dialogs().requests.clear();
        Answer(answer);
        Menu(item);
        EXPECT_EQ(Dialogs().requests.size(), item == kClearLinks ? 0u : 1u);
        if (!Dialogs().requests.empty()) {
            EXPECT_EQ(Dialogs().requests[0].kind, kind);
        } else {
            Dialogs().answers.clear();
        }
        rig_->window->Tick(4);
        EXPECT_EQ(Cutoff(), cutoff);
        EXPECT_EQ(rig_->host->GetParameter(kGateStep1 + 1), step);
        EXPECT_EQ(rig_->Control(step2).GetValue(), step);
        EXPECT_EQ(rig_->host->GetParameter(kFirstControllerLink + kGain), link);
    }
    EXPECT_EQ(Shown(), "Four");
    EXPECT_EQ(Dialogs().openCount, 0);
}

TEST_F(Panel, LinksAControllerToTheControlThatWasTouchedLast)
{
    rig_->Click(EPanelRole::NextProgram); // Gain is linked to controller 7
    rig_->window->Tick();
    EXPECT_EQ(Link(), "Param: ...");
    EXPECT_EQ(rig_->TextOf(EPanelRole::ControllerText), "CC: ...");
    rig_->Click(EPanelRole::Link);
    rig_->Click(RowOfParameter(kGain).rect);
    EXPECT_EQ(Link(), "Gain [7]");
    rig_->Click(RowOfParameter(kFilterCutoff).rect);
    EXPECT_EQ(Link(), "Flt. Cutoff [N/A]");
    rig_->Click(EPanelRole::Link);
    EXPECT_EQ(Link(), "Flt. Cutoff [N/A]") << "no controller has come yet";

    rig_->Send(0xB0, 74, 100);
    rig_->window->Tick();
    EXPECT_EQ(rig_->TextOf(EPanelRole::ControllerText), "CC: 74");
    rig_->Click(EPanelRole::Link);
    EXPECT_EQ(Link(), "Flt. Cutoff [74]");
    EXPECT_EQ(rig_->host->GetParameter(kFirstControllerLink + kFilterCutoff), 74.0f);
    (void)rig_->TakeLog();
    rig_->Send(0xB0, 74, 64);
    EXPECT_EQ(rig_->TakeLog(), "A18=0.504");
    EXPECT_NEAR(Cutoff(), 64.0f / 127.0f, 1e-6f);
    rig_->window->Tick();
    EXPECT_EQ(rig_->Control(RowOfParameter(kFilterCutoff)).GetValue(), Cutoff());

    rig_->Click(EPanelRole::Unlink);
    EXPECT_EQ(Link(), "Flt. Cutoff [N/A]");
    EXPECT_EQ(rig_->host->GetParameter(kFirstControllerLink + kFilterCutoff), -1.0f);
    rig_->Send(0xB0, 74, 0);
    EXPECT_EQ(rig_->TakeLog(), "");

    // What has no link to be learnt: settings of the engine, and the wheels.
    for (const int parameter : {int{kPolyphony}, int{kModWheelValue}}) {
        const std::vector<std::byte> before = rig_->host->GetChunk();
        rig_->Click(RowOfParameter(parameter).rect);
        rig_->ClickAt({2, 2});
        rig_->Click(EPanelRole::Link);
        rig_->Click(EPanelRole::Unlink);
        if (parameter == kPolyphony) { // the last control that was touched and has one
            EXPECT_EQ(rig_->host->GetChunk(), before);
        }
        EXPECT_EQ(rig_->host->GetParameter(kFirstControllerLink + kGain), 7.0f);
    }
}

// --- Browser and about box

/// The browser's control of a kind and place.
template <typename Control>
Control& InBrowser(const CPresetListEditor& browser, int number)
{
    for (CControl* control = browser.GetFirstControl(); control != nullptr;
         control = control->GetNext())
        if (auto* found = dynamic_cast<Control*>(control); found != nullptr && number-- == 0)
            return *found;
    throw std::logic_error("no such control");
}

std::vector<std::string> LinesOf(const CControlList& list)
{
    std::vector<std::string> lines;
    for (int i = 0; i < list.GetItemCount(); ++i)
        lines.push_back(list.GetItem(i)->text +
                        (static_cast<float>(i) == list.GetValue() ? "*" : ""));
    return lines;
}

class Browser : public Panel {
protected:
    Browser()
    {
        closed_ = rig_->Seen(kWholePanel);
        rig_->Click(EPanelRole::ProgramName);
        browser_ = rig_->editor->Browser();
    }
    [[nodiscard]] bool IsOpen() const { return !browser_->IsHidden() && browser_->IsModal(); }
    [[nodiscard]] const CControlList& Banks() const
    {
        return InBrowser<CControlList>(*browser_, 0);
    }
    [[nodiscard]] const CControlList& Programs() const
    {
        return InBrowser<CControlList>(*browser_, 1);
    }
    void Pick(const CControlList& list, int line)
    {
        const PixelRect row = list.ItemRect(line);
        rig_->ClickAt({row.x + 20, row.y + row.height / 2});
        rig_->window->Tick();
    }

    std::vector<std::uint32_t> closed_;
    CPresetListEditor* browser_ = nullptr;
};

TEST_F(Browser, ListsBanksAndProgramsAndLoadsWhatIsPicked)
{
    using Lines = std::vector<std::string>;
    ASSERT_NE(browser_, nullptr);
    ASSERT_TRUE(IsOpen());
    EXPECT_EQ(browser_->GetRect(), (PixelRect{177, 0, 500, 521}));
    EXPECT_EQ(LinesOf(Banks()), (Lines{"1. Alpha*", "2. Beta"}));
    EXPECT_EQ(LinesOf(Programs()), (Lines{"1. One*", "2. Two"}));

    Pick(Programs(), 1);
    EXPECT_EQ(rig_->TakeLog(), "A18=0.250");
    EXPECT_EQ(LinesOf(Programs()), (Lines{"1. One", "2. Two*"}));
    Pick(Programs(), 1);
    Pick(Banks(), 0);
    EXPECT_EQ(rig_->TakeLog(), "") << "they are selected already";
    Pick(Banks(), 1);
    EXPECT_EQ(rig_->TakeLog(), "A18=0.375");
    EXPECT_EQ(LinesOf(Programs()), Lines{"1. Three*"});
    EXPECT_EQ(Shown(), "Three");
    EXPECT_TRUE(IsOpen());

    Answer(machine_.Path("root/Banks/Alpha/Ten.keldra"));
    rig_->Click({262, 36, 60, 22}); // Save
    rig_->window->Tick(4);
    EXPECT_EQ(LinesOf(Banks()), (Lines{"1. Alpha*", "2. Beta"}));
    EXPECT_EQ(LinesOf(Programs()), (Lines{"1. One", "2. Ten*", "3. Two"}));
    Answer(machine_.Path("Elsewhere.fxp"));
    rig_->Click({197, 36, 60, 22}); // Load
    rig_->window->Tick(4);
    EXPECT_EQ(Cutoff(), 0.5f);
    EXPECT_EQ(Banks().GetValue(), -1.0f);
    EXPECT_EQ(Shown(), "Elsewhere");

    // The keyboard's arrows move in the programs.
    Pick(Banks(), 0);
    (void)rig_->TakeLog();
    EXPECT_TRUE(rig_->window->Key(kKeyDown));
    EXPECT_EQ(rig_->TakeLog(), "A18=0.375"); // Ten was saved from Three
}

TEST_F(Browser, KeepsThePanelBehindItFromReactingAndGivesItBack)
{
    const PanelControl& mod = ControlOf(EPanelRole::ModWheel);
    const auto open = rig_->Seen(kWholePanel);
    EXPECT_NE(open, closed_);
    rig_->window->MoveTo({mod.rect.x + 9, mod.rect.y + 20});
    rig_->window->Wheel(3.0f);
    EXPECT_EQ(rig_->host->GetParameter(kModWheelValue), 0.0f);
    rig_->host->SetParameter(kAmpAttack, 1.0f); // its fader stands beside the browser
    rig_->host->SetParameter(kFilterCutoff, 1.0f);
    rig_->window->Tick();
    EXPECT_EQ(rig_->Seen(kWholePanel), open) << "nothing is drawn over or beside it";
    rig_->host->SetParameter(kAmpAttack, 0.0f);
    rig_->host->SetParameter(kFilterCutoff, 0.125f);
    rig_->window->Tick();

    struct Way {
        const char* what;
        std::function<void()> close;
    };
    const Way ways[] = {
        {"a press beside it, over a control", [&] { rig_->Click(mod.rect); }},
        {"its close button",
         [&] {
             rig_->Click({647, 8, 20, 16});
         }},
        {"a double click where nothing is",
         [&] {
             rig_->ClickAt({300, 15});
             rig_->window->PressAgain();
         }},
        {"the loss of the keyboard's focus", [&] { rig_->window->Focus(false); }},
    };
    for (const auto& [what, close] : ways) {
        SCOPED_TRACE(what);
        EXPECT_TRUE(IsOpen());
        close();
        EXPECT_FALSE(IsOpen());
        EXPECT_EQ(rig_->Seen(kWholePanel), closed_);
        EXPECT_EQ(rig_->host->GetParameter(kModWheelValue), 0.0f);
        EXPECT_EQ(rig_->TakeLog(), "");
        rig_->window->Focus(true);
        rig_->Click(EPanelRole::ProgramName);
        EXPECT_EQ(rig_->editor->Browser(), browser_) << "the same one again";
    }
    // The release over something else than the close button closes nothing.
    rig_->window->MoveTo({655, 15});
    rig_->window->Press();
    rig_->window->MoveTo({500, 300});
    rig_->window->Release();
    EXPECT_TRUE(IsOpen());
    rig_->host->CloseEditor();
    rig_->Open();
    EXPECT_EQ(rig_->Seen(kWholePanel), closed_) << "a new window shows the panel";
}

TEST_F(Panel, OpensTheAboutBoxAtItsNameAndClosesItWithAnyPress)
{
    const auto closed = rig_->Seen(kWholePanel);
    const PixelPoint presses[] = {kLogo, {427, 260}, {40, 290}};
    for (const PixelPoint press : presses) {
        rig_->ClickAt(kLogo, EMouseButton::Right);
        rig_->ClickAt({281, 20});
        EXPECT_EQ(rig_->Seen(kWholePanel), closed);
        rig_->ClickAt(kLogo);
        const CPresetListAboutBox* box = rig_->editor->AboutBox();
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(box->IsModal());
        EXPECT_EQ(box->GetRect(), (PixelRect{206, 116, 442, 289}));
        EXPECT_NE(rig_->Seen(kWholePanel), closed);
        rig_->Click(EPanelRole::ProgramName); // the press closes it, the browser stays away
        EXPECT_TRUE(box->IsHidden());
        EXPECT_EQ(rig_->editor->Browser(), nullptr);
        rig_->ClickAt(kLogo);
        rig_->ClickAt(press);
        EXPECT_TRUE(box->IsHidden());
        EXPECT_EQ(rig_->Seen(kWholePanel), closed);
    }
    EXPECT_EQ(AboutTitle(), "Keldra v.2.4  :  VST 32 bit");
    EXPECT_EQ(rig_->TakeLog(), "");
}

// --- The skin

TEST(PanelSkin, IsGreyWithoutAnImageAndEverythingElseLives)
{
    struct Damage {
        const char* file;
        std::function<void(const std::string&)> harm;
    };
    const Damage damages[] = {
        {"knob.tga", [](const std::string& path) { std::filesystem::remove(path); }},
        {"btn_prg_next.tga",
         [](const std::string& path) { std::filesystem::resize_file(path, 10); }},
        {"background.tga",
         [](const std::string& path) {
             std::filesystem::remove(path);
             std::filesystem::create_directory(path);
         }},
    };
    setenv("KELDRA_DEBUG", "1", 1);
    for (const auto& [file, harm] : damages) {
        SCOPED_TRACE(file);
        CMachine machine;
        machine.CopySkin();
        const std::string path = machine.Root() + "/Skin/" + file;
        const std::string kept = Slurp(path);
        harm(path);
        testing::internal::CaptureStderr();
        CPanelRig rig(false);
        EXPECT_FALSE(rig.host->OpenEditor(reinterpret_cast<void*>(7))) << "the host is told";
        EXPECT_FALSE(rig.host->OpenEditor(reinterpret_cast<void*>(7)));
        KeldraEditor alone; // as others open it
        alone.BuildPanel();
        EXPECT_TRUE(alone.Open(nullptr));
        const CHeadlessWindow& window = *CHeadlessWindow::Newest();
        for (const PixelPoint at : {PixelPoint{0, 0}, {300, 200}, {854, 520}})
            EXPECT_EQ(window.PixelAt(at.x, at.y) & 0xffffffu, 0x414141u);
        alone.Close();
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_NE(told.find(path), std::string::npos) << told;
        EXPECT_EQ(told.find(path), told.rfind(path)) << "once";

        rig.host->SetParameter(kFilterCutoff, 0.5f);
        EXPECT_EQ(rig.host->GetParameter(kFilterCutoff), 0.5f);
        rig.Send(0x90, 60, 100);
        const std::vector<float> sound = rig.Render(20);
        EXPECT_GT(*std::max_element(sound.begin(), sound.end()), 0.001f);

        std::filesystem::remove_all(path);
        std::ofstream(path, std::ios::binary) << kept;
        rig.Open(); // with the skin mended the panel is there
        ASSERT_NE(rig.editor, nullptr);
        EXPECT_NE(rig.editor->FindControl(kFilterCutoff), nullptr);
    }
    unsetenv("KELDRA_DEBUG");
}

TEST(PanelSkin, StaysAsItWasLoadedWhenItsFilesChangeAndWorksWithPicturesOfAnySize)
{
    const std::string onePixel("\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\30\0\x40\x80\xff", 21);
    const auto shrinkAll = [&](const CMachine& machine) {
        for (const SkinImageRow& image : kSkinImages)
            std::ofstream(machine.Root() + "/Skin/" + std::string(image.file), std::ios::binary)
                << onePixel;
    };
    {
        CMachine machine;
        machine.CopySkin();
        CPanelRig rig;
        const auto before = rig.Seen(kWholePanel);
        shrinkAll(machine);
        rig.host->CloseEditor();
        rig.Open();
        rig.window->Expose({0, 0, kPanelWidth, kPanelHeight});
        EXPECT_EQ(rig.Seen(kWholePanel), before);
    }
    CMachine machine;
    machine.CopySkin();
    shrinkAll(machine);
    CPanelRig rig;
    for (const PanelControl& row : kPanelControls) {
        rig.ClickAt({row.rect.x, row.rect.y});
        rig.Click(row.rect);
    }
    rig.window->Tick();
    EXPECT_EQ(rig.Seen({10, 10, 1, 1}).at(0) & 0xffffffu, 0xff8040u);
}

} // namespace
} // namespace keldra::test
