#include "hosts/vst/VSTWrapper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include "frame/PluginInstance.h"
#include "frame/Text.h"
#include "hosts/vst/VSTEditor.h"

namespace keldra::vst {

namespace {

// Bytes that may be written into a host's text buffers, NUL included. The published limit for texts
// of parameters is 8 characters; names are longer than that, and hosts are known to give 64 and
// more. Value texts and units are kept near the limit.
constexpr std::size_t kParameterNameRoom = 64;
constexpr std::size_t kParameterDisplayRoom = 16;
constexpr std::size_t kParameterLabelRoom = kVstMaxParamStrLen + 1;
constexpr std::size_t kProgramNameRoom = kVstMaxProgNameLen + 1;

constexpr double kRateBeforeTheHostSays = 44100.0;

/// Hosts write their names with strcpy, past the 64 bytes of the interface.
constexpr std::size_t kHostTextRoom = 512;
using HostText = std::array<char, kHostTextRoom>;

template <std::size_t Room>
std::span<char> TextOf(char* text)
{
    return {text, Room};
}

bool HasFlag(const VstTimeInfo* time, VstInt32 flag)
{
    return time != nullptr && (time->flags & flag) != 0;
}

} // namespace

// --- Life ---

CVSTWrapper::CVSTWrapper(audioMasterCallback host) : AudioEffectX(host, 0, 0) {}

std::unique_ptr<CVSTWrapper> CVSTWrapper::Create(audioMasterCallback host)
{
    CPluginInstance& definition = CPluginInstance::GetMutable();
    definition.SetHostVst();
    // The questions need a record to come from: some hosts look at it without asking for null.
    std::unique_ptr<CVSTWrapper> wrapper(new CVSTWrapper(host));
    HostText vendor{};
    HostText product{};
    wrapper->getHostVendorString(vendor.data());
    wrapper->getHostProductString(product.data());
    definition.SetHostNames(TextIn(vendor), TextIn(product));
    wrapper->hostTakesEditsInBlocks_ = TextIn(product) == "Ardour";
    wrapper->hostRepeatsStates_ = TextIn(product) == "Qtractor";
    if (!definition.CanCreateInstance())
        return nullptr;
    wrapper->MakeRendererAndEditor();
    return wrapper;
}

void CVSTWrapper::MakeRendererAndEditor()
{
    const CPluginInstance& definition = CPluginInstance::Get();
    numPrograms = cEffect.numPrograms = 1;
    numParams = cEffect.numParams = definition.parameterCount;
    setNumInputs(2 * definition.inputPairCount);
    setNumOutputs(2 * definition.outputPairCount);
    canProcessReplacing();
    programsAreChunks();
    isSynth(!definition.isEffect);
    setUniqueID(definition.uniqueId);

    renderer_ = definition.CreateRenderer();
    if (renderer_ == nullptr)
        return;
    renderer_->SetHostWrapper(this);
    if (std::unique_ptr<CEditorPort> window = definition.CreateEditor()) {
        renderer_->SetEditor(window.get());
        window->Connect(*renderer_, *this);
        setEditor(std::make_unique<CVSTEditor>(*this, std::move(window)));
    }
    renderer_->ChangeSampleRate(kRateBeforeTheHostSays);
}

CVSTWrapper::~CVSTWrapper()
{
    CVSTWrapper::close();
}

void CVSTWrapper::close()
{
    // The editor first: a host may leave its window open, and it looks at the renderer.
    if (renderer_ != nullptr)
        renderer_->SetEditor(nullptr);
    setEditor(nullptr);
    renderer_.reset();
    chunk_.reset();
}

void CVSTWrapper::suspend()
{
    if (renderer_ != nullptr)
        renderer_->SwitchProcessing(false);
}

void CVSTWrapper::resume()
{
    AudioEffectX::resume(); // asks the host for MIDI
    if (renderer_ != nullptr)
        renderer_->SwitchProcessing(true);
}

void CVSTWrapper::setSampleRate(float hz)
{
    AudioEffectX::setSampleRate(hz);
    const auto rate = static_cast<double>(hz);
    if (renderer_ != nullptr && renderer_->GetSampleRate() != rate)
        renderer_->ChangeSampleRate(rate);
}

// --- Audio ---

void CVSTWrapper::processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames)
{
    RunBlock(inputs, outputs, sampleFrames, CPluginRenderer::EMode::Replacing);
}

void CVSTWrapper::process(float** inputs, float** outputs, VstInt32 sampleFrames)
{
    RunBlock(inputs, outputs, sampleFrames, CPluginRenderer::EMode::Accumulating);
}

