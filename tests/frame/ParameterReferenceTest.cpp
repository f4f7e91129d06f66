#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "frame/ParameterTable.h"
#include "frame/ValueText.h"

// README.md lists all parameters; the list is written from the table that the instrument reads.

namespace keldra {

namespace {

std::string TextOf(int index, float value)
{
    char text[kValueTextSize];
    WriteValueText(index, value, text);
    return text;
}

std::string Row(int number, std::string_view name, const std::string& initial,
                const std::string& values)
{
    return "| " + std::to_string(number) + " | " + std::string(name) + " | " + initial + " | " +
           values + " |\n";
}

std::string Reference()
{
    std::string text = "| number | name | default | values |\n|---|---|---|---|\n";
    for (const ParameterRow& row : kParameters) {
        std::string values;
        for (const std::string_view position : row.positions)
            values.append(values.empty() ? "" : ", ").append(position);
        if (row.display == EDisplay::OnOff)
            values = "Off, On";
        else if (values.empty())
            values = TextOf(row.index, 0.0f) + " to " + TextOf(row.index, 1.0f);
        text += Row(row.index, row.name, TextOf(row.index, row.defaultValue), values);
    }
    for (const EngineSettingRow& row : std::span(kEngineSettings).subspan(1)) {
        std::string values = row.choices.empty() ? "1 to " + std::to_string(row.count) : "";
        for (int i = 0; i < row.count && !row.choices.empty(); ++i)
            values.append(i == 0 ? "" : ", ").append(ChoiceText(row, i));
        text +=
            Row(row.index, row.what, ChoiceText(row, static_cast<int>(row.defaultValue)), values);
    }
    return text;
}

} // namespace

/// KELDRA_UPDATE_GOLDEN=1 writes the list anew.
TEST(ParameterReference, OfTheReadmeIsTheTables)
{
    const std::string path = KELDRA_SOURCE_DIR "/README.md";
    std::ifstream file(path);
    std::string readme{std::istreambuf_iterator<char>(file), {}};
    const std::string begin = "<!-- parameters -->\n";
    const std::size_t from = readme.find(begin) + begin.size();
    const std::size_t to = readme.find("<!-- end of parameters -->");
    ASSERT_LE(from, to) << "its marks are missing";
    ASSERT_NE(to, std::string::npos);
    const std::string reference = Reference();
    if (std::getenv("KELDRA_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(path) << readme.replace(from, to - from, reference);
        return;
    }
    EXPECT_EQ(readme.substr(from, to - from), reference);
}

} // namespace keldra
