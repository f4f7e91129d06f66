#include "frame/ParameterTable.h"

#include "frame/Numbers.h"

namespace keldra {

float TableDefault(int index)
{
    if (index >= 0 && index < kHostParameterCount)
        return RowOf(index).defaultValue;
    if (index >= kSpare74 && index <= kLfoSync)
        return kEngineSettings[index - kSpare74].defaultValue;
    return 0.0f;
}

int SelectorPosition(float value, int last)
{
    const int position = TruncateToInt((static_cast<double>(value) + 0.0001) * last);
    return position < 0 ? 0 : position > last ? last : position;
}

int SelectorPosition(const ParameterRow& row, float value)
{
    return SelectorPosition(value, static_cast<int>(row.positions.size()) - 1);
}

int WholeSemitones(float value)
{
    return TruncateToInt(Clamped(value, 0.0f, 1.0f) * 48.0f) - 24;
}

float TimeCurve(float value, float low, float high)
{
    const float squared = value * value;
    return Clamped(squared * squared * (high - low) + low, low, high);
}

float LfoRateHz(float value)
{
    const float squared = value * value;
    return Clamped(squared * squared * value * 30.0f, 0.0f, 30.0f);
}

} // namespace keldra