void CVSTWrapper::RunBlock(float** inputs, float** outputs, VstInt32 frames,
                           CPluginRenderer::EMode mode)
{
    if (renderer_ == nullptr || outputs == nullptr)
        return;
    if (frames <= 0) { // no block to put events into: they are due at once in the next
        renderer_->MoveEventsToStart();
        return;
    }
    // Before the engine is taken: the host may call back. Values as they are by then: the host may
    // have set another, or a state, since the edit.
    edits_.Tell([this](int index) { beginEdit(index); },
                [this](int index) { TellValue(index, renderer_->GetParameter(index)); },
                [this](int index) { endEdit(index); });
    const SongTime time = AskHostForTime();

    const CProcessingOperation operation(*renderer_);
    if (operation.MayRun()) {
        if (time.tempoBpm)
            renderer_->SetTempo(*time.tempoBpm);
        if (time.quarterNotes)
            renderer_->SetSongPosition(*time.quarterNotes);
        if (transportChangedTo_)
            renderer_->SetTransportPlaying(*transportChangedTo_);
        transportChangedTo_.reset();
    }
    renderer_->ProcessBlock({inputs, outputs, frames}, mode);
}

CVSTWrapper::SongTime CVSTWrapper::AskHostForTime()
{
    SongTime time;
    // Two questions, each read before the next: hosts fill only what was asked for, and may answer
    // both in one place.
    const VstTimeInfo* const tempo = getTimeInfo(kVstTempoValid);
    if (HasFlag(tempo, kVstTempoValid))
        time.tempoBpm = tempo->tempo; // 0 holds clocks; what makes no sense the engine leaves aside
    if (HasFlag(tempo, kVstTransportChanged))
        transportChangedTo_ = HasFlag(tempo, kVstTransportPlaying);

    const VstTimeInfo* const position = getTimeInfo(kVstPpqPosValid);
    if (HasFlag(position, kVstPpqPosValid))
        time.quarterNotes = position->ppqPos;
    return time;
}

VstInt32 CVSTWrapper::processEvents(VstEvents* events)
{
    if (renderer_ == nullptr)
        return 1;
    VstEvent* const* const list = events->events; // really numEvents long
    for (VstInt32 i = 0; i < events->numEvents; ++i) {
        if (list[i] == nullptr || list[i]->type != kVstMidiType)
            continue;
        // What the event says of its own size is wrong in some hosts.
        const auto* const midi = reinterpret_cast<const VstMidiEvent*>(list[i]);
        EventNode* const node = renderer_->AddEvent(
            static_cast<std::uint32_t>(std::max(midi->deltaFrames, 0)), sizeof(midi->midiData));
        if (node != nullptr)
            std::memcpy(node->message.data(), midi->midiData, node->message.size());
    }
    return 1;
}

// --- Parameters and programs ---

void CVSTWrapper::setParameter(VstInt32 index, float value)
{
    if (renderer_ == nullptr || IsPoorCopyOfState(index, value))
        return;
    renderer_->SetParameter(index, value);
    if (editor != nullptr)
        renderer_->Feedback().MarkParameter(index);
}

// Qtractor restores a song by the state, and then by every value once more as its file holds it:
// cut to 0 .. 1, with six digits. That would leave two voices of sixteen, link controller 0 to
// every parameter, and lose a semitone wherever six digits fall short of its step.
bool CVSTWrapper::IsPoorCopyOfState(int index, float value)
{
    if (!hostRepeatsStates_ || index < 0 || index >= kParameterCount)
        return false;
    const float stored = renderer_->GetParameter(index);
    if (value == stored || !isAsRestored_[static_cast<std::size_t>(index)].exchange(false))
        return false;
    return std::fabs(value - std::fmin(std::fmax(stored, 0.0f), 1.0f)) < 1e-6f;
}

float CVSTWrapper::getParameter(VstInt32 index)
{
    return renderer_ != nullptr ? renderer_->GetParameter(index) : 0.0f;
}

void CVSTWrapper::setProgramName(char* name)
{
    if (renderer_ == nullptr)
        return;
    // A host that hands back what it was told, which had to be cut, means no new name.
    std::array<char, kProgramNameRoom> told;
    getProgramName(told.data());
    if (TextIn(told) != name)
        renderer_->SetProgramName(name);
}

void CVSTWrapper::getProgramName(char* name)
{
    if (renderer_ == nullptr)
        return;
    renderer_->GetProgramName(TextOf<kProgramNameRoom>(name));
    // Hosts show half a character as rubbish, or mend it and hand back another name.
    DropHalfCharacter(TextOf<kProgramNameRoom>(name));
}

bool CVSTWrapper::getProgramNameIndexed(VstInt32, VstInt32, char* text)
{
    getProgramName(text); // there is one program, whatever the number
    return true;
}

void CVSTWrapper::getParameterLabel(VstInt32 index, char* label)
{
    if (renderer_ != nullptr)
        renderer_->GetParameterLabel(index, TextOf<kParameterLabelRoom>(label));
}

