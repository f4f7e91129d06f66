#include "hosts/native/DornoHost.h"

#include <cmath>
#include <cstring>
#include <string_view>

#include "frame/Text.h"

namespace keldra::native {

std::optional<double> CDornoHost::SongPosition()
{
    HostAnswer<512> answer;
    Ask(kGetSongPosition, 0, answer);
    double quarterNotes;
    std::memcpy(&quarterNotes, answer.bytes.data(), sizeof(quarterNotes));
    if (!std::isfinite(quarterNotes))
        return std::nullopt;
    return quarterNotes;
}

void CDornoHost::CopyOwnText(std::span<char> text)
{
    CopyHostText(reinterpret_cast<const char*>(Ask(kAskText)), text);
}

void CopyHostText(const char* from, std::span<char> to)
{
    std::size_t length = 0;
    while (from != nullptr && length + 1 < to.size() && from[length] != '\0')
        ++length;
    CopyText(std::string_view(from, length), to);
}

} // namespace keldra::native
