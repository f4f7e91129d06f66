#include "tests/hosts/VstFakes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <new>

#include "frame/StateBlock.h"
#include "frame/Text.h"

namespace keldra::test {

using namespace vst;

namespace {

CFakeDefinition definition;

std::string Number(double value)
{
    std::array<char, 64> text;
    CTextWriter(text).AppendFixed(value, 2);
    return text.data();
}

} // namespace

CFakeDefinition& Definition()
{
    return definition;
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
}

CFakeRenderer::~CFakeRenderer()
{
    journal.Note("renderer gone");
}

void CFakeRenderer::SetSampleRate(double hz)
{
    journal.Note("rate " + Number(hz));
    keysHeld_ = 0;
    CPluginRenderer::SetSampleRate(hz);
}

void CFakeRenderer::SetTempo(double beatsPerMinute)
{
    journal.Note("tempo " + Number(beatsPerMinute));
    CPluginRenderer::SetTempo(beatsPerMinute);
}

void CFakeRenderer::SetSongPosition(double quarterNotes)
{
    journal.Note("position " + Number(quarterNotes));
    CPluginRenderer::SetSongPosition(quarterNotes);
}

void CFakeRenderer::SetTransportPlaying(bool playing)
{
    journal.Note(playing ? "playing" : "stopped");
}

void CFakeRenderer::Render()
{
    const float level = keysHeld_ > 0 ? 0.5f : 0.0f;
    for (int channel = 0; channel < output_.ChannelCount(); ++channel)
        for (int i = 0; i < output_.FrameCount(); ++i)
            output_.Channel(channel)[i] += level;
}

void CFakeRenderer::NoteOn(int key)
{
    ++keysHeld_;
    journal.Note("on " + std::to_string(key));
}

void CFakeRenderer::NoteOff(int key)
{
    --keysHeld_;
    journal.Note("off " + std::to_string(key));
}

void CFakeRenderer::ControlChange(int controller)
{
    if (controller != 20)
        return;
    SetParameter(3, Controller(controller));
    ReportAutomation(3, Controller(controller));
}

void CFakeRenderer::GetParameterLabel(int, std::span<char> text) const
{
    CopyText(std::string(100, 'l'), text);
}

void CFakeRenderer::GetParameterDisplay(int index, std::span<char> text) const
{
    CopyText(index == 1 ? std::string(100, 'd') : "50000 ms", text);
}

int CFakeRenderer::GetChunk(void* buffer) const
{
    if (buffer != nullptr) {
        std::array<float, kParameterCount> values;
        CopyValues(values);
        std::array<char, 64> name;
        GetProgramName(name);
        WriteStateBlock(
            values, name.data(),
            std::span<std::byte, kStateSize>(static_cast<std::byte*>(buffer), kStateSize));
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
    if (content.hasName)
        SetProgramName(content.name.data());
    return content.Accepted();
}

// --- Editor ---

CFakeEditor::~CFakeEditor()
{
    journal.Note("editor gone");
}

void CFakeEditor::Connect(CPluginRenderer& renderer, CPluginWrapper& host)
{
    journal.Note(renderer.Editor() == this && renderer.HostWrapper() == &host ? "connect"
                                                                              : "wrong connection");
}

void CFakeEditor::BuildPanel()
{
    journal.Note("build");
}

bool CFakeEditor::LoadSkin()
{
    journal.Note("skin");
    return definition.behaviour.skinLoads;
}

bool CFakeEditor::Open(void* parent)
{
    journal.Note("open " + std::to_string(reinterpret_cast<std::uintptr_t>(parent)));
    open_ = definition.behaviour.windowOpens;
    return open_;
}

void CFakeEditor::Close()
{
    journal.Note("close");
    open_ = false;
}

// --- Definition ---

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

// --- Host ---

CFakeHost* CFakeHost::current_ = nullptr;

bool CFakeHost::Load()
{
    effect = CreateVstInstance(&Callback);
    return effect != nullptr;
}

void CFakeHost::Close()
{
    if (effect != nullptr)
        Dispatch(effClose);
    effect = nullptr;
}

VstIntPtr CFakeHost::Dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                              float opt)
{
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

std::string CFakeHost::Text(VstInt32 opcode, VstInt32 index)
{
    std::array<char, 512> text;
    text.fill(0x55);
    Dispatch(opcode, index, 0, text.data());
    return std::string(TextIn(text));
}

void CFakeHost::SendEvents(std::vector<VstEvent*> events)
{
    // The published structure, but as long as it has to be.
    std::vector<std::byte> memory(sizeof(VstEvents) + events.size() * sizeof(VstEvent*));
    auto* const list = new (memory.data()) VstEvents{};
    list->numEvents = static_cast<VstInt32>(events.size());
    std::copy(events.begin(), events.end(), static_cast<VstEvent**>(list->events));
    Dispatch(effProcessEvents, 0, 0, list);
}

void CFakeHost::SendMidi(std::initializer_list<VstMidiEvent> events)
{
    std::vector<VstMidiEvent> copies(events);
    std::vector<VstEvent*> pointers;
    for (VstMidiEvent& event : copies)
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
        std::strcpy(static_cast<char*>(ptr), "Fake");
        return 1;
    case audioMasterGetTime:
        journal.Note("time " + std::to_string(value) + "?");
        return host.hasTime ? reinterpret_cast<VstIntPtr>(&host.time) : 0;
    case audioMasterAutomate:
        journal.Note("automate " + std::to_string(index) + " " +
                     Number(static_cast<double>(opt) * 256.0));
        return 0;
    default:
        journal.Note("host " + std::to_string(opcode) + " " + std::to_string(index) + " " +
                     std::to_string(value));
        return 0;
    }
}

VstMidiEvent Midi(int frames, int status, int data1, int data2)
{
    VstMidiEvent event{};
    event.type = kVstMidiType;
    event.byteSize = sizeof(VstMidiEvent);
    event.deltaFrames = frames;
    event.midiData[0] = static_cast<char>(status);
    event.midiData[1] = static_cast<char>(data1);
    event.midiData[2] = static_cast<char>(data2);
    event.midiData[3] = 0x5A; // some hosts leave it as it was
    return event;
}

} // namespace keldra::test
