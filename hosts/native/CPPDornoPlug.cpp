#include "hosts/native/CPPDornoPlug.h"

namespace keldra::native {

namespace {

constexpr std::int32_t kRateBeforeTheHostSays = 44100;
constexpr double kC5Hz = 523.2511306;
constexpr double kPhaseRange = 4294967296.0; // 2^32

/// The function that stands in a slot and calls an operation.
template <auto Operation>
struct Slot;
template <typename Result, typename... Arguments,
          Result (TCPPDornoPlug::*Operation)(Arguments... arguments)>
struct Slot<Operation> {
    /// @return what the host gets as well when the operation fails: nothing or 0
    static Result KELDRA_NATIVE_CALL Call(TDornoPlug* plug, Arguments... arguments)
    {
        try {
            if (plug != nullptr)
                return (static_cast<TCPPDornoPlug*>(plug)->*Operation)(arguments...);
        } catch (...) {
        }
        return Result();
    }
};

// The table's own types see to it that each slot has the arguments that the host passes.
constexpr TDornoPlugTable kOperations = {
    Slot<&TCPPDornoPlug::DestroyInstance>::Call,
    Slot<&TCPPDornoPlug::HandleCommand>::Call,
    Slot<&TCPPDornoPlug::OnIdle>::Call,
    Slot<&TCPPDornoPlug::SaveOrLoadState>::Call,
    Slot<&TCPPDornoPlug::GetName>::Call,
    Slot<&TCPPDornoPlug::OnHostEvent>::Call,
    Slot<&TCPPDornoPlug::ExchangeParameter>::Call,
    Slot<&TCPPDornoPlug::RenderEffect>::Call,
    Slot<&TCPPDornoPlug::RenderInstrument>::Call,
    Slot<&TCPPDornoPlug::StartVoice>::Call,
    Slot<&TCPPDornoPlug::ReleaseVoice>::Call,
    Slot<&TCPPDornoPlug::KillVoice>::Call,
    Slot<&TCPPDornoPlug::VoiceEvent>::Call,
    Slot<&TCPPDornoPlug::RenderVoice>::Call,
    Slot<&TCPPDornoPlug::OnTick>::Call,
    Slot<&TCPPDornoPlug::OnMidiTick>::Call,
    Slot<&TCPPDornoPlug::OnMidiIn>::Call,
    Slot<&TCPPDornoPlug::OnMessage>::Call,
    Slot<&TCPPDornoPlug::Destroy>::Call,
    Slot<&TCPPDornoPlug::KillAllVoices>::Call,
};

} // namespace

TCPPDornoPlug::TCPPDornoPlug(TDornoHost& hostObject, HostTag tag, const PlugInfo& plugInfo)
    : TDornoPlug{}, host_(hostObject, tag)
{
    operations = &kOperations;
    hostTag = tag;
    info = &plugInfo;
    host = &hostObject;
    StoreSampleRate(kRateBeforeTheHostSays);
    host_.CopyOwnText(hostText);
}

void TCPPDornoPlug::StoreSampleRate(std::int32_t hz)
{
    sampleRate = hz;
    c5Increment = static_cast<float>(kPhaseRange * kC5Hz / hz);
}

} // namespace keldra::native
