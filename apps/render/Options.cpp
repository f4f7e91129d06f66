#include "apps/render/Options.h"

#include <CLI/CLI.hpp>

#include "apps/render/Text.h"

namespace keldra::render {

namespace {

constexpr int kLeastRate = 8000;
constexpr int kMostRate = 384000;
constexpr int kMostBlock = 8192;
constexpr double kMostTailSeconds = 3600.0;
constexpr double kLeastPeakDb = -60.0;

/// What comes as text, still to be understood: the library would read numbers by the locale.
struct RawOptions {
    std::vector<std::string> programs;
    std::vector<std::string> settings;
    std::string rate;
    std::string block;
    std::string tail;
    std::string normalise;
    std::string format;
};

void Declare(CLI::App& app, Options& options, RawOptions& raw)
{
    app.add_option("song", options.songPath, "MIDI file to play")->option_text("SONG.mid");
    app.add_option("-o,--output", options.outputPath, "WAV file to write")->option_text("OUT.wav");
    app.add_option("--module", options.modulePath,
                   "VST 2 instrument to play it on (Keldra, by this program's place)")
        ->option_text("PATH");
    app.add_option("--sounds", options.soundsPath, "Text file with the sound of each channel")
        ->option_text("FILE");
    app.add_option(
           "--program", raw.programs,
           "Program for a channel: a factory program, or the path of a program file (fxp with a "
           "chunk, or a state block of 692 bytes)")
        ->option_text("CHANNEL=BANK/NAME or CHANNEL=PATH")
        ->allow_extra_args(false);
    app.add_option("-p,--set", raw.settings,
                   "Parameter, by name or by number, for one channel or for all")
        ->option_text("[CHANNEL:]NAME=VALUE")
        ->allow_extra_args(false);
    app.add_option("--rate", raw.rate, "Sample rate, 8000 to 384000 (48000)")->option_text("HZ");
    app.add_option("--block", raw.block, "Most frames in a block, 1 to 8192 (512)")
        ->option_text("FRAMES");
    app.add_option("--tail", raw.tail,
                   "Time after the song's end, 0 to 3600 (until silent, at most 30)")
        ->option_text("SECONDS");
    app.add_option("--normalise", raw.normalise, "Bring the peak to this level, -60 to 0 dBFS")
        ->option_text("DB");
    app.add_option("--format", raw.format, "Samples: 16, 24 or float (24)")->option_text("FORMAT");
    app.add_flag("--levels", options.render.measureChannels,
                 "Print the level of each channel, too");
    app.add_flag("--list-parameters", options.listParameters,
                 "List the module's parameters instead of playing: number, name, default and text");
    app.set_version_flag("--version", "keldra-render 2.4");
}

bool Wrong(const std::string& option, const std::string& wanted, const std::string& given,
           std::string& text)
{
    text = option + " takes " + wanted + ", not " + Quoted(given);
    return false;
}

bool ReadWhole(const std::string& option, const std::string& given, int least, int most, int& value,
               std::string& text)
{
    if (given.empty())
        return true;
    const std::optional<int> number = ParseWhole(given);
    if (!number || *number < least || *number > most)
        return Wrong(option, std::to_string(least) + " to " + std::to_string(most), given, text);
    value = *number;
    return true;
}

bool ReadNumber(const std::string& option, const std::string& given, double least, double most,
                std::optional<double>& value, std::string& text)
{
    if (given.empty())
        return true;
    const std::optional<double> number = ParseNumber(given);
    if (!number || *number < least || *number > most)
        return Wrong(option, ShortText(least) + " to " + ShortText(most), given, text);
    value = number;
    return true;
}

bool ReadFormat(const std::string& given, ESampleFormat& format, std::string& text)
{
    if (given == "16")
        format = ESampleFormat::Pcm16;
    else if (given == "float")
        format = ESampleFormat::Float32;
    else if (!given.empty() && given != "24")
        return Wrong("--format", "16, 24 or float", given, text);
    return true;
}

/// A channel in front of a separator: "3=" or "3:". Advances the text behind it.
std::optional<int> TakeChannel(std::string_view& given, char separator)
{
    const std::size_t at = given.find(separator);
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::optional<int> channel = ParseWhole(Trimmed(given.substr(0, at)));
    if (channel)
        given.remove_prefix(at + 1);
    return channel;
}

bool IsChannel(int channel)
{
    return channel >= 1 && channel <= kChannelCount;
}

bool ReadPrograms(const RawOptions& raw, Options& options, std::string& text)
{
    for (const std::string& given : raw.programs) {
        std::string_view name = given;
        const std::optional<int> channel = TakeChannel(name, '=');
        if (!channel || !IsChannel(*channel) || name.empty())
            return Wrong("--program", "CHANNEL=PROGRAM with a channel from 1 to 16", given, text);
        options.programs.push_back({*channel - 1, std::string(name)});
    }
    return true;
}

bool ReadSettings(const RawOptions& raw, Options& options, std::string& text)
{
    for (const std::string& given : raw.settings) {
        std::string_view rest = given;
        const std::optional<int> channel = TakeChannel(rest, ':');
        std::optional<ParameterSetting> setting = ParseSetting(rest);
        if (!setting || (channel && !IsChannel(*channel)))
            return Wrong("--set", "[CHANNEL:]NAME=VALUE with a channel from 1 to 16", given, text);
        setting->source = "--set " + given;
        Options::Setting option{std::nullopt, std::move(*setting)};
        if (channel)
            option.channel = *channel - 1;
        options.settings.push_back(std::move(option));
    }
    return true;
}

bool Interpret(const RawOptions& raw, Options& options, std::string& text)
{
    if (!options.listParameters && options.songPath.empty()) {
        text = "no song given; --help tells more";
        return false;
    }
    if (!options.listParameters && options.outputPath.empty()) {
        text = "no WAV file given to write to (-o OUT.wav)";
        return false;
    }
    RenderSettings& render = options.render;
    return ReadWhole("--rate", raw.rate, kLeastRate, kMostRate, render.sampleRate, text) &&
           ReadWhole("--block", raw.block, 1, kMostBlock, render.blockFrames, text) &&
           ReadNumber("--tail", raw.tail, 0.0, kMostTailSeconds, render.tailSeconds, text) &&
           ReadNumber("--normalise", raw.normalise, kLeastPeakDb, 0.0, options.normaliseDb, text) &&
           ReadFormat(raw.format, options.format, text) && ReadPrograms(raw, options, text) &&
           ReadSettings(raw, options, text);
}

} // namespace

EParsed ParseOptions(int argc, const char* const* argv, Options& options, std::string& text)
{
    CLI::App app(
        "Plays a MIDI file on Keldra, or on another VST 2 instrument, into a WAV file. Each "
        "channel gets an instance of its own.",
        "keldra-render");
    app.set_help_flag("-h,--help", "Print this help");
    RawOptions raw;
    Declare(app, options, raw);
    const EParsed parsed = ParseCommandLine(app, argc, argv, text);
    if (parsed != EParsed::Run)
        return parsed;
    return Interpret(raw, options, text) ? EParsed::Run : EParsed::Wrong;
}

} // namespace keldra::render
