// Built with -mavx512f -mavx512dq -mavx512bw -mavx512vl -mfma, and nothing else in it.
#define KELDRA_KERNEL_NAME avx512
#define KELDRA_KERNEL_LANES 16
#include "voice/kernel/VoiceKernel-inl.h"
