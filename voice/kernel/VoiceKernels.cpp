#include "voice/kernel/VoiceKernels.h"

#include <cstdlib>

namespace keldra {

namespace baseline {
void Render(const KernelJob& job);
}
namespace avx2 {
void Render(const KernelJob& job);
}
namespace avx512 {
void Render(const KernelJob& job);
}

namespace {

bool EveryCpu()
{
    return true;
}

#if defined(KELDRA_X86_KERNELS)
// The compiler's own look at the processor: it asks too whether the system keeps wide registers.
bool CpuHasAvx2AndFma()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

bool CpuHasAvx512()
{
    __builtin_cpu_init();
    return CpuHasAvx2AndFma() && __builtin_cpu_supports("avx512f") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl");
}

/// Few voices wait for their filters, and the longer the wider the vectors are.
void RenderAvx512(const KernelJob& job)
{
    constexpr int kVoicesOfAvx2 = 8; // in one vector
    (job.voiceCount <= kVoicesOfAvx2 ? avx2::Render : avx512::Render)(job);
}
#endif

constexpr VoiceKernel kKernelsBestFirst[] = {
#if defined(KELDRA_X86_KERNELS)
    {"avx512", CpuHasAvx512, RenderAvx512},
    {"avx2", CpuHasAvx2AndFma, avx2::Render},
#endif
    {"baseline", EveryCpu, baseline::Render},
};

std::string_view WantedName()
{
    const char* name = std::getenv("KELDRA_KERNEL");
    return name == nullptr ? std::string_view{} : std::string_view{name};
}

// At load, not at the first note: the processing thread must not find an unmade decision.
const VoiceKernel& loadedKernel = ChooseKernel(WantedName());

} // namespace

std::span<const VoiceKernel> VoiceKernels()
{
    return kKernelsBestFirst;
}

const VoiceKernel& ChooseKernel(std::string_view name)
{
    const VoiceKernel* best = nullptr;
    for (const VoiceKernel& kernel : kKernelsBestFirst) {
        if (!kernel.runsHere())
            continue;
        if (kernel.name == name)
            return kernel;
        if (best == nullptr)
            best = &kernel;
    }
    return *best;
}

const VoiceKernel& LoadedKernel()
{
    return loadedKernel;
}

} // namespace keldra
