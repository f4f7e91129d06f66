#include "songs/SongWriter.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <ostream>
#include <portSMF/allegro.h>

namespace keldra::songs {

namespace {

/// The library counts times in quarters, and files have 600 ticks a quarter, as scores do.
double Quarters(std::int64_t tick)
{
    return static_cast<double>(tick) / kTicksPerQuarter;
}

/// The track of each channel, from 1 for the first one that plays: track 0 holds tempo and meter.
std::map<int, int> TracksOf(const Performance& performance)
{
    std::map<int, int> tracks;
    for (const PlayedNote& note : performance.notes)
        tracks[note.channel] = 0;
    for (const PlayedControl& control : performance.controls)
        tracks[control.channel] = 0;
    int track = 0;
    for (auto& [channel, number] : tracks)
        number = ++track;
    return tracks;
}

} // namespace

bool WriteSong(const Performance& performance, const std::string& path)
{
    Alg_seq song;
    song.convert_to_beats();
    const std::map<int, int> tracks = TracksOf(performance);
    if (!tracks.empty())
        song.add_track(static_cast<int>(tracks.size()));

    song.set_time_sig(0.0, performance.beats, performance.unit);
    for (const PlayedTempo& tempo : performance.tempos)
        song.insert_tempo(tempo.bpm, Quarters(tempo.tick));
    for (const PlayedControl& control : performance.controls) {
        Alg_update* const update = song.create_update(Quarters(control.tick), control.channel, -1);
        const std::string name = "control" + std::to_string(control.controller) + "r";
        if (control.isBend)
            update->set_real_value("bendr", control.value / 8192.0);
        else
            update->set_real_value(name.c_str(), control.value / 127.0);
        song.add_event(update, tracks.at(control.channel));
    }
    for (const PlayedNote& note : performance.notes)
        song.add_event(song.create_note(Quarters(note.start), note.channel, note.key,
                                        static_cast<float>(note.key),
                                        static_cast<float>(note.velocity),
                                        Quarters(note.end - note.start)),
                       tracks.at(note.channel));
    return song.smf_write(path.c_str());
}

} // namespace keldra::songs
