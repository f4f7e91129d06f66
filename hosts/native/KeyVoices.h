#pragma once

#include <array>
#include <optional>

#include "frame/PluginRenderer.h"
#include "hosts/native/DornoHost.h"

namespace keldra::native {

/// The host's voices, one a key at most, and what they say for every key of the engine. The records
/// are the host's memory: they are read while they are kept, and only then. Processing thread.
class CKeyVoices {
public:
    /// Keeps the record and tag of a key instead of those it had.
    void Keep(int key, const HostVoice& voice, VoiceTag tag);
    void Forget(int key); ///< the record isn't read any more
    [[nodiscard]] std::optional<VoiceTag> TagOf(int key) const;

    /// Reads all kept voices. Each key takes the values of the nearest voice at or below it, those
    /// below the lowest voice take that one's; without a voice all are 0. With nothing held: the
    /// host is asked for the gains.
    void Read(CDornoHost& host);
    /// Hands on what was read last. The thread that has the engine.
    void WriteTo(KeyTables& tables) const;

private:
    struct Kept {
        const HostVoice* voice = nullptr; ///< null: none on this key
        VoiceTag tag = 0;
    };
    /// All finite and of a size that the engine can do something with.
    struct Values {
        float leftGain = 0.0f;
        float rightGain = 0.0f;
        float pitchOffset = 0.0f; ///< semitones
        float cutoffOffset = 0.0f;
        float resonanceOffset = 0.0f;
    };
    static Values ValuesOf(HostVoice voice, int key, CDornoHost& host);

    std::array<Kept, kKeyCount> kept_;
    std::array<Values, kKeyCount> values_;
};

/// The key that a voice is to sound on. @return 0 .. 127
[[nodiscard]] int KeyOf(const HostVoice& voice);
/// How hard it is struck: 28 for a volume of 0.1, 74 for 0.5, 100 for 1, 127 for 2. @return 0 ..
/// 127
[[nodiscard]] int VelocityOf(const HostVoice& voice);

} // namespace keldra::native
