#include <gtest/gtest.h>
#include <string>

#include "hosts/native/DNWrapper.h"
#include "tests/hosts/PluginFakes.h"
#include "tests/native/NativeHost.h"
#include "tests/native/ScriptedStream.h"

namespace keldra::test {

namespace {

void* Entry(void* host, std::intptr_t tag)
{
    return native::CreateNativeInstance(static_cast<native::TDornoHost*>(host), tag);
}

std::string Header(std::uint32_t size, const char (&magic)[5] = "SSND")
{
    std::string bytes(magic, 4);
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<char>(size >> (8 * i)));
    return bytes;
}

class NativeState : public testing::Test {
protected:
    NativeState()
    {
        Definition().behaviour = {.countsFrames = true};
        EXPECT_TRUE(host_.Load(Entry));
        host_.onCall = [](const std::string& line) { journal.Note(line); };
        (void)journal.Take();
    }
    void Transfer(CScriptedStream& stream, bool save)
    {
        host_.Call(3, stream.Get(), std::int32_t{save});
    }
    std::string Saved()
    {
        CScriptedStream stream;
        Transfer(stream, true);
        return stream.bytes;
    }

    CScriptedHost host_;
};

} // namespace

TEST_F(NativeState, SavesABlockWithItsLengthAndRestoresIt)
{
    CFakeRenderer& renderer = *CFakeRenderer::newest.load();
    const std::string saved = Saved();
    ASSERT_EQ(saved.size(), 8u + 692u);
    EXPECT_EQ(saved.substr(0, 8), Header(692));
    EXPECT_EQ(saved.substr(8, 4), "4reV");

    renderer.SetParameter(7, 0.99f);
    const std::uint32_t programs = renderer.Feedback().ProgramCount();
    CScriptedStream stream(saved + "of another plug-in");
    Transfer(stream, false);
    EXPECT_EQ(renderer.GetParameter(7), 7.0f / 256.0f);
    EXPECT_NE(renderer.Feedback().ProgramCount(), programs) << "the editor looks";
    EXPECT_EQ(stream.asked, 700u) << "what follows is not ours";
    const Lines lines = journal.Take();
    ASSERT_EQ(lines.size(), 1u + 2u * 74u);
    EXPECT_EQ(lines[0], "chunk 692");
    for (std::size_t index = 0; index < 74; ++index)
        EXPECT_EQ(lines[1 + 2 * index],
                  "changed " + std::to_string(index) + " " + std::to_string(index));
}

TEST_F(NativeState, TakesStreamsForWhatTheyHold)
{
    const std::string block = Saved().substr(8);
    struct Case {
        const char* what;
        std::string content;
        int chunkSize; ///< that the engine was offered; -1: nothing
        bool accepted;
    };
    const Case cases[] = {
        {"empty", "", -1, false},
        {"ends in the length", "SSND\x10\x01", -1, false},
        {"another magic", Header(692, "SSNE") + block, -1, false},
        {"no block", Header(0) + block, -1, false},
        {"ends within the block", Header(692) + block.substr(0, 300), 300, false},
        {"ends before the name", Header(692) + block.substr(0, 628), 628, true},
        {"a length of its own", Header(628) + block, 628, true},
        {"a longer block", Header(1000) + block + std::string(308, 'x'), 692, true},
        {"4 GiB announced", Header(0xFFFFFFFF) + block, 692, true},
        {"zeros", Header(692) + std::string(692, '\0'), 692, false},
    };
    for (const auto& [what, content, chunkSize, accepted] : cases) {
        CScriptedStream stream(content);
        Transfer(stream, false);
        const Lines lines = journal.Take();
        if (chunkSize < 0) {
            EXPECT_EQ(lines, Lines{}) << what;
            continue;
        }
        ASSERT_FALSE(lines.empty()) << what;
        EXPECT_EQ(lines[0], "chunk " + std::to_string(chunkSize)) << what;
        EXPECT_EQ(lines.size(), accepted ? 149u : 1u) << what;
    }
}

TEST_F(NativeState, LivesWithStreamsThatMisbehave)
{
    const std::string saved = Saved();
    CScriptedStream pieces(saved);
    pieces.pieceSize = 5;
    Transfer(pieces, false);
    EXPECT_EQ(journal.Take().size(), 149u) << "bytes that come in pieces are put together";
    CScriptedStream slow;
    slow.pieceSize = 7;
    Transfer(slow, true);
    EXPECT_EQ(slow.bytes, saved);

    for (const std::size_t failsAt : {0u, 4u, 8u, 300u}) {
        CScriptedStream stream(saved), sink;
        stream.failsAt = sink.failsAt = failsAt;
        stream.pieceSize = 100;
        Transfer(stream, false);
        Transfer(sink, true);
        EXPECT_EQ(journal.Take().size(), failsAt < 8 ? 0u : 1u) << failsAt;
    }
    CScriptedStream liar(saved), deaf;
    liar.liesBy = deaf.liesBy = 1;
    Transfer(liar, false);
    Transfer(deaf, true);
    EXPECT_EQ(deaf.bytes.size(), 4u) << "nothing more is entrusted to it";
    CScriptedStream full;
    full.pieceSize = 0;
    Transfer(full, true);
    EXPECT_EQ(journal.Take(), Lines{});

    CScriptedStream endless(Header(50000000) + saved.substr(8));
    endless.endless = true;
    Transfer(endless, false);
    EXPECT_EQ(endless.asked, 8u + 50000000u) << "read past, not kept";
    EXPECT_EQ(journal.Take().size(), 149u);
    host_.Call(3, static_cast<void*>(nullptr), std::int32_t{0});
    host_.Call(3, static_cast<void*>(nullptr), std::int32_t{1});
}

} // namespace keldra::test
