#include "hosts/native/DNWrapper.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include "frame/EditorPort.h"
#include "frame/Numbers.h"
#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"
#include "frame/Text.h"
#include "hosts/native/StateTransfer.h"

namespace keldra::native {

namespace {

constexpr int kTempoEvent = 0;
constexpr double kFullScale = 256.0; ///< a host's value for 1.0

/// A parameter's name, value or unit on its way to the host.
constexpr std::size_t kTextPartSize = 129;
using TextPart = std::array<char, kTextPartSize>;

// The host's parameters beyond the synthesizer's own: the MIDI controllers, then the pressure.
constexpr int kControllerCount = 129;
constexpr int kPressure = 128;

constexpr std::uint8_t kNoteOff = 0x80;
constexpr std::uint8_t kNoteOn = 0x90;
constexpr std::uint8_t kControlChange = 0xB0;
constexpr std::uint8_t kChannelPressure = 0xD0;

std::int32_t ToInt32(std::intptr_t value)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::intptr_t>(value, Limits::min(), Limits::max()));
}

MidiMessage Message(std::uint8_t status, int data1, int data2 = 0)
{
    return {status, static_cast<std::uint8_t>(data1), static_cast<std::uint8_t>(data2), 0};
}

/// A value that comes from MIDI in units of the host's parameters.
std::int32_t FromMidi(std::int32_t value)
{
    return TruncateToInt(static_cast<double>(value) * kFullScale) >> 16;
}

std::int32_t ToHostValue(float value)
{
    return TruncateToInt(static_cast<double>(value) * kFullScale);
}

float FromHostValue(std::int32_t value)
{
    return Clamped(static_cast<float>(value) / static_cast<float>(kFullScale), 0.0f, 1.0f);
}

int ToMidiValue(float value)
{
    return std::clamp(TruncateToInt(static_cast<double>(value * 127.0f)), 0, 127);
}

bool IsKey(VoiceHandle handle)
{
    return handle >= 0 && handle < kKeyCount;
}

PlugInfo MakeInfo(std::int32_t flags)
{
    const CPluginInstance& definition = CPluginInstance::Get();
    const char* const name = definition.pluginName.data();
    return {.version = kInterfaceVersion,
            .longName = name,
            .shortName = name,
            .flags = flags,
            .parameterCount = definition.hostParameterCount + kControllerCount,
            .unused20 = 0,
            .unused24 = 0};
}

/// The module's record. Hosts may read it at any time, so it is never written again.
const PlugInfo& ModuleInfo()
{
    static const PlugInfo instrument = MakeInfo(kPlugAlways | kPlugIsInstrument);
    static const PlugInfo effect = MakeInfo(kPlugAlways);
    return CPluginInstance::Get().isEffect ? effect : instrument;
}

} // namespace

// --- Life ---

CDNWrapper::CDNWrapper(TDornoHost& hostObject, HostTag tag, const PlugInfo& plugInfo)
    : TCPPDornoPlug(hostObject, tag, plugInfo),
      synthParameterCount_(CPluginInstance::Get().hostParameterCount)
{
}

std::unique_ptr<CDNWrapper> CDNWrapper::Create(TDornoHost& host, HostTag tag)
{
    CPluginInstance& definition = CPluginInstance::GetMutable();
    definition.SetHostNative();
    definition.SetHostNames("Tallowen", "Dorno Wrapper");
    if (!definition.CanCreateInstance())
        return nullptr;
    std::unique_ptr<CDNWrapper> wrapper(new CDNWrapper(host, tag, ModuleInfo()));
    wrapper->MakeRendererAndEditor();
    if (!definition.isEffect)
        wrapper->host_.Ask(kIsInstrument, 0, 1);
    return wrapper;
}

void CDNWrapper::MakeRendererAndEditor()
{
    const CPluginInstance& definition = CPluginInstance::Get();
    renderer_ = definition.CreateRenderer();
    if (renderer_ != nullptr) {
        renderer_->SetHostWrapper(this);
        editor_ = definition.CreateEditor();
    }
    if (editor_ != nullptr) {
        renderer_->SetEditor(editor_.get());
        editor_->Connect(*renderer_, *this);
    }
    if (renderer_ != nullptr)
        renderer_->ChangeSampleRate(sampleRate, CPluginRenderer::EStart::AnyTime);
    menu_ = std::make_unique<CParameterMenu>(host_);
}

