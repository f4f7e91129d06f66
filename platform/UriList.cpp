#include "platform/UriList.h"

#include <algorithm>

namespace keldra {

namespace {

constexpr std::size_t kLongestPath = 1024;

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::string Decoded(std::string_view text)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 &&
            HexDigit(text[i + 2]) >= 0) {
            decoded += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

/// "/path" of "file:///path", "file://host/path" and "file:/path"; empty for anything else.
std::string PathOf(std::string_view uri)
{
    constexpr std::string_view kScheme = "file:";
    if (uri.substr(0, kScheme.size()) != kScheme)
        return {};
    uri.remove_prefix(kScheme.size());
    if (uri.substr(0, 2) == "//") {
        const std::size_t path = uri.find('/', 2); // behind the host's name
        uri = path == std::string_view::npos ? std::string_view() : uri.substr(path);
    }
    std::string path = Decoded(uri);
    if (path.empty() || path[0] != '/' || path.size() > kLongestPath ||
        path.find('\0') != std::string::npos)
        return {};
    return path;
}

} // namespace

std::string FirstPathOf(std::string_view uriList)
{
    while (!uriList.empty()) {
        const std::size_t end = std::min(uriList.find_first_of("\r\n"), uriList.size());
        const std::string_view line = uriList.substr(0, end);
        // The first decides: nobody who dropped several means the second.
        if (!line.empty() && line[0] != '#')
            return PathOf(line);
        uriList.remove_prefix(std::min(end + 1, uriList.size()));
    }
    return {};
}

} // namespace keldra
