#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "tests/reference/ScalarVoice.h"
#include "voice/VoiceGenerator.h"

namespace keldra {

struct VoiceKernel;

/// Left and right at the internal rate.
struct StereoSound {
    std::vector<float> left, right;
};

/// A patch and some voices, driven as an engine drives them but without smoothing or decimation,
/// and their scalar twins, which are given the same notes. The random sequences start anew with
/// each rig.
class CVoiceRig {
public:
    explicit CVoiceRig(double hostRate = 44100.0, int voiceCount = 4);

    VoicePatch patch; ///< what the voices read, and at each rendering their twins too
    KeyTables keys;
    ScalarLfo lfo; ///< the LFO's settings for both

    void Set(SmoothedValue& value, float target);
    void Start(int voice, int key, float velocity = 1.0f);
    void Release(int voice);
    /// Frees a voice at once, as a change of the sample rate does.
    void Reset(int voice);

    KeldraGenerator& Voice(int index) { return *voices_[static_cast<std::size_t>(index)]; }
    ScalarVoice& Twin(int index) { return *twins_[static_cast<std::size_t>(index)]; }

    /// Prepares and renders blocks of at most `block` samples.
    StereoSound Render(int samples, int block = kMaxBlockSamples);
    StereoSound RenderWith(const VoiceKernel& kernel, std::span<const int> blocks);
    StereoSound RenderTwins(std::span<const int> blocks);

    double InternalRate() const { return patch.internalRate; }
    int Samples(double seconds) const { return static_cast<int>(seconds * patch.internalRate); }

private:
    void FollowLfo();

    KeyTables twinKeys_;
    VoicePatch twinPatch_;
    ScalarRandom random_;
    std::vector<std::unique_ptr<KeldraGenerator>> voices_;
    std::vector<std::unique_ptr<ScalarVoice>> twins_;
};

/// Blocks of the given lengths, over and over, that make up so many samples.
[[nodiscard]] std::vector<int> Divided(int samples, std::span<const int> lengths);

// --- Measuring ---

[[nodiscard]] double Rms(std::span<const float> sound);
/// Of the difference, relative to `truth`.
[[nodiscard]] double ErrorDb(const StereoSound& sound, const StereoSound& truth);
/// Amplitude of the part at one frequency; whole periods measure best.
[[nodiscard]] double AmplitudeAt(std::span<const float> sound, double hz, double rate);
/// The pitch of a sound that crosses its own mean upwards once a period.
[[nodiscard]] double FrequencyOf(std::span<const float> sound, double rate);
[[nodiscard]] double Decibels(double ratio);
[[nodiscard]] bool IsFinite(std::span<const float> sound);

} // namespace keldra
