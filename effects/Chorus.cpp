#include "effects/Chorus.h"

#include <algorithm>

#include "effects/Sample.h"

namespace keldra {

namespace {

/// The lines differ in length, in where they start and in the rate of their movement, so that
/// they never run in step.
struct LineRow {
    double length; ///< of kLineSeconds
    double startHead;
    double modRate; ///< of the chorus rate
};
constexpr LineRow kLines[] = {
    {1.1, 0.0, 0.896},   // left
    {0.854, 0.467, 1.0}, // both sides
    {1.0, 0.778, 0.689}, // right
};
constexpr double kLineSeconds = 0.02f; // single precision, which decides some lengths

void Run(CTapeDelay& line, const float* input, float* output, int samples)
{
    line.Play(output, samples);
    line.Record(input, output, samples);
}

} // namespace

template <typename Operation>
void CChorus::OnEachLine(Operation operation)
{
    for (const auto& line : lines_)
        if (line != nullptr)
            operation(*line);
}

void CChorus::SetSampleRate(double hz)
{
    if (!IsUsableRate(hz))
        return;
    sampleRate_ = hz;
    decltype(lines_) lines;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const int length = static_cast<int>(kLineSeconds * hz * kLines[i].length);
        lines[i] = std::make_unique<CTapeDelay>(length, kLines[i].startHead);
    }
    lines_ = std::move(lines);
    SetWet(wet_);
    SetRate(rate_);
    SetDepth(depth_);
    Reset();
}

void CChorus::SetEnabled(bool on)
{
    enabled_ = on;
}

void CChorus::SetRate(float value)
{
    rate_ = Limited(value, 0.0f, 1.0f);
    const double hz = static_cast<double>(rate_) * 5.0 + 0.1;
    for (std::size_t i = 0; i < lines_.size(); ++i)
        if (lines_[i] != nullptr)
            lines_[i]->SetModRate(hz * kLines[i].modRate, sampleRate_);
}

void CChorus::SetDepth(float value)
{
    depth_ = Limited(value, 0.0f, 1.0f);
    OnEachLine([this](CTapeDelay& line) { line.SetDepth(depth_ * depth_ * depth_); });
}

void CChorus::SetWet(float value)
{
    wet_ = Limited(value, 0.0f, 1.0f);
    OnEachLine([this](CTapeDelay& line) { line.SetWet(wet_); });
}

void CChorus::TouchMemory()
{
    OnEachLine([](CTapeDelay& line) { line.TouchMemory(); });
}

void CChorus::Reset()
{
    OnEachLine([](CTapeDelay& line) { line.Reset(); });
}

void CChorus::Process(float* left, float* right, int frames)
{
    if (!enabled_ || lines_[0] == nullptr)
        return;
    while (frames > 0) {
        const int n = std::min({frames, lines_[0]->StretchLimit(), lines_[1]->StretchLimit(),
                                lines_[2]->StretchLimit()});
        float mono[kMaxStretch];
        for (int i = 0; i < n; ++i)
            mono[i] = left[i] + right[i];
        float toLeft[kMaxStretch];
        float toBoth[kMaxStretch];
        float toRight[kMaxStretch];
        Run(*lines_[0], mono, toLeft, n);
        Run(*lines_[1], mono, toBoth, n);
        Run(*lines_[2], mono, toRight, n);
        for (int i = 0; i < n; ++i) {
            left[i] += toLeft[i] + toBoth[i];
            right[i] += toBoth[i] + toRight[i];
        }
        left += n;
        right += n;
        frames -= n;
    }
}

bool CChorus::IsSilent() const
{
    if (!enabled_)
        return true;
    for (const auto& line : lines_)
        if (line != nullptr && !line->IsSilent())
            return false;
    return true;
}

void CChorus::PassSilence(int frames)
{
    // Switched off, the lines stand still.
    if (enabled_)
        OnEachLine([frames](CTapeDelay& line) { line.PassSilence(frames); });
}

std::size_t CChorus::MemoryBytes() const
{
    std::size_t bytes = 0;
    for (const auto& line : lines_)
        bytes += line == nullptr ? 0 : line->MemoryBytes();
    return bytes;
}

} // namespace keldra
