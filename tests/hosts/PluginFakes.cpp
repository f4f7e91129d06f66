#include "tests/hosts/PluginFakes.h"

#include <cstdint>

#include "frame/Text.h"
#include "tests/frame/TestRenderer.h"

namespace keldra::test {

namespace {

CFakeDefinition definition;

class CFakeEditor final : public CEditorPort {
public:
    ~CFakeEditor() override { journal.Note("editor gone"); }
    void Connect(CPluginRenderer& renderer, CPluginWrapper& host) override
    {
        const bool isRight = renderer.Editor() == this && renderer.HostWrapper() == &host;
        journal.Note(isRight ? "connect" : "wrong connection");
    }
    bool LoadSkin() override
    {
        journal.Note("skin");
        return definition.behaviour.skinLoads;
    }
    [[nodiscard]] EditorSize WindowSize() const override { return {521, 855}; }
    bool Open(void* parent) override
    {
        parent_ = reinterpret_cast<std::uintptr_t>(parent);
        journal.Note(Words("open", parent_));
        return open_ = definition.behaviour.windowOpens;
    }
    void Close() override
    {
        journal.Note("close");
        open_ = false;
    }
    [[nodiscard]] bool IsOpen() const override { return open_; }
    /// One above the window that it was opened in.
    [[nodiscard]] void* WindowHandle() const override
    {
        return reinterpret_cast<void*>(open_ ? parent_ + 1 : 0);
    }

private:
    std::uintptr_t parent_ = 0;
    bool open_ = false;
};

} // namespace

CFakeDefinition& Definition()
{
    return definition;
}

CFakeDefinition::CFakeDefinition()
{
    parameterCount = kParameterCount;
    hostParameterCount = kHostParameterCount;
    CopyText("Keldra", pluginName);
    CopyText("Tallowen", vendorName);
    CopyText("2.4", versionText);
    uniqueId = 0x53617757;
}

std::unique_ptr<CPluginRenderer> CFakeDefinition::CreateRenderer() const
{
    return std::make_unique<CFakeRenderer>();
}

std::unique_ptr<CEditorPort> CFakeDefinition::CreateEditor() const
{
    return std::make_unique<CFakeEditor>();
}

// --- Engine ---

CFakeRenderer::CFakeRenderer()
{
    newest = this;
    output_.Allocate(2, 64);
    SetParameterName(0, "OscA Shape");
    SetParameterName(1, std::string(127, 'n'));
    for (int index = 0; index < kParameterCount; ++index)
        SetParameter(index, static_cast<float>(index) / 256.0f);
    SetProgramName(std::string(1000, 'p'));
}

void CFakeRenderer::SetSampleRate(double hz)
{
    keysHeld_ = 0;
    journal.Note(Words("rate", hz));
    CPluginRenderer::SetSampleRate(hz);
}

void CFakeRenderer::Render()
{
    const bool counts = definition.behaviour.countsFrames;
    if (counts)
        journal.Note(Words("block", output_.FrameCount()));
    for (int i = 0; i < output_.FrameCount(); ++i) {
        const float count = static_cast<float>(++framesRendered_);
        const float level = keysHeld_ > 0 ? 0.5f : 0.0f;
        output_.Channel(0)[i] += counts ? count : level;
        output_.Channel(1)[i] += counts ? -count : level;
    }
}

void CFakeRenderer::MidiNoteOn(int key, int velocity)
{
    ++keysHeld_;
    journal.Note(Words("on", key, velocity));
}

void CFakeRenderer::MidiNoteOff(int key, int)
{
    --keysHeld_;
    journal.Note(Words("off", key));
}

void CFakeRenderer::MidiControlChange(int controller, int value)
{
    journal.Note(Words("cc", controller, value));
    if (controller != 20)
        return;
    SetParameter(3, static_cast<float>(value) / 127.0f);
    ReportAutomation(3, GetParameter(3));
}

void CFakeRenderer::GetParameterLabel(int index, std::span<char> text) const
{
    CopyText(index == 1 ? std::string(100, 'l') : "units", text);
}

void CFakeRenderer::GetParameterDisplay(int index, std::span<char> text) const
{
    if (index == 1)
        CopyText(std::string(100, 'd'), text);
    else
        CPluginRenderer::GetParameterDisplay(index, text);
}

int CFakeRenderer::GetChunk(void* buffer) const
{
    return SaveState(buffer);
}

bool CFakeRenderer::SetChunk(const void* data, int size)
{
    journal.Note(Words("chunk", size));
    return LoadState(data, size);
}

} // namespace keldra::test
