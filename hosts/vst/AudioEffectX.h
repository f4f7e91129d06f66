#pragma once

#include "hosts/vst/AudioEffect.h"

namespace keldra::vst {

/// A VST effect as versions 2.0 to 2.4 published it: opcodes from 25 on, and the calls an effect
/// may make to its host. The base answers every operation neutrally; the calls answer 0 or false
/// without a host.
class AudioEffectX : public AudioEffect {
public:
    AudioEffectX(audioMasterCallback host, VstInt32 programs, VstInt32 parameters);

    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                         float opt) override;

    /// Asks the host for MIDI if the effect wants any: some hosts send none otherwise.
    void resume() override;

    // Processing
    virtual VstInt32 processEvents(VstEvents*) { return 0; }
    virtual VstInt32 startProcess() { return 0; }
    virtual VstInt32 stopProcess() { return 0; }
    virtual VstInt32 getGetTailSize() { return 0; } ///< frames; 1 = none, 0 = unknown
    virtual bool processVariableIo(VstVariableIo*) { return false; }
    virtual VstInt32 setTotalSampleToProcess(VstInt32 frames) { return frames; }
    virtual bool setProcessPrecision(VstInt32) { return false; }
    virtual bool setBypass(bool) { return false; }
    virtual bool setPanLaw(VstInt32 /*type*/, float /*gain*/) { return false; }
    virtual void setBlockSizeAndSampleRate(VstInt32 frames, float hz); ///< (old)
    virtual VstInt32 reportCurrentPosition() { return 0; }             ///< (old)
    virtual float* reportDestinationBuffer() { return nullptr; }       ///< (old)
    virtual VstInt32 fxIdle() { return 0; }                            ///< (old)

    // Parameters and programs
    virtual bool canParameterBeAutomated(VstInt32) { return true; }
    virtual bool string2parameter(VstInt32, char* /*null: could you?*/) { return false; }
    virtual bool getParameterProperties(VstInt32, VstParameterProperties*) { return false; }
    virtual bool getProgramNameIndexed(VstInt32 /*category*/, VstInt32 /*index*/, char*)
    {
        return false;
    }
    virtual bool beginSetProgram() { return false; }
    virtual bool endSetProgram() { return false; }
    virtual VstInt32 beginLoadBank(VstPatchChunkInfo*) { return 0; }
    virtual VstInt32 beginLoadProgram(VstPatchChunkInfo*) { return 0; }
    virtual VstInt32 getNumCategories() { return 1; }                    ///< (old)
    virtual bool copyProgram(VstInt32 /*destination*/) { return false; } ///< (old)

    // Connections
    virtual bool getInputProperties(VstInt32, VstPinProperties*) { return false; }
    virtual bool getOutputProperties(VstInt32, VstPinProperties*) { return false; }
    virtual bool setSpeakerArrangement(VstSpeakerArrangement* /*in*/,
                                       VstSpeakerArrangement* /*out*/)
    {
        return false;
    }
    virtual bool getSpeakerArrangement(VstSpeakerArrangement** in, VstSpeakerArrangement** out);
    virtual void inputConnected(VstInt32, bool) {}  ///< (old)
    virtual void outputConnected(VstInt32, bool) {} ///< (old)

    // Who the effect is
    virtual bool getEffectName(char*) { return false; }
    virtual bool getVendorString(char*) { return false; }
    virtual bool getProductString(char*) { return false; }
    virtual VstInt32 getVendorVersion() { return 0; }
    virtual VstIntPtr vendorSpecific(VstInt32, VstIntPtr, void*, float) { return 0; }
    virtual VstInt32 canDo(char*) { return 0; } ///< 1 yes, -1 no, 0 don't know
    virtual VstInt32 getVstVersion() { return kVstVersion; }
    virtual VstPlugCategory getPlugCategory();
    virtual VstInt32 getNextShellPlugin(char*) { return 0; }
    virtual bool getErrorText(char*) { return false; }                             ///< (old)
    virtual void* getIcon() { return nullptr; }                                    ///< (old)
    virtual bool setViewPosition(VstInt32 /*x*/, VstInt32 /*y*/) { return false; } ///< (old)

    // MIDI
    virtual VstInt32 getNumMidiInputChannels() { return 0; } ///< 0 = unknown
    virtual VstInt32 getNumMidiOutputChannels() { return 0; }
    virtual VstInt32 getMidiProgramName(VstInt32 /*channel*/, MidiProgramName*) { return 0; }
    virtual VstInt32 getCurrentMidiProgram(VstInt32, MidiProgramName*) { return -1; }
    virtual VstInt32 getMidiProgramCategory(VstInt32, MidiProgramCategory*) { return 0; }
    virtual bool hasMidiProgramsChanged(VstInt32) { return false; }
    virtual bool getMidiKeyName(VstInt32, MidiKeyName*) { return false; }

    // Offline work
    virtual bool offlineNotify(VstAudioFile*, VstInt32 /*count*/, bool /*start*/) { return false; }
    virtual bool offlinePrepare(VstOfflineTask*, VstInt32 /*count*/) { return false; }
    virtual bool offlineRun(VstOfflineTask*, VstInt32 /*count*/) { return false; }

    // What the record says
    void isSynth(bool is = true) { SetFlag(effFlagsIsSynth, is); }
    void noTail(bool none = true) { SetFlag(effFlagsNoSoundInStop, none); }

    // Calls to the host. Hold nothing: it may call back
    void wantEvents(VstInt32 filter = 1); ///< (old, but some hosts wait for it) from resume only
    VstTimeInfo* getTimeInfo(VstInt32 filter); ///< may be null; only while processing
    bool sendVstEventsToHost(VstEvents* events);
    bool beginEdit(VstInt32 index);
    bool endEdit(VstInt32 index);
    bool ioChanged();
    bool updateDisplay();
    bool sizeWindow(VstInt32 width, VstInt32 height);
    double updateSampleRate();  ///< asks, keeps the answer if there is one, returns what is kept
    VstInt32 updateBlockSize(); ///< likewise
    VstInt32 getInputLatency();
    VstInt32 getOutputLatency();
    VstInt32 getCurrentProcessLevel();
    VstInt32 getAutomationState();
    /// @param text  at least 256 bytes: hosts use strcpy
    bool getHostVendorString(char* text);
    bool getHostProductString(char* text); ///< likewise
    VstInt32 getHostVendorVersion();
    VstIntPtr hostVendorSpecific(VstInt32 index, VstIntPtr value, void* ptr, float opt);
    VstInt32 canHostDo(const char* what);
    VstInt32 getHostLanguage();
    void* getDirectory();
    bool openFileSelector(VstFileSelect* select);
    bool closeFileSelector(VstFileSelect* select);

private:
    VstIntPtr DispatchEditor(VstInt32 opcode, VstInt32 index, VstIntPtr value, float opt);
    VstIntPtr DispatchVendorSpecific(VstInt32 index, VstIntPtr value, void* ptr, float opt);
};

} // namespace keldra::vst
