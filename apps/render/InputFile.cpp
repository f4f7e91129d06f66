#include "apps/render/InputFile.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "platform/Files.h"

namespace keldra::render {

std::string WhyUnreadable(const std::string& path)
{
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(path, failure);
    if (failure)
        return failure.message();
    if (!std::filesystem::is_regular_file(status))
        return "not a regular file";
    if (::access(path.c_str(), R_OK) != 0)
        return std::generic_category().message(errno);
    return "cannot be read";
}

bool ReadInput(const std::string& path, std::size_t limit, std::vector<std::byte>& content,
               std::string& error)
{
    std::error_code failure;
    const std::string absolute = std::filesystem::absolute(path, failure);
    switch (ReadWholeFile(absolute, limit, content)) {
    case EFileRead::Ok:
        return true;
    case EFileRead::TooLarge:
        error = path + ": larger than " + std::to_string(limit >> 20) + " MiB";
        return false;
    case EFileRead::Unreadable:
        break;
    }
    error = path + ": " + WhyUnreadable(path);
    return false;
}

} // namespace keldra::render
