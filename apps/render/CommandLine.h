#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
}

namespace keldra {

enum class EParsed {
    Run,
    Done,  ///< help or version was asked for: print the text and end
    Wrong, ///< the text says what, in one line
};

/// Lets the library read a command line into what the options of `app` name.
/// @param argv  as main gets it
/// @param text  receives what to print unless the answer is Run
[[nodiscard]] EParsed ParseCommandLine(CLI::App& app, int argc, const char* const* argv,
                                       std::string& text);

/// All of a program's main: parses, runs, and says on stderr what went wrong, exceptions of
/// libraries too. One line, whatever names of files or a module's words hold.
/// @param name   of the program
/// @param parse  answers as ParseCommandLine does
/// @param run    what the program does; false, with a text, when it fails
/// @return main's answer: 0, or 2 when something went wrong
[[nodiscard]] int RunProgram(const char* name, const std::function<EParsed(std::string&)>& parse,
                             const std::function<bool(std::string&)>& run);

} // namespace keldra
