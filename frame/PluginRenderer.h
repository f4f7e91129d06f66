#pragma once

#include <array>
#include <atomic>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include "frame/AudioBlock.h"
#include "frame/EditorFeedback.h"
#include "frame/EngineChanges.h"
#include "frame/EngineGate.h"
#include "frame/EventBuffer.h"
#include "frame/FloatControl.h"
#include "frame/SharedName.h"

namespace keldra {

class CEditorPort;
class CPluginWrapper;

inline constexpr int kKeyCount = 128;

/// Per-key settings of a host that steers its voices one by one, and the engine's count of voices.
struct KeyTables {
    KeyTables();

    std::array<float, kKeyCount> leftGain;            ///< linear
    std::array<float, kKeyCount> rightGain;           ///< linear
    std::array<float, kKeyCount> pitchOffset{};       ///< semitones
    std::array<float, kKeyCount> cutoffOffset{};      ///< of the 0 .. 1 cutoff scale
    std::array<float, kKeyCount> resonanceOffset{};   ///< of the 0 .. 1 resonance scale
    std::array<std::int32_t, kKeyCount> voiceCount{}; ///< voices sounding per key
};

/// A host's audio for one block. Channel pointers may be null.
struct HostBuffers {
    const float* const* inputs = nullptr; ///< null when the host passes none
    float* const* outputs = nullptr;
    int frames = 0;
};

/// The audio side of one plug-in instance: parameters, MIDI state, block loop. Engines derive from
/// it and override the hooks.
///
/// Threads. Parameter values, names, value texts, the program name and the state block may be read
/// and set on any thread; a set value reads back at once everywhere, and the engine applies it
/// before its next processing operation (see CEngineGate). Everything else belongs to the
/// processing thread, inside a CProcessingOperation, or to a control thread inside a
/// CControlOperation. Object construction and destruction: alone.
class CPluginRenderer : public CEventBuffer {
public:
    enum class EMode { Replacing, Accumulating };
    enum class EStart { Announced, AnyTime }; ///< of processing

    CPluginRenderer();
    ~CPluginRenderer() override;

    // MIDI entry points: note it in the tables, then call the engine's hook
    void MidiNoteOn(int key, int velocity) override;
    void MidiNoteOff(int key, int velocity) override;
    void MidiPitchBend(float bend) override;
    void MidiControlChange(int controller, int value) override;
    void MidiPolyPressure(int key, int value) override;
    void MidiChannelPressure(int value) override;
    void MidiProgramChange(int program) override;

    // Host clock. Inside an operation
    virtual void SetSampleRate(double hz); ///< a rate that isn't above 0 keeps the old one
    virtual void SetTempo(double beatsPerMinute);
    [[nodiscard]] virtual double GetTempo() const;
    virtual void SetSongPosition(double quarterNotes);
    [[nodiscard]] virtual double GetSongPosition() const; ///< quarter notes; -1 = unknown
    [[nodiscard]] virtual double GetSampleRate() const;   ///< Hz; any thread
    virtual void SetTransportPlaying(bool playing);

    /// Renders the output block's frame count into it. The frame has cleared it.
    virtual void Render();
    virtual AudioBlock* GetOutputBuffer();
    virtual AudioBlock* GetInputBuffer();

    // Program name. Any thread
    virtual void SetProgramName(std::string_view name); ///< at most 1023 characters are kept
    virtual void GetProgramName(std::span<char> text) const;

    // Parameters. Any thread
    virtual void SetParameter(int index, float value); ///< indices outside 0 .. 155 are ignored
    virtual void SetParameterName(int index, std::string_view name); ///< construction only
    [[nodiscard]] virtual float GetParameter(int index) const;       ///< 0 outside 0 .. 155
    [[nodiscard]] virtual float GetParameterDefault(int index) const;
    virtual void GetParameterName(int index, std::span<char> text) const;
    virtual void GetParameterLabel(int index, std::span<char> text) const; ///< unit: empty
    virtual void GetParameterDisplay(int index, std::span<char> text) const;

    // State. Any thread
    /// @param buffer  null, or room for the block. @return its size in bytes
    virtual int GetChunk(void* buffer) const;
    /// @return true when the block was accepted
    virtual bool SetChunk(const void* data, int size);

    // Engine hooks: the frame's tables are up to date. Inside an operation
    virtual void NoteOn(int key);
    virtual void NoteOff(int key);
    virtual void PitchBendChanged();
    virtual void ControlChange(int controller);
    virtual void PolyPressureChanged(int key);
    virtual void ChannelPressureChanged();
    virtual void ProgramChange(int program);

