// MIDI files of any bytes: read or refused, and what was read can be played.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "apps/render/SongReader.h"
#include "apps/render/SongTiming.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace keldra::render;
    std::string error;
    const auto song = ReadSong(std::as_bytes(std::span(data, size)), error);
    if (!song) {
        if (error.empty())
            std::abort();
        return 0;
    }
    const CSongTiming timing(*song, 384000);
    std::int64_t last = 0;
    for (const SongEvent& event : song->events) {
        const std::int64_t frame = timing.FrameOf(event.tick);
        if (frame < last || event.tick > song->endTick || (event.bytes[1] | event.bytes[2]) > 127)
            std::abort();
        last = frame;
    }
    const SongPosition position = timing.At(last);
    if (!(position.barStart <= position.quarters) || timing.NextChange(last) <= last)
        std::abort();
    return 0;
}
