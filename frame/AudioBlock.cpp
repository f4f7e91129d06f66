#include "frame/AudioBlock.h"

#include <algorithm>
#include <new>

namespace keldra {

void AudioBlock::Allocate(int channels, int frames)
{
    const int rounded = frames > 0 ? (frames + 3) / 4 * 4 : 0;
    if (channels == channelCount_ && rounded == Capacity())
        return;
    samples_.reset();
    channelCount_ = frameCount_ = stride_ = 0;
    if (channels <= 0 || rounded <= 0)
        return;
    const int stride = rounded + kPadding;
    samples_.reset(new (std::nothrow) float[static_cast<std::size_t>(channels) *
                                            static_cast<std::size_t>(stride)]());
    if (!samples_)
        return;
    channelCount_ = channels;
    frameCount_ = frames;
    stride_ = stride;
}

float* AudioBlock::Channel(int index) const
{
    if (index < 0 || index >= channelCount_ || !samples_)
        return nullptr;
    return samples_.get() + static_cast<std::ptrdiff_t>(index) * stride_;
}

void AudioBlock::SetFrameCount(int frames)
{
    frameCount_ = std::max(1, std::min(frames, Capacity()));
}

void AudioBlock::ClearAll()
{
    for (int channel = 0; channel < channelCount_; ++channel)
        std::fill_n(Channel(channel), frameCount_, 0.0f);
}

} // namespace keldra
