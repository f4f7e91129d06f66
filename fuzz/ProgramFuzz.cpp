// Program files of any bytes: read as a file, kept in memory as the library does, and taken in
// part.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "engine/KeldraSynth.h"
#include "frame/StateBlock.h"
#include "fuzz/Machine.h"
#include "presets/PackedProgram.h"
#include "presets/PresetList.h"
#include "presets/ProgramFile.h"

using namespace keldra;

namespace {

bool SameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

/// A program is the same whether it comes from its file or from memory.
void CheckPacking(std::span<const std::byte> block)
{
    std::vector<std::byte> packed;
    PackProgram(block, packed);
    packed.shrink_to_fit();
    const UnpackedProgram unpacked = UnpackProgram(packed);
    const StateBlockContent content = ReadStateBlock(block);
    if (unpacked.accepted != content.Accepted() || unpacked.values.count != content.valueCount)
        std::abort();
    for (int i = 0; i < content.valueCount; ++i)
        if (const auto at = static_cast<std::size_t>(i);
            !SameBits(unpacked.values.values[at], content.values[at]))
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::CMachine machine;
    static const auto synth = std::make_unique<KeldraSynth>();
    static const int file = memfd_create("program", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (size == 0)
        return 0;
    const auto import = static_cast<EImport>(data[0] % 3);
    if (ftruncate(file, 0) != 0 ||
        pwrite(file, data + 1, size - 1, 0) != static_cast<ssize_t>(size - 1))
        return 0;

    const std::vector<std::byte> bytes(reinterpret_cast<const std::byte*>(data) + 1,
                                       reinterpret_cast<const std::byte*>(data) + size);
    CheckPacking(StateBlockIn(bytes));
    static_cast<void>(ProgramNameOf({reinterpret_cast<const char*>(data), size}));
    static_cast<void>(BankNameOf({reinterpret_cast<const char*>(data), size}));

    std::vector<std::byte> block;
    const bool readable = ReadProgramFile(path, block) == EReadResult::Ok;
    if (readable != (bytes.size() > kShortestIgnored))
        std::abort();
    const bool loaded = synth->Presets().LoadProgram(path, import);
    if (loaded && !readable)
        std::abort();
    return 0;
}
