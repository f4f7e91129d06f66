#include <benchmark/benchmark.h>

#include "frame/FloatControl.h"

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const keldra::CFloatControl floatControl; // as around processing
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
