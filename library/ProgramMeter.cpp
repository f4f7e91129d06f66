#include "library/ProgramMeter.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <ebur128.h>
#include <kissfft/kiss_fftr.h>
#include <memory>
#include <utility>

#include "engine/EngineRandom.h"
#include "engine/KeldraSynth.h"
#include "frame/PluginInstance.h"
#include "platform/Folders.h"
#include "presets/PresetList.h"
#include "voice/VoiceRandom.h"

namespace keldra {

namespace {

constexpr int kRate = 44100;
constexpr int kBlock = 441;
constexpr double kTempo = 120.0;
constexpr double kLongestTail = 22.0;
constexpr double kSilenceDb = -80.0;

/// A synthesizer asks its module's definition how many parameters there are.
class CMeterDefinition final : public CPluginInstance {
public:
    CMeterDefinition() { parameterCount = kParameterCount; }
};

struct Note {
    double on, off; ///< seconds
    int key;
};

std::vector<Note> NotesOf(EStyle style)
{
    std::vector<Note> notes;
    constexpr int kChord[] = {48, 55, 60, 64};
    constexpr int kBassLine[] = {36, 36, 48, 39, 43, 34};
    constexpr int kLeadLine[] = {60, 67, 65, 72, 70, 63};
    switch (style) {
    case EStyle::Chord:
        for (const int key : kChord)
            notes.push_back({0.0, 3.0, key});
        break;
    case EStyle::Struck:
        for (int stroke = 0; stroke < 4; ++stroke)
            for (const int key : kChord)
                notes.push_back({0.75 * stroke, 0.75 * stroke + 0.6, key});
        break;
    case EStyle::Low:
    case EStyle::High:
        for (int i = 0; i < 6; ++i)
            notes.push_back(
                {0.5 * i, 0.5 * i + 0.42, style == EStyle::Low ? kBassLine[i] : kLeadLine[i]});
        break;
    case EStyle::Drum:
        for (int i = 0; i < 6; ++i)
            notes.push_back({0.5 * i, 0.5 * i + 0.3, 60});
        break;
    }
    return notes;
}

struct Render {
    std::vector<float> left, right;
    double releaseSeconds = 0.0; ///< of the last note
    double cpuShare = 0.0;
};

double ThreadSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

class CPlayer {
public:
    CPlayer(const std::filesystem::path& program, double wheel)
    {
        static const CMeterDefinition definition;
        NoiseSequence().Seed(22222);
        LfoSequence().Seed(2222);
        EngineSequence().Seed(2222);
        synth_ = std::make_unique<KeldraSynth>();
        synth_->Presets().LoadProgram(program.string());
        synth_->SetParameter(kModWheelValue, static_cast<float>(wheel));
        synth_->ChangeSampleRate(kRate); // smoothed values begin at their targets
    }

    /// @param toTheEnd  goes on until it is silent
    Render Play(EStyle style, int velocity, bool toTheEnd)
    {
        Render render;
        const std::vector<Note> notes = NotesOf(style);
        for (const Note& note : notes)
            render.releaseSeconds = std::max(render.releaseSeconds, note.off);
        const double begun = ThreadSeconds();
        const auto frames = [](double seconds) {
            return static_cast<long>(std::lround(seconds * kRate));
        };
        long position = 0;
        float quietPeak = 0.0f;
        for (; position < frames(render.releaseSeconds + kLongestTail); position += kBlock) {
            for (const bool on : {false, true})
                for (const Note& note : notes) {
                    const long at = frames(on ? note.on : note.off) - position;
                    if (at >= 0 && at < kBlock)
                        Queue(static_cast<std::uint32_t>(at), note.key, on ? velocity : 0);
                }
            Block(position, render);
            const bool released = position > frames(render.releaseSeconds + 0.5);
            if (released && !toTheEnd)
                break;
            for (std::size_t i = render.left.size() - kBlock; i < render.left.size(); ++i)
                quietPeak =
                    std::max({quietPeak, std::fabs(render.left[i]), std::fabs(render.right[i])});
            // Echoes pause: silence is a second of it.
            if (position % kRate == 0 && std::exchange(quietPeak, 0.0f) < 1e-4f && released)
                break;
        }
        render.cpuShare =
            (ThreadSeconds() - begun) / (static_cast<double>(render.left.size()) / kRate);
        return render;
    }

private:
    void Queue(std::uint32_t time, int key, int velocity)
    {
        if (EventNode* node = synth_->AddEvent(time, 4))
            node->message = {0x90, static_cast<std::uint8_t>(key),
                             static_cast<std::uint8_t>(velocity), 0};
    }

