// keldra-render: an offline host. Plays a MIDI file on a VST 2 instrument into a WAV file.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <unistd.h>

#include "apps/host/VstHost.h"
#include "apps/render/CommandLine.h"
#include "apps/render/InputFile.h"
#include "apps/render/Instrument.h"
#include "apps/render/LevelMeter.h"
#include "apps/render/Options.h"
#include "apps/render/OutputFile.h"
#include "apps/render/SongReader.h"
#include "apps/render/SongRenderer.h"
#include "apps/render/Sounds.h"
#include "apps/render/Text.h"
#include "apps/render/WavWriter.h"
#include "frame/ParameterTable.h"

namespace keldra::render {

namespace {

constexpr std::size_t kMaxSongBytes = std::size_t{32} << 20;
constexpr std::int64_t kMaxSongSeconds = 24 * 3600;

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A level with its unit; silence has none.
std::string LevelText(double value, int decimals, const char* unit)
{
    return std::isfinite(value) ? FixedText(value, decimals) + " " + unit : std::string("silent");
}

/// What is heard has a loudness only when it is as long as a measurement takes.
std::string LoudnessText(double loudness, double peakDb)
{
    return std::isfinite(peakDb) && !std::isfinite(loudness)
               ? std::string("too short or quiet for LUFS")
               : LevelText(loudness, 1, "LUFS");
}

/// A bar of progress on the terminal; nothing anywhere else.
class CProgressBar {
public:
    CProgressBar() : visible_(::isatty(STDERR_FILENO) != 0) {}
    ~CProgressBar()
    {
        if (visible_ && drawn_)
            std::fputs("\r\033[K", stderr);
    }
    CProgressBar(const CProgressBar&) = delete;
    CProgressBar& operator=(const CProgressBar&) = delete;

    /// @param done           0 .. 1
    /// @param secondsPlayed  of the song
    void Show(double done, double secondsPlayed)
    {
        constexpr double kRedrawSeconds = 0.1;
        if (!visible_ || SecondsSince(shown_) < kRedrawSeconds)
            return;
        shown_ = Clock::now();
        drawn_ = true;
        constexpr std::size_t kWidth = 40;
        const auto filled = static_cast<std::size_t>(std::lround(done * kWidth));
        const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
        const std::string line = "\r[" + bar + "] " + FixedText(100.0 * done, 0) + " %, " +
                                 FixedText(secondsPlayed / SecondsSince(start_), 1) +
                                 " x realtime \033[K";
        std::fputs(line.c_str(), stderr);
    }

private:
    bool visible_;
    bool drawn_ = false;
    Clock::time_point start_ = Clock::now();
    Clock::time_point shown_ = start_;
};

/// Measures what is rendered and keeps it: in the WAV file, or in a scratch file when its level is
/// not known before the end.
class CFileSink : public CRenderSink {
public:
    /// @param scratch  null: write to the WAV file at once
    CFileSink(CWavWriter& wav, std::FILE* scratch, int sampleRate)
        : wav_(wav), scratch_(scratch), sampleRate_(sampleRate), meter_(sampleRate)
    {
    }

    bool OnFrames(std::span<const float> frames, double progress) override
    {
        meter_.Add(frames);
        frames_ += static_cast<std::int64_t>(frames.size() / 2);
        bar_.Show(progress, Seconds());
        return scratch_ != nullptr ? std::fwrite(frames.data(), sizeof(float), frames.size(),
                                                 scratch_) == frames.size()
                                   : wav_.Write(frames);
    }

    /// Moves the scratch file's content on. @return false when a disk fails
    bool CopyScratch(float gain)
    {
        std::rewind(scratch_);
        std::vector<float> frames(65536);
        for (std::int64_t left = 2 * frames_; left > 0;) {
            const auto count =
                static_cast<std::size_t>(std::min(left, static_cast<std::int64_t>(frames.size())));
            if (std::fread(frames.data(), sizeof(float), count, scratch_) != count)
                return false;
            for (float& sample : frames)
                sample *= gain;
            if (!wav_.Write(std::span(frames).first(count)))
                return false;
            left -= static_cast<std::int64_t>(count);
        }
        return true;
    }

    [[nodiscard]] double Seconds() const { return static_cast<double>(frames_) / sampleRate_; }
    [[nodiscard]] const CLevelMeter& Meter() const { return meter_; }

private:
    CWavWriter& wav_;
    std::FILE* scratch_;
    int sampleRate_;
    std::int64_t frames_ = 0;
    CLevelMeter meter_;
    CProgressBar bar_;
};

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

class CProgram {
public:
    explicit CProgram(Options options) : options_(std::move(options)) {}

