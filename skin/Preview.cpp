// Writes a picture of the panel as users see it: the editor itself with the images and the library
// of a bundle, on a window in memory, while a chord sounds.
//
//   keldra_skin_preview BUNDLE-FOLDER OUTPUT.png [PROGRAM.keldra]

#include <cairo.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "frame/EditorPort.h"
#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"
#include "frame/PluginWrapper.h"
#include "gui/WindowPort.h"

namespace keldra {
namespace {

namespace fs = std::filesystem;

class CNoHost final : public CPluginWrapper {
public:
    void AutomateParameter(int, float) override {}
    void BeginEdit(int) override {}
    void EndEdit(int) override {}
    void ShowParameterMenu(int) override {}
    int HostCommand50() override { return 0; }
    void GetHostText(int, char*) override {}
    void HostCommand3() override {}
    void UpdateKeyControls() override {}
    void HostNoteOff(int) override {}
    void HostNoteOn(int, float) override {}
};

/// Settings of our own that name the bundle as the root folder, for as long as it lives.
class CSettings {
public:
    explicit CSettings(const std::string& bundle)
        : folder_(fs::temp_directory_path() / "keldra-preview")
    {
        fs::create_directories(folder_ / "tallowen");
        std::ofstream(folder_ / "tallowen/settings")
            << "[Software\\Tallowen\\Keldra]\nrootFolder = " << fs::absolute(bundle).string();
        setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
    }
    ~CSettings()
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

private:
    fs::path folder_;
};

/// @return false when there is no such program
bool LoadProgram(CPluginRenderer& renderer, const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> block(std::istreambuf_iterator<char>(stream), {});
    if (!renderer.SetChunk(block.data(), static_cast<int>(block.size())))
        return false;
    renderer.SetProgramName(file.stem().string());
    return true;
}

bool WritePng(const CGraphicBuffer& picture, const std::string& path)
{
    const auto [height, width] = picture.GetSize();
    cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    for (int y = 0; y < height; ++y) {
        auto* const row = reinterpret_cast<std::uint32_t*>(
            cairo_image_surface_get_data(surface) +
            static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface));
        for (int x = 0; x < width; ++x)
            row[x] = picture.GetPixel(x, y); // blue first in memory, like Cairo's
    }
    cairo_surface_mark_dirty(surface);
    const bool written = cairo_surface_write_to_png(surface, path.c_str()) == CAIRO_STATUS_SUCCESS;
    cairo_surface_destroy(surface);
    return written;
}

int Run(const std::string& bundle, const std::string& output, const char* program)
{
    const CSettings settings(bundle);
    CPluginInstance& definition = CPluginInstance::GetMutable();
    definition.SetHostVst();
    const std::unique_ptr<CPluginRenderer> renderer = definition.CreateRenderer();
    const std::unique_ptr<CEditorPort> editor = definition.CreateEditor();
    CNoHost host;
    renderer->SetHostWrapper(&host);
    editor->Connect(*renderer, host);
    if (!editor->LoadSkin()) {
        std::fprintf(stderr, "can't read the images in %s\n", bundle.c_str());
        return 1;
    }
    if (program != nullptr && !LoadProgram(*renderer, program)) {
        std::fprintf(stderr, "can't read %s\n", program);
        return 1;
    }
    for (const int key : {48, 60, 63, 67, 70})
        renderer->Feedback().SetKeySounding(key, true);
    auto& window = dynamic_cast<CWindowPort&>(*editor);
    const bool written = editor->Open(nullptr) && (window.OnTimer(), true) &&
                         WritePng(*window.GetBackBuffer(), output);
    if (!written)
        std::fprintf(stderr, "can't write %s\n", output.c_str());
    editor->Close();
    return written ? 0 : 1;
}

} // namespace
} // namespace keldra

int main(int count, char** arguments)
{
    if (count < 3 || count > 4) {
        std::fprintf(stderr, "usage: %s BUNDLE-FOLDER OUTPUT.png [PROGRAM.keldra]\n", arguments[0]);
        return 2;
    }
    return keldra::Run(arguments[1], arguments[2], arguments[3]);
}
