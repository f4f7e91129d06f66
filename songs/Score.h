#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keldra::songs {

/// Ticks of a quarter note, in everything that is played from a score.
inline constexpr int kTicksPerQuarter = 600;

/// One voice of the music: a MIDI channel and how it is played. Ticks are those above.
struct ScorePart {
    std::string name;
    int channel = 0;         ///< 0 .. 15
    int velocity = 90;       ///< of a plain note, 1 .. 127
    int uneven = 6;          ///< velocities differ by up to this, at random
    int late = 0;            ///< ticks behind the beat; negative: ahead
    int loose = 3;           ///< times differ by up to this many ticks, at random
    int gatePercent = 90;    ///< of its written length that a note sounds, 1 .. 100
    std::optional<int> hits; ///< key of the "x" of a drum
};

/// The key of an "x": the one that its part hits.
inline constexpr int kHit = -1;

/// A note or a chord in a pattern.
struct ScoreNote {
    int step = 0;
    int steps = 1;         ///< length
    std::vector<int> keys; ///< at least one
    int accent = 0;        ///< -1 ghost, 0, 1 accent
    bool slur = false;     ///< sounds into the next note
};

struct ScorePattern {
    std::string name;
    int stepTicks = 150;
    int steps = 0;
    std::vector<ScoreNote> notes; ///< by step
};

/// A pattern as a section uses it.
struct PatternUse {
    std::size_t pattern = 0; ///< in Score::patterns
    int transpose = 0;       ///< semitones
    int percent = 100;       ///< of its velocities
};

struct CurvePoint {
    double quarter = 0.0; ///< from the section's start
    double value = 0.0;
    bool smooth = false; ///< reached along an S, not a straight line
};

/// What a curve moves.
enum class ECurve { Controller, Bend, Tempo };

struct ScoreCurve {
    ECurve kind = ECurve::Controller;
    std::size_t part = 0; ///< in Score::parts; not for tempo
    int controller = 0;
    std::vector<CurvePoint> points; ///< by quarter, at least one
};

struct ScoreSection {
    std::string name;
    int bars = 0;
    struct Play {
        std::size_t part = 0;
        std::vector<PatternUse> patterns; ///< one after another, again and again to the end
    };
    std::vector<Play> plays;
    std::vector<ScoreCurve> curves;
};

/// A piece of music as it is written down.
struct Score {
    double tempoBpm = 120.0;
    int beats = 4; ///< a bar
    int unit = 4;  ///< 4 = quarter notes
    int swingPercent = 0;
    std::vector<ScorePart> parts;
    std::vector<ScorePattern> patterns;
    std::vector<ScoreSection> sections;

    [[nodiscard]] double QuartersPerBar() const { return 4.0 * beats / unit; }
};

/// Reads a score, a text file. songs/README.md tells how one is written.
/// @param error  receives "LINE: what is wrong" when the answer is nothing
[[nodiscard]] std::optional<Score> ReadScore(std::string_view text, std::string& error);

} // namespace keldra::songs
