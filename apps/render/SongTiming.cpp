#include "apps/render/SongTiming.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace keldra::render {

// Times are counted in units so small that every tick starts on a whole one: with d ticks a quarter
// and m microseconds a quarter, a tick lasts m / (1000000 d) seconds, so the unit is 1 / (1000000
// d) of a second and the tick m units. A sum over a whole song is exact. Its bounds: 2^38 ticks of
// less than 2^24 units stay below 2^62.

CSongTiming::CSongTiming(const Song& song, int sampleRate)
    : sampleRate_(sampleRate),
      ticksPerQuarter_(song.ticksPerQuarter),
      unitsPerSecond_(std::int64_t{1000000} * song.ticksPerQuarter),
      endTick_(song.endTick)
{
    assert(!song.tempos.empty() && song.tempos.front().tick == 0);
    assert(!song.meters.empty() && song.meters.front().tick == 0);
    for (const TempoChange& change : song.tempos) {
        Tempo tempo;
        tempo.tick = change.tick;
        tempo.microsecondsPerQuarter = change.microsecondsPerQuarter;
        if (!tempos_.empty()) {
            const Tempo& last = tempos_.back();
            tempo.time = last.time + (change.tick - last.tick) * last.microsecondsPerQuarter;
            if (last.tick == change.tick)
                tempos_.pop_back(); // of several at one tick the last counts
        }
        tempo.frame = FrameAt(tempo.time);
        const std::int64_t second = tempo.time / unitsPerSecond_;
        tempo.secondsAhead = static_cast<double>(tempo.frame - second * sampleRate_) / sampleRate_ -
                             static_cast<double>(tempo.time % unitsPerSecond_) /
                                 static_cast<double>(unitsPerSecond_);
        tempos_.push_back(tempo);
    }
    for (const MeterChange& change : song.meters)
        meters_.push_back({FrameOf(change.tick),
                           static_cast<double>(change.tick) / ticksPerQuarter_,
                           4.0 * change.beats / change.unit, change.beats, change.unit});
}

std::int64_t CSongTiming::FrameAt(std::int64_t time) const
{
    const std::int64_t second = time / unitsPerSecond_;
    const std::int64_t rest = time % unitsPerSecond_;
    return second * sampleRate_ + (rest * sampleRate_ + unitsPerSecond_ / 2) / unitsPerSecond_;
}

std::int64_t CSongTiming::FrameOf(std::int64_t tick) const
{
    const auto later = [](std::int64_t value, const Tempo& tempo) { return value < tempo.tick; };
    const Tempo& tempo = *(std::upper_bound(tempos_.begin(), tempos_.end(), tick, later) - 1);
    return FrameAt(tempo.time + (tick - tempo.tick) * tempo.microsecondsPerQuarter);
}

SongPosition CSongTiming::At(std::int64_t frame) const
{
    const auto later = [](std::int64_t value, const auto& change) { return value < change.frame; };
    const Tempo& tempo = *(std::upper_bound(tempos_.begin(), tempos_.end(), frame, later) - 1);
    const Meter& meter = *(std::upper_bound(meters_.begin(), meters_.end(), frame, later) - 1);

    SongPosition position;
    position.tempoBpm = 60e6 / tempo.microsecondsPerQuarter;
    const double seconds =
        static_cast<double>(frame - tempo.frame) / sampleRate_ + tempo.secondsAhead;
    position.quarters = static_cast<double>(tempo.tick) / ticksPerQuarter_ +
                        seconds * 1e6 / tempo.microsecondsPerQuarter;
    // A frame rounded down lies a little before its tick: still in the bar that starts there.
    const double intoMeter = std::fmax(0.0, position.quarters - meter.quarters);
    const double framesAQuarter = sampleRate_ * 1e-6 * tempo.microsecondsPerQuarter;
    const double bars = std::floor((intoMeter + 0.5 / framesAQuarter) / meter.barLength);
    position.barStart = std::fmin(meter.quarters + bars * meter.barLength, position.quarters);
    position.beats = meter.beats;
    position.unit = meter.unit;
    return position;
}

std::int64_t CSongTiming::NextChange(std::int64_t frame) const
{
    const auto later = [](std::int64_t value, const auto& change) { return value < change.frame; };
    const auto tempo = std::upper_bound(tempos_.begin(), tempos_.end(), frame, later);
    const auto meter = std::upper_bound(meters_.begin(), meters_.end(), frame, later);
    return std::min(tempo != tempos_.end() ? tempo->frame : kNever,
                    meter != meters_.end() ? meter->frame : kNever);
}

bool CSongTiming::EndsWithin(std::int64_t seconds) const
{
    const Tempo& last = tempos_.back();
    const std::int64_t end = last.time + (endTick_ - last.tick) * last.microsecondsPerQuarter;
    return end / unitsPerSecond_ < seconds;
}

} // namespace keldra::render
