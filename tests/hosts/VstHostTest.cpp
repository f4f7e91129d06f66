#include "apps/host/VstHost.h"

#include <cmath>
#include <gtest/gtest.h>

#include "tests/hosts/VstFakes.h"

// The host that our programs and tests share, with a plug-in that writes down what it is told.

namespace keldra::test {

using namespace vst;

namespace {

class CClient final : public CVstHostClient {
public:
    void OnAutomate(int index, float value) override
    {
        journal.Note("client " + std::to_string(index) + " " +
                     std::to_string(std::lround(value * 127.0f)));
    }
};

class VstHost : public testing::Test {
protected:
    VstHost() { Definition().behaviour = {}; }

    void Make(const HostIdentity& identity = {})
    {
        std::string error;
        host_ =
            CVstHost::Create(CVstModule::FromEntry(&CreateVstInstance), identity, &client_, error);
        ASSERT_NE(host_, nullptr) << error;
        (void)journal.Take();
    }
    /// The last sample of each channel.
    std::pair<float, float> Render(int frames)
    {
        std::vector<float> left(static_cast<std::size_t>(frames), 9.0f);
        std::vector<float> right = left;
        float* outputs[] = {left.data(), right.data()};
        host_->Render(outputs, frames);
        return {left.back(), right.back()};
    }

    CClient client_;
    std::unique_ptr<CVstHost> host_;
};

} // namespace

TEST_F(VstHost, SaysWhyAFileIsNoModule)
{
    struct Case {
        const char* path;
        const char* reason;
    };
    for (const auto& [path, reason] : {Case{"/nowhere/Keldra.so", "/nowhere/Keldra.so"},
                                       {KELDRA_SOURCE_DIR "/CMakeLists.txt", "invalid ELF header"},
                                       {"libm.so.6", "not a VST 2 module"}}) {
        std::string error;
        EXPECT_EQ(CVstModule::Load(path, error), nullptr);
        EXPECT_NE(error.find(reason), std::string::npos) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    }
    HostIdentity ancient;
    ancient.version = 0;
    std::string error;
    EXPECT_EQ(CVstHost::Create(CVstModule::FromEntry(&CreateVstInstance), ancient, nullptr, error),
              nullptr);
    EXPECT_FALSE(error.empty());
}

TEST_F(VstHost, RunsAnInstanceFromStartToEnd)
{
    HostIdentity identity;
    identity.vendor = "Someone";
    identity.product = "A host";
    Make(identity);
    std::array<char, 64> text;
    CPluginInstance::Get().GetHostProduct(text);
    EXPECT_STREQ(text.data(), "A host");
    CPluginInstance::Get().GetHostVendor(text);
    EXPECT_STREQ(text.data(), "Someone");
    EXPECT_EQ(host_->ProductName(), "Keldra 2.4");
    EXPECT_EQ(host_->ParameterName(0), "OscA Shape");
    EXPECT_EQ(host_->ParameterName(1).size(), 63u);
    EXPECT_EQ(host_->ParameterDisplay(0), "50000 ms");

    host_->Start(48000.0, 256);
    host_->Start(96000.0, 256);
    host_->Stop();
    host_->Stop();
    EXPECT_EQ(journal.Take(), (Lines{"rate 48000.00", "rate 0.00", "rate 0.00", "rate 96000.00",
                                     "rate 0.00", "rate 0.00"}));

    host_->SetProgramName("Song");
    std::vector<std::byte> chunk = host_->GetChunk();
    EXPECT_EQ(chunk.size(), 692u);
    host_->SetParameter(7, 1.0f);
    host_->SetProgramName("Other");
    EXPECT_TRUE(host_->SetChunk(chunk));
    EXPECT_EQ(host_->GetParameter(7), 7.0f / 256.0f);
    EXPECT_EQ(host_->ProgramName(), "Song");
    EXPECT_EQ(journal.Take().size(), 74u) << "told to the client, value by value";
    chunk.resize(100);
    EXPECT_FALSE(host_->SetChunk(chunk));

    ASSERT_TRUE(host_->EditorSize().has_value());
    EXPECT_EQ(host_->EditorSize()->height, 521);
    EXPECT_TRUE(host_->OpenEditor(reinterpret_cast<void*>(7)));
    (void)journal.Take();
    host_.reset();
    EXPECT_EQ(journal.Take(), (Lines{"close", "editor gone", "renderer gone"}));
}

TEST_F(VstHost, TellsWhereTheSongIs)
{
    Make();
    host_->Start(48000.0, 24000);
    (void)journal.Take();
    struct Case {
        const char* what;
        HostTransport transport;
        int blocks;
        Lines told;
    };
    const Case cases[] = {
        {"stopped, where it was",
         {true, false, 120.0, 0.0},
         2,
         {"tempo 120.00", "position 0.00", "tempo 120.00", "position 0.00"}},
        {"half a second at 60 is half a quarter",
         {true, true, 60.0, 0.0},
         3,
         {"tempo 60.00", "position 0.00", "playing", "tempo 60.00", "position 0.50", "tempo 60.00",
          "position 1.00"}},
        {"a new tempo where it is anyway is no jump",
         {true, true, 240.0, 1.5000001},
         2,
         {"tempo 240.00", "position 1.50", "tempo 240.00", "position 3.50"}},
        {"jumps", {true, true, 120.0, 8.0}, 1, {"tempo 120.00", "position 8.00", "playing"}},
        {"stops", {true, false, 120.0, 9.0}, 1, {"tempo 120.00", "position 9.00", "stopped"}},
        {"keeps it to itself", {.known = false}, 2, {}},
    };
    for (const auto& [what, transport, blocks, told] : cases) {
        host_->SetTransport(transport);
        for (int block = 0; block < blocks; ++block)
            Render(24000);
        EXPECT_EQ(journal.Take(), told) << what;
    }
}

TEST_F(VstHost, SendsMidiWithTheNextBlock)
{
    Make();
    host_->Start(48000.0, 64);
    using Bytes = std::array<std::uint8_t, 4>;
    const auto add = [&](int frame, Bytes bytes, std::size_t size) {
        return host_->AddMidi(frame, std::span(bytes).first(size));
    };
    EXPECT_FALSE(add(0, {}, 0));
    EXPECT_FALSE(add(0, {0xF0, 1, 2, 0xF7}, 4));
    EXPECT_TRUE(add(64, {0x90, 61, 100}, 3));
    EXPECT_EQ(Render(63), std::pair(0.0f, 0.0f)) << "beyond the block: lost";
    EXPECT_TRUE(add(62, {0x90, 60, 100}, 3));
    EXPECT_TRUE(add(62, {0xB0, 20, 64}, 3));
    (void)journal.Take();
    EXPECT_EQ(Render(63), std::pair(0.5f, 0.5f));
    EXPECT_EQ(journal.Take().back(), "client 3 64") << "what the engine moved reaches the client";
    EXPECT_EQ(host_->GetParameter(3), 64.0f / 127.0f);
    Render(63);
    EXPECT_EQ(journal.Take().size(), 2u) << "sent once: tempo and position only";
    int room = 0;
    while (add(0, {0xFE}, 1))
        ++room;
    EXPECT_EQ(room, CVstHost::kMaxEvents);
    Render(1);
    EXPECT_TRUE(add(0, {0x80, 60, 0}, 3));
    EXPECT_EQ(Render(1), std::pair(0.0f, 0.0f));
}

} // namespace keldra::test
