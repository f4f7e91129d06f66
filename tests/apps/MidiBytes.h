#pragma once

#include <cstddef>
#include <cstdlib>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace keldra::test {

/// Bytes written as "4D54 68 64"; blanks don't count.
inline std::string Hex(std::string_view text)
{
    std::string bytes;
    std::string digits;
    for (const char c : text) {
        if (c != ' ')
            digits += c;
        if (digits.size() == 2) {
            bytes += static_cast<char>(std::strtol(digits.c_str(), nullptr, 16));
            digits.clear();
        }
    }
    return bytes;
}

inline std::string BigEndian(unsigned long value, int size)
{
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

inline std::string Chunk(std::string_view kind, const std::string& content)
{
    return std::string(kind) + BigEndian(content.size(), 4) + content;
}

/// A track of delta times and messages; its end is added.
inline std::string Track(const std::string& messages)
{
    return Chunk("MTrk", messages + Hex("00 FF2F00"));
}

inline std::string Header(unsigned format, unsigned tracks, unsigned division)
{
    return Chunk("MThd", BigEndian(format, 2) + BigEndian(tracks, 2) + BigEndian(division, 2));
}

/// A MIDI file of some tracks as Track makes them.
inline std::string MidiFile(unsigned division, std::initializer_list<std::string> tracks)
{
    std::string file =
        Header(tracks.size() == 1 ? 0 : 1, static_cast<unsigned>(tracks.size()), division);
    for (const std::string& track : tracks)
        file += track;
    return file;
}

inline std::span<const std::byte> AsBytes(const std::string& text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

} // namespace keldra::test
