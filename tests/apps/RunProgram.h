#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {

struct ProgramRun {
    int status = 0; ///< exit status, or 128 + signal
    std::string out;
    std::string err;
};

/// A program under way. What it prints is caught in files, so that no pipe fills up.
class CRunningProgram {
public:
    struct Setup {
        std::vector<std::string> environment; ///< "NAME=VALUE", added to ours
        std::string folder;                   ///< to run in; empty: ours
        rlim_t fileSizeLimit = RLIM_INFINITY; ///< bytes
        int ignoredSignal = 0;
    };

    explicit CRunningProgram(std::vector<std::string> arguments)
        : CRunningProgram(std::move(arguments), Setup{})
    {
    }

    CRunningProgram(std::vector<std::string> arguments, const Setup& setup)
    {
        const std::string outPath = caught_.Path("out");
        const std::string errPath = caught_.Path("err");
        process_ = ::fork();
        if (process_ != 0)
            return;
        const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT, 0600);
        const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT, 0600);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(err, STDERR_FILENO);
        std::vector<std::string> environment = setup.environment;
        for (std::string& entry : environment)
            ::putenv(entry.data());
        if (setup.fileSizeLimit != RLIM_INFINITY) {
            const rlimit limit{setup.fileSizeLimit, setup.fileSizeLimit};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
        if (setup.ignoredSignal != 0)
            ::signal(setup.ignoredSignal, SIG_IGN);
        if (!setup.folder.empty() && ::chdir(setup.folder.c_str()) != 0)
            ::_exit(126);
        std::vector<char*> pointers;
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        ::execvp(pointers[0], pointers.data());
        ::_exit(127);
    }
    ~CRunningProgram()
    {
        if (process_ > 0) {
            Kill(SIGKILL);
            static_cast<void>(Wait());
        }
    }
    CRunningProgram(const CRunningProgram&) = delete;
    CRunningProgram& operator=(const CRunningProgram&) = delete;

    void Kill(int number) const { ::kill(process_, number); }

    ProgramRun Wait()
    {
        int state = 0;
        ::waitpid(process_, &state, 0);
        process_ = -1;
        return {WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state),
                Slurp(caught_.Path("out")), Slurp(caught_.Path("err"))};
    }

private:
    CTemporaryFolder caught_;
    pid_t process_ = -1;
};

} // namespace keldra::test
