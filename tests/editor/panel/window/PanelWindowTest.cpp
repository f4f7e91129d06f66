// The module in a host on a real X server. What is seen and done there is in the tests of the panel
// in memory and of the toolkit's windows.

#include <array>
#include <cstdlib>
#include <memory>

#include "apps/host/VstHost.h"
#include "tests/editor/panel/Machine.h"
#include "tests/platform/window/XHost.h"

namespace keldra::test {
namespace {

[[maybe_unused]] auto* const kXvfb = testing::AddGlobalTestEnvironment(new CXvfb);

TEST(PanelWindow, MayBeClosedByAHostThatDoesSoAtTheVeryEnd)
{
    const CMachine machine;
    const auto leave = [] {
        // Made before the module's own static objects, so destroyed after them.
        static std::array<CXHost, 2> screens;
        static std::array<std::unique_ptr<vst::CVstHost>, 2> hosts;
        std::string error;
        const auto module = vst::CVstModule::Load(KELDRA_MODULE, error);
        for (std::size_t i = 0; i < hosts.size(); ++i) {
            hosts[i] = vst::CVstHost::Create(module, {}, nullptr, error);
            if (!hosts[i]->OpenEditor(reinterpret_cast<void*>(screens[i].Window())))
                std::abort();
        }
        std::exit(7);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "");
}

} // namespace
} // namespace keldra::test
