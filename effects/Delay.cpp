#include "effects/Delay.h"

#include <algorithm>
#include <cmath>

#include "effects/Sample.h"

namespace keldra {

namespace {

constexpr double kLineSeconds = 2.0;
constexpr int kLongestTime = 7; ///< index of the eighth choice

} // namespace

template <typename Operation>
void CDelay::OnBothLines(Operation operation)
{
    for (const auto& line : lines_)
        if (line != nullptr)
            operation(*line);
}

void CDelay::SetSampleRate(double hz)
{
    if (!IsUsableRate(hz))
        return;
    sampleRate_ = hz;
    const int length = static_cast<int>(kLineSeconds * hz);
    lines_ = {}; // first, so that the new ones may lie where they lay
    auto left = std::make_unique<CTapeDelay>(length, 0.0);
    auto right = std::make_unique<CTapeDelay>(length, 0.7);
    // Not quite the same rate, so that the sides drift against each other.
    left->SetModRate(1.0, hz);
    right->SetModRate(0.876, hz);
    lines_ = {std::move(left), std::move(right)};
    SetWet(wet_);
    SetModDepth(modDepth_);
    SetFeedback(feedback_);
    SetTime(kLeft);
    SetTime(kRight);
    OnBothLines([this](CTapeDelay& line) {
        line.EnableLowPass();
        line.EnableHighPass();
        line.SetLowPass(highCutHz_, sampleRate_);
        line.SetHighPass(lowCutHz_, sampleRate_);
    });
    Reset();
}

void CDelay::SetTempo(double bpm)
{
    if (!(bpm >= 0.0) || !std::isfinite(bpm) || bpm == tempo_)
        return;
    tempo_ = std::fabs(bpm); // no -0: the time it gives is infinite, and limited then
    SetTime(kLeft);
    SetTime(kRight);
}

void CDelay::SetEnabled(bool on)
{
    // A host may set the same value over and over: that must not cut the echoes.
    if (on != enabled_)
        Reset();
    enabled_ = on;
}

void CDelay::SetTimeLeft(float value)
{
    times_[kLeft] = Limited(value, 0.0f, 1.0f);
    SetTime(kLeft);
}

void CDelay::SetTimeRight(float value)
{
    times_[kRight] = Limited(value, 0.0f, 1.0f);
    SetTime(kRight);
}

void CDelay::SetTime(ESide side)
{
    if (lines_[side] == nullptr)
        return;
    const int sixteenths = static_cast<int>(times_[side] * kLongestTime) + 1;
    const double echoesPerSecond = tempo_ / (sixteenths * 15.0);
    lines_[side]->SetTime(1.0 / (echoesPerSecond * kLineSeconds));
}

void CDelay::SetFeedback(float value)
{
    feedback_ = Limited(value, 0.0f, 1.0f);
    OnBothLines([this](CTapeDelay& line) { line.SetFeedback(feedback_ * 0.84f); });
}

void CDelay::SetModDepth(float value)
{
    modDepth_ = Limited(value, 0.0f, 1.0f);
    OnBothLines([this](CTapeDelay& line) { line.SetDepth(modDepth_ * modDepth_ * 0.01f); });
}

void CDelay::SetLowCut(float value)
{
    lowCutHz_ = std::exp2(10.0f * Limited(value, 0.0f, 1.0f)) * 10.0f;
    OnBothLines([this](CTapeDelay& line) { line.SetHighPass(lowCutHz_, sampleRate_); });
}

void CDelay::SetHighCut(float value)
{
    highCutHz_ = std::exp2(6.6f * Limited(value, 0.0f, 1.0f)) * 200.0f;
    OnBothLines([this](CTapeDelay& line) { line.SetLowPass(highCutHz_, sampleRate_); });
}

void CDelay::SetWet(float value)
{
    wet_ = Limited(value, 0.0f, 1.0f);
    OnBothLines([this](CTapeDelay& line) { line.SetWet(wet_ * wet_); });
}

void CDelay::TouchMemory()
{
    OnBothLines([](CTapeDelay& line) { line.TouchMemory(); });
}

void CDelay::Reset()
{
    OnBothLines([](CTapeDelay& line) { line.Reset(); });
}

void CDelay::Process(float* left, float* right, int frames)
{
    if (!enabled_ || lines_[kLeft] == nullptr)
        return;
    CTapeDelay& leftLine = *lines_[kLeft];
    CTapeDelay& rightLine = *lines_[kRight];
    while (frames > 0) {
        const int n = std::min({frames, leftLine.StretchLimit(), rightLine.StretchLimit()});
        float leftEcho[kMaxStretch];
        float rightEcho[kMaxStretch];
        leftLine.Play(leftEcho, n);
        rightLine.Play(rightEcho, n);
        CTapeDelay::FilterBoth(leftLine, rightLine, leftEcho, rightEcho, n);
        leftLine.Record(left, leftEcho, n);
        rightLine.Record(right, rightEcho, n);
        for (int i = 0; i < n; ++i) {
            left[i] += leftEcho[i];
            right[i] += rightEcho[i];
        }
        left += n;
        right += n;
        frames -= n;
    }
}

bool CDelay::IsSilent() const
{
    return !enabled_ || lines_[kLeft] == nullptr ||
           (lines_[kLeft]->IsSilent() && lines_[kRight]->IsSilent());
}

void CDelay::PassSilence(int frames)
{
    // Switched off, the lines stand still.
    if (enabled_)
        OnBothLines([frames](CTapeDelay& line) { line.PassSilence(frames); });
}

std::size_t CDelay::MemoryBytes() const
{
    std::size_t bytes = 0;
    for (const auto& line : lines_)
        bytes += line == nullptr ? 0 : line->MemoryBytes();
    return bytes;
}

} // namespace keldra
