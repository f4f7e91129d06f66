#pragma once

#include <memory>
#include <string>

#include "apps/host/VstHost.h"
#include "apps/render/Sounds.h"

namespace keldra::render {

/// Where the module that was built with this program is, by the program's own place: in the folder
/// Keldra beside it, as it is built; beside it, as a user installs it; in lib/vst/Keldra beside its
/// own bin, as systems do. The first of these that is there, else the first.
[[nodiscard]] std::string BundledModulePath();

/// @param error  receives one line when the answer is null
[[nodiscard]] std::shared_ptr<vst::CVstModule> LoadInstrument(const std::string& modulePath,
                                                              std::string& error);

/// The module's complaint about an instance, if it can't play notes as our hosts send them; empty
/// when it can.
[[nodiscard]] std::string ReasonNotToPlay(const vst::CVstHost& host);

/// @param error  receives one line, without the program's name, when the answer is false
[[nodiscard]] bool HandOverProgram(vst::CVstHost& host, const ProgramChunk& program,
                                   std::string& error);

} // namespace keldra::render
