#include "hosts/vst/AudioEffectX.h"

#include "frame/Numbers.h"

namespace keldra::vst {

namespace {

/// Opcodes from 25 on that read or write through ptr. effString2Parameter asks with null whether
/// it may ask; effVendorSpecific and effGetIcon pass on whatever comes.
bool NeedsPointer(VstInt32 opcode)
{
    switch (opcode) {
    case effProcessEvents:
    case effGetProgramNameIndexed:
    case effGetInputProperties:
    case effGetOutputProperties:
    case effOfflineNotify:
    case effOfflinePrepare:
    case effOfflineRun:
    case effProcessVarIo:
    case effSetSpeakerArrangement:
    case effGetEffectName:
    case effGetErrorText:
    case effGetVendorString:
    case effGetProductString:
    case effCanDo:
    case effGetParameterProperties:
    case effGetMidiProgramName:
    case effGetMidiProgramCategory:
    case effGetMidiKeyName:
    case effGetSpeakerArrangement:
    case effShellGetNextPlugin:
    case effBeginLoadBank:
    case effBeginLoadProgram:
        return true;
    default:
        return false;
    }
}

// The wheel reaches effects as a vendor-specific call, index in either spelling.
constexpr VstInt32 kWheelIndex = FourCharacters("stCA");
constexpr VstInt32 kWheelIndexToo = FourCharacters("stCa");
constexpr VstIntPtr kWheelValue = FourCharacters("Whee");

VstIntPtr AsAnswer(const void* pointer)
{
    return reinterpret_cast<VstIntPtr>(pointer);
}

} // namespace

AudioEffectX::AudioEffectX(audioMasterCallback host, VstInt32 programs, VstInt32 parameters)
    : AudioEffect(host, programs, parameters)
{
}

// --- Opcodes from 25 on ---

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                   float opt)
{
    if (ptr == nullptr && NeedsPointer(opcode))
        return 0;
    auto* const text = static_cast<char*>(ptr);
    const VstInt32 number = ToInt32(value);

    switch (opcode) {
    // Processing
    case effProcessEvents:
        return processEvents(static_cast<VstEvents*>(ptr));
    case effStartProcess:
        return startProcess();
    case effStopProcess:
        return stopProcess();
    case effGetTailSize:
        return getGetTailSize();
    case effProcessVarIo:
        return processVariableIo(static_cast<VstVariableIo*>(ptr));
    case effSetTotalSampleToProcess:
        return setTotalSampleToProcess(number);
    case effSetProcessPrecision:
        return setProcessPrecision(number);
    case effSetBypass:
        return setBypass(value != 0);
    case effSetPanLaw:
        return setPanLaw(number, opt);
    case effSetBlockSizeAndSampleRate:
        setBlockSizeAndSampleRate(number, opt);
        return 1;
    case effGetCurrentPosition:
        return reportCurrentPosition();
    case effGetDestinationBuffer:
        return AsAnswer(reportDestinationBuffer());
    case effIdle:
        return fxIdle();

    // Parameters and programs
    case effCanBeAutomated:
        return canParameterBeAutomated(index);
    case effString2Parameter:
        return string2parameter(index, text);
    case effGetParameterProperties:
        return getParameterProperties(index, static_cast<VstParameterProperties*>(ptr));
    case effGetProgramNameIndexed:
        return getProgramNameIndexed(number, index, text);
    case effBeginSetProgram:
        return beginSetProgram();
    case effEndSetProgram:
        return endSetProgram();
    case effBeginLoadBank:
        return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
    case effBeginLoadProgram:
        return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
    case effGetNumProgramCategories:
        return getNumCategories();
    case effCopyProgram:
        return copyProgram(index);

    // Connections
    case effConnectInput:
        inputConnected(index, value != 0);
        return 1;
    case effConnectOutput:
        outputConnected(index, value != 0);
        return 1;
    case effGetInputProperties:
        return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
    case effGetOutputProperties:
        return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
    case effSetSpeakerArrangement:
        return setSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement*>(value),
                                     static_cast<VstSpeakerArrangement*>(ptr));
    case effGetSpeakerArrangement:
        return value != 0 && getSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement**>(value),
                                                   static_cast<VstSpeakerArrangement**>(ptr));

    // Who the effect is
    case effGetPlugCategory:
        return getPlugCategory();
    case effGetEffectName:
        return getEffectName(text);
    case effGetVendorString:
        return getVendorString(text);
    case effGetProductString:
        return getProductString(text);
    case effGetVendorVersion:
        return getVendorVersion();
    case effVendorSpecific:
        return DispatchVendorSpecific(index, value, ptr, opt);
    case effCanDo:
        return canDo(text);
    case effGetVstVersion:
        return getVstVersion();
    case effShellGetNextPlugin:
        return getNextShellPlugin(text);
    case effGetErrorText:
        return getErrorText(text);
    case effGetIcon:
        return AsAnswer(getIcon());
    case effSetViewPosition:
        return setViewPosition(index, number);

    // MIDI
    case effGetNumMidiInputChannels:
        return getNumMidiInputChannels();
    case effGetNumMidiOutputChannels:
        return getNumMidiOutputChannels();
    case effGetMidiProgramName:
        return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
    case effGetCurrentMidiProgram:
        return ptr != nullptr ? getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr))
                              : -1;
    case effGetMidiProgramCategory:
        return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
    case effHasMidiProgramsChanged:
        return hasMidiProgramsChanged(index);
    case effGetMidiKeyName:
        return getMidiKeyName(index, static_cast<MidiKeyName*>(ptr));

    // Offline work
    case effOfflineNotify:
        return offlineNotify(static_cast<VstAudioFile*>(ptr), number, index != 0);
    case effOfflinePrepare:
        return offlinePrepare(static_cast<VstOfflineTask*>(ptr), number);
    case effOfflineRun:
        return offlineRun(static_cast<VstOfflineTask*>(ptr), number);

    case effEditKeyDown:
    case effEditKeyUp:
    case effSetEditKnobMode:
        return DispatchEditor(opcode, index, value, opt);

    case effKeysRequired: // hosts disagree about which answer means yes
        return 0;
    default:
        return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

