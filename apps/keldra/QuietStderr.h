#pragma once

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/FileDescriptor.h"

namespace keldra::standalone {

/// While it lives, nothing reaches stderr: the libraries of the sound systems complain there of
/// each system that isn't running, at length. One at a time, and no other thread has anything to
/// say.
class CQuietStderr {
public:
    CQuietStderr() : kept_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        const CFileDescriptor nothing(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (kept_.IsOpen() && nothing.IsOpen())
            ::dup2(nothing.Get(), STDERR_FILENO);
    }
    ~CQuietStderr()
    {
        if (kept_.IsOpen())
            ::dup2(kept_.Get(), STDERR_FILENO);
    }
    CQuietStderr(const CQuietStderr&) = delete;
    CQuietStderr& operator=(const CQuietStderr&) = delete;

private:
    const CFileDescriptor kept_;
};

} // namespace keldra::standalone
