#include "apps/render/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

namespace keldra {

EParsed ParseCommandLine(CLI::App& app, int argc, const char* const* argv, std::string& text)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        text = app.help();
        return EParsed::Done;
    } catch (const CLI::CallForVersion& version) {
        text = std::string(version.what()) + "\n";
        return EParsed::Done;
    } catch (const CLI::ParseError& problem) {
        text = problem.what();
        text = text.substr(0, text.find('\n'));
        return EParsed::Wrong;
    }
    return EParsed::Run;
}

int RunProgram(const char* name, const std::function<EParsed(std::string&)>& parse,
               const std::function<bool(std::string&)>& run)
{
    std::string text;
    try {
        const EParsed parsed = parse(text);
        if (parsed == EParsed::Done)
            std::fputs(text.c_str(), stdout);
        if (parsed == EParsed::Done || (parsed == EParsed::Run && run(text)))
            return 0;
    } catch (const std::exception& problem) { // no memory, mostly
        text = problem.what();
    }
    for (char& c : text)
        if (c >= 0 && c < ' ')
            c = ' ';
    std::fprintf(stderr, "%s: %s\n", name, text.c_str());
    return 2;
}

} // namespace keldra
