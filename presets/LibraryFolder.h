#pragma once

#include <string>
#include <string_view>

#include "frame/PluginInstance.h"
#include "platform/SettingsStore.h"

namespace keldra {

/// The folder that sounds are looked for in unless the settings say otherwise.
/// @param moduleFolder  that holds the module, or empty when the system can't tell
/// @param hostKind      the native host keeps to the module's folder
/// @return the value "rootFolder" of this user, else of this machine, else the module's folder
[[nodiscard]] std::string FindRootFolder(const CSettingsStore& settings, EHostKind hostKind,
                                         std::string_view moduleFolder);

/// The folder whose sub-folders are banks: "Keldra" in the folder that all of the maker's products
/// share on this user's account, when the settings name one; else "Banks" in the root folder.
[[nodiscard]] std::string FindLibraryFolder(const CSettingsStore& settings,
                                            std::string_view rootFolder);

/// The two folders of this process: by the settings as they are now and the folder of the module
/// that this code was loaded from. Control threads; waits for the disk.
[[nodiscard]] std::string RootFolder(EHostKind hostKind);
[[nodiscard]] std::string LibraryFolder(EHostKind hostKind);

} // namespace keldra
