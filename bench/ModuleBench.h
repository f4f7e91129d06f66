#pragma once

#include <optional>
#include <string>
#include <vector>

namespace keldra {

struct ModuleBenchOptions {
    std::string path;       ///< of a VST 2.4 instrument
    std::vector<int> notes; ///< how many are held, one measurement each
};

/// Takes --module PATH and --notes 1,8,16 out of the arguments. @return nothing without a module
[[nodiscard]] std::optional<ModuleBenchOptions> TakeModuleOptions(int& argc, char** argv);

/// Measures the module as it starts, with that many notes held, and prints what each one costs.
/// @return the program's exit status: 0, or 2 with a line on stderr saying why not
[[nodiscard]] int RunModuleBench(const ModuleBenchOptions& options);

} // namespace keldra
