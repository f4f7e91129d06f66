#include <algorithm>
#include <gtest/gtest.h>
#include <set>

#include "library/ProgramMeter.h"
#include "tests/platform/TemporaryFolder.h"

// Every factory program, played as its bank is meant to be: nobody should have to reach for the
// volume, wait for silence or find the same sound twice.

namespace keldra::test {
namespace {

const std::string kBanks = std::string(KELDRA_BINARY_DIR) + "/Keldra/Banks";

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

TEST(FactoryLibrary, HasADozenBanksOfADozenProgramsWithNamesOfTheirOwn)
{
    const std::set<std::string> banks = NamesIn(kBanks);
    EXPECT_GE(banks.size(), 12u);
    std::set<std::string> names;
    std::size_t count = 0;
    for (const std::string& bank : banks) {
        const std::set<std::string> programs = NamesIn(kBanks + "/" + bank);
        EXPECT_GE(programs.size(), 12u) << bank;
        for (const std::string& program : programs) {
            EXPECT_LE(program.size(), 18u + std::string(".keldra").size()) << program;
            names.insert(program);
        }
        count += programs.size();
    }
    EXPECT_GE(count, 160u);
    EXPECT_EQ(names.size(), count);
}

class FactoryBank : public ::testing::TestWithParam<std::string> {};

TEST_P(FactoryBank, PlaysSideBySide)
{
    const std::vector<ProgramMeasure> programs = MeasureBank(kBanks + "/" + GetParam());
    ASSERT_FALSE(programs.empty());
    const EStyle style = StyleOf(GetParam());
    const bool alone = style == EStyle::Low || style == EStyle::High;
    std::vector<double> loudness;
    for (const ProgramMeasure& program : programs)
        loudness.push_back(program.loudness);
    const double median = Median(loudness);
    int wheels = 0;
    for (const ProgramMeasure& program : programs) {
        EXPECT_TRUE(program.finite) << program.name;
        EXPECT_NEAR(program.loudness, median, 4.0) << program.name << ", LUFS";
        EXPECT_GT(program.quietest, -60.0) << program.name << " is silent when played softly";
        EXPECT_LT(program.peak, alone ? -3.0 : -1.0) << program.name << ", dBFS";
        EXPECT_LT(program.offset, -40.0) << program.name << ", mean in dBFS";
        EXPECT_LT(program.tail, 20.0) << program.name << " doesn't end";
        EXPECT_LT(program.cost, 0.25) << program.name << ", share of a core";
        wheels += program.wheelChange > 0.05 ? 1 : 0;
        for (const ProgramMeasure& other : programs)
            if (&other < &program) {
                EXPECT_GT(Distance(program.fingerprint, other.fingerprint), 2.0)
                    << program.name << " sounds like " << other.name;
            }
    }
    EXPECT_GE(wheels * 3, static_cast<int>(programs.size()) * 2)
        << "in most programs the wheel should do something";
}

INSTANTIATE_TEST_SUITE_P(Library, FactoryBank, ::testing::ValuesIn(NamesIn(kBanks)),
                         [](const auto& bank) {
                             std::string name = bank.param;
                             std::erase_if(name, [](char c) { return !std::isalnum(c); });
                             return name;
                         });

} // namespace
} // namespace keldra::test
