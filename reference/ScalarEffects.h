#pragma once

#include <memory>
#include <vector>

namespace keldra {

/// A filter stage of a tape line's loop.
struct ScalarStage {
    bool enabled = false;
    float sign = 1.0f; ///< +1 low-pass, -1 high-pass
    float omega = 0.0f;
    float b = 0, a1 = 0, a2 = 0;
    float x1 = 0, x2 = 0, y1 = 0, y2 = 0;

    void Set(float hz, float q, double rate); ///< the kind is as sign says
    float Process(float x);
};

/// A tape line a sample at a time, with a buffer for the lap that is laid and one for the lap that
/// is read. Nothing fades into silence by itself, everything else is as in the real one.
class ScalarTapeDelay {
public:
    ScalarTapeDelay(int length, double startHead);
    void Reset();
    void SetTime(double fraction);
    /// The feedback that the loop bears, by a search over the frequencies.
    void SetFeedback(float feedback);
    float Process(float x);

    ScalarStage lowPass, highPass;
    double lfoIncrement = 0.0;
    float wet = 1.0f;
    float depth = 0.0f;

private:
    struct Buffer {
        std::vector<float> samples;
        std::vector<double> places;
        int count = 0;
        int read = 0;
    };
    static constexpr int kFirst = 10; ///< entry of a lap's first sample
    float Read();

    int length_;
    double startHead_;
    Buffer buffers_[2];
    Buffer* write_ = &buffers_[0];
    Buffer* read_ = &buffers_[1];
    double lfoPhase_ = 0.0;
    double targetSpeed_ = 0.0, speed_ = 0.0, minSpeed_ = 0.0;
    double head_ = 0.0;
    float wetSmoothed_ = 0.0f;
    float feedback_ = 0.0f;
};

/// The settings of both effects as stored, 0 .. 1.
struct ScalarEffectSettings {
    bool delayOn = false, chorusOn = false;
    float timeLeft = 0.5f, timeRight = 0.5f, feedback = 0, modDepth = 0;
    float lowCut = 0, highCut = 1, delayWet = 0;
    float chorusRate = 0, chorusDepth = 0, chorusWet = 0;
};

/// Shelf, chorus and delay.
class ScalarEffects {
public:
    explicit ScalarEffects(double rate);
    void Reset();
    void Follow(const ScalarEffectSettings& settings, double tempo);
    void Process(float* left, float* right, int frames);

private:
    struct Shelf {
        float b0, b1, b2, a1, a2;
        float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        explicit Shelf(double rate);
        float Process(float x);
    };

    double rate_;
    Shelf shelfLeft_, shelfRight_;
    std::vector<std::unique_ptr<ScalarTapeDelay>> chorus_; ///< left, both, right
    std::vector<std::unique_ptr<ScalarTapeDelay>> delay_;  ///< left, right
    ScalarEffectSettings settings_;
};

} // namespace keldra
