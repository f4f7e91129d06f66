#include "hosts/vst/AudioEffect.h"

#include <limits>
#include <utility>

#include "frame/Numbers.h"

namespace keldra::vst {

namespace {

/// Opcodes up to 24 that read or write through ptr.
bool NeedsPointer(VstInt32 opcode)
{
    switch (opcode) {
    case effSetProgramName:
    case effGetProgramName:
    case effGetParamLabel:
    case effGetParamDisplay:
    case effGetParamName:
    case effEditGetRect:
    case effGetChunk:
    case effSetChunk:
        return true;
    default:
        return false;
    }
}

AudioEffect* ObjectOf(AEffect* effect)
{
    return effect != nullptr ? static_cast<AudioEffect*>(effect->object) : nullptr;
}

} // namespace

VstInt32 ToInt32(VstIntPtr value)
{
    using Limits = std::numeric_limits<VstInt32>;
    if (value > Limits::max())
        return Limits::max();
    if (value < Limits::min())
        return Limits::min();
    return static_cast<VstInt32>(value);
}

AudioEffect::AudioEffect(audioMasterCallback host, VstInt32 programs, VstInt32 parameters)
    : audioMaster(host), numPrograms(programs), numParams(parameters)
{
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = &OnDispatch;
    cEffect.process = &OnProcess;
    cEffect.setParameter = &OnSetParameter;
    cEffect.getParameter = &OnGetParameter;
    cEffect.processReplacing = &OnProcessReplacing;
    cEffect.flags = effFlagsCanReplacing;
    cEffect.numPrograms = programs;
    cEffect.numParams = parameters;
    cEffect.numInputs = 1;
    cEffect.numOutputs = 2;
    cEffect.ioRatio = 1.0f;
    cEffect.object = this;
    cEffect.uniqueID = FourCharacters("NoEf");
    cEffect.version = 1;
}

AudioEffect::~AudioEffect() = default;

// --- The record's functions ---

VstIntPtr KELDRA_VST_CALL AudioEffect::OnDispatch(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                                  VstIntPtr value, void* ptr, float opt)
{
    AudioEffect* const object = ObjectOf(effect);
    if (object == nullptr)
        return 0;
    VstIntPtr answer = 0;
    try {
        answer = object->dispatcher(opcode, index, value, ptr, opt);
    } catch (...) {
        answer = 0;
    }
    if (opcode != effClose)
        return answer;
    delete object; // the record goes with it
    return 1;
}

void KELDRA_VST_CALL AudioEffect::OnProcess(AEffect* effect, float** inputs, float** outputs,
                                            VstInt32 sampleFrames)
{
    try {
        if (AudioEffect* const object = ObjectOf(effect))
            object->process(inputs, outputs, sampleFrames);
    } catch (...) {
    }
}

void KELDRA_VST_CALL AudioEffect::OnProcessReplacing(AEffect* effect, float** inputs,
                                                     float** outputs, VstInt32 sampleFrames)
{
    try {
        if (AudioEffect* const object = ObjectOf(effect))
            object->processReplacing(inputs, outputs, sampleFrames);
    } catch (...) {
    }
}

void KELDRA_VST_CALL AudioEffect::OnProcessDouble(AEffect* effect, double** inputs,
                                                  double** outputs, VstInt32 sampleFrames)
{
    try {
        if (AudioEffect* const object = ObjectOf(effect))
            object->processDoubleReplacing(inputs, outputs, sampleFrames);
    } catch (...) {
    }
}

void KELDRA_VST_CALL AudioEffect::OnSetParameter(AEffect* effect, VstInt32 index, float value)
{
    try {
        if (AudioEffect* const object = ObjectOf(effect))
            object->setParameter(index, value);
    } catch (...) {
    }
}

float KELDRA_VST_CALL AudioEffect::OnGetParameter(AEffect* effect, VstInt32 index)
{
    try {
        AudioEffect* const object = ObjectOf(effect);
        return object != nullptr ? object->getParameter(index) : 0.0f;
    } catch (...) {
        return 0.0f;
    }
}

// --- Opcodes 0 to 24 ---

VstIntPtr AudioEffect::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt)
{
    if (ptr == nullptr && NeedsPointer(opcode))
        return 0;
    auto* const text = static_cast<char*>(ptr);

    switch (opcode) {
    case effOpen:
        open();
        return 0;
    case effClose:
        close();
        return 1;
    case effSetProgram:
        setProgram(ToInt32(value));
        return 0;
    case effGetProgram:
        return getProgram();
    case effSetProgramName:
        setProgramName(text);
        return 0;
    case effGetProgramName:
        getProgramName(text);
        return 0;
    case effGetParamLabel:
        getParameterLabel(index, text);
        return 0;
    case effGetParamDisplay:
        getParameterDisplay(index, text);
        return 0;
    case effGetParamName:
        getParameterName(index, text);
        return 0;
    case effGetVu:
        return TruncateToInt(static_cast<double>(getVu()) * 32767.0);
    case effSetSampleRate:
        setSampleRate(opt);
        return 0;
    case effSetBlockSize:
        setBlockSize(ToInt32(value));
        return 0;
    case effMainsChanged:
        if (value == 0)
            suspend();
        else
            resume();
        return 0;
    case effEditGetRect:
        return editor != nullptr && editor->getRect(static_cast<ERect**>(ptr)) ? 1 : 0;
    case effEditOpen:
        return editor != nullptr && editor->open(ptr) ? 1 : 0;
    case effEditClose:
        if (editor != nullptr)
            editor->close();
        return 0;
    case effEditIdle:
        if (editor != nullptr)
            editor->idle();
        return 0;
    case effIdentify:
        return kIdentifyAnswer;
    case effGetChunk:
        return getChunk(static_cast<void**>(ptr), index != 0);
    case effSetChunk:
        return setChunk(ptr, ToInt32(value), index != 0);
    default: // the old Mac's window opcodes among them
        return 0;
    }
}

