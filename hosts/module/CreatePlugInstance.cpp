#include "hosts/native/DNWrapper.h"

/// The entry by which native hosts make an instance. Known to the linker by this name alone.
extern "C" [[gnu::visibility("default")]] keldra::native::TDornoPlug* KELDRA_NATIVE_CALL
CreatePlugInstance(keldra::native::TDornoHost* host, keldra::native::HostTag tag)
{
    return keldra::native::CreateNativeInstance(host, tag);
}
