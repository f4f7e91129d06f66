// keldra: the synthesizer in a window of its own.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/host/VstHost.h"
#include "apps/keldra/Choice.h"
#include "apps/keldra/ComputerKeyboard.h"
#include "apps/keldra/MidiInputs.h"
#include "apps/keldra/Options.h"
#include "apps/keldra/Player.h"
#include "apps/keldra/Recorder.h"
#include "apps/keldra/SoundDevices.h"
#include "apps/keldra/StateFile.h"
#include "apps/render/CommandLine.h"
#include "apps/render/InputFile.h"
#include "apps/render/Instrument.h"
#include "apps/render/Sounds.h"
#include "apps/render/Text.h"
#include "platform/TopWindow.h"

namespace keldra::standalone {

namespace {

constexpr std::chrono::milliseconds kIdle{50}; ///< between two looks at everything
constexpr int kUsualRateHz = 48000;

constexpr int kIconPixels = 64; ///< each way
constexpr std::uint32_t kIcon[kIconPixels * kIconPixels] = {
#include "apps/WindowIcon.inc"
};

void Say(const std::string& line)
{
    std::fprintf(stderr, "keldra: %s\n", line.c_str());
}

// What a signal handler may touch.
std::atomic<int> endedBy{0};
std::atomic<CTopWindow*> windowToWake{nullptr};
static_assert(std::atomic<int>::is_always_lock_free &&
              std::atomic<CTopWindow*>::is_always_lock_free);

void OnEndSignal(int number)
{
    endedBy = number;
    if (CTopWindow* const window = windowToWake)
        window->WakeUp();
}

/// The first one of these ends the program in good order, a second one at once.
void EndInGoodOrderOnSignals()
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN) // started with nohup, or in a script's background
            continue;
        action.sa_handler = OnEndSignal;
        action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
        ::sigaction(number, &action, nullptr);
    }
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN); // a disk quota is an answer of write(), not the end
}

class CStandalone final : private CTopWindowClient {
public:
    explicit CStandalone(Options options) : options_(std::move(options)) {}
    ~CStandalone()
    {
        windowToWake = nullptr;
        StopThreads();
    }

    /// @return false with one line when it can't begin, or something is missing in the end
    [[nodiscard]] bool Run(std::string& error)
    {
        if (!MakeInstrument(error) || !MakeWindow(error) || !MakeSound(error))
            return false;
        RestoreState();
        if (program_ && !render::HandOverProgram(*host_, *program_, error)) {
            error = options_.program + ": " + error;
            return false;
        }
        if (!host_->OpenEditor(reinterpret_cast<void*>(window_->Handle()))) {
            error = options_.modulePath + ": its panel can't be opened";
            return false;
        }
        if (!MakeRecorder(error) || !StartSound(error))
            return false;
        window_->Show();
        std::printf("keldra: %s\n", Summary().c_str());
        std::fflush(stdout);
        while (!ended_ && endedBy == 0) {
            window_->Wait(kIdle);
            host_->IdleEditor();
            WatchSound();
        }
        return End(error);
    }

private:
    // CTopWindowClient
    void OnCloseWanted() override { ended_ = true; }
    void OnPlacedKey(const PlacedKey& key) override { keyboard_->OnKey(key); }
    void OnKeysLost() override { keyboard_->ReleaseAll(); }
    void OnTopWindowLost() override
    {
        Say("its window has gone");
        ended_ = true;
    }

    // --- Begin ---

    bool MakeInstrument(std::string& error)
    {
        if (options_.modulePath.empty())
            options_.modulePath = render::BundledModulePath();
        if (!options_.program.empty() && !ReadProgramFile(error))
            return false;
        const auto module = render::LoadInstrument(options_.modulePath, error);
        if (module == nullptr)
            return false;
        vst::HostIdentity identity;
        identity.product = "Keldra";
        host_ = vst::CVstHost::Create(module, identity, nullptr, error);
        if (host_ != nullptr)
            error = render::ReasonNotToPlay(*host_);
        if (error.empty() && !(host_->HasEditor() && host_->EditorSize()))
            error = "an instrument without a panel";
        if (!error.empty()) {
            error = options_.modulePath + ": " + error;
            return false;
        }
        player_.emplace(*host_);
        keyboard_.emplace(player_->AddQueue());
        return true;
    }

