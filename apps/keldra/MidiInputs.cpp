#include "apps/keldra/MidiInputs.h"

#include <RtMidi.h>
#include <algorithm>
#include <optional>

#include "apps/keldra/Choice.h"
#include "apps/keldra/QuietStderr.h"

namespace keldra::standalone {

namespace {

// The same hardware often shows up on both: the first one that runs is enough.
constexpr RtMidi::Api kSystems[] = {RtMidi::LINUX_ALSA, RtMidi::UNIX_JACK};

constexpr const char* kClientName = "Keldra MIDI";
constexpr std::string_view kLoop = "Midi Through"; ///< of ALSA: hands on what other programs send

struct Port {
    RtMidi::Api system;
    unsigned number;
    std::string name; ///< without the system
};

std::string FullName(const Port& port)
{
    return RtMidi::getApiName(port.system) + ": " + port.name;
}

/// Runs whatever may find that a system isn't there. @return false when it does
template <typename Action>
bool Try(Action&& action)
{
    try {
        action();
        return true;
    } catch (const RtMidiError&) {
        return false;
    }
}

bool IsCompiled(RtMidi::Api system)
{
    std::vector<RtMidi::Api> compiled;
    RtMidi::getCompiledApi(compiled);
    return std::find(compiled.begin(), compiled.end(), system) != compiled.end();
}

/// @return nothing when the system doesn't run
std::optional<std::vector<Port>> PortsOf(RtMidi::Api system)
{
    std::vector<Port> ports;
    const bool runs = IsCompiled(system) && Try([&] {
                          RtMidiIn input(system, kClientName);
                          const unsigned count = input.getPortCount();
                          for (unsigned i = 0; i < count; ++i)
                              ports.push_back({system, i, input.getPortName(i)});
                      });
    return runs ? std::optional(std::move(ports)) : std::nullopt;
}

std::vector<Port> AllPorts()
{
    std::vector<Port> all;
    for (const RtMidi::Api system : kSystems)
        if (const auto ports = PortsOf(system))
            all.insert(all.end(), ports->begin(), ports->end());
    return all;
}

} // namespace

struct CMidiInputs::Input {
    Input(RtMidi::Api system, CMidiQueue& target) : queue(target), midi(system, kClientName)
    {
        midi.setCallback(OnMessage, this);
    }

    static void OnMessage(double, std::vector<unsigned char>* message, void* self)
    {
        // Full when nobody plays: then there is nothing to be late for.
        static_cast<void>(static_cast<Input*>(self)->queue.Push(*message));
    }

    CMidiQueue& queue;
    RtMidiIn midi;
};

CMidiInputs::CMidiInputs() = default;

CMidiInputs::~CMidiInputs()
{
    const CQuietStderr quiet;
    inputs_.clear();
}

std::vector<std::string> CMidiInputs::List()
{
    const CQuietStderr quiet;
    std::vector<std::string> names;
    for (const Port& port : AllPorts())
        names.push_back(FullName(port));
    return names;
}

std::unique_ptr<CMidiInputs> CMidiInputs::Open(const std::string& wanted,
                                               const std::function<CMidiQueue&()>& addQueue,
                                               std::string& error)
{
    const CQuietStderr quiet;
    std::unique_ptr<CMidiInputs> inputs(new CMidiInputs);
    const auto open = [&](const Port& port) {
        return Try([&] {
            auto input = std::make_unique<Input>(port.system, addQueue());
            input->midi.openPort(port.number, "in");
            inputs->inputs_.push_back(std::move(input));
            inputs->names_.push_back(FullName(port));
        });
    };
    if (wanted == "none")
        return inputs;
    if (!wanted.empty()) {
        const std::vector<Port> ports = AllPorts();
        std::vector<std::string> names;
        for (const Port& port : ports)
            names.push_back(FullName(port));
        const std::optional<std::size_t> chosen = Choose(names, wanted, "MIDI input", error);
        if (!chosen)
            return nullptr;
        if (!open(ports[*chosen])) {
            error = names[*chosen] + ": can't be opened";
            return nullptr;
        }
        return inputs;
    }
    for (const RtMidi::Api system : kSystems) {
        const auto ports = PortsOf(system);
        if (!ports)
            continue;
        static_cast<void>(Try([&] {
            auto input = std::make_unique<Input>(system, addQueue());
            input->midi.openVirtualPort("in");
            inputs->inputs_.push_back(std::move(input));
        }));
        for (const Port& port : *ports)
            if (!port.name.starts_with(kLoop))
                static_cast<void>(open(port));
        break;
    }
    return inputs;
}

} // namespace keldra::standalone