CDNWrapper::~CDNWrapper()
{
    Release();
}

/// Ends everything but the object itself. The editor goes first: it looks at the rest, and may just
/// be asking for the menu.
void CDNWrapper::Release()
{
    if (editor_ != nullptr)
        ShowEditor(0);
    if (renderer_ != nullptr)
        renderer_->SetEditor(nullptr);
    editor_.reset();
    menu_.reset();
    renderer_.reset();
    voices_ = {};
}

void CDNWrapper::DestroyInstance()
{
    delete this;
}

void CDNWrapper::Destroy(std::int32_t flags)
{
    if ((flags & kFreeMemory) != 0)
        delete this;
    else
        Release();
}

// --- Commands and events ---

std::intptr_t CDNWrapper::HandleCommand(std::int32_t id, std::int32_t, std::intptr_t value)
{
    switch (id) {
    case kShowEditor:
        ShowEditor(static_cast<std::uintptr_t>(value));
        break;
    case kStopSound: // the host goes on rendering: no end of processing
        ChangeSampleRate(0);
        break;
    case kSetSampleRate:
        ChangeSampleRate(ToInt32(value));
        break;
    case kTransportChanged:
        playing_ = value != 0;
        playingIsNews_ = true;
        break;
    case kTransportAgain:
        playingIsNews_ = true;
        break;
    default:
        break;
    }
    return 0;
}

void CDNWrapper::ShowEditor(std::uintptr_t parent)
{
    if (editor_ == nullptr)
        return;
    editorWindow = 0;
    if (editor_->IsOpen())
        editor_->Close();
    if (parent != 0 && editor_->Open(reinterpret_cast<void*>(parent)))
        editorWindow = reinterpret_cast<std::uintptr_t>(editor_->WindowHandle());
}

void CDNWrapper::ChangeSampleRate(std::int32_t hz)
{
    if (hz > 0) {
        StoreSampleRate(hz);
        if (renderer_ != nullptr && TruncateToInt(renderer_->GetSampleRate()) != hz)
            renderer_->ChangeSampleRate(hz, CPluginRenderer::EStart::AnyTime);
    } else if (renderer_ != nullptr) { // not stored: the phase increment would be infinite
        renderer_->ChangeSampleRate(0.0);
    }
}

std::int32_t CDNWrapper::OnHostEvent(std::int32_t id, std::intptr_t value, std::int32_t)
{
    if (id != kTempoEvent)
        return 0;
    const float tempo = std::bit_cast<float>(static_cast<std::uint32_t>(value));
    if (std::isfinite(tempo))
        tempo_ = static_cast<double>(tempo);
    return 0;
}

// --- Names and values ---

void CDNWrapper::GetName(std::int32_t section, std::int32_t index, std::int32_t, char* text)
{
    if (text == nullptr)
        return;
    const std::span<char> room(text, kHostTextSize);
    if (section == kParameterName || section == kParameterText) {
        if (index >= 0 && index < synthParameterCount_)
            NameSynthParameter(section, index, room);
        else if (index >= synthParameterCount_ && index < info->parameterCount)
            NameController(section, index - synthParameterCount_, room);
    } else if (renderer_ != nullptr && section == kAuxName) {
        renderer_->GetAuxName(index, room);
    } else if (renderer_ != nullptr && section == kProgramName) {
        renderer_->GetProgramName(room);
    }
}

void CDNWrapper::NameSynthParameter(std::int32_t section, int index, std::span<char> text) const
{
    if (renderer_ == nullptr)
        return;
    if (section == kParameterName) {
        renderer_->GetParameterName(index, text);
        return;
    }
    TextPart display;
    TextPart label;
    renderer_->GetParameterDisplay(index, display);
    renderer_->GetParameterLabel(index, label);
    CTextWriter(text).Append(TextIn(display)).Append(" ").Append(TextIn(label));
}

void CDNWrapper::NameController(std::int32_t section, int controller, std::span<char> text) const
{
    CTextWriter writer(text);
    if (section == kParameterText)
        writer.AppendInt(ToMidiValue(controllers_[static_cast<std::size_t>(controller)]));
    else if (controller == kPressure)
        writer.Append("Chn. Aftertouch");
    else
        writer.Append("MIDI CC ").AppendInt(controller);
}

