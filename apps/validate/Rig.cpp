#include "apps/validate/Rig.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <unistd.h>

namespace keldra::validate {

namespace {

constexpr std::size_t kGuardFrames = 64;
constexpr float kGarbage = 12345678.0f; ///< what outputs hold before a block, and guards always

} // namespace

std::string Number(double value)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.6g", value);
    return text.data();
}

double Sound::Rms() const
{
    double sum = 0.0;
    for (const float sample : left)
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    return left.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(left.size()));
}

double Sound::PitchHz(double sampleRate, double nearly) const
{
    // The first lag at which the signal is nearly as like itself as at its best one: the best may
    // be several periods long.
    constexpr double kLowestHz = 40.0;
    constexpr double kHighestHz = 3000.0;
    const auto least = static_cast<std::size_t>(sampleRate / kHighestHz) + 1;
    const auto most = static_cast<std::size_t>(sampleRate / kLowestHz);
    if (left.size() < 3 * most)
        return 0.0;
    const std::size_t window = 2 * most;
    std::vector<double> likeness(most + 1, 0.0);
    for (std::size_t lag = 0; lag <= most; ++lag)
        for (std::size_t i = 0; i < window; ++i)
            likeness[lag] += static_cast<double>(left[i]) * static_cast<double>(left[i + lag]);
    const double best =
        *std::max_element(likeness.begin() + static_cast<std::ptrdiff_t>(least), likeness.end());
    if (!(best > 0.5 * likeness[0]))
        return 0.0;
    for (std::size_t lag = least; lag < most; ++lag) {
        const double before = likeness[lag - 1];
        const double after = likeness[lag + 1];
        if (likeness[lag] < nearly * best || likeness[lag] < before || likeness[lag] < after)
            continue;
        const double curve = before - 2.0 * likeness[lag] + after;
        const double top = curve < 0.0 ? 0.5 * (before - after) / curve : 0.0;
        return sampleRate / (static_cast<double>(lag) + top);
    }
    return 0.0;
}

CRig::CRig(const Module& module, CReport& report) : report_(report)
{
    report.Step("making an instance");
    std::string error;
    host_ = vst::CVstHost::Create(module, {}, this, error);
    if (!report.Require(host_ != nullptr, error))
        ::_exit(0);
}

bool CRig::IsSynth() const
{
    return (host_->Effect()->flags & vst::effFlagsIsSynth) != 0;
}

void CRig::Midi(int status, int key, int value, int frame)
{
    const std::array<std::uint8_t, 3> message{static_cast<std::uint8_t>(status),
                                              static_cast<std::uint8_t>(key),
                                              static_cast<std::uint8_t>(value)};
    (void)host_->AddMidi(frame, message);
}

Sound CRig::Render(int frames, int block)
{
    const auto channels = static_cast<std::size_t>(host_->OutputCount());
    const auto room = static_cast<std::size_t>(block) + 2 * kGuardFrames;
    std::vector<std::vector<float>> memory(channels, std::vector<float>(room));
    std::vector<float*> outputs;
    for (std::vector<float>& channel : memory)
        outputs.push_back(channel.data() + kGuardFrames);

    // A synthesizer's inputs may be null; an effect is fed with silence.
    std::vector<float> silence(static_cast<std::size_t>(block), 0.0f);
    std::vector<float*> inputs(static_cast<std::size_t>(host_->Effect()->numInputs),
                               silence.data());
    Sound sound;
    for (int done = 0; done < frames;) {
        const int now = std::min(block, frames - done);
        for (std::vector<float>& channel : memory)
            std::fill(channel.begin(), channel.end(), kGarbage);
        host_->Render(outputs.data(), now, inputs.empty() ? nullptr : inputs.data());
        done += now;
        for (std::size_t c = 0; c < channels; ++c)
            for (std::size_t i = 0; i < room; ++i) {
                const float sample = memory[c][i];
                if (i < kGuardFrames || i >= kGuardFrames + static_cast<std::size_t>(now)) {
                    report_.Require(sample == kGarbage, "it writes beside its outputs");
                    continue;
                }
                report_.Require(sample != kGarbage, "it leaves frames of its outputs unwritten");
                report_.Require(std::isfinite(sample), "its sound isn't finite");
                sound.peak = std::fmax(sound.peak, std::fabs(sample));
                sound.subnormals += std::fpclassify(sample) == FP_SUBNORMAL;
                if (c == 0)
                    sound.left.push_back(sample);
            }
    }
    return sound;
}

std::vector<float> CRig::Parameters() const
{
    std::vector<float> values;
    for (int i = 0; i < host_->ParameterCount(); ++i)
        values.push_back(host_->GetParameter(i));
    return values;
}

void CRig::Scramble(unsigned seed)
{
    std::minstd_rand random(seed);
    for (int i = 0; i < host_->ParameterCount(); ++i)
        host_->SetParameter(i, static_cast<float>(random() % 1001) / 1000.0f);
}

} // namespace keldra::validate
