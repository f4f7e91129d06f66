// Built for every processor of the target: SSE2 on x86, NEON on ARM.
#define KELDRA_KERNEL_NAME baseline
#define KELDRA_KERNEL_LANES 4
#include "voice/kernel/VoiceKernel-inl.h"
