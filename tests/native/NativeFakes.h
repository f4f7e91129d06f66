#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "frame/EditorPort.h"
#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"

// What a native binding stands between: an engine and an editor that write down what they are told.
// The host writes into the same journal, so that the order shows.

namespace keldra::test {

using Lines = std::vector<std::string>;

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

/// Renders 1, 2, 3 and so on to the left, the same below 0 to the right. Controller 20 moves
/// parameter 3.
class CFakeRenderer final : public CPluginRenderer {
public:
    CFakeRenderer();
    ~CFakeRenderer() override { journal.Note("renderer gone"); }

    void MidiNoteOn(int key, int velocity) override;
    void MidiNoteOff(int key, int velocity) override;
    void MidiControlChange(int controller, int value) override;
    void MidiChannelPressure(int value) override;
    void SetSampleRate(double hz) override;
    void SetTempo(double beatsPerMinute) override;
    void SetSongPosition(double quarterNotes) override;
    void SetTransportPlaying(bool playing) override;
    void Render() override;
    void GetParameterLabel(int index, std::span<char> text) const override;
    int GetChunk(void* buffer) const override;
    bool SetChunk(const void* data, int size) override;

    static inline std::atomic<CFakeRenderer*> newest{nullptr}; ///< the one made last

private:
    int framesRendered_ = 0;
};

class CFakeEditor final : public CEditorPort {
public:
    ~CFakeEditor() override { journal.Note("editor gone"); }
    void Connect(CPluginRenderer& renderer, CPluginWrapper& host) override;
    bool LoadSkin() override;
    [[nodiscard]] EditorSize WindowSize() const override { return {521, 855}; }
    bool Open(void* parent) override;
    void Close() override;
    [[nodiscard]] bool IsOpen() const override { return parent_ != nullptr; }
    /// One above the window that it was opened in.
    [[nodiscard]] void* WindowHandle() const override;

private:
    void* parent_ = nullptr;
};

/// How the definition behaves in a test.
struct FakeBehaviour {
    bool allowsInstances = true;
    bool hasRenderer = true;
    bool memoryIsShort = false; ///< CreateRenderer throws
    bool hasEditor = true;
    bool skinLoads = true;
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
