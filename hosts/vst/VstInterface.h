#pragma once

// The VST 2.4 binary interface between a host and a plug-in module: what both sides must agree on,
// and nothing else. Plug-in and hosts (apps/) include it. Names are the published ones, so that
// what is known of the interface can be looked up; the namespace keeps them from meeting the same
// names in other modules of the process. Entries marked (old) are no longer part of 2.4, but some
// hosts still send them.

#include <cstddef>
#include <cstdint>

// The one place that names the calling convention. It differs from the compiler's default only on
// 32-bit Windows, and there only if that default was changed.
#if defined(_WIN32) && !defined(_WIN64)
#define KELDRA_VST_CALL __cdecl
#else
#define KELDRA_VST_CALL
#endif

namespace keldra::vst {

#pragma pack(push, 8)

using VstInt16 = std::int16_t;
using VstInt32 = std::int32_t;
using VstIntPtr = std::intptr_t;

struct AEffect;

using audioMasterCallback = VstIntPtr(KELDRA_VST_CALL*)(AEffect* effect, VstInt32 opcode,
                                                        VstInt32 index, VstIntPtr value, void* ptr,
                                                        float opt);
using AEffectDispatcherProc = VstIntPtr(KELDRA_VST_CALL*)(AEffect* effect, VstInt32 opcode,
                                                          VstInt32 index, VstIntPtr value,
                                                          void* ptr, float opt);
using AEffectProcessProc = void(KELDRA_VST_CALL*)(AEffect* effect, float** inputs, float** outputs,
                                                  VstInt32 sampleFrames);
using AEffectProcessDoubleProc = void(KELDRA_VST_CALL*)(AEffect* effect, double** inputs,
                                                        double** outputs, VstInt32 sampleFrames);
using AEffectSetParameterProc = void(KELDRA_VST_CALL*)(AEffect* effect, VstInt32 index,
                                                       float value);
using AEffectGetParameterProc = float(KELDRA_VST_CALL*)(AEffect* effect, VstInt32 index);

/// The exported entry of a module, by name and type. Null: no instance.
inline constexpr char kEntryName[] = "VSTPluginMain";
using VstPluginMainProc = AEffect*(KELDRA_VST_CALL*)(audioMasterCallback host);

/// A four-character code: the first character is the most significant byte.
[[nodiscard]] constexpr VstInt32 FourCharacters(const char (&text)[5])
{
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return static_cast<VstInt32>(code);
}

inline constexpr VstInt32 kEffectMagic = FourCharacters("VstP");
inline constexpr VstInt32 kVstVersion = 2400;

/// One plug-in instance as the host sees it. Made and owned by the plug-in; goes with effClose.
struct AEffect {
    VstInt32 magic; ///< kEffectMagic
    AEffectDispatcherProc dispatcher;
    AEffectProcessProc process; ///< (old) adds to the outputs; never the same as processReplacing
    AEffectSetParameterProc setParameter; ///< value 0 .. 1
    AEffectGetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;     ///< channels
    VstInt32 numOutputs;    ///< channels
    VstInt32 flags;         ///< VstAEffectFlags
    VstIntPtr resvd1;       ///< the host's; 0 when the entry returns unless the host set it
    VstIntPtr resvd2;       ///< likewise
    VstInt32 initialDelay;  ///< frames of latency
    VstInt32 realQualities; ///< (old) 0
    VstInt32 offQualities;  ///< (old) 0
    float ioRatio;          ///< (old) 1
    void* object;           ///< the plug-in's
    void* user;             ///< free
    VstInt32 uniqueID;      ///< four-character code, not 0
    VstInt32 version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing; ///< null without the flag
    char future[56];                                 ///< 0
};

enum VstAEffectFlags : VstInt32 {
    effFlagsHasEditor = 1 << 0,
    effFlagsHasClip = 1 << 1, ///< (old)
    effFlagsHasVu = 1 << 2,   ///< (old)
    effFlagsCanMono = 1 << 3, ///< (old)
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsExtIsAsync = 1 << 10,   ///< (old)
    effFlagsExtHasBuffer = 1 << 11, ///< (old)
    effFlagsCanDoubleReplacing = 1 << 12,
};

/// Host to plug-in, through AEffect::dispatcher. Comments: arguments used -> result, where not 0.
enum AEffectOpcodes : VstInt32 {
    effOpen = 0,
    effClose = 1,           ///< -> 1; the record is gone afterwards
    effSetProgram = 2,      ///< value: program
    effGetProgram = 3,      ///< -> program
    effSetProgramName = 4,  ///< ptr: char*, at most 24
    effGetProgramName = 5,  ///< ptr: char* out, 24 and NUL
    effGetParamLabel = 6,   ///< index; ptr: char* out: unit
    effGetParamDisplay = 7, ///< index; ptr: char* out: value text
    effGetParamName = 8,    ///< index; ptr: char* out
    effGetVu = 9,           ///< (old)
    effSetSampleRate = 10,  ///< opt: Hz
    effSetBlockSize = 11,   ///< value: most frames in a block
    effMainsChanged = 12,   ///< value: 0 suspend, 1 resume
    effEditGetRect = 13,    ///< ptr: ERect** -> 1 when there is one
    effEditOpen = 14,       ///< ptr: parent window -> 1 when open
    effEditClose = 15,
    effEditDraw = 16,  ///< (old)
    effEditMouse = 17, ///< (old)
    effEditKey = 18,   ///< (old)
    effEditIdle = 19,
    effEditTop = 20,                 ///< (old)
    effEditSleep = 21,               ///< (old)
    effIdentify = 22,                ///< (old) -> 'NvEf'
    effGetChunk = 23,                ///< index: 0 bank, 1 program; ptr: void** -> bytes
    effSetChunk = 24,                ///< index: likewise; value: bytes; ptr: data
    effProcessEvents = 25,           ///< ptr: VstEvents*
    effCanBeAutomated = 26,          ///< index -> 0 or 1
    effString2Parameter = 27,        ///< index; ptr: char* or null ("could you?") -> 0 or 1
    effGetNumProgramCategories = 28, ///< (old) -> count
    effGetProgramNameIndexed = 29,   ///< index: program; value: category; ptr: char* out -> 0 or 1
    effCopyProgram = 30,             ///< (old) index: destination
    effConnectInput = 31,            ///< (old) index: pin; value: 0 or 1
    effConnectOutput = 32,           ///< (old) likewise
    effGetInputProperties = 33,      ///< index: pin; ptr: VstPinProperties* -> 0 or 1
    effGetOutputProperties = 34,     ///< likewise
    effGetPlugCategory = 35,         ///< -> VstPlugCategory
    effGetCurrentPosition = 36,      ///< (old)
    effGetDestinationBuffer = 37,    ///< (old)
    effOfflineNotify = 38,           ///< index: start flag; value: count; ptr: VstAudioFile[]
    effOfflinePrepare = 39,          ///< value: count; ptr: VstOfflineTask[]
    effOfflineRun = 40,              ///< likewise
    effProcessVarIo = 41,            ///< ptr: VstVariableIo*
    effSetSpeakerArrangement = 42,   ///< value: VstSpeakerArrangement* in; ptr: out -> 0 or 1
    effSetBlockSizeAndSampleRate = 43, ///< (old) value: frames; opt: Hz
    effSetBypass = 44,                 ///< value: 0 or 1 -> 1 when done
    effGetEffectName = 45,             ///< ptr: char* out, 32 -> 0 or 1
    effGetErrorText = 46,              ///< (old) ptr: char* out, 256
    effGetVendorString = 47,           ///< ptr: char* out, 64 -> 0 or 1
    effGetProductString = 48,          ///< ptr: char* out, 64 -> 0 or 1
    effGetVendorVersion = 49,          ///< -> number
    effVendorSpecific = 50,            ///< index, value, ptr, opt
    effCanDo = 51,                     ///< ptr: char* -> 1 yes, -1 no, 0 don't know
    effGetTailSize = 52,               ///< -> frames; 1 = none, 0 = unknown
    effIdle = 53,                      ///< (old)
    effGetIcon = 54,                   ///< (old)
    effSetViewPosition = 55,           ///< (old) index: x; value: y
    effGetParameterProperties = 56,    ///< index; ptr: VstParameterProperties* -> 0 or 1
    effKeysRequired = 57,              ///< (old) -> 0 wants keys, 1 doesn't
    effGetVstVersion = 58,             ///< -> 2400
    effEditKeyDown = 59,        ///< index: character; value: virtual key; opt: modifiers -> 0 or 1
    effEditKeyUp = 60,          ///< likewise
    effSetEditKnobMode = 61,    ///< value: 0 circular, 1 circular relative, 2 linear -> 0 or 1
    effGetMidiProgramName = 62, ///< index: channel; ptr: MidiProgramName* -> count
    effGetCurrentMidiProgram = 63,  ///< index: channel; ptr: MidiProgramName* -> program or -1
    effGetMidiProgramCategory = 64, ///< index: channel; ptr: MidiProgramCategory* -> count
    effHasMidiProgramsChanged = 65, ///< index: channel -> 0 or 1
    effGetMidiKeyName = 66,         ///< index: channel; ptr: MidiKeyName* -> 0 or 1
    effBeginSetProgram = 67,
    effEndSetProgram = 68,
    effGetSpeakerArrangement = 69, ///< value, ptr: VstSpeakerArrangement** -> 0 or 1
    effShellGetNextPlugin = 70,    ///< ptr: char* out, 64 -> id, 0 = end
    effStartProcess = 71,
    effStopProcess = 72,
    effSetTotalSampleToProcess = 73, ///< value: frames
    effSetPanLaw = 74,               ///< value: 0 linear, 1 equal power; opt: gain -> 0 or 1
    effBeginLoadBank = 75,    ///< ptr: VstPatchChunkInfo* -> -1 refused, 1 accepted, 0 unsupported
    effBeginLoadProgram = 76, ///< likewise
    effSetProcessPrecision = 77,      ///< value: 0 float, 1 double -> 0 or 1
    effGetNumMidiInputChannels = 78,  ///< -> 1 .. 16; 0 = unknown
    effGetNumMidiOutputChannels = 79, ///< likewise
    effNumOpcodes = 80,               ///< the first number that is not an opcode
};

/// What effIdentify answers.
inline constexpr VstInt32 kIdentifyAnswer = FourCharacters("NvEf");

/// Plug-in to host, through the callback. effect is the plug-in's record.
enum AudioMasterOpcodes : VstInt32 {
    audioMasterAutomate = 0,      ///< index; opt: value
    audioMasterVersion = 1,       ///< effect may be null -> version, 0 = too old
    audioMasterCurrentId = 2,     ///< -> id of the shell's plug-in being loaded
    audioMasterIdle = 3,          ///< the host may send effEditIdle from inside
    audioMasterPinConnected = 4,  ///< (old) index: pin; value: 0 input -> 0 = connected
    audioMasterWantMidi = 6,      ///< (old) value: 1
    audioMasterGetTime = 7,       ///< value: VstTimeInfoFlags wanted -> VstTimeInfo* or 0
    audioMasterProcessEvents = 8, ///< ptr: VstEvents* -> 1 when taken
    audioMasterSetTime = 9,       ///< (old)
    audioMasterTempoAt = 10,      ///< (old) value: frame -> BPM * 10000
    audioMasterGetNumAutomatableParameters = 11, ///< (old)
    audioMasterGetParameterQuantization = 12,    ///< (old)
    audioMasterIOChanged = 13,                   ///< -> 1 when supported
    audioMasterNeedIdle = 14,                    ///< (old)
    audioMasterSizeWindow = 15,                  ///< index: width; value: height -> 1 when done
    audioMasterGetSampleRate = 16,               ///< -> Hz, 0 = unknown
    audioMasterGetBlockSize = 17,                ///< -> frames, 0 = unknown
    audioMasterGetInputLatency = 18,             ///< -> frames
    audioMasterGetOutputLatency = 19,            ///< -> frames
    audioMasterGetPreviousPlug = 20,             ///< (old)
    audioMasterGetNextPlug = 21,                 ///< (old)
    audioMasterWillReplaceOrAccumulate = 22,     ///< (old)
    audioMasterGetCurrentProcessLevel = 23,      ///< -> 1 user, 2 realtime, 3 prefetch, 4 offline
    audioMasterGetAutomationState = 24,          ///< -> 1 off, 2 read, 3 write, 4 both
    audioMasterOfflineStart = 25,                ///< index, value: counts; ptr: VstAudioFile[]
    audioMasterOfflineRead = 26,  ///< index: original; value: option; ptr: VstOfflineTask*
    audioMasterOfflineWrite = 27, ///< value: option; ptr: VstOfflineTask*
    audioMasterOfflineGetCurrentPass = 28,
    audioMasterOfflineGetCurrentMetaPass = 29,
    audioMasterSetOutputSampleRate = 30,         ///< (old)
    audioMasterGetOutputSpeakerArrangement = 31, ///< (old)
    audioMasterGetVendorString = 32,             ///< ptr: char* out, 64 -> 1 when filled
    audioMasterGetProductString = 33,            ///< ptr: char* out, 64 -> 1 when filled
    audioMasterGetVendorVersion = 34,            ///< -> number
    audioMasterVendorSpecific = 35,              ///< index, value, ptr, opt
    audioMasterSetIcon = 36,                     ///< (old)
    audioMasterCanDo = 37,                       ///< ptr: char* -> 1 yes, -1 no, 0 don't know
    audioMasterGetLanguage = 38,                 ///< -> VstHostLanguage
    audioMasterOpenWindow = 39,                  ///< (old)
    audioMasterCloseWindow = 40,                 ///< (old)
    audioMasterGetDirectory = 41,                ///< -> char* or 0
    audioMasterUpdateDisplay = 42,               ///< the host reads programs and parameters again
    audioMasterBeginEdit = 43,                   ///< index -> 1 when supported
    audioMasterEndEdit = 44,                     ///< index -> 1 when supported
    audioMasterOpenFileSelector = 45,            ///< ptr: VstFileSelect* -> 1 when supported
    audioMasterCloseFileSelector = 46,           ///< ptr: VstFileSelect* -> 1 when supported
    audioMasterEditFile = 47,                    ///< (old)
    audioMasterGetChunkFile = 48,                ///< (old)
    audioMasterGetInputSpeakerArrangement = 49,  ///< (old)
};

/// Nominal lengths of texts, NUL not counted. Names in structures hold 63 characters and NUL.
inline constexpr int kVstMaxProgNameLen = 24;
inline constexpr int kVstMaxParamStrLen = 8;
inline constexpr int kVstMaxEffectNameLen = 32;
inline constexpr int kVstMaxVendorStrLen = 64;
inline constexpr int kVstMaxProductStrLen = 64;

/// The editor's size in pixels.
struct ERect {
    VstInt16 top;
    VstInt16 left;
    VstInt16 bottom;
    VstInt16 right;
};

// --- Events ---

enum VstEventTypes : VstInt32 {
    kVstMidiType = 1,
    kVstAudioType = 2,     ///< (old)
    kVstVideoType = 3,     ///< (old)
    kVstParameterType = 4, ///< (old)
    kVstTriggerType = 5,   ///< (old)
    kVstSysExType = 6,
};

/// What all events begin with. byteSize is not to be trusted: some hosts leave out the first 8.
struct VstEvent {
    VstInt32 type; ///< VstEventTypes
    VstInt32 byteSize;
    VstInt32 deltaFrames; ///< from the start of the block
    VstInt32 flags;
    char data[16];
};

enum VstMidiEventFlags : VstInt32 { kVstMidiEventIsRealtime = 1 << 0 };

struct VstMidiEvent {
    VstInt32 type; ///< kVstMidiType
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    VstInt32 flags; ///< VstMidiEventFlags
    VstInt32 noteLength;
    VstInt32 noteOffset;
    char midiData[4];   ///< 1 to 3 bytes count, the rest may be anything
    signed char detune; ///< cents, -64 .. +63
    char noteOffVelocity;
    char reserved1;
    char reserved2;
};

struct VstMidiSysexEvent {
    VstInt32 type; ///< kVstSysExType
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    VstInt32 flags;
    VstInt32 dumpBytes;
    VstIntPtr resvd1;
    char* sysexDump;
    VstIntPtr resvd2;
};

/// A list of events. Really numEvents pointers long.
struct VstEvents {
    VstInt32 numEvents;
    VstIntPtr reserved;
    VstEvent* events[2];
};

// --- Time ---

enum VstTimeInfoFlags : VstInt32 {
    kVstTransportChanged = 1 << 0,
    kVstTransportPlaying = 1 << 1,
    kVstTransportCycleActive = 1 << 2,
    kVstTransportRecording = 1 << 3,
    kVstAutomationWriting = 1 << 6,
    kVstAutomationReading = 1 << 7,
    kVstNanosValid = 1 << 8,
    kVstPpqPosValid = 1 << 9,
    kVstTempoValid = 1 << 10,
    kVstBarsValid = 1 << 11,
    kVstCyclePosValid = 1 << 12,
    kVstTimeSigValid = 1 << 13,
    kVstSmpteValid = 1 << 14,
    kVstClockValid = 1 << 15,
};

/// Where the song is. A field counts only with its Valid flag; the first two always.
struct VstTimeInfo {
    double samplePos;
    double sampleRate; ///< Hz
    double nanoSeconds;
    double ppqPos;        ///< quarter notes
    double tempo;         ///< beats per minute
    double barStartPos;   ///< quarter notes
    double cycleStartPos; ///< quarter notes
    double cycleEndPos;   ///< quarter notes
    VstInt32 timeSigNumerator;
    VstInt32 timeSigDenominator;
    VstInt32 smpteOffset; ///< 1/80 frame
    VstInt32 smpteFrameRate;
    VstInt32 samplesToNextClock; ///< 24 clocks a quarter; may be negative
    VstInt32 flags;              ///< VstTimeInfoFlags
};

enum VstProcessLevels : VstInt32 {
    kVstProcessLevelUnknown = 0,
    kVstProcessLevelUser = 1,
    kVstProcessLevelRealtime = 2,
    kVstProcessLevelPrefetch = 3,
    kVstProcessLevelOffline = 4,
};

enum VstHostLanguage : VstInt32 {
    kVstLangEnglish = 1,
    kVstLangGerman = 2,
    kVstLangFrench = 3,
    kVstLangItalian = 4,
    kVstLangSpanish = 5,
    kVstLangJapanese = 6,
};

// --- What a plug-in tells of itself ---

enum VstPlugCategory : VstInt32 {
    kPlugCategUnknown = 0,
    kPlugCategEffect = 1,
    kPlugCategSynth = 2,
    kPlugCategAnalysis = 3,
    kPlugCategMastering = 4,
    kPlugCategSpacializer = 5,
    kPlugCategRoomFx = 6,
    kPlugSurroundFx = 7,
    kPlugCategRestoration = 8,
    kPlugCategOfflineProcess = 9,
    kPlugCategShell = 10,
    kPlugCategGenerator = 11,
};

enum VstPinPropertiesFlags : VstInt32 {
    kVstPinIsActive = 1 << 0,
    kVstPinIsStereo = 1 << 1, ///< first of a pair
    kVstPinUseSpeaker = 1 << 2,
};

struct VstPinProperties {
    char label[64];
    VstInt32 flags; ///< VstPinPropertiesFlags
    VstInt32 arrangementType;
    char shortLabel[8];
    char future[48];
};

enum VstParameterFlags : VstInt32 {
    kVstParameterIsSwitch = 1 << 0,
    kVstParameterUsesIntegerMinMax = 1 << 1,
    kVstParameterUsesFloatStep = 1 << 2,
    kVstParameterUsesIntStep = 1 << 3,
    kVstParameterSupportsDisplayIndex = 1 << 4,
    kVstParameterSupportsDisplayCategory = 1 << 5,
    kVstParameterCanRamp = 1 << 6,
};

struct VstParameterProperties {
    float stepFloat;
    float smallStepFloat;
    float largeStepFloat;
    char label[64];
    VstInt32 flags; ///< VstParameterFlags
    VstInt32 minInteger;
    VstInt32 maxInteger;
    VstInt32 stepInteger;
    VstInt32 largeStepInteger;
    char shortLabel[8];
    VstInt16 displayIndex;
    VstInt16 category; ///< 0 none, else group + 1
    VstInt16 numParametersInCategory;
    VstInt16 reserved;
    char categoryLabel[24];
    char future[16];
};

struct VstPatchChunkInfo {
    VstInt32 version; ///< 1
    VstInt32 pluginUniqueID;
    VstInt32 pluginVersion;
    VstInt32 numElements;
    char future[48];
};

struct MidiProgramName {
    VstInt32 thisProgramIndex;
    char name[64];
    signed char midiProgram; ///< -1 off
    signed char midiBankMsb;
    signed char midiBankLsb;
    char reserved;
    VstInt32 parentCategoryIndex;
    VstInt32 flags;
};

struct MidiProgramCategory {
    VstInt32 thisCategoryIndex;
    char name[64];
    VstInt32 parentCategoryIndex;
    VstInt32 flags;
};

struct MidiKeyName {
    VstInt32 thisProgramIndex;
    VstInt32 thisKeyNumber;
    char keyName[64];
    VstInt32 reserved;
    VstInt32 flags;
};

struct VstSpeakerProperties {
    float azimuth;
    float elevation;
    float radius;
    float reserved;
    char name[64];
    VstInt32 type;
    char future[28];
};

enum VstSpeakerArrangementType : VstInt32 {
    kSpeakerArrUserDefined = -2,
    kSpeakerArrEmpty = -1,
    kSpeakerArrMono = 0,
    kSpeakerArrStereo = 1,
    kSpeakerArr51 = 15,
};

struct VstSpeakerArrangement {
    VstInt32 type; ///< VstSpeakerArrangementType
    VstInt32 numChannels;
    VstSpeakerProperties speakers[8]; ///< really numChannels, if more
};

struct VstVariableIo {
    float** inputs;
    float** outputs;
    VstInt32 numSamplesInput;
    VstInt32 numSamplesOutput;
    VstInt32* numSamplesInputProcessed;
    VstInt32* numSamplesOutputProcessed;
};

// --- Keys ---

enum VstModifierKey : unsigned char {
    MODIFIER_SHIFT = 1 << 0,
    MODIFIER_ALTERNATE = 1 << 1,
    MODIFIER_COMMAND = 1 << 2,
    MODIFIER_CONTROL = 1 << 3,
};

struct VstKeyCode {
    VstInt32 character;
    unsigned char virt;     ///< 1 .. 57, 0 for ordinary characters
    unsigned char modifier; ///< VstModifierKey
};

// Handed on as they come: nothing here looks inside.
struct VstAudioFile;
struct VstOfflineTask;
struct VstFileSelect;

// --- Layout: offsets and sizes for 64-bit and 32-bit systems ---

namespace layout {
constexpr bool kIs64 = sizeof(void*) == 8;
constexpr std::size_t Pick(std::size_t on64, std::size_t on32)
{
    return kIs64 ? on64 : on32;
}
} // namespace layout

static_assert(sizeof(VstIntPtr) == sizeof(void*));

static_assert(offsetof(AEffect, magic) == 0);
static_assert(offsetof(AEffect, dispatcher) == layout::Pick(8, 4));
static_assert(offsetof(AEffect, process) == layout::Pick(16, 8));
static_assert(offsetof(AEffect, setParameter) == layout::Pick(24, 12));
static_assert(offsetof(AEffect, getParameter) == layout::Pick(32, 16));
static_assert(offsetof(AEffect, numPrograms) == layout::Pick(40, 20));
static_assert(offsetof(AEffect, numParams) == layout::Pick(44, 24));
static_assert(offsetof(AEffect, numInputs) == layout::Pick(48, 28));
static_assert(offsetof(AEffect, numOutputs) == layout::Pick(52, 32));
static_assert(offsetof(AEffect, flags) == layout::Pick(56, 36));
static_assert(offsetof(AEffect, resvd1) == layout::Pick(64, 40));
static_assert(offsetof(AEffect, resvd2) == layout::Pick(72, 44));
static_assert(offsetof(AEffect, initialDelay) == layout::Pick(80, 48));
static_assert(offsetof(AEffect, realQualities) == layout::Pick(84, 52));
static_assert(offsetof(AEffect, offQualities) == layout::Pick(88, 56));
static_assert(offsetof(AEffect, ioRatio) == layout::Pick(92, 60));
static_assert(offsetof(AEffect, object) == layout::Pick(96, 64));
static_assert(offsetof(AEffect, user) == layout::Pick(104, 68));
static_assert(offsetof(AEffect, uniqueID) == layout::Pick(112, 72));
static_assert(offsetof(AEffect, version) == layout::Pick(116, 76));
static_assert(offsetof(AEffect, processReplacing) == layout::Pick(120, 80));
static_assert(offsetof(AEffect, processDoubleReplacing) == layout::Pick(128, 84));
static_assert(offsetof(AEffect, future) == layout::Pick(136, 88));
static_assert(sizeof(AEffect) == layout::Pick(192, 144));

static_assert(offsetof(ERect, top) == 0 && offsetof(ERect, left) == 2);
static_assert(offsetof(ERect, bottom) == 4 && offsetof(ERect, right) == 6);
static_assert(sizeof(ERect) == 8);

static_assert(offsetof(VstEvents, numEvents) == 0);
static_assert(offsetof(VstEvents, reserved) == layout::Pick(8, 4));
static_assert(offsetof(VstEvents, events) == layout::Pick(16, 8));

static_assert(offsetof(VstEvent, type) == 0 && offsetof(VstEvent, byteSize) == 4);
static_assert(offsetof(VstEvent, deltaFrames) == 8 && offsetof(VstEvent, flags) == 12);
static_assert(offsetof(VstEvent, data) == 16 && sizeof(VstEvent) == 32);

static_assert(offsetof(VstMidiEvent, type) == 0 && offsetof(VstMidiEvent, byteSize) == 4);
static_assert(offsetof(VstMidiEvent, deltaFrames) == 8 && offsetof(VstMidiEvent, flags) == 12);
static_assert(offsetof(VstMidiEvent, noteLength) == 16 && offsetof(VstMidiEvent, noteOffset) == 20);
static_assert(offsetof(VstMidiEvent, midiData) == 24 && offsetof(VstMidiEvent, detune) == 28);
static_assert(offsetof(VstMidiEvent, noteOffVelocity) == 29);
static_assert(offsetof(VstMidiEvent, reserved1) == 30 && offsetof(VstMidiEvent, reserved2) == 31);
static_assert(sizeof(VstMidiEvent) == 32);

static_assert(offsetof(VstMidiSysexEvent, deltaFrames) == 8);
static_assert(offsetof(VstMidiSysexEvent, flags) == 12);
static_assert(offsetof(VstMidiSysexEvent, dumpBytes) == 16);
static_assert(offsetof(VstMidiSysexEvent, resvd1) == layout::Pick(24, 20));
static_assert(offsetof(VstMidiSysexEvent, sysexDump) == layout::Pick(32, 24));
static_assert(offsetof(VstMidiSysexEvent, resvd2) == layout::Pick(40, 28));
static_assert(sizeof(VstMidiSysexEvent) == layout::Pick(48, 32));

static_assert(offsetof(VstTimeInfo, samplePos) == 0 && offsetof(VstTimeInfo, sampleRate) == 8);
static_assert(offsetof(VstTimeInfo, nanoSeconds) == 16 && offsetof(VstTimeInfo, ppqPos) == 24);
static_assert(offsetof(VstTimeInfo, tempo) == 32 && offsetof(VstTimeInfo, barStartPos) == 40);
static_assert(offsetof(VstTimeInfo, cycleStartPos) == 48);
static_assert(offsetof(VstTimeInfo, cycleEndPos) == 56);
static_assert(offsetof(VstTimeInfo, timeSigNumerator) == 64);
static_assert(offsetof(VstTimeInfo, timeSigDenominator) == 68);
static_assert(offsetof(VstTimeInfo, smpteOffset) == 72);
static_assert(offsetof(VstTimeInfo, smpteFrameRate) == 76);
static_assert(offsetof(VstTimeInfo, samplesToNextClock) == 80);
static_assert(offsetof(VstTimeInfo, flags) == 84 && sizeof(VstTimeInfo) == 88);

static_assert(offsetof(VstPinProperties, label) == 0 && offsetof(VstPinProperties, flags) == 64);
static_assert(offsetof(VstPinProperties, arrangementType) == 68);
static_assert(offsetof(VstPinProperties, shortLabel) == 72);
static_assert(offsetof(VstPinProperties, future) == 80 && sizeof(VstPinProperties) == 128);

static_assert(offsetof(VstParameterProperties, stepFloat) == 0);
static_assert(offsetof(VstParameterProperties, smallStepFloat) == 4);
static_assert(offsetof(VstParameterProperties, largeStepFloat) == 8);
static_assert(offsetof(VstParameterProperties, label) == 12);
static_assert(offsetof(VstParameterProperties, flags) == 76);
static_assert(offsetof(VstParameterProperties, minInteger) == 80);
static_assert(offsetof(VstParameterProperties, maxInteger) == 84);
static_assert(offsetof(VstParameterProperties, stepInteger) == 88);
static_assert(offsetof(VstParameterProperties, largeStepInteger) == 92);
static_assert(offsetof(VstParameterProperties, shortLabel) == 96);
static_assert(offsetof(VstParameterProperties, displayIndex) == 104);
static_assert(offsetof(VstParameterProperties, category) == 106);
static_assert(offsetof(VstParameterProperties, numParametersInCategory) == 108);
static_assert(offsetof(VstParameterProperties, reserved) == 110);
static_assert(offsetof(VstParameterProperties, categoryLabel) == 112);
static_assert(offsetof(VstParameterProperties, future) == 136);
static_assert(sizeof(VstParameterProperties) == 152);

static_assert(offsetof(VstPatchChunkInfo, version) == 0);
static_assert(offsetof(VstPatchChunkInfo, pluginUniqueID) == 4);
static_assert(offsetof(VstPatchChunkInfo, pluginVersion) == 8);
static_assert(offsetof(VstPatchChunkInfo, numElements) == 12);
static_assert(offsetof(VstPatchChunkInfo, future) == 16 && sizeof(VstPatchChunkInfo) == 64);

static_assert(offsetof(MidiProgramName, name) == 4 && offsetof(MidiProgramName, midiProgram) == 68);
static_assert(offsetof(MidiProgramName, midiBankMsb) == 69);
static_assert(offsetof(MidiProgramName, midiBankLsb) == 70);
static_assert(offsetof(MidiProgramName, reserved) == 71);
static_assert(offsetof(MidiProgramName, parentCategoryIndex) == 72);
static_assert(offsetof(MidiProgramName, flags) == 76 && sizeof(MidiProgramName) == 80);

static_assert(offsetof(MidiProgramCategory, name) == 4);
static_assert(offsetof(MidiProgramCategory, parentCategoryIndex) == 68);
static_assert(offsetof(MidiProgramCategory, flags) == 72 && sizeof(MidiProgramCategory) == 76);

static_assert(offsetof(MidiKeyName, thisKeyNumber) == 4 && offsetof(MidiKeyName, keyName) == 8);
static_assert(offsetof(MidiKeyName, reserved) == 72 && offsetof(MidiKeyName, flags) == 76);
static_assert(sizeof(MidiKeyName) == 80);

static_assert(offsetof(VstSpeakerProperties, azimuth) == 0);
static_assert(offsetof(VstSpeakerProperties, elevation) == 4);
static_assert(offsetof(VstSpeakerProperties, radius) == 8);
static_assert(offsetof(VstSpeakerProperties, reserved) == 12);
static_assert(offsetof(VstSpeakerProperties, name) == 16);
static_assert(offsetof(VstSpeakerProperties, type) == 80);
static_assert(offsetof(VstSpeakerProperties, future) == 84 && sizeof(VstSpeakerProperties) == 112);

static_assert(offsetof(VstSpeakerArrangement, numChannels) == 4);
static_assert(offsetof(VstSpeakerArrangement, speakers) == 8);
static_assert(sizeof(VstSpeakerArrangement) == 904);

static_assert(offsetof(VstVariableIo, outputs) == layout::Pick(8, 4));
static_assert(offsetof(VstVariableIo, numSamplesInput) == layout::Pick(16, 8));
static_assert(offsetof(VstVariableIo, numSamplesOutput) == layout::Pick(20, 12));
static_assert(offsetof(VstVariableIo, numSamplesInputProcessed) == layout::Pick(24, 16));
static_assert(offsetof(VstVariableIo, numSamplesOutputProcessed) == layout::Pick(32, 20));
static_assert(sizeof(VstVariableIo) == layout::Pick(40, 24));

static_assert(offsetof(VstKeyCode, virt) == 4 && offsetof(VstKeyCode, modifier) == 5);
static_assert(sizeof(VstKeyCode) == 8);

static_assert(kEffectMagic == 0x56737450);

#pragma pack(pop)

} // namespace keldra::vst
