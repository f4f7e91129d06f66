#pragma once

// The native host's binary interface: what the host and a plug-in module must agree on, and nothing
// else. Hosts need not be written in C++: each side knows the other as a record whose first field
// points to a table of functions, and calls them by their place in that table. Both the records and
// the tables are spelled out here instead of being left to a compiler's idea of a class (two
// entries for a virtual destructor in some, one in others).
//
// Layout. The interface comes from 32-bit hosts, and there every offset is fixed; it is given
// beside each field and checked below. On 64-bit builds the same fields follow each other in the
// same order at their natural alignment: pointers, tags, handles and dispatcher values have the
// size of a pointer, everything else keeps its size.

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <type_traits>

// The one place that names the calling convention. On 32-bit Windows "stdcall": there the object is
// the first argument on the stack, which every language that can make such tables can call; the
// compilers' own convention for member functions would want it in a register. Elsewhere there is
// only the system's convention.
#if defined(_WIN32) && !defined(_WIN64)
#define KELDRA_NATIVE_CALL __stdcall
#else
#define KELDRA_NATIVE_CALL
#endif

namespace keldra::native {

using HostTag = std::intptr_t;  ///< the host's name for a plug-in object; given back on its calls
using VoiceTag = std::intptr_t; ///< the host's name for one of its voices
using VoiceHandle = std::intptr_t; ///< our name for it: its key, 0 .. 127

struct TDornoHost;
struct TDornoPlug;

// --- What both sides pass around ---

/// One of the host's voices. The host owns it and changes it while it sounds.
struct HostVoice {
    float unused0;
    float initialVolume; ///< 4; 0 .. 2, 1 is a key struck at velocity 100
    float initialPitch;  ///< 8; cents: 6000 is key 60
    float unused12;
    float unused16;
    float pan;             ///< 20; what it means is the host's affair: it turns the two into gains
    float volume;          ///< 24
    float pitch;           ///< 28; cents above or below key 60
    float cutoffOffset;    ///< 32; of the 0 .. 1 cutoff scale
    float resonanceOffset; ///< 36; of the 0 .. 1 resonance scale
};
static_assert(offsetof(HostVoice, initialVolume) == 4 && offsetof(HostVoice, pan) == 20 &&
              offsetof(HostVoice, resonanceOffset) == 36 && sizeof(HostVoice) == 40);

/// What a module is. One for all its objects.
struct PlugInfo {
    std::int32_t version;        ///< 0; kInterfaceVersion
    const char* longName;        ///< 4
    const char* shortName;       ///< 8
    std::int32_t flags;          ///< 12; EPlugFlags
    std::int32_t parameterCount; ///< 16
    std::int32_t unused20;
    std::int32_t unused24;
};
inline constexpr std::int32_t kInterfaceVersion = 1;
enum EPlugFlags : std::int32_t {
    kPlugIsInstrument = 0x00000011,
    kPlugAlways = 0x00200000,
};

/// One line of the host's menu for a parameter. A text of "-" is a separator.
struct HostMenuItem {
    const char* text;   ///< 0
    std::int32_t flags; ///< 4; EHostMenuItemFlags
};
enum EHostMenuItemFlags : std::int32_t { kMenuItemDisabled = 1, kMenuItemChecked = 2 };

/// A stream of bytes that the host lends: the beginning of the published COM stream's table, as far
/// as we use it.
struct StateStream;
struct StateStreamTable {
    std::int32_t(KELDRA_NATIVE_CALL* QueryInterface)(StateStream*, const void* id, void** object);
    std::uint32_t(KELDRA_NATIVE_CALL* AddRef)(StateStream*);
    std::uint32_t(KELDRA_NATIVE_CALL* Release)(StateStream*);
    /// @param done  receives the bytes read, fewer than `count` at the end of the stream
    /// @return below 0: failed
    std::int32_t(KELDRA_NATIVE_CALL* Read)(StateStream*, void* buffer, std::uint32_t count,
                                           std::uint32_t* done);
    std::int32_t(KELDRA_NATIVE_CALL* Write)(StateStream*, const void* buffer, std::uint32_t count,
                                            std::uint32_t* done);
};
struct StateStream {
    const StateStreamTable* operations;
};

// --- The plug-in object: the host calls it ---

/// Numbers of TDornoPlugTable::HandleCommand.
enum ECommand : std::int32_t {
    kShowEditor = 0, ///< value: the window to open it in; 0 closes it
    kStopSound = 2,
    kSetSampleRate = 4,     ///< value: Hz; not above 0: as kStopSound
    kTransportChanged = 12, ///< value: not 0 while the song plays
    kTransportAgain = 13,   ///< the engine is to be told the transport's state once more
};

/// Bits of TDornoPlugTable::ExchangeParameter.
enum EExchangeFlags : std::int32_t {
    kExchangeUpdate = 0x01,   ///< the parameter takes the value
    kExchangeGet = 0x02,      ///< the value becomes the parameter's
    kExchangeFromMidi = 0x20, ///< the value is one of MIDI's: 65536 for full scale
};

/// Sections of TDornoPlugTable::GetName.
enum ENameSection : std::int32_t {
    kParameterName = 0,
    kParameterText = 1,
    kAuxName = 2,
    kProgramName = 6,
};

/// A host's text buffer is taken to hold so many bytes, NUL included.
inline constexpr std::size_t kHostTextSize = 256;

/// The object's functions in the order in which the host counts them.
///
/// Threads, as the host has them: the voices, RenderInstrument and most of ExchangeParameter on its
/// processing thread, one after the other; everything else on its other threads.
struct TDornoPlugTable {
    void(KELDRA_NATIVE_CALL* DestroyInstance)(TDornoPlug*); // 0
    std::intptr_t(KELDRA_NATIVE_CALL* HandleCommand)(TDornoPlug*, std::int32_t id,
                                                     std::int32_t index, std::intptr_t value);
    void(KELDRA_NATIVE_CALL* OnIdle)(TDornoPlug*);
    void(KELDRA_NATIVE_CALL* SaveOrLoadState)(TDornoPlug*, StateStream*, std::int32_t save);
    void(KELDRA_NATIVE_CALL* GetName)(TDornoPlug*, std::int32_t section, std::int32_t index,
                                      std::int32_t value, char* text);
    std::int32_t(KELDRA_NATIVE_CALL* OnHostEvent)(TDornoPlug*, std::int32_t id, // 5
                                                  std::intptr_t value, std::int32_t flags);
    std::int32_t(KELDRA_NATIVE_CALL* ExchangeParameter)(TDornoPlug*, std::int32_t index,
                                                        std::int32_t value, std::int32_t flags);
    void(KELDRA_NATIVE_CALL* RenderEffect)(TDornoPlug*, float* buffer, std::int32_t length);
    /// @param buffer  *length frames of left and right in turn, added to
    void(KELDRA_NATIVE_CALL* RenderInstrument)(TDornoPlug*, float* buffer,
                                               const std::int32_t* length);
    VoiceHandle(KELDRA_NATIVE_CALL* StartVoice)(TDornoPlug*, HostVoice*, VoiceTag);
    void(KELDRA_NATIVE_CALL* ReleaseVoice)(TDornoPlug*, VoiceHandle); // 10
    void(KELDRA_NATIVE_CALL* KillVoice)(TDornoPlug*, VoiceHandle);
    std::int32_t(KELDRA_NATIVE_CALL* VoiceEvent)(TDornoPlug*, std::intptr_t, std::intptr_t,
                                                 std::intptr_t, std::intptr_t, std::intptr_t);
    std::int32_t(KELDRA_NATIVE_CALL* RenderVoice)(TDornoPlug*, std::intptr_t, std::intptr_t,
                                                  std::intptr_t, std::intptr_t);
    void(KELDRA_NATIVE_CALL* OnTick)(TDornoPlug*, std::intptr_t);
    void(KELDRA_NATIVE_CALL* OnMidiTick)(TDornoPlug*, std::intptr_t); // 15
    void(KELDRA_NATIVE_CALL* OnMidiIn)(TDornoPlug*, std::intptr_t, std::intptr_t);
    void(KELDRA_NATIVE_CALL* OnMessage)(TDornoPlug*, std::intptr_t, std::intptr_t);
    void(KELDRA_NATIVE_CALL* Destroy)(TDornoPlug*, std::int32_t flags); ///< EDestroyFlags
    void(KELDRA_NATIVE_CALL* KillAllVoices)(TDornoPlug*);               // 19
};
static_assert(sizeof(TDornoPlugTable) == 20 * sizeof(void*));
enum EDestroyFlags : std::int32_t { kFreeMemory = 1 };

/// The object as the host sees it. It may read every field at any time.
struct TDornoPlug {
    const TDornoPlugTable* operations; ///< 0
    HostTag hostTag;                   ///< 4
    const PlugInfo* info;              ///< 8
    std::uintptr_t editorWindow;       ///< 12; 0 unless the editor is shown
    std::array<std::uint32_t, 33> unused16;
    std::int32_t sampleRate; ///< 148; Hz
    float c5Increment;       ///< 152; 2^32 for each period of the note C5
    TDornoHost* host;        ///< 156
    std::uint32_t unused160;
    std::array<char, 260> hostText; ///< 164; what the host answered to kAskText
    std::mutex criticalSection;     ///< 424; its place is part of the layout, nobody enters it
};
static_assert(std::is_standard_layout_v<TDornoPlug>);

// --- The host object: we call it ---

/// Numbers of TDornoHostTable::Dispatch.
enum EHostCode : std::int32_t {
    kMenuItemChosen = 0, ///< index: parameter; value: item number
    kHostCode3 = 3,
    kGetMenuItem = 18,     ///< index: parameter; value: item number. Answers a HostMenuItem or null
    kHostNoteOn = 20,      ///< index: key; value: velocity 0 .. 127
    kHostNoteOff = 21,     ///< index: key
    kAskText = 29,         ///< answers a text or null
    kIsInstrument = 33,    ///< value: 1
    kGetSongPosition = 37, ///< value: address of HostAnswer<512>, to begin with a double
    kHostCode50 = 50,
    kGetHostText =
        52, ///< value: address of HostAnswer<kHostTextAnswerSize>, to get a text at its offset
};

inline constexpr std::size_t kHostTextAnswerSize = 520;
inline constexpr std::size_t kHostTextAnswerOffset = 256;

/// Memory that the host writes an answer into.
template <std::size_t Size>
struct alignas(16) HostAnswer {
    std::array<std::byte, Size> bytes{};
};

/// The host's functions in the order in which it counts them, as far as we call them.
struct TDornoHostTable {
    std::intptr_t(KELDRA_NATIVE_CALL* Dispatch)(TDornoHost*, HostTag, std::int32_t id, // 0
                                                std::int32_t index, std::intptr_t value);
    /// A parameter was changed from our side. @param value  0 .. 256
    void(KELDRA_NATIVE_CALL* OnParameterChanged)(TDornoHost*, HostTag, std::int32_t index,
                                                 std::int32_t value);
    void(KELDRA_NATIVE_CALL* ShowHint)(TDornoHost*, HostTag, const char* text);
    void* unused3[2];
    /// A new voice has taken the key of this one. @param zero  always 0
    void(KELDRA_NATIVE_CALL* OnVoiceReplaced)(TDornoHost*, VoiceTag, std::int32_t zero); // 5
    void* unused6[25];
    /// Turns a voice's pan and volume into gains, as the host's mixer would.
    void(KELDRA_NATIVE_CALL* ComputeGains)(TDornoHost*, float* left, float* right, // 31
                                           float pan, float volume);
    void* unused32[2];
    void(KELDRA_NATIVE_CALL* OnRender)(TDornoHost*); ///< 34; before every render
};
static_assert(offsetof(TDornoHostTable, OnVoiceReplaced) == 5 * sizeof(void*) &&
              offsetof(TDornoHostTable, ComputeGains) == 31 * sizeof(void*) &&
              offsetof(TDornoHostTable, OnRender) == 34 * sizeof(void*));

struct TDornoHost {
    const TDornoHostTable* operations;
};

// --- The module's entry ---

inline constexpr char kEntryName[] = "CreatePlugInstance";
/// @return null: no instance
using CreatePlugInstanceProc = TDornoPlug*(KELDRA_NATIVE_CALL*)(TDornoHost*, HostTag);

// --- Where 32-bit hosts find everything ---

inline constexpr bool kIs32Bit = sizeof(void*) == 4;
static_assert(!kIs32Bit ||
              (offsetof(PlugInfo, longName) == 4 && offsetof(PlugInfo, shortName) == 8 &&
               offsetof(PlugInfo, flags) == 12 && offsetof(PlugInfo, parameterCount) == 16 &&
               offsetof(PlugInfo, unused20) == 20 && offsetof(PlugInfo, unused24) == 24 &&
               sizeof(PlugInfo) == 28));
static_assert(!kIs32Bit ||
              (offsetof(HostMenuItem, text) == 0 && offsetof(HostMenuItem, flags) == 4));
static_assert(!kIs32Bit ||
              (offsetof(TDornoPlug, operations) == 0 && offsetof(TDornoPlug, hostTag) == 4 &&
               offsetof(TDornoPlug, info) == 8 && offsetof(TDornoPlug, editorWindow) == 12 &&
               offsetof(TDornoPlug, unused16) == 16 && offsetof(TDornoPlug, sampleRate) == 148 &&
               offsetof(TDornoPlug, c5Increment) == 152 && offsetof(TDornoPlug, host) == 156 &&
               offsetof(TDornoPlug, unused160) == 160 && offsetof(TDornoPlug, hostText) == 164 &&
               offsetof(TDornoPlug, criticalSection) == 424 && sizeof(TDornoPlug) == 448));
static_assert(kIs32Bit ||
              (offsetof(TDornoPlug, operations) == 0 && offsetof(TDornoPlug, hostTag) == 8 &&
               offsetof(TDornoPlug, info) == 16 && offsetof(TDornoPlug, editorWindow) == 24 &&
               offsetof(TDornoPlug, unused16) == 32 && offsetof(TDornoPlug, sampleRate) == 164 &&
               offsetof(TDornoPlug, c5Increment) == 168 && offsetof(TDornoPlug, host) == 176 &&
               offsetof(TDornoPlug, unused160) == 184 && offsetof(TDornoPlug, hostText) == 188 &&
               offsetof(TDornoPlug, criticalSection) == 448));

} // namespace keldra::native
