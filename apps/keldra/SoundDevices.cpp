#include "apps/keldra/SoundDevices.h"

#include <RtAudio.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <utility>

#include "apps/keldra/QuietStderr.h"

namespace keldra::standalone {

namespace {

using Seconds = std::chrono::duration<double>;

constexpr int kUsualRateHz = 48000;
constexpr Seconds kMostAhead{2.0};   ///< no buffer between us and a device holds as much
constexpr Seconds kWatchedTime{5.0}; ///< the device's clock and ours differ only a little in that
constexpr std::chrono::milliseconds kRestWhenLost{10};

// Where a sound server runs it has the hardware, and mixes us with everybody else: servers first.
constexpr RtAudio::Api kSystems[] = {RtAudio::UNIX_JACK, RtAudio::LINUX_PULSE, RtAudio::LINUX_ALSA,
                                     RtAudio::LINUX_OSS};

std::string OneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

int ChooseRate(const SoundDevice& device, std::optional<int> wantedHz)
{
    const auto plays = [&device](int rateHz) {
        return std::find(device.ratesHz.begin(), device.ratesHz.end(), rateHz) !=
               device.ratesHz.end();
    };
    if (wantedHz)
        return plays(*wantedHz) ? *wantedHz : 0;
    return plays(kUsualRateHz) ? kUsualRateHz : device.preferredRateHz;
}

class CDeviceOutput final : public CSoundOutput {
public:
    explicit CDeviceOutput(const SoundDevice& device)
        : name_(device.name), audio_(static_cast<RtAudio::Api>(device.system))
    {
        audio_.showWarnings(false);
    }
    ~CDeviceOutput() override
    {
        try {
            if (audio_.isStreamOpen())
                audio_.closeStream();   // stopping first would wait for a server, dead or not
        } catch (const RtAudioError&) { // gone already
        }
    }

    bool Open(const SoundDevice& device, int rateHz, int blockFrames, std::string& error)
    {
        RtAudio::StreamParameters parameters;
        parameters.deviceId = device.id;
        parameters.nChannels = static_cast<unsigned>(std::min(device.outputs, 2));
        RtAudio::StreamOptions options;
        options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
        options.numberOfBuffers = 2;
        options.streamName = "Keldra";
        auto frames = static_cast<unsigned>(blockFrames);
        try {
            audio_.openStream(&parameters, nullptr, RTAUDIO_FLOAT32, static_cast<unsigned>(rateHz),
                              &frames, OnBlock, this, &options, nullptr);
            format_ = {static_cast<double>(audio_.getStreamSampleRate()),
                       static_cast<int>(std::max(frames, 1u))};
        } catch (const RtAudioError& problem) {
            error = OneLine(problem.what());
            return false;
        }
        isMono_ = parameters.nChannels == 1;
        unheard_.assign(static_cast<std::size_t>(format_.blockFrames), 0.0f);
        return true;
    }

    const SoundFormat& Format() const override { return format_; }
    std::string Name() const override { return name_; }
    bool IsAlive() const override { return !lost_ && audio_.isStreamRunning(); }

    bool Start(CSoundSource& source, std::string& error) override
    {
        source_ = &source;
        watchedFrom_ = Clock::now();
        try {
            audio_.startStream();
        } catch (const RtAudioError& problem) {
            error = OneLine(problem.what());
            return false;
        }
        return true;
    }

private:
    static int OnBlock(void* output, void*, unsigned frames, double, RtAudioStreamStatus,
                       void* self)
    {
        constexpr int kGoOn = 0; // asking it to stop from here would throw what nobody can catch
        auto& device = *static_cast<CDeviceOutput*>(self);
        if (device.lost_) {
            std::this_thread::sleep_for(kRestWhenLost);
            return kGoOn;
        }
        device.Fill(static_cast<float*>(output), static_cast<int>(frames));
        device.WatchPace(frames);
        return kGoOn;
    }

    /// The library says nothing when a card is unplugged or a server ends: with nobody to wait for,
    /// it just asks for more and more.
    void WatchPace(unsigned frames)
    {
        watchedFrames_ += frames;
        const Seconds took = Clock::now() - watchedFrom_;
        const Seconds asked{static_cast<double>(watchedFrames_) / format_.rateHz};
        if (asked - took > kMostAhead)
            lost_ = true;
        if (took < kWatchedTime)
            return;
        watchedFrom_ = Clock::now();
        watchedFrames_ = 0;
    }

    void Fill(float* output, int frames)
    {
        if (!isMono_) {
            source_->Render(output, output + frames, frames);
            return;
        }
        const int part = format_.blockFrames;
        for (int done = 0; done < frames; done += part) {
            const int count = std::min(part, frames - done);
            source_->Render(output + done, unheard_.data(), count);
            for (int i = 0; i < count; ++i)
                output[done + i] =
                    0.5f * (output[done + i] + unheard_[static_cast<std::size_t>(i)]);
        }
    }

    const std::string name_;
    mutable RtAudio audio_; // asks don't change it, but say they do
    SoundFormat format_;
    CSoundSource* source_ = nullptr;
    bool isMono_ = false;
    std::vector<float> unheard_; ///< the right channel of a device that has one only
    Clock::time_point watchedFrom_;
    std::uint64_t watchedFrames_ = 0;
    std::atomic<bool> lost_{false};
};

} // namespace

std::vector<SoundDevice> ListSoundDevices()
{
    const CQuietStderr quiet;
    std::vector<RtAudio::Api> compiled;
    RtAudio::getCompiledApi(compiled);
    std::vector<SoundDevice> devices;
    for (const RtAudio::Api system : kSystems) {
        if (std::find(compiled.begin(), compiled.end(), system) == compiled.end())
            continue;
        try {
            RtAudio audio(system);
            audio.showWarnings(false);
            const unsigned count = audio.getDeviceCount();
            for (unsigned id = 0; id < count; ++id) {
                const RtAudio::DeviceInfo info = audio.getDeviceInfo(id);
                if (!info.probed || info.outputChannels == 0)
                    continue;
                SoundDevice device;
                device.system = system;
                device.id = id;
                device.name = RtAudio::getApiName(system) + ": " + info.name;
                device.outputs = static_cast<int>(info.outputChannels);
                device.isDefault = info.isDefaultOutput;
                device.ratesHz.assign(info.sampleRates.begin(), info.sampleRates.end());
                device.preferredRateHz = static_cast<int>(info.preferredSampleRate);
                devices.push_back(std::move(device));
            }
        } catch (const RtAudioError&) { // a system that isn't there
        }
    }
    return devices;
}

std::unique_ptr<CSoundOutput> OpenSoundDevice(const SoundDevice& device, std::optional<int> rateHz,
                                              int blockFrames, std::string& error)
{
    const int rate = ChooseRate(device, rateHz);
    if (rate <= 0) {
        error = "plays at no such rate, but at";
        for (const int possible : device.ratesHz)
            error.append(" ").append(std::to_string(possible));
        return nullptr;
    }
    const CQuietStderr quiet;
    try {
        auto output = std::make_unique<CDeviceOutput>(device);
        if (output->Open(device, rate, blockFrames, error))
            return output;
    } catch (const RtAudioError& problem) {
        error = OneLine(problem.what());
    }
    return nullptr;
}

} // namespace keldra::standalone
