#include "effects/TapeDelay.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace keldra {

namespace {

constexpr double kHighestLoopGain = 0.99;
constexpr float kWetGlide = 0.01f; ///< of the wet gain's way to its target, a sample

int LongestLap(int length)
{
    return length < 5 ? 4 : length;
}

/// Radians per sample of a cutoff frequency, limited.
float CutoffOmega(float hz, double sampleRate)
{
    const auto rate = static_cast<float>(sampleRate);
    const float omega = 6.2831853f * Limited(hz, 10.0f, rate / 2.1f) / rate;
    return std::fmax(omega, kLowestOmega);
}

/// The state holds a slope that the cut before left. A far lower one would take it on for long, and
/// far: a thump many times louder than the sound.
void ForgetSlope(FilterStage<float>& stage, float omegaBefore, float omega)
{
    if (omega < 0.5f * omegaBefore) {
        stage.x2 = stage.x1;
        stage.y2 = stage.y1;
    }
}

} // namespace

CTapeDelay::CTapeDelay(int length, double startHead)
    : tape_(LongestLap(length), startHead), length_(LongestLap(length))
{
    motor_.minSpeed = 1.0 / length_;
    SetTime(0.5);
    SetLowPass(1000.0f, 44100.0);
    SetHighPass(1000.0f, 44100.0);
    Reset();
}

void CTapeDelay::SetTime(double fraction)
{
    motor_.targetSpeed = 1.0 / ((length_ - 2) * Limited(fraction, 0.0, 0.99) + 2.0);
}

void CTapeDelay::SetFeedback(float gain)
{
    feedback_ = Limited(gain, 0.0f, 1.0f);
    UpdateLoop();
}

void CTapeDelay::SetWet(float gain)
{
    wet_ = Limited(gain, 0.0f, 1.0f);
}

void CTapeDelay::SetDepth(float depth)
{
    motor_.depth = static_cast<double>(Limited(depth, 0.0f, 1.0f));
}

void CTapeDelay::SetModRate(double hz, double sampleRate)
{
    // Whole cycles a sample are no movement: taken off here, so that the motor looks for one only.
    const double cycles = Limited(hz / sampleRate, 0.0, 1e6);
    motor_.lfoIncrement = cycles - std::floor(cycles);
}

void CTapeDelay::SetLowPass(float hz, double sampleRate)
{
    const float omega = CutoffOmega(hz, sampleRate);
    if (omega == lowPassOmega_)
        return;
    ForgetSlope(lowPass_, lowPassOmega_, omega);
    lowPassOmega_ = omega;
    keldra::SetLowPass(lowPass_, omega);
    UpdateLoop();
}

void CTapeDelay::SetHighPass(float hz, double sampleRate)
{
    const float omega = CutoffOmega(hz, sampleRate);
    if (omega == highPassOmega_)
        return;
    ForgetSlope(highPass_, highPassOmega_, omega);
    highPassOmega_ = omega;
    keldra::SetHighPass(highPass_, omega);
    UpdateLoop();
}

void CTapeDelay::EnableLowPass()
{
    if (lowPassIsOn_)
        return;
    lowPassIsOn_ = true;
    lowPass_.Clear();
    UpdateLoop();
}

void CTapeDelay::EnableHighPass()
{
    if (highPassIsOn_)
        return;
    highPassIsOn_ = true;
    highPass_.Clear();
    UpdateLoop();
}

/// What hangs on the enabled stages: how much feedback the loop bears, and what counts as silence.
void CTapeDelay::UpdateLoop()
{
    // With s a frequency and w the cutoff frequency, both as tan(omega / 2), the stages are, by the
    // bilinear transform that they come from,
    //     low-pass   bandGain / (1 + (s / w)^2)      high-pass  bandGain / (1 + (w / s)^2)
    // in magnitude. Alone, each is loudest at its end of the spectrum. Their product is loudest at
    // the geometric mean of both cutoff frequencies, where either is down to 1 / (1 + wHigh /
    // wLow).
    double peakGain = 1.0;
    double lowestOmega = 0.0;
    if (highPassIsOn_) {
        peakGain *= BandGain(highPassOmega_);
        lowestOmega = highPassOmega_;
    }
    if (lowPassIsOn_) {
        peakGain *= BandGain(lowPassOmega_);
        lowestOmega = highPassIsOn_ ? std::fmin(lowestOmega, lowPassOmega_) : lowPassOmega_;
    }
    if (lowPassIsOn_ && highPassIsOn_) {
        const double ratio = std::tan(0.5 * static_cast<double>(highPassOmega_)) /
                             std::tan(0.5 * static_cast<double>(lowPassOmega_));
        peakGain /= (1.0 + ratio) * (1.0 + ratio);
    }
    loopFeedback_ = std::fmin(feedback_, static_cast<float>(kHighestLoopGain / peakGain));

    // To make 0 of what is below kSilence is itself a disturbance. A stage prolongs it by its
    // poles, to about 1 / omega samples: a wave of its cutoff frequency that is weaker than
    // kSilence / omega stays at 0 for more than a sample whenever it crosses it. The loop keeps
    // what comes of that for 1 / (1 - gain) laps. Left alone, very soft echoes would feed on it and
    // murmur for ever.
    const double loopGain = static_cast<double>(loopFeedback_) * peakGain;
    const double prolonged = lowestOmega > 0.0 ? 1.0 / lowestOmega + 1.0 / (1.0 - loopGain) : 0.0;
    inaudible_ = static_cast<float>(kSilence * prolonged);
}