    void Block(long position, Render& render)
    {
        std::array<float, kBlock> left{};
        std::array<float, kBlock> right{};
        float* outputs[] = {left.data(), right.data()};
        const CProcessingOperation operation(*synth_);
        synth_->SetTempo(kTempo);
        synth_->SetTransportPlaying(true);
        synth_->SetSongPosition(static_cast<double>(position) / kRate * kTempo / 60.0);
        synth_->ProcessBlock({nullptr, outputs, kBlock}, CPluginRenderer::EMode::Replacing);
        render.left.insert(render.left.end(), left.begin(), left.end());
        render.right.insert(render.right.end(), right.begin(), right.end());
    }

    std::unique_ptr<KeldraSynth> synth_;
};

double Db(double linear)
{
    return 20.0 * std::log10(std::max(linear, 1e-10));
}

double Loudness(const Render& render)
{
    ebur128_state* state = ebur128_init(2, kRate, EBUR128_MODE_I);
    std::vector<float> frames;
    for (std::size_t i = 0; i < render.left.size(); ++i) {
        frames.push_back(render.left[i]);
        frames.push_back(render.right[i]);
    }
    ebur128_add_frames_float(state, frames.data(), render.left.size());
    double loudness = 0.0;
    ebur128_loudness_global(state, &loudness);
    ebur128_destroy(&state);
    return std::max(loudness, -100.0);
}

double Peak(const Render& render)
{
    float peak = 0.0f;
    for (const std::vector<float>* channel : {&render.left, &render.right})
        for (const float sample : *channel)
            peak = std::max(peak, std::fabs(sample));
    return Db(static_cast<double>(peak));
}

bool IsFinite(const Render& render)
{
    const auto finite = [](float sample) { return std::isfinite(sample); };
    return std::all_of(render.left.begin(), render.left.end(), finite) &&
           std::all_of(render.right.begin(), render.right.end(), finite);
}

/// Of what stays: the median over tenths of a second of the last third. (A voice that sounds for
/// the first time begins with a short push to one side, and arpeggios take a while through all
/// voices.)
double Offset(const Render& render)
{
    constexpr std::size_t kWindow = kRate / 10;
    const auto end = static_cast<std::size_t>(render.releaseSeconds * kRate);
    double greatest = 0.0;
    for (const std::vector<float>* channel : {&render.left, &render.right}) {
        std::vector<double> means;
        for (std::size_t begin = end * 2 / 3; begin + kWindow <= end; begin += kWindow) {
            double sum = 0.0;
            for (std::size_t i = begin; i < begin + kWindow; ++i)
                sum += static_cast<double>((*channel)[i]);
            means.push_back(sum / kWindow);
        }
        const auto middle = means.begin() + static_cast<std::ptrdiff_t>(means.size() / 2);
        std::nth_element(means.begin(), middle, means.end());
        greatest = std::max(greatest, std::fabs(*middle));
    }
    return Db(greatest);
}

/// Power of the difference of two renders, relative to the first's.
double Change(const Render& from, const Render& to)
{
    double sum = 1e-20;
    double difference = 0.0;
    for (std::size_t i = 0; i < std::min(from.left.size(), to.left.size()); ++i) {
        sum += static_cast<double>(from.left[i] * from.left[i]);
        difference +=
            static_cast<double>((to.left[i] - from.left[i]) * (to.left[i] - from.left[i]));
    }
    return difference / sum;
}

/// Root of the mean square of each 10 ms.
std::vector<double> Levels(const Render& render)
{
    std::vector<double> levels;
    for (std::size_t begin = 0; begin + kBlock <= render.left.size(); begin += kBlock) {
        double sum = 0.0;
        for (std::size_t i = begin; i < begin + kBlock; ++i)
            sum += static_cast<double>(render.left[i] * render.left[i] +
                                       render.right[i] * render.right[i]);
        levels.push_back(std::sqrt(sum / (2.0 * kBlock)));
    }
    return levels;
}

double AttackSeconds(const Render& render)
{
    const std::vector<double> levels = Levels(render);
    const double greatest = *std::max_element(levels.begin(), levels.end());
    const auto first = std::find_if(levels.begin(), levels.end(),
                                    [=](double level) { return level >= 0.7 * greatest; });
    return 0.01 * static_cast<double>(first - levels.begin());
}

double TailSeconds(const Render& render)
{
    const std::vector<double> levels = Levels(render);
    const auto last = std::find_if(levels.rbegin(), levels.rend(),
                                   [](double level) { return Db(level) > kSilenceDb; });
    return std::max(0.0, 0.01 * static_cast<double>(levels.rend() - last) - render.releaseSeconds);
}

/// Power spectra of the middle of the sound, one after another.
class CSpectra {
public:
    static constexpr int kSize = 4096;

