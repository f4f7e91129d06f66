#include "songs/ScorePlayer.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace keldra::songs {

namespace {

constexpr int kAccentVelocity = 20;
constexpr int kGhostVelocity = -34;
constexpr int kSlurTicks = 24; ///< that a slurred note sounds into the next
constexpr int kCurveTicks = 50;

/// A number -1 .. 1 that depends on nothing but where a note is: editing a bar changes no other.
double Deviation(std::int64_t tick, int channel, int key, unsigned what)
{
    std::uint64_t x = static_cast<std::uint64_t>(tick) * 4096 +
                      static_cast<std::uint64_t>(channel) * 256 + static_cast<std::uint64_t>(key);
    x += what * 0x9E3779B97F4A7C15u;
    x = (x ^ x >> 30) * 0xBF58476D1CE4E5B9u;
    x = (x ^ x >> 27) * 0x94D049BB133111EBu;
    x ^= x >> 31;
    return static_cast<double>(x >> 11) * 0x1p-52 - 1.0;
}

class CPlayer {
public:
    explicit CPlayer(const Score& score) : score_(score) {}

    Performance Play()
    {
        out_.beats = score_.beats;
        out_.unit = score_.unit;
        out_.tempos.push_back({0, score_.tempoBpm});
        std::int64_t start = 0;
        for (const ScoreSection& section : score_.sections) {
            const std::int64_t end = start + section.bars * BarTicks();
            for (const ScoreSection::Play& play : section.plays)
                PlayPatterns(play, start, end);
            for (const ScoreCurve& curve : section.curves)
                PlayCurve(curve, start, end);
            start = end;
        }
        Sort();
        PartOverlaps();
        return std::move(out_);
    }

private:
    [[nodiscard]] std::int64_t BarTicks() const
    {
        return std::llround(score_.QuartersPerBar() * kTicksPerQuarter);
    }

    void PlayPatterns(const ScoreSection::Play& play, std::int64_t start, std::int64_t end)
    {
        for (std::size_t i = 0; start < end; i = (i + 1) % play.patterns.size()) {
            const PatternUse& use = play.patterns[i];
            const ScorePattern& pattern = score_.patterns[use.pattern];
            for (const ScoreNote& note : pattern.notes)
                PlayNote(score_.parts[play.part], pattern, use, note, start, end);
            start += std::int64_t{pattern.steps} * pattern.stepTicks;
        }
    }

    void PlayNote(const ScorePart& part, const ScorePattern& pattern, const PatternUse& use,
                  const ScoreNote& note, std::int64_t start, std::int64_t sectionEnd)
    {
        const std::int64_t written = start + std::int64_t{note.step} * pattern.stepTicks;
        if (written >= sectionEnd)
            return;
        const std::int64_t end =
            std::min(written + std::int64_t{note.steps} * pattern.stepTicks, sectionEnd);
        const std::int64_t length =
            note.slur ? end - written + kSlurTicks : (end - written) * part.gatePercent / 100;
        for (const int key : note.keys) {
            const int sounding = key == kHit ? part.hits.value_or(60) : key + use.transpose;
            PlayedNote played;
            played.channel = part.channel;
            played.key = std::clamp(sounding, 0, 127);
            played.velocity = Velocity(part, note, use, written, played.key);
            const auto loose = std::lround(Deviation(written, part.channel, played.key, 1) *
                                           static_cast<double>(part.loose));
            played.start = std::max<std::int64_t>(0, written + Swing(written) + part.late + loose);
            // A note ends with the grid, not with its own beginning; very short ones keep a tick.
            played.end = std::max(written + Swing(written) + part.late + length, played.start + 1);
            out_.notes.push_back(played);
        }
    }

    [[nodiscard]] int Velocity(const ScorePart& part, const ScoreNote& note, const PatternUse& use,
                               std::int64_t tick, int key) const
    {
        constexpr int kEighth = kTicksPerQuarter / 2;
        const int beat = tick % kTicksPerQuarter == 0 ? 3 : tick % kEighth == 0 ? 0 : -4;
        const int accent = note.accent > 0 ? kAccentVelocity : note.accent < 0 ? kGhostVelocity : 0;
        const double even = (part.velocity + accent + beat) * use.percent / 100.0;
        const double uneven = Deviation(tick, part.channel, key, 2) * part.uneven;
        return std::clamp(static_cast<int>(std::lround(even + uneven)), 1, 127);
    }

