#pragma once

#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "apps/host/VstHost.h"

namespace keldra::validate {

/// What a check finds, told line by line while it runs: what it was doing is known even when the
/// module takes the process with it. A finding that comes again is told once.
class CReport {
public:
    explicit CReport(int descriptor) : descriptor_(descriptor) {}

    void Step(std::string_view doing) { Tell('.', doing); }
    /// The same for what no known host does: dying of it is no failure.
    void RudeStep(std::string_view doing) { Tell('!', doing); }
    /// @param otherwise  what a host could not live with. @return whether it holds
    bool Require(bool holds, std::string_view otherwise) { return holds || Tell('F', otherwise); }
    /// @param otherwise  what hosts live with, but their users notice or other hosts stumble over
    bool Advise(bool holds, std::string_view otherwise) { return holds || Tell('A', otherwise); }
    /// The check asks for something that this module or this machine doesn't have.
    void Skip(std::string_view why) { Tell('S', why); }

private:
    bool Tell(char kind, std::string_view text); ///< @return false

    int descriptor_;
    std::set<std::string> told_;
};

using Module = std::shared_ptr<vst::CVstModule>;

/// One question to a module. Runs in a process of its own that has just loaded it.
struct Check {
    std::string_view name;
    std::string_view promise; ///< one sentence, true when the check passes
    void (*run)(const Module& module, CReport& report);
};

// In the order in which a host would meet them.
[[nodiscard]] std::span<const Check> RecordChecks();
[[nodiscard]] std::span<const Check> ParameterChecks();
[[nodiscard]] std::span<const Check> StateChecks();
[[nodiscard]] std::span<const Check> SoundChecks();
[[nodiscard]] std::span<const Check> EditorChecks();

struct Outcome {
    enum class EKind { Passed, Skipped, Advised, Failed } kind = EKind::Passed;
    std::string findings; ///< one a line; why, when skipped
};
/// Loads the module in a new process and asks it there. What ends that process, or takes longer
/// than it may, is a finding like any other.
[[nodiscard]] Outcome RunCheck(const Check& check, const std::string& modulePath,
                               unsigned mostSeconds);

} // namespace keldra::validate
