// Writes the images of the skin into a folder, which it makes if need be.
//
//   keldra_make_skin REGULAR-FONT BOLD-FONT FOLDER

#include <cstdio>
#include <filesystem>

#include "skin/Pictures.h"
#include "skin/TgaFile.h"

int main(int count, char** arguments)
{
    using namespace keldra;
    if (count != 4) {
        std::fprintf(stderr, "usage: %s REGULAR-FONT BOLD-FONT FOLDER\n", arguments[0]);
        return 2;
    }
    const auto type = skin::CType::Open(arguments[1], arguments[2]);
    if (!type) {
        std::fprintf(stderr, "can't read the fonts %s and %s\n", arguments[1], arguments[2]);
        return 1;
    }
    const std::filesystem::path folder = arguments[3];
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    for (const SkinImageRow& row : kSkinImages) {
        const std::string path = (folder / row.file).string();
        if (!skin::WriteTga(skin::DrawImage(row.image, *type), row.bitsPerPixel, path)) {
            std::fprintf(stderr, "can't write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
