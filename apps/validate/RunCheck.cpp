#include <algorithm>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "apps/validate/Check.h"

namespace keldra::validate {

namespace {

[[noreturn]] void RunInChild(const Check& check, const std::string& modulePath,
                             unsigned mostSeconds, int descriptor)
{
    ::alarm(mostSeconds); // its signal ends the process, whatever the module is doing
    CReport report(descriptor);
    report.Step("loading the module");
    std::string error;
    Module module = vst::CVstModule::Load(modulePath, error);
    if (report.Require(module != nullptr, error)) {
        check.run(module, report);
        report.Step("unloading the module");
        module.reset();
    }
    ::_exit(0); // handlers of libraries that the module brought are not what is asked about
}

/// The lines of a report, put together.
Outcome Read(int descriptor, std::string& lastStep, bool& wasRude)
{
    std::string all;
    char piece[4096];
    for (ssize_t got; (got = ::read(descriptor, piece, sizeof(piece))) > 0;)
        all.append(piece, static_cast<std::size_t>(got));

    Outcome outcome;
    for (std::size_t at = 0, end; (end = all.find('\n', at)) != std::string::npos; at = end + 1) {
        const std::string text = all.substr(at + 1, end - at - 1);
        const std::size_t kind = std::string_view("SAF").find(all[at]); // in the order of EKind
        if (kind == std::string_view::npos) {
            lastStep = text;
            wasRude = all[at] == '!';
            continue;
        }
        outcome.kind = std::max(outcome.kind, static_cast<Outcome::EKind>(kind + 1));
        outcome.findings += (all[at] == 'A' ? "(advice) " : "") + text + '\n';
    }
    return outcome;
}

} // namespace

bool CReport::Tell(char kind, std::string_view text)
{
    const std::string line = kind + std::string(text) + '\n';
    if (kind != '.' && kind != '!' && !told_.insert(line).second)
        return false;
    if (::write(descriptor_, line.data(), line.size()) < 0)
        ::_exit(1); // nobody listens any more
    return false;
}

Outcome RunCheck(const Check& check, const std::string& modulePath, unsigned mostSeconds)
{
    int ends[2];
    if (::pipe(ends) != 0)
        return {Outcome::EKind::Failed, "no pipe to the check's process\n"};
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        RunInChild(check, modulePath, mostSeconds, ends[1]);
    }
    ::close(ends[1]);
    std::string lastStep;
    bool wasRude = false;
    Outcome outcome = Read(ends[0], lastStep, wasRude);
    ::close(ends[0]);
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child)
        return {Outcome::EKind::Failed, "no process for the check\n"};
    if (status != 0) {
        const std::string how = !WIFSIGNALED(status)          ? "the process ended itself"
                                : WTERMSIG(status) == SIGALRM ? "it took too long"
                                                              : ::strsignal(WTERMSIG(status));
        outcome.kind =
            std::max(outcome.kind, wasRude ? Outcome::EKind::Advised : Outcome::EKind::Failed);
        outcome.findings += (wasRude ? "(advice) " : "") + how + ", while " + lastStep + '\n';
    }
    return outcome;
}

} // namespace keldra::validate
