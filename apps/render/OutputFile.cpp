#include "apps/render/OutputFile.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <limits.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/Folders.h"

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

std::string Because(int error)
{
    // Not strerror_r, of which there are two.
    return std::generic_category().message(error);
}

/// Tries names until one is free. @return the descriptor, -1 with errno when there is none
int OpenNew(const std::string& folder, std::string& path)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        path = JoinPath(folder, ".keldra-render-" + std::to_string(::getpid()) + "-" +
                                    std::to_string(attempt));
        const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
    return -1;
}

} // namespace

std::unique_ptr<COutputFile> COutputFile::Create(const std::string& path, std::string& error)
{
    std::unique_ptr<COutputFile> file(new COutputFile);
    std::error_code failure;
    // Absolute: a module may change the working folder.
    file->path_ = std::filesystem::absolute(path, failure);
    const std::filesystem::file_status status = std::filesystem::status(path, failure);
    if (std::filesystem::exists(status)) {
        if (!std::filesystem::is_regular_file(status)) {
            error = path + ": cannot be written: not a regular file";
            return nullptr;
        }
        file->path_ = std::filesystem::canonical(path, failure);
        if (failure || ::access(path.c_str(), W_OK) != 0) {
            error = path + ": cannot be written: " + Because(failure ? failure.value() : errno);
            return nullptr;
        }
    }
    std::string temporary;
    file->descriptor_ = OpenNew(std::string(FolderOf(file->path_)), temporary);
    if (file->descriptor_ < 0) {
        error = path + ": cannot be written: " + Because(errno);
        return nullptr;
    }
    file->temporary_ = temporary; // shorter than PATH_MAX, or it would not be open
    std::memcpy(unfinishedPath, temporary.c_str(), temporary.size() + 1);
    hasUnfinished = true;
    return file;
}

COutputFile::~COutputFile()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
    if (temporary_.empty())
        return;
    hasUnfinished = false;
    ::unlink(temporary_.c_str());
}

int COutputFile::TakeDescriptor()
{
    return std::exchange(descriptor_, -1);
}

bool COutputFile::Commit(std::string& error)
{
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        error = path_ + ": cannot be written: " + Because(errno);
        return false;
    }
    hasUnfinished = false;
    temporary_.clear();
    return true;
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

int OpenScratchFile(const std::string& besidePath)
{
    std::string path;
    const int descriptor = OpenNew(std::string(FolderOf(besidePath)), path);
    if (descriptor >= 0)
        ::unlink(path.c_str());
    return descriptor;
}

} // namespace keldra::render
