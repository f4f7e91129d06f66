// keldra-validate: asks a VST 2 module what hosts will ask, kindly and rudely, and says what it
// finds. Any module's path will do.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "apps/validate/Check.h"
#include "apps/validate/HostWindow.h"

namespace keldra::validate {

namespace {

std::vector<Check> AllChecks()
{
    std::vector<Check> all;
    for (const auto& group :
         {RecordChecks(), ParameterChecks(), StateChecks(), SoundChecks(), EditorChecks()})
        all.insert(all.end(), group.begin(), group.end());
    return all;
}

int Run(int argc, char** argv)
{
    CLI::App app("Asks a VST 2 module what hosts will ask, and says what it finds.\n"
                 "Ends with 0 when it passes, 1 when it doesn't, 2 when there is nothing to ask.");
    std::string path;
    std::vector<std::string> names;
    std::vector<std::string> tolerated;
    unsigned seconds = 60;
    bool strict = false;
    bool list = false;
    app.add_option("module", path, "The module")->option_text("PATH");
    app.add_option("checks", names, "These checks only")->option_text("[CHECK...]");
    app.add_flag("--strict", strict, "Advice counts as failure");
    app.add_option("--tolerate", tolerated, "Whose advice doesn't count even so")
        ->option_text("CHECK")
        ->allow_extra_args(false);
    app.add_option("--seconds", seconds, "That a check may take (60)")->option_text("N");
    app.add_flag("--list", list, "Print the checks and what they promise");
    CLI11_PARSE(app, argc, argv);

    const std::vector<Check> checks = AllChecks();
    if (list)
        for (const Check& check : checks)
            std::printf("%-22s %s\n", check.name.data(), check.promise.data());
    if (list || path.empty())
        return list ? 0 : 2;

    // Without a server DISPLAY is unset, and what needs it is skipped.
    const CXServer server;
    ::unsetenv("DISPLAY");
    if (!server.Display().empty())
        ::setenv("DISPLAY", server.Display().c_str(), 1);
    path = std::filesystem::absolute(path).string();
    static constexpr const char* kWords[] = {"ok", "skipped", "advice", "FAILED"};
    int asked = 0;
    int failed = 0;
    for (const Check& check : checks) {
        if (!names.empty() && std::find(names.begin(), names.end(), check.name) == names.end())
            continue;
        ++asked;
        const Outcome outcome = RunCheck(check, path, seconds);
        std::printf("%-8s %-22s %s\n", kWords[static_cast<int>(outcome.kind)], check.name.data(),
                    check.promise.data());
        for (std::size_t at = 0, end; (end = outcome.findings.find('\n', at)) != std::string::npos;
             at = end + 1)
            std::printf("%-8s   - %s\n", "", outcome.findings.substr(at, end - at).c_str());
        std::fflush(stdout);
        const bool lenient =
            !strict || std::find(tolerated.begin(), tolerated.end(), check.name) != tolerated.end();
        failed += outcome.kind >= (lenient ? Outcome::EKind::Failed : Outcome::EKind::Advised);
    }
    std::printf("%d of %d checks failed\n", failed, asked);
    return asked == 0 ? 2 : failed != 0;
}

} // namespace

} // namespace keldra::validate

int main(int argc, char** argv)
{
    return keldra::validate::Run(argc, argv);
}
