#include "frame/SharedName.h"

#include <cstring>

#include "frame/Text.h"

namespace keldra {

void CSharedName::Set(std::string_view name, EWriter writer)
{
    std::array<char, kSize> text{};
    CopyText(name.substr(0, name.find('\0')), text);
    std::array<std::uint64_t, kWords> words;
    std::memcpy(words.data(), text.data(), kSize);

    std::unique_lock<std::mutex> turn;
    if (writer == EWriter::Other)
        turn = std::unique_lock(otherWriters_);
    Pair& pair = pairs_[writer == EWriter::EngineOwner ? 0 : 1];
    const bool firstIsOlder =
        pair[0].age.load(std::memory_order_relaxed) <= pair[1].age.load(std::memory_order_relaxed);
    Place& place = pair[firstIsOlder ? 0 : 1];
    const std::uint32_t version = place.version.load(std::memory_order_relaxed);
    place.version.store(version + 1, std::memory_order_relaxed);
    // Release on each store keeps the odd version ahead of it (a fence would say the same, but
    // ThreadSanitizer doesn't know fences).
    for (std::size_t i = 0; i < kWords; ++i)
        place.words[i].store(words[i], std::memory_order_release);
    place.age.store(clock_.fetch_add(1, std::memory_order_relaxed) + 1, std::memory_order_release);
    place.version.store(version + 2, std::memory_order_release);
}

bool CSharedName::Read(const Place& place, std::array<std::uint64_t, kWords>& words,
                       std::uint64_t& age)
{
    const std::uint32_t before = place.version.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < kWords; ++i)
        words[i] = place.words[i].load(std::memory_order_acquire);
    age = place.age.load(std::memory_order_acquire);
    return before % 2 == 0 && place.version.load(std::memory_order_relaxed) == before;
}

void CSharedName::Get(std::span<char> text) const
{
    std::array<std::uint64_t, kWords> newest{};
    std::uint64_t newestAge = 0;
    // Only a writer that has finished one place and begun the other in between leaves a pair
    // without an answer. Bounded all the same, since the processing thread may read.
    constexpr int kAttempts = 2000;
    for (const Pair& pair : pairs_) {
        bool found = false;
        for (int attempt = 0; attempt < kAttempts && !found; ++attempt)
            for (const Place& place : pair) {
                std::array<std::uint64_t, kWords> words;
                std::uint64_t age = 0;
                if (!Read(place, words, age))
                    continue;
                found = true;
                if (age >= newestAge) {
                    newest = words;
                    newestAge = age;
                }
            }
    }
    std::array<char, kSize> name;
    std::memcpy(name.data(), newest.data(), kSize);
    CopyText(TextIn(name), text);
}

} // namespace keldra
