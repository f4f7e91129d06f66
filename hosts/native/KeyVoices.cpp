#include "hosts/native/KeyVoices.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/Numbers.h"

namespace keldra::native {

namespace {

constexpr double kSemitonesPerCent = 0.01;
constexpr double kPitchZeroKey = 60.0; ///< that a current pitch of 0 cents stands for

// Far beyond what can be heard to differ: a voice's filter is at its end, its pitch at the highest
// that can be rendered.
constexpr float kMostGain = 16.0f;
constexpr double kMostSemitones = 256.0;
constexpr float kMostOffset = 16.0f;

/// @return 0 for NaN: neither a gain nor an offset
float Limited(float value, float most)
{
    return std::isnan(value) ? 0.0f : std::clamp(value, -most, most);
}

} // namespace

int KeyOf(const HostVoice& voice)
{
    const double semitones = static_cast<double>(voice.initialPitch) * kSemitonesPerCent;
    return std::clamp(TruncateToInt(semitones), 0, kKeyCount - 1);
}

int VelocityOf(const HostVoice& voice)
{
    // Volumes are gains, velocities are nearer to loudness.
    const double loudness = std::log(1.0 + 10.0 * static_cast<double>(voice.initialVolume));
    return std::clamp(TruncateToInt(127.0 * (loudness / std::log(21.0))), 0, 127);
}

void CKeyVoices::Keep(int key, const HostVoice& voice, VoiceTag tag)
{
    kept_[static_cast<std::size_t>(key)] = {&voice, tag};
}

void CKeyVoices::Forget(int key)
{
    kept_[static_cast<std::size_t>(key)] = {};
}

std::optional<VoiceTag> CKeyVoices::TagOf(int key) const
{
    const Kept& kept = kept_[static_cast<std::size_t>(key)];
    return kept.voice != nullptr ? std::optional(kept.tag) : std::nullopt;
}

/// By value: the host may do away with its record while it is asked.
CKeyVoices::Values CKeyVoices::ValuesOf(HostVoice voice, int key, CDornoHost& host)
{
    const auto [left, right] = host.ComputeGains(voice.pan, voice.volume);
    const double semitones =
        static_cast<double>(voice.pitch) * kSemitonesPerCent + kPitchZeroKey - key;
    return {Limited(left, kMostGain), Limited(right, kMostGain),
            std::isnan(semitones)
                ? 0.0f
                : static_cast<float>(std::clamp(semitones, -kMostSemitones, kMostSemitones)),
            Limited(voice.cutoffOffset, kMostOffset), Limited(voice.resonanceOffset, kMostOffset)};
}

void CKeyVoices::Read(CDornoHost& host)
{
    Values current;
    bool anyBelow = false;
    for (std::size_t key = 0; key < values_.size(); ++key) {
        if (const HostVoice* const voice = kept_[key].voice) {
            current = ValuesOf(*voice, static_cast<int>(key), host);
            if (!anyBelow)
                std::fill_n(values_.begin(), key, current);
            anyBelow = true;
        }
        values_[key] = current;
    }
}

void CKeyVoices::WriteTo(KeyTables& tables) const
{
    for (std::size_t key = 0; key < values_.size(); ++key) {
        tables.leftGain[key] = values_[key].leftGain;
        tables.rightGain[key] = values_[key].rightGain;
        tables.pitchOffset[key] = values_[key].pitchOffset;
        tables.cutoffOffset[key] = values_[key].cutoffOffset;
        tables.resonanceOffset[key] = values_[key].resonanceOffset;
    }
}

} // namespace keldra::native