    bool ReadProgramFile(std::string& error)
    {
        const std::string path =
            render::FindProgram(options_.program, {}, render::FactoryFolders(options_.modulePath));
        std::vector<std::byte> file;
        if (!render::ReadInput(path, render::kMaxSmallFileBytes, file, error))
            return false;
        program_ = render::ReadProgram(file, error);
        if (!program_)
            error = path + ": " + error;
        return program_.has_value();
    }

    bool MakeWindow(std::string& error)
    {
        const vst::CVstHost::Size size = *host_->EditorSize();
        const std::string name = host_->EffectName();
        window_ = CTopWindow::Open({name.empty() ? "Keldra" : name,
                                    "keldra",
                                    {size.height, size.width},
                                    {kIcon, {kIconPixels, kIconPixels}}},
                                   *this, error);
        windowToWake = window_.get();
        return window_ != nullptr;
    }

    bool MakeSound(std::string& error) { return OpenOutput(error) && OpenMidi(error); }

    /// Last of all: it overwrites what was recorded before.
    bool MakeRecorder(std::string& error)
    {
        if (options_.recordPath.empty())
            return true;
        recorder_ = CRecorder::Create(options_.recordPath,
                                      static_cast<int>(output_->Format().rateHz), error);
        player_->SetRecorder(recorder_.get());
        return recorder_ != nullptr;
    }

    bool OpenMidi(std::string& error)
    {
        midi_ = CMidiInputs::Open(
            options_.midi, [this]() -> CMidiQueue& { return player_->AddQueue(); }, error);
        return midi_ != nullptr;
    }

    /// @return false when the device that was asked for can't be had
    bool OpenOutput(std::string& error)
    {
        const SoundFormat silence{static_cast<double>(options_.rateHz.value_or(kUsualRateHz)),
                                  options_.blockFrames};
        if (options_.noAudio) {
            Say("no sound, as asked (--no-audio): the panel works, but nothing is heard");
            output_ = OpenSilence(silence);
            return true;
        }
        const std::vector<SoundDevice> devices = ListSoundDevices();
        if (!options_.device.empty()) {
            std::vector<std::string> names;
            for (const SoundDevice& device : devices)
                names.push_back(device.name);
            const auto chosen = Choose(names, options_.device, "sound device", error);
            if (!chosen)
                return false;
            output_ =
                OpenSoundDevice(devices[*chosen], options_.rateHz, options_.blockFrames, error);
            if (output_ == nullptr)
                error = names[*chosen] + ": " + error;
            return output_ != nullptr;
        }
        std::string why = "no sound device found";
        for (const SoundDevice& device : devices) {
            if (!device.isDefault)
                continue;
            output_ = OpenSoundDevice(device, options_.rateHz, options_.blockFrames, why);
            if (output_ != nullptr)
                return true;
            why = device.name + ": " + why;
        }
        Say(why + ": the panel works, but nothing is heard");
        output_ = OpenSilence(silence);
        return true;
    }

    bool StartSound(std::string& error)
    {
        player_->Prepare(output_->Format(), options_.tempoBpm);
        if (output_->Start(*player_, error))
            return true;
        error = output_->Name() + ": " + error;
        return false;
    }

    void RestoreState()
    {
        statePath_ = StatePath(host_->Effect()->uniqueID);
        std::vector<std::byte> chunk;
        if (statePath_.empty()) {
            Say("no home folder: nothing is kept for the next time");
            return;
        }
        switch (ReadState(statePath_, chunk)) {
        case EStateRead::Missing:
            return;
        case EStateRead::Ok:
            if (host_->SetChunk(chunk))
                return;
            break;
        case EStateRead::Damaged:
            break;
        }
        Say(statePath_ + ": damaged, and ignored");
    }

