#include "presets/FileList.h"

#include <algorithm>

#include "platform/Folders.h"
#include "presets/ProgramFile.h"

namespace keldra {

namespace {
constexpr std::size_t kLongestExtension = 31;
}

void CFileList::AddFilter(std::string_view extension, bool folders)
{
    filters_.push_back({std::string(extension.substr(0, kLongestExtension)), folders});
}

bool CFileList::Scan(std::string_view folder)
{
    Clear();
    std::vector<FolderEntry> found;
    if (!ListFolder(folder, found))
        return false;
    for (const FolderEntry& entry : found)
        Add(JoinPath(folder, entry.name), entry.isFolder, entry.stamp);
    return true;
}

void CFileList::Add(std::string_view path, bool isFolder, const FileStamp& stamp)
{
    const std::string_view name = FileNameOf(path);
    if (name != "." && name != ".." && path.size() < kPathLimit && Passes(path, isFolder))
        entries_.push_back({std::string(path), isFolder, stamp});
}

bool CFileList::Passes(std::string_view path, bool isFolder) const
{
    return filters_.empty() ||
           std::any_of(filters_.begin(), filters_.end(), [&](const Filter& filter) {
               return filter.folders == isFolder &&
                      (filter.extension.empty() ||
                       filter.extension == ExtensionOf(FileNameOf(path)));
           });
}

std::string_view CFileList::DisplayName(int index) const
{
    if (index < 0 || index >= Count())
        return {};
    return ProgramNameOf(entries_[static_cast<std::size_t>(index)].path);
}

} // namespace keldra
