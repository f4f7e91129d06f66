#include "reference/ScalarEffects.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace keldra {

namespace {

constexpr double kPi = 3.14159265358979323846;

float Flushed(float x)
{
    return std::fabs(x) < 1e-9f ? 0.0f : x;
}

/// At a frequency in radians per sample.
double GainOf(const ScalarStage& stage, double omega)
{
    if (!stage.enabled)
        return 1.0;
    const std::complex<double> z = std::polar(1.0, -omega);
    const double sign = stage.sign;
    return std::abs(
        static_cast<double>(stage.b) * (1.0 + 2.0 * sign * z + z * z) /
        (1.0 + static_cast<double>(stage.a1) * z + static_cast<double>(stage.a2) * z * z));
}

} // namespace

void ScalarStage::Set(float hz, float q, double rate)
{
    const auto fs = static_cast<float>(rate);
    hz = std::min(std::max(hz, 10.0f), fs / 2.1f);
    const float w = std::max(6.2831853f * hz / fs, 5e-4f);
    if (w < 0.5f * omega) { // a far lower cut takes no slope on
        x2 = x1;
        y2 = y1;
    }
    omega = w;
    const float sn = std::sin(w);
    const float cs = std::cos(w);
    b = Flushed((1.0f - sign * cs) / (sn / q + 2.0f));
    a1 = Flushed(-2.0f * q * cs / (q + sn));
    a2 = Flushed((q - sn) / (q + sn));
}

float ScalarStage::Process(float x)
{
    x = Flushed(x);
    const float y = Flushed((x + sign * 2.0f * x1 + x2) * b - a1 * y1 - a2 * y2);
    x2 = x1;
    x1 = x;
    y2 = y1;
    y1 = y;
    return y;
}

ScalarTapeDelay::ScalarTapeDelay(int length, double startHead)
    : length_(length < 5 ? 4 : length), startHead_(startHead)
{
    highPass.sign = -1.0f;
    minSpeed_ = 1.0 / length_;
    SetTime(0.5);
    Reset();
}

void ScalarTapeDelay::Reset()
{
    wetSmoothed_ = 0.0f;
    head_ = startHead_;
    speed_ = targetSpeed_;
    lfoPhase_ = 0.0;
    for (Buffer& buffer : buffers_) {
        buffer.samples.assign(static_cast<std::size_t>(length_) + 256, 0.0f);
        buffer.places.assign(static_cast<std::size_t>(length_) + 256, 0.0);
        buffer.count = buffer.read = 0;
    }
    for (ScalarStage* stage : {&lowPass, &highPass})
        stage->x1 = stage->x2 = stage->y1 = stage->y2 = 0.0f;
}

void ScalarTapeDelay::SetTime(double fraction)
{
    fraction = std::min(std::max(fraction, 0.0), 0.99);
    targetSpeed_ = 1.0 / ((length_ - 2) * fraction + 2);
}

void ScalarTapeDelay::SetFeedback(float feedback)
{
    double highest = 0.0;
    for (int i = 0; i <= 2000; ++i) {
        const double omega = kPi * std::pow(10.0, -5.0 * i / 2000.0);
        highest = std::max(highest, GainOf(lowPass, omega) * GainOf(highPass, omega));
    }
    feedback_ = std::min(feedback, static_cast<float>(0.99 / highest));
}

float ScalarTapeDelay::Read()
{
    Buffer& buffer = *read_;
    if (buffer.count == 0)
        return 0.0f;
    for (int i = buffer.read; i <= buffer.count; ++i) {
        const auto at = static_cast<std::size_t>(kFirst + i);
        if (buffer.places[at] < head_)
            continue;
        buffer.read = i;
        const double span = buffer.places[at] - buffer.places[at - 1];
        const auto fraction =
            span > 0.0 ? static_cast<float>((head_ - buffer.places[at - 1]) / span) : 0.0f;
        return buffer.samples[at - 1] + (buffer.samples[at] - buffer.samples[at - 1]) * fraction;
    }
    return 0.0f;
}

float ScalarTapeDelay::Process(float x)
{
    x = Flushed(x);
    const double tri = lfoPhase_ < 0.5 ? 2.0 * lfoPhase_ : 1.0 - 2.0 * (lfoPhase_ - 0.5);
    const double shaped = tri * (3.0 - 2.0 * tri) * tri;
    const double m = std::max(1.0, 1.0 + shaped * static_cast<double>(depth));
    lfoPhase_ += lfoIncrement;
    lfoPhase_ -= std::floor(lfoPhase_);

    float y = Flushed(Read());
    if (lowPass.enabled)
        y = lowPass.Process(y);
    if (highPass.enabled)
        y = highPass.Process(y);

    const float g = wetSmoothed_;
    const float w = x + y * feedback_;
    head_ += std::max(minSpeed_, std::min(0.2, m * speed_));
    const auto append = [&] {
        const auto at = static_cast<std::size_t>(kFirst + write_->count);
        write_->samples[at] = w;
        write_->places[at] = head_;
    };
    if (head_ >= 1.0) {
        for (int i = 1; i <= 3; ++i) {
            const auto from = static_cast<std::size_t>(kFirst + read_->count - i);
            const auto to = static_cast<std::size_t>(kFirst - i);
            write_->samples[to] = read_->samples[from];
            write_->places[to] = read_->places[from] - 1.0;
        }
        append();
        write_->read = 0;
        head_ -= 1.0;
        std::swap(write_, read_);
        write_->count = 0;
    }
    append();
    ++write_->count;

    wetSmoothed_ = Flushed(wetSmoothed_ + (wet - wetSmoothed_) * 0.01f);
    speed_ += (targetSpeed_ - speed_) * 0.005;
    return g * y;
}

