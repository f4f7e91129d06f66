// The editor: what a user waits for when it opens, and what it costs while it is open and nobody
// touches it. Against plain copies of the pixels that are shown.
//
// What it has to stay below: 50 ms to open with the images in memory, 1 % of a core while notes
// arrive.

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "apps/host/VstHost.h"
#include "bench/Yardstick.h"
#include "editor/KeldraEditor.h"
#include "hosts/vst/VSTWrapper.h"
#include "platform/headless/HeadlessWindow.h"
#include "tests/editor/panel/Machine.h"

namespace keldra {

namespace {

constexpr int kTicksInAMinute = 2000; // 30 ms each

/// An instance in a host, whose editor keeps the images in memory.
class CInstance {
public:
    CInstance()
    {
        std::string error;
        host = vst::CVstHost::Create(vst::CVstModule::FromEntry(&vst::CreateVstInstance), {},
                                     nullptr, error);
        host->Start(44100.0, 64);
        if (!host->OpenEditor(nullptr))
            throw std::runtime_error("the skin is missing: build keldra_skin_images first");
        window = CHeadlessWindow::Newest();
    }

    void Note(bool on, int key)
    {
        const std::uint8_t message[] = {static_cast<std::uint8_t>(on ? 0x90 : 0x80),
                                        static_cast<std::uint8_t>(key), 100};
        host->AddMidi(0, message);
    }
    void Render()
    {
        float left[1], right[1];
        float* outputs[] = {left, right};
        host->Render(outputs, 1);
    }

    const test::CMachine machine; ///< first: the instance looks for its files there
    std::unique_ptr<vst::CVstHost> host;
    CHeadlessWindow* window = nullptr;
};

/// @param area  whose pixels a plain copy moves
void ReportCopies(benchmark::State& state, const PanelRect& area, double seconds)
{
    state.counters["copies"] =
        seconds / CopySeconds(static_cast<std::size_t>(area.width * area.height));
}

/// A second instance's editor: all is made but the images.
void EditorOpens(benchmark::State& state)
{
    const CInstance first;
    CBestTime best;
    for (auto _ : state) {
        KeldraEditor editor;
        best.Measure([&] { benchmark::DoNotOptimize(editor.Open(nullptr)); });
        editor.Close();
    }
    ReportCopies(state, {0, 0, kPanelWidth, kPanelHeight}, best.Seconds());
    state.counters["best_ms"] = best.Seconds() * 1e3;
}
BENCHMARK(EditorOpens)->Unit(benchmark::kMillisecond);

/// A minute of an open editor. @param state  range 0: chords of three that come and go a second
void EditorIdles(benchmark::State& state)
{
    CInstance instance;
    const int ticksAChord = state.range(0) > 0 ? 33 / static_cast<int>(state.range(0)) : 0;
    double best = 1e9;
    for (auto _ : state) {
        double seconds = 0.0;
        for (int tick = 0; tick < kTicksInAMinute; ++tick) {
            if (ticksAChord > 0 && tick % ticksAChord == 0) {
                const bool on = tick / ticksAChord % 2 == 0;
                for (const int key : {48, 63, 79})
                    instance.Note(on, key + tick / (2 * ticksAChord) % 12);
            }
            instance.Render();
            CBestTime time;
            time.Measure([&] { instance.window->Tick(); });
            seconds += time.Seconds();
        }
        benchmark::DoNotOptimize(instance.window->TakePresented());
        best = std::min(best, seconds);
    }
    ReportCopies(state, ControlOf(EPanelRole::Keyboard).rect, best / kTicksInAMinute);
    state.counters["core_percent"] = best / 60.0 * 100.0;
}
BENCHMARK(EditorIdles)->ArgName("chords")->Arg(0)->Arg(8)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace keldra
