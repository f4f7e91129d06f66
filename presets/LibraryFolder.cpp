#include "presets/LibraryFolder.h"

#include "platform/Folders.h"
#include "platform/ModulePath.h"

namespace keldra {

namespace {

constexpr std::string_view kSharedKey = "Software\\Tallowen\\Shared\\Paths\\";
constexpr std::string_view kWithoutModule = "/Library/Application Support/Tallowen/";

} // namespace

std::string FindRootFolder(const CSettingsStore& settings, EHostKind hostKind,
                           std::string_view moduleFolder)
{
    if (hostKind != EHostKind::Native)
        for (const ESettingsHive hive : {ESettingsHive::CurrentUser, ESettingsHive::LocalMachine})
            if (auto folder = settings.Read(hive, kProductKey, kRootFolderValue))
                return *folder;
    return std::string(moduleFolder.empty() ? kWithoutModule : moduleFolder);
}

std::string FindLibraryFolder(const CSettingsStore& settings, std::string_view rootFolder)
{
    if (const auto shared = settings.Read(ESettingsHive::CurrentUser, kSharedKey, "Shared Data"))
        return JoinPath(*shared, "Keldra");
    return JoinPath(rootFolder, "Banks");
}

std::string RootFolder(EHostKind hostKind)
{
    return FindRootFolder(CSettingsStore(), hostKind, ModuleFolder());
}

std::string LibraryFolder(EHostKind hostKind)
{
    return FindLibraryFolder(CSettingsStore(), RootFolder(hostKind));
}

} // namespace keldra
