#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace keldra::standalone {

using Clock = std::chrono::steady_clock;

struct SoundFormat {
    double rateHz = 48000.0;
    int blockFrames = 256; ///< as a rule; now and then a device asks for fewer or more
};

/// Who makes the sound.
class CSoundSource {
public:
    /// Fills both channels, -1 .. 1. On the device's thread: must not wait or allocate.
    /// @param frames  0 or more
    virtual void Render(float* left, float* right, int frames) = 0;

protected:
    ~CSoundSource() = default;
};

/// A sound device that is open, or what stands in for one. All calls on one thread.
class CSoundOutput {
public:
    CSoundOutput() = default;
    CSoundOutput(const CSoundOutput&) = delete;
    CSoundOutput& operator=(const CSoundOutput&) = delete;
    virtual ~CSoundOutput() = default; ///< afterwards the source isn't asked any more

    [[nodiscard]] virtual const SoundFormat& Format() const = 0;
    [[nodiscard]] virtual std::string Name() const = 0; ///< for messages
    /// From now on the source is asked. @param error  receives one line when the answer is false
    [[nodiscard]] virtual bool Start(CSoundSource& source, std::string& error) = 0;
    /// False when it has stopped by itself: it was unplugged, or its server has ended.
    [[nodiscard]] virtual bool IsAlive() const = 0;
};

/// No device, but time goes on as with one: blocks are made at their rate, and nobody hears them.
[[nodiscard]] std::unique_ptr<CSoundOutput> OpenSilence(const SoundFormat& format);

} // namespace keldra::standalone
