#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <malloc.h>
#include <set>

#include "apps/host/VstHost.h"
#include "tests/platform/TemporaryFolder.h"

// The file of the module, and what of it depends on the process. What it does in a host is asked by
// keldra-validate.

namespace keldra::test {

using namespace vst;

namespace {

constexpr char kModule[] = KELDRA_MODULE;

/// What a command prints, line by line.
std::vector<std::string> LinesOf(const std::string& command)
{
    std::vector<std::string> lines;
    std::FILE* const pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr) << command;
    std::array<char, 1024> line;
    while (pipe != nullptr && std::fgets(line.data(), line.size(), pipe) != nullptr)
        lines.push_back(line.data());
    EXPECT_EQ(pclose(pipe), 0) << command;
    return lines;
}

bool ModuleIsMapped()
{
    return Slurp("/proc/self/maps").find("Keldra.so") != std::string::npos;
}

std::unique_ptr<CVstHost> MakeInstance()
{
    std::string error;
    auto module = CVstModule::Load(kModule, error);
    EXPECT_NE(module, nullptr) << error;
    auto host = module != nullptr ? CVstHost::Create(module, {}, nullptr, error) : nullptr;
    EXPECT_NE(host, nullptr) << error;
    return host;
}

} // namespace

// --- The file ---

TEST(Module, ShowsItsEntriesAndNothingElse)
{
    std::set<std::string> shown;
    for (const std::string& line : LinesOf(std::string("nm -D --defined-only ") + kModule))
        shown.insert(line.substr(line.rfind(' ') + 1, line.find('\n') - line.rfind(' ') - 1));
    shown.erase("CreatePlugInstance"); // the other hosts' entry
    EXPECT_EQ(shown, std::set<std::string>{"VSTPluginMain"});
}

TEST(Module, NeedsNothingThatAMachineMayLack)
{
#ifdef KELDRA_SANITIZED
    GTEST_SKIP() << "a sanitizer brings libraries of its own";
#endif
    const std::set<std::string> allowed = {"libc.so.6", "libm.so.6", "ld-linux-x86-64.so.2",
                                           "libxcb.so.1", "libxcb-shm.so.0"};
    bool bindsNow = false;
    for (const std::string& line : LinesOf(std::string("readelf -dW ") + kModule)) {
        if (line.find("(NEEDED)") != std::string::npos) {
            const std::size_t from = line.find('[') + 1;
            const std::string library = line.substr(from, line.find(']') - from);
            EXPECT_TRUE(allowed.contains(library)) << library;
        }
        for (const char* unwanted : {"RPATH", "RUNPATH", "TEXTREL", "NODELETE"})
            EXPECT_EQ(line.find(unwanted), std::string::npos) << line;
        bindsNow |= line.find("NOW") != std::string::npos;
    }
    EXPECT_TRUE(bindsNow);
}

// --- In a process ---

TEST(Module, WorksWithoutADisplayAndLeavesNothingWhenItIsUnloaded)
{
    unsetenv("DISPLAY");
    { // what the loader and the C library keep after a first time is theirs
        const auto once = MakeInstance();
    }
    const auto files = NamesIn("/proc/self/fd");
    const auto threads = NamesIn("/proc/self/task");
    const std::size_t memory = mallinfo2().uordblks;
    {
        const auto first = MakeInstance();
        const auto second = MakeInstance();
        ASSERT_TRUE(first != nullptr && second != nullptr);
        EXPECT_TRUE(ModuleIsMapped());
        first->Start(48000.0, 256);
        std::array<float, 256> left, right;
        float* outputs[] = {left.data(), right.data()};
        first->Render(outputs, 256);
        first->IdleEditor();
        first->Dispatch(effEditOpen, 0, 0, nullptr); // whatever comes of it
    }
    EXPECT_FALSE(ModuleIsMapped());
    EXPECT_LT(mallinfo2().uordblks, memory + 65536);
    EXPECT_EQ(NamesIn("/proc/self/fd"), files);
    EXPECT_EQ(NamesIn("/proc/self/task"), threads);
}

TEST(Module, WritesItsTextsAlsoUnderALocaleWithDecimalCommas)
{
    const CTemporaryFolder folder;
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        const std::string make = "localedef -i de_DE -f UTF-8 " + folder.Path("de_DE.UTF-8");
        if (std::system((make + " 2>/dev/null").c_str()) != 0)
            GTEST_SKIP() << "no locale with decimal commas, and localedef can't make one";
        setenv("LOCPATH", folder.Path().c_str(), 1);
    }
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    ASSERT_STREQ(std::localeconv()->decimal_point, ",") << "the locale is there";
    {
        const auto host = MakeInstance();
        ASSERT_NE(host, nullptr);
        host->SetParameter(15, 0.5f);
        host->SetParameter(28, 0.5f);
        EXPECT_EQ(host->ParameterDisplay(15), "-5.00 dB");
        EXPECT_EQ(host->ParameterDisplay(28), "0.94 Hz");
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8") << "it is the host's to set";
    }
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

} // namespace keldra::test