    [[nodiscard]] std::string Summary() const
    {
        const SoundFormat& format = output_->Format();
        std::string line = "playing to ";
        line.append(output_->Name()).append(" at ").append(render::FixedText(format.rateHz, 0));
        line.append(" Hz in blocks of ").append(std::to_string(format.blockFrames));
        const char* before = "; MIDI from ";
        for (const std::string& name : midi_->Names())
            line.append(std::exchange(before, ", ")).append(name);
        return line;
    }

    // --- While it plays ---

    /// A device that was unplugged is opened again, if it can be; else the panel lives on.
    void WatchSound()
    {
        if (recorder_ != nullptr && !recorder_->IsWriting() && !saidDiskFull_) {
            Say(options_.recordPath + ": the disk takes no more");
            saidDiskFull_ = true;
        }
        if (output_->IsAlive())
            return;
        const SoundFormat format = output_->Format();
        Say(output_->Name() + " has stopped");
        // A server that has ended may have had MIDI, too. Its library takes no further call once
        // the last of our sound is closed: the inputs go first.
        midi_.reset();
        output_.reset();
        std::string error;
        if (!OpenMidi(error))
            Say(error);
        options_.rateHz = static_cast<int>(format.rateHz); // the recording's
        if (!OpenOutput(error) || !StartSound(error)) {
            Say(error + ": the panel works, but nothing is heard");
            output_ = OpenSilence(format);
            static_cast<void>(StartSound(error));
        }
    }

    // --- End ---

    /// Afterwards only this thread is left, and the editor's.
    void StopThreads()
    {
        midi_.reset(); // first, see WatchSound
        output_.reset();
    }

    bool End(std::string& error)
    {
        StopThreads();
        host_->CloseEditor();
        bool whole = true;
        if (!statePath_.empty()) {
            const std::vector<std::byte> chunk = host_->GetChunk();
            if (!chunk.empty() && !WriteState(statePath_, chunk)) {
                error = statePath_ + ": can't be written: nothing is kept for the next time";
                whole = false;
            }
        }
        if (recorder_ != nullptr) {
            std::string missing;
            if (!recorder_->Finish(missing)) {
                if (!whole)
                    Say(error);
                error = missing;
                whole = false;
            }
        }
        return whole;
    }

    Options options_;
    std::optional<render::ProgramChunk> program_;
    std::unique_ptr<vst::CVstHost> host_;
    std::unique_ptr<CRecorder> recorder_;
    std::optional<CPlayer> player_;
    std::optional<CComputerKeyboard> keyboard_;
    std::unique_ptr<CTopWindow> window_;
    std::unique_ptr<CMidiInputs> midi_;
    std::unique_ptr<CSoundOutput> output_;
    std::string statePath_;
    bool ended_ = false;
    bool saidDiskFull_ = false;
};

void PrintDevices()
{
    std::puts("Sound devices:");
    int number = 0;
    for (const SoundDevice& device : ListSoundDevices()) {
        std::string rates;
        for (const int rate : device.ratesHz)
            rates.append(" ").append(std::to_string(rate));
        std::printf("  %d  %s  (%d channels; Hz:%s)%s\n", ++number, device.name.c_str(),
                    device.outputs, rates.c_str(), device.isDefault ? "  default" : "");
    }
    if (number == 0)
        std::puts("  none");
    std::puts("MIDI inputs:");
    number = 0;
    for (const std::string& name : CMidiInputs::List())
        std::printf("  %d  %s\n", ++number, name.c_str());
    if (number == 0)
        std::puts("  none");
}

} // namespace

} // namespace keldra::standalone

int main(int argc, char** argv)
{
    using namespace keldra::standalone;
    Options options;
    return keldra::RunProgram(
        "keldra", [&](std::string& text) { return ParseOptions(argc, argv, options, text); },
        [&](std::string& text) {
            if (options.listDevices) {
                PrintDevices();
                return true;
            }
            EndInGoodOrderOnSignals();
            return CStandalone(std::move(options)).Run(text);
        });
}
