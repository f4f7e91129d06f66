#include "frame/PluginInstance.h"

#include "frame/EditorPort.h"
#include "frame/PluginRenderer.h"
#include "frame/Text.h"

namespace keldra {

CPluginInstance* CPluginInstance::instance_ = nullptr;

namespace {

void WritePairName(int pair, std::span<char> text)
{
    if (pair == 0)
        CopyText("Master", text);
    else
        CTextWriter(text).Append("Channel ").AppendInt(pair);
}

} // namespace

CPluginInstance::CPluginInstance()
{
    for (Text* text : {&pluginName, &vendorName, &versionText, &hostProduct_, &hostVendor_})
        CopyText("<unknown>", *text);
    instance_ = this;
}

void CPluginInstance::GetInputName(int pair, std::span<char> text) const
{
    WritePairName(pair, text);
}
void CPluginInstance::GetOutputName(int pair, std::span<char> text) const
{
    WritePairName(pair, text);
}
void CPluginInstance::SetHostVst()
{
    hostKind_ = EHostKind::Vst;
}
void CPluginInstance::SetHostAu()
{
    hostKind_ = EHostKind::AudioUnits;
}
void CPluginInstance::SetHostNative()
{
    hostKind_ = EHostKind::Native;
}
bool CPluginInstance::CanCreateInstance() const
{
    return true;
}
int CPluginInstance::ReservedQuery(int) const
{
    return 0;
}
std::unique_ptr<CPluginRenderer> CPluginInstance::CreateRenderer() const
{
    return nullptr;
}
std::unique_ptr<CEditorPort> CPluginInstance::CreateEditor() const
{
    return nullptr;
}

void CPluginInstance::SetHostNames(std::string_view vendor, std::string_view product)
{
    const std::lock_guard lock(hostNamesMutex_);
    CopyText(vendor, hostVendor_);
    CopyText(product, hostProduct_);
}

void CPluginInstance::GetHostVendor(std::span<char> text) const
{
    const std::lock_guard lock(hostNamesMutex_);
    CopyText(TextIn(hostVendor_), text);
}

void CPluginInstance::GetHostProduct(std::span<char> text) const
{
    const std::lock_guard lock(hostNamesMutex_);
    CopyText(TextIn(hostProduct_), text);
}

} // namespace keldra
