#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "apps/keldra/SoundOutput.h"

namespace keldra::standalone {

namespace {

/// After a longer sleep of the machine, nobody wants what would have been heard meanwhile.
constexpr std::chrono::milliseconds kMostLate{500};

class CSilentOutput final : public CSoundOutput {
public:
    explicit CSilentOutput(const SoundFormat& format) : format_(format) {}
    ~CSilentOutput() override
    {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        stop_.notify_all();
        if (thread_.joinable())
            thread_.join();
    }

    const SoundFormat& Format() const override { return format_; }
    std::string Name() const override { return "nothing"; }
    bool IsAlive() const override { return true; }

    bool Start(CSoundSource& source, std::string&) override
    {
        thread_ = std::thread([this, &source] { Run(source); });
        return true;
    }

private:
    void Run(CSoundSource& source)
    {
        std::vector<float> left(static_cast<std::size_t>(format_.blockFrames));
        std::vector<float> right(left.size());
        const auto interval =
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(
                static_cast<double>(format_.blockFrames) / format_.rateHz));
        Clock::time_point due = Clock::now();
        std::unique_lock lock(mutex_);
        while (!stop_.wait_until(lock, due, [this] { return stopping_; })) {
            lock.unlock();
            source.Render(left.data(), right.data(), format_.blockFrames);
            lock.lock();
            due += interval;
            if (const Clock::time_point now = Clock::now(); now - due > kMostLate)
                due = now;
        }
    }

    const SoundFormat format_;
    std::mutex mutex_; // of the stopping only: the source is asked without it
    std::condition_variable stop_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace

std::unique_ptr<CSoundOutput> OpenSilence(const SoundFormat& format)
{
    return std::make_unique<CSilentOutput>(format);
}

} // namespace keldra::standalone
