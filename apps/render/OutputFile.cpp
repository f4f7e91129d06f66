#include "apps/render/OutputFile.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <limits.h>
#include <system_error>
#include <unistd.h>

namespace keldra::render {

namespace {

constexpr int kFatalSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGSEGV,
                                 SIGBUS, SIGABRT, SIGFPE, SIGILL};

// What a signal handler may read: no strings.
char unfinishedPath[PATH_MAX];
std::atomic<bool> hasUnfinished{false};
struct sigaction previousActions[std::size(kFatalSignals)];

void OnFatalSignal(int number)
{
    const int savedErrno = errno;
    if (hasUnfinished.exchange(false))
        ::unlink(unfinishedPath);
    // As if nobody had listened: the shell sees what ended us, a sanitizer its crash.
    for (std::size_t i = 0; i < std::size(kFatalSignals); ++i)
        if (kFatalSignals[i] == number)
            ::sigaction(number, &previousActions[i], nullptr);
    ::raise(number); // comes when this handler has returned
    errno = savedErrno;
}

bool SaysWhy(const std::string& path, const std::error_code& why, std::string& error)
{
    error = path + ": cannot be written: " +
            (why == std::errc::invalid_argument ? "not a regular file" : why.message());
    return false;
}

} // namespace

std::unique_ptr<COutputFile> COutputFile::Create(const std::string& path, std::string& error)
{
    std::unique_ptr<COutputFile> output(new COutputFile(path));
    std::error_code failure;
    // Absolute: a module may change the working folder.
    const std::string absolute = std::filesystem::absolute(path, failure);
    if (failure || !output->file_.Begin(absolute, failure)) {
        SaysWhy(path, failure, error);
        return nullptr;
    }
    const std::string& temporary = output->file_.TemporaryPath();
    if (!temporary.empty()) { // and shorter than PATH_MAX, or it would not be open
        std::memcpy(unfinishedPath, temporary.c_str(), temporary.size() + 1);
        hasUnfinished = true;
    }
    return output;
}

COutputFile::~COutputFile()
{
    hasUnfinished = false;
}

int COutputFile::OpenDescriptor() const
{
    return ::fcntl(file_.Descriptor(), F_DUPFD_CLOEXEC, 0);
}

bool COutputFile::Commit(std::string& error)
{
    std::error_code failure;
    const bool isThere = file_.Commit(failure);
    hasUnfinished = false;
    return isThere || SaysWhy(path_, failure, error);
}

void RemoveUnfinishedFileOnSignals()
{
    struct sigaction action = {};
    action.sa_handler = OnFatalSignal;
    ::sigfillset(&action.sa_mask);
    for (std::size_t i = 0; i < std::size(kFatalSignals); ++i) {
        ::sigaction(kFatalSignals[i], nullptr, &previousActions[i]);
        // A program started with nohup or in the background of a script goes on.
        if (previousActions[i].sa_handler != SIG_IGN)
            ::sigaction(kFatalSignals[i], &action, nullptr);
    }
    // A disk quota or a closed pipe is an answer of write(), not the end.
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
}

} // namespace keldra::render