void CTapeDelay::Reset()
{
    tape_.Erase();
    lowPass_.Clear();
    highPass_.Clear();
    motor_.speed = motor_.targetSpeed;
    motor_.lfoPhase = 0.0;
    wetSmoothed_ = 0.0f;
}

float CTapeDelay::Process(float x)
{
    float sample = 0.0f;
    Play(&sample, 1);
    Filter(&sample, 1);
    Record(&x, &sample, 1);
    return sample;
}

void CTapeDelay::Play(float* echo, int samples)
{
    tape_.Play(motor_, echo, samples);
    for (int i = 0; i < samples; ++i)
        echo[i] = WithoutTiny(echo[i]);
}

void CTapeDelay::Filter(float* echo, int samples)
{
    if (lowPassIsOn_)
        for (int i = 0; i < samples; ++i)
            echo[i] = lowPass_.Process(echo[i]);
    if (highPassIsOn_)
        for (int i = 0; i < samples; ++i)
            echo[i] = highPass_.Process(echo[i]);
}

void CTapeDelay::FilterBoth(CTapeDelay& left, CTapeDelay& right, float* leftEcho, float* rightEcho,
                            int samples)
{
    FilterStage<Stereo> lowPass = Joined(left.lowPass_, right.lowPass_);
    FilterStage<Stereo> highPass = Joined(left.highPass_, right.highPass_);
    const bool lowPassIsOn = left.lowPassIsOn_;
    const bool highPassIsOn = left.highPassIsOn_;
    for (int i = 0; i < samples; ++i) {
        Stereo echo{leftEcho[i], rightEcho[i], 0.0f, 0.0f};
        if (lowPassIsOn)
            echo = lowPass.Process(echo);
        if (highPassIsOn)
            echo = highPass.Process(echo);
        leftEcho[i] = echo[0];
        rightEcho[i] = echo[1];
    }
    Split(lowPass, left.lowPass_, right.lowPass_);
    Split(highPass, left.highPass_, right.highPass_);
}

float CTapeDelay::NextWet(float smoothed) const
{
    return WithoutTiny(smoothed + (wet_ - smoothed) * kWetGlide);
}

void CTapeDelay::Record(const float* input, float* echo, int samples)
{
    float written[kMaxStretch];
    int audible = 0;
    for (int i = 0; i < samples; ++i) {
        written[i] = SaneInput(input[i]) + echo[i] * loopFeedback_;
        // The echoes too: without feedback only they show that a stage still rings.
        audible |= static_cast<int>(Magnitude(written[i]) > inaudible_);
        audible |= static_cast<int>(Magnitude(echo[i]) > inaudible_);
    }
    tape_.Record(written, samples, audible != 0);
    if (tape_.IsMute()) {
        lowPass_.Clear();
        highPass_.Clear();
    }

    if (NextWet(wetSmoothed_) == wetSmoothed_) { // settled: no sample depends on the one before
        for (int i = 0; i < samples; ++i)
            echo[i] = wetSmoothed_ * echo[i];
        return;
    }
    for (int i = 0; i < samples; ++i) {
        echo[i] = wetSmoothed_ * echo[i];
        wetSmoothed_ = NextWet(wetSmoothed_);
    }
}

void CTapeDelay::PassSilence(int samples)
{
    tape_.PassSilence();
    // Nobody hears speed and wet glide, but how far they have come when the sound begins.
    if (motor_.speed != motor_.targetSpeed)
        motor_.speed = motor_.targetSpeed + (motor_.speed - motor_.targetSpeed) *
                                                std::pow(1.0 - TapeMotor::kGlide, samples);
    if (NextWet(wetSmoothed_) != wetSmoothed_)
        wetSmoothed_ =
            wet_ + (wetSmoothed_ - wet_) * static_cast<float>(std::pow(1.0 - kWetGlide, samples));
    const double phase = motor_.lfoPhase + samples * motor_.lfoIncrement;
    motor_.lfoPhase = phase - static_cast<double>(static_cast<std::int64_t>(phase));
}

} // namespace keldra
