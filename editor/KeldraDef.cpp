#include "editor/KeldraDef.h"

#include "editor/KeldraEditor.h"
#include "engine/KeldraSynth.h"
#include "frame/ParameterTable.h"
#include "frame/Text.h"
#include "gui/ToolkitMenus.h"

// The one file that sees both the engine and the editor.

namespace keldra {

namespace {

KeldraDef definition;
CToolkitMenus menus; // for whatever in the module shows one

} // namespace

KeldraDef::KeldraDef()
{
    parameterCount = kParameterCount;
    hostParameterCount = kHostParameterCount;
    inputPairCount = 0;
    outputPairCount = 1;
    CopyText("Keldra", pluginName);
    CopyText("Tallowen", vendorName);
    CopyText("2.4", versionText);
    isEffect = false;
    uniqueId = 0x53617757;
}

std::unique_ptr<CPluginRenderer> KeldraDef::CreateRenderer() const
{
    return std::make_unique<KeldraSynth>();
}

std::unique_ptr<CEditorPort> KeldraDef::CreateEditor() const
{
    return std::make_unique<KeldraEditor>();
}

} // namespace keldra
