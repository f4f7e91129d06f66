// keldra_make_library SOURCES BANKS: makes the program files of the factory library from their
// texts, SOURCES/<bank>/<program>.txt to BANKS/<bank>/<program>.keldra. What is in BANKS and has no
// text any more is removed. Exit status 1, and a line on stderr, for a text that isn't understood
// and for a name that is there twice.

#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "frame/StateBlock.h"
#include "library/ProgramText.h"

namespace {

namespace fs = std::filesystem;

bool WriteProgram(const fs::path& source, const fs::path& target)
{
    std::ifstream file(source, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const keldra::ProgramText program = keldra::ParseProgramText(text);
    if (!program.error.empty()) {
        std::fprintf(stderr, "%s: %s\n", source.c_str(), program.error.c_str());
        return false;
    }
    std::array<std::byte, keldra::kStateSize> block;
    keldra::WriteStateBlock(program.values, target.stem().string(), block);
    std::ofstream out(target, std::ios::binary);
    out.write(reinterpret_cast<const char*>(block.data()), block.size());
    return static_cast<bool>(out.flush());
}

bool MakeLibrary(const fs::path& sources, const fs::path& banks)
{
    bool good = true;
    std::map<std::string, fs::path> byName;
    std::set<fs::path> made;
    for (const auto& bank : fs::directory_iterator(sources)) {
        if (!bank.is_directory())
            continue;
        const fs::path folder = banks / bank.path().filename();
        for (const auto& entry : fs::directory_iterator(bank)) {
            if (entry.path().extension() != ".txt")
                continue;
            const std::string name = entry.path().stem().string();
            if (!byName.emplace(name, entry.path()).second) {
                std::fprintf(stderr, "%s: %s has the same name\n", entry.path().c_str(),
                             byName[name].c_str());
                good = false;
            }
            fs::create_directories(folder);
            const fs::path target = folder / (name + ".keldra");
            good = WriteProgram(entry.path(), target) && good;
            made.insert(target);
        }
    }
    std::vector<fs::path> stale;
    if (fs::exists(banks))
        for (const auto& entry : fs::recursive_directory_iterator(banks))
            if (entry.path().extension() == ".keldra" && made.count(entry.path()) == 0)
                stale.push_back(entry.path());
    for (const fs::path& path : stale)
        fs::remove(path);
    return good;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: keldra_make_library SOURCES BANKS\n", stderr);
        return 2;
    }
    try {
        return MakeLibrary(argv[1], argv[2]) ? 0 : 1;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "keldra_make_library: %s\n", problem.what());
        return 1;
    }
}
