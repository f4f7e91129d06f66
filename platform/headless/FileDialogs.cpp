#include "platform/headless/ScriptedFileDialogs.h"

namespace keldra {

CFileDialogs& SystemFileDialogs()
{
    static CScriptedFileDialogs dialogs;
    return dialogs;
}

} // namespace keldra
