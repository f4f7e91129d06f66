#pragma once

#include <array>
#include <cstdint>

#include "frame/PluginRenderer.h"

namespace keldra {

/// Which keys are down, by a finger or by the sustain pedal, and how hard they were struck.
/// The thread that has the engine.
class CHeldKeys {
public:
    /// @param velocity  0 .. 1; too soft a touch counts as not held
    void Set(int key, float velocity)
    {
        velocity_[static_cast<std::size_t>(key)] = static_cast<std::uint8_t>(velocity * 127.0f);
    }
    void Clear(int key) { velocity_[static_cast<std::size_t>(key)] = 0; }
    [[nodiscard]] bool IsHeld(int key) const
    {
        return velocity_[static_cast<std::size_t>(key)] != 0;
    }

    /// The held key closest to a key, itself left out; of two equally close the lower.
    /// -1 when none is held.
    [[nodiscard]] int NearestTo(int key) const
    {
        int nearest = -1;
        int nearestDistance = kKeyCount;
        for (int other = 0; other < kKeyCount; ++other) {
            const int distance = other < key ? key - other : other - key;
            if (other != key && IsHeld(other) && distance < nearestDistance) {
                nearest = other;
                nearestDistance = distance;
            }
        }
        return nearest;
    }

private:
    std::array<std::uint8_t, kKeyCount> velocity_{};
};

} // namespace keldra
