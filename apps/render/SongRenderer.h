#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/host/VstHost.h"
#include "apps/render/LevelMeter.h"
#include "apps/render/Song.h"
#include "apps/render/SongTiming.h"
#include "apps/render/Sounds.h"

namespace keldra::render {

struct RenderSettings {
    int sampleRate = 48000;            ///< Hz, 8000 .. 384000
    int blockFrames = 512;             ///< at most in a block, 1 .. 8192
    std::optional<double> tailSeconds; ///< after the song's end; nothing: until it is silent
    bool measureChannels = false;      ///< keep a level meter for each channel
};

/// Takes the rendered sound.
class CRenderSink {
public:
    /// @param frames    interleaved: left, right, left, ..
    /// @param progress  of the song, 0 .. 1
    /// @return false to stop
    virtual bool OnFrames(std::span<const float> frames, double progress) = 0;

protected:
    ~CRenderSink() = default;
};

/// Plays a song through a module, with an instance for each channel that has a note, and mixes
/// them.
///
/// All instances are rendered one after another, block by block, on the calling thread: those of
/// one module share its random numbers, and side by side they would get others at every call.
class CSongRenderer {
public:
    /// Waiting for silence ends here.
    static constexpr int kMaxTailSeconds = 30;

    /// @param song    has a note; must outlive the renderer
    /// @param module  must not be null
    /// @param error   receives one line when the answer is null
    [[nodiscard]] static std::unique_ptr<CSongRenderer>
    Create(const Song& song, std::shared_ptr<vst::CVstModule> module,
           const RenderSettings& settings, std::string& error);

    /// The channels with notes, 0 .. 15, ascending.
    [[nodiscard]] std::vector<int> Channels() const;

    /// Gives a channel its program and parameters. Before Render.
    /// @param channel  one with notes
    /// @param program  handed over first; may be null
    [[nodiscard]] bool SetSound(int channel, const ProgramChunk* program,
                                std::span<const ParameterSetting> settings, std::string& error);

    /// Renders the whole song and its tail. Once.
    /// @param error  receives one line when the answer is false; untouched when the sink stopped
    [[nodiscard]] bool Render(CRenderSink& sink, std::string& error);

    [[nodiscard]] std::int64_t SongFrames() const; ///< without the tail
    [[nodiscard]] std::int64_t MaxFrames() const;  ///< with the longest tail
    /// Level of one channel as it goes into the mix; null unless channels are measured.
    [[nodiscard]] const CLevelMeter* MeterOf(int channel) const;

private:
    struct Part {
        int channel = 0;
        std::unique_ptr<vst::CVstHost> host;
        std::vector<std::vector<float>> outputs;
        std::vector<float*> pointers;
        std::unique_ptr<CLevelMeter> meter; ///< null unless channels are measured
    };

    CSongRenderer(const Song& song, const RenderSettings& settings);

    [[nodiscard]] bool RenderBlock(std::int64_t frame, int frames, std::string& error);
    [[nodiscard]] bool RenderSong(CRenderSink& sink, std::string& error);
    [[nodiscard]] bool RenderTail(CRenderSink& sink, std::string& error);
    [[nodiscard]] int QueueEvents(std::int64_t frame, int frames);
    void SetTransport(std::int64_t frame, bool playing);
    void StopTransport();

    const Song& song_;
    RenderSettings settings_;
    CSongTiming timing_;
    std::vector<Part> parts_;
    std::array<Part*, kChannelCount> partOf_{}; ///< by channel, null for one without notes
    std::optional<CParameterNames> names_;
    std::size_t nextEvent_ = 0;
    std::vector<float> mix_; ///< the last block, interleaved
    std::vector<float> own_; ///< one part of it
};

} // namespace keldra::render
