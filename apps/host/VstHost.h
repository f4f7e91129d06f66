#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hosts/vst/VstInterface.h"

namespace keldra::vst {

/// A plug-in module loaded from a file. Unloaded with its last owner; every CVstHost is one.
class CVstModule {
public:
    /// @param path   of the module; one without a slash is looked up as the system does
    /// @param error  receives one line saying why not, when the answer is null
    static std::shared_ptr<CVstModule> Load(const std::string& path, std::string& error);
    /// For an entry that is linked into the program itself.
    static std::shared_ptr<CVstModule> FromEntry(VstPluginMainProc entry);
    ~CVstModule();
    CVstModule(const CVstModule&) = delete;
    CVstModule& operator=(const CVstModule&) = delete;

    [[nodiscard]] VstPluginMainProc Entry() const { return entry_; }

private:
    CVstModule() = default;

    void* handle_ = nullptr;
    VstPluginMainProc entry_ = nullptr;
};

/// What the host knows of the song at the start of a block.
struct HostTransport {
    bool known = true; ///< false: the plug-in learns nothing of time
    bool playing = false;
    double tempoBpm = 120.0;
    double quarterNotes = 0.0; ///< song position
    int beatsPerBar = 4;
    int beatUnit = 4; ///< 4 = quarter notes
    /// Where the bar of the position starts; the plug-in learns it only when it is there.
    std::optional<double> barStartQuarters = std::nullopt;
};

/// What a plug-in tells its host. Called on the plug-in's thread of the moment, processing thread
/// included: must be quick and safe there. The base does nothing.
class CVstHostClient {
public:
    virtual void OnAutomate(int /*index*/, float /*value*/) {}
    virtual void OnBeginEdit(int /*index*/) {}
    virtual void OnEndEdit(int /*index*/) {}
    virtual bool OnSizeWindow(int /*width*/, int /*height*/) { return false; } ///< true = done
    virtual void OnUpdateDisplay() {}

protected:
    ~CVstHostClient() = default;
};

/// How the host presents itself. Given at creation, since plug-ins ask from within their entry.
struct HostIdentity {
    std::string vendor = "the Keldra contributors";
    std::string product = "Keldra host";
    VstInt32 version = kVstVersion; ///< 0 makes plug-ins refuse
    VstProcessLevels processLevel = kVstProcessLevelRealtime;
};

/// One plug-in instance and everything a host does with it.
///
/// Threads, as plug-ins may expect it: SetTransport, AddMidi and Render on the processing thread,
/// one at a time. Parameters, texts and chunks on any. Everything else on the thread that made the
/// host. Start and Stop not while Render runs.
class CVstHost {
public:
    static constexpr int kMaxEvents = 4096; ///< MIDI messages in one block

    /// Makes and opens an instance.
    /// @param module  must not be null
    /// @param client  may be null, else it must outlive the host
    /// @param error   receives one line saying why not, when the answer is null
    static std::unique_ptr<CVstHost> Create(std::shared_ptr<CVstModule> module,
                                            const HostIdentity& identity, CVstHostClient* client,
                                            std::string& error);
    ~CVstHost(); ///< closes the editor, stops, closes the instance
    CVstHost(const CVstHost&) = delete;
    CVstHost& operator=(const CVstHost&) = delete;

    // Processing
    /// Announces rate and block size and switches processing on. Again at any time: stops first.
    void Start(double sampleRateHz, int maxBlockFrames);
    void Stop();

    /// Song position and tempo from the next block on. Without another call the position moves on
    /// by itself while playing.
    void SetTransport(const HostTransport& transport);

    /// Queues a message for the next block. Messages are handed on in the order they come.
    /// @param frame    within that block
    /// @param message  1 to 3 bytes; longer ones are refused
    /// @return false when refused or when the block is full
    bool AddMidi(int frame, std::span<const std::uint8_t> message);

    /// Renders one block, replacing what the outputs hold. Never allocates, waits or fails.
    /// @param outputs  one pointer a channel, OutputCount() of them, none null
    /// @param frames   0 or more; may exceed what Start announced
    /// @param inputs   one pointer a channel of an effect; instruments have none
    void Render(float* const* outputs, int frames, float* const* inputs = nullptr);

    // Parameters and programs
    [[nodiscard]] int ParameterCount() const { return effect_->numParams; }
    [[nodiscard]] int OutputCount() const { return effect_->numOutputs; }
    void SetParameter(int index, float value);
    [[nodiscard]] float GetParameter(int index) const;
    [[nodiscard]] std::string ParameterName(int index) const;
    [[nodiscard]] std::string ParameterDisplay(int index) const;
    [[nodiscard]] std::string ParameterLabel(int index) const;
    [[nodiscard]] std::string ProgramName() const;
    void SetProgramName(const std::string& name);
    [[nodiscard]] std::string EffectName() const;
    [[nodiscard]] std::string VendorName() const;

    [[nodiscard]] std::vector<std::byte> GetChunk();               ///< empty when there is none
    [[nodiscard]] bool SetChunk(std::span<const std::byte> chunk); ///< false when refused

    // Editor
    struct Size {
        int height = 0; ///< pixels
        int width = 0;  ///< pixels
    };
    [[nodiscard]] bool HasEditor() const { return (effect_->flags & effFlagsHasEditor) != 0; }
    [[nodiscard]] std::optional<Size> EditorSize() const; ///< open or not
    bool OpenEditor(void* parentWindow);
    void CloseEditor();
    void IdleEditor();

    /// The bare interface, for whatever the rest doesn't cover.
    [[nodiscard]] AEffect* Effect() const { return effect_; }
    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f) const;

private:
    CVstHost(std::shared_ptr<CVstModule> module, const HostIdentity& identity,
             CVstHostClient* client);

    static VstIntPtr KELDRA_VST_CALL OnCallback(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                                VstIntPtr value, void* ptr, float opt);
    VstIntPtr Answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);
    [[nodiscard]] std::string Text(VstInt32 opcode, int index) const;
    void FillTimeInfo();
    [[nodiscard]] double FramesOfPosition() const;

    /// The published list ends in a fixed array; this one is as long as it needs to be.
    struct EventList {
        VstInt32 numEvents = 0;
        VstIntPtr reserved = 0;
        std::array<VstEvent*, kMaxEvents> events{};
    };

    std::shared_ptr<CVstModule> module_;
    HostIdentity identity_;
    CVstHostClient* client_;
    AEffect* effect_ = nullptr;
    bool started_ = false;
    bool editorOpen_ = false;
    std::atomic<double> sampleRate_{0.0};
    std::atomic<int> maxBlockFrames_{0};

    HostTransport transport_;
    bool transportChanged_ = false; ///< and the plug-in wasn't told yet
    /// Song position; counted on while it plays, through every tempo. Empty: quarterNotes tells.
    std::optional<double> songFrames_;
    VstTimeInfo timeInfo_{};
    std::unique_ptr<std::array<VstMidiEvent, kMaxEvents>> messages_;
    std::unique_ptr<EventList> eventList_;
};

} // namespace keldra::vst
