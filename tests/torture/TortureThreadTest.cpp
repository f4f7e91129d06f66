// Many instances in one process for as long as one likes, on several threads at once: notes,
// programs, parameters, states, rates, editors, and instances that come and go. At every pause all
// notes end and the memory in use is what it was.
//
//     KELDRA_TORTURE="16 4 600 1" keldra_tests_torture       instances threads seconds seed

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
#include <shared_mutex>
#include <thread>

#include "apps/host/VstHost.h"
#include "editor/PanelTable.h"
#include "tests/Dice.h"
#include "tests/Listening.h"
#include "tests/editor/panel/Machine.h"
#include "tests/platform/window/XHost.h"

#ifdef KELDRA_SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // g++ has no header for it
#endif

namespace keldra::test {
namespace {

using namespace vst;

[[maybe_unused]] auto* const kXvfb = testing::AddGlobalTestEnvironment(new CXvfb);

constexpr double kRates[] = {8000.0, 22050.0, 44100.0, 48000.0, 48000.0, 96000.0, 192000.0};
constexpr int kLongestBlock = 2048;
constexpr double kMeasuredRate = 48000.0;

struct Plan {
    int instances = 3;
    int threads = 2;
    double seconds = 2.0;
    unsigned seed = 1;
};

Plan PlanFromEnvironment()
{
    Plan plan;
    const char* const text = std::getenv("KELDRA_TORTURE");
    const int read = text == nullptr ? 4
                                     : std::sscanf(text, "%d %d %lf %u", &plan.instances,
                                                   &plan.threads, &plan.seconds, &plan.seed);
    EXPECT_EQ(read, 4);
    return plan;
}

/// Bytes that the program has taken and not given back.
std::size_t MemoryInUse()
{
#ifdef KELDRA_SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

/// A host's window at the top left of the screen, and a hand that touches what is on top there.
class CScreen {
public:
    [[nodiscard]] void* Parent() { return host_.Handle(); }
    void Show() { host_.Show({0, 0}, {521, 855}); }
    void Touch(PixelPoint at, int what)
    {
        constexpr int kLeft = 1;
        switch (what) {
        case 0:
            return host_.Press(kLeft);
        case 1:
            return host_.Release(kLeft);
        case 2: // a wheel, or the right button
            host_.Press(3 + at.x % 3);
            return host_.Release(3 + at.x % 3);
        case 3:
            return host_.MoveBy(at.x % 40 - 20, at.y % 40 - 20);
        default:
            host_.MoveTo(at);
            host_.Press(kLeft);
            host_.MoveBy(0, at.y % 20 - 10);
            host_.Release(kLeft);
        }
    }

private:
    CXHost host_;
};

/// What was done to all instances.
struct Done {
    std::atomic<int> blocks{0}, changes{0}, editors{0}, touches{0}, instances{0};
};
Done done;

/// One instance, and what the host's threads do with it. Each operation takes part in its life;
/// only the thread of the editors ends it.
class CVictim {
public:
    explicit CVictim(std::shared_ptr<CVstModule> module) : module_(std::move(module)) { Make(); }

    /// The processing thread's: a block, with events of every kind.
    void Play(CDice& dice)
    {
        if (isEnding_)
            return;
        const std::shared_lock alive(life_);
        const int frames = dice.OneIn(9) ? dice.UpTo(3) : dice.UpTo(kLongestBlock);
        if (dice.OneIn(20))
            host_->SetTransport({!dice.OneIn(9), dice.OneIn(2), 400.0 * dice.UpTo(1000) / 999.0,
                                 dice.UpTo(64) / 4.0});
        for (int i = dice.UpTo(12), frame = 0; i > 0; --i) {
            constexpr int kStatuses[] = {0x90, 0x90, 0x90, 0x80, 0x80, 0xB0,
                                         0xB0, 0xE0, 0xA0, 0xC0, 0xD0};
            frame = std::min(frame + dice.UpTo(200), std::max(frames - 1, 0));
            Midi(frame, dice.Of(kStatuses), dice.OneIn(20) ? 123 : dice.UpTo(127), dice.UpTo(127));
        }
        Render(frames);
        ++done.blocks;
    }

    /// Any other thread's.
    void Change(CDice& dice, std::vector<std::byte>& saved)
    {
        if (isEnding_)
            return;
        const std::shared_lock alive(life_);
        for (int i = dice.UpTo(20); i > 0; --i)
            SetAnything(dice);
        // A state's memory is the instance's until the next is asked for.
        const std::lock_guard turn(states_);
        ++done.changes;
        switch (dice.UpTo(9)) {
        case 0:
        case 1:
            saved = host_->GetChunk();
            EXPECT_EQ(saved.size(), kStateSize);
            break;
        case 2:
        case 3:
            EXPECT_TRUE(saved.empty() || host_->SetChunk(saved));
            break;
        case 4:
            static_cast<void>(host_->SetChunk(
                std::span(saved).first(saved.size() * static_cast<unsigned>(dice.UpTo(9)) / 10)));
            break;
        case 5:
            rate_ = dice.Of(kRates);
            host_->Dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(rate_));
            break;
        case 6:
            host_->Dispatch(effSetBlockSize, 0, dice.UpTo(4096));
            host_->Dispatch(effMainsChanged, 0, dice.UpTo(1));
            break;
        case 7:
            host_->SetProgramName("torture");
            break;
        default:
            EXPECT_FALSE(host_->ParameterName(dice.UpTo(kHostParameterCount - 1)).empty());
            static_cast<void>(host_->ParameterDisplay(dice.UpTo(kParameterCount)));
            static_cast<void>(host_->ProgramName());
        }
    }

    // The editors' thread's
    void ToggleEditor(CDice& dice)
    {
        if (screen_ != nullptr && dice.OneIn(3)) // some hosts destroy their window first
            screen_.reset();
        if (std::exchange(editorIsOpen_, false)) {
            host_->CloseEditor();
            screen_.reset();
            return;
        }
        screen_ = std::make_unique<CScreen>();
        editorIsOpen_ = host_->OpenEditor(screen_->Parent());
        EXPECT_TRUE(editorIsOpen_);
        screen_->Show();
        ++done.editors;
    }
    void Idle(CDice& dice)
    {
        host_->IdleEditor();
        if (screen_ == nullptr)
            return;
        for (int i = 0; i < 8; ++i, ++done.touches) {
            const PanelRect& rect = dice.Of(kPanelControls).rect;
            screen_->Touch({rect.x + dice.UpTo(rect.width), rect.y + dice.UpTo(rect.height)},
                           dice.UpTo(7));
        }
    }
    void Remake(CDice& dice)
    {
        isEnding_ = true; // else the others would come before this for ever
        const std::lock_guard nobodyElse(life_);
        isEnding_ = false;
        if (dice.OneIn(2)) // some leave it open
            CloseEditor();
        host_.reset();
        screen_.reset();
        editorIsOpen_ = false;
        Make();
    }

    /// Nobody else plays: all notes off, then silence as soon as the longest may have ended.
    void Calm()
    {
        CloseEditor();
        // Images and panels come with the first window and stay: here also those of an instance
        // that was made anew and had none yet.
        screen_ = std::make_unique<CScreen>();
        EXPECT_TRUE(host_->OpenEditor(screen_->Parent()));
        CloseEditor();
        Render(64);
        Midi(0, 0xB0, 64, 0);
        Midi(1, 0xB0, 123, 0);
        Midi(2, 0xB0, 7, 127);
        Render(64);
        // What might hide a stuck note, and echoes without end.
        for (const auto& [index, value] : {std::pair{kGain, 1.0f},
                                           {kFilterCutoff, 1.0f},
                                           {kFilterMode, 0.0f},
                                           {kGateMix, 0.0f},
                                           {kDelayFeedback, 0.0f},
                                           {kDelayModDepth, 0.0f}})
            host_->SetParameter(index, value);
        constexpr double kLongestSeconds = 10.0 + 2.0 + 2.0; // a release, an echo, the wait for one
        double silent = 0.0;
        for (double seconds = 0.0; seconds < kLongestSeconds && silent < 2.0;
             seconds += kLongestBlock / rate_)
            silent = Render(kLongestBlock) < 1e-5f ? silent + kLongestBlock / rate_ : 0.0;
        EXPECT_GT(silent, 0.5) << "a note hangs";
        rate_ = kMeasuredRate;
        host_->Start(rate_, 512);
    }

private:
    void Make()
    {
        std::string error;
        host_ = CVstHost::Create(module_, {}, nullptr, error);
        ASSERT_NE(host_, nullptr) << error;
        ++done.instances;
        rate_ = 44100.0;
        if (made_++ % 2 == 0) // others are played by hosts that say nothing
            host_->Start(rate_ = 48000.0, kLongestBlock);
    }
    void CloseEditor()
    {
        host_->CloseEditor();
        screen_.reset();
        editorIsOpen_ = false;
    }
    void SetAnything(CDice& dice)
    {
        const int index = dice.UpTo(kParameterCount + 3) - 1;
        if (index == kAmpRelease) // ten seconds of it, many times over, would be all the test does
            return;
        constexpr float kValues[] = {NAN, -1.0f, 1e30f, 64.0f};
        host_->SetParameter(index, dice.OneIn(30) ? dice.Of(kValues) : dice.Between(0.0f, 1.0f));
    }
    void Midi(int frame, int status, int data1, int data2)
    {
        const std::array bytes{static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                               static_cast<std::uint8_t>(data2)};
        static_cast<void>(host_->AddMidi(frame, bytes));
    }
    /// @return the loudest sample
    float Render(int frames)
    {
        float* outputs[] = {left_.data(), right_.data()};
        host_->Render(outputs, frames);
        const auto count = static_cast<std::size_t>(frames);
        const float peak =
            std::max(Peak(std::span(left_).first(count)), Peak(std::span(right_).first(count)));
        EXPECT_TRUE(std::isfinite(peak));
        return peak;
    }

    std::shared_ptr<CVstModule> module_;
    std::unique_ptr<CVstHost> host_;
    std::shared_mutex life_;
    std::atomic<bool> isEnding_{false};
    std::mutex states_;
    std::atomic<double> rate_{44100.0};
    int made_ = 0;
    std::unique_ptr<CScreen> screen_;
    bool editorIsOpen_ = false;
    std::array<float, kLongestBlock> left_{}, right_{};
};

using Victims = std::vector<std::unique_ptr<CVictim>>;

void Torture(Victims& victims, const Plan& plan, double seconds, unsigned seed)
{
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < plan.threads; ++t) {
        const unsigned own = seed + 2 * static_cast<unsigned>(t);
        threads.emplace_back([&, own, t] {
            CDice dice(own);
            while (!stop)
                for (std::size_t i = static_cast<std::size_t>(t); i < victims.size() && !stop;
                     i += static_cast<std::size_t>(plan.threads))
                    victims[i]->Play(dice);
        });
        threads.emplace_back([&, own] {
            CDice dice(own + 1);
            std::vector<std::byte> saved; // of one instance, and loaded by another
            while (!stop) {
                victims[static_cast<std::size_t>(dice.UpTo(plan.instances - 1))]->Change(dice,
                                                                                         saved);
                std::this_thread::sleep_for(std::chrono::microseconds(dice.UpTo(2000)));
            }
        });
    }
    CDice dice(seed + 1000);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end && !testing::Test::HasFailure()) {
        CVictim& victim = *victims[static_cast<std::size_t>(dice.UpTo(plan.instances - 1))];
        if (dice.OneIn(20))
            victim.Remake(dice);
        else if (dice.OneIn(5))
            victim.ToggleEditor(dice);
        else
            victim.Idle(dice);
        std::this_thread::sleep_for(std::chrono::milliseconds(dice.UpTo(5)));
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& victim : victims)
        victim->Calm();
}

