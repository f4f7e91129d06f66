#include "engine/KeldraSynth.h"

#include <algorithm>

#include "frame/MidiControllers.h"
#include "frame/Numbers.h"
#include "frame/PluginInstance.h"
#include "frame/Text.h"
#include "frame/ValueText.h"
#include "presets/LibraryFolder.h"
#include "presets/PresetList.h"
#include "voice/VoiceGenerator.h"

namespace keldra {

namespace {

constexpr double kLowestRate = 1000.0;
constexpr double kHighestRate = 1.0e6;
constexpr double kRateBeforeFirst = 44100.0;
constexpr float kDriftSemitones = 0.01f;
constexpr char kProgramExtension[] = "keldra";
constexpr double kUnknownPosition = -1.0;

} // namespace

KeldraSynth::KeldraSynth()
{
    output_.Allocate(2, kBlockFrames);
    for (auto& link : linkMap_)
        link.store(-1);
    for (const ParameterRow& row : kParameters)
        SetParameterName(row.index, row.name);

    voices_.reserve(kVoiceCount);
    for (int i = 0; i < kVoiceCount; ++i) {
        voices_.push_back(std::make_unique<KeldraGenerator>(patch_));
        AppendVoice(*voices_.back());
    }
    driftAmount_ = kDriftSemitones;
    SetGlideMode(true, false);

    for (int link = kFirstControllerLink; link <= kLastControllerLink; ++link)
        SetParameter(link, -1.0f);
    ResetProgram();
    StartLibrary();
}

void KeldraSynth::StartLibrary()
{
    presets_ = std::make_unique<CPresetList>(
        *this, LibraryFolder(CPluginInstance::Get().HostKind()), kProgramExtension);
    presets_->ScanBanks();
    presets_->SelectBank(0);
    if (const std::string first = presets_->CurrentPath(); !first.empty())
        presets_->LoadProgram(first);
}

KeldraSynth::~KeldraSynth() = default;

// --- Rates and clock ---

double KeldraSynth::HostRate() const
{
    const double rate = GetSampleRate();
    return rate > 0.0 ? rate : kRateBeforeFirst;
}

void KeldraSynth::SetSampleRate(double hz)
{
    const bool sane = hz >= kLowestRate && hz <= kHighestRate;
    CSynthesizer::SetSampleRate(sane ? hz : 0.0);
    if (sane) {
        patch_.internalRate = CDecimationFilter::kFactor * hz;
        patch_.gainSmoothing = static_cast<float>(hz / 44100.0 * 0.003);
    }
    patch_.lfo.ResetPhase();
    for (SmoothedValue* value : patch_.SmoothedValues())
        value->Jump();
    decimator_.Reset();
    effects_.Reset();
    // Last, since it may throw: notes are right without effects. Hosts that set a rate resume
    // afterwards, and perhaps there is memory then.
    if (sane || (GetSampleRate() > 0.0 && !effects_.IsBuilt()))
        effects_.SetSampleRate(GetSampleRate());
}

void KeldraSynth::PrepareToProcess()
{
    effects_.TouchMemory();
}

void KeldraSynth::SetSongPosition(double quarterNotes)
{
    CSynthesizer::SetSongPosition(quarterNotes);
    framesSincePosition_ = 0.0;
}

void KeldraSynth::SetTransportPlaying(bool playing)
{
    transportPlaying_ = playing;
}

// --- The road of the sound ---

void KeldraSynth::Render()
{
    const int frames = output_.FrameCount();
    float* left = output_.Channel(0);
    float* right = output_.Channel(1);
    if (left == nullptr || right == nullptr)
        return;
    const double tempo = SaneTempo();
    patch_.tempo = tempo;

    SmoothParameters();
    if (patch_.rebuildActiveList)
        RebuildActiveList();
    if (activeCount_ > 0) {
        RenderVoicesInto(left, right, frames);
        RunGate(left, right, frames, tempo);
    } else {
        gate_.ResetGate();
    }
    effects_.SetTempo(tempo);
    if (activeCount_ > 0 || !effects_.PassSilence(frames)) // without voices it is as it was cleared
        effects_.Process(left, right, frames);
    CSynthesizer::Render(); // arpeggiator clock and output stage
    patch_.lfo.Process(HostRate(), tempo, frames);
    framesSincePosition_ += frames;
}

void KeldraSynth::SmoothParameters()
{
    for (SmoothedValue* value : patch_.SmoothedValues())
        value->Step();
}

void KeldraSynth::RebuildActiveList()
{
    patch_.rebuildActiveList = false;
    activeCount_ = 0;
    for (const auto& voice : voices_)
        if (!voice->IsFree())
            active_[static_cast<std::size_t>(activeCount_++)] = voice.get();
    auto next = static_cast<std::size_t>(activeCount_);
    for (const auto& voice : voices_)
        if (voice->IsFree())
            active_[next++] = voice.get();
}

void KeldraSynth::RenderVoicesInto(float* left, float* right, int frames)
{
    const int samples = frames * CDecimationFilter::kFactor;
    // One that ends here frees itself and is still rendered with its group, silently.
    for (int i = 0; i < activeCount_; ++i)
        if (KeldraGenerator* voice = active_[static_cast<std::size_t>(i)]; !voice->IsFree())
            voice->PrepareBlock(samples);
    RenderVoices(active_, activeCount_, samples, patch_, scratchLeft_.data(), scratchRight_.data());
    decimator_.Process(scratchLeft_.data(), scratchRight_.data(), left, right, frames);
}

void KeldraSynth::RunGate(float* left, float* right, int frames, double tempo)
{
    const double rate = HostRate();
    // The host tells one position per block; a block may take many render calls.
    if (const double position = GetSongPosition();
        transportPlaying_ && position != kUnknownPosition)
        gate_.SyncToPosition(position + framesSincePosition_ * tempo / (60.0 * rate));
    gate_.ProcessGate(left, right, frames, rate, tempo);
}

// --- Values and state ---

void KeldraSynth::SetParameter(int index, float value)
{
    if (index == kModWheelValue)
        wheels_.mod.store(value);
    else if (index == kPitchBendValue)
        wheels_.bend.store(value);
    else {
        CSynthesizer::SetParameter(index, value);
        return;
    }
    RequestChange({EngineChange::EKind::Parameter, index, value});
}

float KeldraSynth::GetParameter(int index) const
{
    if (index == kModWheelValue)
        return wheels_.mod.load();
    if (index == kPitchBendValue)
        return wheels_.bend.load();
    return CSynthesizer::GetParameter(index);
}

float KeldraSynth::GetParameterDefault(int index) const
{
    return index < kFirstControllerLink ? TableDefault(index) : GetParameter(index);
}

void KeldraSynth::GetParameterDisplay(int index, std::span<char> text) const
{
    WriteValueText(index, GetParameter(index), text);
}

int KeldraSynth::GetChunk(void* buffer) const
{
    return SaveState(buffer);
}

bool KeldraSynth::SetChunk(const void* data, int size)
{
    return LoadState(data, size);
}

// --- MIDI ---

void KeldraSynth::NoteOn(int key)
{
    CSynthesizer::NoteOn(key);
    Feedback().SetKeySounding(key, true);
}

void KeldraSynth::NoteOff(int key)
{
    CSynthesizer::NoteOff(key);
    Feedback().SetKeySounding(key, false);
}

void KeldraSynth::ControlChange(int controller)
{
    CSynthesizer::ControlChange(controller);
    if (controller != kCcSustain && controller != kCcResetAll && controller != kCcAllNotesOff)
        FireLinks(controller);
    if (controller == kCcVolume || controller == kCcPan)
        return;
    if (controller == kCcBankSelectFine) {
        presets_->SelectBankFromMemory(TruncateToInt(Controller(controller) * 127.0f));
        return;
    }
    Feedback().SetLastController(controller);
}

void KeldraSynth::ProgramChange(int program)
{
    presets_->SelectProgramFromMemory(program);
}

// --- Controller links ---

void KeldraSynth::SetLink(int parameter, int controller)
{
    if (parameter >= 0 && parameter < kHostParameterCount) // its stored value, which is followed
        SetParameter(kFirstControllerLink + parameter,
                     static_cast<float>(static_cast<signed char>(controller)));
    else if (parameter >= 0 && parameter < kParameterCount)
        FollowLink(parameter, controller);
}

void KeldraSynth::FollowLink(int parameter, int controller)
{
    const auto link = static_cast<signed char>(controller);
    const signed char before = linkMap_[static_cast<std::size_t>(parameter)].exchange(link);
    if (link >= 0)
        ++linksOf_[static_cast<std::size_t>(link)];
    if (before >= 0)
        --linksOf_[static_cast<std::size_t>(before)];
}

int KeldraSynth::GetLink(int parameter) const
{
    // A link that has a stored value reads back at once, even before the engine follows it.
    if (parameter >= 0 && parameter < kHostParameterCount)
        return static_cast<signed char>(
            TruncateToInt(GetParameter(kFirstControllerLink + parameter)));
    return parameter >= 0 && parameter < kParameterCount
               ? linkMap_[static_cast<std::size_t>(parameter)].load()
               : -1;
}

void KeldraSynth::ClearAllLinks()
{
    for (int index = 0; index < kHostParameterCount; ++index) {
        SetParameter(kFirstControllerLink + index, -1.0f);
        // Applied again without being stored again: another thread may set it just now.
        RequestChange({EngineChange::EKind::Parameter, index, GetParameter(index)});
    }
}

/// Every value of a controller sets the parameters that are linked to it.
void KeldraSynth::FireLinks(int controller)
{
    if (linksOf_[static_cast<std::size_t>(controller)] == 0)
        return;
    const float value = Controller(controller);
    for (int index = 0; index < kParameterCount; ++index)
        if (linkMap_[static_cast<std::size_t>(index)].load(std::memory_order_relaxed) ==
                controller &&
            !IsSetSince(index)) {
            ReportAutomation(index, value);
            SetParameter(index, value);
            Feedback().MarkParameter(index);
        }
}

} // namespace keldra
