#include "apps/keldra/Recorder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace keldra::standalone {

namespace {

constexpr int kRingSeconds = 10; // a disk may be busy for long
constexpr std::chrono::milliseconds kWriteInterval{50};

/// @return the descriptor, or -1 with errno: EINVAL for what is no regular file, EBUSY for one that
/// is being recorded to
int OpenForWriting(const std::string& path)
{
    // A pipe or a device is neither waited for nor touched.
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    struct stat status = {};
    if (descriptor < 0)
        return -1;
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        errno = EINVAL;
        return -1;
    }
    // Another recording that goes there would be spoilt, and so would ours.
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        ::close(descriptor);
        errno = EBUSY;
        return -1;
    }
    if (::ftruncate(descriptor, 0) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

} // namespace

std::unique_ptr<CRecorder> CRecorder::Create(const std::string& path, int rateHz,
                                             std::string& error)
{
    const int descriptor = OpenForWriting(path);
    if (descriptor < 0) {
        const std::string why = errno == EINVAL  ? "not a regular file"
                                : errno == EBUSY ? "another recording goes there"
                                                 : std::generic_category().message(errno);
        error = path + ": cannot be written: " + why;
        return nullptr;
    }
    return std::unique_ptr<CRecorder>(new CRecorder(path, descriptor, rateHz));
}

CRecorder::CRecorder(const std::string& path, int descriptor, int rateHz)
    : path_(path),
      rateHz_(rateHz),
      wav_(descriptor, rateHz, render::ESampleFormat::Pcm24,
           std::numeric_limits<std::int64_t>::max()),
      ring_(static_cast<std::size_t>(2 * kRingSeconds * rateHz)),
      thread_([this] { Run(); })
{
}

CRecorder::~CRecorder()
{
    std::string ignored;
    if (thread_.joinable())
        static_cast<void>(Finish(ignored));
}

void CRecorder::Add(const float* left, const float* right, int frames)
{
    const std::uint64_t added = added_.load(std::memory_order_relaxed);
    const auto room = ring_.size() - (added - written_.load(std::memory_order_acquire));
    const auto samples = 2 * static_cast<std::uint64_t>(std::max(frames, 0));
    if (samples > room) {
        lostFrames_.fetch_add(samples / 2, std::memory_order_relaxed);
        return;
    }
    std::size_t at = added % ring_.size();
    for (int i = 0; i < frames; ++i) {
        ring_[at] = left[i];
        ring_[at + 1] = right[i];
        at = at + 2 == ring_.size() ? 0 : at + 2;
    }
    added_.store(added + samples, std::memory_order_release);
}

void CRecorder::WriteWhatIsThere()
{
    std::uint64_t written = written_.load(std::memory_order_relaxed);
    const std::uint64_t added = added_.load(std::memory_order_acquire);
    while (written != added) {
        const std::size_t at = written % ring_.size();
        const std::size_t count = std::min<std::uint64_t>(added - written, ring_.size() - at);
        if (!failed_ && !wav_.Write({ring_.data() + at, count}))
            failed_ = true; // what comes is let go from now on
        written += count;
        sinceHeader_ += count;
        written_.store(written, std::memory_order_release);
    }
    if (sinceHeader_ < static_cast<std::uint64_t>(rateHz_)) // half a second
        return;
    sinceHeader_ = 0;
    wav_.UpdateHeader();
}

void CRecorder::Run()
{
    while (!stopping_) {
        WriteWhatIsThere();
        std::this_thread::sleep_for(kWriteInterval);
    }
}

bool CRecorder::Finish(std::string& error)
{
    stopping_ = true;
    thread_.join();
    WriteWhatIsThere();
    if (!wav_.Close() || failed_) {
        error = path_ + ": the disk is full, or failed: the end of the recording is missing";
        return false;
    }
    if (const std::uint64_t lost = lostFrames_; lost > 0) {
        error = path_ + ": the disk was too slow: " + std::to_string(lost) +
                " frames of the recording are missing";
        return false;
    }
    return true;
}

} // namespace keldra::standalone