void CVSTWrapper::getParameterDisplay(VstInt32 index, char* text)
{
    if (renderer_ != nullptr)
        renderer_->GetParameterDisplay(index, TextOf<kParameterDisplayRoom>(text));
}

void CVSTWrapper::getParameterName(VstInt32 index, char* text)
{
    if (renderer_ != nullptr)
        renderer_->GetParameterName(index, TextOf<kParameterNameRoom>(text));
}

bool CVSTWrapper::canParameterBeAutomated(VstInt32)
{
    return true;
}

// --- State ---

VstInt32 CVSTWrapper::getChunk(void** data, bool)
{
    const int size = renderer_ != nullptr ? renderer_->GetChunk(nullptr) : 0;
    if (size < 1)
        return 0;
    auto chunk = std::make_unique<std::byte[]>(static_cast<std::size_t>(size));
    renderer_->GetChunk(chunk.get());
    chunk_ = std::move(chunk);
    *data = chunk_.get();
    return size;
}

VstInt32 CVSTWrapper::setChunk(void* data, VstInt32 byteSize, bool)
{
    const VstInt32 size = std::max(byteSize, 0);
    if (renderer_ == nullptr)
        return 0;
    const bool accepted = renderer_->SetChunk(data, size);
    for (std::atomic<bool>& isAsRestored : isAsRestored_)
        isAsRestored = accepted;
    if (!accepted)
        return 0;
    for (int index = 0; index < CPluginInstance::Get().hostParameterCount; ++index)
        TellValue(index, renderer_->GetParameter(index));
    if (editor != nullptr)
        renderer_->Feedback().MarkProgram();
    return size;
}

// --- Who the effect is ---

bool CVSTWrapper::getOutputProperties(VstInt32 index, VstPinProperties* properties)
{
    const CPluginInstance& definition = CPluginInstance::Get();
    if (index < 0 || index >= 2 * definition.outputPairCount)
        return false;
    *properties = {};
    definition.GetOutputName(index / 2, properties->label);
    properties->flags = kVstPinIsActive | kVstPinIsStereo;
    return true;
}

VstPlugCategory CVSTWrapper::getPlugCategory()
{
    return CPluginInstance::Get().isEffect ? kPlugCategEffect : kPlugCategSynth;
}

bool CVSTWrapper::getEffectName(char* text)
{
    CopyText(TextIn(CPluginInstance::Get().pluginName), TextOf<kVstMaxEffectNameLen>(text));
    return true;
}

bool CVSTWrapper::getVendorString(char* text)
{
    CopyText(TextIn(CPluginInstance::Get().vendorName), TextOf<kVstMaxVendorStrLen>(text));
    return true;
}

bool CVSTWrapper::getProductString(char* text)
{
    const CPluginInstance& definition = CPluginInstance::Get();
    CTextWriter(TextOf<kVstMaxProductStrLen>(text))
        .Append(TextIn(definition.pluginName))
        .Append(" ")
        .Append(TextIn(definition.versionText));
    return true;
}

VstInt32 CVSTWrapper::canDo(char* text)
{
    static constexpr std::string_view kAbilities[] = {"receiveVstEvents", "receiveVstMidiEvent",
                                                      "receiveVstTimeInfo"};
    const bool can = std::ranges::find(kAbilities, std::string_view(text)) != std::end(kAbilities);
    return can ? 1 : -1;
}

// --- To the host ---

void CVSTWrapper::TellValue(int index, float value)
{
    CallHost(audioMasterAutomate, index, 0, nullptr, value);
}

void CVSTWrapper::AutomateParameter(int index, float value)
{
    if (!IsReported(index))
        return;
    if (hostTakesEditsInBlocks_)
        edits_.Change(index);
    else
        TellValue(index, value);
}

void CVSTWrapper::BeginEdit(int index)
{
    if (!IsReported(index))
        return;
    if (hostTakesEditsInBlocks_)
        edits_.Begin(index);
    else
        beginEdit(index);
}

void CVSTWrapper::EndEdit(int index)
{
    if (!IsReported(index))
        return;
    if (hostTakesEditsInBlocks_)
        edits_.End(index);
    else
        endEdit(index);
}

// --- Entry ---

AEffect* CreateVstInstance(audioMasterCallback host)
{
    if (host == nullptr)
        return nullptr;
    try {
        // No record yet: this is the one question that comes without.
        if (host(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
            return nullptr;
        std::unique_ptr<CVSTWrapper> wrapper = CVSTWrapper::Create(host);
        // The host's effClose destroys it.
        return wrapper != nullptr ? wrapper.release()->getAeffect() : nullptr;
    } catch (...) {
        return nullptr;
    }
}

} // namespace keldra::vst
