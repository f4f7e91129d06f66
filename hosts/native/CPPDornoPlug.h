#pragma once

#include "hosts/native/DornoHost.h"
#include "hosts/native/NativeInterface.h"

namespace keldra::native {

/// A plug-in object in C++: what the host calls by place arrives here by name, and nothing that an
/// operation throws reaches the host. Derived classes say what the operations do.
///
/// The host's view is the TDornoPlug inside, and the host gets a pointer to that: where a compiler
/// puts the rest of the object is nobody's business.
///
/// Threads as TDornoPlugTable says.
class TCPPDornoPlug : public TDornoPlug {
public:
    TCPPDornoPlug(const TCPPDornoPlug&) = delete;
    TCPPDornoPlug& operator=(const TCPPDornoPlug&) = delete;
    virtual ~TCPPDornoPlug() = default;

    // In the order of the host's table, each with the arguments that its slot has
    virtual void DestroyInstance() = 0; ///< the object is gone afterwards
    virtual std::intptr_t HandleCommand(std::int32_t id, std::int32_t index,
                                        std::intptr_t value) = 0;
    virtual void OnIdle() {}
    virtual void SaveOrLoadState(StateStream* stream, std::int32_t save) = 0;
    virtual void GetName(std::int32_t section, std::int32_t index, std::int32_t value,
                         char* text) = 0;
    virtual std::int32_t OnHostEvent(std::int32_t id, std::intptr_t value, std::int32_t flags) = 0;
    virtual std::int32_t ExchangeParameter(std::int32_t index, std::int32_t value,
                                           std::int32_t flags) = 0;
    virtual void RenderEffect(float*, std::int32_t) {}
    virtual void RenderInstrument(float* buffer, const std::int32_t* length) = 0;
    virtual VoiceHandle StartVoice(HostVoice* voice, VoiceTag tag) = 0;
    virtual void ReleaseVoice(VoiceHandle handle) = 0;
    virtual void KillVoice(VoiceHandle handle) = 0;
    virtual std::int32_t VoiceEvent(std::intptr_t, std::intptr_t, std::intptr_t, std::intptr_t,
                                    std::intptr_t)
    {
        return 0;
    }
    virtual std::int32_t RenderVoice(std::intptr_t, std::intptr_t, std::intptr_t, std::intptr_t)
    {
        return 0; // all voices are rendered together
    }
    virtual void OnTick(std::intptr_t) {}
    virtual void OnMidiTick(std::intptr_t) {}
    virtual void OnMidiIn(std::intptr_t, std::intptr_t) {}
    virtual void OnMessage(std::intptr_t, std::intptr_t) {}
    /// @param flags  without kFreeMemory an empty object stays, to be freed later
    virtual void Destroy(std::int32_t flags) = 0;
    virtual void KillAllVoices() = 0;

protected:
    TCPPDornoPlug(TDornoHost& host, HostTag tag, const PlugInfo& info);

    void StoreSampleRate(std::int32_t hz); ///< above 0

    CDornoHost host_; ///< the same as the field `host`, by name
};

} // namespace keldra::native
