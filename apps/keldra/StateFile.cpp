#include "apps/keldra/StateFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/Files.h"
#include "platform/Folders.h"

// The file: eight bytes that say what it is, a check sum of eight bytes, and the instrument's own
// chunk.

namespace keldra::standalone {

namespace {

constexpr std::size_t kMaxBytes = std::size_t{64} << 20;
constexpr std::array<char, 8> kMark = {'K', 'e', 'l', 'd', 'r', 'a', 'S', '1'};
constexpr std::size_t kHeaderBytes = 16;

/// FNV-1a, 64 bits: tells chance damage, not malice.
std::uint64_t CheckSum(std::span<const std::byte> bytes)
{
    std::uint64_t sum = 0xcbf29ce484222325u;
    for (const std::byte byte : bytes)
        sum = (sum ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001b3u;
    return sum;
}

std::vector<std::byte> HeaderOf(std::span<const std::byte> chunk)
{
    std::vector<std::byte> header;
    for (const char c : kMark)
        header.push_back(static_cast<std::byte>(c));
    const std::uint64_t sum = CheckSum(chunk);
    for (int shift = 0; shift < 64; shift += 8)
        header.push_back(static_cast<std::byte>(sum >> shift & 0xFF));
    return header;
}

/// A variable that holds an absolute path; relative ones don't count.
std::string FolderFrom(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr && *value == kPathSeparator ? value : "";
}

} // namespace

std::string StatePath(vst::VstInt32 instrumentId)
{
    std::string folder = FolderFrom("XDG_STATE_HOME");
    if (folder.empty()) {
        const std::string home = FolderFrom("HOME");
        if (home.empty())
            return {};
        folder = JoinPath(home, ".local/state");
    }
    std::string name;
    for (int shift = 28; shift >= 0; shift -= 4)
        name += "0123456789abcdef"[static_cast<std::uint32_t>(instrumentId) >> shift & 0xF];
    return JoinPath(JoinPath(folder, "keldra"), name + ".state");
}

EStateRead ReadState(const std::string& path, std::vector<std::byte>& chunk)
{
    if (!FileExists(path))
        return EStateRead::Missing;
    std::vector<std::byte> file;
    if (ReadWholeFile(path, kMaxBytes, file) != EFileRead::Ok || file.size() <= kHeaderBytes)
        return EStateRead::Damaged;
    const std::span<const std::byte> content = std::span(file).subspan(kHeaderBytes);
    const std::vector<std::byte> header = HeaderOf(content);
    if (!std::equal(header.begin(), header.end(), file.begin()))
        return EStateRead::Damaged;
    chunk.assign(content.begin(), content.end());
    return EStateRead::Ok;
}

bool WriteState(const std::string& path, std::span<const std::byte> chunk)
{
    std::error_code ignored; // writing will tell
    std::filesystem::create_directories(FolderOf(path), ignored);
    std::vector<std::byte> file = HeaderOf(chunk);
    file.insert(file.end(), chunk.begin(), chunk.end());
    return WriteWholeFile(path, file);
}

} // namespace keldra::standalone
