#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/Listening.h"
#include "tests/apps/MidiBytes.h"
#include "tests/apps/RunProgram.h"
#include "tests/apps/WavFile.h"

// The program itself, run on an instrument of sine waves that writes down what it is told.

namespace keldra::test {

namespace {

/// A second of A at 120 beats a minute.
const std::string kNote = Hex("00 904564 8740 804500");
const std::string kSong = MidiFile(480, {Track(kNote)});

class KeldraRender : public testing::Test {
protected:
    KeldraRender() { folder_.Write("song.mid", kSong); }

    /// Starts keldra-render in the folder of the test. @param arguments  split at blanks
    [[nodiscard]] CRunningProgram Start(const std::string& arguments,
                                        CRunningProgram::Setup setup = {}) const
    {
        std::vector<std::string> all{KELDRA_RENDER};
        std::istringstream words(arguments);
        for (std::string word; words >> word;)
            all.push_back(word);
        setup.folder = folder_.Path();
        setup.environment.push_back("SINE_MODULE_LOG=log");
        return CRunningProgram(all, setup);
    }
    [[nodiscard]] ProgramRun Run(const std::string& arguments,
                                 const CRunningProgram::Setup& setup = {}) const
    {
        return Start(arguments, setup).Wait();
    }
    /// Renders song.mid on the test instrument.
    ProgramRun Play(const std::string& arguments = "") const
    {
        const ProgramRun run =
            Run("song.mid -o out.wav --module " KELDRA_TEST_INSTRUMENT " " + arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        return run;
    }

    /// The lines that an instance wrote, those that begin with a word.
    [[nodiscard]] std::vector<std::string> Log(int instance, const std::string& word = "") const
    {
        std::istringstream log(Slurp(folder_.Path("log")));
        std::vector<std::string> lines;
        const std::string start = std::to_string(instance) + ": ";
        for (std::string line; std::getline(log, line);)
            if (line.starts_with(start + word))
                lines.push_back(line.substr(start.size()));
        return lines;
    }
    [[nodiscard]] std::set<std::string> Files() const { return NamesIn(folder_.Path()); }
    [[nodiscard]] Wav Output() const { return ReadWav(folder_.Path("out.wav")); }

    CTemporaryFolder folder_;
};

using Lines = std::vector<std::string>;

/// A program file as hosts save it, with a chunk or another kind of content.
std::string Fxp(const std::string& id, const std::string& chunk, const std::string& kind = "FPCh")
{
    return std::string("CcnK") + BigEndian(0, 4) + kind + BigEndian(1, 4) + id + BigEndian(1, 4) +
           BigEndian(3, 4) + std::string(28, '\0') + BigEndian(chunk.size(), 4) + chunk;
}

} // namespace

TEST_F(KeldraRender, TreatsAnInstanceAsPlugInsExpectFromBirthToDeath)
{
    folder_.Write("sound.fxp", Fxp("Sine", "0123456789"));
    Play("--rate 44100 --block 1000 --tail 0 --set 1:Level=0.25 --set Release=0.5 "
         "--program 1=sound.fxp");
    Lines life = Log(1);
    std::erase_if(life, [](const std::string& line) {
        return line.starts_with("block") || line.starts_with("midi");
    });
    EXPECT_EQ(life, (Lines{"host keldra-render level 4", "open", "chunk 1 of 10 bytes: 30 .. 39",
                           "set 0 0.25", "set 1 0.5", "rate 44100", "size 1000", "mains 1", "start",
                           "stop", "mains 0", "close"}));
}

TEST_F(KeldraRender, GivesEachChannelWithNotesAnInstanceAndItsEventsAtTheirFrames)
{
    folder_.Write("song.mid",
                  MidiFile(480, {Track(Hex("00 FF5103 07A120 00 904540 8100 804500 00 B5077F")),
                                 Track(Hex("10 C207 00 924C7F 00 B24A11 00 E20142 00 D209 00 A24C05"
                                           "8100 824C40"))}));
    Play("--format float --block 300 --tail 0.1");
    EXPECT_EQ(Log(1, "midi"), (Lines{"midi 0: 90 45 40", "midi 6400: 80 45 00",
                                     // at the end all is let go
                                     "midi 7200: b0 40 00", "midi 7200: b0 7b 00"}));
    EXPECT_EQ(Log(2, "midi"),
              (Lines{"midi 800: c2 07 00", "midi 800: 92 4c 7f", "midi 800: b2 4a 11",
                     "midi 800: e2 01 42", "midi 800: d2 09 00", "midi 800: a2 4c 05",
                     "midi 7200: 82 4c 40", "midi 7200: b2 40 00", "midi 7200: b2 7b 00"}));
    EXPECT_EQ(Log(3), Lines{});

    const Wav wav = Output();
    ASSERT_EQ(wav.left.size(), 12000u);
    // Each note is a cosine: it starts with its full level, here 64 / 254 and 1 / 2.
    EXPECT_NEAR(wav.left[0], 0.25197, 1e-5);
    EXPECT_NEAR(wav.left[800] - wav.left[799], 0.5, 0.02);
    EXPECT_NEAR(wav.right[800], 0.5 * wav.left[800], 1e-6);
    EXPECT_EQ(Peak({wav.left.begin() + 7200, wav.left.end()}), 0.0f);
}

TEST_F(KeldraRender, TellsTempoMeterAndTransportAndCutsBlocksWhereTheyChange)
{
    // 3/4 at 120; from quarter 1 on at 240, from quarter 3 on in 4/4; the end is quarter 4.
    folder_.Write("song.mid",
                  MidiFile(96, {Track(Hex("00 FF5804 03021808 00 904564 60 FF5103 03D090"
                                          "8140 FF5804 04021808 60 804500"))}));
    Play("--rate 8000 --block 3000 --tail 0.25");
    EXPECT_EQ(
        Log(1, "block"),
        (Lines{"block 0 + 3000: sample 0 quarter 0.000000 bar 0.000000 tempo 120.0000 meter 3/4 "
               "playing changed",
               "block 3000 + 1000: sample 3000 quarter 0.750000 bar 0.000000 tempo 120.0000 "
               "meter 3/4 playing",
               "block 4000 + 3000: sample 4000 quarter 1.000000 bar 0.000000 tempo 240.0000 "
               "meter 3/4 playing",
               "block 7000 + 1000: sample 7000 quarter 2.500000 bar 0.000000 tempo 240.0000 "
               "meter 3/4 playing",
               "block 8000 + 2000: sample 8000 quarter 3.000000 bar 3.000000 tempo 240.0000 "
               "meter 4/4 playing",
               "block 10000 + 2000: sample 10000 quarter 4.000000 bar 3.000000 tempo 240.0000 "
               "meter 4/4 changed"}));
}

TEST_F(KeldraRender, EndsWhenItIsSilentOrAfterTheTailThatWasAskedFor)
{
    // Notes of velocity 100 fade out in 100 / 127 of the time that Release gives.
    folder_.Write("short.mid", MidiFile(480, {Track(Hex("00 904564 60 804500"))}));
    folder_.Write("hanging.mid", MidiFile(480, {Track(Hex("00 904564 8740 B00100"))}));
    const struct {
        const char* what;
        std::string arguments;
        double seconds;
    } kCases[] = {
        {"no tail", "song.mid --tail 0 --set Release=0.01", 1.0},
        {"a tail of silence", "song.mid --tail 2.5", 3.5},
        {"nothing after the song", "song.mid", 1.0},
        {"until silent", "song.mid --set Release=0.01", 1.787},
        {"silent before an echo", "short.mid --set Echo=0.5", 1.1},
        {"never silent", "song.mid --set Release=1", 31.0},
        {"a note without end", "hanging.mid --set Release=0.01", 1.787},
    };
    for (const auto& [what, arguments, seconds] : kCases) {
        const ProgramRun run =
            Run(arguments + " -o out.wav --block 64 --module " KELDRA_TEST_INSTRUMENT);
        EXPECT_EQ(run.status, 0) << what << ": " << run.err;
        EXPECT_NEAR(static_cast<double>(Output().left.size()) / 48000.0, seconds, 0.003) << what;
    }
}

TEST_F(KeldraRender, GivesTheSameSamplesForAnyBlockSizeAndEveryTime)
{
    Play("--block 512 --tail 0");
    const std::string first = Slurp(folder_.Path("out.wav"));
    for (const char* block : {"512", "1", "8192"}) {
        Play(std::string("--block ") + block + " --tail 0");
        EXPECT_TRUE(Slurp(folder_.Path("out.wav")) == first) << block;
    }
}

TEST_F(KeldraRender, LosesNoEventHoweverManyComeAtOnce)
{
    std::string many;
    for (int i = 0; i < 10000; ++i)
        many += Hex("00 904501");
    folder_.Write("song.mid", MidiFile(480, {Track(many + Hex("10 804500"))}));
    Play("--block 8192 --format float --set Level=0.01");
    EXPECT_EQ(Log(1, "midi").size(), 10001u + 2u) << "with the two that end a song";
    // All of them sound, a few frames apart.
    EXPECT_NEAR(Peak(Output().left), 0.01 * 10000.0 / 127.0, 0.01);
}

TEST_F(KeldraRender, WritesTheFormatsAndLevelsAskedFor)
{
    folder_.Write("loud.mid", MidiFile(480, {Track(Hex("00 90457F 00 90457F 00 90457F"
                                                       "8740 804500"))}));
    const std::string module = " --module " KELDRA_TEST_INSTRUMENT;
    const struct {
        const char* what;
        std::string arguments;
        int format;
        double peak, tolerance;
        bool clips;
    } kCases[] = {
        {"16 bits", "song.mid --format 16 --rate 8000", SF_FORMAT_PCM_16, 0.393701, 1e-4, false},
        {"24 bits", "song.mid --format 24 --rate 384000", SF_FORMAT_PCM_24, 0.393701, 2e-7, false},
        {"24 bits unless told", "song.mid", SF_FORMAT_PCM_24, 0.393701, 2e-7, false},
        {"floats", "song.mid --format float", SF_FORMAT_FLOAT, 0.393701, 1e-6, false},
        {"floats beyond full scale", "loud.mid --format float", SF_FORMAT_FLOAT, 1.5, 1e-6, false},
        {"clipped", "loud.mid", SF_FORMAT_PCM_24, 1.0, 2e-7, true},
        {"down to a level", "loud.mid --normalise -6.0206", SF_FORMAT_PCM_24, 0.5, 1e-5, false},
        {"up to a level", "song.mid --normalise 0", SF_FORMAT_PCM_24, 1.0, 1e-6, false},
    };
    for (const auto& [what, arguments, format, peak, tolerance, clips] : kCases) {
        const ProgramRun run = Run(arguments + " -o out.wav" + module);
        EXPECT_EQ(run.status, 0) << what << ": " << run.err;
        EXPECT_EQ(run.err.find("clipped") != std::string::npos, clips) << what << ": " << run.err;
        const Wav wav = Output();
        EXPECT_EQ(wav.format, SF_FORMAT_WAV | format) << what;
        EXPECT_NEAR(Peak(wav.left), peak, tolerance) << what;
    }
    EXPECT_EQ(Files(), (std::set<std::string>{"log", "loud.mid", "out.wav", "song.mid"}));
}

TEST_F(KeldraRender, KeepsAToneBelowTheLastBitBySixteenBitDither)
{
    Play("--format 16 --tail 0 --set Level=0.00001"); // a quarter of the last bit
    const Wav wav = Output();
    double along = 0.0;
    for (std::size_t i = 0; i < wav.left.size(); ++i)
        along += static_cast<double>(wav.left[i]) *
                 std::cos(static_cast<double>(i) * 440.0 * 6.283185307179586 / 48000.0);
    EXPECT_NEAR(2.0 * along / 48000.0, 7.87e-6, 0.5e-6);
}

TEST_F(KeldraRender, ReportsDurationPeakAndLoudness)
{
    // A tone near 1 kHz, peak -8.10 dBFS at the left, half of that at the right. Equal tones of
    // that peak on both sides would have -8.1 LUFS; the weaker right side takes 2.04 away.
    folder_.Write("song.mid", MidiFile(480, {Track(Hex("00 905364 8740 805300")),
                                             Track(Hex("00 945301 8740 845300"))}));
    const ProgramRun run = Play("--levels --tail 0 --set 5:Level=0");
    std::istringstream lines(run.out);
    std::string channel1, channel5, whole;
    std::getline(lines, channel1);
    std::getline(lines, channel5);
    std::getline(lines, whole);
    double loudness = 0.0;
    double realtime = 0.0;
    EXPECT_EQ(std::sscanf(channel1.c_str(), "channel  1: peak -8.1 dBFS, %lf LUFS", &loudness), 1);
    EXPECT_NEAR(loudness, -10.14, 0.15);
    EXPECT_EQ(channel5, "channel  5: peak silent, silent");
    EXPECT_EQ(std::sscanf(whole.c_str(),
                          "out.wav: 1.000 s, peak -8.10 dBFS, %lf LUFS, %lf x realtime", &loudness,
                          &realtime),
              2)
        << whole;
    EXPECT_NEAR(loudness, -10.14, 0.15);
    EXPECT_GT(realtime, 0.0);
    EXPECT_EQ(run.err, "") << "no progress bar where there is no terminal";
}

TEST_F(KeldraRender, TakesSoundsFromFilesThenFromTheCommandLine)
{
    const std::filesystem::path module = folder_.Path("plug/Sine.so");
    std::filesystem::create_directory(module.parent_path());
    std::filesystem::copy_file(KELDRA_TEST_INSTRUMENT, module);
    folder_.Write("plug/Banks/Leads/Glass.keldra", std::string(692, 'g'));
    folder_.Write("plain", std::string(692, 'p'));
    folder_.Write("sub/be#side.fxp", Fxp("Sine", "beside"));
    folder_.Write("sub/two.sounds", "# A comment, then a channel that isn't played\n"
                                    "channel 9\r\n"
                                    "Level = 0.1\n"
                                    "channel 1 # soft\n"
                                    "\n"
                                    "  level=0.25   # whatever the case\n"
                                    "1 = 1\n"
                                    "program = Leads/Glass\n"
                                    "channel 3\n"
                                    "program = be#side.fxp\n"
                                    "Level = 1");
    folder_.Write("song.mid", MidiFile(480, {Track(kNote), Track(Hex("00 924564 8740 824500"))}));
    const auto sounds = [this](int instance) {
        Lines lines = Log(instance);
        std::erase_if(lines, [](const std::string& line) {
            return !line.starts_with("chunk") && !line.starts_with("set");
        });
        return lines;
    };
    const std::string common = "song.mid -o out.wav --module plug/Sine.so --sounds sub/two.sounds ";
    EXPECT_EQ(Run(common + "--set Release=0 --set 3:Level=0.5").status, 0);
    EXPECT_EQ(sounds(1),
              (Lines{"chunk 1 of 692 bytes: 67 .. 67", "set 0 0.25", "set 1 1", "set 1 0"}));
    EXPECT_EQ(sounds(2),
              (Lines{"chunk 1 of 6 bytes: 62 .. 65", "set 0 1", "set 1 0", "set 0 0.5"}));

    std::filesystem::remove(folder_.Path("log"));
    EXPECT_EQ(Run("--set 3:Release=1 --program 1=plain " + common).status, 0);
    EXPECT_EQ(sounds(1), Lines{"chunk 1 of 692 bytes: 70 .. 70"})
        << "a program from the command line takes the place of the whole sound";
    EXPECT_EQ(sounds(2), (Lines{"chunk 1 of 6 bytes: 62 .. 65", "set 0 1", "set 1 1"}));

    // Factory programs: beside the module, then in the root folder; a file of that path first.
    folder_.Write("root/Banks/Leads/Glass.keldra", std::string(692, 'x'));
    folder_.Write("root/Banks/Leads/Steel.keldra", std::string(692, 's'));
    folder_.Write("config/tallowen/settings",
                  "[Software\\Tallowen\\Keldra]\nrootFolder = " + folder_.Path("root") + "\n");
    folder_.Write("Keys/Plain", std::string(692, 'p'));
    folder_.Write("plug/Banks/Keys/Plain.keldra", std::string(692, 'b'));
    CRunningProgram::Setup setup;
    setup.environment = {"XDG_CONFIG_HOME=" + folder_.Path("config")};
    const std::pair<const char*, const char*> kPrograms[] = {
        {"Leads/Glass", "67"}, {"Leads/Steel", "73"}, {"Keys/Plain", "70"}};
    for (const auto& [name, byte] : kPrograms) {
        std::filesystem::remove(folder_.Path("log"));
        EXPECT_EQ(Run("--program 1=" + std::string(name) + " " + common, setup).status, 0);
        EXPECT_EQ(sounds(1).front(), "chunk 1 of 692 bytes: " + std::string(byte) + " .. " + byte)
            << name;
    }
}

TEST_F(KeldraRender, RefusesBadInputInOneLineAndLeavesNothingBehind)
{
    folder_.Write("text.txt",
                  "Neither a song nor a sound nor a module, but long enough to be one.");
    folder_.Write("silent.mid", MidiFile(480, {Track(Hex("00 B00740 8740 904500"))}));
    folder_.Write("days.mid", MidiFile(1, {Track(Hex("00 FF5103 FFFFFF BF00 904564"))}));
    std::filesystem::resize_file(folder_.Write("huge.mid", kSong), (32u << 20) + 1);
    folder_.Write("parameters.fxp", Fxp("Sine", "abc", "FxCk"));
    folder_.Write("other.fxp", Fxp("Sino", "abc"));
    folder_.Write("refused.fxp", Fxp("Sine", "\xEE"));
    folder_.Write("early.sounds", "\nLevel = 1\n");
    folder_.Write("channel.sounds", "channel 17\n");
    folder_.Write("word.sounds", "channel 1\nLevel\n");
    folder_.Write("value.sounds", "channel 1\n\nLevel = 2\n");
    folder_.Write("program.sounds", "channel 1\nprogram = No/Such\n");
    const std::set<std::string> before = Files();

    const std::string play = "song.mid -o out.wav ";
    const std::string instrument = " --module " KELDRA_TEST_INSTRUMENT;
    const struct {
        std::string arguments;
        const char* problem;
    } kCases[] = {
        {"-o out.wav", "no song"},
        {"song.mid", "no WAV file"},
        {play + "more.mid", "more.mid"},
        {play + "--loud", "--loud"},
        // Songs
        {"missing.mid -o out.wav", "missing.mid: No such file"},
        {". -o out.wav", "not a regular file"},
        {"text.txt -o out.wav", "text.txt: not a MIDI file"},
        {"huge.mid -o out.wav", "larger than 32 MiB"},
        {"days.mid -o out.wav", "longer than a day"},
        {"silent.mid -o out.wav", "silent.mid: nothing to play: no channel has a note"},
        // Outputs
        {"song.mid -o nowhere/out.wav", "nowhere/out.wav: cannot be written: No such file"},
        {"song.mid -o /dev/null", "not a regular file"},
        {"song.mid -o song.mid", "one of the inputs"},
        // Numbers
        {play + "--rate 7999", "--rate takes 8000 to 384000, not \"7999\""},
        {play + "--rate 384001", "--rate"},
        {play + "--block 0", "--block takes 1 to 8192"},
        {play + "--tail -0.1", "--tail takes 0 to 3600"},
        {play + "--normalise 0.1", "--normalise takes -60 to 0"},
        {play + "--format 8", "--format takes 16, 24 or float"},
        // Parameters
        {play + "--set Loudness=1", "the module has no parameter \"Loudness\""},
        {play + "--set Level=1.0001", "\"Level\" takes 0 to 1, not 1.0001"},
        {play + "--set Level=0,5", "\"0,5\" is not a number"},
        {play + "--set Level", "--set takes"},
        {play + "--set 17:Level=1", "channel from 1 to 16"},
        {play + "--set 2:Level=1", "channel 2 of song.mid has no note"},
        // Programs and sounds
        {play + "--program sound.fxp", "--program takes"},
        {play + "--program 2=other.fxp", "channel 2 of song.mid has no note"},
        {play + "--program 1=missing.fxp", "missing.fxp: No such file"},
        {play + "--program 1=text.txt", "text.txt: not a program file"},
        {play + "--program 1=parameters.fxp", "holds no chunk"},
        {play + "--program 1=other.fxp", "made for another plug-in"},
        {play + "--program 1=refused.fxp", "the plug-in refuses it"},
        {play + "--sounds early.sounds", "early.sounds:2: "},
        {play + "--sounds channel.sounds", "channel.sounds:1: channels are 1 to 16"},
        {play + "--sounds word.sounds", "word.sounds:2: "},
        {play + "--sounds value.sounds", "value.sounds:3: \"Level\" takes 0 to 1"},
        {play + "--sounds program.sounds", "program.sounds:2: "},
        // Modules
        {play + "--module missing.so", "missing.so: No such file"},
        {play + "--module text.txt", "invalid ELF header"},
        {play + "--module " KELDRA_TEST_LIBRARY, "not a VST 2 module"},
        {play + "--set Fault=0.25", "no number (channel 1 at 0.011 s)"},
    };
    for (const auto& [arguments, problem] : kCases) {
        const bool hasModule = arguments.find("--module") != std::string::npos;
        const ProgramRun run = Run(arguments + (hasModule ? "" : instrument));
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_TRUE(run.err.starts_with("keldra-render: ")) << arguments << ": " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_NE(run.err.find(problem), std::string::npos) << arguments << ": " << run.err;
        std::filesystem::remove(folder_.Path("log"));
        EXPECT_EQ(Files(), before) << arguments;
    }
    CRunningProgram::Setup setup;
    setup.environment = {"SINE_MODULE_EFFECT=1"};
    const ProgramRun run = Run(play + instrument, setup);
    EXPECT_NE(run.err.find("an effect, not an instrument"), std::string::npos) << run.err;
}

TEST_F(KeldraRender, LeavesTheOldFileWhenTheDiskIsFull)
{
    folder_.Write("out.wav", "old");
    for (const char* arguments : {"", " --normalise -1"}) {
        CRunningProgram::Setup setup;
        setup.fileSizeLimit = 100000;
        const ProgramRun run = Run(
            std::string("song.mid -o out.wav --module " KELDRA_TEST_INSTRUMENT) + arguments, setup);
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.err.find("out.wav: cannot be written"), std::string::npos) << run.err;
        EXPECT_EQ(Slurp(folder_.Path("out.wav")), "old");
        EXPECT_EQ(Files(), (std::set<std::string>{"log", "out.wav", "song.mid"}));
    }
}

TEST_F(KeldraRender, LeavesTheOldFileWhenItIsInterruptedOrCrashes)
{
    const struct {
        const char* what;
        const char* fault; ///< 1: slow enough to be interrupted
        int signal, ignored;
        int status; ///< -1: anything but success
    } kCases[] = {
        {"interrupt", "1", SIGINT, 0, 128 + SIGINT},
        {"termination", "1", SIGTERM, 0, 128 + SIGTERM},
        {"lost terminal", "1", SIGHUP, 0, 128 + SIGHUP},
        {"a module that crashes", "0.5", 0, 0, -1}, // a sanitizer ends it in its own way
        {"started with nohup", "1", SIGHUP, SIGHUP, 0},
    };
    for (const auto& [what, fault, signal, ignored, status] : kCases) {
        folder_.Write("out.wav", "old");
        CRunningProgram::Setup setup;
        setup.ignoredSignal = ignored;
        CRunningProgram program = Start(
            "song.mid -o out.wav --block 4000 --module " KELDRA_TEST_INSTRUMENT " --set Fault=" +
                std::string(fault),
            setup);
        for (int i = 0; i < 2000 && signal != 0 && Log(1, "block").empty(); ++i)
            ::usleep(5000);
        if (signal != 0) {
            EXPECT_EQ(Files().size(), 4u) << what << ": the new file is beside the old one";
            program.Kill(signal);
        }
        const ProgramRun run = program.Wait();
        EXPECT_TRUE(status < 0 ? run.status != 0 : run.status == status) << what << run.status;
        EXPECT_EQ(Files(), (std::set<std::string>{"log", "out.wav", "song.mid"})) << what;
        EXPECT_EQ(Slurp(folder_.Path("out.wav")) == "old", status != 0) << what;
        std::filesystem::remove(folder_.Path("log"));
    }
}

} // namespace keldra::test
