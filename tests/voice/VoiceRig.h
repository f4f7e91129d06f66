#pragma once

#include <memory>
#include <vector>

#include "reference/ScalarVoice.h"
#include "voice/VoiceGenerator.h"

namespace keldra {

struct VoiceKernel;

/// Left and right at the internal rate.
struct StereoSound {
    std::vector<float> left, right;

    void Append(const StereoSound& more);
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

    // In blocks of various lengths
    StereoSound Render(int samples); ///< by the kernel that is loaded
    StereoSound RenderWith(const VoiceKernel& kernel, int samples);
    StereoSound RenderTwins(int samples);

    int Samples(double seconds) const { return static_cast<int>(seconds * patch.internalRate); }

private:
    void FollowLfo();

    KeyTables twinKeys_;
    VoicePatch twinPatch_;
    ScalarRandom random_;
    std::vector<std::unique_ptr<KeldraGenerator>> voices_;
    std::vector<std::unique_ptr<ScalarVoice>> twins_;
};

/// Of the difference, relative to `truth`.
[[nodiscard]] double ErrorDb(const StereoSound& sound, const StereoSound& truth);

} // namespace keldra