TEST(TortureThread, EveryNoteEndsAndNoMemoryIsKept)
{
    const Plan plan = PlanFromEnvironment();
    const CMachine machine;
    setenv("HOME", machine.Path("root").c_str(), 1); // whatever is saved by chance goes there
    Victims victims;
    std::string error;
    const auto module = CVstModule::Load(KELDRA_MODULE, error);
    ASSERT_NE(module, nullptr) << error;
    for (int i = 0; i < plan.instances; ++i)
        victims.push_back(std::make_unique<CVictim>(module));

    constexpr int kPauses = 5;
    std::vector<std::size_t> inUse;
    for (int i = 0; i < kPauses && !HasFailure(); ++i) {
        Torture(victims, plan, plan.seconds / kPauses, plan.seed + static_cast<unsigned>(i) * 100);
        inUse.push_back(MemoryInUse());
        malloc_trim(0);
    }
    // Lists of files and programs that wait to be freed: about so much comes and goes.
    EXPECT_LE(inUse.back(), inUse.front() + (128 << 10) * victims.size());
    if (plan.seconds < 10.0)
        return;
    for (const std::size_t bytes : inUse)
        std::printf("%zu bytes in use\n", bytes);
    std::printf("%d blocks, %d changes, %d editors, %d touches, %d instances\n", done.blocks.load(),
                done.changes.load(), done.editors.load(), done.touches.load(),
                done.instances.load());
}

// Destroyed after the module's own static objects, before which they were made.
TEST(ModuleInWindows, MayBeClosedByAHostThatDoesSoAtTheVeryEnd)
{
    const CMachine machine;
    const auto leave = [] {
        static std::array<CXHost, 2> screens;
        static std::array<std::unique_ptr<CVstHost>, 2> hosts;
        std::string error;
        const auto module = CVstModule::Load(KELDRA_MODULE, error);
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            hosts[i] = CVstHost::Create(module, {}, nullptr, error);
            if (!hosts[i]->OpenEditor(screens[i].Handle()))
                std::abort();
        }
        std::exit(7);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "");
}

} // namespace
} // namespace keldra::test
