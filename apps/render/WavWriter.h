#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct sf_private_tag;

namespace keldra::render {

enum class ESampleFormat {
    Pcm16, ///< with triangular dither
    Pcm24,
    Float32,
};

/// Writes a stereo WAV file, as RF64 once it is beyond the 4 GiB that a WAV file can hold. What
/// lies beyond -1 .. 1 is clipped in the whole-number formats.
class CWavWriter {
public:
    /// @param descriptor  of an empty file, open for reading and writing; closed by this object
    /// @param maxFrames   that will be written
    CWavWriter(int descriptor, int sampleRate, ESampleFormat format, std::int64_t maxFrames);
    ~CWavWriter();
    CWavWriter(const CWavWriter&) = delete;
    CWavWriter& operator=(const CWavWriter&) = delete;

    /// @param frames  interleaved: left, right, left, ..
    /// @return false when the disk takes no more
    [[nodiscard]] bool Write(std::span<const float> frames);
    /// Has the header say what was written so far, for whoever reads the file meanwhile.
    void UpdateHeader();
    /// Completes the header. @return whether all is on its way to the disk
    [[nodiscard]] bool Close();
    [[nodiscard]] std::int64_t ClippedSamples() const { return clipped_; }

private:
    [[nodiscard]] float Dither();

    sf_private_tag* file_;
    ESampleFormat format_;
    std::int64_t clipped_ = 0;
    std::uint32_t random_ = 1;
    std::vector<float> dithered_;
};

} // namespace keldra::render
