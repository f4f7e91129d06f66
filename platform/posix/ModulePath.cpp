#include "platform/ModulePath.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>

#include "platform/Folders.h"

namespace keldra {

namespace {

std::string FindModuleFolder()
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(&ModuleFolder), &info) == 0 ||
        info.dli_fname == nullptr)
        return {};
    // A program that was found through the search path is known by its bare name only.
    const bool isProgram = std::strchr(info.dli_fname, kPathSeparator) == nullptr;
    const char* const path = isProgram ? "/proc/self/exe" : info.dli_fname;
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path, nullptr), &std::free);
    if (real == nullptr)
        return {};
    return JoinPath(FolderOf(real.get()), "");
}

} // namespace

const std::string& ModuleFolder()
{
    // Asked once: a module that was loaded by a relative path wouldn't be found any more after the
    // host has changed its working folder.
    static const std::string folder = FindModuleFolder();
    return folder;
}

} // namespace keldra
