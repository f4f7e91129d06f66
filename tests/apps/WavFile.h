#pragma once

#include <sndfile.h>
#include <string>
#include <vector>

namespace keldra::test {

struct Wav {
    int rate = 0;
    int format = 0;
    std::vector<float> left;
    std::vector<float> right;
};

/// @return with no samples when it can't be read, or isn't stereo
inline Wav ReadWav(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* const file = ::sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
        return {};
    std::vector<float> samples(static_cast<std::size_t>(info.frames * info.channels));
    ::sf_readf_float(file, samples.data(), info.frames);
    ::sf_close(file);
    Wav wav{info.samplerate, info.format, {}, {}};
    for (std::size_t i = 0; info.channels == 2 && i < samples.size(); i += 2) {
        wav.left.push_back(samples[i]);
        wav.right.push_back(samples[i + 1]);
    }
    return wav;
}

} // namespace keldra::test
