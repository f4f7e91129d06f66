#include "presets/ProgramFile.h"

#include <cstring>

#include "platform/Files.h"
#include "platform/Folders.h"

namespace keldra {

namespace {

// The published layout of such a file: "CcnK", a size, "FPCh", ... and the chunk from here on.
constexpr std::size_t kFxpHeaderSize = 60;
constexpr std::size_t kFxpKindOffset = 8;

bool HasTag(std::span<const std::byte> file, std::size_t offset, std::string_view tag)
{
    return file.size() >= offset + tag.size() &&
           std::memcmp(file.data() + offset, tag.data(), tag.size()) == 0;
}

} // namespace

EReadResult ReadProgramFile(std::string_view path, std::vector<std::byte>& block)
{
    std::vector<std::byte> file;
    switch (ReadWholeFile(path, kLongestProgramFile, file)) {
    case EFileRead::Unreadable:
        return EReadResult::Unreadable;
    case EFileRead::TooLarge:
        return EReadResult::TooLong;
    case EFileRead::Ok:
        break;
    }
    if (file.size() <= kShortestIgnored)
        return EReadResult::TooShort;
    const std::span<const std::byte> content = StateBlockIn(file);
    block.assign(content.begin(), content.end());
    return EReadResult::Ok;
}

std::span<const std::byte> StateBlockIn(std::span<const std::byte> file)
{
    if (!HasTag(file, 0, "CcnK") || !HasTag(file, kFxpKindOffset, "FPCh"))
        return file;
    return file.subspan(std::min(kFxpHeaderSize, file.size()));
}

std::string_view ProgramNameOf(std::string_view path)
{
    return WithoutExtension(FileNameOf(path));
}

std::string_view BankNameOf(std::string_view path)
{
    return FileNameOf(FolderOf(path));
}

} // namespace keldra
