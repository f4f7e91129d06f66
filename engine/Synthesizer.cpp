#include "engine/Synthesizer.h"

#include <algorithm>
#include <cmath>

#include "engine/EngineRandom.h"
#include "frame/MidiControllers.h"
#include "frame/Numbers.h"
#include "frame/PluginInstance.h"
#include "frame/PluginWrapper.h"
#include "voice/VoiceGenerator.h"

namespace keldra {

namespace {

constexpr float kRestingGlidePitch = 48.0f;
constexpr double kMaxTempo = 100000.0;

} // namespace

CSynthesizer::CSynthesizer() : arpeggiator_(*this)
{
    patch_.keys = &Keys();
    SetController(kCcVolume, 1.0f);
    SetController(kCcPan, 0.5f);
}

// --- Notes ---

void CSynthesizer::NoteOn(int key)
{
    const float velocity = KeyVelocity(key);
    heldKeys_.Set(key, velocity);
    if (arpeggiatorOn_)
        arpeggiator_.KeysChanged(KeyVelocities());
    else
        PlayNote(key, velocity);
}

void CSynthesizer::NoteOff(int key)
{
    if (Controller(kCcSustain) != 0.0f)
        return;
    heldKeys_.Clear(key);
    if (arpeggiatorOn_)
        arpeggiator_.KeysChanged(KeyVelocities());
    else
        PlayNote(key, 0.0f);
}

void CSynthesizer::PlayNote(int key, float velocity)
{
    heldKeys_.Set(key, velocity);
    if (firstVoice_ == nullptr || polyphony_ == 0)
        return;
    if (monophonic_) {
        PlayMonoNote(key, velocity);
        return;
    }
    if (velocity == 0.0f) {
        ReleaseVoicesOf(key);
        return;
    }
    const float drift = DrawDrift();
    const float glideStart = GlideStart(key);
    for (int k = 0; k < unisonCount_ && k < polyphony_; ++k) {
        CVoiceGenerator& voice = ChooseVoice();
        Assign(voice, key);
        voice.unisonIndex = static_cast<std::int8_t>(k);
        voice.unisonCount = static_cast<std::int8_t>(unisonCount_);
        voice.drift = drift;
        voice.velocity = std::pow(velocity, velocityExponent_);
        voice.released = false;
        voice.glidePitch = glideTime_ < 0.001f ? static_cast<float>(key) : glideStart;
        voice.glideRate = GlideRateTo(key, voice.glidePitch);
        voice.Start();
    }
    lastNote_ = key;
}

void CSynthesizer::PlayMonoNote(int key, float velocity)
{
    if (velocity == 0.0f)
        MonoNoteOff(key);
    else
        MonoNoteOn(key, velocity);
}

void CSynthesizer::MonoNoteOn(int key, float velocity)
{
    const float drift = DrawDrift();
    float glideStart = static_cast<float>(lastNote_ < 0 ? key : lastNote_);
    if ((glideMode_ & kOnlyFromHeldKeys) != 0 && (firstVoice_->IsFree() || firstVoice_->released))
        glideStart = static_cast<float>(key);

    CVoiceGenerator* voice = firstVoice_;
    for (int k = 0; k < unisonCount_ && k < polyphony_ && voice != nullptr; ++k) {
        const bool restart = voice->IsFree() || voice->released;
        Assign(*voice, key);
        voice->released = false;
        voice->drift = drift;
        voice->unisonIndex = static_cast<std::int8_t>(k);
        voice->unisonCount = static_cast<std::int8_t>(unisonCount_);
        voice->glideRate = GlideRateTo(key, voice->glidePitch);
        if (restart) {
            voice->velocity = std::pow(velocity, velocityExponent_);
            voice->glidePitch = glideTime_ < 0.001f ? static_cast<float>(key) : glideStart;
            voice->Start();
        }
        voice = voice->next;
    }
    lastNote_ = key;
}

void CSynthesizer::MonoNoteOff(int key)
{
    const int held = heldKeys_.NearestTo(key);
    if (held < 0) {
        ReleaseVoicesOf(key);
        return;
    }
    for (CVoiceGenerator* voice = firstVoice_; voice != nullptr; voice = voice->next)
        if (voice->note == key) {
            Assign(*voice, held);
            voice->glideRate = GlideRate(12.0f);
            lastNote_ = held;
        }
}

void CSynthesizer::ReleaseVoicesOf(int key)
{
    if (Keys().voiceCount[static_cast<std::size_t>(key)] == 0) // all keys at once are let go often
        return;
    for (CVoiceGenerator* voice = firstVoice_; voice != nullptr; voice = voice->next)
        if (voice->note == key) {
            voice->released = true;
            voice->Release();
        }
}

/// Gives a voice its key and the newest stamp.
void CSynthesizer::Assign(CVoiceGenerator& voice, int key)
{
    voice.startStamp = startCounter_++;
    auto& counts = Keys().voiceCount;
    if (!voice.IsFree() && counts[static_cast<std::size_t>(voice.note)] > 0)
        --counts[static_cast<std::size_t>(voice.note)];
    voice.note = static_cast<std::int8_t>(key);
    ++counts[static_cast<std::size_t>(key)];
}

/// Among those that may be used: the first free one, else the one longest in release, else the
/// oldest.
CVoiceGenerator& CSynthesizer::ChooseVoice() const
{
    CVoiceGenerator* oldest = nullptr;
    CVoiceGenerator* oldestReleased = nullptr;
    CVoiceGenerator* voice = firstVoice_;
    for (int i = 0; i < polyphony_ && voice != nullptr; ++i, voice = voice->next) {
        if (voice->IsFree())
            return *voice;
        if (voice->released &&
            (oldestReleased == nullptr || voice->startStamp < oldestReleased->startStamp))
            oldestReleased = voice;
        if (oldest == nullptr || voice->startStamp < oldest->startStamp)
            oldest = voice;
    }
    return oldestReleased != nullptr ? *oldestReleased : *oldest;
}

float CSynthesizer::DrawDrift() const
{
    return (DrawEngineRandom() - 1.0f) * 2.0f * driftAmount_;
}

float CSynthesizer::GlideStart(int key) const
{
    if ((glideMode_ & kOnlyFromHeldKeys) != 0) {
        const int held = heldKeys_.NearestTo(key);
        return static_cast<float>(held < 0 ? key : held);
    }
    return static_cast<float>(lastNote_ < 0 ? key : lastNote_);
}

/// Semitones per internal sample of a glide that takes the glide time for so many semitones.
/// (Eight internal samples to a frame: it arrives in an eighth of that time.)
float CSynthesizer::GlideRate(float semitones) const
{
    const double rate = GetSampleRate() > 0.0 ? GetSampleRate() : 44100.0;
    return static_cast<float>(semitones / (static_cast<double>(glideTime_) * rate));
}

float CSynthesizer::GlideRateTo(int key, float from) const
{
    const bool fixedTime = (glideMode_ & kFixedTime) != 0;
    return GlideRate(fixedTime ? std::fabs(static_cast<float>(key) - from) : 12.0f);
}

void CSynthesizer::KeyboardNote(int key, float velocity)
{
    if (key < 0 || key >= kKeyCount)
        return;
    RequestChange({EngineChange::EKind::KeyboardNote, key, velocity});
    // That host owns the notes: it sends back what it makes of them.
    if (CPluginInstance::Get().HostKind() != EHostKind::Native || HostWrapper() == nullptr)
        return;
    if (velocity != 0.0f)
        HostWrapper()->HostNoteOn(key, velocity);
    else
        HostWrapper()->HostNoteOff(key);
}

void CSynthesizer::ApplyKeyboardNote(int key, float velocity)
{
    SetKeyVelocity(key, Clamped(velocity, 0.0f, 1.0f));
    if (CPluginInstance::Get().HostKind() == EHostKind::Native)
        return;
    // Not the overrides: the editor has marked its key itself.
    if (velocity != 0.0f)
        CSynthesizer::NoteOn(key);
    else
        CSynthesizer::NoteOff(key);
}

// --- Controllers ---

void CSynthesizer::ControlChange(int controller)
{
    if (controller == kCcModWheel)
        patch_.modWheel = Controller(kCcModWheel);
    if (controller == kCcSustain)
        ReleaseSustained();
    else if (controller == kCcResetAll)
        ResetAllControllers();
    else if (controller == kCcAllNotesOff)
        ReleaseAllNotes();
}

void CSynthesizer::ReleaseSustained()
{
    if (Controller(kCcSustain) != 0.0f)
        return;
    for (int key = 0; key < kKeyCount; ++key)
        if (KeyVelocity(key) == 0.0f && heldKeys_.IsHeld(key))
            NoteOff(key);
}

void CSynthesizer::ResetAllControllers()
{
    for (int controller = 0; controller < 128; ++controller)
        SetController(controller, 0.0f);
    SetController(kCcVolume, 1.0f);
    SetController(kCcPan, 0.5f);
    for (int controller = 0; controller < kCcPolyModeOn; ++controller)
        if (controller != kCcBankSelectFine && controller != kCcSustain &&
            controller != kCcResetAll && controller != kCcAllNotesOff)
            ControlChange(controller);
}

void CSynthesizer::ReleaseAllNotes()
{
    const float sustain = Controller(kCcSustain);
    SetController(kCcSustain, 0.0f);
    for (int key = 0; key < kKeyCount; ++key)
        MidiNoteOff(key, 0);
    SetController(kCcSustain, sustain);
}

void CSynthesizer::PitchBendChanged()
{
    patch_.bend = Bend();
}

// --- Settings ---

void CSynthesizer::SetMonophonic(bool on)
{
    if (on == monophonic_)
        return;
    monophonic_ = on; // the keys are let go in the new mode already
    ReleaseAllNotes();
}

void CSynthesizer::SetArpeggiatorOn(bool on)
{
    if (on == arpeggiatorOn_)
        return;
    ReleaseAllNotes(); // in the old mode: the arpeggiator hears it and stops
    arpeggiatorOn_ = on;
}

void CSynthesizer::SetFineTune(float semitones)
{
    fineTune_ = semitones;
    patch_.masterTune = transpose_ + fineTune_;
}

void CSynthesizer::SetTranspose(float semitones)
{
    transpose_ = semitones;
    patch_.masterTune = transpose_ + fineTune_;
}

void CSynthesizer::SetGlideTime(float seconds)
{
    glideTime_ = seconds;
}

void CSynthesizer::SetGlideMode(bool onlyFromHeldKeys, bool fixedTime)
{
    glideMode_ = (onlyFromHeldKeys ? kOnlyFromHeldKeys : 0u) | (fixedTime ? kFixedTime : 0u);
}

void CSynthesizer::SetUnisonCount(int voices)
{
    unisonCount_ = std::max(1, std::min(voices, voiceObjectCount_));
}

void CSynthesizer::SetPolyphony(int voices)
{
    polyphony_ = std::max(1, std::min(voices, voiceObjectCount_));
}

void CSynthesizer::AppendVoice(CVoiceGenerator& voice)
{
    (lastVoice_ != nullptr ? lastVoice_->next : firstVoice_) = &voice;
    lastVoice_ = &voice;
    ++voiceObjectCount_;
}

double CSynthesizer::SaneTempo()
{
    const double tempo = GetTempo();
    if (std::isfinite(tempo))
        lastSaneTempo_ = std::clamp(tempo, 0.0, kMaxTempo);
    return lastSaneTempo_;
}

// --- Sound ---

void CSynthesizer::SetSampleRate(double hz)
{
    CPluginRenderer::SetSampleRate(hz);
    ReleaseAllNotes();
    for (CVoiceGenerator* voice = firstVoice_; voice != nullptr; voice = voice->next) {
        voice->Reset(static_cast<float>(hz));
        voice->glidePitch = kRestingGlidePitch;
    }
    currentGainLeft_ = OutputGain(0);
    currentGainRight_ = OutputGain(1);
    lastNote_ = -1;
    arpeggiator_.ResetArpeggiator();
    arpeggiator_.StopArpeggiator();
}

float CSynthesizer::OutputGain(int channel) const
{
    const float gain = gain_ * Controller(kCcVolume) * 0.5f;
    if (!(gain > 0.0f))
        return 0.0f;
    const float pan = Clamped((Controller(kCcPan) - 0.5f + kPanOffset) * 2.0f, 0.0f, 2.0f);
    if (channel == 0)
        return pan < 1.0f ? gain * pan : gain;
    return pan > 1.0f ? gain * (2.0f - pan) : gain;
}

namespace {

/// Goes a two-hundredth of the way to the target with each sample. Once a step is too small to
/// change the gain, none after it will: the rest of the block then is one multiplication.
void FadeGain(float* samples, int frames, float& gain, float target)
{
    int i = 0;
    for (; i < frames; ++i) {
        const float next = gain + (target - gain) * 0.005f;
        if (next == gain)
            break;
        samples[i] *= gain;
        gain = next;
    }
    for (const float settled = gain; i < frames; ++i)
        samples[i] *= settled;
}

} // namespace

void CSynthesizer::Render()
{
    const int frames = output_.FrameCount();
    if (arpeggiatorOn_)
        arpeggiator_.AdvanceClock(GetSampleRate(), SaneTempo(), frames);

    float* left = output_.Channel(0);
    float* right = output_.Channel(1);
    if (left == nullptr || right == nullptr)
        return;
    FadeGain(left, frames, currentGainLeft_, OutputGain(0));
    FadeGain(right, frames, currentGainRight_, OutputGain(1));
}

} // namespace keldra
