#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace keldra {

/// Files and folders that were found in a folder and passed the filters, in the order in which the
/// platform lists them: naturally sorted, the same on every machine. One thread at a time.
class CFileList {
public:
    struct Entry {
        std::string path; ///< full
        bool isFolder = false;
        FileStamp stamp; ///< zero for entries that were added by hand
    };

    /// Paths of this many bytes and more aren't listed.
    static constexpr std::size_t kPathLimit = 1024;

    virtual ~CFileList() = default;

    /// From now on only what passes one of the filters is added. Without filters everything is.
    /// @param extension  of at most 31 characters, compared byte for byte; empty: any
    /// @param folders    the filter is one for folders, else for files
    void AddFilter(std::string_view extension, bool folders);

    /// Replaces the entries by what is in a folder. Waits for the disk.
    /// @return false when it can't be listed; the list is empty then
    bool Scan(std::string_view folder);

    /// Appends an entry if it passes the filters and isn't "." or "..".
    void Add(std::string_view path, bool isFolder, const FileStamp& stamp = {});

    void Clear() { entries_.clear(); }
    [[nodiscard]] int Count() const { return static_cast<int>(entries_.size()); }
    [[nodiscard]] const std::vector<Entry>& Entries() const { return entries_; }

    /// The text after the last separator without its last dot and what follows; empty when there is
    /// no such entry. A folder's name is treated alike.
    [[nodiscard]] std::string_view DisplayName(int index) const;

private:
    struct Filter {
        std::string extension;
        bool folders;
    };
    [[nodiscard]] bool Passes(std::string_view path, bool isFolder) const;

    std::vector<Entry> entries_;
    std::vector<Filter> filters_;
};

} // namespace keldra
