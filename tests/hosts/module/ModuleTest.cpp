#include <algorithm>
#include <array>
#include <atomic>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <unistd.h>

#include "apps/host/VstHost.h"

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

// The module as it is built, loaded as hosts load it.

namespace keldra::test {

using namespace vst;

namespace {

constexpr char kModule[] = KELDRA_MODULE;
constexpr int kBlock = 256;

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

std::set<std::string> NamesIn(const char* folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

bool ModuleIsMapped()
{
    std::ifstream maps("/proc/self/maps");
    const std::string text(std::istreambuf_iterator<char>(maps), {});
    return text.find("Keldra.so") != std::string::npos;
}

std::unique_ptr<CVstHost> MakeInstance(CVstHostClient* client = nullptr)
{
    std::string error;
    auto module = CVstModule::Load(kModule, error);
    EXPECT_NE(module, nullptr) << error;
    if (module == nullptr)
        return nullptr;
    auto host = CVstHost::Create(std::move(module), {}, client, error);
    EXPECT_NE(host, nullptr) << error;
    return host;
}

/// Renders blocks. @return the loudest sample, infinity if one was no number
float Render(CVstHost& host, int blocks)
{
    std::array<float, kBlock> left, right;
    float* outputs[] = {left.data(), right.data()};
    float peak = 0.0f;
    for (int block = 0; block < blocks; ++block) {
        left.fill(9.0f);
        right.fill(9.0f);
        host.Render(outputs, kBlock);
        for (const auto& channel : {left, right})
            for (const float sample : channel)
                peak = std::isfinite(sample) ? std::max(peak, std::fabs(sample)) : INFINITY;
    }
    return peak;
}

void Play(CVstHost& host, std::uint8_t status, std::uint8_t key, int frame = 0)
{
    const std::uint8_t message[] = {status, key, 100};
    EXPECT_TRUE(host.AddMidi(frame, message));
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
    {
        const auto first = MakeInstance();
        const auto second = MakeInstance();
        ASSERT_TRUE(first != nullptr && second != nullptr);
        EXPECT_TRUE(ModuleIsMapped());
        first->Start(48000.0, kBlock);
        Play(*first, 0x90, 60);
        EXPECT_GT(Render(*first, 20), 0.001f);
        first->IdleEditor();
        first->Dispatch(effEditOpen, 0, 0, nullptr); // whatever comes of it
    }
    EXPECT_FALSE(ModuleIsMapped());
    EXPECT_EQ(NamesIn("/proc/self/fd"), files);
    EXPECT_EQ(NamesIn("/proc/self/task"), threads);
}

TEST(Module, RestoresItsStateAlsoUnderALocaleWithDecimalCommas)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(testing::TempDir()) / ("locale" + std::to_string(getpid()));
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        fs::create_directories(folder);
        const std::string made = (folder / "de_DE.UTF-8").string();
        const std::string command = "localedef -i de_DE -f UTF-8 " + made + " 2>/dev/null";
        if (std::system(command.c_str()) != 0)
            GTEST_SKIP() << "no locale with decimal commas, and localedef can't make one";
        setenv("LOCPATH", folder.c_str(), 1);
    }
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "%.1f", 0.5);
    ASSERT_STREQ(text.data(), "0,5") << "the locale is there";
    {
        const auto host = MakeInstance();
        ASSERT_NE(host, nullptr);
        host->SetParameter(15, 0.5f);
        host->SetParameter(28, 0.5f);
        EXPECT_EQ(host->ParameterDisplay(15), "-5.00 dB");
        EXPECT_EQ(host->ParameterDisplay(28), "0.94 Hz");
        host->SetProgramName("Kept");
        const auto chunk = host->GetChunk();
        host->SetParameter(15, 0.0f);
        EXPECT_TRUE(host->SetChunk(chunk));
        EXPECT_EQ(host->GetParameter(15), 0.5f);
        EXPECT_EQ(host->ProgramName(), "Kept");
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8") << "it is the host's to set";
    }
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    fs::remove_all(folder);
}

#if defined(__SSE2__)
TEST(Module, GivesBackTheFloatingPointStateOfTheHost)
{
    const auto host = MakeInstance();
    ASSERT_NE(host, nullptr);
    host->Start(48000.0, kBlock);
    constexpr unsigned kSticky = 0x3Fu; // exceptions seen so far: anybody's arithmetic adds to them
    const unsigned before = _mm_getcsr();
    for (const unsigned state :
         {0x1F80u, 0x9FC0u, 0x1F80u | 0x2000u, 0x1F80u | 0x6000u,
          0x1F80u & ~0x0680u /* traps at divisions by zero and the like */}) {
        Play(*host, 0x90, 60);
        _mm_setcsr(state);
        Render(*host, 10);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(after & ~kSticky, state) << std::hex << state;
    }
}
#endif

// --- Several threads ---

TEST(ModuleThread, PlaysInstancesSideBySide)
{
    std::string error; // ThreadSanitizer doesn't see the loader's own lock: load it once before
    const auto module = CVstModule::Load(kModule, error);
    std::array<std::thread, 4> threads;
    for (std::size_t t = 0; t < threads.size(); ++t)
        threads[t] = std::thread([t] {
            for (int round = 0; round < 3; ++round) {
                const auto host = MakeInstance();
                ASSERT_NE(host, nullptr);
                const float own = static_cast<float>(t + 1) / 8.0f;
                host->Start(44100.0 + 1000.0 * static_cast<double>(t), kBlock);
                host->SetParameter(18, own);
                for (std::uint8_t key = 48; key < 56; ++key)
                    Play(*host, 0x90, key);
                const float peak = Render(*host, 20);
                EXPECT_GT(peak, 0.0f);
                EXPECT_LT(peak, 100.0f);
                EXPECT_EQ(host->GetParameter(18), own);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ModuleThread, RendersWhileOthersSetShowSaveAndLoad)
{
    const auto host = MakeInstance();
    ASSERT_NE(host, nullptr);
    host->Start(48000.0, kBlock);
    const auto saved = host->GetChunk();
    std::atomic<bool> stop{false};
    std::thread setter([&] {
        for (int i = 0; !stop; ++i) {
            const float value = static_cast<float>(i % 128) / 127.0f;
            host->SetParameter(19, value); // nobody else sets it
            EXPECT_EQ(host->GetParameter(19), value);
            host->SetParameter(i % 156, value);
            EXPECT_LT(host->ParameterDisplay(i % 74).size(), 16u);
            (void)host->ProgramName();
            std::this_thread::yield();
        }
    });
    std::thread keeper([&] {
        for (int i = 0; !stop; ++i) {
            EXPECT_EQ(host->GetChunk().size(), saved.size());
            host->SetProgramName("Name " + std::to_string(i));
            if (i % 16 == 0)
                host->Dispatch(effMainsChanged, 0, i % 32 == 0 ? 0 : 1);
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 300; ++i) {
        Play(*host, i % 2 == 0 ? 0x90 : 0x80, static_cast<std::uint8_t>(48 + i / 2 % 12),
             i % kBlock);
        EXPECT_LT(Render(*host, 1), 1000.0f);
    }
    stop = true;
    setter.join();
    keeper.join();
    EXPECT_TRUE(host->SetChunk(saved));
    EXPECT_EQ(host->GetChunk(), saved);
}

} // namespace keldra::test
