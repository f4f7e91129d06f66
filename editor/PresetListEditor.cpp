#include "editor/PresetListEditor.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <utility>

#include "editor/ModalPanel.h"
#include "engine/KeldraSynth.h"
#include "frame/Numbers.h"
#include "frame/Text.h"
#include "gui/ControlList.h"
#include "gui/Fonts.h"
#include "gui/WindowPort.h"
#include "presets/PresetList.h"

namespace keldra {

namespace {

constexpr int kGreatestWidth = 500;
constexpr Color kBankCaption = Rgb(64, 64, 64);
constexpr Color kProgramCaption = Rgb(218, 195, 150);
constexpr int kRefreshTicks = 33; ///< about a second

PixelRect BrowserRect(PixelSize window)
{
    const int width = std::min(window.width, kGreatestWidth);
    return {(window.width - width) / 2, 0, width, window.height};
}

/// One of two columns with a gap between them.
PixelRect Column(const PixelRect& browser, int column, int left, int inset, int gap, int top,
                 int height)
{
    const int width = (browser.width - inset) / 2 - 2;
    return {browser.x + left + column * (width + gap), browser.y + top, width, height};
}

PixelRect ListRect(const PixelRect& browser, int column)
{
    return Column(browser, column, 14, 28, 2, 86, browser.height - 104);
}

PixelRect CaptionRect(const PixelRect& browser, int column)
{
    return Column(browser, column, 17, 22 + 16, 6, 66, 18);
}

void SetBankLook(CControlList& list)
{
    list.SetItemHeight(40);
    list.SetBandHeight(38);
    list.SetBoldItems(true);
    constexpr std::pair<EMenuColor, Color> kColors[] = {
        {kMenuPanel, Rgb(20, 20, 20)},
        {kMenuOutline, Rgb(20, 20, 20)},
        {kMenuText, kModalText},
        {kMenuChosenText, kOpaqueBlack},
        {kMenuRow, Rgb(41, 40, 37)},
        {kMenuHoveredBand, Rgb(58, 52, 40)},
        {kMenuChosenBand, Rgb(218, 195, 150)},
        {kMenuThumbHeld, Rgb(147, 150, 158)},
        {kMenuThumb, Rgb(117, 120, 128)},
        {kMenuTrack, Rgb(25, 28, 36)},
    };
    for (const auto& [place, color] : kColors)
        list.SetPaletteColor(place, color);
}

/// "1. Basses", "2. Leads" and so on.
std::string LineText(int index, const std::vector<std::string>& names)
{
    return std::to_string(index + 1) + ". " + Drawable(names[static_cast<std::size_t>(index)]);
}

/// Keeps what is scrolled to, as far as the selected line stays in sight when something changes.
void FillList(CControlList& list, const std::vector<std::string>& names, int selected)
{
    bool same = list.GetItemCount() == static_cast<int>(names.size());
    for (int i = 0; i < static_cast<int>(names.size()); ++i) {
        const std::string text = LineText(i, names);
        same = same && list.GetItem(i)->text == text;
    }
    if (!same) {
        const float firstRow = list.GetScrollOffset();
        list.ClearItems();
        for (int i = 0; i < static_cast<int>(names.size()); ++i)
            list.NewItem().text = LineText(i, names);
        list.SetScrollOffset(firstRow); // within the new range
    }
    const bool moved = list.GetValue() != static_cast<float>(selected);
    list.SetValue(static_cast<float>(selected));
    if ((moved || !same) && selected >= 0)
        list.ShowItem(selected);
}

} // namespace

CPresetListEditor::CPresetListEditor(KeldraSynth& synth, PixelSize window, Later later)
    : synth_(synth), later_(std::move(later))
{
    const PixelRect rect = BrowserRect(window);
    SetRect(rect);

    auto banks = std::make_unique<CControlList>();
    banks->SetRect(ListRect(rect, 0));
    banks->SetMargins(4, 4);
    SetBankLook(*banks);
    auto programs = std::make_unique<CControlList>();
    programs->SetRect(ListRect(rect, 1));
    programs->SetMargins(4, 4);

    auto name = std::make_unique<CControlDisplay>();
    name->SetRect({rect.x + 150, rect.y + 36, 330, 22});
    name->SetTextColor(kModalText);
    auto close = MakeModalButton("x", {rect.x + rect.width - 30, rect.y + 8, 20, 16});
    close->SetBold();

    bankList_ = &Add(std::move(banks));
    programList_ = &Add(std::move(programs));
    loadButton_ = &Add(MakeModalButton("Load", {rect.x + 20, rect.y + 36, 60, 22}));
    saveButton_ = &Add(MakeModalButton("Save", {rect.x + 85, rect.y + 36, 60, 22}));
    nameDisplay_ = &Add(std::move(name));
    closeArea_ = &Add(std::move(close));
}

void CPresetListEditor::Refresh()
{
    const CPresetList::Lists lists = synth_.Presets().GetLists();
    FillList(*bankList_, lists.banks, lists.bank);
    FillList(*programList_, lists.programs, lists.program);
    std::array<char, 256> name;
    synth_.GetProgramName(name);
    nameDisplay_->SetText(Drawable(TextIn(name)));
}

void CPresetListEditor::FocusPrograms()
{
    programList_->SetFocus();
}

// --- What the user does ---

void CPresetListEditor::OnControlReleased(CControl* control)
{
    if (control == loadButton_)
        later_([&synth = synth_] { synth.Presets().LoadProgramWithDialog(); });
    else if (control == saveButton_)
        later_([&synth = synth_] { synth.Presets().SaveProgramWithDialog(); });
    else if (control == closeArea_ && closeArea_->IsUnderMouse())
        OnKillFocus();
}

bool CPresetListEditor::OnControlChanged(CControl* control, float value)
{
    const int index = TruncateToInt(static_cast<double>(value));
    if (control == bankList_)
        PickBank(index);
    else if (control == programList_)
        PickProgram(index);
    return true;
}

void CPresetListEditor::PickBank(int index)
{
    later_([&synth = synth_, index] {
        CPresetList& presets = synth.Presets();
        // Selecting it once more would select its first program, which isn't the one that plays. An
        // empty bank is one to save into: the sound and its edits stay.
        if (index != presets.GetLists().bank && presets.SelectBank(index) &&
            presets.GetLists().program >= 0)
            presets.LoadProgram(presets.CurrentPath());
        synth.Feedback().MarkProgram(); // the programs of another bank are to be shown
    });
}

void CPresetListEditor::PickProgram(int index)
{
    later_([&synth = synth_, index] {
        if (synth.Presets().SelectProgram(index))
            synth.Presets().LoadProgram(synth.Presets().CurrentPath());
    });
}

bool CPresetListEditor::OnMouseDown()
{
    const CWindowPort* const window = GetOwner();
    if (window == nullptr || IsHidden())
        return false;
    if (!GetRect().Contains(window->GetMousePosition())) {
        OnKillFocus();
        return true; // not for what lies under it
    }
    const bool handled = CControlGroup::OnMouseDown();
    if (!IsHidden())
        FocusPrograms();
    return handled;
}

bool CPresetListEditor::OnDoubleClick()
{
    if (CControlGroup::OnDoubleClick())
        return true;
    OnKillFocus();
    return true;
}

void CPresetListEditor::OnKillFocus()
{
    CControlGroup::OnKillFocus();
    CloseModalGroup(*this);
}

// The host or a MIDI message may choose another program while it is shown. The lists are this
// instance's, from memory: what others do to the folder comes with the next look at the disk, when
// a bank is picked or a program loaded or saved.
bool CPresetListEditor::OnTimer()
{
    if (--ticksUntilRefresh_ <= 0) {
        ticksUntilRefresh_ = kRefreshTicks;
        Refresh();
        if (CWindowPort* const window = GetOwner())
            for (CControl* const control :
                 {static_cast<CControl*>(bankList_), static_cast<CControl*>(programList_),
                  static_cast<CControl*>(nameDisplay_)})
                window->RefreshControl(control, true);
    }
    return CControlGroup::OnTimer();
}

// --- Backdrop ---

void CPresetListEditor::DrawBackground(const PixelRect& region)
{
    CGraphicBuffer* const buffer = GetBuffer();
    if (buffer == nullptr)
        return;
    buffer->SetClip(region);
    const PixelRect rect = GetRect();
    DrawModalPanel(*buffer, rect);

    buffer->AlignTextCenter();
    buffer->SelectBoldFont();
    struct Caption {
        const char* text;
        Color fill, ink;
    };
    constexpr Caption kCaptions[] = {{"Program Bank", kBankCaption, kModalText},
                                     {"Program Name", kProgramCaption, kOpaqueBlack}};
    int column = 0;
    for (const auto& [text, fill, ink] : kCaptions) {
        const PixelRect bar = CaptionRect(rect, column++);
        buffer->SetFillColor(fill);
        buffer->DrawPanel(bar, ECorners::Square, 1.0f, 0.0f);
        buffer->SetTextColor(ink);
        buffer->DrawText(text, bar);
    }
    buffer->SetTextColor(kModalText);
    buffer->DrawText("Presets Library", {rect.x + 6, rect.y + 6, rect.width - 12, 22});
}

} // namespace keldra
