#pragma once

#include <string>

namespace keldra {

/// The folder that holds the file this code was loaded from: the plug-in module, or a program that
/// it is linked into. Absolute, links followed (a module that is linked into a host's plug-in
/// folder finds what lies beside the real one), ending in a separator; empty when the system can't
/// tell. Any thread.
[[nodiscard]] const std::string& ModuleFolder();

} // namespace keldra