VstIntPtr AudioEffectX::DispatchEditor(VstInt32 opcode, VstInt32 index, VstIntPtr value, float opt)
{
    if (editor == nullptr)
        return 0;
    if (opcode == effSetEditKnobMode)
        return editor->setKnobMode(ToInt32(value));
    VstKeyCode key{};
    key.character = index;
    key.virt = static_cast<unsigned char>(value & 0xFF);
    key.modifier = static_cast<unsigned char>(TruncateToInt(static_cast<double>(opt)) & 0xFF);
    return opcode == effEditKeyDown ? editor->onKeyDown(key) : editor->onKeyUp(key);
}

VstIntPtr AudioEffectX::DispatchVendorSpecific(VstInt32 index, VstIntPtr value, void* ptr,
                                               float opt)
{
    const bool isWheel = (index == kWheelIndex || index == kWheelIndexToo) && value == kWheelValue;
    if (isWheel && editor != nullptr && editor->onWheel(opt))
        return 1;
    return vendorSpecific(index, value, ptr, opt);
}

// --- Neutral answers ---

void AudioEffectX::resume()
{
    char receivesMidi[] = "receiveVstMidiEvent";
    if ((cEffect.flags & effFlagsIsSynth) != 0 || canDo(receivesMidi) == 1)
        wantEvents();
}

void AudioEffectX::setBlockSizeAndSampleRate(VstInt32 frames, float hz)
{
    setBlockSize(frames);
    setSampleRate(hz);
}

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** in, VstSpeakerArrangement** out)
{
    *in = nullptr;
    *out = nullptr;
    return false;
}