    [[nodiscard]] bool Run(std::string& error)
    {
        if (options_.modulePath.empty())
            options_.modulePath = BundledModulePath();
        if (options_.listParameters)
            return LoadModule(error) && ListParameters(error);
        // The inputs first, then a place for the output, then the module: each refuses quickly, and
        // nobody waits for a rendering that can't be written.
        if (!ReadSongFile(error) || !ReadSoundFiles(error) || !OutputIsNoInput(error))
            return false;
        output_ = COutputFile::Create(options_.outputPath, error);
        return output_ != nullptr && LoadModule(error) && MakeRenderer(error) && Render(error);
    }

private:
    bool ReadSongFile(std::string& error)
    {
        std::vector<std::byte> file;
        if (!ReadInput(options_.songPath, kMaxSongBytes, file, error))
            return false;
        std::optional<Song> song = ReadSong(file, error);
        const auto isNoteOn = [](const SongEvent& event) { return event.IsNoteOn(); };
        if (song && !CSongTiming(*song, options_.render.sampleRate).EndsWithin(kMaxSongSeconds)) {
            error = "longer than a day";
        } else if (song && std::none_of(song->events.begin(), song->events.end(), isNoteOn)) {
            error = "nothing to play: no channel has a note";
        } else if (song) {
            song_ = std::move(*song);
            return true;
        }
        error = options_.songPath + ": " + error;
        return false;
    }

    bool ReadSoundFiles(std::string& error)
    {
        const std::vector<std::string> factoryFolders = FactoryFolders(options_.modulePath);
        if (!options_.soundsPath.empty()) {
            std::vector<std::byte> file;
            if (!ReadInput(options_.soundsPath, kMaxSmallFileBytes, file, error))
                return false;
            const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
            if (!ReadSounds(text, options_.soundsPath, factoryFolders, sounds_, error))
                return false;
        }
        // A program from the command line is a sound of its own: what the file sets goes with it.
        for (const Options::Program& program : options_.programs)
            sounds_[static_cast<std::size_t>(program.channel)] = {
                FindProgram(program.name, {}, factoryFolders), "--program", {}};
        return true;
    }

    bool OutputIsNoInput(std::string& error) const
    {
        std::vector<std::string> inputs{options_.songPath, options_.soundsPath,
                                        options_.modulePath};
        for (const ChannelSound& sound : sounds_)
            inputs.push_back(sound.program);
        for (const std::string& input : inputs) {
            std::error_code ignored;
            if (!input.empty() &&
                std::filesystem::equivalent(input, options_.outputPath, ignored)) {
                error = options_.outputPath + ": cannot be written: it is one of the inputs";
                return false;
            }
        }
        return true;
    }

    bool LoadModule(std::string& error)
    {
        module_ = LoadInstrument(options_.modulePath, error);
        return module_ != nullptr;
    }

    bool ListParameters(std::string& error)
    {
        const auto host = vst::CVstHost::Create(module_, {}, nullptr, error);
        if (host == nullptr) {
            error = options_.modulePath + ": " + error;
            return false;
        }
        for (int i = 0; i < host->ParameterCount(); ++i) {
            const std::string name = host->ParameterName(i);
            if (!name.empty())
                std::printf("%3d  %-20s %s  (%s)\n", i, name.c_str(),
                            FixedText(static_cast<double>(host->GetParameter(i)), 3).c_str(),
                            host->ParameterDisplay(i).c_str());
        }
        if (host->Effect()->uniqueID == kKeldraId)
            for (const EngineSettingRow& row : std::span(kEngineSettings).subspan(1)) {
                const int number = static_cast<int>(host->GetParameter(row.index));
                std::printf("%3d  %-24s %d  (%s)\n", row.index, std::string(row.what).c_str(),
                            number, ChoiceText(row, number).c_str());
            }
        return true;
    }

    bool MakeRenderer(std::string& error)
    {
        renderer_ = CSongRenderer::Create(song_, module_, options_.render, error);
        if (renderer_ == nullptr) {
            error = options_.modulePath + ": " + error;
            return false;
        }
        const std::vector<int> channels = renderer_->Channels();
        const auto plays = [&channels](int channel) {
            return std::find(channels.begin(), channels.end(), channel) != channels.end();
        };
        for (const Options::Program& program : options_.programs)
            if (!plays(program.channel))
                return SaysChannelIsSilent("--program", program.channel, error);
        for (const Options::Setting& setting : options_.settings)
            if (setting.channel && !plays(*setting.channel))
                return SaysChannelIsSilent(setting.setting.source, *setting.channel, error);
        return std::all_of(channels.begin(), channels.end(),
                           [this, &error](int channel) { return SetSound(channel, error); });
    }