std::int32_t CDNWrapper::ExchangeParameter(std::int32_t index, std::int32_t value,
                                           std::int32_t flags)
{
    if (index < 0 || index >= info->parameterCount)
        return value;
    if ((flags & kExchangeFromMidi) != 0)
        value = FromMidi(value);
    return index < synthParameterCount_
               ? ExchangeSynthParameter(index, value, flags)
               : ExchangeController(index - synthParameterCount_, value, flags);
}

std::int32_t CDNWrapper::ExchangeSynthParameter(int index, std::int32_t value, std::int32_t flags)
{
    if (renderer_ == nullptr)
        return value;
    if ((flags & kExchangeGet) != 0)
        value = ToHostValue(renderer_->GetParameter(index));
    if ((flags & kExchangeUpdate) != 0) {
        renderer_->SetParameter(index, FromHostValue(value));
        if (editor_ != nullptr)
            renderer_->Feedback().MarkParameter(index);
    }
    return value;
}

std::int32_t CDNWrapper::ExchangeController(int controller, std::int32_t value, std::int32_t flags)
{
    if ((flags & kExchangeGet) != 0)
        value = ToHostValue(Controller(controller));
    if ((flags & kExchangeUpdate) != 0) {
        const float fraction = FromHostValue(value);
        Controller(controller) = fraction;
        if (controller == kPressure)
            Play(Message(kChannelPressure, ToMidiValue(fraction)));
        else
            Play(Message(kControlChange, controller, ToMidiValue(fraction)));
    }
    return value;
}

// --- State ---

void CDNWrapper::SaveOrLoadState(StateStream* stream, std::int32_t save)
{
    if (stream == nullptr)
        return;
    const int size = renderer_ != nullptr ? std::max(renderer_->GetChunk(nullptr), 0) : 0;
    if (save != 0) {
        std::vector<std::byte> block(static_cast<std::size_t>(size));
        if (!block.empty())
            renderer_->GetChunk(block.data());
        WriteState(*stream, block);
        return;
    }
    // What is longer than a block of our own has nothing for us at its end.
    const auto block = ReadState(*stream, static_cast<std::size_t>(size));
    if (!block || renderer_ == nullptr ||
        !renderer_->SetChunk(block->data(), static_cast<int>(block->size())))
        return;
    for (int index = 0; index < synthParameterCount_; ++index)
        AutomateParameter(index, renderer_->GetParameter(index));
    if (editor_ != nullptr)
        renderer_->Feedback().MarkProgram();
}

// --- Notes ---

VoiceHandle CDNWrapper::StartVoice(HostVoice* voice, VoiceTag tag)
{
    if (voice == nullptr)
        return -1;
    const int key = KeyOf(*voice);
    const int velocity = VelocityOf(*voice);
    if (const std::optional<VoiceTag> earlier = voices_.TagOf(key))
        host_.VoiceWasReplaced(*earlier);
    voices_.Keep(key, *voice, tag);
    Play(Message(kNoteOn, key, velocity));
    return key;
}

void CDNWrapper::ReleaseVoice(VoiceHandle handle)
{
    if (IsKey(handle))
        Play(Message(kNoteOff, static_cast<int>(handle)));
}

void CDNWrapper::KillVoice(VoiceHandle handle)
{
    if (!IsKey(handle))
        return;
    ReleaseVoice(handle);
    voices_.Forget(static_cast<int>(handle));
}

void CDNWrapper::KillAllVoices()
{
    for (int key = 0; key < kKeyCount; ++key)
        KillVoice(key);
}

/// Between two renders. On the thread that renders at once, as the engine is its own; if another
/// thread has it just then, before the next render. Other threads leave the message as well: if
/// they took the engine, a block might have to go without.
void CDNWrapper::Play(const MidiMessage& message)
{
    if (renderer_ == nullptr)
        return;
    const std::thread::id renderThread = renderThread_.load();
    const bool another =
        renderThread != std::thread::id() && renderThread != std::this_thread::get_id();
    if (another && renderer_->PostMidi(message))
        return; // else so much has been left that nobody can be rendering
    const CProcessingOperation operation(*renderer_);
    if (operation.MayRun())
        renderer_->DispatchMessage(message);
    else
        (void)renderer_->PostMidi(message);
}

// --- Sound ---

