#include "apps/render/SongReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <portSMF/mfmidi.h>
#include <string_view>

namespace keldra::render {

// Of the two libraries for MIDI files that Debian has, libsmf builds a tidy object of the whole
// song, but ends the program with failed assertions on damaged files: a missing end of track, a
// track length beyond the file, a continued system exclusive, times that add up beyond 2^31.
// portSMF's reader hands over one message after the other, with 64-bit times, and gets each byte
// and each buffer from us, so that what goes wrong there can be held in check here:
//
// - Chunks of other kinds between the tracks, which must be passed over, end its reading. It is
//   shown the header and the tracks only.
// - Meta events without content are read from a buffer that isn't there before the first longer
//   one. It reads a small song of ours first, which leaves one there (kPrimer).
// - A long message costs time by the square of its length. Memory beyond kMaxMessageBytes is not
//   given out: the input ends instead.

namespace {

/// A text of eight bytes makes the reader allocate its buffer.
constexpr unsigned char kPrimer[] = "MThd\0\0\0\x06\0\0\0\x01\0\x60MTrk\0\0\0\x10"
                                    "\0\xFF\x01\x08        \0\xFF\x2F";
constexpr std::size_t kTrackCountAt = 10; ///< in the header
constexpr std::size_t kMaxMessageBytes = std::size_t{256} << 10;

using Bytes = std::span<const unsigned char>;

/// Header and tracks of a file, each with the eight bytes that it starts with. Lengths beyond the
/// end are cut: the reader then says what is missing.
std::vector<Bytes> ChunksToRead(Bytes file)
{
    std::vector<Bytes> chunks;
    while (file.size() >= 8) {
        const std::string_view kind(reinterpret_cast<const char*>(file.data()), 4);
        const std::size_t length = std::size_t{file[4]} << 24 | std::size_t{file[5]} << 16 |
                                   std::size_t{file[6]} << 8 | std::size_t{file[7]};
        const std::size_t whole = std::min(file.size(), length + 8);
        if (kind == (chunks.empty() ? "MThd" : "MTrk"))
            chunks.push_back(file.first(whole));
        file = file.subspan(whole);
    }
    return chunks;
}

class CReader : private Midifile_reader {
public:
    CReader() { Mf_nomerge = 1; }
    ~CReader() { finalize(); }
    CReader(const CReader&) = delete;
    CReader& operator=(const CReader&) = delete;

    std::optional<Song> Read(std::vector<Bytes> chunks, std::string& error)
    {
        ReadChunks({Bytes(kPrimer)});
        ReadChunks(std::move(chunks));
        if (problem_.empty() && midifile_error != 0)
            problem_ = "damaged";
        if (problem_.empty() && !sawHeader_)
            problem_ = "it has no header";
        if (!problem_.empty()) {
            error = "not a MIDI file that can be played: " + problem_;
            return std::nullopt;
        }
        Finish();
        return std::move(song_);
    }

private:
    void ReadChunks(std::vector<Bytes> chunks)
    {
        chunks_ = std::move(chunks);
        chunk_ = 0;
        at_ = 0;
        song_ = Song{};
        sawHeader_ = false;
        midifile();
    }

    void Finish()
    {
        const auto earlier = [](const auto& a, const auto& b) { return a.tick < b.tick; };
        std::stable_sort(song_.events.begin(), song_.events.end(), earlier);
        std::stable_sort(song_.tempos.begin(), song_.tempos.end(), earlier);
        std::stable_sort(song_.meters.begin(), song_.meters.end(), earlier);
    }

    void Fail(std::string_view problem)
    {
        if (problem_.empty())
            problem_ = problem;
        chunks_.clear(); // nothing more to read: the library notices at its next byte
        chunk_ = 0;
    }

    /// The time of the message at hand. Variable-length numbers may be of any length, and so may
    /// their sum: the library lets both overflow.
    std::int64_t Tick()
    {
        constexpr std::int64_t kMost = Song::kMaxTick / 2; // SMPTE doubles it
        if (Mf_currtime < lastTime_ || Mf_currtime > kMost) {
            Fail("its times are beyond all reason");
            return 0;
        }
        lastTime_ = Mf_currtime;
        return Mf_currtime * ticksPerCount_;
    }

    void Add(int kind, int channel, int data1, int data2, std::uint8_t size)
    {
        if (((data1 | data2) & ~0x7F) != 0)
            return Fail("a message holds a data byte above 127");
        song_.events.push_back(
            {Tick(),
             {static_cast<std::uint8_t>(kind | (channel & 0x0F)), static_cast<std::uint8_t>(data1),
              static_cast<std::uint8_t>(data2)},
             size});
    }

    // What the library asks for.
    int Mf_getc() override
    {
        while (chunk_ < chunks_.size()) {
            if (at_ < chunks_[chunk_].size())
                return chunks_[chunk_][at_++];
            ++chunk_;
            at_ = 0;
        }
        return EOF;
    }
    void* Mf_malloc(size_t size) override
    {
        if (size > kMaxMessageBytes)
            Fail("a message is longer than 256 KiB");
        void* const memory = std::calloc(size, 1);
        if (memory == nullptr)
            std::abort(); // the library writes to it whatever we answer
        return memory;
    }
    void Mf_free(void* memory, size_t) override { std::free(memory); }

