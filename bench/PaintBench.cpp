// Painting: a full repaint of a panel of a hundred controls and the redraw of one knob, each with
// its way to the (imagined) screen, against a plain copy of the same pixels.
//
// What it has to stay below: 5 ms for the panel, 0.1 ms for the knob.

#include <memory>

#include "bench/Yardstick.h"
#include "gui/ControlButton.h"
#include "gui/ControlSlider.h"
#include "gui/ControlStateSelector.h"
#include "gui/WindowPort.h"
#include "gui/gallery/GalleryImages.h"

namespace keldra {

namespace {

constexpr PixelSize kPanel{521, 855};

/// A panel as large and as full as the synthesizer's.
class CPanel : public CWindowPort {
public:
    CPanel()
    {
        SetSize(kPanel);
        DrawBackdrop(backdrop_, kPanel);
        DrawKnobStrip(knobs_, 128, 36);
        DrawHandle(handle_, {12, 21});
        DrawButtonFrames(frames_, 4, {16, 30});
        DrawTabs(tabs_, 5, {14, 20});
        SetBackground(&backdrop_);
        for (int i = 0; i < 100; ++i) {
            const PixelPoint at{5 + i % 20 * 42, 5 + i / 20 * 100};
            if (i % 10 < 5)
                AddKnob(at, static_cast<float>(i) / 100.0f);
            else if (i % 10 < 7)
                AddFader(at, static_cast<float>(i) / 100.0f);
            else if (i % 10 < 9)
                AddButton(at);
            else
                AddSelector(at);
        }
        Open(1);
    }
    ~CPanel() override { Close(); }

    [[nodiscard]] CControl& Knob() const { return *knob_; }

private:
    void AddKnob(PixelPoint at, float value)
    {
        auto& knob = GetRootGroup()->Add(std::make_unique<CControlKnob>(0));
        knob.SetFilmstrip(&knobs_, 128);
        knob.MoveTo(at);
        knob.SetValue(value);
        knob_ = &knob;
    }
    void AddFader(PixelPoint at, float value)
    {
        auto& fader = GetRootGroup()->Add(std::make_unique<CControlSlider>(0));
        fader.SetRect({at.x, at.y, 32, 78});
        fader.SetHandleImage(&handle_);
        fader.SetValue(value);
    }
    void AddButton(PixelPoint at)
    {
        auto& button = GetRootGroup()->Add(std::make_unique<CControlButton>(0));
        button.SetPressToggle();
        button.SetButtonImage(&frames_);
        button.MoveTo(at);
    }
    void AddSelector(PixelPoint at)
    {
        auto& selector = GetRootGroup()->Add(std::make_unique<CControlStateSelector>(0));
        selector.SetPositions(5);
        selector.SetTabImage(&tabs_, true);
        selector.MoveTo(at);
    }

    CGraphicBuffer backdrop_, knobs_, handle_, frames_, tabs_;
    CControl* knob_ = nullptr;
};

void Report(benchmark::State& state, double copySeconds, const CBestTime& best)
{
    state.counters["copies"] = best.Seconds() / copySeconds; // as many plain copies
    state.counters["best_us"] = best.Seconds() * 1e6;
}

void PaintPanel(benchmark::State& state)
{
    CPanel panel;
    CBestTime best;
    for (auto _ : state)
        best.Measure([&] {
            panel.RedrawAll();
            panel.PresentAll();
        });
    Report(state, CopySeconds(static_cast<std::size_t>(kPanel.height * kPanel.width)), best);
}
BENCHMARK(PaintPanel)->Unit(benchmark::kMicrosecond);

void PaintKnob(benchmark::State& state)
{
    CPanel panel;
    CBestTime best;
    float value = 0.0f;
    for (auto _ : state) {
        value = value < 0.9f ? value + 0.0103f : 0.0f; // between frames
        best.Measure([&] { panel.Knob().SetValueRedraw(value); });
    }
    Report(state, CopySeconds(36 * 36), best);
}
BENCHMARK(PaintKnob)->Unit(benchmark::kMicrosecond);

} // namespace

} // namespace keldra