// --- Neutral answers ---

void AudioEffect::getParameterLabel(VstInt32, char* label)
{
    *label = '\0';
}
void AudioEffect::getParameterDisplay(VstInt32, char* text)
{
    *text = '\0';
}
void AudioEffect::getParameterName(VstInt32, char* text)
{
    *text = '\0';
}
void AudioEffect::getProgramName(char* name)
{
    *name = '\0';
}

void AudioEffect::setProgram(VstInt32 program)
{
    if (program >= 0 && program < numPrograms)
        curProgram = program;
}

void AudioEffect::setParameterAutomated(VstInt32 index, float value)
{
    setParameter(index, value);
    CallHost(audioMasterAutomate, index, 0, nullptr, value);
}

// --- The record ---

void AudioEffect::SetFlag(VstInt32 flag, bool on)
{
    cEffect.flags = on ? cEffect.flags | flag : cEffect.flags & ~flag;
}

void AudioEffect::canDoubleReplacing(bool can)
{
    SetFlag(effFlagsCanDoubleReplacing, can);
    cEffect.processDoubleReplacing = can ? &OnProcessDouble : nullptr;
}

void AudioEffect::setEditor(std::unique_ptr<AEffEditor> newEditor)
{
    SetFlag(effFlagsHasEditor, newEditor != nullptr);
    editor = std::move(newEditor);
}

// --- The host ---

VstIntPtr AudioEffect::CallHost(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                float opt)
{
    return audioMaster != nullptr ? audioMaster(&cEffect, opcode, index, value, ptr, opt) : 0;
}

VstInt32 AudioEffect::getMasterVersion()
{
    const VstInt32 version = ToInt32(CallHost(audioMasterVersion));
    return version != 0 ? version : 1;
}

VstInt32 AudioEffect::getCurrentUniqueId()
{
    return ToInt32(CallHost(audioMasterCurrentId));
}
void AudioEffect::masterIdle()
{
    CallHost(audioMasterIdle);
}

} // namespace keldra::vst
