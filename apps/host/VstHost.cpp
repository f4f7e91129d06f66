#include "apps/host/VstHost.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <utility>

namespace keldra::vst {

namespace {

/// Room for any text: plug-ins write longer ones than the interface names.
constexpr std::size_t kTextRoom = 1024;

/// The host whose instance is being made on this thread: the entry calls back before there is a
/// record to know the instance by.
thread_local CVstHost* hostBeingMade = nullptr;

std::string LoaderError(const char* otherwise)
{
    const char* text = dlerror();
    std::string line = text != nullptr ? text : otherwise;
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

void FillText(void* ptr, const std::string& text)
{
    if (ptr == nullptr)
        return;
    const std::size_t length = std::min<std::size_t>(text.size(), kVstMaxVendorStrLen - 1);
    std::memcpy(ptr, text.data(), length);
    static_cast<char*>(ptr)[length] = '\0';
}

VstInt32 CanHostDo(const char* what)
{
    static constexpr const char* kAbilities[] = {
        "sendVstEvents", "sendVstMidiEvent", "sendVstTimeInfo", "sizeWindow", "startStopProcess",
    };
    const auto same = [what](const char* ability) { return std::strcmp(what, ability) == 0; };
    return std::any_of(std::begin(kAbilities), std::end(kAbilities), same) ? 1 : 0;
}

} // namespace

// --- Module ---

std::shared_ptr<CVstModule> CVstModule::Load(const std::string& path, std::string& error)
{
    std::shared_ptr<CVstModule> module(new CVstModule);
    module->handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module->handle_ == nullptr) {
        error = LoaderError("cannot be loaded");
        return nullptr;
    }
    module->entry_ = reinterpret_cast<VstPluginMainProc>(dlsym(module->handle_, kEntryName));
    if (module->entry_ == nullptr) {
        error = path + ": not a VST 2 module (no " + kEntryName + ")";
        return nullptr;
    }
    return module;
}

std::shared_ptr<CVstModule> CVstModule::FromEntry(VstPluginMainProc entry)
{
    std::shared_ptr<CVstModule> module(new CVstModule);
    module->entry_ = entry;
    return module;
}

CVstModule::~CVstModule()
{
    if (handle_ != nullptr)
        dlclose(handle_);
}

// --- Life ---

CVstHost::CVstHost(std::shared_ptr<CVstModule> module, const HostIdentity& identity,
                   CVstHostClient* client)
    : module_(std::move(module)),
      identity_(identity),
      client_(client),
      messages_(std::make_unique<std::array<VstMidiEvent, kMaxEvents>>()),
      eventList_(std::make_unique<EventList>())
{
    for (std::size_t i = 0; i < messages_->size(); ++i)
        eventList_->events[i] = reinterpret_cast<VstEvent*>(&(*messages_)[i]);
}

std::unique_ptr<CVstHost> CVstHost::Create(std::shared_ptr<CVstModule> module,
                                           const HostIdentity& identity, CVstHostClient* client,
                                           std::string& error)
{
    std::unique_ptr<CVstHost> host(new CVstHost(std::move(module), identity, client));
    CVstHost* const outer = hostBeingMade;
    hostBeingMade = host.get();
    AEffect* const effect = host->module_->Entry()(&OnCallback);
    hostBeingMade = outer;
    if (effect == nullptr || effect->magic != kEffectMagic || effect->dispatcher == nullptr) {
        error = "the module makes no instance";
        return nullptr;
    }
    effect->resvd1 = reinterpret_cast<VstIntPtr>(host.get());
    host->effect_ = effect; // which is closed from here on, whatever comes
    if ((effect->flags & effFlagsCanReplacing) == 0 || effect->processReplacing == nullptr) {
        error = "the module can only add to its outputs, as before version 2.4";
        return nullptr;
    }
    host->Dispatch(effOpen);
    return host;
}

CVstHost::~CVstHost()
{
    if (effect_ == nullptr)
        return;
    CloseEditor();
    Stop();
    Dispatch(effClose);
}

VstIntPtr CVstHost::Dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                             float opt) const
{
    return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
}

// --- Processing ---