    explicit CSpectra(const Render& render)
    {
        const std::unique_ptr<kiss_fftr_state, void (*)(kiss_fftr_cfg)> fft(
            kiss_fftr_alloc(kSize, 0, nullptr, nullptr),
            [](kiss_fftr_cfg state) { kiss_fftr_free(state); });
        std::vector<kiss_fft_scalar> window(kSize);
        std::vector<kiss_fft_cpx> bins(kSize / 2 + 1);
        const auto end = static_cast<std::size_t>(render.releaseSeconds * kRate);
        for (std::size_t begin = 0; begin + kSize <= std::min(end, render.left.size());
             begin += kSize / 2) {
            for (std::size_t i = 0; i < kSize; ++i)
                window[i] = (render.left[begin + i] + render.right[begin + i]) *
                            static_cast<float>(
                                0.5 - 0.5 * std::cos(2.0 * M_PI * static_cast<double>(i) / kSize));
            kiss_fftr(fft.get(), window.data(), bins.data());
            std::vector<double> power;
            for (const kiss_fft_cpx& bin : bins)
                power.push_back(static_cast<double>(bin.r * bin.r + bin.i * bin.i));
            powers.push_back(std::move(power));
        }
    }

    static double BinHz(std::size_t bin) { return static_cast<double>(bin) * kRate / kSize; }

    [[nodiscard]] double CentreHz() const
    {
        double sum = 1e-20;
        double weighted = 0.0;
        for (const std::vector<double>& power : powers)
            for (std::size_t bin = 0; bin < power.size(); ++bin) {
                sum += std::sqrt(power[bin]);
                weighted += std::sqrt(power[bin]) * BinHz(bin);
            }
        return weighted / sum;
    }

    [[nodiscard]] Fingerprint Print() const
    {
        Fingerprint print;
        std::array<double, Fingerprint::kBands * Fingerprint::kStretches> sums{};
        double total = 1e-20;
        for (std::size_t i = 0; i < powers.size(); ++i)
            for (std::size_t bin = 2; bin < powers[i].size(); ++bin) {
                // Three bands an octave from 40 Hz.
                const int band = static_cast<int>(3.0 * std::log2(BinHz(bin) / 40.0));
                if (band < 0 || band >= Fingerprint::kBands)
                    continue;
                const std::size_t stretch = i * Fingerprint::kStretches / powers.size();
                sums[stretch * Fingerprint::kBands + static_cast<std::size_t>(band)] +=
                    powers[i][bin];
                total += powers[i][bin];
            }
        for (std::size_t i = 0; i < sums.size(); ++i)
            print.level[i] = static_cast<float>(std::max(
                10.0 * std::log10(sums[i] / total * static_cast<double>(sums.size()) + 1e-12),
                -40.0));
        return print;
    }

    std::vector<std::vector<double>> powers;
};

} // namespace

EStyle StyleOf(const std::string& bank)
{
    if (bank == "Basses")
        return EStyle::Low;
    if (bank == "Leads")
        return EStyle::High;
    if (bank == "Drums")
        return EStyle::Drum;
    if (bank == "Bells" || bank == "Keys" || bank == "Plucks")
        return EStyle::Struck;
    return EStyle::Chord;
}

double Distance(const Fingerprint& a, const Fingerprint& b)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < a.level.size(); ++i)
        sum += static_cast<double>(std::fabs(a.level[i] - b.level[i]));
    return sum / static_cast<double>(a.level.size());
}

ProgramMeasure MeasureProgram(const std::filesystem::path& program, EStyle style)
{
    ProgramMeasure measure;
    measure.name = program.stem().string();
    measure.peak = -200.0;
    measure.quietest = 0.0;
    measure.offset = -200.0;
    Fingerprint wheelUp;
    Render wheelDown;
    for (const int wheel : {0, 1})
        for (const int velocity : {40, 90, 127}) {
            CPlayer player(program, wheel);
            const bool toTheEnd = velocity == 127 && wheel == 0;
            const Render render = player.Play(style, velocity, toTheEnd);
            measure.finite = measure.finite && IsFinite(render);
            measure.peak = std::max(measure.peak, Peak(render));
            measure.offset = std::max(measure.offset, Offset(render));
            if (velocity == 40)
                measure.quietest = std::min(measure.quietest, Loudness(render));
            if (velocity == 90 && wheel == 0) {
                const CSpectra spectra(render);
                measure.loudness = Loudness(render);
                measure.brightness = spectra.CentreHz();
                measure.attack = AttackSeconds(render);
                measure.fingerprint = spectra.Print();
                wheelDown = render;
            }
            if (velocity == 90 && wheel == 1) {
                wheelUp = CSpectra(render).Print();
                measure.wheelChange = Change(wheelDown, render);
            }
            if (toTheEnd)
                measure.tail = TailSeconds(render);
            if (velocity == 127)
                measure.cost = std::max(measure.cost, render.cpuShare);
        }
    measure.wheel = Distance(measure.fingerprint, wheelUp);
    return measure;
}

std::vector<ProgramMeasure> MeasureBank(const std::filesystem::path& bank)
{
    std::vector<FolderEntry> entries;
    std::vector<ProgramMeasure> measures;
    if (ListFolder(bank.string(), entries))
        for (const FolderEntry& entry : entries)
            measures.push_back(
                MeasureProgram(bank / entry.name, StyleOf(bank.filename().string())));
    return measures;
}

} // namespace keldra
