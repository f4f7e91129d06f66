#include "apps/render/Instrument.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "apps/render/InputFile.h"
#include "platform/Folders.h"
#include "platform/ModulePath.h"

namespace keldra::render {

std::string BundledModulePath()
{
    constexpr const char* kPlaces[] = {"Keldra/Keldra.so", "Keldra.so",
                                       "../lib/vst/Keldra/Keldra.so"};
    for (const char* place : kPlaces) {
        std::error_code ignored;
        if (std::filesystem::is_regular_file(ModuleFolder() + place, ignored))
            return ModuleFolder() + place;
    }
    return ModuleFolder() + kPlaces[0];
}

std::shared_ptr<vst::CVstModule> LoadInstrument(const std::string& modulePath, std::string& error)
{
    std::error_code failure;
    const std::string absolute = std::filesystem::absolute(modulePath, failure);
    if (!std::filesystem::is_regular_file(absolute, failure)) { // a pipe would be waited for
        error = modulePath + ": " + WhyUnreadable(modulePath);
        return nullptr;
    }
    return vst::CVstModule::Load(absolute, error);
}

std::string ReasonNotToPlay(const vst::CVstHost& host)
{
    const vst::AEffect& effect = *host.Effect();
    if ((effect.flags & vst::effFlagsIsSynth) == 0)
        return "an effect, not an instrument";
    if (effect.numInputs > 0)
        return "an instrument that needs sound to work on";
    if (effect.numOutputs < 1 || effect.numOutputs > 256)
        return "an instrument without outputs";
    return {};
}

bool HandOverProgram(vst::CVstHost& host, const ProgramChunk& program, std::string& error)
{
    if (program.madeFor && *program.madeFor != host.Effect()->uniqueID) {
        error = "made for another plug-in";
        return false;
    }
    std::vector<std::byte> copy = program.bytes; // the interface takes no const data
    constexpr vst::VstInt32 kProgramOnly = 1;
    host.Dispatch(vst::effBeginSetProgram);
    const vst::VstIntPtr answer = host.Dispatch(
        vst::effSetChunk, kProgramOnly, static_cast<vst::VstIntPtr>(copy.size()), copy.data());
    host.Dispatch(vst::effEndSetProgram);
    if (answer == 0)
        error = "the plug-in refuses it";
    return answer != 0;
}

} // namespace keldra::render
