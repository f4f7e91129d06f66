#pragma once

#include <memory>

namespace keldra {

/// Audio between a host and the engine: float samples, channel after channel.
/// Processing thread; `Allocate` on whatever thread constructs the owner.
class AudioBlock {
public:
    /// Room for `frames` per channel, zeroed. Nothing happens when it has that shape already;
    /// a count below 1 leaves it empty, and so does memory that isn't there.
    void Allocate(int channels, int frames);

    /// Samples of a channel, or null outside 0 .. channel count - 1.
    [[nodiscard]] float* Channel(int index) const;

    /// Frames that count in the current call: limited to 1 .. capacity.
    void SetFrameCount(int frames);
    void ClearAll(); ///< 0.0 in the counting frames of every channel

    [[nodiscard]] int FrameCount() const { return frameCount_; }
    [[nodiscard]] int ChannelCount() const { return channelCount_; }
    [[nodiscard]] int Capacity() const { return stride_ > 0 ? stride_ - kPadding : 0; }

private:
    static constexpr int kPadding = 4; // a vector loop may read past the last frame

    std::unique_ptr<float[]> samples_;
    int channelCount_ = 0;
    int frameCount_ = 0;
    int stride_ = 0;
};

} // namespace keldra
