// Every factory program, played as its bank is meant to be: nobody should have to reach for the
// volume, wait for silence or find the same sound twice.

#include <algorithm>
#include <cmath>
#include <ebur128.h>
#include <gtest/gtest.h>
#include <kissfft/kiss_fftr.h>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/Folders.h"
#include "presets/PresetList.h"
#include "tests/engine/SynthRig.h"
#include "tests/frame/TestRenderer.h"

namespace keldra::test {
namespace {

const std::string kBanks = std::string(KELDRA_BINARY_DIR) + "/Keldra/Banks";
const CTestDefinition definition;

constexpr int kRate = 44100;
constexpr int kBlock = kRate / 100; ///< frames; times are counted in these
constexpr double kTempo = 120.0;
constexpr int kLongestTail = 2200;

std::vector<std::string> NamesIn(const std::string& folder)
{
    std::vector<FolderEntry> entries;
    std::vector<std::string> names;
    if (ListFolder(folder, entries))
        for (const FolderEntry& entry : entries)
            names.push_back(entry.name);
    return names;
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double Db(double linear)
{
    return 20.0 * std::log10(std::max(linear, 1e-10));
}

// --- Playing ---

struct Note {
    int on, off, key;
};

bool IsPlayedAsLine(const std::string& bank)
{
    return bank == "Basses" || bank == "Leads";
}

/// Lines for basses and leads, single strokes for drums, else chords, held or struck.
std::vector<Note> NotesOf(const std::string& bank)
{
    std::vector<Note> notes;
    constexpr int kBassLine[] = {36, 36, 48, 39, 43, 34};
    constexpr int kLeadLine[] = {60, 67, 65, 72, 70, 63};
    const bool isStruck = bank == "Bells" || bank == "Keys" || bank == "Plucks";
    if (IsPlayedAsLine(bank))
        for (int i = 0; i < 6; ++i)
            notes.push_back({50 * i, 50 * i + 42, (bank == "Basses" ? kBassLine : kLeadLine)[i]});
    else if (bank == "Drums")
        for (int i = 0; i < 6; ++i)
            notes.push_back({50 * i, 50 * i + 30, 60});
    else
        for (int stroke = 0; stroke < (isStruck ? 4 : 1); ++stroke)
            for (const int key : {48, 55, 60, 64})
                notes.push_back({75 * stroke, 75 * stroke + (isStruck ? 60 : 300), key});
    return notes;
}

struct Sound : Stereo {
    std::size_t releaseFrame = 0; ///< of the last note
};

/// @param toTheEnd  goes on until it is silent
Sound Play(const std::string& bank, const std::string& program, int velocity, float wheel,
           bool toTheEnd)
{
    SeedAsLoaded();
    CSynthRig rig(kRate);
    EXPECT_TRUE(rig.synth.Presets().LoadProgram(kBanks + "/" + bank + "/" + program));
    rig.synth.SetParameter(kModWheelValue, wheel);
    rig.Settle();
    rig.synth.SetTempo(kTempo);
    rig.synth.SetTransportPlaying(true);
    const std::vector<Note> notes = NotesOf(bank);
    const int end = notes.back().off;
    Sound sound;
    sound.releaseFrame = static_cast<std::size_t>(end) * kBlock;
    int silent = 0; // blocks
    for (int block = 0; block < end + (toTheEnd ? kLongestTail : 50) && silent < 100; ++block) {
        for (const Note& note : notes)
            if (note.off == block)
                rig.Release(note.key);
        for (const Note& note : notes)
            if (note.on == block)
                rig.Press(note.key, velocity);
        rig.synth.SetSongPosition(block * kTempo / 6000.0);
        const Stereo part = rig.Render(kBlock, kBlock);
        sound.left.insert(sound.left.end(), part.left.begin(), part.left.end());
        sound.right.insert(sound.right.end(), part.right.begin(), part.right.end());
        const auto isLoud = [](float sample) { return std::fabs(sample) >= 1e-4f; };
        const bool sounds =
            std::ranges::any_of(part.left, isLoud) || std::ranges::any_of(part.right, isLoud);
        silent = sounds || block < end ? 0 : silent + 1; // echoes pause
    }
    return sound;
}

// --- Measuring ---

/// LUFS
double Loudness(const Sound& sound)
{
    ebur128_state* state = ebur128_init(2, kRate, EBUR128_MODE_I);
    for (std::size_t i = 0; i < sound.left.size(); ++i) {
        const float frame[] = {sound.left[i], sound.right[i]};
        ebur128_add_frames_float(state, frame, 1);
    }
    double loudness = 0.0;
    ebur128_loudness_global(state, &loudness);
    ebur128_destroy(&state);
    return std::max(loudness, -100.0);
}

/// dBFS; endless where a sample is no number
double Peak(const Sound& sound)
{
    float peak = 0.0f;
    for (const auto* channel : {&sound.left, &sound.right})
        for (const float sample : *channel)
            peak = std::isfinite(sample) ? std::max(peak, std::fabs(sample))
                                         : std::numeric_limits<float>::infinity();
    return Db(static_cast<double>(peak));
}

/// The mean that stays, dBFS: the median over tenths of a second of the last third. (A voice that
/// sounds for the first time begins with a short push to one side, and arpeggios take a while
/// through all voices.)
double Offset(const Sound& sound)
{
    constexpr std::size_t kWindow = kRate / 10;
    double greatest = 0.0;
    for (const auto* channel : {&sound.left, &sound.right}) {
        std::vector<double> means;
        for (std::size_t begin = sound.releaseFrame * 2 / 3; begin + kWindow <= sound.releaseFrame;
             begin += kWindow) {
            double sum = 0.0;
            for (std::size_t i = begin; i < begin + kWindow; ++i)
                sum += static_cast<double>((*channel)[i]);
            means.push_back(sum / kWindow);
        }
        greatest = std::max(greatest, std::fabs(Median(means)));
    }
    return Db(greatest);
}

/// Power of the difference of two sounds, relative to the first's.
double Change(const Sound& from, const Sound& to)
{
    double sum = 1e-20;
    double difference = 0.0;
    for (std::size_t i = 0; i < std::min(from.left.size(), to.left.size()); ++i) {
        sum += std::pow(static_cast<double>(from.left[i]), 2.0);
        difference += std::pow(static_cast<double>(to.left[i] - from.left[i]), 2.0);
    }
    return difference / sum;
}

/// Power in a few bands over a few stretches of time, relative to the whole, in dB.
class CFingerprint {
public:
    explicit CFingerprint(const Sound& sound)
    {
        const std::unique_ptr<kiss_fftr_state, void (*)(kiss_fftr_cfg)> fft(
            kiss_fftr_alloc(kSize, 0, nullptr, nullptr),
            [](kiss_fftr_cfg state) { kiss_fftr_free(state); });
        std::vector<kiss_fft_scalar> window(kSize);
        std::vector<kiss_fft_cpx> bins(kSize / 2 + 1);
        std::array<double, kBands * kStretches> sums{};
        double total = 1e-20;
        for (std::size_t begin = 0; begin + kSize <= sound.releaseFrame; begin += kSize / 2) {
            for (std::size_t i = 0; i < kSize; ++i)
                window[i] = (sound.left[begin + i] + sound.right[begin + i]) *
                            static_cast<float>(
                                0.5 - 0.5 * std::cos(2.0 * M_PI * static_cast<double>(i) / kSize));
            kiss_fftr(fft.get(), window.data(), bins.data());
            const std::size_t stretch = begin * kStretches / sound.releaseFrame;
            for (std::size_t bin = 2; bin < bins.size(); ++bin) {
                // Three bands an octave from 40 Hz
                const double hz = static_cast<double>(bin) * kRate / kSize;
                const int band = static_cast<int>(3.0 * std::log2(hz / 40.0));
                if (band < 0 || band >= kBands)
                    continue;
                const auto power =
                    static_cast<double>(bins[bin].r * bins[bin].r + bins[bin].i * bins[bin].i);
                sums[stretch * kBands + static_cast<std::size_t>(band)] += power;
                total += power;
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i)
            level_[i] = std::max(
                10.0 * std::log10(sums[i] / total * static_cast<double>(sums.size()) + 1e-12),
                -40.0);
    }

    /// The mean difference of the bands, in dB. Loudness doesn't count.
    [[nodiscard]] double DistanceTo(const CFingerprint& other) const
    {
        double sum = 0.0;
        for (std::size_t i = 0; i < level_.size(); ++i)
            sum += std::fabs(level_[i] - other.level_[i]);
        return sum / static_cast<double>(level_.size());
    }

private:
    static constexpr int kSize = 4096;
    static constexpr int kBands = 28;
    static constexpr int kStretches = 6;
    std::array<double, kBands * kStretches> level_{};
};

class FactoryBank : public ::testing::TestWithParam<std::string> {};

} // namespace

TEST(FactoryLibrary, HasADozenBanksOfADozenProgramsWithNamesOfTheirOwn)
{
    const std::vector<std::string> banks = NamesIn(kBanks);
    EXPECT_GE(banks.size(), 12u);
    std::set<std::string> names;
    std::size_t count = 0;
    for (const std::string& bank : banks) {
        const std::vector<std::string> programs = NamesIn(kBanks + "/" + bank);
        EXPECT_GE(programs.size(), 12u) << bank;
        for (const std::string& program : programs) {
            EXPECT_LE(program.size(), 18u + std::string(".keldra").size()) << program;
            names.insert(program);
        }
        count += programs.size();
    }
    EXPECT_GE(count, 160u);
    EXPECT_EQ(names.size(), count);
}

TEST_P(FactoryBank, PlaysSideBySide)
{
    const std::string& bank = GetParam();
    const std::vector<std::string> programs = NamesIn(kBanks + "/" + bank);
    ASSERT_FALSE(programs.empty());
    std::vector<double> loudness;
    std::vector<CFingerprint> fingerprints;
    std::size_t wheels = 0;
    for (const std::string& program : programs) {
        const Sound usual = Play(bank, program, 90, 0.0f, false);
        const Sound loud = Play(bank, program, 127, 0.0f, true);
        const Sound loudWheel = Play(bank, program, 127, 1.0f, false);
        EXPECT_GT(Loudness(Play(bank, program, 40, 0.0f, false)), -60.0)
            << program << " is silent when played softly";
        for (const Sound* sound : {&loud, &loudWheel}) {
            EXPECT_LT(Peak(*sound), IsPlayedAsLine(bank) ? -3.0 : -1.0) << program << ", dBFS";
            EXPECT_LT(Offset(*sound), -40.0) << program << ", mean in dBFS";
        }
        EXPECT_LT(loud.left.size(), loud.releaseFrame + 2100 * kBlock) << program << " never ends";
        wheels += Change(loud, loudWheel) > 0.05 ? 1 : 0;
        loudness.push_back(Loudness(usual));
        fingerprints.emplace_back(usual);
    }
    EXPECT_GE(wheels * 3, programs.size() * 2) << "in most programs the wheel does something";
    const double median = Median(loudness);
    for (std::size_t i = 0; i < programs.size(); ++i) {
        EXPECT_NEAR(loudness[i], median, 4.0) << programs[i] << ", LUFS";
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_GT(fingerprints[i].DistanceTo(fingerprints[j]), 2.0)
                << programs[i] << " sounds like " << programs[j];
    }
}

INSTANTIATE_TEST_SUITE_P(Library, FactoryBank, ::testing::ValuesIn(NamesIn(kBanks)),
                         [](const auto& bank) {
                             std::string name = bank.param;
                             std::erase_if(name, [](char c) { return !std::isalnum(c); });
                             return name;
                         });

} // namespace keldra::test
