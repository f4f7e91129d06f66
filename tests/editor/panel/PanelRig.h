#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/host/VstHost.h"
#include "editor/KeldraEditor.h"
#include "editor/PanelTable.h"
#include "gui/ControlMenu.h"
#include "hosts/vst/VSTWrapper.h"
#include "platform/headless/HeadlessWindow.h"
#include "platform/headless/ScriptedFileDialogs.h"
#include "tests/editor/panel/Machine.h"

namespace keldra::test {

inline constexpr PanelRect kWholePanel{0, 0, kPanelWidth, kPanelHeight};
using Pixels = std::vector<std::uint32_t>;

inline const PanelControl& ControlOf(int parameter)
{
    return *std::find_if(kPanelControls.begin(), kPanelControls.end(),
                         [=](const PanelControl& row) { return row.parameter == parameter; });
}

/// The dialogs that the user is imagined to see.
inline CScriptedFileDialogs& Dialogs()
{
    return dynamic_cast<CScriptedFileDialogs&>(SystemFileDialogs());
}

/// A VST host with one instance, its editor on a window in memory, and the user's hands.
class CPanelRig : public vst::CVstHostClient {
public:
    static constexpr int kBlock = 441; ///< a hundredth of a second

    explicit CPanelRig(bool opens = true)
    {
        std::string error;
        host = vst::CVstHost::Create(vst::CVstModule::FromEntry(&vst::CreateVstInstance), {}, this,
                                     error);
        host->Start(44100.0, kBlock);
        if (opens)
            Open();
    }
    ~CPanelRig() { host->CloseEditor(); }
    CPanelRig(const CPanelRig&) = delete;
    CPanelRig& operator=(const CPanelRig&) = delete;

    void Open()
    {
        ASSERT_TRUE(host->OpenEditor(reinterpret_cast<void*>(7)));
        window = CHeadlessWindow::Newest();
        editor = dynamic_cast<KeldraEditor*>(CWindowPort::FindOpen(window->Handle()));
        window->Focus(true);
        (void)window->TakePresented();
    }

    [[nodiscard]] CControl& Control(const PanelControl& row) const
    {
        CControl* control = editor->GetRootGroup()->GetFirstControl();
        while (control->GetPosition() != PixelPoint{row.rect.x, row.rect.y})
            control = control->GetNext();
        return *control;
    }
    [[nodiscard]] std::string TextOf(EPanelRole role) const
    {
        return dynamic_cast<CControlDisplay&>(Control(ControlOf(role))).GetText();
    }
    /// What the user sees of a part of the window.
    [[nodiscard]] Pixels Seen(const PanelRect& area = kWholePanel) const
    {
        Pixels pixels;
        for (int y = area.y; y < area.Bottom(); ++y)
            for (int x = area.x; x < area.Right(); ++x)
                pixels.push_back(window->PixelAt(x, y));
        return pixels;
    }

    void ClickAt(PixelPoint at, EMouseButton button = EMouseButton::Left) const
    {
        window->MoveTo(at);
        window->Press(button);
        window->Release(button);
    }
    void Click(const PanelRect& rect, EMouseButton button = EMouseButton::Left) const
    {
        ClickAt({rect.x + rect.width / 2, rect.y + rect.height / 2}, button);
    }
    void Click(EPanelRole role) const { Click(ControlOf(role).rect); }
    void PressOn(const PanelControl& row) const
    {
        window->MoveTo({row.rect.x + 9, row.rect.y + 9});
        window->Press();
    }
    /// Opens a menu and presses an item's row, turning the wheel as far as it takes.
    void Choose(const PanelControl& row, int item) const
    {
        auto& menu = dynamic_cast<CControlMenu&>(Control(row));
        Click(row.rect);
        ASSERT_TRUE(menu.IsPopupOpen());
        const PixelRect list = menu.GetPopupRect();
        const int first = std::max(0, item + 1 - (list.height - 20) / 18);
        window->MoveTo({list.x + 20, list.y + list.height / 2});
        window->Wheel(-static_cast<float>(first));
        const PixelRect place = menu.ItemRect(item - first);
        Click(PanelRect{place.x, place.y, place.width, place.height});
        EXPECT_FALSE(menu.IsPopupOpen());
    }

    /// What the host was told since the last call: "B18 A18=0.504 E18 ", an edit's begin, values
    /// and end.
    [[nodiscard]] std::string TakeLog() { return std::exchange(log_, {}); }
    [[nodiscard]] static std::string Told(char kind, int parameter, float value = 0.0f)
    {
        std::array<char, 48> text;
        std::snprintf(text.data(), text.size(), kind == 'A' ? "%c%d=%.3f " : "%c%d ", kind,
                      parameter, static_cast<double>(value));
        return text.data();
    }
    void Send(std::uint8_t status, std::uint8_t data1, std::uint8_t data2)
    {
        const std::uint8_t message[] = {status, data1, data2};
        EXPECT_TRUE(host->AddMidi(0, message));
        Render(1);
    }
    /// @return the left channel
    std::vector<float> Render(int blocks)
    {
        std::vector<float> sound(static_cast<std::size_t>(blocks * kBlock));
        std::vector<float> right(kBlock);
        for (int block = 0; block < blocks; ++block) {
            float* outputs[] = {sound.data() + block * kBlock, right.data()};
            host->Render(outputs, kBlock);
        }
        return sound;
    }

    std::unique_ptr<vst::CVstHost> host;
    KeldraEditor* editor = nullptr; ///< while it is open
    CHeadlessWindow* window = nullptr;

private:
    void OnBeginEdit(int index) override { log_ += Told('B', index); }
    void OnAutomate(int index, float value) override { log_ += Told('A', index, value); }
    void OnEndEdit(int index) override { log_ += Told('E', index); }

    std::string log_;
};

} // namespace keldra::test