void CVstHost::Start(double sampleRateHz, int maxBlockFrames)
{
    Stop();
    sampleRate_ = sampleRateHz;
    maxBlockFrames_ = maxBlockFrames;
    songFrames_.reset();
    Dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRateHz));
    Dispatch(effSetBlockSize, 0, maxBlockFrames);
    Dispatch(effMainsChanged, 0, 1);
    Dispatch(effStartProcess);
    started_ = true;
}

void CVstHost::Stop()
{
    if (!started_)
        return;
    started_ = false;
    Dispatch(effStopProcess);
    Dispatch(effMainsChanged, 0, 0);
}

void CVstHost::SetTransport(const HostTransport& transport)
{
    // A caller who computes positions anew differs by rounding from one who adds up.
    const bool goesOn = std::fabs(transport.quarterNotes - transport_.quarterNotes) <= 1e-3;
    if (!goesOn || transport.playing != transport_.playing)
        transportChanged_ = true;
    if (!goesOn)
        songFrames_.reset();
    transport_ = transport;
}

bool CVstHost::AddMidi(int frame, std::span<const std::uint8_t> message)
{
    if (message.empty() || message.size() > 3 || eventList_->numEvents >= kMaxEvents)
        return false;
    VstMidiEvent& event = (*messages_)[static_cast<std::size_t>(eventList_->numEvents++)];
    event = {};
    event.type = kVstMidiType;
    event.byteSize = sizeof(VstMidiEvent);
    event.deltaFrames = frame;
    std::memcpy(event.midiData, message.data(), message.size());
    return true;
}

/// As if the song had always had its tempo of the moment, which is all that is known of it.
double CVstHost::FramesOfPosition() const
{
    const double frames = transport_.quarterNotes * 60.0 / transport_.tempoBpm * sampleRate_;
    return std::isfinite(frames) ? std::round(frames) : 0.0;
}

void CVstHost::FillTimeInfo()
{
    if (!songFrames_)
        songFrames_ = FramesOfPosition();
    timeInfo_ = {};
    timeInfo_.samplePos = *songFrames_;
    timeInfo_.sampleRate = sampleRate_;
    timeInfo_.ppqPos = transport_.quarterNotes;
    timeInfo_.tempo = transport_.tempoBpm;
    timeInfo_.barStartPos = transport_.barStartQuarters.value_or(0.0);
    timeInfo_.timeSigNumerator = transport_.beatsPerBar;
    timeInfo_.timeSigDenominator = transport_.beatUnit;
    timeInfo_.flags = kVstPpqPosValid | kVstTempoValid | kVstTimeSigValid |
                      (transport_.barStartQuarters ? kVstBarsValid : 0) |
                      (transportChanged_ ? kVstTransportChanged : 0) |
                      (transport_.playing ? kVstTransportPlaying : 0);
}

void CVstHost::Render(float* const* outputs, int frames, float* const* inputs)
{
    FillTimeInfo();
    if (eventList_->numEvents > 0)
        Dispatch(effProcessEvents, 0, 0, eventList_.get());
    effect_->processReplacing(effect_, const_cast<float**>(inputs), const_cast<float**>(outputs),
                              frames);
    eventList_->numEvents = 0;

    if (transport_.known)
        transportChanged_ = false;
    if (transport_.playing && sampleRate_ > 0.0) {
        *songFrames_ += frames;
        transport_.quarterNotes += frames * transport_.tempoBpm / (60.0 * sampleRate_);
        transport_.barStartQuarters.reset(); // the position may be in another bar now
    }
}

// --- Parameters and programs ---

void CVstHost::SetParameter(int index, float value)
{
    effect_->setParameter(effect_, index, value);
}

float CVstHost::GetParameter(int index) const
{
    return effect_->getParameter(effect_, index);
}

std::string CVstHost::Text(VstInt32 opcode, int index) const
{
    std::array<char, kTextRoom> text{};
    Dispatch(opcode, index, 0, text.data());
    text.back() = '\0';
    return text.data();
}

