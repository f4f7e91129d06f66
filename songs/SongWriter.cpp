#include "songs/SongWriter.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

namespace keldra::songs {

// Written here and not with portSMF, which reads such files for keldra-render: its writer loses
// memory for each track, and deletes arrays as if they were single objects.

namespace {

std::string BigEndian(std::uint64_t value, int size)
{
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

/// Seven bits a byte, the last one without the eighth bit.
std::string VariableLength(std::uint64_t value)
{
    std::string bytes(1, static_cast<char>(value & 0x7F));
    while ((value >>= 7) != 0)
        bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
    return bytes;
}

std::string Chunk(std::string_view kind, const std::string& content)
{
    return std::string(kind) + BigEndian(content.size(), 4) + content;
}

/// The messages of a track, in any order. Of those at one tick, notes end before controllers move,
/// and these before notes begin.
class CTrack {
public:
    enum EOrder { kEnd, kControl, kBegin };

    void Add(std::int64_t tick, EOrder order, std::initializer_list<int> message)
    {
        std::string& bytes = messages_[{tick, order, messages_.size()}];
        for (const int byte : message)
            bytes += static_cast<char>(byte);
    }

    [[nodiscard]] std::string Bytes() const
    {
        std::string bytes;
        std::int64_t last = 0;
        for (const auto& [place, message] : messages_) {
            bytes += VariableLength(static_cast<std::uint64_t>(place.tick - last)) + message;
            last = place.tick;
        }
        constexpr std::string_view kEndOfTrack("\0\xFF\x2F\0", 4);
        return Chunk("MTrk", bytes.append(kEndOfTrack));
    }

private:
    struct Place {
        std::int64_t tick;
        EOrder order;
        std::size_t number;
        auto operator<=>(const Place&) const = default;
    };
    std::map<Place, std::string> messages_;
};

CTrack ConductorTrack(const Performance& performance)
{
    CTrack track;
    int unitExponent = 0;
    while (1 << unitExponent < performance.unit)
        ++unitExponent;
    constexpr int kClocksPerClick = 24;
    constexpr int kThirtySecondsPerQuarter = 8;
    track.Add(0, CTrack::kControl,
              {0xFF, 0x58, 4, performance.beats, unitExponent, kClocksPerClick,
               kThirtySecondsPerQuarter});
    for (const PlayedTempo& tempo : performance.tempos) {
        const auto microseconds = static_cast<int>(std::lround(60e6 / tempo.bpm));
        track.Add(tempo.tick, CTrack::kControl,
                  {0xFF, 0x51, 3, microseconds >> 16, microseconds >> 8, microseconds});
    }
    return track;
}

} // namespace

std::string SongFile(const Performance& performance)
{
    std::map<int, CTrack> tracks;
    for (const PlayedControl& control : performance.controls) {
        CTrack& track = tracks[control.channel];
        const int bend = control.value + 8192;
        if (control.isBend)
            track.Add(control.tick, CTrack::kControl,
                      {0xE0 | control.channel, bend & 0x7F, bend >> 7});
        else
            track.Add(control.tick, CTrack::kControl,
                      {0xB0 | control.channel, control.controller, control.value});
    }
    for (const PlayedNote& note : performance.notes) {
        CTrack& track = tracks[note.channel];
        track.Add(note.start, CTrack::kBegin, {0x90 | note.channel, note.key, note.velocity});
        track.Add(note.end, CTrack::kEnd, {0x80 | note.channel, note.key, 64});
    }
    constexpr int kFormat = 1;
    std::string file = Chunk("MThd", BigEndian(kFormat, 2) + BigEndian(tracks.size() + 1, 2) +
                                         BigEndian(kTicksPerQuarter, 2));
    file += ConductorTrack(performance).Bytes();
    for (const auto& [channel, track] : tracks)
        file += track.Bytes();
    return file;
}

} // namespace keldra::songs
