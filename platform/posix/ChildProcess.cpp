#include "platform/posix/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

#include "platform/Folders.h"
#include "platform/Forever.h"

namespace keldra {

namespace {

/// Killed processes that were still dying when we had waited long enough (a program that hangs in a
/// system call of a dead network disk). Asked again whenever a process starts or ends.
class CUnreaped {
public:
    void Add(pid_t process)
    {
        const std::lock_guard lock(mutex_);
        processes_.push_back(process);
    }
    void Reap()
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(processes_,
                      [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; });
    }

private:
    std::mutex mutex_;
    std::vector<pid_t> processes_;
};

CUnreaped& Unreaped()
{
    static CForever<CUnreaped> unreaped; // editors may close at the very end of the process
    return *unreaped;
}

struct SpawnSetup {
    SpawnSetup()
    {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup()
    {
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

bool Prepare(SpawnSetup& setup, int output)
{
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    // Hosts leave many files open without the close-on-exec flag, block signals and ignore some.
    return ::posix_spawn_file_actions_addopen(&setup.actions, 0, "/dev/null", O_RDONLY, 0) == 0 &&
           ::posix_spawn_file_actions_adddup2(&setup.actions, output, 1) == 0 &&
           ::posix_spawn_file_actions_addopen(&setup.actions, 2, "/dev/null", O_WRONLY, 0) == 0 &&
           ::posix_spawn_file_actions_addclosefrom_np(&setup.actions, 3) == 0 &&
           ::posix_spawnattr_setsigmask(&setup.attributes, &none) == 0 &&
           ::posix_spawnattr_setsigdefault(&setup.attributes, &all) == 0 &&
           ::posix_spawnattr_setpgroup(&setup.attributes, 0) == 0 &&
           ::posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETSIGMASK |
                                                             POSIX_SPAWN_SETSIGDEF |
                                                             POSIX_SPAWN_SETPGROUP) == 0;
}

} // namespace

bool CChildProcess::Start(const std::vector<std::string>& arguments)
{
    Unreaped().Reap();
    int ends[2];
    if (arguments.empty() || ::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    pipe_ = CFileDescriptor(ends[0]);
    const CFileDescriptor output(ends[1]);
    ::fcntl(output.Get(), F_SETFL, 0); // the program expects to wait for a slow reader

    std::vector<char*> list;
    for (const std::string& argument : arguments)
        list.push_back(const_cast<char*>(argument.c_str()));
    list.push_back(nullptr);
    SpawnSetup setup;
    pid_t process = 0;
    if (!Prepare(setup, output.Get()) ||
        ::posix_spawn(&process, list[0], &setup.actions, &setup.attributes, list.data(), environ) !=
            0)
        return false;
    process_ = process;
    return true;
}

void CChildProcess::ReadOutput()
{
    std::array<char, 4096> part;
    for (;;) {
        const ssize_t got = ::read(pipe_.Get(), part.data(), part.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return;
        output_.append(part.data(),
                       std::min(static_cast<std::size_t>(got), kMaxOutput - output_.size()));
    }
}

bool CChildProcess::HasEnded()
{
    if (process_ == 0)
        return true;
    int status = 0;
    const pid_t answer = ::waitpid(process_, &status, WNOHANG);
    ReadOutput(); // after asking: what it wrote before it ended is all there
    if (answer == 0 || (answer < 0 && errno == EINTR))
        return false;
    exitCode_ = answer > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : kUnknownExit;
    process_ = 0;
    return true;
}

CChildProcess::~CChildProcess()
{
    Unreaped().Reap();
    if (HasEnded())
        return;
    ::kill(-process_, SIGKILL); // with whatever it has started
    ::kill(process_, SIGKILL);
    for (int attempt = 0; attempt < 50; ++attempt) {
        if (HasEnded())
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Unreaped().Add(process_);
}

std::string FindProgram(const std::string& name)
{
    const char* path = std::getenv("PATH");
    for (std::string_view rest = path != nullptr ? path : ""; !rest.empty();) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        const std::string candidate = JoinPath(rest.substr(0, end), name);
        struct stat status {};
        if (end > 0 && ::stat(candidate.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return {};
}

} // namespace keldra
