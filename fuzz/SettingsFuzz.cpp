// Settings files of any bytes, edited by hand or damaged.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/SettingsStore.h"

using namespace keldra;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = memfd_create("settings", 0);
    static const CSettingsStore store({"/proc/self/fd/" + std::to_string(file)}, {"/nonexistent"});
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string_view asked[][2] = {
        {"Software\\Tallowen\\Keldra", "rootFolder"},
        {"Software\\Tallowen", "sharedFolder"},
        {"", ""},
        {text.substr(0, size / 8), text.substr(size - size / 8)}, // names from outside as well
    };
    for (const auto& [key, name] : asked) {
        const auto value = store.Read(ESettingsHive::CurrentUser, key, name);
        // What is answered is in the file, without blanks around it or a line's end within.
        if (value && (value->empty() || value->size() > 1023 || value->front() == ' ' ||
                      value->back() == ' ' || value->find('\n') != std::string::npos ||
                      text.find(*value) == std::string_view::npos))
            std::abort();
        if (store.Read(ESettingsHive::LocalMachine, key, name))
            std::abort();
    }
    return 0;
}
