#include "tests/native/NativeFakes.h"

#include <array>
#include <cstdint>
#include <new>

#include "frame/ParameterTable.h"
#include "frame/StateBlock.h"
#include "frame/Text.h"

namespace keldra::test {

namespace {

CFakeDefinition definition;

std::string Words(const char* word, double first)
{
    std::array<char, 64> text;
    CTextWriter(text).Append(word).Append(" ").AppendFixed(first, 0);
    return text.data();
}

std::string Words(const char* word, int first, int second)
{
    return std::string(word) + " " + std::to_string(first) + " " + std::to_string(second);
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
    SetProgramName(std::string(1000, 'p'));
}

void CFakeRenderer::MidiNoteOn(int key, int velocity)
{
    journal.Note(Words("on", key, velocity));
}

void CFakeRenderer::MidiNoteOff(int key, int)
{
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

void CFakeRenderer::MidiChannelPressure(int value)
{
    journal.Note(Words("pressure", value));
}

void CFakeRenderer::SetSampleRate(double hz)
{
    journal.Note(Words("rate", hz));
    CPluginRenderer::SetSampleRate(hz);
}

void CFakeRenderer::SetTempo(double beatsPerMinute)
{
    journal.Note(Words("tempo", beatsPerMinute));
}

void CFakeRenderer::SetSongPosition(double quarterNotes)
{
    journal.Note(Words("position", quarterNotes));
}

void CFakeRenderer::SetTransportPlaying(bool playing)
{
    journal.Note(playing ? "playing" : "stopped");
}

void CFakeRenderer::Render()
{
    journal.Note(Words("block", output_.FrameCount()));
    for (int i = 0; i < output_.FrameCount(); ++i) {
        output_.Channel(0)[i] += static_cast<float>(++framesRendered_);
        output_.Channel(1)[i] -= static_cast<float>(framesRendered_);
    }
}

void CFakeRenderer::GetParameterLabel(int, std::span<char> text) const
{
    CopyText("units", text);
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
    journal.Note(Words("chunk", size));
    const StateBlockContent content =
        ReadStateBlock({static_cast<const std::byte*>(data), static_cast<std::size_t>(size)});
    ChangeProgram({content.valueCount, EImport::Everything, content.values});
    return content.Accepted();
}

// --- Editor ---

void CFakeEditor::Connect(CPluginRenderer& renderer, CPluginWrapper& host)
{
    journal.Note(renderer.Editor() == this && renderer.HostWrapper() == &host ? "connect"
                                                                              : "wrong connection");
}

bool CFakeEditor::LoadSkin()
{
    journal.Note("skin");
    return definition.behaviour.skinLoads;
}

bool CFakeEditor::Open(void* parent)
{
    journal.Note(Words("open", static_cast<double>(reinterpret_cast<std::uintptr_t>(parent))));
    parent_ = parent;
    return true;
}

void CFakeEditor::Close()
{
    journal.Note("close");
    parent_ = nullptr;
}

void* CFakeEditor::WindowHandle() const
{
    return parent_ != nullptr ? static_cast<char*>(parent_) + 1 : nullptr;
}

// --- Definition ---

CFakeDefinition::CFakeDefinition()
{
    parameterCount = kParameterCount;
    hostParameterCount = kHostParameterCount;
    CopyText("Keldra", pluginName);
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

} // namespace keldra::test
