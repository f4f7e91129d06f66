#include "platform/SettingsStore.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/Files.h"
#include "platform/Folders.h"

namespace keldra {

namespace {

constexpr std::size_t kMaxFileSize = 64 * 1024;
constexpr std::size_t kMaxValueLength = 1023;
constexpr std::string_view kFile = "tallowen/settings";

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

char Folded(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c == '/' ? '\\' : c;
}

bool SameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Folded(x) == Folded(y); });
}

std::string_view WithoutLastSeparator(std::string_view key)
{
    while (!key.empty() && Folded(key.back()) == '\\')
        key.remove_suffix(1);
    return key;
}

std::optional<std::string> FindIn(std::string_view text, std::string_view key,
                                  std::string_view valueName)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    bool inKey = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = Trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == '#' || line.front() == ';' ||
            line.find('\0') != std::string_view::npos)
            continue;
        if (line.front() == '[') {
            inKey = line.back() == ']' &&
                    SameName(WithoutLastSeparator(Trimmed(line.substr(1, line.size() - 2))), key);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!inKey || equals == std::string_view::npos ||
            !SameName(Trimmed(line.substr(0, equals)), valueName))
            continue;
        const std::string_view value = Trimmed(line.substr(equals + 1));
        if (value.empty() || value.size() > kMaxValueLength)
            return std::nullopt;
        return std::string(value);
    }
    return std::nullopt;
}

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool IsAbsolute(std::string_view path)
{
    return path.starts_with(kPathSeparator);
}

std::vector<std::string> UserFiles()
{
    // Relative folders in these variables are to be ignored, says the base directory standard.
    if (const std::string config = Environment("XDG_CONFIG_HOME"); IsAbsolute(config))
        return {JoinPath(config, kFile)};
    if (const std::string home = Environment("HOME"); IsAbsolute(home))
        return {JoinPath(JoinPath(home, ".config"), kFile)};
    return {};
}

std::vector<std::string> MachineFiles()
{
    std::string folders = Environment("XDG_CONFIG_DIRS");
    if (folders.empty())
        folders = "/etc/xdg";
    std::vector<std::string> files;
    for (std::string_view rest = folders; !rest.empty();) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        if (IsAbsolute(rest.substr(0, end)))
            files.push_back(JoinPath(rest.substr(0, end), kFile));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return files;
}

} // namespace

CSettingsStore::CSettingsStore() : CSettingsStore(UserFiles(), MachineFiles()) {}

CSettingsStore::CSettingsStore(std::vector<std::string> userFiles,
                               std::vector<std::string> machineFiles)
    : userFiles_(std::move(userFiles)), machineFiles_(std::move(machineFiles))
{
}

std::optional<std::string> CSettingsStore::Read(ESettingsHive hive, std::string_view key,
                                                std::string_view valueName) const
{
    for (const std::string& path :
         hive == ESettingsHive::CurrentUser ? userFiles_ : machineFiles_) {
        std::vector<std::byte> content;
        if (ReadWholeFile(path, kMaxFileSize, content) != EFileRead::Ok)
            continue;
        const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
        if (auto value = FindIn(text, WithoutLastSeparator(key), valueName))
            return value;
    }
    return std::nullopt;
}

} // namespace keldra
