#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "hosts/vst/VstInterface.h"
#include "tests/native/NativeHost.h"
#include "tests/native/ScriptedStream.h"

// The module as it is built, loaded as the native host loads it: on 32 bits too, where that host is
// at home.

namespace keldra::test {

namespace {

class CLoadedModule {
public:
    CLoadedModule() : handle_(dlopen(KELDRA_MODULE, RTLD_NOW | RTLD_LOCAL))
    {
        EXPECT_NE(handle_, nullptr) << dlerror();
    }
    ~CLoadedModule() { dlclose(handle_); }
    CLoadedModule(const CLoadedModule&) = delete;
    CLoadedModule& operator=(const CLoadedModule&) = delete;

    template <typename Function>
    Function Entry(const char* name)
    {
        return reinterpret_cast<Function>(dlsym(handle_, name));
    }

private:
    void* handle_;
};

/// @return the loudest sample of so many blocks, infinity if one was no number
float Peak(CScriptedHost& host, int blocks)
{
    float peak = 0.0f;
    for (int block = 0; block < blocks; ++block) {
        std::vector<float> buffer(2 * 256);
        host.Render(buffer);
        for (const float sample : buffer)
            peak = std::isfinite(sample) ? std::max(peak, std::fabs(sample))
                                         : std::numeric_limits<float>::infinity();
    }
    return peak;
}

std::string Saved(CScriptedHost& host)
{
    CScriptedStream stream;
    host.Call(3, stream.Get(), std::int32_t{1});
    return stream.bytes;
}

vst::VstIntPtr Version(vst::AEffect*, vst::VstInt32 opcode, vst::VstInt32, vst::VstIntPtr, void*,
                       float)
{
    return opcode == vst::audioMasterVersion ? vst::kVstVersion : 0;
}

} // namespace

TEST(NativeModule, PlaysSavesAndLoadsBesideInstancesOfTheOtherKind)
{
    unsetenv("DISPLAY");
    CLoadedModule module;
    const auto entry = module.Entry<CScriptedHost::Entry>("CreatePlugInstance");
    const auto vstEntry = module.Entry<vst::VstPluginMainProc>("VSTPluginMain");
    ASSERT_TRUE(entry != nullptr && vstEntry != nullptr);
    EXPECT_EQ(entry(nullptr, 0), nullptr);

    CScriptedHost first, second;
    ASSERT_TRUE(first.Load(entry));
    vst::AEffect* const other = vstEntry(Version);
    ASSERT_NE(other, nullptr);
    ASSERT_TRUE(second.Load(entry)); // after an instance of the other kind

    ScriptedVoice voice;
    EXPECT_EQ(Peak(first, 2), 0.0f);
    EXPECT_EQ(first.Start(voice), 60);
    EXPECT_GT(Peak(first, 40), 0.01f);
    EXPECT_EQ(Peak(second, 2), 0.0f) << "instances don't hear each other";
    first.Kill(60);
    Peak(first, 400);
    EXPECT_LT(Peak(first, 4), 1e-4f);

    first.Exchange(18, 77, 1);
    const std::string saved = Saved(first);
    EXPECT_EQ(saved.size(), 700u);
    EXPECT_NE(Saved(second), saved);
    CScriptedStream stream(saved);
    second.Call(3, stream.Get(), std::int32_t{0});
    EXPECT_EQ(second.Exchange(18, 0, 2), 77);
    EXPECT_EQ(Saved(second), saved);
    EXPECT_EQ(second.Name(0, 18), "Flt. Cutoff");
    EXPECT_EQ(second.Name(1, 202), "0");

    second.Command(0, 1); // whatever comes of an editor without a display
    first.Close();
    other->dispatcher(other, vst::effClose, 0, 0, nullptr, 0.0f);
    EXPECT_EQ(second.Start(voice), 60);
    EXPECT_GT(Peak(second, 40), 0.01f) << "the last one plays on";
}

} // namespace keldra::test