VstPlugCategory AudioEffectX::getPlugCategory()
{
    return (cEffect.flags & effFlagsIsSynth) != 0 ? kPlugCategSynth : kPlugCategUnknown;
}

// --- Calls to the host ---

void AudioEffectX::wantEvents(VstInt32 filter)
{
    CallHost(audioMasterWantMidi, 0, filter);
}

VstTimeInfo* AudioEffectX::getTimeInfo(VstInt32 filter)
{
    return reinterpret_cast<VstTimeInfo*>(CallHost(audioMasterGetTime, 0, filter));
}

bool AudioEffectX::sendVstEventsToHost(VstEvents* events)
{
    return CallHost(audioMasterProcessEvents, 0, 0, events) == 1;
}

bool AudioEffectX::beginEdit(VstInt32 index)
{
    return CallHost(audioMasterBeginEdit, index) != 0;
}
bool AudioEffectX::endEdit(VstInt32 index)
{
    return CallHost(audioMasterEndEdit, index) != 0;
}
bool AudioEffectX::ioChanged()
{
    return CallHost(audioMasterIOChanged) != 0;
}
bool AudioEffectX::updateDisplay()
{
    return CallHost(audioMasterUpdateDisplay) != 0;
}

bool AudioEffectX::sizeWindow(VstInt32 width, VstInt32 height)
{
    return CallHost(audioMasterSizeWindow, width, height) != 0;
}

double AudioEffectX::updateSampleRate()
{
    if (const VstIntPtr hz = CallHost(audioMasterGetSampleRate); hz > 0)
        sampleRate = static_cast<float>(hz);
    return static_cast<double>(getSampleRate());
}

VstInt32 AudioEffectX::updateBlockSize()
{
    if (const VstIntPtr frames = CallHost(audioMasterGetBlockSize); frames > 0)
        blockSize = ToInt32(frames);
    return getBlockSize();
}

VstInt32 AudioEffectX::getInputLatency()
{
    return ToInt32(CallHost(audioMasterGetInputLatency));
}
VstInt32 AudioEffectX::getOutputLatency()
{
    return ToInt32(CallHost(audioMasterGetOutputLatency));
}

VstInt32 AudioEffectX::getCurrentProcessLevel()
{
    return ToInt32(CallHost(audioMasterGetCurrentProcessLevel));
}

VstInt32 AudioEffectX::getAutomationState()
{
    return ToInt32(CallHost(audioMasterGetAutomationState));
}

bool AudioEffectX::getHostVendorString(char* text)
{
    return CallHost(audioMasterGetVendorString, 0, 0, text) != 0;
}

bool AudioEffectX::getHostProductString(char* text)
{
    return CallHost(audioMasterGetProductString, 0, 0, text) != 0;
}

VstInt32 AudioEffectX::getHostVendorVersion()
{
    return ToInt32(CallHost(audioMasterGetVendorVersion));
}

VstIntPtr AudioEffectX::hostVendorSpecific(VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    return CallHost(audioMasterVendorSpecific, index, value, ptr, opt);
}

VstInt32 AudioEffectX::canHostDo(const char* what)
{
    return ToInt32(CallHost(audioMasterCanDo, 0, 0, const_cast<char*>(what)));
}

VstInt32 AudioEffectX::getHostLanguage()
{
    return ToInt32(CallHost(audioMasterGetLanguage));
}

void* AudioEffectX::getDirectory()
{
    return reinterpret_cast<void*>(CallHost(audioMasterGetDirectory));
}

bool AudioEffectX::openFileSelector(VstFileSelect* select)
{
    return CallHost(audioMasterOpenFileSelector, 0, 0, select) != 0;
}

bool AudioEffectX::closeFileSelector(VstFileSelect* select)
{
    return CallHost(audioMasterCloseFileSelector, 0, 0, select) != 0;
}

} // namespace keldra::vst
