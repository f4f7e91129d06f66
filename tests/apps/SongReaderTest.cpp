#include "apps/render/SongReader.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>

#include "apps/render/SongTiming.h"
#include "tests/apps/MidiBytes.h"

namespace keldra::test {

using namespace render;

namespace {

Song Read(const std::string& file)
{
    std::string error;
    const std::optional<Song> song = ReadSong(AsBytes(file), error);
    EXPECT_TRUE(song) << error;
    return song.value_or(Song{});
}

/// Events as "tick:bytes", blank between two.
std::string EventText(const Song& song)
{
    std::string text;
    for (const SongEvent& event : song.events) {
        text.append(text.empty() ? "" : " ").append(std::to_string(event.tick)).append(":");
        for (const std::uint8_t byte : event.Message()) {
            constexpr char kDigits[] = "0123456789ABCDEF";
            text += {kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return text;
}

} // namespace

TEST(SongReader, ReadsEveryKindOfMessageOfAllTracksInTheOrderOfTime)
{
    const struct {
        const char* what;
        std::string file;
        const char* events;
    } kCases[] = {
        {"all channel messages",
         MidiFile(
             96, {Track(Hex("00 913C40 01 813C20 02 A23D07 03 B34A7F 04 C405 05 D506 06 E60102"))}),
         "0:913C40 1:813C20 3:A23D07 6:B34A7F 10:C405 15:D506 21:E60102"},
        {"running status, also of two bytes",
         MidiFile(96, {Track(Hex("00 903C40 10 3C00 10 3E41 00 C007 01 08"))}),
         "0:903C40 16:903C00 32:903E41 32:C007 33:C008"},
        {"long delta times", MidiFile(96, {Track(Hex("8100 903C40 818000 803C00"))}),
         "128:903C40 16512:803C00"},
        {"tracks merge; those of one tick stay in the order of the tracks",
         MidiFile(96, {Track(Hex("00 903C40 20 803C00")), Track(Hex("00 913C41 10 813C00")),
                       Track(Hex("20 923C42"))}),
         "0:903C40 0:913C41 16:813C00 32:803C00 32:923C42"},
        {"system messages and meta events are passed over",
         MidiFile(96, {Track(Hex("00 F003 010203 01 F703 0102F7 02 FF0103 414243 03 FF7F01 00"
                                 "04 903C40"))}),
         "10:903C40"},
        {"meta events without content, also before any other",
         MidiFile(96, {Track(Hex("00 FF5100 00 FF5800 00 FF5400 00 FF5900 00 FF2000 00 FF0100"
                                 "01 903C40"))}),
         "1:903C40"},
        {"chunks of other kinds between and behind the tracks",
         Header(1, 2, 96) + Chunk("XFIH", "abcd") + Track(Hex("00 903C40")) + Chunk("XFKM", "") +
             Track(Hex("00 913C40")) + "tail",
         "0:903C40 0:913C40"},
        {"more tracks than the header tells of",
         Header(1, 1, 96) + Track("") + Track(Hex("00 903C40")), "0:903C40"},
        {"a header longer than usual",
         Chunk("MThd", Hex("0000 0001 0060 ABCDEF")) + Track(Hex("00 903C40")), "0:903C40"},
    };
    for (const auto& [what, file, events] : kCases)
        EXPECT_EQ(EventText(Read(file)), events) << what;
}

TEST(SongReader, RefusesWhatIsNoWholeSongAndSaysWhy)
{
    const std::string note = Hex("00 903C40");
    std::string longMessage = Hex("00 F0 A0A000"); // 532480 bytes
    longMessage.append(532480 - 1, '\1');
    longMessage += '\xF7';
    std::string endless;
    for (int i = 0; i < 2000; ++i)
        endless += Hex("FFFFFF7F 903C40");

    const struct {
        const char* what;
        std::string file;
        const char* problem;
    } kCases[] = {
        {"nothing", "", "not a MIDI file"},
        {"another kind of file", "RIFF....WAVEfmt ....data", "not a MIDI file"},
        {"a header alone", Header(1, 1, 96), "ends too early"},
        {"fewer tracks than promised", Header(1, 3, 96) + Track(note), "ends too early"},
        {"a header beyond the file", std::string("MThd") + Hex("FFFFFFFF 0000 0001 0060"),
         "ends too early"},
        {"a track cut off", MidiFile(96, {Track(note)}).substr(0, 26), "ends too early"},
        {"a track longer than the file", Header(0, 1, 96) + "MTrk" + Hex("7FFFFFFF 00 903C40"),
         "ends too early"},
        {"a meta event longer than the file", MidiFile(96, {Track(Hex("00 FF01FFFFFF7F 41"))}),
         "ends too early"},
        {"an unending system message", MidiFile(96, {Track(longMessage + note)}),
         "longer than 256 KiB"},
        {"patterns instead of a song", Header(2, 1, 96) + Track(note), "formats 0 and 1"},
        {"ticks without length", MidiFile(0, {Track(note)}), "no length"},
        {"SMPTE frames without ticks", MidiFile(0xE700, {Track(note)}), "no length"},
        {"a data byte first", MidiFile(96, {Track(Hex("00 3C40"))}), "unexpected running status"},
        {"a status byte for data", MidiFile(96, {Track(Hex("00 903C90"))}), "above 127"},
        {"a clock tick", MidiFile(96, {Track(Hex("00 F8"))}), "unexpected byte"},
        {"times beyond all reason", MidiFile(96, {Track(endless)}), "beyond all reason"},
        {"a time so long that it counts as -1",
         MidiFile(96, {Track(Hex("0A 903C40 81FFFFFFFFFFFFFFFF7F 803C00"))}), "beyond all reason"},
        {"a time of forty digits",
         MidiFile(96, {Track(std::string(40, '\xFF') + Hex("7F 903C40"))}), "beyond all reason"},
    };
    for (const auto& [what, file, problem] : kCases) {
        std::string error;
        EXPECT_FALSE(ReadSong(AsBytes(file), error)) << what;
        EXPECT_NE(error.find(problem), std::string::npos) << what << ": " << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << what;
    }
}

TEST(SongTiming, FollowsTempoChangesOfAnyTrackExactly)
{
    // 120 beats a minute, from quarter 2 on 60, from quarter 3 on 240; the second change is in
    // another track than the first, and comes earlier in the file.
    const Song song = Read(MidiFile(96, {Track(Hex("8220 FF51030F4240")),
                                         Track(Hex("8140 FF5103 1E8480 00 FF5103 0F4240")),
                                         Track(Hex("8220 FF5103 03D090 8300 903C40"))}));
    const CSongTiming timing(song, 44100);
    const struct {
        std::int64_t tick, frame;
        double tempo;
    } kCases[] = {{0, 0, 120},      {96, 22050, 120},  {191, 43870, 120}, {192, 44100, 60},
                  {240, 66150, 60}, {288, 88200, 240}, {289, 88315, 240}, {672, 132300, 240}};
    for (const auto& [tick, frame, tempo] : kCases) {
        EXPECT_EQ(timing.FrameOf(tick), frame) << tick;
        EXPECT_NEAR(timing.At(frame).quarters, static_cast<double>(tick) / 96.0, 2e-4) << tick;
        EXPECT_NEAR(timing.At(frame).tempoBpm, tempo, 1e-9) << tick;
    }
    EXPECT_EQ(timing.NextChange(0), 44100);
    EXPECT_EQ(timing.NextChange(44099), 44100);
    EXPECT_EQ(timing.NextChange(44100), 88200);
    EXPECT_EQ(timing.NextChange(88200), CSongTiming::kNever);
}

TEST(SongTiming, LosesNothingOverALongSongWhoseTempoNeverRests)
{
    // A change every tick for 3 hours: 512820 and 512821 microseconds a quarter, so that no tick
    // but every millionth or so starts on a frame.
    Song song;
    song.ticksPerQuarter = 24;
    song.tempos.clear();
    constexpr std::int64_t kTicks = 500000;
    for (std::int64_t tick = 0; tick < kTicks; ++tick)
        song.tempos.push_back({tick, 512820 + static_cast<int>(tick % 2)});
    song.endTick = kTicks;
    const CSongTiming timing(song, 48000);
    // Half the ticks have either tempo: 250000 * (512820 + 512821) / 24 us = 10683.7604166.. s
    EXPECT_EQ(timing.FrameOf(kTicks), 512820500);
    EXPECT_NEAR(timing.At(512820500).quarters, kTicks / 24.0, 1e-6);
    EXPECT_TRUE(timing.EndsWithin(10684));
    EXPECT_FALSE(timing.EndsWithin(10683));
}

TEST(SongTiming, CountsBarsFromTheLastChangeOfMeter)
{
    // 3/4 from the start, 7/8 from quarter 6, 4/4 from quarter 10.5, in the midst of a bar.
    const Song song = Read(MidiFile(
        96,
        {Track(Hex("00 FF58040302 1808 8440 FF58040703 1808 8330 FF58040402 1808 8900 903C40"))}));
    const CSongTiming timing(song, 48000);
    const struct {
        double quarter, bar;
        int beats, unit;
    } kCases[] = {{0, 0, 3, 4},       {2.99, 0, 3, 4},    {3, 3, 3, 4},       {5.99, 3, 3, 4},
                  {6, 6, 7, 8},       {9.4, 6, 7, 8},     {9.5, 9.5, 7, 8},   {10.5, 10.5, 4, 4},
                  {14.4, 10.5, 4, 4}, {14.5, 14.5, 4, 4}, {1000, 998.5, 4, 4}};
    for (const auto& [quarter, bar, beats, unit] : kCases) {
        const SongPosition position = timing.At(std::llround(quarter * 24000.0));
        EXPECT_NEAR(position.barStart, bar, 1e-9) << quarter;
        EXPECT_EQ(position.beats, beats) << quarter;
        EXPECT_EQ(position.unit, unit) << quarter;
    }
}

TEST(SongTiming, CountsSmpteFramesWithoutTempo)
{
    const std::string events = Hex("00 FF5103 030D40 64 903C40");
    // 25 frames of 40 ticks: milliseconds. 29.97 frames of 80 ticks; its drop frames lengthen it.
    EXPECT_EQ(CSongTiming(Read(MidiFile(0xE728, {Track(events)})), 48000).FrameOf(200), 4800);
    const Song drop = Read(MidiFile(0xE350, {Track(events)}));
    const CSongTiming timing(drop, 48000);
    EXPECT_EQ(timing.FrameOf(drop.events.front().tick), 2002); // 100 / 2400 * 1.001 s
    EXPECT_NEAR(timing.At(0).tempoBpm, 119.88, 0.001);
}

} // namespace keldra::test
