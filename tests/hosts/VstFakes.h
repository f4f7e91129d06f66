#pragma once

#include <array>
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
#include "frame/Text.h"
#include "hosts/vst/VSTWrapper.h"

// What a VST binding stands between: an engine and an editor that write down what they are told,
// and a host that writes down what it is asked. All write into one journal, so that the order
// shows.

namespace keldra::test {

using Lines = std::vector<std::string>;

class CJournal {
public:
    void Note(std::string line)
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
    }
    void Note(const char* what, double number)
    {
        std::array<char, 64> text;
        CTextWriter(text).AppendFixed(number, 2);
        Note(std::string(what) + " " + text.data());
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

    void SetSampleRate(double hz) override
    {
        keysHeld_ = 0;
        journal.Note("rate", hz);
        CPluginRenderer::SetSampleRate(hz);
    }
    void SetTempo(double beatsPerMinute) override { journal.Note("tempo", beatsPerMinute); }
    void SetSongPosition(double quarters) override { journal.Note("position", quarters); }
    void SetTransportPlaying(bool playing) override
    {
        journal.Note(playing ? "playing" : "stopped");
    }
    void Render() override;
    void NoteOn(int key) override
    {
        ++keysHeld_;
        journal.Note("on " + std::to_string(key));
    }
    void NoteOff(int) override { --keysHeld_; }
    void ControlChange(int controller) override; ///< controller 20 moves parameter 3
    void GetParameterLabel(int, std::span<char> text) const override
    {
        CopyText(std::string(100, 'l'), text);
    }
    void GetParameterDisplay(int index, std::span<char> text) const override
    {
        CopyText(index == 1 ? std::string(100, 'd') : "50000 ms", text);
    }
    int GetChunk(void* buffer) const override;
    bool SetChunk(const void* data, int size) override;

    static inline std::atomic<CFakeRenderer*> newest{nullptr}; ///< the one made last

private:
    int keysHeld_ = 0;
};

/// How the definition and what it makes behave.
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
    bool Load() { return (effect = vst::CreateVstInstance(&Callback)) != nullptr; }
    void Close()
    {
        if (effect != nullptr)
            Dispatch(vst::effClose);
        effect = nullptr;
    }
    vst::VstIntPtr Dispatch(vst::VstInt32 opcode, vst::VstInt32 index = 0, vst::VstIntPtr value = 0,
                            void* ptr = nullptr, float opt = 0.0f)
    {
        return effect->dispatcher(effect, opcode, index, value, ptr, opt);
    }
    /// A text opcode's answer in a buffer of 512 times 0x55.
    [[nodiscard]] std::string Text(vst::VstInt32 opcode, vst::VstInt32 index = 0);
    void SendEvents(const std::vector<vst::VstEvent*>& events); ///< as one list
    void SendMidi(std::vector<vst::VstMidiEvent> events);
    /// A block over outputs that hold `before`. @return the left channel
    std::vector<float> Process(int frames, float before = 0.25f);

    vst::AEffect* effect = nullptr;
    vst::VstInt32 version = 2400;
    const char* product = "Fake";
    vst::VstTimeInfo time{};
    bool hasTime = false;
    std::function<void(vst::VstInt32 opcode)> onCallback; ///< before the answer

private:
    static vst::VstIntPtr KELDRA_VST_CALL Callback(vst::AEffect* effect, vst::VstInt32 opcode,
                                                   vst::VstInt32 index, vst::VstIntPtr value,
                                                   void* ptr, float opt);
    static inline CFakeHost* current_ = nullptr;
};

/// A message `frames` into the block, with what some hosts leave in its last byte.
vst::VstMidiEvent Midi(int frames, int status, int data1, int data2);

} // namespace keldra::test
