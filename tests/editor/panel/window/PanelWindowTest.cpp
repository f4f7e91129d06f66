// The module in a host on a real X server: what is on the screen, and every control under the
// user's hands.

#include <mutex>

#include "apps/host/VstHost.h"
#include "editor/PanelTable.h"
#include "tests/editor/panel/Machine.h"
#include "tests/gui/Golden.h"
#include "tests/platform/window/XHost.h"

namespace keldra::test {
namespace {

[[maybe_unused]] auto* const kXvfb = testing::AddGlobalTestEnvironment(new CXvfb);

/// Notes of each parameter's edits the order: "BAAE". Called on the module's own thread.
class CEdits final : public vst::CVstHostClient {
public:
    void OnBeginEdit(int index) override { Note(index, 'B'); }
    void OnAutomate(int index, float) override { Note(index, 'A'); }
    void OnEndEdit(int index) override { Note(index, 'E'); }
    std::string Of(int index)
    {
        const std::lock_guard lock(mutex_);
        return edits_[static_cast<std::size_t>(index)];
    }

private:
    void Note(int index, char what)
    {
        const std::lock_guard lock(mutex_);
        edits_[static_cast<std::size_t>(index)] += what;
    }

    std::mutex mutex_;
    std::array<std::string, kParameterCount> edits_;
};

TEST(PanelWindow, ShowsThePanelAndGivesEveryControlToTheMouse)
{
    constexpr PixelPoint kPlace{60, 50};
    const CMachine machine;
    CXHost screen;
    CEdits edits;
    std::string error;
    const auto host =
        vst::CVstHost::Create(vst::CVstModule::Load(KELDRA_MODULE, error), {}, &edits, error);
    ASSERT_NE(host, nullptr) << error;
    host->Start(44100.0, 441);
    ASSERT_TRUE(host->OpenEditor(reinterpret_cast<void*>(screen.Window())));
    screen.MoveTo({5, 5});
    screen.Show(kPlace, {kPanelHeight, kPanelWidth});
    const auto window = static_cast<xcb_window_t>(screen.Window());
    ASSERT_TRUE(
        Eventually([&] { return screen.PixelAt(window, kPanelWidth - 9, kPanelHeight - 9) != 0; }));
    const CXcbReply<xcb_get_image_reply_t> image(
        xcb_get_image_reply(screen.Connection(),
                            xcb_get_image(screen.Connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0,
                                          0, kPanelWidth, kPanelHeight, ~0u),
                            nullptr));
    ASSERT_NE(image, nullptr);
    CGraphicBuffer picture;
    ASSERT_TRUE(picture.Create({kPanelHeight, kPanelWidth}));
    const auto* pixel = reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
    for (int y = 0; y < kPanelHeight; ++y)
        for (int x = 0; x < kPanelWidth; ++x)
            picture.SetPixel(x, y, *pixel++ & 0xffffffu);
    ExpectGolden(picture, "panel"); // as drawn in memory

    std::vector<PanelControl> rows(kPanelControls.begin(), kPanelControls.end());
    rows.push_back(ControlOf(EPanelRole::ModWheel)); // last: nobody tells when it is let go
    for (const PanelControl& row : rows) {
        const int p = row.parameter;
        if (p == kNotBound || (p >= kParameterCount && &row != &rows.back()))
            continue;
        SCOPED_TRACE(p);
        const float before = host->GetParameter(p);
        PixelPoint at{kPlace.x + row.rect.x + 5, kPlace.y + row.rect.y + 5};
        if (row.kind == EPanelControl::Selector && before == 0.0f)
            at.y += row.rect.height - 10;                           // the last tab, else the first
        const int button = row.kind == EPanelControl::Menu ? 5 : 1; // 5: the wheel, downward
        screen.MoveTo(at);
        screen.Press(button);
        const bool drags = row.kind == EPanelControl::Knob || row.kind == EPanelControl::Fader;
        for (int i = 0; drags && i < 4; ++i)
            screen.MoveBy(0, before > 0.5f ? 10 : -10);
        screen.Release(button);
        EXPECT_TRUE(Eventually([&] { return screen.Pointer() == at; })) << "after a drag, too";
        EXPECT_TRUE(Eventually([&] { return host->GetParameter(p) != before; }));
        if (p >= kHostParameterCount)
            continue;
        EXPECT_TRUE(Eventually([&] { return edits.Of(p).ends_with("E"); })) << edits.Of(p);
        const std::string told = edits.Of(p);
        EXPECT_EQ(told.find_first_not_of('A', 1), told.size() - 1) << told;
        EXPECT_TRUE(told.starts_with("BA")) << told;
    }
    host->CloseEditor();
}

TEST(PanelWindow, MayBeClosedByAHostThatDoesSoAtTheVeryEnd)
{
    const CMachine machine;
    const auto leave = [] {
        // Made before the module's own static objects, so destroyed after them.
        static std::array<CXHost, 2> screens;
        static std::array<std::unique_ptr<vst::CVstHost>, 2> hosts;
        std::string error;
        const auto module = vst::CVstModule::Load(KELDRA_MODULE, error);
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            hosts[i] = vst::CVstHost::Create(module, {}, nullptr, error);
            if (!hosts[i]->OpenEditor(reinterpret_cast<void*>(screens[i].Window())))
                std::abort();
        }
        std::exit(7);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "");
}

} // namespace
} // namespace keldra::test
