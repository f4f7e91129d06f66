#include "apps/render/WavWriter.h"

#include <algorithm>
#include <cmath>
#include <sndfile.h>
#include <utility>

namespace keldra::render {

namespace {

int SubFormat(ESampleFormat format)
{
    switch (format) {
    case ESampleFormat::Pcm16:
        return SF_FORMAT_PCM_16;
    case ESampleFormat::Pcm24:
        return SF_FORMAT_PCM_24;
    case ESampleFormat::Float32:
        break;
    }
    return SF_FORMAT_FLOAT;
}

} // namespace

CWavWriter::CWavWriter(int descriptor, int sampleRate, ESampleFormat format, std::int64_t maxFrames)
    : format_(format)
{
    constexpr std::int64_t kMostWavBytes = 0xFFFFFFFF - 4096; // the header is in it
    constexpr std::int64_t kMostFrameBytes = 8;
    const bool fits = maxFrames <= kMostWavBytes / kMostFrameBytes;
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = 2;
    info.format = (fits ? SF_FORMAT_WAV : SF_FORMAT_RF64) | SubFormat(format);
    file_ = ::sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE);
    if (file_ == nullptr)
        return;
    ::sf_command(file_, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE); // if it doesn't grow so far
    ::sf_command(file_, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    ::sf_command(file_, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // holds the time of day
}

CWavWriter::~CWavWriter()
{
    if (file_ != nullptr)
        ::sf_close(file_);
}

float CWavWriter::Dither()
{
    const auto uniform = [this] {
        random_ = random_ * 1664525u + 1013904223u;
        return static_cast<float>(random_ >> 8) * 0x1p-24f;
    };
    const float first = uniform();
    return (first - uniform()) / 32768.0f;
}

bool CWavWriter::Write(std::span<const float> frames)
{
    if (file_ == nullptr)
        return false;
    if (format_ != ESampleFormat::Float32)
        clipped_ += std::count_if(frames.begin(), frames.end(),
                                  [](float sample) { return std::fabs(sample) > 1.0f; });
    if (format_ == ESampleFormat::Pcm16) {
        dithered_.assign(frames.begin(), frames.end());
        for (float& sample : dithered_)
            if (sample != 0.0f) // silence stays silence
                sample += Dither();
        frames = dithered_;
    }
    const auto count = static_cast<sf_count_t>(frames.size());
    return ::sf_write_float(file_, frames.data(), count) == count;
}

void CWavWriter::UpdateHeader()
{
    if (file_ != nullptr)
        ::sf_command(file_, SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

bool CWavWriter::Close()
{
    return file_ != nullptr && ::sf_close(std::exchange(file_, nullptr)) == 0;
}

} // namespace keldra::render
