// Built with -mavx2 -mfma, and nothing else in it.
#define KELDRA_KERNEL_NAME avx2
#define KELDRA_KERNEL_LANES 8
#include "voice/kernel/VoiceKernel-inl.h"
