#pragma once

#include "voice/VoiceGenerator.h"

namespace keldra {

struct VoiceKernel;

/// RenderVoices with a kernel of the caller's choice: tests and benchmarks run them all.
void RenderVoicesWith(const VoiceKernel& kernel, std::span<KeldraGenerator* const> voices,
                      int activeCount, int samples, const VoicePatch& patch, float* left,
                      float* right);

} // namespace keldra