    // What it reports.
    void Mf_error(char* message) override
    {
        std::string text = message;
        std::replace_if(
            text.begin(), text.end(), [](char c) { return c < ' '; }, ' ');
        if (text.find("EOF") != std::string::npos)
            text = "it ends too early";
        Fail(text);
    }
    void Mf_header(int format, int, int division) override
    {
        sawHeader_ = true;
        if (format != 0 && format != 1)
            Fail("only formats 0 and 1 are songs");
        if (division == 0)
            Fail("its ticks have no length");
        if ((division & 0x8000) == 0) {
            song_.ticksPerQuarter = division;
            return;
        }
        // Two quarters a second; ticks count double, so that odd numbers of them work out.
        const int framesPerSecond = 256 - (division >> 8 & 0xFF);
        const bool dropsFrames = framesPerSecond == 29; // 30 in 1.001 seconds
        song_.ticksPerQuarter = (dropsFrames ? 30 : framesPerSecond) * (division & 0xFF);
        if (song_.ticksPerQuarter == 0)
            Fail("its ticks have no length");
        song_.tempos.front().microsecondsPerQuarter = dropsFrames ? 500500 : 500000;
        ticksPerCount_ = 2;
    }
    void Mf_on(int channel, int key, int velocity) override
    {
        Add(0x90, channel, key, velocity, 3);
    }
    void Mf_off(int channel, int key, int velocity) override
    {
        Add(0x80, channel, key, velocity, 3);
    }
    void Mf_pressure(int channel, int key, int value) override
    {
        Add(0xA0, channel, key, value, 3);
    }
    void Mf_controller(int channel, int controller, int value) override
    {
        Add(0xB0, channel, controller, value, 3);
    }
    void Mf_program(int channel, int program) override { Add(0xC0, channel, program, 0, 2); }
    void Mf_chanpressure(int channel, int value) override { Add(0xD0, channel, value, 0, 2); }
    void Mf_pitchbend(int channel, int low, int high) override { Add(0xE0, channel, low, high, 3); }
    void Mf_tempo(int microseconds) override
    {
        if (microseconds > 0 && microseconds < 1 << 24 && ticksPerCount_ == 1)
            song_.tempos.push_back({Tick(), microseconds});
    }
    void Mf_timesig(int beats, int unitExponent, int, int) override
    {
        if (beats >= 1 && beats <= 255 && unitExponent >= 0 && unitExponent <= 6)
            song_.meters.push_back({Tick(), beats, 1 << unitExponent});
    }
    void Mf_endtrack() override { song_.endTick = std::max(song_.endTick, Tick()); }

    void Mf_starttrack() override { lastTime_ = 0; }
    void Mf_eot() override {}
    void Mf_chanprefix(int) override {}
    void Mf_portprefix(int) override {}
    void Mf_sysex(int, unsigned char*) override {}
    void Mf_arbitrary(int, unsigned char*) override {}
    void Mf_metamisc(int, int, unsigned char*) override {}
    void Mf_seqnum(int) override {}
    void Mf_smpte(int, int, int, int, int) override {}
    void Mf_keysig(int, int) override {}
    void Mf_sqspecific(int, unsigned char*) override {}
    void Mf_text(int, int, unsigned char*) override {}

    std::vector<Bytes> chunks_;
    std::size_t chunk_ = 0; ///< being read
    std::size_t at_ = 0;    ///< next byte in it
    std::string problem_;   ///< the first one
    Song song_;
    bool sawHeader_ = false;
    std::int64_t lastTime_ = 0; ///< in the track at hand, in the file's ticks
    int ticksPerCount_ = 1;     ///< ours for one of the file's
};

} // namespace

std::optional<Song> ReadSong(std::span<const std::byte> file, std::string& error)
{
    const Bytes bytes(reinterpret_cast<const unsigned char*>(file.data()), file.size());
    std::vector<Bytes> chunks = ChunksToRead(bytes);
    if (chunks.empty()) {
        error = "not a MIDI file";
        return std::nullopt;
    }
    std::vector<unsigned char> header(chunks[0].begin(), chunks[0].end());
    if (header.size() >= kTrackCountAt + 2) { // a count that is too low hides no track
        const std::size_t told =
            std::size_t{header[kTrackCountAt]} << 8 | header[kTrackCountAt + 1];
        const std::size_t count = std::min(std::max(told, chunks.size() - 1), std::size_t{0xFFFF});
        header[kTrackCountAt] = static_cast<unsigned char>(count >> 8);
        header[kTrackCountAt + 1] = static_cast<unsigned char>(count & 0xFF);
        chunks[0] = header;
    }
    return CReader().Read(std::move(chunks), error);
}

} // namespace keldra::render
