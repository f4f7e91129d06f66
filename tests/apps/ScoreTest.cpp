#include <algorithm>
#include <gtest/gtest.h>
#include <map>

#include "apps/render/SongReader.h"
#include "songs/ScorePlayer.h"
#include "songs/SongWriter.h"
#include "tests/apps/MidiBytes.h"

namespace keldra::test {

using namespace songs;

namespace {

/// A part that plays as it is written, and a drum.
constexpr const char* kParts = "part tune channel 2 velocity 80 uneven 0 loose 0 gate 50\n"
                               "part drum channel 10 velocity 80 uneven 0 loose 0 hits c1\n";

Performance Play(const std::string& text)
{
    std::string error;
    const std::optional<Score> score = ReadScore(text, error);
    EXPECT_TRUE(score) << error;
    return score ? PlayScore(*score) : Performance{};
}

/// "start-end:key/velocity" for each note of a channel.
std::string NotesOf(const Performance& performance, int channel)
{
    std::string text;
    for (const PlayedNote& note : performance.notes)
        if (note.channel == channel)
            text.append(text.empty() ? "" : " ")
                .append(std::to_string(note.start) + "-" + std::to_string(note.end) + ":")
                .append(std::to_string(note.key) + "/" + std::to_string(note.velocity));
    return text;
}

std::string ControlsOf(const Performance& performance)
{
    std::string text;
    for (const PlayedControl& control : performance.controls)
        text.append(text.empty() ? "" : " ")
            .append(std::to_string(control.tick) + ":")
            .append(control.isBend ? "bend" : std::to_string(control.controller))
            .append("=")
            .append(std::to_string(control.value));
    return text;
}

} // namespace

TEST(Score, PlaysNotesAsTheyAreWritten)
{
    const struct {
        const char* what;
        const char* pattern;
        const char* uses;
        const char* notes;
    } kCases[] = {
        // On a beat 83, between two 80, on a sixteenth 76. Half of the written length sounds.
        {"lengths, rests, beats", "1/16\nc4 d4 e4 . f4 - - - . . . . . . . . |", "p",
         "0-75:60/83 150-225:62/76 300-375:64/80 600-900:65/83"},
        {"accents, ghosts, slurs", "1/4\n| c4! d4? e4~ f4 |", "p",
         "0-300:60/103 600-900:62/49 1200-1824:64/83 1800-2100:65/83"},
        {"chords and accidentals", "1/2\n[c4 eb4 f#3]! .", "p",
         "0-600:60/103 0-600:63/103 0-600:54/103"},
        {"triplets", "1/12\n| c4 d4 e4 . . . . . . . . . |", "p",
         "0-100:60/83 200-300:62/76 400-500:64/76"},
        {"again and again to the end", "1/2\nc4", "p", "0-600:60/83 1200-1800:60/83"},
        {"cut where the section ends", "1/1\n| c4 | d4 |", "p", "0-1200:60/83"},
        {"transposed, scaled, repeated, silent", "1/4\nc4", "p+12*2 p-1@50 .",
         "0-300:72/83 600-900:72/83 1200-1500:59/42"},
    };
    for (const auto& [what, pattern, uses, notes] : kCases) {
        const std::string score =
            std::string(kParts) + "pattern p " + pattern + "\nsection a 1\n tune " + uses + "\n";
        EXPECT_EQ(NotesOf(Play(score), 1), notes) << what;
    }
    EXPECT_EQ(NotesOf(Play(std::string("swing 20\n") + kParts +
                           "pattern p 1/16\nx x x x . . . . . . . . . . . .\nsection a 1\n"
                           " drum p\nsection b 1\n drum . # silent\n"),
                      9),
              "0-135:24/83 180-299:24/76 300-435:24/80 480-615:24/76")
        << "swing moves every second sixteenth";
}

TEST(Score, DrawsCurvesFromPointToPoint)
{
    const auto curves = [](const std::string& lines) {
        return ControlsOf(Play(std::string("meter 3/4\n") + kParts + "section a 2\n" + lines));
    };
    EXPECT_EQ(curves(" tune cc7 1:2=40\n"), "600:7=40");
    EXPECT_EQ(curves(" tune cc7 1=1 1:1.25=4 2=4 2:1=9\n"),
              "0:7=1 50:7=2 100:7=3 150:7=4 1800:7=9");
    EXPECT_EQ(curves(" tune bend 1=-1 1:1.25=1\n"),
              "0:bend=-8192 50:bend=-2731 100:bend=2731 150:bend=8191");
    EXPECT_EQ(curves(" tune cc1 1=0 1:1.5~100\n"),
              "0:1=0 50:1=7 100:1=26 150:1=50 200:1=74 250:1=93 300:1=100");
    EXPECT_EQ(curves(" tune cc1 1=5\nsection b 1\n tune cc1 1=5 1:2=6\n"), "0:1=5 3900:1=6")
        << "what is already so isn't said again";

    const Performance slower = Play(std::string(kParts) + "section a 1\n tempo 1=120 1:1.25=60\n");
    ASSERT_EQ(slower.tempos.size(), 4u);
    EXPECT_EQ(slower.tempos[1].tick, 50);
    EXPECT_EQ(slower.tempos[1].bpm, 100.0);
    EXPECT_EQ(slower.tempos[3].bpm, 60.0);
}

TEST(Score, PlaysLikeAHandThatIsTheSameEveryTime)
{
    const std::string text = "part tune channel 1 velocity 80 uneven 10 loose 20 late 30 gate 100\n"
                             "pattern p 1/16\nc4\nsection a 50\n tune p\n";
    const Performance one = Play(text);
    const Performance two = Play(text);
    ASSERT_EQ(one.notes.size(), 800u);
    std::map<int, int> velocities;
    std::map<std::int64_t, int> times;
    for (std::size_t i = 0; i < one.notes.size(); ++i) {
        const PlayedNote& note = one.notes[i];
        EXPECT_EQ(note.start, two.notes[i].start);
        EXPECT_EQ(note.velocity, two.notes[i].velocity);
        const std::int64_t off = note.start - static_cast<std::int64_t>(i) * 150 - 30;
        EXPECT_LE(std::abs(off), 20);
        EXPECT_LE(std::abs(note.velocity - 80), 14);
        EXPECT_LT(note.start, note.end);
        if (i > 0) {
            EXPECT_LT(one.notes[i - 1].end, note.start) << "the key is let go first";
        }
        ++times[off];
        ++velocities[note.velocity];
    }
    EXPECT_GT(times.size(), 35u) << "of 41 possible ones";
    EXPECT_GT(velocities.size(), 20u);
}

TEST(Score, SurvivesTheFileWithEveryValueThereIs)
{
    Performance performance;
    performance.beats = 7;
    performance.unit = 8;
    performance.tempos = {{0, 120.0}, {1234, 90.0}};
    for (int value = 1; value < 128; ++value) {
        performance.notes.push_back({value * 10, value * 10 + 5, 3, value, value});
        performance.controls.push_back({value * 10, 8, false, value < 120 ? value : 7, value});
    }
    for (int bend = -8192; bend < 8192; bend += 129)
        performance.controls.push_back({20000 + bend, 15, true, 0, bend});
    performance.controls.push_back({30000, 15, true, 0, 8191});

    const std::string file = SongFile(performance);
    std::string error;
    const std::optional<render::Song> song = render::ReadSong(AsBytes(file), error);
    ASSERT_TRUE(song) << error;
    EXPECT_EQ(song->ticksPerQuarter, kTicksPerQuarter);
    EXPECT_EQ(song->tempos.back().tick, 1234);
    EXPECT_EQ(song->tempos.back().microsecondsPerQuarter, 666667);
    EXPECT_EQ(song->meters.back().beats, 7);
    EXPECT_EQ(song->meters.back().unit, 8);
    const auto has = [&song](std::int64_t tick, int status, int data1, int data2) {
        return std::any_of(song->events.begin(), song->events.end(), [&](const auto& event) {
            return event.tick == tick && event.bytes[0] == status && event.bytes[1] == data1 &&
                   event.bytes[2] == data2;
        });
    };
    for (const PlayedNote& note : performance.notes) {
        EXPECT_TRUE(has(note.start, 0x93, note.key, note.velocity)) << note.key;
        EXPECT_TRUE(has(note.end, 0x83, note.key, 64)) << note.key;
    }
    for (const PlayedControl& control : performance.controls)
        if (control.isBend)
            EXPECT_TRUE(
                has(control.tick, 0xEF, (control.value + 8192) & 127, (control.value + 8192) >> 7))
                << control.value;
        else
            EXPECT_TRUE(has(control.tick, 0xB8, control.controller, control.value))
                << control.controller;
    EXPECT_EQ(song->events.size(), 2 * performance.notes.size() + performance.controls.size());
    EXPECT_EQ(song->endTick, 30000);
}

TEST(Score, SaysInWhichLineSomethingIsWrong)
{
    const struct {
        const char* text;
        const char* problem;
    } kCases[] = {
        {"\n", "1: no section"},
        {"tempo 5\n", "1: not a whole number from 10 to 400"},
        {"\nmeter 4/3\n", "2: not a meter"},
        {"speed 5\n", "1: not understood: \"speed\""},
        {"part a velocity 5\n", "1: a part needs a channel"},
        {"part a channel 17\n", "1: not a whole number from 1 to 16"},
        {"part a channel 1\npart a channel 2\n", "2: a second part"},
        {"pattern p 1/7\n", "1: not a length of steps"},
        {"pattern p+ 1/8\n", "1: a name of a pattern"},
        {"pattern p 1/4\n| c4 c4 c4 |\n", "2: this bar is not a whole one"},
        {"pattern p 1/4\nh4\n", "2: not a note: \"h4\""},
        {"pattern p 1/4\n[c4 x4]\n", "2: not a note: \"x4\""},
        {"pattern p 1/4\nc10\n", "2: not a note"},
        {"pattern p 1/4\n. -\n", "2: \"-\" without a note"},
        {"pattern p 1/4\n\nsection a 1\n", "3: the pattern before has no steps"},
        {"| c4 |\n", "1: steps without a pattern"},
        {"section a 0\n", "1: not a whole number from 1"},
        {"section a 1\n b p\n", "2: no such part: \"b\""},
        {"part a channel 1\nsection a 1\n a p\n", "3: no such pattern: \"p\""},
        {"part a channel 1\npattern p 1/4\nx\nsection a 1\n a p\n", "5: a pattern of \"x\""},
        {"part a channel 1\nsection a 1\n a cc1 1\n", "3: not a point of a curve: \"1\""},
        {"part a channel 1\nsection a 1\n a cc1 1=128\n", "3: not a point of a curve"},
        {"part a channel 1\nsection a 1\n a cc1 1:6=1\n", "3: not a point of a curve"},
        {"part a channel 1\nsection a 1\n a bend 2=0 1=0\n", "3: a point before the last one"},
        {"part a channel 1\nsection a 1\n a bend\n", "3: a curve without points"},
        {"part a channel 1\nsection a 1\n a cc120 1=0\n", "3: not a whole number from 0 to 119"},
    };
    for (const auto& [text, problem] : kCases) {
        std::string error;
        EXPECT_FALSE(ReadScore(text, error)) << text;
        EXPECT_TRUE(error.starts_with(problem)) << text << " gives " << error;
    }
}

} // namespace keldra::test