    bool SaysChannelIsSilent(const std::string& source, int channel, std::string& error) const
    {
        error = source + ": channel " + std::to_string(channel + 1) + " of " + options_.songPath +
                " has no note";
        return false;
    }

    bool SetSound(int channel, std::string& error)
    {
        const ChannelSound& sound = sounds_[static_cast<std::size_t>(channel)];
        std::optional<ProgramChunk> program;
        if (!sound.program.empty()) {
            std::vector<std::byte> file;
            if (!ReadInput(sound.program, kMaxSmallFileBytes, file, error)) {
                error = sound.programSource + ": " + error;
                return false;
            }
            program = ReadProgram(file, error);
            if (!program || !renderer_->SetSound(channel, &*program, {}, error)) {
                error = sound.programSource + ": " + sound.program + ": " + error;
                return false;
            }
        }
        std::vector<ParameterSetting> settings = sound.settings;
        for (const Options::Setting& option : options_.settings)
            if (option.channel.value_or(channel) == channel)
                settings.push_back(option.setting);
        return renderer_->SetSound(channel, nullptr, settings, error);
    }

    bool Render(std::string& error)
    {
        const int rate = options_.render.sampleRate;
        CWavWriter wav(output_->OpenDescriptor(), rate, options_.format, renderer_->MaxFrames());
        std::unique_ptr<std::FILE, FileCloser> scratch;
        const std::string cannotWrite = options_.outputPath + ": cannot be written: the disk is "
                                                              "full, or failed";
        error = cannotWrite;
        if (options_.normaliseDb) {
            const int descriptor = OpenScratchFile(options_.outputPath);
            if (descriptor < 0)
                return false;
            scratch.reset(::fdopen(descriptor, "w+b"));
            if (scratch == nullptr)
                return false;
        }
        double gain = 1.0;
        const Clock::time_point start = Clock::now();
        double seconds = 0.0;
        double elapsed = 0.0;
        double loudness = 0.0;
        double peakDb = 0.0;
        {
            CFileSink sink(wav, scratch.get(), rate);
            if (!renderer_->Render(sink, error))
                return false;
            elapsed = SecondsSince(start);
            seconds = sink.Seconds();
            if (options_.normaliseDb && sink.Meter().Peak() > 0.0f)
                gain = std::pow(10.0, (*options_.normaliseDb - sink.Meter().PeakDb()) / 20.0);
            if (scratch != nullptr && !sink.CopyScratch(static_cast<float>(gain)))
                return false;
            loudness = sink.Meter().LoudnessDb() + 20.0 * std::log10(gain);
            peakDb = sink.Meter().PeakDb() + 20.0 * std::log10(gain);
        }
        if (!wav.Close() || !output_->Commit(error))
            return false;
        error.clear();
        PrintReport(seconds, peakDb, loudness, seconds / elapsed, wav.ClippedSamples());
        return true;
    }

    void PrintReport(double seconds, double peakDb, double loudness, double realtime,
                     std::int64_t clipped) const
    {
        if (options_.render.measureChannels)
            for (const int channel : renderer_->Channels()) {
                const CLevelMeter& meter = *renderer_->MeterOf(channel);
                std::printf("channel %2d: peak %s, %s\n", channel + 1,
                            LevelText(meter.PeakDb(), 1, "dBFS").c_str(),
                            LoudnessText(meter.LoudnessDb(), meter.PeakDb()).c_str());
            }
        std::printf("%s: %s s, peak %s, %s, %s x realtime\n", options_.outputPath.c_str(),
                    FixedText(seconds, 3).c_str(), LevelText(peakDb, 2, "dBFS").c_str(),
                    LoudnessText(loudness, peakDb).c_str(), FixedText(realtime, 1).c_str());
        if (clipped > 0)
            std::fprintf(stderr,
                         "keldra-render: %lld samples were too loud and are clipped; "
                         "\"--normalise -1\" makes room\n",
                         static_cast<long long>(clipped));
    }

    Options options_;
    Song song_;
    SongSounds sounds_;
    std::shared_ptr<vst::CVstModule> module_;
    std::unique_ptr<CSongRenderer> renderer_;
    std::unique_ptr<COutputFile> output_;
};

} // namespace

} // namespace keldra::render

int main(int argc, char** argv)
{
    using namespace keldra::render;
    Options options;
    return keldra::RunProgram(
        "keldra-render", [&](std::string& text) { return ParseOptions(argc, argv, options, text); },
        [&](std::string& text) {
            RemoveUnfinishedFileOnSignals();
            return CProgram(std::move(options)).Run(text);
        });
}
