#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "fuzz/Input.h"
#include "hosts/vst/VstInterface.h"

namespace keldra::fuzz {

using namespace vst;

/// What effects are answered from; null for the answers of a polite host.
inline CInput* hostInput = nullptr;

/// Whatever comes, but never a pointer to nowhere.
inline VstIntPtr KELDRA_VST_CALL HostileAnswer(AEffect* effect, VstInt32 opcode, VstInt32,
                                               VstIntPtr, void* ptr, float)
{
    if (hostInput == nullptr)
        return opcode == audioMasterVersion ? kVstVersion : 0;
    CInput& input = *hostInput;
    static VstTimeInfo time;
    switch (opcode) {
    case audioMasterVersion:
        return input.OneIn(40) ? 0 : kVstVersion;
    case audioMasterGetTime:
        time.tempo = static_cast<double>(input.AnyFloat()) * 120.0;
        time.ppqPos = static_cast<double>(input.AnyFloat());
        time.flags = input.ConsumeIntegral<VstInt32>();
        return input.OneIn(4) ? 0 : reinterpret_cast<VstIntPtr>(&time);
    case audioMasterGetVendorString:
    case audioMasterGetProductString:
        std::strcpy(static_cast<char*>(ptr), input.ConsumeRandomLengthString(300).c_str());
        return 1;
    case audioMasterAutomate: // some call back at once
        return effect != nullptr ? static_cast<VstIntPtr>(
                                       effect->getParameter(effect, input.AnyInt()) * 0.0f == 0.0f)
                                 : 0;
    default:
        return input.AnyInt();
    }
}

/// An instance that is there from the first input to the last: to make one costs more than all that
/// an input does. Never closed; it keeps the skin in memory, too.
inline AEffect& KeptEffect(VstPluginMainProc entry)
{
    static AEffect* const effect = entry(HostileAnswer);
    return *effect;
}

/// Makes of it what it was when it was made.
inline void ResetEffect(AEffect& effect)
{
    hostInput = nullptr;
    const auto tell = [&effect](VstInt32 opcode, VstIntPtr value = 0, void* ptr = nullptr,
                                float opt = 0.0f) {
        effect.dispatcher(&effect, opcode, 0, value, ptr, opt);
    };
    tell(effEditClose);
    tell(effSetSampleRate, 0, nullptr, 8000.0f); // tapes of two seconds are most of the work
    VstMidiEvent midi{};
    midi.type = kVstMidiType;
    std::memcpy(midi.midiData, "\xB0\x79", 3); // all controllers
    VstEvents list{};
    list.numEvents = 1;
    list.events[0] = reinterpret_cast<VstEvent*>(&midi);
    tell(effProcessEvents, 0, &list);
    float left = 0.0f, right = 0.0f;
    float* outputs[] = {&left, &right};
    effect.processReplacing(&effect, nullptr, outputs, 1);
    char noState[] = "none: all values go back to their defaults";
    tell(effSetChunk, sizeof(noState), noState);
    tell(effMainsChanged);
}

/// A list of events as published, but as long as it has to be: null ones, other kinds, sizes and
/// times that say nothing.
inline void SendHostileEvents(CInput& input, AEffect& effect)
{
    struct {
        VstInt32 numEvents;
        VstIntPtr reserved;
        VstEvent* events[16];
    } list{};
    std::array<VstMidiEvent, 16> events{};
    list.numEvents = input.ConsumeIntegralInRange(-1, 16);
    for (int i = 0; i < list.numEvents; ++i) {
        VstMidiEvent& event = events[static_cast<std::size_t>(i)];
        event.type = input.PickValueInArray({1, 1, 1, 6, 0});
        event.byteSize = input.AnyInt();
        event.deltaFrames = input.PickValueInArray({0, 10 * i, input.AnyInt()});
        for (char& byte : event.midiData)
            byte = input.ConsumeIntegral<char>();
        event.midiData[0] =
            input.PickValueInArray<char>({'\x90', '\x90', '\xB0', event.midiData[0]});
        if (!input.OneIn(20))
            list.events[i] = reinterpret_cast<VstEvent*>(&event);
    }
    effect.dispatcher(&effect, effProcessEvents, 0, 0, &list, 0.0f);
}

/// Bytes that effects may write where an opcode has them write a text; plenty for all others.
inline std::size_t RoomFor(VstInt32 opcode)
{
    switch (opcode) {
    case effGetProgramName:
    case effGetProgramNameIndexed:
        return kVstMaxProgNameLen + 1;
    case effGetParamLabel:
        return kVstMaxParamStrLen + 1;
    case effGetParamDisplay: // beyond the published 8, but every host is known to give them
        return 16;
    case effGetEffectName:
        return kVstMaxEffectNameLen;
    case effGetParamName:
    case effGetVendorString:
    case effGetProductString:
        return kVstMaxVendorStrLen;
    default:
        return 2048;
    }
}

} // namespace keldra::fuzz
