#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "hosts/native/NativeInterface.h"

namespace keldra::native {

/// What one plug-in object says to its host, by name. Every call is made at once and with nothing
/// held: the host may lock, wait, or call back in it. Whatever comes back is taken with care.
class CDornoHost {
public:
    CDornoHost(TDornoHost& object, HostTag tag) : object_(object), tag_(tag) {}

    std::intptr_t Ask(EHostCode code, std::int32_t index = 0, std::intptr_t value = 0)
    {
        return object_.operations->Dispatch(&object_, tag_, code, index, value);
    }
    template <std::size_t Size>
    std::intptr_t Ask(EHostCode code, std::int32_t index, HostAnswer<Size>& answer)
    {
        return Ask(code, index, reinterpret_cast<std::intptr_t>(&answer));
    }

    /// @param value  0 .. 256
    void ReportParameter(std::int32_t index, std::int32_t value)
    {
        object_.operations->OnParameterChanged(&object_, tag_, index, value);
    }
    void ShowHint(const char* text) { object_.operations->ShowHint(&object_, tag_, text); }
    void VoiceWasReplaced(VoiceTag voice)
    {
        object_.operations->OnVoiceReplaced(&object_, voice, 0);
    }
    void AnnounceRender() { object_.operations->OnRender(&object_); }

    struct Gains {
        float left = 0.0f; ///< linear; whatever the host wrote
        float right = 0.0f;
    };
    [[nodiscard]] Gains ComputeGains(float pan, float volume)
    {
        Gains gains;
        object_.operations->ComputeGains(&object_, &gains.left, &gains.right, pan, volume);
        return gains;
    }

    /// Quarter notes; nothing when the host writes what is no number.
    [[nodiscard]] std::optional<double> SongPosition();
    /// The text that the host has for a plug-in.
    void CopyOwnText(std::span<char> text);
    /// An item of the host's menu for a parameter. Good until the next call. Null after the last.
    [[nodiscard]] const HostMenuItem* MenuItem(std::int32_t parameter, std::int32_t item)
    {
        return reinterpret_cast<const HostMenuItem*>(Ask(kGetMenuItem, parameter, item));
    }

private:
    TDornoHost& object_;
    HostTag tag_;
};

/// Copies a host's text of unknown length, cut where the buffer ends: not a byte beyond its own end
/// is read. Null is an empty text.
void CopyHostText(const char* from, std::span<char> to);

} // namespace keldra::native
