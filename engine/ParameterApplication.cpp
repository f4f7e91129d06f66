#include <algorithm>
#include <cmath>

#include "engine/KeldraSynth.h"
#include "frame/MidiControllers.h"
#include "frame/Numbers.h"

// What every parameter does. The stored value stays exactly as it was set; what is applied is
// limited to what the engine can make a sound of, so that it plays on whatever was stored.

namespace keldra {

namespace {

/// Envelope and glide times reach the engine in seconds.
float Seconds(int index, float value)
{
    const ParameterRow& row = RowOf(index);
    return TimeCurve(value, row.low, row.high) * 0.001f;
}

float Bipolar(float value)
{
    return 2.0f * value - 1.0f;
}

/// What a whole-number setting selects; false for a number that it doesn't know.
bool Choose(int index, int number, float& choice)
{
    const auto choices = kEngineSettings[index - kSpare74].choices;
    if (number < 0 || static_cast<std::size_t>(number) >= choices.size())
        return false;
    choice = choices[static_cast<std::size_t>(number)];
    return true;
}

} // namespace

void KeldraSynth::ApplyParameter(int index, float value)
{
    if (index >= 0 && index < kHostParameterCount) {
        const bool isSwitch = RowOf(index).form == EForm::Switch; // on for whatever isn't 0
        ApplyNamed(index, isSwitch ? value : Clamped(value, 0.0f, 1.0f));
    } else if (index >= kSpare74 && index <= kLfoSync) {
        ApplyEngineSetting(index, value);
    } else if (index >= kFirstControllerLink && index <= kLastControllerLink) {
        FollowLink(index - kFirstControllerLink, TruncateToInt(value));
    } else if (index == kModWheelValue) {
        SetController(kCcModWheel, Clamped(value, 0.0f, 1.0f));
        ControlChange(kCcModWheel);
    } else if (index == kPitchBendValue) {
        SetBend(Bipolar(Clamped(value, 0.0f, 1.0f)));
        PitchBendChanged();
    }
}

void KeldraSynth::ApplyNamed(int index, float v)
{
    CDelay& delay = effects_.Delay();
    CChorus& chorus = effects_.Chorus();
    switch (index) {
    // Oscillators
    case kOscAShape:
        patch_.shapeA = IsOn(v) ? 1.0f : 0.0f;
        break;
    case kOscAPulseWidth:
        patch_.pulseWidthA.target = v;
        break;
    case kOscASync:
        patch_.sync = IsOn(v);
        break;
    case kOscARing:
        patch_.ring = IsOn(v);
        break;
    case kOscBShape:
        patch_.shapeB = IsOn(v) ? 1.0f : 0.0f;
        break;
    case kOscBPulseWidth:
        patch_.pulseWidthB.target = v;
        break;
    case kOscBPitch:
        patch_.pitchBSemitones = static_cast<float>(WholeSemitones(v));
        break;
    case kOscBDetune:
        patch_.detuneBSemitones = v * 0.5f;
        break;
    case kOscBalance:
        patch_.oscBalance.target = v;
        break;
    case kNoiseBalance:
        patch_.noiseBalance.target = v;
        break;

    // Modulation envelope
    case kEgAmount:
        patch_.egAmount.target = Bipolar(v);
        break;
    case kEgAttack:
        patch_.eg.attackSeconds = Seconds(index, v);
        break;
    case kEgDecay:
        patch_.eg.decaySeconds = Seconds(index, v);
        break;
    case kEgSustain:
        patch_.eg.sustain = v;
        break;
    case kEgRelease:
        patch_.eg.releaseSeconds = Seconds(index, v);
        break;
    case kEgDestination:
        patch_.egDestination = SelectorPosition(RowOf(index), v);
        break;

    // Output and pitch
    case kGain:
        gain_ = std::pow(10.0f, (30.0f * v - 20.0f) / 20.0f);
        break;
    case kFineTune:
        SetFineTune(Bipolar(v));
        break;
    case kTranspose:
        SetTranspose(static_cast<float>(WholeSemitones(v)));
        break;

    // Filter
    case kFilterCutoff:
        patch_.cutoff.target = v;
        break;
    case kFilterResonance:
        patch_.resonance = v;
        break;
    case kFilterKeyTracking:
        patch_.keyTracking = v;
        break;
    case kFilterVelocityTracking:
        patch_.velocityTracking = v;
        break;
    case kFilterMode:
        patch_.filterMode = SelectorPosition(RowOf(index), v);
        break;

    // Amplitude envelope
    case kAmpAttack:
        patch_.amp.attackSeconds = Seconds(index, v);
        break;
    case kAmpDecay:
        patch_.amp.decaySeconds = Seconds(index, v);
        break;
    case kAmpSustain:
        patch_.amp.sustain = Clamped(v * v, 0.0f, 1.0f);
        break;
    case kAmpRelease:
        patch_.amp.releaseSeconds = Seconds(index, v);
        break;

    // LFO and mod wheel
    case kLfoAmount:
        patch_.lfoAmount.target = Bipolar(v);
        break;
    case kLfoRetrigger:
        patch_.lfo.SetRetrigger(IsOn(v));
        break;
    case kLfoRate:
        patch_.lfo.SetRate(static_cast<double>(LfoRateHz(v)));
        break;
    case kLfoShape:
        patch_.lfo.SetShape(SelectorPosition(RowOf(index), v));
        break;
    case kLfoDestination:
        patch_.lfoDestination = SelectorPosition(RowOf(index), v);
        break;
    case kModWheelAmount:
        patch_.modWheelAmount.target = Bipolar(v);
        break;
    case kModWheelDestination:
        patch_.modWheelDestination = SelectorPosition(RowOf(index), v);
        break;

    // Unison and play mode
    case kUnisonDetune:
        patch_.unisonDetune = 1.5f * v;
        break;
    case kUnisonPan:
        patch_.unisonPan = v;
        break;
    case kMonophonic:
        SetMonophonic(IsOn(v));
        break;
    case kOctaver:
        patch_.octaver = IsOn(v);
        break;
    case kGlideTime:
        SetGlideTime(std::fmax(0.0001f, 2.0f * Clamped(v * v * v, 0.0f, 1.0f)));
        break;
    case kGlideHeld:
    case kGlideTimeStatic:
        SetGlideMode(IsOn(GetParameter(kGlideHeld)), IsOn(GetParameter(kGlideTimeStatic)));
        break;

    // Delay
    case kDelayOn:
        delay.SetEnabled(IsOn(v));
        break;
    case kDelayTimeLeft:
        delay.SetTimeLeft(v);
        break;
    case kDelayTimeRight:
        delay.SetTimeRight(v);
        break;
    case kDelayFeedback:
        delay.SetFeedback(v);
        break;
    case kDelayModDepth:
        delay.SetModDepth(v);
        break;
    case kDelayLowCut:
        delay.SetLowCut(v);
        break;
    case kDelayHighCut:
        delay.SetHighCut(v);
        break;
    case kDelayWet:
        delay.SetWet(v);
        break;

    // Chorus
    case kChorusOn:
        chorus.SetEnabled(IsOn(v));
        break;
    case kChorusRate:
        chorus.SetRate(v);
        break;
    case kChorusDepth:
        chorus.SetDepth(v);
        break;
    case kChorusWet:
        chorus.SetWet(v);
        break;

    // Gate
    case kGateMix:
        gate_.SetMix(v);
        break;
    case kGateSmooth:
        gate_.SetSmooth(v);
        break;

    // Arpeggiator
    case kArpMode: {
        const int position = SelectorPosition(RowOf(index), v);
        SetArpeggiatorOn(position != 0);
        if (position != 0)
            arpeggiator_.SetMode(position - 1);
        break;
    }
    case kArpRange:
        arpeggiator_.SetRange(SelectorPosition(RowOf(index), v) + 1);
        break;

    default:
        if (index >= kGateStep1 && index <= kGateStep16)
            gate_.SetStep(index - kGateStep1, 1.0f - static_cast<float>(TruncateToInt(v)));
        break;
    }
}

void KeldraSynth::ApplyEngineSetting(int index, float value)
{
    const int number = TruncateToInt(value);
    float choice = 0.0f;
    switch (index) {
    case kUnisonVoices:
        if (Choose(index, number, choice))
            SetUnisonCount(static_cast<int>(choice));
        break;
    case kPolyphony:
        SetPolyphony(number < kVoiceCount ? number + 1 : kVoiceCount);
        break;
    case kArpStepLength:
        if (Choose(index, number, choice))
            arpeggiator_.SetStepLength(static_cast<double>(choice));
        break;
    case kBendRange:
        // Saturated where a number from a damaged file would leave the audible range many times
        // over: nothing that is meant lies there.
        patch_.bendRange = static_cast<float>(std::min(std::max(number, -1000), 1000) + 1);
        break;
    case kGateStepLength:
        if (Choose(index, number, choice))
            gate_.SetStepLength(static_cast<double>(choice));
        break;
    case kLfoSync: {
        const int last = static_cast<int>(std::size(kLfoSyncChoices)) - 1;
        if (Choose(index, std::min(std::max(number, 0), last), choice))
            patch_.lfo.SetSync(static_cast<double>(choice));
        break;
    }
    default:
        break;
    }
}

} // namespace keldra