std::string CVstHost::ParameterName(int index) const
{
    return Text(effGetParamName, index);
}
std::string CVstHost::ParameterDisplay(int index) const
{
    return Text(effGetParamDisplay, index);
}
std::string CVstHost::ParameterLabel(int index) const
{
    return Text(effGetParamLabel, index);
}
std::string CVstHost::ProgramName() const
{
    return Text(effGetProgramName, 0);
}
std::string CVstHost::EffectName() const
{
    return Text(effGetEffectName, 0);
}
std::string CVstHost::VendorName() const
{
    return Text(effGetVendorString, 0);
}

void CVstHost::SetProgramName(const std::string& name)
{
    std::string text = name;
    Dispatch(effSetProgramName, 0, 0, text.data());
}

std::vector<std::byte> CVstHost::GetChunk()
{
    void* data = nullptr;
    const VstIntPtr size = Dispatch(effGetChunk, 0, 0, &data);
    if (size <= 0 || data == nullptr)
        return {};
    const std::span bytes(static_cast<const std::byte*>(data), static_cast<std::size_t>(size));
    return {bytes.begin(), bytes.end()};
}

bool CVstHost::SetChunk(std::span<const std::byte> chunk)
{
    // The interface takes a pointer to what isn't const, and promises nothing.
    std::vector<std::byte> copy(chunk.begin(), chunk.end());
    return Dispatch(effSetChunk, 0, static_cast<VstIntPtr>(copy.size()), copy.data()) != 0;
}

// --- Editor ---

std::optional<CVstHost::Size> CVstHost::EditorSize() const
{
    ERect* rect = nullptr;
    Dispatch(effEditGetRect, 0, 0, &rect);
    if (rect == nullptr)
        return std::nullopt;
    return Size{rect->bottom - rect->top, rect->right - rect->left};
}

bool CVstHost::OpenEditor(void* parentWindow)
{
    editorOpen_ = Dispatch(effEditOpen, 0, 0, parentWindow) != 0;
    return editorOpen_;
}

void CVstHost::CloseEditor()
{
    if (editorOpen_)
        Dispatch(effEditClose);
    editorOpen_ = false;
}

void CVstHost::IdleEditor()
{
    if (editorOpen_)
        Dispatch(effEditIdle);
}

// --- Callbacks ---

VstIntPtr KELDRA_VST_CALL CVstHost::OnCallback(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                               VstIntPtr value, void* ptr, float opt)
{
    auto* host = effect != nullptr ? reinterpret_cast<CVstHost*>(effect->resvd1) : nullptr;
    if (host == nullptr)
        host = hostBeingMade;
    return host != nullptr ? host->Answer(opcode, index, value, ptr, opt) : 0;
}

VstIntPtr CVstHost::Answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    switch (opcode) {
    case audioMasterVersion:
        return identity_.version;
    case audioMasterGetVendorString:
        FillText(ptr, identity_.vendor);
        return 1;
    case audioMasterGetProductString:
        FillText(ptr, identity_.product);
        return 1;
    case audioMasterGetVendorVersion:
        return 1;
    case audioMasterCanDo:
        return ptr != nullptr ? CanHostDo(static_cast<const char*>(ptr)) : 0;
    case audioMasterGetLanguage:
        return kVstLangEnglish;
    case audioMasterGetSampleRate:
        return static_cast<VstIntPtr>(std::fmin(std::fmax(sampleRate_.load(), 0.0), 1e9));
    case audioMasterGetBlockSize:
        return maxBlockFrames_.load();
    case audioMasterGetCurrentProcessLevel:
        return identity_.processLevel;
    case audioMasterGetTime:
        return transport_.known ? reinterpret_cast<VstIntPtr>(&timeInfo_) : 0;
    case audioMasterWantMidi:
        return 1;
    default:
        break;
    }
    if (client_ == nullptr)
        return 0;
    switch (opcode) {
    case audioMasterAutomate:
        client_->OnAutomate(index, opt);
        return 0;
    case audioMasterBeginEdit:
        client_->OnBeginEdit(index);
        return 1;
    case audioMasterEndEdit:
        client_->OnEndEdit(index);
        return 1;
    case audioMasterSizeWindow:
        return client_->OnSizeWindow(index, static_cast<int>(value)) ? 1 : 0;
    case audioMasterUpdateDisplay:
        client_->OnUpdateDisplay();
        return 1;
    default:
        return 0;
    }
}

} // namespace keldra::vst
