#include "frame/PluginRenderer.h"

#include <algorithm>
#include <functional>

#include "frame/MidiControllers.h"
#include "frame/PluginInstance.h"
#include "frame/StateBlock.h"
#include "frame/Text.h"

namespace keldra {

namespace {

constexpr int kDefaultBlockFrames = 512;
constexpr MidiMessage kAllNotesOff = {0xB0, kCcAllNotesOff, 0, 0};

void Deliver(const float* sound, int frames, float* host, CPluginRenderer::EMode mode)
{
    if (mode == CPluginRenderer::EMode::Replacing)
        std::copy_n(sound, frames, host);
    else
        std::transform(sound, sound + frames, host, host, std::plus<>{});
}

} // namespace

KeyTables::KeyTables()
{
    leftGain.fill(1.0f);
    rightGain.fill(1.0f);
}

CPluginRenderer::CPluginRenderer() : records_(std::make_unique<ParameterRecord[]>(kParameterCount))
{
    const CPluginInstance& definition = CPluginInstance::Get();
    input_.Allocate(2 * definition.inputPairCount, kDefaultBlockFrames);
    output_.Allocate(2 * definition.outputPairCount, kDefaultBlockFrames);
}

CPluginRenderer::~CPluginRenderer() = default;

// --- MIDI entry points ---

void CPluginRenderer::MidiNoteOn(int key, int velocity)
{
    SetKeyVelocity(key, static_cast<float>(velocity) / 127.0f);
    if (velocity == 0)
        NoteOff(key);
    else
        NoteOn(key);
}

void CPluginRenderer::MidiNoteOff(int key, int)
{
    SetKeyVelocity(key, 0.0f);
    NoteOff(key);
}

void CPluginRenderer::MidiPitchBend(float bend)
{
    SetBend(bend);
    PitchBendChanged();
}

void CPluginRenderer::MidiControlChange(int controller, int value)
{
    SetController(controller, static_cast<float>(value) / 127.0f);
    ControlChange(controller);
}

void CPluginRenderer::MidiPolyPressure(int key, int value)
{
    polyPressure_[static_cast<std::size_t>(key)] = static_cast<float>(value) / 127.0f;
    PolyPressureChanged(key);
}

void CPluginRenderer::MidiChannelPressure(int value)
{
    channelPressure_ = static_cast<float>(value) / 127.0f;
    ChannelPressureChanged();
}

void CPluginRenderer::MidiProgramChange(int program)
{
    ProgramChange(program);
}

void CPluginRenderer::SetController(int controller, float value)
{
    controllers_[static_cast<std::size_t>(controller)] = value;
    if (controller == kCcModWheel)
        wheels_.mod.store(value);
}

void CPluginRenderer::SetBend(float bend)
{
    bend_ = bend;
    wheels_.bend.store(0.5f + 0.5f * bend);
}

// --- Host clock ---

void CPluginRenderer::SetSampleRate(double hz)
{
    if (hz > 0.0)
        sampleRate_ = hz;
}

void CPluginRenderer::SetTempo(double beatsPerMinute)
{
    tempo_ = beatsPerMinute;
}
double CPluginRenderer::GetTempo() const
{
    return tempo_;
}
void CPluginRenderer::SetSongPosition(double quarterNotes)
{
    songPosition_ = quarterNotes;
}
double CPluginRenderer::GetSongPosition() const
{
    return songPosition_;
}
double CPluginRenderer::GetSampleRate() const
{
    return sampleRate_;
}
void CPluginRenderer::SetTransportPlaying(bool) {}
void CPluginRenderer::Render() {}
AudioBlock* CPluginRenderer::GetOutputBuffer()
{
    return &output_;
}
AudioBlock* CPluginRenderer::GetInputBuffer()
{
    return &input_;
}

// --- Names, parameters, state ---

void CPluginRenderer::SetProgramName(std::string_view name)
{
    programName_.Set(name, gate_.CallerOwnsEngine() ? CSharedName::EWriter::EngineOwner
                                                    : CSharedName::EWriter::Other);
}

void CPluginRenderer::GetProgramName(std::span<char> text) const
{
    programName_.Get(text);
}

void CPluginRenderer::SetParameter(int index, float value)
{
    if (!IsStored(index))
        return;
    Store(index, value, NextStore());
    RequestChange({EngineChange::EKind::Parameter, index, value});
}

void CPluginRenderer::SetParameterName(int index, std::string_view name)
{
    if (IsStored(index))
        CopyText(name, records_[static_cast<std::size_t>(index)].name);
}

float CPluginRenderer::GetParameter(int index) const
{
    return IsStored(index) ? records_[static_cast<std::size_t>(index)].value.load() : 0.0f;
}

float CPluginRenderer::GetParameterDefault(int) const
{
    return 0.0f;
}

void CPluginRenderer::GetParameterName(int index, std::span<char> text) const
{
    CopyText(IsStored(index) ? TextIn(records_[static_cast<std::size_t>(index)].name)
                             : std::string_view("<out of range>"),
             text);
}

void CPluginRenderer::GetParameterLabel(int, std::span<char> text) const
{
    CopyText("", text);
}

void CPluginRenderer::GetParameterDisplay(int index, std::span<char> text) const
{
    CTextWriter(text).AppendFixed(static_cast<double>(GetParameter(index) * 100.0f), 1);
}

int CPluginRenderer::GetChunk(void*) const
{
    return 0;
}
bool CPluginRenderer::SetChunk(const void*, int)
{
    return true;
}

int CPluginRenderer::SaveState(void* buffer) const
{
    if (buffer != nullptr) {
        std::array<float, kParameterCount> values;
        CopyValues(values);
        std::array<char, CSharedName::kSize> name;
        GetProgramName(name);
        WriteStateBlock(
            values, TextIn(name),
            std::span<std::byte, kStateSize>(static_cast<std::byte*>(buffer), kStateSize));
    }
    return static_cast<int>(kStateSize);
}

bool CPluginRenderer::LoadState(const void* data, int size)
{
    const bool empty = data == nullptr || size <= 0;
    const StateBlockContent content = ReadStateBlock(
        {static_cast<const std::byte*>(data), empty ? 0 : static_cast<std::size_t>(size)});
    ChangeProgram({content.valueCount, EImport::Everything, content.values});
    const bool hasName = content.Accepted() && content.hasName;
    SetProgramName(hasName ? content.name.data() : "<noname>");
    return content.Accepted();
}

// --- Engine hooks and host queries ---

void CPluginRenderer::NoteOn(int) {}
void CPluginRenderer::NoteOff(int) {}
void CPluginRenderer::PitchBendChanged() {}
void CPluginRenderer::ControlChange(int) {}
void CPluginRenderer::PolyPressureChanged(int) {}
void CPluginRenderer::ChannelPressureChanged() {}
void CPluginRenderer::ProgramChange(int) {}
int CPluginRenderer::GetOutputTarget(int) const
{
    return 0;
}
int CPluginRenderer::Reserved36() const
{
    return -1;
}
void CPluginRenderer::GetAuxName(int, std::span<char>) const {}
void CPluginRenderer::ApplyParameter(int, float) {}
void CPluginRenderer::ApplyKeyboardNote(int, float) {}

// --- Block loop ---

void CPluginRenderer::ProcessBlock(const HostBuffers& buffers, EMode mode)
{
    if (output_.Capacity() == 0)
        return;
    const CProcessingOperation operation(*this);
    if (operation.MayRun()) {
        DropOutdatedEvents();
        RunBlockLoop(buffers, mode);
        if (LostEvents())
            DispatchMessage(kAllNotesOff); // the end of a note may be among them
        ClearEvents();
        return;
    }
    MoveEventsToStart();
    if (mode == EMode::Replacing)
        for (int channel = 0; channel < output_.ChannelCount(); ++channel)
            if (buffers.outputs[channel] != nullptr)
                std::fill_n(buffers.outputs[channel], std::max(buffers.frames, 0), 0.0f);
}

void CPluginRenderer::DispatchDue(const EventNode*& event, int& framesToNext)
{
    do {
        DispatchEvent(event);
        framesToNext = FramesUntilNext(event);
        event = NextEvent(event);
    } while (framesToNext == 0 && event != nullptr);
}

void CPluginRenderer::RunBlockLoop(const HostBuffers& buffers, EMode mode)
{
    const EventNode* event = NextEvent(nullptr);
    int framesToNext = FramesUntilNext(nullptr);
    int position = 0;
    int remaining = buffers.frames;
    while (remaining > 0) {
        if (framesToNext == 0) {
            DispatchDue(event, framesToNext);
            continue;
        }
        const int frames = std::min({remaining, output_.Capacity(), framesToNext});
        remaining -= frames;
        framesToNext -= frames;

        output_.SetFrameCount(frames);
        output_.ClearAll();
        if (buffers.inputs != nullptr && input_.ChannelCount() > 0) {
            input_.SetFrameCount(frames);
            for (int channel = 0; channel < input_.ChannelCount(); ++channel)
                if (const float* host = buffers.inputs[channel])
                    std::copy_n(host + position, frames, input_.Channel(channel));
        }
        Render();
        for (int channel = 0; channel < output_.ChannelCount(); ++channel)
            if (float* host = buffers.outputs[channel])
                Deliver(output_.Channel(channel), frames, host + position, mode);

        position += frames;
        if (framesToNext == 0)
            DispatchDue(event, framesToNext);
    }
}

} // namespace keldra
