#include <benchmark/benchmark.h>

#include "bench/ModuleBench.h"
#include "frame/FloatControl.h"

int main(int argc, char** argv)
{
    if (const auto module = keldra::TakeModuleOptions(argc, argv))
        return keldra::RunModuleBench(*module);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const keldra::CFloatControl floatControl; // as around processing
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
