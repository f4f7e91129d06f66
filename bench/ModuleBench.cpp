// keldra-bench --module PATH --notes 1,8,16: any VST 2.4 instrument, with notes held.

#include "bench/ModuleBench.h"

#include <cstdio>
#include <sstream>

#include "bench/Chord.h"
#include "bench/HeldNotes.h"
#include "frame/ParameterTable.h"

namespace keldra {

namespace {

constexpr vst::VstInt32 kKeldraId = 0x53617757;
constexpr int kMostNotes = 128;
constexpr int kBlocks = 2000; // timed one by one; the best counts

/// @return the value after `name` in the arguments, which it is taken out of; else null
const char* TakeOption(int& argc, char** argv, std::string_view name)
{
    for (int i = 1; i + 1 < argc; ++i)
        if (argv[i] == name) {
            const char* value = argv[i + 1];
            std::copy(argv + i + 2, argv + argc, argv + i);
            argc -= 2;
            return value;
        }
    return nullptr;
}

} // namespace

std::optional<ModuleBenchOptions> TakeModuleOptions(int& argc, char** argv)
{
    const char* path = TakeOption(argc, argv, "--module");
    const char* notes = TakeOption(argc, argv, "--notes");
    if (path == nullptr)
        return std::nullopt;
    ModuleBenchOptions options{path, {}};
    std::istringstream list(notes != nullptr ? notes : "1,8,16,32,64");
    for (std::string text; std::getline(list, text, ',');)
        options.notes.push_back(std::atoi(text.c_str()));
    return options;
}

int RunModuleBench(const ModuleBenchOptions& options)
{
    for (const int count : options.notes)
        if (count < 1 || count > kMostNotes) {
            std::fprintf(stderr, "--notes takes numbers from 1 to %d, with commas between\n",
                         kMostNotes);
            return 2;
        }
    const auto blockSeconds = [&](int notes) {
        std::string error;
        const auto held = CHeldNotes::Load(options.path, error);
        if (held == nullptr) {
            std::fprintf(stderr, "%s: %s\n", options.path.c_str(), error.c_str());
            return 0.0;
        }
        if (held->Host().Effect()->uniqueID == kKeldraId)
            held->Host().SetParameter(kPolyphony, kMaxVoices - 1); // programs ask for fewer voices
        held->Hold(notes);
        return YardstickSeconds([&] { held->Render(); }, kBlocks);
    };
    const double silent = blockSeconds(0);
    if (silent == 0.0)
        return 2;
    KeyTables keys;
    const double scalar = ScalarSeconds(PlainPatch(keys), kMaxVoices) / kMaxVoices;
    std::printf("%s: blocks of %d frames at %.0f Hz, the best of %d\n", options.path.c_str(),
                CHeldNotes::kFrames, CHeldNotes::kRate, kBlocks);
    std::printf("silent %10.3f us\n", silent * 1e6);
    std::printf("notes      us a block   us a note above silence   of a plain scalar voice\n");
    for (const int count : options.notes) {
        const double seconds = blockSeconds(count);
        const double each = (seconds - silent) / count;
        std::printf("%5d  %14.3f  %24.3f  %24.3f\n", count, seconds * 1e6, each * 1e6,
                    each / scalar);
    }
    return 0;
}

} // namespace keldra
