#include "apps/keldra/Player.h"

#include <algorithm>
#include <cmath>

namespace keldra::standalone {

namespace {

/// What a sound device can take. Beyond it the conversion to its whole numbers would wrap round.
float Audible(float sample)
{
    return std::isnan(sample) ? 0.0f : std::fmin(std::fmax(sample, -1.0f), 1.0f);
}

} // namespace

CMidiQueue& CPlayer::AddQueue()
{
    queues_.push_back(std::make_unique<CMidiQueue>());
    return *queues_.back();
}

void CPlayer::Prepare(const SoundFormat& format, double tempoBpm)
{
    rateHz_ = format.rateHz;
    blockFrames_ = format.blockFrames;
    const auto outputs = static_cast<std::size_t>(host_.OutputCount());
    unheardOutputs_.assign(std::max<std::size_t>(outputs, 2) - 2,
                           std::vector<float>(static_cast<std::size_t>(blockFrames_)));
    outputs_.assign(outputs, nullptr);
    for (std::size_t i = 2; i < outputs; ++i)
        outputs_[i] = unheardOutputs_[i - 2].data();
    vst::HostTransport transport;
    transport.tempoBpm = tempoBpm;
    host_.SetTransport(transport);
    host_.Start(rateHz_, blockFrames_);
}

// Devices want their blocks at even intervals, so that a note that came during the last interval
// belongs as late into this block as it came into that interval. All are late by a block then, but
// none by more than another: a chord stays one, and a rhythm even.
void CPlayer::HandOnMidi(int frames, Clock::time_point now)
{
    int earliest = 0;
    while (true) {
        CMidiQueue* oldest = nullptr;
        for (const auto& queue : queues_)
            if (queue->Front() != nullptr &&
                (oldest == nullptr || queue->Front()->arrival < oldest->Front()->arrival))
                oldest = queue.get();
        if (oldest == nullptr)
            return;
        const StampedMidi& midi = *oldest->Front();
        const std::chrono::duration<double> age = now - midi.arrival;
        const auto frame = static_cast<double>(frames) - age.count() * rateHz_;
        // Never before one that came before it.
        earliest = static_cast<int>(
            std::fmin(std::fmax(frame, static_cast<double>(earliest)), frames - 1.0));
        if (!host_.AddMidi(earliest, midi.Message()))
            return; // the block is full: the rest is for the next
        oldest->Pop();
    }
}

void CPlayer::RenderPart(float* left, float* right, int frames)
{
    outputs_[0] = left;
    if (outputs_.size() > 1)
        outputs_[1] = right;
    host_.Render(outputs_.data(), frames);
    if (outputs_.size() == 1)
        std::copy_n(left, frames, right);
    for (int i = 0; i < frames; ++i) {
        left[i] = Audible(left[i]);
        right[i] = Audible(right[i]);
    }
    if (recorder_ != nullptr)
        recorder_->Add(left, right, frames);
}

void CPlayer::Render(float* left, float* right, int frames)
{
    if (frames > 0)
        HandOnMidi(std::min(frames, blockFrames_), Clock::now());
    // Some devices ask for more at once than they have announced.
    for (int done = 0; done < frames; done += blockFrames_)
        RenderPart(left + done, right + done, std::min(frames - done, blockFrames_));
}

} // namespace keldra::standalone
