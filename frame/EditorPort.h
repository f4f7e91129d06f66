#pragma once

namespace keldra {

class CPluginRenderer;
class CPluginWrapper;

/// Rows, then columns: sizes have this order throughout.
struct EditorSize {
    int height = 0; ///< pixels
    int width = 0;  ///< pixels
};

/// What the host bindings need of an editor, whatever draws it. The editor lives as long as its
/// instance; its window only between Open and Close. Host's UI thread unless stated.
class CEditorPort {
public:
    virtual ~CEditorPort() = default;

    /// Once, right after construction. Neither is owned.
    virtual void Connect(CPluginRenderer& renderer, CPluginWrapper& host) = 0;
    virtual bool LoadSkin() = 0; ///< before Open; false when an image is missing or damaged

    [[nodiscard]] virtual EditorSize WindowSize() const = 0; ///< any thread, open or not

    /// Shows the window inside the host's. @param parent  the system's window handle; null: on the
    /// desktop. @return false when the system refuses
    virtual bool Open(void* parent) = 0;
    virtual void Close() = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;
    /// The system's handle of the editor's own window; null unless open.
    [[nodiscard]] virtual void* WindowHandle() const = 0;
};

} // namespace keldra
