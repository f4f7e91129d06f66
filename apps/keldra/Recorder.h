#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/render/WavWriter.h"

namespace keldra::standalone {

/// Writes what is heard to a WAV file of 24 bits, as it plays: whoever reads the file meanwhile, or
/// after a crash, finds all but the last second of it.
class CRecorder {
public:
    /// @param path   replaced when there is such a file
    /// @param error  receives one line, with the path, when the answer is null
    [[nodiscard]] static std::unique_ptr<CRecorder> Create(const std::string& path, int rateHz,
                                                           std::string& error);
    ~CRecorder();
    CRecorder(const CRecorder&) = delete;
    CRecorder& operator=(const CRecorder&) = delete;

    /// Processing thread; never waits or allocates. What the disk is too slow for is left out.
    void Add(const float* left, const float* right, int frames);

    /// Writes the rest and completes the file. When nothing is added any more. @return false, with
    /// one line, when something is missing in it
    [[nodiscard]] bool Finish(std::string& error);

    /// False once the disk has taken no more.
    [[nodiscard]] bool IsWriting() const { return !failed_.load(); }

private:
    CRecorder(const std::string& path, int descriptor, int rateHz);

    void Run();
    void WriteWhatIsThere();

    const std::string path_;
    const int rateHz_;
    render::CWavWriter wav_;
    std::vector<float> ring_;               ///< interleaved
    std::atomic<std::uint64_t> added_{0};   ///< samples, ever
    std::atomic<std::uint64_t> written_{0}; ///< samples, ever
    std::uint64_t sinceHeader_ = 0;         ///< samples written since the header said how many
    std::atomic<std::uint64_t> lostFrames_{0};
    std::atomic<bool> failed_{false};
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

} // namespace keldra::standalone
