#include "tests/hosts/VstFakes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <new>

#include "frame/StateBlock.h"

namespace keldra::test {

using namespace vst;

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
        journal.Note("open " + std::to_string(reinterpret_cast<std::uintptr_t>(parent)));
        return open_ = definition.behaviour.windowOpens;
    }
    void Close() override
    {
        journal.Note("close");
        open_ = false;
    }
    [[nodiscard]] bool IsOpen() const override { return open_; }
    [[nodiscard]] void* WindowHandle() const override { return nullptr; }

private:
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
    if (behaviour.memoryIsShort)
        throw std::bad_alloc();
    return behaviour.hasRenderer ? std::make_unique<CFakeRenderer>() : nullptr;
}

std::unique_ptr<CEditorPort> CFakeDefinition::CreateEditor() const
{
    return behaviour.hasEditor ? std::make_unique<CFakeEditor>() : nullptr;
}

CFakeRenderer::CFakeRenderer()
{
    newest = this;
    output_.Allocate(2, 64);
    SetParameterName(0, "OscA Shape");
    SetParameterName(1, std::string(127, 'n'));
    for (int index = 0; index < kParameterCount; ++index)
        SetParameter(index, static_cast<float>(index) / 256.0f);
}

void CFakeRenderer::Render()
{
    const float level = keysHeld_ > 0 ? 0.5f : 0.0f;
    for (int channel = 0; channel < output_.ChannelCount(); ++channel)
        for (int i = 0; i < output_.FrameCount(); ++i)
            output_.Channel(channel)[i] += level;
}

void CFakeRenderer::ControlChange(int controller)
{
    if (controller != 20)
        return;
    SetParameter(3, Controller(controller));
    ReportAutomation(3, Controller(controller));
}

int CFakeRenderer::GetChunk(void* buffer) const
{
    if (buffer != nullptr) {
        std::array<float, kParameterCount> values;
        CopyValues(values);
        std::array<char, kStateNameSize> name;
        GetProgramName(name);
        const std::span<std::byte> block(static_cast<std::byte*>(buffer), kStateSize);
        WriteStateBlock(values, name.data(), block.first<kStateSize>());
    }
    return static_cast<int>(kStateSize);
}

bool CFakeRenderer::SetChunk(const void* data, int size)
{
    const StateBlockContent content =
        ReadStateBlock({static_cast<const std::byte*>(data), static_cast<std::size_t>(size)});
    ProgramValues program;
    program.count = content.valueCount;
    program.values = content.values;
    ChangeProgram(program);
    SetProgramName(content.name.data());
    return content.Accepted();
}

// --- Host ---

std::string CFakeHost::Text(VstInt32 opcode, VstInt32 index)
{
    std::array<char, 512> text;
    text.fill(0x55);
    Dispatch(opcode, index, 0, text.data());
    return std::string(TextIn(text));
}

void CFakeHost::SendEvents(const std::vector<VstEvent*>& events)
{
    // The published structure, but as long as it has to be.
    std::vector<std::byte> memory(sizeof(VstEvents) + events.size() * sizeof(VstEvent*));
    auto* const list = new (memory.data()) VstEvents{};
    list->numEvents = static_cast<VstInt32>(events.size());
    std::copy(events.begin(), events.end(), static_cast<VstEvent**>(list->events));
    Dispatch(effProcessEvents, 0, 0, list);
}

void CFakeHost::SendMidi(std::vector<VstMidiEvent> events)
{
    std::vector<VstEvent*> pointers;
    for (VstMidiEvent& event : events)
        pointers.push_back(reinterpret_cast<VstEvent*>(&event));
    SendEvents(pointers);
}

std::vector<float> CFakeHost::Process(int frames, float before)
{
    std::vector<float> left(static_cast<std::size_t>(frames), before);
    std::vector<float> right = left;
    float* outputs[] = {left.data(), right.data()};
    effect->processReplacing(effect, nullptr, outputs, frames);
    EXPECT_EQ(left, right);
    return left;
}

VstIntPtr KELDRA_VST_CALL CFakeHost::Callback(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                              VstIntPtr value, void* ptr, float opt)
{
    CFakeHost& host = *current_;
    if (host.onCallback)
        host.onCallback(opcode);
    switch (opcode) {
    case audioMasterVersion:
        journal.Note(effect == nullptr ? "version?" : "version with a record?");
        return host.version;
    case audioMasterGetVendorString: // some hosts' names are longer than they may be
        std::strcpy(static_cast<char*>(ptr), std::string(200, 'v').c_str());
        return 1;
    case audioMasterGetProductString:
        std::strcpy(static_cast<char*>(ptr), host.product);
        return 1;
    case audioMasterGetTime:
        journal.Note("time " + std::to_string(value) + "?");
        return host.hasTime ? reinterpret_cast<VstIntPtr>(&host.time) : 0;
    case audioMasterAutomate:
        journal.Note(("automate " + std::to_string(index)).c_str(), static_cast<double>(opt) * 256);
        return 0;
    default:
        journal.Note("host " + std::to_string(opcode) + " " + std::to_string(index) + " " +
                     std::to_string(value));
        return 0;
    }
}

VstMidiEvent Midi(int frames, int status, int data1, int data2)
{
    return {kVstMidiType,
            sizeof(VstMidiEvent),
            frames,
            0,
            0,
            0,
            {static_cast<char>(status), static_cast<char>(data1), static_cast<char>(data2), 0x5A},
            0,
            0,
            0,
            0};
}

} // namespace keldra::test
