#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace keldra {

/// While it lives, arithmetic on this thread rounds to nearest, raises no traps and treats
/// denormals as 0 (they are slow, and nobody hears them). The host's own settings come back with
/// the end of its life.
class CFloatControl {
public:
    CFloatControl() : saved_(Read()) { Write(kQuiet); }
    ~CFloatControl() { Write(saved_); }
    CFloatControl(const CFloatControl&) = delete;
    CFloatControl& operator=(const CFloatControl&) = delete;

private:
#if defined(__SSE2__)
    using Word = unsigned int;
    // All exceptions masked, round to nearest, flush to zero, denormals are zero.
    static constexpr Word kQuiet = 0x1F80u | 0x8000u | 0x0040u;
    static Word Read()
    {
        return _mm_getcsr();
    }
    static void Write(Word word)
    {
        _mm_setcsr(word);
    }
#elif defined(__aarch64__)
    using Word = std::uint64_t;
    static constexpr Word kQuiet = std::uint64_t{1} << 24; // flush to zero, everything else default
    static Word Read()
    {
        Word word;
        __asm__ volatile("mrs %0, fpcr" : "=r"(word));
        return word;
    }
    static void Write(Word word)
    {
        __asm__ volatile("msr fpcr, %0" : : "r"(word));
    }
#else
    using Word = unsigned int;
    static constexpr Word kQuiet = 0;
    static Word Read()
    {
        return 0;
    }
    static void Write(Word) {}
#endif
    Word saved_;
};

} // namespace keldra
