#include "apps/keldra/Options.h"

#include <CLI/CLI.hpp>

#include "apps/render/Text.h"

namespace keldra::standalone {

namespace {

using render::ParseNumber;
using render::ParseWhole;
using render::Quoted;

constexpr int kLeastRate = 8000;
constexpr int kMostRate = 384000;
constexpr int kLeastBlock = 16;
constexpr int kMostBlock = 8192;
constexpr double kLeastTempo = 20.0;
constexpr double kMostTempo = 400.0;

/// Numbers as text: the library would read them by the locale.
struct RawOptions {
    std::string rate;
    std::string block;
    std::string tempo;
};

void Declare(CLI::App& app, Options& options, RawOptions& raw)
{
    app.add_option("--device", options.device,
                   "Sound device: its number or a part of its name (the system's own)")
        ->option_text("DEVICE");
    app.add_option("--rate", raw.rate, "Sample rate, 8000 to 384000 (48000, or the device's own)")
        ->option_text("HZ");
    app.add_option("--block", raw.block, "Frames in a block, 16 to 8192 (256)")
        ->option_text("FRAMES");
    app.add_option("--midi", options.midi,
                   "MIDI input: its number, a part of its name, or none (all of them)")
        ->option_text("PORT");
    app.add_option(
           "--program", options.program,
           "Sound to begin with: a program file, or \"Bank/Name\" of the library (as it was "
           "left)")
        ->option_text("PROGRAM");
    app.add_option("--tempo", raw.tempo,
                   "Beats a minute of gate, arpeggiator and delay, 20 to 400 "
                   "(120)")
        ->option_text("BPM");
    app.add_option("--record", options.recordPath, "Write what is heard to this file as it plays")
        ->option_text("FILE.wav");
    app.add_option("--module", options.modulePath,
                   "VST 2 instrument to play (Keldra, by this program's place)")
        ->option_text("PATH");
    app.add_flag("--no-audio", options.noAudio, "Play without a sound device");
    app.add_flag("--list-devices", options.listDevices,
                 "List sound devices and MIDI inputs instead of playing");
    app.set_version_flag("--version", "keldra 2.4");
}

bool Wrong(const std::string& option, const std::string& wanted, const std::string& given,
           std::string& text)
{
    text = option + " takes " + wanted + ", not " + Quoted(given);
    return false;
}

bool Interpret(const RawOptions& raw, Options& options, std::string& text)
{
    if (!raw.rate.empty()) {
        options.rateHz = ParseWhole(raw.rate);
        if (!options.rateHz || *options.rateHz < kLeastRate || *options.rateHz > kMostRate)
            return Wrong("--rate", "8000 to 384000", raw.rate, text);
    }
    if (!raw.block.empty()) {
        const std::optional<int> block = ParseWhole(raw.block);
        if (!block || *block < kLeastBlock || *block > kMostBlock)
            return Wrong("--block", "16 to 8192", raw.block, text);
        options.blockFrames = *block;
    }
    if (!raw.tempo.empty()) {
        const std::optional<double> tempo = ParseNumber(raw.tempo);
        if (!tempo || *tempo < kLeastTempo || *tempo > kMostTempo)
            return Wrong("--tempo", "20 to 400", raw.tempo, text);
        options.tempoBpm = *tempo;
    }
    if (options.noAudio && !options.device.empty()) {
        text = "--device and --no-audio exclude each other";
        return false;
    }
    return true;
}

} // namespace

EParsed ParseOptions(int argc, const char* const* argv, Options& options, std::string& text)
{
    CLI::App app("The Keldra synthesizer in a window of its own. Plays what comes from MIDI "
                 "inputs, and from the computer's keyboard: its two lower rows of letters are a "
                 "piano from C3 on, its two upper rows another an octave above; the two keys right "
                 "of 0 go an octave down and up.",
                 "keldra");
    app.set_help_flag("-h,--help", "Print this help");
    RawOptions raw;
    Declare(app, options, raw);
    const EParsed parsed = ParseCommandLine(app, argc, argv, text);
    if (parsed != EParsed::Run)
        return parsed;
    return Interpret(raw, options, text) ? EParsed::Run : EParsed::Wrong;
}

} // namespace keldra::standalone
