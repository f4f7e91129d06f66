#include "frame/ValueText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "frame/Numbers.h"
#include "frame/ParameterTable.h"
#include "frame/Text.h"

namespace keldra {

namespace {

constexpr float kPercentSteps = 100.0f;
constexpr float kQuarterSteps = 7.0f; ///< delay times: eight of them

// --- Writing ---

void WritePercent(float value, CTextWriter& writer)
{
    writer.AppendInt(std::clamp(TruncateToInt(value * kPercentSteps), 0, 100)).Append(" %");
}

float Scaled(const ParameterRow& row, float value)
{
    return (row.high - row.low) * value + row.low;
}

void WriteNamed(const ParameterRow& row, float value, CTextWriter& writer)
{
    switch (row.display) {
    case EDisplay::Percent:
        WritePercent(value, writer);
        break;
    case EDisplay::OnOff:
        writer.Append(IsOn(value) ? "On" : "Off");
        break;
    case EDisplay::Names: {
        const int position =
            row.form == EForm::Switch ? (IsOn(value) ? 1 : 0) : SelectorPosition(row, value);
        writer.Append(row.positions[static_cast<std::size_t>(position)]);
        break;
    }
    case EDisplay::Semitones:
        writer.AppendInt(WholeSemitones(value));
        break;
    case EDisplay::DetuneCents:
        writer.Append("+ ").AppendFixed(static_cast<double>(value * row.high), 0);
        break;
    case EDisplay::SignedPercent:
        writer.AppendFixed(static_cast<double>(200.0f * value - 100.0f), 0).Append(" %");
        break;
    case EDisplay::Milliseconds:
        writer.AppendFixed(static_cast<double>(TimeCurve(value, row.shownLow, row.high)), 0)
            .Append(" ms");
        break;
    case EDisplay::Decibels:
        writer.AppendFixed(static_cast<double>(Scaled(row, value)), 2).Append(" dB");
        break;
    case EDisplay::SignedCents:
        writer.AppendFixed(static_cast<double>(200.0f * value - 100.0f), 0);
        break;
    case EDisplay::LfoHertz:
        writer.AppendFixed(static_cast<double>(LfoRateHz(value)), 2).Append(" Hz");
        break;
    case EDisplay::Hertz:
        writer.AppendFixed(static_cast<double>(Scaled(row, value)), 2).Append(" Hz");
        break;
    case EDisplay::Quarters:
        writer.AppendInt(TruncateToInt(Clamped(value, 0.0f, 1.0f) * kQuarterSteps) + 1)
            .Append("/4");
        break;
    }
}

// --- Reading ---

char LowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualCaseBlind(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerCase(x) == LowerCase(y); });
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// A number and what follows it.
struct Quantity {
    double number = 0.0;
    std::string_view unit;
};

std::optional<Quantity> ReadQuantity(std::string_view text)
{
    text = Trimmed(text);
    if (!text.empty() && text.front() == '+')
        text = Trimmed(text.substr(1));
    Quantity quantity;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), quantity.number);
    if (error != std::errc{} || !std::isfinite(quantity.number))
        return std::nullopt;
    quantity.unit = Trimmed(text.substr(static_cast<std::size_t>(end - text.data())));
    return quantity;
}

/// What to multiply a number by to have it in the parameter's own unit. Nothing for a unit that the
/// parameter doesn't have.
std::optional<double> UnitFactor(EDisplay display, std::string_view unit)
{
    struct Unit {
        std::string_view name;
        double factor;
    };
    constexpr Unit kPercentUnits[] = {{"", 1.0}, {"%", 1.0}};
    constexpr Unit kTimeUnits[] = {{"", 1.0}, {"ms", 1.0}, {"s", 1000.0}};
    constexpr Unit kLevelUnits[] = {{"", 1.0}, {"db", 1.0}};
    constexpr Unit kRateUnits[] = {{"", 1.0}, {"hz", 1.0}, {"khz", 1000.0}};
    constexpr Unit kCentUnits[] = {{"", 1.0}, {"ct", 1.0}, {"cent", 1.0}, {"cents", 1.0}};
    constexpr Unit kSemitoneUnits[] = {
        {"", 1.0}, {"st", 1.0}, {"semitone", 1.0}, {"semitones", 1.0}};
    constexpr Unit kQuarterUnits[] = {{"", 1.0}, {"/4", 1.0}};

    std::span<const Unit> units;
    switch (display) {
    case EDisplay::Percent:
    case EDisplay::SignedPercent:
        units = kPercentUnits;
        break;
    case EDisplay::Milliseconds:
        units = kTimeUnits;
        break;
    case EDisplay::Decibels:
        units = kLevelUnits;
        break;
    case EDisplay::LfoHertz:
    case EDisplay::Hertz:
        units = kRateUnits;
        break;
    case EDisplay::DetuneCents:
    case EDisplay::SignedCents:
        units = kCentUnits;
        break;
    case EDisplay::Semitones:
        units = kSemitoneUnits;
        break;
    case EDisplay::Quarters:
        units = kQuarterUnits;
        break;
    case EDisplay::OnOff:
    case EDisplay::Names:
        break;
    }
    for (const Unit& known : units)
        if (EqualCaseBlind(unit, known.name))
            return known.factor;
    return std::nullopt;
}

