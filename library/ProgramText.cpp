#include "library/ProgramText.h"

#include <algorithm>
#include <bitset>

#include "frame/ValueText.h"

namespace keldra {

namespace {

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

class CReader {
public:
    CReader()
    {
        for (int index = 0; index < kParameterCount; ++index)
            Value(index) = index < kFirstControllerLink || index > kLastControllerLink
                               ? TableDefault(index)
                               : -1.0f;
    }

    /// @return what is wrong, empty for nothing
    std::string ReadLine(std::string_view line)
    {
        line = Trimmed(line.substr(0, line.find('#')));
        if (line.empty())
            return {};
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            return "neither a comment nor \"name: value\"";
        const std::string_view name = Trimmed(line.substr(0, colon));
        const std::string_view text = Trimmed(line.substr(colon + 1));
        if (name == "Gate Steps")
            return ReadSteps(text);
        const int index = FindParameter(name);
        if (index < 0)
            return "there is no parameter \"" + std::string(name) + "\"";
        const auto value = ParseValueText(index, text);
        if (!value)
            return std::string(name) + " can't be \"" + std::string(text) + "\"";
        return Set(index, *value);
    }

    ProgramText program;

private:
    float& Value(int index) { return program.values[static_cast<std::size_t>(index)]; }

    std::string Set(int index, float value)
    {
        if (given_.test(static_cast<std::size_t>(index)))
            return "given twice";
        given_.set(static_cast<std::size_t>(index));
        Value(index) = value;
        return {};
    }

    std::string ReadSteps(std::string_view text)
    {
        if (text.size() != kGateStepCount || text.find_first_not_of("x-") != std::string_view::npos)
            return "Gate Steps are sixteen signs, x or -";
        for (int step = 0; step < kGateStepCount; ++step)
            if (const std::string error = Set(
                    kGateStep1 + step, text[static_cast<std::size_t>(step)] == 'x' ? 1.0f : 0.0f);
                !error.empty())
                return error;
        return {};
    }

    std::bitset<kParameterCount> given_;
};

} // namespace

ProgramText ParseProgramText(std::string_view text)
{
    CReader reader;
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string error = reader.ReadLine(text.substr(0, end));
        if (!error.empty()) {
            reader.program.error = "line " + std::to_string(number) + ": " + error;
            break;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return reader.program;
}

} // namespace keldra
