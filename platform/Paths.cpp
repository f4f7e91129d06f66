#include "platform/Folders.h"

namespace keldra {

std::string JoinPath(std::string_view folder, std::string_view name)
{
    std::string path(folder);
    if (!path.empty() && path.back() != kPathSeparator)
        path += kPathSeparator;
    return path.append(name);
}

std::string_view FileNameOf(std::string_view path)
{
    const std::size_t separator = path.rfind(kPathSeparator);
    return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string_view FolderOf(std::string_view path)
{
    const std::size_t separator = path.rfind(kPathSeparator);
    if (separator == std::string_view::npos)
        return {};
    return path.substr(0, separator == 0 ? 1 : separator);
}

std::string_view WithoutExtension(std::string_view fileName)
{
    return fileName.substr(0, fileName.rfind('.'));
}

std::string_view ExtensionOf(std::string_view fileName)
{
    const std::size_t dot = fileName.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : fileName.substr(dot + 1);
}

} // namespace keldra
