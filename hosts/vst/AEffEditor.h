#pragma once

#include "hosts/vst/VstInterface.h"

namespace keldra::vst {

class AudioEffect;

/// The editor of a VST effect, as the interface publishes it. The base answers every operation
/// neutrally. Host's UI thread. Making one does not attach it: AudioEffect::setEditor does, and
/// owns it from then on.
class AEffEditor {
public:
    explicit AEffEditor(AudioEffect* owner = nullptr) : effect(owner) {}
    virtual ~AEffEditor() = default;
    AEffEditor(const AEffEditor&) = delete;
    AEffEditor& operator=(const AEffEditor&) = delete;

    /// Points the host at a rectangle that belongs to the editor. False: there is none.
    virtual bool getRect(ERect** rect)
    {
        *rect = nullptr;
        return false;
    }
    /// @param parent  the system's window handle. @return true when the window shows
    virtual bool open(void* parent)
    {
        systemWindow = parent;
        return false;
    }
    virtual void close() { systemWindow = nullptr; }
    [[nodiscard]] virtual bool isOpen() const { return systemWindow != nullptr; }
    virtual void idle() {} ///< also without a window

    // Keys and wheel that the host offers: true = used
    virtual bool onKeyDown(VstKeyCode& /*keyCode*/) { return false; }
    virtual bool onKeyUp(VstKeyCode& /*keyCode*/) { return false; }
    virtual bool onWheel(float /*distance*/) { return false; }
    virtual bool setKnobMode(VstInt32 /*mode*/) { return false; }

    [[nodiscard]] AudioEffect* getEffect() const { return effect; }

protected:
    AudioEffect* effect;
    void* systemWindow = nullptr; ///< the host's, while open
};

} // namespace keldra::vst
