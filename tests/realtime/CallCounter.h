#pragma once

namespace keldra::test {

/// Calls that a processing thread must not make, counted on the calling thread while it is watched:
/// taking and giving back memory, locks and waits, files.
class CCallCounter {
public:
    CCallCounter();  ///< starts to watch this thread
    ~CCallCounter(); ///< stops
    CCallCounter(const CCallCounter&) = delete;
    CCallCounter& operator=(const CCallCounter&) = delete;

    [[nodiscard]] static int Calls();               ///< so far on this thread
    [[nodiscard]] static const char* FirstCalled(); ///< name of the first, or null
    static void Forget();
};

} // namespace keldra::test
