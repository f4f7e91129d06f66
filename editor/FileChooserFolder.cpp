#include "editor/FileChooserFolder.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "platform/Files.h"

namespace keldra {

namespace {

/// Without "." and "..", doubled separators and one at the end.
std::string Normal(const std::string& path)
{
    std::string normal = std::filesystem::path(path).lexically_normal().string();
    while (normal.size() > 1 && normal.ends_with(kPathSeparator))
        normal.pop_back();
    return normal;
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string FullPath(std::string_view folder, std::string_view text)
{
    if (text.starts_with(kPathSeparator))
        return Normal(std::string(text));
    if (text == "~" || text.starts_with("~/"))
        return Normal(JoinPath(HomeFolder(), text.substr(1)));
    return Normal(JoinPath(folder, text));
}

} // namespace

ChooserFolder ReadChooserFolder(std::string path, const std::string& patterns)
{
    ChooserFolder folder;
    folder.isReadable = ListFolder(path, folder.entries);
    folder.path = std::move(path);
    std::erase_if(folder.entries, [&](const FolderEntry& entry) {
        return !entry.isFolder && !FitsPatterns(entry.name, patterns);
    });
    std::stable_partition(folder.entries.begin(), folder.entries.end(),
                          [](const FolderEntry& entry) { return entry.isFolder; });
    return folder;
}

ChooserTarget FindChooserTarget(std::string_view folder, std::string_view text,
                                const std::string& patterns)
{
    using EKind = ChooserTarget::EKind;
    text = Trimmed(text);
    if (text.empty())
        return {};
    std::string path = FullPath(folder, text);
    if (FolderExists(path))
        return {EKind::Folder, std::move(path)};
    if (text.ends_with(kPathSeparator))
        return {EKind::MissingFolder, std::move(path)};
    if (FileExists(path))
        return {EKind::File, std::move(path)};
    for (const std::string& pattern : SplitPatterns(patterns))
        if (pattern.starts_with("*."))
            if (std::string longer = path + pattern.substr(1); FileExists(longer))
                return {EKind::File, std::move(longer)};
    const bool hasFolder = FolderExists(FolderOf(path));
    return {hasFolder ? EKind::NewFile : EKind::MissingFolder, std::move(path)};
}

std::string ParentFolder(std::string_view folder)
{
    std::string parent(FolderOf(folder));
    return parent.empty() ? "/" : parent;
}

} // namespace keldra
