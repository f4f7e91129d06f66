#pragma once

#include "frame/PluginInstance.h"

namespace keldra {

/// This synthesizer's definition. One static object, made when the module loads.
class KeldraDef final : public CPluginInstance {
public:
    KeldraDef();

    [[nodiscard]] std::unique_ptr<CPluginRenderer> CreateRenderer() const override;
    [[nodiscard]] std::unique_ptr<CEditorPort> CreateEditor() const override;
};

} // namespace keldra
