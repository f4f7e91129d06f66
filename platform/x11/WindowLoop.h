#pragma once

namespace keldra {

/// What the loop looks after: a window's connection.
class CWindowLoopMember {
public:
    /// The file to wait for; -1 for none any more.
    [[nodiscard]] virtual int File() const = 0;
    virtual void ProcessEvents() = 0; ///< all there are; may remove this member and others
    virtual void Tick() = 0;          ///< so may this

protected:
    ~CWindowLoopMember() = default;
};

/// The thread that reads the windows' events and gives them their tick: one in the process, there
/// while there are windows. Hosts call their editors' idle 15 to 25 times a second, too slowly for
/// a knob; so nothing here waits for them. Everything with the UI lock held.
///
/// The thread ends by itself after the last window; it is waited for as soon as the lock has been
/// let go, and at the latest when the module is unloaded.
class CWindowLoop {
public:
    static void Add(CWindowLoopMember& member);
    static void Remove(CWindowLoopMember& member);

    [[nodiscard]] static bool IsRunning(); ///< any thread
};

} // namespace keldra
