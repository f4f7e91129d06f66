#include "editor/KeldraEditor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <vector>

#include "editor/FileChooser.h"
#include "editor/PresetListAboutBox.h"
#include "editor/PresetListEditor.h"
#include "engine/KeldraSynth.h"
#include "frame/Numbers.h"
#include "frame/PluginInstance.h"
#include "frame/PluginWrapper.h"
#include "frame/Text.h"
#include "gui/ControlButton.h"
#include "gui/ControlKeyboard.h"
#include "gui/ControlKnob.h"
#include "gui/ControlMenu.h"
#include "gui/ControlSlider.h"
#include "gui/ControlStateSelector.h"
#include "gui/Fonts.h"
#include "platform/Folders.h"
#include "platform/ModulePath.h"
#include "presets/LibraryFolder.h"
#include "presets/PresetList.h"

namespace keldra {

namespace {

// The wordmark at the top left opens the about box.
constexpr PixelRect kLogo{25, 5, 255, 30};

constexpr float kWheelAtRest = 0.5f;

// The keyboard's velocity is 0 on a key's top row; to the synthesizer that is the end of a note.
constexpr float kSoftest = 1.0f / 127.0f;

// Items of the program menu, as the panel's table lists them.
enum EProgramMenuItem {
    kImportControllerMap = 0,
    kImportGatePattern = 1,
    kSaveProgram = 3,
    kLoadProgram = 5,
    kClearAllLinks = 7,
    kResetProgram = 9,
};

/// Why a window stays grey, for whoever wants to know: on stderr with KELDRA_DEBUG set, once a
/// file.
void TellMissingImage(const std::string& path)
{
    static std::set<std::string> told; // UI lock held
    if (std::getenv("KELDRA_DEBUG") != nullptr && told.insert(path).second)
        std::fprintf(stderr, "Keldra: the skin's image %s is missing or damaged\n", path.c_str());
}

PixelRect ToPixels(const PanelRect& rect)
{
    return {rect.x, rect.y, rect.width, rect.height};
}

} // namespace

KeldraEditor::KeldraEditor()
{
    const CUiLock lock;
    SetSize({kPanelHeight, kPanelWidth});
}

KeldraEditor::~KeldraEditor()
{
    Close();
    FinishWork();
    const CUiLock lock;
    if (synth_ != nullptr)
        synth_->Presets().SetClient(nullptr);
}

void KeldraEditor::Connect(CPluginRenderer& renderer, CPluginWrapper& host)
{
    const CUiLock lock;
    CPluginEditor::Connect(renderer, host);
    synth_ = dynamic_cast<KeldraSynth*>(&renderer);
    if (synth_ != nullptr)
        synth_->Presets().SetClient(this);
}

void KeldraEditor::Close()
{
    CPluginEditor::Close();
    if (synth_ != nullptr)
        synth_->Presets().CloseDialog(); // nobody would ask for its answer any more
}

// --- The panel ---

bool KeldraEditor::LoadSkin()
{
    const CUiLock lock;
    std::vector<std::string> missing;
    const std::string root = RootFolder(CPluginInstance::Get().HostKind());
    // Settings may name a root folder for its sounds alone: the skin then is beside the module.
    for (const std::string& folder : {root, ModuleFolder()}) {
        skinFolder_ = JoinPath(JoinPath(folder, "Skin"), "");
        const auto* const lost = std::find_if(
            std::begin(kSkinImages), std::end(kSkinImages), [this](const SkinImageRow& row) {
                return row.image != ESkinImage::About &&
                       CImageCache::GetImage(skinFolder_, row.file) == nullptr;
            });
        if (lost == std::end(kSkinImages))
            return true;
        missing.push_back(skinFolder_ + std::string(lost->file));
    }
    for (const std::string& path : missing)
        TellMissingImage(path);
    return false;
}

const CImage* KeldraEditor::Image(ESkinImage image) const
{
    const CImage* const found = CImageCache::GetImage(skinFolder_, RowOf(image).file);
    if (found == nullptr)
        TellMissingImage(skinFolder_ + std::string(RowOf(image).file));
    return found;
}

bool KeldraEditor::Open(void* parent)
{
    {
        const CUiLock lock;
        if (GetRootGroup()->GetFirstControl() == nullptr)
            BuildPanel();
    }
    return CPluginEditor::Open(parent);
}

void KeldraEditor::BuildPanel() // UI lock held
{
    if (!LoadSkin())
        return;
    SetBackground(Image(ESkinImage::Background));
    for (const PanelControl& row : kPanelControls)
        if (CControl* const control = AddControl(MakeControl(row)))
            Remember(row.role, *control);
    SyncControls();
    RedrawAll(); // a window that has been open and grey
    PresentAll();
}

std::unique_ptr<CControl> KeldraEditor::MakeControl(const PanelControl& row)
{
    const PixelRect rect = ToPixels(row.rect);
    const auto numberFrom = [&](auto control) {
        control->MoveTo({rect.x, rect.y});
        control->SetDefaultValue(row.defaultValue);
        control->SetValue(row.defaultValue);
        control->SetSnap(row.snap);
        control->SetFineMode(EFineMode::Shift);
        return control;
    };
    const auto labelFrom = [&](auto control) {
        control->SetRect(rect);
        control->SetTextColor(kOpaqueBlack);
        control->SetUnframed();
        return control;
    };
    switch (row.kind) {
    case EPanelControl::Knob: {
        auto knob = std::make_unique<CControlKnob>(row.parameter);
        knob->SetFilmstrip(Image(row.image), kFilmstripFrames);
        return numberFrom(std::move(knob));
    }
    case EPanelControl::Fader: {
        auto fader = std::make_unique<CControlSlider>(row.parameter);
        fader->SetSizeWH(rect.width, rect.height);
        fader->SetHandleImage(Image(row.image));
        return numberFrom(std::move(fader));
    }
    case EPanelControl::Button: {
        auto button = std::make_unique<CControlButton>(row.parameter);
        button->SetPressToggle();
        button->SetButtonImage(Image(row.image));
        button->MoveTo({rect.x, rect.y});
        return button;
    }
    case EPanelControl::Selector: {
        auto selector = std::make_unique<CControlStateSelector>(row.parameter);
        selector->SetPositions(row.items);
        selector->SetTabImage(Image(row.image), true);
        selector->MoveTo({rect.x, rect.y});
        return selector;
    }
    case EPanelControl::Menu: {
        auto menu = labelFrom(std::make_unique<CControlMenu>(row.parameter));
        for (int item = 0; item < row.items; ++item)
            if (const std::string text = MenuItemText(row, item); text.empty())
                menu->AddSeparator();
            else
                menu->AddItem(text);
        return menu;
    }
    case EPanelControl::Display:
        return labelFrom(std::make_unique<CControlDisplay>(row.parameter));
    case EPanelControl::Keyboard: {
        auto keyboard = std::make_unique<CControlKeyboard>(row.parameter);
        keyboard->SetRect(rect);
        keyboard->SetKeyImages(Image(ESkinImage::WhiteKey), Image(ESkinImage::BlackKey));
        return keyboard;
    }
    }
    return nullptr;
}

void KeldraEditor::Remember(EPanelRole role, CControl& control)
{
    switch (role) {
    case EPanelRole::None:
        break;
    case EPanelRole::PitchWheel:
        pitchWheel_ = &control;
        break;
    case EPanelRole::ModWheel:
        modWheel_ = &control;
        break;
    case EPanelRole::Link:
        link_ = &control;
        break;
    case EPanelRole::Unlink:
        unlink_ = &control;
        break;
    case EPanelRole::PreviousProgram:
        previousProgram_ = &control;
        break;
    case EPanelRole::NextProgram:
        nextProgram_ = &control;
        break;
    case EPanelRole::ProgramName:
        programName_ = static_cast<CControlDisplay*>(&control);
        programName_->SetText("DD"); // until the first program is shown
        break;
    case EPanelRole::ParameterText:
        parameterText_ = static_cast<CControlDisplay*>(&control);
        break;
    case EPanelRole::ControllerText:
        controllerText_ = static_cast<CControlDisplay*>(&control);
        break;
    case EPanelRole::ProgramMenu:
        programMenu_ = static_cast<CControlMenu*>(&control);
        programMenu_->SetText("Program"); // nothing ever stays chosen in it
        break;
    case EPanelRole::Keyboard:
        keyboard_ = static_cast<CControlKeyboard*>(&control);
        break;
    }
}

// --- What the user does ---

bool KeldraEditor::OnControlPressed(CControl* control)
{
    if (control == nullptr || synth_ == nullptr)
        return CPluginEditor::OnControlPressed(control);
    if (control == keyboard_) {
        AfterEvent([synth = synth_, key = keyboard_->GetCurrentKey(),
                    velocity = std::max(keyboard_->GetVelocity(), kSoftest)] {
            synth->KeyboardNote(key, velocity);
        });
        return true;
    }
    if (control == programName_) {
        AfterEvent([synth = synth_] { synth->Presets().ShowPresetBrowser(); });
        return true;
    }
    if (control == link_) {
        if (const int controller = synth_->Feedback().LastController(); controller >= 0)
            LinkSelected(controller);
        return true;
    }
    if (control == unlink_) {
        LinkSelected(-1);
        return true;
    }
    if (const int index = control->GetParamIndex();
        index >= 0 && index < kParameterCount && index != synth_->SelectedParameter()) {
        synth_->SelectParameter(index);
        ShowParameterText();
    }
    return CPluginEditor::OnControlPressed(control);
}

void KeldraEditor::OnControlReleased(CControl* control)
{
    if (control == nullptr || synth_ == nullptr) {
        CPluginEditor::OnControlReleased(control);
    } else if (control == pitchWheel_) {
        pitchWheel_->SetValueRedraw(kWheelAtRest); // a spring
        AfterEvent([synth = synth_] { synth->SetParameter(kPitchBendValue, kWheelAtRest); });
    } else if (control == keyboard_) {
        AfterEvent(
            [synth = synth_, key = keyboard_->GetCurrentKey()] { synth->KeyboardNote(key, 0.0f); });
    } else if (control == previousProgram_ || control == nextProgram_) {
        WorkAfterEvent([synth = synth_, forward = control == nextProgram_] {
            CPresetList& presets = synth->Presets();
            if (forward ? presets.NextProgram() : presets.PreviousProgram())
                presets.LoadProgram(presets.CurrentPath());
        });
    } else {
        CPluginEditor::OnControlReleased(control);
    }
}

bool KeldraEditor::OnControlChanged(CControl* control, float value)
{
    if (control == nullptr || control != programMenu_)
        return CPluginEditor::OnControlChanged(control, value);
    if (synth_ != nullptr)
        ChooseProgramMenuItem(TruncateToInt(static_cast<double>(value)));
    return false; // a menu of commands: nothing stays chosen
}

void KeldraEditor::ChooseProgramMenuItem(int item)
{
    WorkAfterEvent([synth = synth_, host = Host(), item] {
        CPresetList& presets = synth->Presets();
        switch (item) {
        case kImportControllerMap:
            presets.LoadProgramWithDialog(EImport::ControllerLinksOnly);
            break;
        case kImportGatePattern:
            presets.LoadProgramWithDialog(EImport::GateStepsOnly);
            break;
        case kSaveProgram:
            presets.SaveProgramWithDialog();
            break;
        case kLoadProgram:
            presets.LoadProgramWithDialog();
            break;
        case kClearAllLinks:
            synth->ClearAllLinks();
            synth->Feedback().MarkProgram();
            break;
        case kResetProgram:
            synth->ResetProgram();
            for (int index = 0; index < kHostParameterCount; ++index)
                host->AutomateParameter(index, synth->GetParameter(index));
            synth->Feedback().MarkProgram();
            break;
        default:
            break;
        }
    });
}

/// @param controller  -1 removes the link
void KeldraEditor::LinkSelected(int controller)
{
    const int selected = synth_->SelectedParameter();
    if (selected < 0 || selected >= kHostParameterCount)
        return;
    synth_->SetParameter(kFirstControllerLink + selected, static_cast<float>(controller));
    ShowParameterText();
}

bool KeldraEditor::OnMouseDown()
{
    if (CPluginEditor::OnMouseDown())
        return true;
    if (GetModalGroup() != nullptr || GetMouseButton() != EMouseButton::Left ||
        !kLogo.Contains(GetMousePosition()) || synth_ == nullptr)
        return false;
    synth_->Presets().ShowAboutBox();
    return true;
}

void KeldraEditor::OnFileDropped(std::string_view path)
{
    if (synth_ != nullptr)
        WorkAfterEvent(
            [synth = synth_, file = std::string(path)] { synth->Presets().LoadProgram(file); });
}

// --- What is shown ---

void KeldraEditor::SetDisplayText(CControlDisplay* display, std::string_view text)
{
    if (display != nullptr && display->SetText(text))
        RefreshControl(display, true);
}

void KeldraEditor::ShowProgramName()
{
    std::array<char, 256> name;
    synth_->GetProgramName(name);
    SetDisplayText(programName_, Drawable(TextIn(name)));
}

void KeldraEditor::ShowParameterText()
{
    std::array<char, 256> text;
    CTextWriter writer(text);
    if (const int selected = synth_->SelectedParameter(); selected < 0) {
        writer.Append("Param: ...");
    } else if (selected >= kSpare74 && selected <= kLfoSync) {
        // A setting of the engine: without a name in hosts, and without a link.
        writer.Append(kEngineSettings[static_cast<std::size_t>(selected - kSpare74)].title);
    } else {
        std::array<char, 128> name;
        synth_->GetParameterName(selected, name);
        const int controller = synth_->GetLink(selected);
        writer.Append(TextIn(name)).Append(" [");
        if (controller >= 0)
            writer.AppendInt(controller);
        else
            writer.Append("N/A");
        writer.Append("]");
    }
    SetDisplayText(parameterText_, TextIn(text));
}

void KeldraEditor::ShowControllerText()
{
    std::array<char, 32> text;
    CTextWriter writer(text);
    writer.Append("CC: ");
    if (const int controller = synth_->Feedback().LastController(); controller >= 0)
        writer.AppendInt(controller);
    else
        writer.Append("...");
    SetDisplayText(controllerText_, TextIn(text));
}

void KeldraEditor::SyncControls()
{
    CPluginEditor::SyncControls();
    if (synth_ == nullptr)
        return;
    ShowProgramName();
    ShowParameterText();
    ShowControllerText();
    if (pitchWheel_ != nullptr)
        pitchWheel_->SetValue(synth_->GetParameter(kPitchBendValue));
    if (modWheel_ != nullptr)
        modWheel_->SetValue(synth_->GetParameter(kModWheelValue));
}

void KeldraEditor::ShowProgram()
{
    if (browser_ != nullptr && !browser_->IsHidden())
        browser_->Refresh();
    CPluginEditor::ShowProgram();
}

bool KeldraEditor::OnTimer()
{
    if (synth_ != nullptr) {
        FollowEngine();
        if (synth_->Presets().IsDialogOpen())
            WorkAfterEvent([synth = synth_] { synth->Presets().PollDialog(); });
    }
    return CPluginEditor::OnTimer();
}

/// Sounding keys, wheels and the last controller, which move without a parameter of the table, and
/// the program's name, which a host may change alone.
void KeldraEditor::FollowEngine()
{
    ShowProgramName();
    ShowControllerText();
    ShowParameterText();
    for (CControl* const wheel : {pitchWheel_, modWheel_})
        if (wheel != nullptr && !wheel->IsDragging())
            wheel->SetValueRedraw(synth_->GetParameter(wheel->GetParamIndex()));
    if (keyboard_ == nullptr)
        return;
    std::array<std::uint8_t, CControlKeyboard::kNotes> states;
    for (int key = 0; key < CControlKeyboard::kNotes; ++key)
        states[static_cast<std::size_t>(key)] =
            synth_->Feedback().IsKeySounding(key) || key == keyboard_->GetCurrentKey() ? 1 : 0;
    if (keyboard_->SetKeyStates(states))
        RefreshControl(keyboard_, true);
}

// --- Browser and about box ---

/// Something modal may be opened: nothing is, and the user holds nothing. What was asked for by a
/// press comes here when the whole batch of events has been read, in which another may have
/// followed. Shown twice, a group would have to be closed twice; shown into a hand, it would keep
/// the release from whom it is for, and a key would sound on.
bool KeldraEditor::MayOpen() const
{
    return CWindowPort::IsOpen() && GetModalGroup() == nullptr && !IsCapturing();
}

void KeldraEditor::ShowAboutBox()
{
    const CUiLock lock;
    if (!MayOpen())
        return;
    if (aboutBox_ == nullptr) {
        auto box = std::make_unique<CPresetListAboutBox>(Image(ESkinImage::About), GetSize());
        aboutBox_ = box.get();
        AddGroup(std::move(box));
    }
    aboutBox_->SetHidden(false);
    aboutBox_->SetFocusGroup();
    aboutBox_->SetModal(true);
    RedrawAll();
    PresentAll();
}

void KeldraEditor::ShowPresetBrowser()
{
    const CUiLock lock;
    if (synth_ == nullptr || !MayOpen())
        return;
    if (browser_ == nullptr) {
        auto browser = std::make_unique<CPresetListEditor>(
            *synth_, GetSize(),
            [this](std::function<void()> action) { WorkAfterEvent(std::move(action)); });
        browser_ = browser.get();
        AddGroup(std::move(browser));
    }
    browser_->Refresh();
    browser_->SetHidden(false);
    browser_->SetFocusGroup();
    browser_->FocusPrograms();
    browser_->SetModal(true);
    RedrawAll();
    PresentAll();
}

std::uintptr_t KeldraEditor::DialogOwner() const
{
    const CUiLock lock;
    return Handle();
}

std::unique_ptr<CFileDialog> KeldraEditor::OpenOwnFileDialog(const FileDialogRequest& request)
{
    const CUiLock lock;
    if (!CWindowPort::IsOpen())
        return nullptr;
    return OpenFileChooser(*this, request, [this](std::function<void()> action) {
        WorkAfterEvent(std::move(action));
    });
}

} // namespace keldra
