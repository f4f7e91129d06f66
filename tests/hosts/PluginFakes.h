#pragma once

#include <atomic>
#include <iomanip>
#include <locale>
#include <memory>
#include <mutex>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "frame/EditorPort.h"
#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"

// What a binding stands between: an engine and an editor that write down what they are told. The
// host writes into the same journal, so that the order shows.

namespace keldra::test {

using Lines = std::vector<std::string>;

/// "on 60 0.5": what it was, and some numbers, to seven digits.
template <typename... Numbers>
std::string Words(const char* what, Numbers... numbers)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::setprecision(7) << what;
    ((text << " " << numbers), ...);
    return text.str();
}

class CJournal {
public:
    void Note(std::string line)
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
    }
    /// What was noted since the last call.
    [[nodiscard]] Lines Take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    Lines lines_;
};

inline CJournal journal;

/// Renders 0.5 while a key is held. Keeps parameters and a state block as a synthesizer does.
class CFakeRenderer final : public CPluginRenderer {
public:
    CFakeRenderer();
    ~CFakeRenderer() override { journal.Note("renderer gone"); }

    void SetSampleRate(double hz) override; ///< lets the keys go
    void SetTempo(double beatsPerMinute) override { journal.Note(Words("tempo", beatsPerMinute)); }
    void SetSongPosition(double quarters) override { journal.Note(Words("position", quarters)); }
    void SetTransportPlaying(bool playing) override
    {
        journal.Note(playing ? "playing" : "stopped");
    }
    void Render() override;
    void MidiNoteOn(int key, int velocity) override;
    void MidiNoteOff(int key, int velocity) override;
    void MidiControlChange(int controller, int value) override; ///< 20 moves parameter 3
    void MidiChannelPressure(int value) override { journal.Note(Words("pressure", value)); }
    void GetParameterLabel(int index, std::span<char> text) const override;
    void GetParameterDisplay(int index, std::span<char> text) const override;
    int GetChunk(void* buffer) const override;
    bool SetChunk(const void* data, int size) override;

    static inline std::atomic<CFakeRenderer*> newest{nullptr}; ///< the one made last

private:
    int keysHeld_ = 0;
    int framesRendered_ = 0;
};

/// How the definition and what it makes behave.
struct FakeBehaviour {
    bool allowsInstances = true;
    bool skinLoads = true;
    bool windowOpens = true;
    /// Renders 1, 2, 3 and so on to the left, the same below 0 to the right, and notes the blocks.
    bool countsFrames = false;
};

class CFakeDefinition final : public CPluginInstance {
public:
    CFakeDefinition();
    [[nodiscard]] bool CanCreateInstance() const override { return behaviour.allowsInstances; }
    [[nodiscard]] std::unique_ptr<CPluginRenderer> CreateRenderer() const override;
    [[nodiscard]] std::unique_ptr<CEditorPort> CreateEditor() const override;

    FakeBehaviour behaviour;
};

CFakeDefinition& Definition();

} // namespace keldra::test
