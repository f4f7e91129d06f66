#include "hosts/vst/VSTWrapper.h"

/// The entry by which VST hosts make an instance. Known to the linker by this name alone.
extern "C" [[gnu::visibility("default")]] keldra::vst::AEffect* KELDRA_VST_CALL
VSTPluginMain(keldra::vst::audioMasterCallback host)
{
    return keldra::vst::CreateVstInstance(host);
}
