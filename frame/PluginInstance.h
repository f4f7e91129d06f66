#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>

namespace keldra {

class CEditorPort;
class CPluginRenderer;

/// Which kind of host a module runs in.
enum class EHostKind : std::int8_t { None = -1, Vst = 0, AudioUnits = 1, Native = 2 };

/// Says what this plug-in is, independent of any host. One object per module, made when the module
/// loads. The identity never changes; the host's kind and names stay as the last created instance
/// left them, and may be read and set on any thread.
class CPluginInstance {
public:
    static constexpr std::size_t kTextSize = 256; ///< bytes, NUL included
    using Text = std::array<char, kTextSize>;

    /// Whether the module has a definition. All else here needs one.
    [[nodiscard]] static bool Exists() { return instance_ != nullptr; }
    /// The module's definition: the one that was constructed last.
    [[nodiscard]] static const CPluginInstance& Get() { return *instance_; }
    [[nodiscard]] static CPluginInstance& GetMutable() { return *instance_; }

    std::int32_t parameterCount = 0;
    std::int32_t hostParameterCount = 0;
    std::int8_t inputPairCount = 0;
    std::int8_t outputPairCount = 1;
    Text pluginName;
    Text vendorName;
    Text versionText;
    bool isEffect = false;
    std::int32_t uniqueId = -1;

    /// "Master" for pair 0, "Channel 1" for pair 1, and so on.
    virtual void GetInputName(int pair, std::span<char> text) const;
    virtual void GetOutputName(int pair, std::span<char> text) const;
    virtual void SetHostVst();
    virtual void SetHostAu();
    virtual void SetHostNative();
    [[nodiscard]] virtual bool CanCreateInstance() const;
    [[nodiscard]] virtual int ReservedQuery(int) const; ///< 0; nobody asks

    /// The caller owns the new object. Null when there is none.
    [[nodiscard]] virtual std::unique_ptr<CPluginRenderer> CreateRenderer() const;
    [[nodiscard]] virtual std::unique_ptr<CEditorPort> CreateEditor() const;

    [[nodiscard]] EHostKind HostKind() const { return hostKind_.load(); }
    void SetHostNames(std::string_view vendor, std::string_view product);
    void GetHostVendor(std::span<char> text) const;
    void GetHostProduct(std::span<char> text) const;

    CPluginInstance(const CPluginInstance&) = delete;
    CPluginInstance& operator=(const CPluginInstance&) = delete;

protected:
    CPluginInstance();
    ~CPluginInstance() = default;

private:
    static CPluginInstance* instance_;

    std::atomic<EHostKind> hostKind_{EHostKind::None};
    mutable std::mutex hostNamesMutex_; ///< never the processing thread
    Text hostProduct_;
    Text hostVendor_;
};

} // namespace keldra
