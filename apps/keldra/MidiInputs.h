#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/keldra/MidiQueue.h"

namespace keldra::standalone {

/// MIDI inputs that are open: what comes in is left in queues, by the threads of the MIDI systems.
class CMidiInputs {
public:
    /// Names of the inputs there are, with their systems: "alsa: Keystation 49 20:0".
    [[nodiscard]] static std::vector<std::string> List();

    /// @param wanted    number or part of a name, as Choose takes it; "none"; or empty: every input
    ///                  of the first system that runs, and one of our own for others to connect to
    /// @param addQueue  gives a queue for one more thread
    /// @param error     receives one line when the answer is null: the wanted one isn't there
    [[nodiscard]] static std::unique_ptr<CMidiInputs>
    Open(const std::string& wanted, const std::function<CMidiQueue&()>& addQueue,
         std::string& error);
    ~CMidiInputs(); ///< afterwards the queues get nothing any more
    CMidiInputs(const CMidiInputs&) = delete;
    CMidiInputs& operator=(const CMidiInputs&) = delete;

    /// Of the inputs that are open, our own left out.
    [[nodiscard]] const std::vector<std::string>& Names() const { return names_; }

private:
    struct Input;

    CMidiInputs();

    std::vector<std::unique_ptr<Input>> inputs_;
    std::vector<std::string> names_;
};

} // namespace keldra::standalone
