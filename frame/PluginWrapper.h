#pragma once

namespace keldra {

/// What the engine and the editor ask of the host. Each host binding implements it; nobody owns a
/// wrapper through this interface. Calls reach the host at once, on the calling thread, unless the
/// host can't take them there (CVSTWrapper), and are made with nothing held: the host may call back
/// into the plug-in.
class CPluginWrapper {
public:
    /// Tells the host that a parameter changed from the plug-in's side. Editor thread, or the
    /// processing thread between two operations. Indices outside the binding's range are ignored.
    virtual void AutomateParameter(int index, float value) = 0;
    virtual void BeginEdit(int index) = 0; ///< a user takes hold of a control. Editor thread
    virtual void EndEdit(int index) = 0;   ///< and lets go of it. Editor thread

    virtual void ShowParameterMenu(int index) = 0; ///< the host's own menu, where it has one
    virtual int HostCommand50() = 0;
    virtual void GetHostText(int index, char* text) = 0;
    virtual void HostCommand3() = 0;

    /// Fills the renderer's per-key tables from the host's voices. Processing thread.
    virtual void UpdateKeyControls() = 0;
    virtual void HostNoteOff(int key) = 0;                ///< editor keyboard. Editor thread
    virtual void HostNoteOn(int key, float velocity) = 0; ///< velocity 0 .. 1. Editor thread

protected:
    ~CPluginWrapper() = default;
};

} // namespace keldra
