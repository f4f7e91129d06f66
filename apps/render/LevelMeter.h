#pragma once

#include <memory>
#include <span>

namespace keldra::render {

/// Peak and loudness of a stereo signal.
class CLevelMeter {
public:
    explicit CLevelMeter(int sampleRate); ///< Hz, 8000 .. 384000
    ~CLevelMeter();

    /// @param frames  interleaved: left, right, left, ..
    void Add(std::span<const float> frames);

    [[nodiscard]] float Peak() const { return peak_; } ///< greatest magnitude of a sample
    [[nodiscard]] double PeakDb() const;               ///< relative to full scale; -inf: silence
    /// Integrated loudness (EBU R 128) in LUFS; -inf when it is silent or shorter than 0.4 s.
    [[nodiscard]] double LoudnessDb() const;

private:
    struct Loudness;

    float peak_ = 0.0f;
    std::unique_ptr<Loudness> loudness_;
};

} // namespace keldra::render
