#pragma once

#include <atomic>
#include <memory>

#include "hosts/vst/AEffEditor.h"
#include "hosts/vst/VstInterface.h"

namespace keldra::vst {

/// A VST effect as version 1 published it: the record that the host holds, and the virtual
/// operation behind each of its functions and of opcodes 0 to 24. The base answers every operation
/// neutrally.
///
/// Hosts promise little about threads and order: any operation may come on any thread, before open
/// and while processing, except that processing calls of one instance follow each other and nothing
/// overlaps effClose. Nothing thrown leaves the record's functions.
class AudioEffect {
public:
    AudioEffect(audioMasterCallback host, VstInt32 programs, VstInt32 parameters);
    virtual ~AudioEffect();
    AudioEffect(const AudioEffect&) = delete;
    AudioEffect& operator=(const AudioEffect&) = delete;

    /// Translates an opcode into the operation of that name. 0 for what it doesn't know, and for a
    /// null pointer where the operation needs one.
    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                 float opt);

    // Life. open may come more than once; the object goes right after close
    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float hz) { sampleRate = hz; }
    virtual void setBlockSize(VstInt32 frames) { blockSize = frames; }

    // Audio, channels x frames
    virtual void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) = 0;
    virtual void processDoubleReplacing(double**, double**, VstInt32) {}
    virtual void process(float**, float**, VstInt32) {} ///< (old) adds to the outputs

    // Parameters, 0 .. 1, and their texts
    virtual void setParameter(VstInt32 /*index*/, float /*value*/) {}
    virtual float getParameter(VstInt32 /*index*/) { return 0.0f; }
    virtual void getParameterLabel(VstInt32 index, char* label);
    virtual void getParameterDisplay(VstInt32 index, char* text);
    virtual void getParameterName(VstInt32 index, char* text);

    // Programs; numbers outside 0 .. numPrograms - 1 are ignored
    virtual VstInt32 getProgram() { return curProgram; }
    virtual void setProgram(VstInt32 program);
    virtual void setProgramName(char*) {}
    virtual void getProgramName(char* name);

    // State. The memory stays the effect's, until the next getChunk, setChunk, resume or close
    virtual VstInt32 getChunk(void** /*data*/, bool /*isPreset*/ = false) { return 0; }
    virtual VstInt32 setChunk(void* /*data*/, VstInt32 /*byteSize*/, bool /*isPreset*/ = false)
    {
        return 0;
    }

    virtual float getVu() { return 0.0f; } ///< (old)

    /// Sets the parameter, then tells the host.
    void setParameterAutomated(VstInt32 index, float value);

    // What the record says. Final when the entry returns: hosts read it before they open
    void setUniqueID(VstInt32 id) { cEffect.uniqueID = id; }
    void setNumInputs(VstInt32 channels) { cEffect.numInputs = channels; }
    void setNumOutputs(VstInt32 channels) { cEffect.numOutputs = channels; }
    void setInitialDelay(VstInt32 frames) { cEffect.initialDelay = frames; }
    void canProcessReplacing(bool can = true) { SetFlag(effFlagsCanReplacing, can); }
    void canDoubleReplacing(bool can = true);
    void programsAreChunks(bool are = true) { SetFlag(effFlagsProgramChunks, are); }
    /// Takes the editor; null takes it away. A former one is destroyed.
    void setEditor(std::unique_ptr<AEffEditor> newEditor);

    [[nodiscard]] AEffEditor* getEditor() const { return editor.get(); }
    [[nodiscard]] AEffect* getAeffect() { return &cEffect; }
    [[nodiscard]] float getSampleRate() const { return sampleRate; } ///< Hz
    [[nodiscard]] VstInt32 getBlockSize() const { return blockSize; }

    // Questions to the host
    VstInt32 getMasterVersion(); ///< 1 when the host doesn't say
    VstInt32 getCurrentUniqueId();
    void masterIdle();

protected:
    /// Calls the host; 0 without one. The host may call back into the effect: hold nothing.
    VstIntPtr CallHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f);
    void SetFlag(VstInt32 flag, bool on);

    audioMasterCallback audioMaster;
    std::unique_ptr<AEffEditor> editor;
    std::atomic<float> sampleRate{44100.0f};
    std::atomic<VstInt32> blockSize{1024};
    VstInt32 numPrograms;
    VstInt32 numParams;
    std::atomic<VstInt32> curProgram{0};
    AEffect cEffect{};

private:
    static VstIntPtr KELDRA_VST_CALL OnDispatch(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                                VstIntPtr value, void* ptr, float opt);
    static void KELDRA_VST_CALL OnProcess(AEffect* effect, float** inputs, float** outputs,
                                          VstInt32 sampleFrames);
    static void KELDRA_VST_CALL OnProcessReplacing(AEffect* effect, float** inputs, float** outputs,
                                                   VstInt32 sampleFrames);
    static void KELDRA_VST_CALL OnProcessDouble(AEffect* effect, double** inputs, double** outputs,
                                                VstInt32 sampleFrames);
    static void KELDRA_VST_CALL OnSetParameter(AEffect* effect, VstInt32 index, float value);
    static float KELDRA_VST_CALL OnGetParameter(AEffect* effect, VstInt32 index);
};

/// A pointer-sized argument as the 32-bit number it stands for. Saturates.
[[nodiscard]] VstInt32 ToInt32(VstIntPtr value);

} // namespace keldra::vst