    virtual int GetOutputTarget(int outputPair) const;
    virtual int
    Reserved36() const; ///< nobody calls it; it keeps the slots after it in their places
    virtual void GetAuxName(int index, std::span<char> text) const; ///< leaves the text as it is

    // Beyond the slots

    /// Processing is about to begin: what a block will need should be at hand. Nothing sounds.
    /// Inside an operation of a control thread
    virtual void PrepareToProcess() {}

    /// Processing thread: renders a host block in pieces that end where its queued events are due,
    /// and empties the queue. When another thread has the engine just then (sample-rate change,
    /// resume), the block is silent and its events wait for the next.
    void ProcessBlock(const HostBuffers& buffers, EMode mode);

    /// Leaves a MIDI message for the next operation, in its turn among the other changes: for hosts
    /// that send notes between their blocks. Any thread; never waits or allocates.
    /// @return false when there is no room for it
    [[nodiscard]] bool PostMidi(const MidiMessage& message);

    /// Any thread but the processing one. Stops all sound; processing is on or off afterwards.
    void SwitchProcessing(bool on);
    /// Any thread but the processing one. A rate that isn't above 0 only stops all sound.
    /// @param start  whether the host will say so (SwitchProcessing) before it processes
    void ChangeSampleRate(double hz, EStart start = EStart::Announced);

    /// Sets many parameters as one: no block is rendered with a part of them. Any thread.
    void ChangeProgram(const ProgramValues& change);
    /// All parameters to their defaults, the name to "<noname>". Any thread.
    void ResetProgram();

    /// Tells the host of a parameter that the plug-in moved: at once, or when the caller has the
    /// engine, as soon as it is let go. Any thread.
    void ReportAutomation(int index, float value);

    void SetHostWrapper(CPluginWrapper* wrapper) { hostWrapper_ = wrapper; }
    [[nodiscard]] CPluginWrapper* HostWrapper() const { return hostWrapper_; }
    void SetEditor(CEditorPort* editor) { editor_ = editor; }
    [[nodiscard]] CEditorPort* Editor() const { return editor_; }
    [[nodiscard]] CEditorFeedback& Feedback() { return feedback_; }
    [[nodiscard]] KeyTables& Keys() { return keys_; }

protected:
    /// Makes the engine follow a value that is stored already. The thread that has the engine.
    virtual void ApplyParameter(int index, float value);
    /// Plays or, with velocity 0, releases a key of the editor's keyboard. Likewise.
    virtual void ApplyKeyboardNote(int key, float velocity);

    /// Has a change applied in its turn: now when the caller has or can take the engine, else
    /// before the next processing operation. Any thread; waits only while processing is off.
    void RequestChange(EngineChange change);

    /// All 156 values as one program, not a mixture with one that another thread is loading: waits
    /// for its end, at most for some 50 ms. Any thread but the processing one.
    void CopyValues(std::span<float, kParameterCount> values) const;

    /// Values and name as a state block. @param buffer  null, or room for it. @return its size in
    /// bytes. Any thread but the processing one
    int SaveState(void* buffer) const;
    /// Takes what a state block holds; what it lacks has its default. Any thread.
    /// @return true when the block was whole
    bool LoadState(const void* data, int size);

    /// While a queued change is applied: whether the parameter was set after that change was made.
    /// What the change brings with it (a controller's links) is older then, and must not be stored.
    [[nodiscard]] bool IsSetSince(int index) const;

    void SetController(int controller, float value);
    [[nodiscard]] float Controller(int controller) const
    {
        return controllers_[static_cast<std::size_t>(controller)];
    }
    void SetBend(float bend);
    [[nodiscard]] float Bend() const { return bend_; }
    void SetKeyVelocity(int key, float velocity)
    {
        keyVelocity_[static_cast<std::size_t>(key)] = velocity;
    }
    [[nodiscard]] float KeyVelocity(int key) const
    {
        return keyVelocity_[static_cast<std::size_t>(key)];
    }
    [[nodiscard]] std::span<const float, kKeyCount> KeyVelocities() const { return keyVelocity_; }

    /// What a wheel was last set to, from wherever: reads back at once on any thread.
    struct WheelValues {
        std::atomic<float> mod{0.0f};  ///< controller 1, 0 .. 1
        std::atomic<float> bend{0.5f}; ///< 0 .. 1
    };
    WheelValues wheels_;

    AudioBlock input_;
    AudioBlock output_;

private:
    friend class CProcessingOperation;
    friend class CControlOperation;

