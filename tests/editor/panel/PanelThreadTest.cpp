// A host that does to the editor, in mid-drag, whatever hosts do: from inside the editor's own
// calls and from another thread beside them.

#include <atomic>
#include <chrono>
#include <thread>

#include "gui/ImageCache.h"
#include "platform/UiThread.h"
#include "tests/editor/panel/PanelRig.h"

namespace keldra::test {
namespace {

#ifdef KELDRA_SANITIZED
constexpr int kRounds = 90; // each takes ten times as long, and a wrong access shows at once
#else
constexpr int kRounds = 400;
#endif

enum EAct : int { kNothing, kClose, kSetParameter, kDestroy, kActCount };

class CRudeHost final : public vst::CVstHostClient {
public:
    void Open()
    {
        if (host_ == nullptr) {
            std::string error;
            host_ = vst::CVstHost::Create(vst::CVstModule::FromEntry(&vst::CreateVstInstance), {},
                                          this, error);
            host_->Start(44100.0, 64);
        }
        calls = 0;
        mayCall_ = true;
        EXPECT_TRUE(host_->OpenEditor(reinterpret_cast<void*>(7)));
    }
    void Do(int act)
    {
        if (act == kSetParameter) {
            host_->SetParameter(kFilterCutoff, 0.5f);
            host_->SetParameter(kFilterResonance, 0.5f);
            return;
        }
        if (act == kDestroy)
            host_.reset();
        else
            host_->CloseEditor();
        mayCall_ = false;
    }

    std::atomic<int> actInside{kNothing}; ///< what to do in the next call, once
    std::atomic<bool> done{false};        ///< and it has been done
    std::atomic<int> calls{0};            ///< since the editor was opened

private:
    void OnCall()
    {
        EXPECT_TRUE(mayCall_) << "a call after the end";
        if (const int act = actInside.exchange(kNothing); act != kNothing) {
            Do(act); // more calls may come inside it
            done = true;
        }
        ++calls;
    }
    void OnBeginEdit(int) override { OnCall(); }
    void OnAutomate(int, float) override { OnCall(); }
    void OnEndEdit(int) override { OnCall(); }

    std::unique_ptr<vst::CVstHost> host_;
    std::atomic<bool> mayCall_{false};
};

/// The user's hand, on the window system's thread: drags the cutoff up and down without a rest.
void Drag(std::atomic<bool>& running)
{
    const PanelRect knob = ControlOf(kFilterCutoff).rect;
    for (int i = 0; running; ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        const CUiLock lock; // the window stays while it is told
        CHeadlessWindow* const window = CHeadlessWindow::Newest();
        if (window == nullptr)
            continue;
        if (i % 16 == 0) {
            window->MoveTo({knob.x + 9, knob.y + 9});
            window->Press();
        } else if (i % 16 == 15) {
            window->Release();
        } else {
            window->MoveBy(0, i % 32 < 16 ? 3 : -3);
        }
    }
}

TEST(PanelThread, IsClosedSetAndDestroyedInMidDragFromInsideItsCallsAndBesideThem)
{
    const CMachine machine;
    const CImageCache::CUser
        images; // stay in memory: else reading them would take most of the time
    CRudeHost host;
    std::atomic<bool> running{true};
    std::thread hand([&] { Drag(running); });
    const auto wait = [](const auto& condition) {
        for (int i = 0; i < 50000 && !condition(); ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        return condition();
    };
    for (int round = 0; round < kRounds && !HasFailure(); ++round) {
        const bool inside = round % 2 == 0;
        const int act = 1 + round / 2 % (kActCount - 1);
        host.Open();
        ASSERT_TRUE(wait([&] { return host.calls > 2; })) << round;
        if (inside) {
            host.done = false;
            host.actInside = act;
            ASSERT_TRUE(wait([&] { return host.done.load(); })) << round;
        } else {
            host.Do(act);
        }
        if (act == kSetParameter) {
            const int before = host.calls;
            ASSERT_TRUE(wait([&] { return host.calls > before; })) << round; // the drag goes on
            host.Do(kClose);
        }
    }
    running = false;
    hand.join();
}

} // namespace
} // namespace keldra::test
