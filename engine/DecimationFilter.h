#pragma once

#include <array>

namespace keldra {

/// Brings two channels from eight times the host rate down to it: a second-order low-pass with its
/// corner at a third of the host rate, of whose output every eighth sample is kept.
/// The thread that has the engine.
class CDecimationFilter {
public:
    static constexpr int kFactor = 8;
    static constexpr int kMaxFrames = 64; ///< of one call

    CDecimationFilter();

    void Reset(); ///< silence

    /// @param left, right  kFactor x frames samples
    /// @param leftOut, rightOut  `frames` samples, overwritten
    /// @param frames  0 .. kMaxFrames
    void Process(const float* left, const float* right, float* leftOut, float* rightOut,
                 int frames);

private:
    static constexpr int kChannels = 2;
    using Taps = std::array<float, kFactor>;
    /// Both channels' state, the two delays of a transposed second-order section: left and right
    /// first delay, left and right second delay.
    using State = std::array<float, 2 * kChannels>;

    // How eight samples and the state before them make the state after them.
    Taps toFirst_{};    ///< weights of the samples in the first delay
    Taps toSecond_{};   ///< and in the second
    State keep_{};      ///< weight of each delay in itself
    State cross_{};     ///< weight of the other delay
    float last_ = 0.0f; ///< weights of the last sample and the second delay in the output
    float second_ = 0.0f;
    State state_{};
};

} // namespace keldra
