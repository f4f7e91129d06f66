#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>
#include <string_view>

namespace keldra {

/// A name that any thread may set and read, the processing thread included, without anybody handing
/// out a pointer to text that another thread is rewriting. There are two pairs of places for it:
/// the owner of the engine writes one pair, all other threads take turns with the other. The
/// youngest place counts; what is written is the older one of a pair, so that a reader finds the
/// last name even while a writer is stopped in mid-write.
class CSharedName {
public:
    static constexpr std::size_t kSize = 1024; ///< bytes, NUL included

    enum class EWriter {
        EngineOwner, ///< the thread that has the engine: never waits
        Other,       ///< any other thread: may wait for its like
    };

    /// At most 1023 characters are kept.
    void Set(std::string_view name, EWriter writer);

    /// Copies the name, cut where the buffer ends, NUL-terminated. Any thread.
    void Get(std::span<char> text) const;

private:
    static constexpr std::size_t kWords = kSize / sizeof(std::uint64_t);

    /// A sequence lock. Odd version: being written. Writers of a pair never meet.
    struct Place {
        std::atomic<std::uint32_t> version{0};
        std::atomic<std::uint64_t> age{0};
        std::array<std::atomic<std::uint64_t>, kWords> words{};
    };
    using Pair = std::array<Place, 2>;
    static bool Read(const Place& place, std::array<std::uint64_t, kWords>& words,
                     std::uint64_t& age);

    Pair pairs_[2];
    std::atomic<std::uint64_t> clock_{0};
    std::mutex otherWriters_;
};

} // namespace keldra