ScalarEffects::Shelf::Shelf(double rate)
{
    const float A = std::pow(10.0f, 5.0f / 20.0f);
    const float w = std::min(6.283185f * 12000.0f / static_cast<float>(rate), 3.0f);
    const float sn = std::sin(w);
    const float cs = std::cos(w);
    const float alpha = sn * std::sinh(0.3465736f * 0.99f * w / sn);
    const float root = 2.0f * std::sqrt(A) * alpha;
    const float a0 = (A + 1.0f) - (A - 1.0f) * cs + root;
    b0 = Flushed(A * ((A + 1.0f) + (A - 1.0f) * cs + root) / a0);
    b1 = Flushed(-2.0f * A * ((A - 1.0f) + (A + 1.0f) * cs) / a0);
    b2 = Flushed(A * ((A + 1.0f) + (A - 1.0f) * cs - root) / a0);
    a1 = Flushed(2.0f * ((A - 1.0f) - (A + 1.0f) * cs) / a0);
    a2 = Flushed(((A + 1.0f) - (A - 1.0f) * cs - root) / a0);
}

float ScalarEffects::Shelf::Process(float x)
{
    x = Flushed(x);
    const float y = Flushed(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
    x2 = x1;
    x1 = x;
    y2 = y1;
    y1 = y;
    return y;
}

ScalarEffects::ScalarEffects(double rate) : rate_(rate), shelfLeft_(rate), shelfRight_(rate)
{
    const double seconds = 0.02f;
    for (const auto& [length, startHead] : {std::pair{seconds * rate * 1.1, 0.0},
                                            {seconds * rate * 0.854, 0.467},
                                            {seconds * rate, 0.778}})
        chorus_.push_back(std::make_unique<ScalarTapeDelay>(static_cast<int>(length), startHead));
    for (const double startHead : {0.0, 0.7})
        delay_.push_back(
            std::make_unique<ScalarTapeDelay>(static_cast<int>(2.0 * rate), startHead));
    Follow({}, 120.0);
    for (const auto& line : delay_) {
        line->lowPass.enabled = line->highPass.enabled = true;
        line->Reset();
    }
}

void ScalarEffects::Reset()
{
    shelfLeft_ = shelfRight_ = Shelf(rate_);
    for (const auto* lines : {&chorus_, &delay_})
        for (const auto& line : *lines)
            line->Reset();
}

void ScalarEffects::Follow(const ScalarEffectSettings& settings, double tempo)
{
    if (settings.delayOn != settings_.delayOn)
        for (const auto& line : delay_)
            line->Reset();
    settings_ = settings;

    const float times[] = {settings.timeLeft, settings.timeRight};
    const double modRates[] = {1.0, 0.876};
    for (std::size_t i = 0; i < 2; ++i) {
        ScalarTapeDelay& line = *delay_[i];
        const int k = static_cast<int>(times[i] * 7.0f);
        line.SetTime(2.0 / ((tempo / ((k + 1) * 15)) * 4.0));
        line.lfoIncrement = modRates[i] / rate_;
        line.depth = settings.modDepth * settings.modDepth * 0.01f;
        line.wet = settings.delayWet * settings.delayWet;
        line.highPass.Set(std::exp2(10.0f * settings.lowCut) * 10.0f, 1.0f, rate_);
        line.lowPass.Set(std::exp2(6.6f * settings.highCut) * 200.0f, 1.0f, rate_);
        line.SetFeedback(settings.feedback * 0.84f);
    }

    const double rate = static_cast<double>(settings.chorusRate) * 5.0 + 0.1;
    const double ratios[] = {0.896, 1.0, 0.689};
    for (std::size_t i = 0; i < 3; ++i) {
        ScalarTapeDelay& line = *chorus_[i];
        line.lfoIncrement = rate * ratios[i] / rate_;
        line.depth = settings.chorusDepth * settings.chorusDepth * settings.chorusDepth;
        line.wet = settings.chorusWet;
    }
}

void ScalarEffects::Process(float* left, float* right, int frames)
{
    for (int i = 0; i < frames; ++i) {
        left[i] = shelfLeft_.Process(left[i]);
        right[i] = shelfRight_.Process(right[i]);
    }
    for (int i = 0; i < frames && settings_.chorusOn; ++i) {
        const float m = left[i] + right[i];
        const float a = chorus_[0]->Process(m);
        const float e = chorus_[2]->Process(m);
        const float b = chorus_[1]->Process(m);
        left[i] += a + b;
        right[i] += b + e;
    }
    for (int i = 0; i < frames && settings_.delayOn; ++i) {
        left[i] += delay_[0]->Process(left[i]);
        right[i] += delay_[1]->Process(right[i]);
    }
}

} // namespace keldra
