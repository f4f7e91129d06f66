#include "apps/render/SongRenderer.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <functional>
#include <utility>

#include "apps/render/Instrument.h"
#include "apps/render/Text.h"

namespace keldra::render {

namespace {

/// Below this magnitude (-90 dB) nothing is heard.
constexpr float kSilence = 3.2e-5f;
/// A delay may be silent between two echoes for up to a bar; but at least for this long.
constexpr double kLeastSilenceSeconds = 2.0;
constexpr double kMostSilenceSeconds = 8.0;

constexpr std::uint8_t kControlChange = 0xB0;
constexpr std::uint8_t kSustainPedal = 64;
constexpr std::uint8_t kAllNotesOff = 123;

bool IsSilent(std::span<const float> frames)
{
    return std::all_of(frames.begin(), frames.end(),
                       [](float sample) { return std::fabs(sample) < kSilence; });
}

} // namespace

CSongRenderer::CSongRenderer(const Song& song, const RenderSettings& settings)
    : song_(song), settings_(settings), timing_(song, settings.sampleRate)
{
}

std::unique_ptr<CSongRenderer> CSongRenderer::Create(const Song& song,
                                                     std::shared_ptr<vst::CVstModule> module,
                                                     const RenderSettings& settings,
                                                     std::string& error)
{
    std::unique_ptr<CSongRenderer> renderer(new CSongRenderer(song, settings));
    std::array<bool, kChannelCount> hasNotes{};
    for (const SongEvent& event : song.events)
        if (event.IsNoteOn())
            hasNotes[static_cast<std::size_t>(event.Channel())] = true;

    vst::HostIdentity identity;
    identity.product = "keldra-render";
    identity.processLevel = vst::kVstProcessLevelOffline;
    for (int channel = 0; channel < kChannelCount; ++channel) {
        if (!hasNotes[static_cast<std::size_t>(channel)])
            continue;
        Part part;
        part.channel = channel;
        part.host = vst::CVstHost::Create(module, identity, nullptr, error);
        if (part.host == nullptr)
            return nullptr;
        error = ReasonNotToPlay(*part.host);
        if (!error.empty())
            return nullptr;
        const auto outputs = static_cast<std::size_t>(part.host->OutputCount());
        part.outputs.assign(outputs,
                            std::vector<float>(static_cast<std::size_t>(settings.blockFrames)));
        for (std::vector<float>& output : part.outputs)
            part.pointers.push_back(output.data());
        if (settings.measureChannels)
            part.meter = std::make_unique<CLevelMeter>(settings.sampleRate);
        renderer->parts_.push_back(std::move(part));
    }
    assert(!renderer->parts_.empty());
    for (Part& part : renderer->parts_)
        renderer->partOf_[static_cast<std::size_t>(part.channel)] = &part;
    renderer->names_.emplace(*renderer->parts_.front().host);
    return renderer;
}

std::vector<int> CSongRenderer::Channels() const
{
    std::vector<int> channels;
    for (const Part& part : parts_)
        channels.push_back(part.channel);
    return channels;
}

bool CSongRenderer::SetSound(int channel, const ProgramChunk* program,
                             std::span<const ParameterSetting> settings, std::string& error)
{
    vst::CVstHost& host = *partOf_[static_cast<std::size_t>(channel)]->host;
    if (program != nullptr && !HandOverProgram(host, *program, error))
        return false;
    for (const ParameterSetting& setting : settings) {
        const std::optional<ParameterValue> value = names_->Resolve(setting, error);
        if (!value)
            return false;
        host.SetParameter(value->index, value->value);
    }
    return true;
}

std::int64_t CSongRenderer::SongFrames() const
{
    return timing_.FrameOf(song_.endTick);
}

std::int64_t CSongRenderer::MaxFrames() const
{
    const double tail = settings_.tailSeconds.value_or(kMaxTailSeconds);
    return SongFrames() + std::llround(tail * settings_.sampleRate);
}

const CLevelMeter* CSongRenderer::MeterOf(int channel) const
{
    const Part* const part = partOf_[static_cast<std::size_t>(channel)];
    return part != nullptr ? part->meter.get() : nullptr;
}

/// Hands the events of a block to their instances.
/// @return how long the block may be: shorter when an instance takes no more events
int CSongRenderer::QueueEvents(std::int64_t frame, int frames)
{
    for (; nextEvent_ < song_.events.size(); ++nextEvent_) {
        const SongEvent& event = song_.events[nextEvent_];
        // What found no room in the block before comes late: at once.
        const std::int64_t offset = std::max(timing_.FrameOf(event.tick) - frame, std::int64_t{0});
        if (offset >= frames)
            break;
        Part* const part = partOf_[static_cast<std::size_t>(event.Channel())];
        if (part == nullptr)
            continue;
        if (!part->host->AddMidi(static_cast<int>(offset), event.Message()))
            return static_cast<int>(offset) + 1;
    }
    return frames;
}

bool CSongRenderer::RenderBlock(std::int64_t frame, int frames, std::string& error)
{
    const auto count = static_cast<std::size_t>(frames);
    mix_.assign(2 * count, 0.0f);
    own_.resize(2 * count);
    for (Part& part : parts_) {
        part.host->Render(part.pointers.data(), frames);
        const float* const left = part.pointers.front();
        const float* const right = part.pointers[part.pointers.size() > 1 ? 1 : 0];
        for (std::size_t i = 0; i < count; ++i) {
            own_[2 * i] = left[i];
            own_[2 * i + 1] = right[i];
        }
        const auto bad = std::find_if_not(own_.begin(), own_.end(),
                                          [](float sample) { return std::isfinite(sample); });
        if (bad != own_.end()) {
            const auto seconds = static_cast<double>(frame + (bad - own_.begin()) / 2) /
                                 static_cast<double>(settings_.sampleRate);
            error = "the module answers with what is no number (channel " +
                    std::to_string(part.channel + 1) + " at " + FixedText(seconds, 3) + " s)";
            return false;
        }
        if (part.meter != nullptr)
            part.meter->Add(own_);
        std::transform(own_.begin(), own_.end(), mix_.begin(), mix_.begin(), std::plus<>());
    }
    return true;
}

void CSongRenderer::SetTransport(std::int64_t frame, bool playing)
{
    const SongPosition position = timing_.At(frame);
    vst::HostTransport transport;
    transport.playing = playing;
    transport.tempoBpm = position.tempoBpm;
    transport.quarterNotes = position.quarters;
    transport.barStartQuarters = position.barStart;
    transport.beatsPerBar = position.beats;
    transport.beatUnit = position.unit;
    for (Part& part : parts_)
        part.host->SetTransport(transport);
}

bool CSongRenderer::RenderSong(CRenderSink& sink, std::string& error)
{
    const std::int64_t end = SongFrames();
    for (std::int64_t frame = 0; frame < end;) {
        SetTransport(frame, true);
        // A plug-in takes a block's tempo for all of it, so each tempo has blocks of its own.
        const std::int64_t blockEnd =
            std::min({frame + settings_.blockFrames, end, timing_.NextChange(frame)});
        const int frames = QueueEvents(frame, static_cast<int>(blockEnd - frame));
        if (!RenderBlock(frame, frames, error))
            return false;
        frame += frames;
        if (!sink.OnFrames(mix_, static_cast<double>(frame) / static_cast<double>(end)))
            return false;
    }
    return true;
}

/// As hosts do at the end of a song: the transport stops, and what still sounds is let go.
void CSongRenderer::StopTransport()
{
    SetTransport(SongFrames(), false);
    // Events at the very end of the song are still due.
    static_cast<void>(QueueEvents(SongFrames(), 1));
    for (Part& part : parts_) {
        const auto status = static_cast<std::uint8_t>(kControlChange | part.channel);
        for (const std::uint8_t controller : {kSustainPedal, kAllNotesOff}) {
            const std::uint8_t message[] = {status, controller, 0};
            static_cast<void>(part.host->AddMidi(0, message));
        }
    }
}

bool CSongRenderer::RenderTail(CRenderSink& sink, std::string& error)
{
    const auto rate = static_cast<double>(settings_.sampleRate);
    const auto framesOf = [rate](double seconds) { return std::llround(seconds * rate); };
    const std::int64_t longest = MaxFrames() - SongFrames();
    const SongPosition last = timing_.At(SongFrames());
    const double barSeconds = 60.0 / last.tempoBpm * 4.0 * last.beats / last.unit;
    const std::int64_t silenceWanted =
        framesOf(std::clamp(barSeconds, kLeastSilenceSeconds, kMostSilenceSeconds));

    // Silence is kept back until sound follows it: a sound ends where nothing is heard any more.
    std::vector<float> silence;
    for (std::int64_t done = 0; done < longest;) {
        const int frames =
            static_cast<int>(std::min<std::int64_t>(settings_.blockFrames, longest - done));
        if (!RenderBlock(SongFrames() + done, frames, error))
            return false;
        done += frames;
        if (!settings_.tailSeconds && IsSilent(mix_)) {
            silence.insert(silence.end(), mix_.begin(), mix_.end());
            if (static_cast<std::int64_t>(silence.size() / 2) >= silenceWanted)
                return true;
            continue;
        }
        if (!silence.empty() && !sink.OnFrames(silence, 1.0))
            return false;
        silence.clear();
        if (!sink.OnFrames(mix_, 1.0))
            return false;
    }
    return true;
}

bool CSongRenderer::Render(CRenderSink& sink, std::string& error)
{
    for (Part& part : parts_)
        part.host->Start(settings_.sampleRate, settings_.blockFrames);
    if (!RenderSong(sink, error))
        return false;
    StopTransport();
    if (!RenderTail(sink, error))
        return false;
    for (Part& part : parts_)
        part.host->Stop();
    return true;
}

} // namespace keldra::render
