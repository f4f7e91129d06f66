#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/vst/VstInterface.h"

namespace keldra::vst {
class CVstHost;
}

namespace keldra::render {

/// One parameter as a user sets it, not yet looked up in a module.
struct ParameterSetting {
    std::string parameter; ///< name or number
    std::string value;     ///< number, or one of an engine setting's words
    std::string source;    ///< where it was written, for messages
};

/// Splits "Flt. Cutoff = 0.4". @return nothing when there is no "=", no name or no value
[[nodiscard]] std::optional<ParameterSetting> ParseSetting(std::string_view text);

inline constexpr vst::VstInt32 kKeldraId = 0x53617757;

struct ParameterValue {
    int index = 0;
    float value = 0.0f;
};

/// The parameters of one module, to look settings up in. Names count whatever their case; the first
/// of equal names is meant.
class CParameterNames {
public:
    explicit CParameterNames(const vst::CVstHost& host);

    /// By name: a value 0 .. 1; for an engine setting one of its words; for "NAME CC", the link of
    /// a named parameter, the controller that moves it, or "none". By number: the same, but the
    /// stored number for an engine setting (74 .. 80).
    /// @param error  receives one line, beginning with the setting's source, when the answer is
    ///               nothing: no such parameter, or no such value
    [[nodiscard]] std::optional<ParameterValue> Resolve(const ParameterSetting& setting,
                                                        std::string& error) const;

private:
    [[nodiscard]] std::optional<int> IndexOf(std::string_view name) const;
    [[nodiscard]] std::optional<ParameterValue>
    ResolveByNumber(int index, const ParameterSetting& setting, std::string& error) const;

    std::vector<std::string> names_; ///< by index
    bool isKeldra_;
};

} // namespace keldra::render
