// keldra-score: plays a score into a MIDI file.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>

#include "songs/Score.h"
#include "songs/ScorePlayer.h"
#include "songs/SongWriter.h"

namespace {

constexpr int kExitWrong = 2;

int Complain(const std::string& what)
{
    std::fprintf(stderr, "keldra-score: %s\n", what.c_str());
    return kExitWrong;
}

int Main(const std::string& scorePath, const std::string& songPath)
{
    std::ifstream file(scorePath, std::ios::binary);
    if (!file)
        return Complain(scorePath + ": cannot be read");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::string error;
    const auto score = keldra::songs::ReadScore(text, error);
    if (!score)
        return Complain(scorePath + ":" + error);
    std::ofstream song(songPath, std::ios::binary);
    song << keldra::songs::SongFile(keldra::songs::PlayScore(*score)) << std::flush;
    return song ? 0 : Complain(songPath + ": cannot be written");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return Complain("usage: keldra-score IN.score OUT.mid");
    try {
        return Main(argv[1], argv[2]);
    } catch (const std::exception& problem) {
        return Complain(problem.what());
    }
}