    struct ParameterRecord {
        std::atomic<float> value{0.0f};
        std::atomic<std::uint64_t> store{0}; ///< which store it was that set the value
        std::array<char, 128> name{};
    };
    struct Report {
        int index;
        float value;
    };
    static constexpr std::size_t kMaxReports = 512;
    /// Reports of one operation; what doesn't fit is told as the value it has in the end.
    struct Reports {
        std::array<Report, kMaxReports> list; // not initialised: made anew for each operation
        std::size_t count = 0;
        std::bitset<kParameterCount> rest;
    };

    [[nodiscard]] static bool IsStored(int index) { return index >= 0 && index < kParameterCount; }
    void Apply(const EngineChange& change);
    void StoreProgram(const ProgramValues& program);
    void StoreValues(const ProgramValues& program);
    std::uint64_t NextStore();
    void Store(int index, float value, std::uint64_t store);
    void ReadValues(std::span<float, kParameterCount> values) const;
    void ApplyProgram(const ProgramValues& program);
    /// Calls `read`, which reads stored values.
    /// @param loadsDone  loadsEnded_ or loadsQueued_: how far those before have to have come
    /// @return false when a program was being stored meanwhile: what was read is a mixture
    template <typename Read>
    bool ReadBetweenLoads(const std::atomic<std::uint32_t>& loadsDone, Read&& read) const;
    void Follow(int index, float value);
    void AgreeWithStored();
    void ApplyPending();
    bool Resync();
    void TakeReports(Reports& reports);
    void SendReports(const Reports& reports);
    void RunBlockLoop(const HostBuffers& buffers, EMode mode);
    void DispatchDue(const EventNode*& event, int& framesToNext);

    KeyTables keys_;
    std::atomic<double> sampleRate_{0.0};
    std::atomic<double> tempo_{120.0};
    std::atomic<double> songPosition_{-1.0};
    CSharedName programName_;
    std::unique_ptr<ParameterRecord[]> records_;
    CEditorPort* editor_ = nullptr;
    CPluginWrapper* hostWrapper_ = nullptr;
    std::array<float, kKeyCount> keyVelocity_{};
    std::array<float, 128> controllers_{};
    float bend_ = 0.0f;
    std::array<float, kKeyCount> polyPressure_{};
    float channelPressure_ = 0.0f;

    CEngineGate gate_;
    CEngineChanges changes_;
    std::atomic<std::uint64_t> stores_{0};  ///< how many times values were stored
    const EngineChange* drained_ = nullptr; ///< the queued change that is being applied
    std::atomic<bool> resync_{false}; ///< changes found no room: follow all stored values again
    std::array<std::atomic<float>, kKeyCount> keyboardWanted_{}; ///< velocities, for the resync
    std::array<float, kKeyCount> keyboardPlayed_{};
    std::atomic<std::uint32_t> loadsBegun_{0};  ///< program loads that began to store values
    std::atomic<std::uint32_t> loadsEnded_{0};  ///< and have stored them
    std::atomic<std::uint32_t> loadsQueued_{0}; ///< and have them in the queue, or applied
    std::atomic<std::uint32_t> ownerStores_{0}; ///< odd while the engine's owner stores a program
    std::mutex controlLoads_; ///< control threads among themselves while they store a program
    std::array<float, kParameterCount> followed_{}; ///< values the engine was last told
    std::bitset<kParameterCount> touched_;          ///< told since it last agreed with the stored
    CEditorFeedback feedback_;
    Reports reports_; ///< belongs to the thread that has the engine
};

/// One operation of the processing thread: takes the engine, applies what other threads wanted
/// changed, sets the floating-point mode, and gives all back. What the engine reported meanwhile
/// reaches the host after the engine was let go.
class CProcessingOperation {
public:
    explicit CProcessingOperation(CPluginRenderer& renderer);
    ~CProcessingOperation();
    CProcessingOperation(const CProcessingOperation&) = delete;
    CProcessingOperation& operator=(const CProcessingOperation&) = delete;

    /// False when another thread has the engine: the operation must be left out.
    [[nodiscard]] bool MayRun() const { return nested_ || entered_; }

private:
    CPluginRenderer& renderer_;
    bool nested_; ///< the thread has the engine already: a host called back from inside
    bool entered_;
    std::optional<CFloatControl> floatControl_;
};

/// The same for a control thread.
class CControlOperation {
public:
    CControlOperation(CPluginRenderer& renderer, CControlScope::EWhen when);
    ~CControlOperation();
    CControlOperation(const CControlOperation&) = delete;
    CControlOperation& operator=(const CControlOperation&) = delete;

    [[nodiscard]] bool MayRun() const { return scope_->OwnsEngine(); }
    void TurnProcessing(bool on); ///< processing is on or off from now on

private:
    CPluginRenderer& renderer_;
    bool nested_;
    std::optional<CControlScope> scope_;
};

} // namespace keldra