/// The least float from a fraction's neighbourhood that truncates to the step: k / n as a float may
/// lie just below it.
float AtStep(int step, float steps)
{
    float value = static_cast<float>(step) / steps;
    while (TruncateToInt(value * steps) < step)
        value = std::nextafter(value, 2.0f);
    return value;
}

double StoredValue(const ParameterRow& row, double number)
{
    const double low = static_cast<double>(row.low);
    const double high = static_cast<double>(row.high);
    switch (row.display) {
    case EDisplay::Percent:
        if (number != std::trunc(number))
            return number / 100.0;
        return static_cast<double>(
            AtStep(static_cast<int>(std::clamp(number, 0.0, 100.0)), kPercentSteps));
    case EDisplay::SignedPercent:
    case EDisplay::SignedCents:
        return (number + 100.0) / 200.0;
    case EDisplay::DetuneCents:
    case EDisplay::Decibels:
    case EDisplay::Hertz:
        return (number - low) / (high - low);
    case EDisplay::Milliseconds: {
        const double shownLow = static_cast<double>(row.shownLow);
        return std::sqrt(std::sqrt(std::fmax(0.0, (number - shownLow) / (high - shownLow))));
    }
    case EDisplay::LfoHertz:
        return std::pow(std::fmax(0.0, number / high), 0.2);
    case EDisplay::Semitones:
        return static_cast<double>(
            AtStep(static_cast<int>(std::clamp(std::round(number), -24.0, 24.0)) + 24, 48.0f));
    case EDisplay::Quarters:
        return static_cast<double>(
            AtStep(static_cast<int>(std::clamp(std::round(number), 1.0, 8.0)) - 1, kQuarterSteps));
    case EDisplay::OnOff:
    case EDisplay::Names:
        break;
    }
    return 0.0;
}

/// The entry that a word names: whole, or by a beginning that no other entry shares.
std::optional<int> FindWord(std::span<const std::string_view> words, std::string_view word)
{
    int found = -1;
    int matches = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (EqualCaseBlind(words[i], word))
            return static_cast<int>(i);
        if (EqualCaseBlind(words[i].substr(0, word.size()), word)) {
            found = static_cast<int>(i);
            ++matches;
        }
    }
    if (word.empty() || matches != 1)
        return std::nullopt;
    return found;
}

std::optional<float> ParseNamed(const ParameterRow& row, std::string_view text)
{
    if (row.display == EDisplay::OnOff) {
        for (const std::string_view on : {"on", "1", "yes"})
            if (EqualCaseBlind(text, on))
                return 1.0f;
        for (const std::string_view off : {"off", "0", "no"})
            if (EqualCaseBlind(text, off))
                return 0.0f;
        return std::nullopt;
    }
    if (row.display == EDisplay::Names) {
        const auto position = FindWord(row.positions, text);
        if (!position)
            return std::nullopt;
        return static_cast<float>(*position) / static_cast<float>(row.positions.size() - 1);
    }
    const auto quantity = ReadQuantity(text);
    if (!quantity)
        return std::nullopt;
    const auto factor = UnitFactor(row.display, quantity->unit);
    if (!factor)
        return std::nullopt;
    return static_cast<float>(Clamped(StoredValue(row, quantity->number * *factor), 0.0, 1.0));
}

std::optional<float> ParseSetting(const EngineSettingRow& row, std::string_view text)
{
    if (const auto label = FindWord(row.labels, text))
        return static_cast<float>(*label);
    const auto quantity = ReadQuantity(text);
    if (!quantity || !quantity->unit.empty())
        return std::nullopt;
    for (std::size_t i = 0; i < row.choices.size(); ++i)
        if (static_cast<double>(row.choices[i]) == quantity->number)
            return static_cast<float>(i);
    if (!row.choices.empty())
        return std::nullopt;
    if (quantity->number != std::round(quantity->number) || quantity->number < 1.0 ||
        quantity->number > row.count)
        return std::nullopt;
    return static_cast<float>(quantity->number - 1.0);
}

} // namespace

void WriteValueText(int index, float value, std::span<char> text)
{
    CTextWriter writer(text);
    if (index >= 0 && index < kHostParameterCount)
        WriteNamed(RowOf(index), value, writer);
    else
        WritePercent(value, writer);
}

std::optional<float> ParseValueText(int index, std::string_view text)
{
    text = Trimmed(text);
    if (index >= 0 && index < kHostParameterCount)
        return ParseNamed(RowOf(index), text);
    if (index >= kUnisonVoices && index <= kLfoSync)
        return ParseSetting(kEngineSettings[index - kSpare74], text);
    return std::nullopt;
}

int FindParameter(std::string_view name)
{
    name = Trimmed(name);
    for (const ParameterRow& row : kParameters)
        if (EqualCaseBlind(row.name, name))
            return row.index;
    for (const EngineSettingRow& row : kEngineSettings)
        if (row.index != kSpare74 && EqualCaseBlind(row.what, name))
            return row.index;
    return -1;
}

} // namespace keldra