void CDNWrapper::UpdateKeyControls()
{
    if (renderer_ == nullptr)
        return;
    voices_.Read(host_);
    const CProcessingOperation operation(*renderer_);
    if (operation.MayRun())
        voices_.WriteTo(renderer_->Keys());
}

void CDNWrapper::RenderInstrument(float* buffer, const std::int32_t* length)
{
    if (renderer_ == nullptr || buffer == nullptr || length == nullptr)
        return;
    renderThread_ = std::this_thread::get_id();
    // All that the host is asked, in its order, before the engine is taken.
    const std::optional<double> quarterNotes = host_.SongPosition();
    voices_.Read(host_);
    host_.AnnounceRender();

    const CProcessingOperation operation(*renderer_);
    if (!operation.MayRun())
        return; // another thread has the engine: it has just stopped all sound
    voices_.WriteTo(renderer_->Keys());
    TakeHostClock(quarterNotes);
    AddRendered(buffer, *length);
}

void CDNWrapper::TakeHostClock(std::optional<double> quarterNotes)
{
    if (quarterNotes)
        renderer_->SetSongPosition(*quarterNotes);
    if (const double tempo = tempo_.exchange(kNothingNew); !std::isnan(tempo))
        renderer_->SetTempo(tempo);
    if (playingIsNews_.exchange(false))
        renderer_->SetTransportPlaying(playing_);
}

void CDNWrapper::AddRendered(float* buffer, int frames)
{
    AudioBlock& block = *renderer_->GetOutputBuffer();
    const float* const left = block.Channel(0);
    const float* const right = block.Channel(1);
    if (left == nullptr || right == nullptr)
        return;
    while (frames > 0) {
        const int chunk = std::min(frames, block.Capacity());
        block.SetFrameCount(chunk);
        block.ClearAll();
        renderer_->Render();
        for (int i = 0; i < chunk; ++i) {
            buffer[2 * i] += left[i];
            buffer[2 * i + 1] += right[i];
        }
        buffer += 2 * chunk;
        frames -= chunk;
    }
}

// --- To the host ---

void CDNWrapper::AutomateParameter(int index, float value)
{
    if (renderer_ == nullptr || index < 0 || index >= synthParameterCount_)
        return;
    host_.ReportParameter(index, ToHostValue(value));

    TextPart name;
    TextPart display;
    TextPart label;
    renderer_->GetParameterName(index, name);
    renderer_->GetParameterDisplay(index, display);
    renderer_->GetParameterLabel(index, label);
    std::array<char, 3 * kTextPartSize> hint;
    CTextWriter(hint)
        .Append(TextIn(name))
        .Append(" ")
        .Append(TextIn(display))
        .Append(" ")
        .Append(TextIn(label));
    host_.ShowHint(hint.data());
}

void CDNWrapper::ShowParameterMenu(int index)
{
    if (editor_ != nullptr && index >= 0 && index < synthParameterCount_)
        menu_->Show(index, reinterpret_cast<std::uintptr_t>(editor_->WindowHandle()));
}

void CDNWrapper::HostNoteOn(int key, float velocity)
{
    host_.Ask(kHostNoteOn, key, TruncateToInt(static_cast<double>(velocity * 127.0f)));
}

void CDNWrapper::HostNoteOff(int key)
{
    host_.Ask(kHostNoteOff, key);
}

int CDNWrapper::HostCommand50()
{
    return ToInt32(host_.Ask(kHostCode50, 1));
}

void CDNWrapper::HostCommand3()
{
    host_.Ask(kHostCode3, 0, 2);
}

void CDNWrapper::GetHostText(int index, char* text)
{
    HostAnswer<kHostTextAnswerSize> answer;
    host_.Ask(kGetHostText, index, answer);
    answer.bytes.back() = std::byte{0};
    CopyHostText(reinterpret_cast<const char*>(answer.bytes.data()) + kHostTextAnswerOffset,
                 {text, kHostTextAnswerSize - kHostTextAnswerOffset});
}

// --- Entry ---

TDornoPlug* CreateNativeInstance(TDornoHost* host, HostTag tag)
{
    if (host == nullptr || !CPluginInstance::Exists())
        return nullptr;
    try {
        return CDNWrapper::Create(*host, tag).release(); // the host's DestroyInstance destroys it
    } catch (...) {
        return nullptr;
    }
}

} // namespace keldra::native
