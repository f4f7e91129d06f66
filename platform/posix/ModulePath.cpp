#include "platform/ModulePath.h"

#include <cstdlib>
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
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(info.dli_fname, nullptr),
                                                           &std::free);
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