    /// Every second sixteenth comes late, and what lies between two sixteenths goes along.
    [[nodiscard]] std::int64_t Swing(std::int64_t tick) const
    {
        constexpr int kSixteenth = kTicksPerQuarter / 4;
        const std::int64_t into = tick % (2 * kSixteenth);
        const std::int64_t distance = kSixteenth - std::abs(into - kSixteenth);
        return distance * score_.swingPercent / 100;
    }

    void PlayCurve(const ScoreCurve& curve, std::int64_t start, std::int64_t end)
    {
        const auto ticks = [](double quarter) {
            return std::int64_t{std::llround(quarter * kTicksPerQuarter)};
        };
        const std::int64_t first = start + ticks(curve.points.front().quarter);
        const std::int64_t last = std::min(start + ticks(curve.points.back().quarter), end);
        for (std::int64_t tick = first; tick < last; tick += kCurveTicks)
            Set(curve, tick, ValueAt(curve, static_cast<double>(tick - start) / kTicksPerQuarter));
        Set(curve, last, ValueAt(curve, static_cast<double>(last - start) / kTicksPerQuarter));
    }

    static double ValueAt(const ScoreCurve& curve, double quarter)
    {
        const std::vector<CurvePoint>& points = curve.points;
        const auto after = std::find_if(points.begin(), points.end(), [quarter](const auto& point) {
            return point.quarter > quarter;
        });
        if (after == points.end())
            return points.back().value;
        if (after == points.begin())
            return points.front().value;
        const CurvePoint& before = *(after - 1);
        double way = (quarter - before.quarter) / (after->quarter - before.quarter);
        if (after->smooth)
            way = way * way * (3.0 - 2.0 * way);
        return before.value + (after->value - before.value) * way;
    }

    void Set(const ScoreCurve& curve, std::int64_t tick, double value)
    {
        if (curve.kind == ECurve::Tempo) {
            if (out_.tempos.back().bpm != value)
                out_.tempos.push_back({tick, value});
            return;
        }
        const bool isBend = curve.kind == ECurve::Bend;
        PlayedControl control;
        control.tick = tick;
        control.channel = score_.parts[curve.part].channel;
        control.isBend = isBend;
        control.controller = curve.controller;
        control.value = static_cast<int>(
            std::lround(isBend ? std::clamp(value * 8192.0, -8192.0, 8191.0) : value));
        // What is already so isn't said again.
        const auto [known, isNew] =
            values_.try_emplace({control.channel, isBend ? -1 : curve.controller}, control.value);
        if (isNew || known->second != control.value)
            out_.controls.push_back(control);
        known->second = control.value;
    }

    void Sort()
    {
        std::stable_sort(out_.notes.begin(), out_.notes.end(),
                         [](const auto& a, const auto& b) { return a.start < b.start; });
        const auto byTick = [](const auto& a, const auto& b) { return a.tick < b.tick; };
        std::stable_sort(out_.controls.begin(), out_.controls.end(), byTick);
        std::stable_sort(out_.tempos.begin(), out_.tempos.end(), byTick);
    }

    /// A key that is played again is let go a tick before: else its end would end the new note.
    void PartOverlaps()
    {
        std::map<std::pair<int, int>, PlayedNote*> lastOf;
        for (PlayedNote& note : out_.notes) {
            PlayedNote*& last = lastOf[{note.channel, note.key}];
            if (last != nullptr && last->start >= note.start)
                note.start = last->start + 2; // two strokes at once: the second follows
            if (last != nullptr && last->end >= note.start)
                last->end = std::max(note.start - 1, last->start + 1);
            note.end = std::max(note.end, note.start + 1);
            last = &note;
        }
    }

    const Score& score_;
    Performance out_;
    std::map<std::pair<int, int>, int> values_; ///< of channel and controller, -1 for the bend
};

} // namespace

Performance PlayScore(const Score& score)
{
    return CPlayer(score).Play();
}

} // namespace keldra::songs
