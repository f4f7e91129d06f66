#pragma once

#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <string_view>

namespace keldra::test {

/// A folder of its own for a test, gone afterwards with all that is in it.
class CTemporaryFolder {
public:
    CTemporaryFolder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "keldra-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~CTemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    [[nodiscard]] std::string Path(std::string_view inside = {}) const
    {
        return inside.empty() ? path_.string() : (path_ / inside).string();
    }

    /// Writes a file, making the folders that lead to it. @return its path
    std::string Write(std::string_view inside, std::string_view content) const
    {
        const std::filesystem::path file = path_ / inside;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file.string();
    }

private:
    std::filesystem::path path_;
};

/// Makes root/ of a folder the root folder that this user's settings name, and hides the machine's.
inline void NameRootFolder(const CTemporaryFolder& folder)
{
    folder.Write("config/tallowen/settings",
                 "[Software\\Tallowen\\Keldra]\nrootFolder = " + folder.Path("root"));
    ::setenv("XDG_CONFIG_HOME", folder.Path("config").c_str(), 1);
    ::setenv("XDG_CONFIG_DIRS", folder.Path("none").c_str(), 1);
}

/// What is in a folder; nothing when it isn't there.
inline std::set<std::string> NamesIn(const std::string& folder)
{
    std::set<std::string> names;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
        names.insert(entry.path().filename());
    return names;
}

/// Content of a file, empty when it isn't there.
inline std::string Slurp(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace keldra::test
