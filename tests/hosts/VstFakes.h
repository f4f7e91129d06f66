#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "frame/EditorPort.h"
#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"
#include "hosts/vst/VSTWrapper.h"

// What a VST binding stands between: an engine and an editor that write down what they are told,
// and a host that writes down what it is asked. All write into one journal, so that the order
// shows.

namespace keldra::test {

class CJournal {
public:
    void Note(std::string line)
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
    }
    /// What was noted since the last call.
    [[nodiscard]] std::vector<std::string> Take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

using Lines = std::vector<std::string>;
inline CJournal journal;

/// Renders 0.5 while a key is held. Keeps parameters and a state block as a synthesizer does.
class CFakeRenderer final : public CPluginRenderer {
public:
    CFakeRenderer();
    ~CFakeRenderer() override;

    void SetSampleRate(double hz) override;
    void SetTempo(double beatsPerMinute) override;
    void SetSongPosition(double quarterNotes) override;
    void SetTransportPlaying(bool playing) override;
    void Render() override;
    void NoteOn(int key) override;
    void NoteOff(int key) override;
    void ControlChange(int controller) override; ///< controller 20 moves parameter 3
    void GetParameterLabel(int index, std::span<char> text) const override;
    void GetParameterDisplay(int index, std::span<char> text) const override;
    int GetChunk(void* buffer) const override;
    bool SetChunk(const void* data, int size) override;

    static inline std::atomic<CFakeRenderer*> newest{nullptr}; ///< the one made last

private:
    int keysHeld_ = 0;
};

class CFakeEditor final : public CEditorPort {
public:
    ~CFakeEditor() override;
    void Connect(CPluginRenderer& renderer, CPluginWrapper& host) override;
    void BuildPanel() override;
    bool LoadSkin() override;
    [[nodiscard]] EditorSize WindowSize() const override { return {521, 855}; }
    bool Open(void* parent) override;
    void Close() override;
    [[nodiscard]] bool IsOpen() const override { return open_; }
    [[nodiscard]] void* WindowHandle() const override { return nullptr; }

private:
    bool open_ = false;
};

/// How the definition behaves in a test. Restored by CVstBindingTest.
struct FakeBehaviour {
    bool allowsInstances = true;
    bool hasRenderer = true;
    bool memoryIsShort = false; ///< CreateRenderer throws
    bool hasEditor = true;
    bool skinLoads = true;
    bool windowOpens = true;
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

/// The host side of one instance.
class CFakeHost {
public:
    CFakeHost() { current_ = this; }
    ~CFakeHost() { Close(); }
    CFakeHost(const CFakeHost&) = delete;
    CFakeHost& operator=(const CFakeHost&) = delete;

    /// Calls the entry. @return whether there is an instance now
    bool Load();
    void Close();

    vst::VstIntPtr Dispatch(vst::VstInt32 opcode, vst::VstInt32 index = 0, vst::VstIntPtr value = 0,
                            void* ptr = nullptr, float opt = 0.0f);
    /// A text opcode's answer in a buffer of 0x55.
    [[nodiscard]] std::string Text(vst::VstInt32 opcode, vst::VstInt32 index = 0);
    /// Sends events as one list.
    void SendEvents(std::vector<vst::VstEvent*> events);
    void SendMidi(std::initializer_list<vst::VstMidiEvent> events);
    /// A block over outputs that hold `before`. @return the left channel
    std::vector<float> Process(int frames, float before = 0.25f);

    static vst::VstIntPtr KELDRA_VST_CALL Callback(vst::AEffect* effect, vst::VstInt32 opcode,
                                                   vst::VstInt32 index, vst::VstIntPtr value,
                                                   void* ptr, float opt);

    vst::AEffect* effect = nullptr;
    vst::VstInt32 version = 2400;
    vst::VstTimeInfo time{};
    bool hasTime = false;
    std::function<void(vst::VstInt32 opcode)> onCallback; ///< before the answer

private:
    static CFakeHost* current_;
};

/// A note-on or the like, `frames` into the block.
vst::VstMidiEvent Midi(int frames, int status, int data1, int data2);

} // namespace keldra::test
