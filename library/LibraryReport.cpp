// keldra_library_report BANKS [BANK]: measures the factory programs, all or those of one bank, and
// writes a table of them to the standard output. library/REPORT.md is made with it.

#include <cmath>
#include <cstdio>
#include <string>

#include "library/ProgramMeter.h"
#include "platform/Folders.h"

namespace {

using keldra::ProgramMeasure;

/// The program of the list that sounds most like one of them.
std::string Nearest(const std::vector<ProgramMeasure>& programs, const ProgramMeasure& program)
{
    const ProgramMeasure* nearest = nullptr;
    double least = 1e9;
    for (const ProgramMeasure& other : programs)
        if (const double distance = Distance(program.fingerprint, other.fingerprint);
            &other != &program && distance < least) {
            least = distance;
            nearest = &other;
        }
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), " %.1f", least);
    return nearest != nullptr ? nearest->name + text.data() : "";
}

void PrintBank(const std::string& folder, const std::string& bank)
{
    const std::vector<ProgramMeasure> programs = keldra::MeasureBank(folder + "/" + bank);
    std::printf(
        "\n## %s\n\n"
        "| program | loudness | softest | peak | brightness | attack | tail | wheel | cost | "
        "most like |\n|---|---|---|---|---|---|---|---|---|---|\n",
        bank.c_str());
    for (const ProgramMeasure& program : programs)
        std::printf(
            "| %s | %.1f | %.1f | %.1f | %.0f | %.2f | %.1f | %.1f, %.0f %% | %.1f | %s |\n",
            program.name.c_str(), program.loudness, program.quietest, program.peak,
            program.brightness, program.attack, program.tail, program.wheel,
            100.0 * program.wheelChange, 100.0 * program.cost, Nearest(programs, program).c_str());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<keldra::FolderEntry> banks;
    if (argc < 2 || argc > 3 || !keldra::ListFolder(argv[1], banks)) {
        std::fputs("usage: keldra_library_report BANKS [BANK]\n", stderr);
        return 2;
    }
    std::printf(
        "# The factory programs, measured\n\n"
        "Made by `keldra_library_report`. Each is played as its bank is meant to be: chords of "
        "four notes held\nor struck, lines for basses and leads, single strokes for drums; at 44.1 "
        "kHz and 120 beats per minute.\n\n"
        "- loudness: LUFS at velocity 90; softest: at velocity 40; peak: dBFS, the highest of "
        "velocities 40, 90\n  and 127, each with the wheel down and up\n"
        "- brightness: Hz, centre of the amplitude spectrum; attack: seconds to 70 %% of the "
        "greatest level; tail:\n  seconds from the release to below -80 dBFS\n"
        "- wheel: what the wheel changes, in dB a band on average, and as the power of the "
        "difference to the sound\n  with the wheel down (vibrato and panning hardly move the bands)"
        "\n- cost: per cent of one core of the machine that measured; most like: the nearest in "
        "its "
        "bank, and how\n  far it is, in dB a band\n");
    for (const keldra::FolderEntry& bank : banks)
        if (bank.isFolder && (argc == 2 || bank.name == argv[2]))
            PrintBank(argv[1], bank.name);
    return 0;
}
