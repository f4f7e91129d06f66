#pragma once

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
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
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {

inline constexpr char kBuiltSkin[] = KELDRA_BINARY_DIR "/Keldra/Skin";

/// What the host was told, in order: 'B' an edit begins, 'A' a value, 'E' it ends.
struct HostEvent {
    char kind;
    int parameter;
    float value;
};

/// A user's machine: settings that name a root folder with the skin and a library of two banks.
class CMachine {
public:
    CMachine()
    {
        folder_.Write("config/tallowen/settings",
                      "[Software\\Tallowen\\Keldra]\nrootFolder = " + folder_.Path("root") + "\n");
        setenv("XDG_CONFIG_HOME", folder_.Path("config").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", folder_.Path("none").c_str(), 1);
        std::filesystem::create_directories(Root());
        std::filesystem::create_directory_symlink(kBuiltSkin, Root() + "/Skin");
    }
    [[nodiscard]] std::string Root() const { return folder_.Path("root"); }
    /// A skin of its own, which may be damaged.
    void CopySkin()
    {
        std::filesystem::remove(Root() + "/Skin");
        std::filesystem::copy(kBuiltSkin, Root() + "/Skin");
    }
    std::string WriteProgram(std::string_view inside, const std::vector<std::byte>& block)
    {
        return folder_.Write(inside, {reinterpret_cast<const char*>(block.data()), block.size()});
    }
    [[nodiscard]] std::string Path(std::string_view inside) const { return folder_.Path(inside); }

private:
    CTemporaryFolder folder_;
};

/// A VST host with one instance, its editor on a window in memory, and the user's hands.
class CPanelRig : public vst::CVstHostClient {
public:
    static constexpr double kRate = 44100.0;
    static constexpr int kBlock = 441;

    explicit CPanelRig(bool opens = true)
    {
        std::string error;
        host = vst::CVstHost::Create(vst::CVstModule::FromEntry(&vst::CreateVstInstance), {}, this,
                                     error);
        EXPECT_NE(host, nullptr) << error;
        host->Start(kRate, kBlock);
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
        ASSERT_NE(editor, nullptr);
        window->Focus(true);
        (void)window->TakePresented();
    }

    // --- The panel

    [[nodiscard]] CControl& Control(const PanelControl& row) const
    {
        return ControlAt({row.rect.x + row.rect.width / 2, row.rect.y + row.rect.height / 2});
    }
    [[nodiscard]] CControl& ControlAt(PixelPoint at) const
    {
        CControl* control = editor->GetRootGroup()->GetFirstControl();
        while (control != nullptr && !control->GetRect().Contains(at))
            control = control->GetNext();
        EXPECT_NE(control, nullptr) << at.x << ", " << at.y;
        return *control;
    }
    [[nodiscard]] std::string TextOf(EPanelRole role) const
    {
        return dynamic_cast<CControlDisplay&>(Control(ControlOf(role))).GetText();
    }
    /// What the user sees of a part of the window.
    [[nodiscard]] std::vector<std::uint32_t> Seen(const PanelRect& area) const
    {
        std::vector<std::uint32_t> pixels;
        for (int y = area.y; y < area.Bottom(); ++y)
            for (int x = area.x; x < area.Right(); ++x)
                pixels.push_back(window->PixelAt(x, y));
        return pixels;
    }

    // --- The user

    void ClickAt(PixelPoint at, EMouseButton button = EMouseButton::Left)
    {
        window->MoveTo(at);
        window->Press(button);
        window->Release(button);
    }
    void Click(const PanelRect& rect, EMouseButton button = EMouseButton::Left)
    {
        ClickAt({rect.x + rect.width / 2, rect.y + rect.height / 2}, button);
    }
    void Click(EPanelRole role) { Click(ControlOf(role).rect); }
    /// Opens a menu and presses an item's row, turning the wheel as far as it takes.
    void Choose(const PanelControl& row, int item)
    {
        auto& menu = dynamic_cast<CControlMenu&>(Control(row));
        Click(row.rect);
        ASSERT_TRUE(menu.IsPopupOpen());
        const PixelRect list = menu.GetPopupRect();
        const int first = std::max(0, item + 1 - (list.height - 20) / 18);
        window->MoveTo({list.x + 20, list.y + list.height / 2});
        window->Wheel(-static_cast<float>(first));
        const PixelRect place = menu.ItemRect(item - first);
        ClickAt({place.x + place.width / 2, place.y + place.height / 2});
        EXPECT_FALSE(menu.IsPopupOpen());
    }

    // --- The host

    [[nodiscard]] std::vector<HostEvent> TakeEvents() { return std::exchange(events_, {}); }
    /// "B18 A18=0.504 E18"
    [[nodiscard]] std::string TakeLog()
    {
        std::string log;
        for (const auto& [kind, parameter, value] : TakeEvents()) {
            char text[48];
            if (kind == 'A')
                std::snprintf(text, sizeof text, "A%d=%.3f", parameter, static_cast<double>(value));
            else
                std::snprintf(text, sizeof text, "%c%d", kind, parameter);
            log.append(log.empty() ? "" : " ").append(text);
        }
        return log;
    }
    [[nodiscard]] std::string ValueText(int parameter) const
    {
        return host->ParameterDisplay(parameter) + " " + host->ParameterLabel(parameter);
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
    /// A program whose parameters are as they are now but for these.
    std::vector<std::byte> ProgramWith(const std::vector<std::pair<int, float>>& values)
    {
        const auto before = host->GetChunk();
        for (const auto& [parameter, value] : values)
            host->SetParameter(parameter, value);
        auto program = host->GetChunk();
        EXPECT_TRUE(host->SetChunk(before));
        window->Tick();
        (void)TakeEvents();
        return program;
    }

    std::unique_ptr<vst::CVstHost> host;
    KeldraEditor* editor = nullptr; ///< while it is open
    CHeadlessWindow* window = nullptr;

private:
    void OnBeginEdit(int index) override { events_.push_back({'B', index, 0.0f}); }
    void OnAutomate(int index, float value) override { events_.push_back({'A', index, value}); }
    void OnEndEdit(int index) override { events_.push_back({'E', index, 0.0f}); }

    std::vector<HostEvent> events_;
};

/// The dialogs that the user is imagined to see.
inline CScriptedFileDialogs& Dialogs()
{
    return dynamic_cast<CScriptedFileDialogs&>(SystemFileDialogs());
}

} // namespace keldra::test
