// A plug-in module for the tests of hosts: an instrument of sine waves that writes down what its
// host does with it, in the file that SINE_MODULE_LOG names. It knows nothing of Keldra but the
// interface. With SINE_MODULE_EFFECT set it says that it is an effect. Its panel is empty.

#include <array>
#include <cmath>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <utility>
#include <vector>

#include "hosts/vst/VstInterface.h"

namespace keldra::vst {

namespace {

enum EParameter { kLevel, kRelease, kFault, kEcho, kParameterCount };
constexpr const char* kNames[] = {"Level", "Release", "Fault", "Echo"};
constexpr float kFaultNotANumber = 0.25f;
constexpr float kFaultCrash = 0.5f;
constexpr float kFaultSlow = 1.0f;

struct Note {
    int key = 0;
    double phase = 0.0;
    double level = 0.0;
    bool released = false;
};

class CSine {
public:
    explicit CSine(audioMasterCallback host) : host_(host)
    {
        static int count = 0;
        number_ = ++count;
        effect_.magic = kEffectMagic;
        effect_.dispatcher = [](AEffect* e, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                void* ptr, float opt) -> VstIntPtr {
            auto* self = static_cast<CSine*>(e->object);
            if (opcode == effClose) {
                self->Log("close");
                delete self;
                return 1;
            }
            return self->Dispatch(opcode, index, value, ptr, opt);
        };
        effect_.setParameter = [](AEffect* e, VstInt32 index, float value) {
            static_cast<CSine*>(e->object)->SetParameter(index, value);
        };
        effect_.getParameter = [](AEffect* e, VstInt32 index) {
            return static_cast<CSine*>(e->object)->values_.at(static_cast<std::size_t>(index));
        };
        effect_.processReplacing = [](AEffect* e, float**, float** outputs, VstInt32 frames) {
            static_cast<CSine*>(e->object)->Process(outputs, frames);
        };
        effect_.numPrograms = 1;
        effect_.numParams = kParameterCount;
        effect_.numOutputs = 2;
        effect_.flags = effFlagsHasEditor | effFlagsCanReplacing | effFlagsProgramChunks;
        if (std::getenv("SINE_MODULE_EFFECT") == nullptr)
            effect_.flags |= effFlagsIsSynth;
        effect_.object = this;
        effect_.uniqueID = FourCharacters("Sine");
        if (const char* path = std::getenv("SINE_MODULE_LOG"))
            log_ = std::fopen(path, "a");
        char product[64] = {};
        Host(audioMasterGetProductString, product);
        Log("host %s level %d", product,
            static_cast<int>(Host(audioMasterGetCurrentProcessLevel, nullptr)));
    }
    ~CSine()
    {
        if (log_ != nullptr)
            std::fclose(log_);
    }
    CSine(const CSine&) = delete;
    CSine& operator=(const CSine&) = delete;

    [[nodiscard]] AEffect* Effect() { return &effect_; }

private:
    VstIntPtr Host(VstInt32 opcode, void* ptr) { return host_(&effect_, opcode, 0, 0, ptr, 0.0f); }

    __attribute__((format(printf, 2, 3))) void Log(const char* format, ...)
    {
        if (log_ == nullptr)
            return;
        std::fprintf(log_, "%d: ", number_);
        std::va_list arguments;
        va_start(arguments, format);
        std::vfprintf(log_, format, arguments);
        va_end(arguments);
        std::fputc('\n', log_);
        std::fflush(log_);
    }

    void SetParameter(VstInt32 index, float value)
    {
        Log("set %d %g", index, static_cast<double>(value));
        values_.at(static_cast<std::size_t>(index)) = value;
    }

    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
    {
        switch (opcode) {
        case effOpen:
            Log("open");
            return 0;
        case effGetParamName:
            std::strcpy(static_cast<char*>(ptr),
                        index >= 0 && index < kParameterCount ? kNames[index] : "");
            return 0;
        case effSetSampleRate:
            rate_ = static_cast<double>(opt);
            Log("rate %g", rate_);
            return 0;
        case effSetBlockSize:
            Log("size %d", static_cast<int>(value));
            return 0;
        case effMainsChanged:
            Log("mains %d", static_cast<int>(value));
            return 0;
        case effStartProcess:
            Log("start");
            return 0;
        case effStopProcess:
            Log("stop");
            return 0;
        case effSetChunk: {
            const auto* bytes = static_cast<const unsigned char*>(ptr);
            Log("chunk %d of %d bytes: %02x .. %02x", index, static_cast<int>(value), bytes[0],
                bytes[value - 1]);
            return bytes[0] != 0xEE; // a chunk that isn't liked
        }
        case effEditGetRect: {
            static ERect panel{0, 0, 300, 400};
            *static_cast<ERect**>(ptr) = &panel;
            return 1;
        }
        case effEditOpen:
            return 1;
        case effProcessEvents:
            QueueEvents(*static_cast<const VstEvents*>(ptr));
            return 1;
        default:
            return 0;
        }
    }

    void QueueEvents(const VstEvents& events)
    {
        VstEvent* const* const list = events.events; // longer than its declaration says
        for (int i = 0; i < events.numEvents; ++i) {
            VstMidiEvent event;
            std::memcpy(&event, list[i], sizeof event);
            const auto* data = reinterpret_cast<const unsigned char*>(event.midiData);
            Log("midi %.0f: %02x %02x %02x", frame_ + event.deltaFrames, data[0], data[1], data[2]);
            events_.push_back(event);
        }
    }

    void Play(const VstMidiEvent& event)
    {
        const int status = event.midiData[0] & 0xF0;
        const int key = event.midiData[1];
        const int velocity = event.midiData[2];
        if (status == 0x90 && velocity > 0)
            notes_.push_back({key, 0.0, velocity / 127.0, false});
        const bool allOff = status == 0xB0 && key == 123;
        for (Note& note : notes_)
            if (allOff ||
                (note.key == key && (status == 0x80 || (status == 0x90 && velocity == 0))))
                note.released = true;
    }

    double NextSample()
    {
        double sum = 0.0;
        const double fadeSeconds = 100.0 * static_cast<double>(values_[kRelease]);
        for (Note& note : notes_) {
            if (note.released)
                note.level -= fadeSeconds > 0.0 ? 1.0 / (fadeSeconds * rate_) : note.level;
            sum += note.level * std::cos(note.phase);
            note.phase += 6.283185307179586 * 440.0 * std::exp2((note.key - 69) / 12.0) / rate_;
        }
        std::erase_if(notes_, [](const Note& note) { return note.level <= 0.0; });
        return WithEcho(sum * static_cast<double>(values_[kLevel]));
    }

    /// Once again, a second later.
    double WithEcho(double sample)
    {
        past_.resize(static_cast<std::size_t>(rate_), 0.0);
        double& second = past_[at_++ % past_.size()];
        const double echo = std::exchange(second, sample);
        return sample + echo * static_cast<double>(values_[kEcho]);
    }

    void Process(float** outputs, VstInt32 frames)
    {
        const auto* time = reinterpret_cast<const VstTimeInfo*>(Host(audioMasterGetTime, nullptr));
        Log("block %.0f + %d: sample %.0f quarter %.6f bar %.6f tempo %.4f meter %d/%d%s%s%s",
            frame_, frames, time->samplePos, time->ppqPos, time->barStartPos, time->tempo,
            time->timeSigNumerator, time->timeSigDenominator,
            (time->flags & kVstTransportPlaying) != 0 ? " playing" : "",
            (time->flags & kVstTransportChanged) != 0 ? " changed" : "",
            (time->flags & kVstBarsValid) != 0 ? "" : " no bars");
        if (values_[kFault] == kFaultCrash)
            std::raise(SIGSEGV);
        if (values_[kFault] == kFaultSlow)
            ::usleep(20000);
        std::size_t next = 0;
        for (int i = 0; i < frames; ++i) {
            for (; next < events_.size() && events_[next].deltaFrames <= i; ++next)
                Play(events_[next]);
            const double sample = NextSample();
            outputs[0][i] = static_cast<float>(sample);
            outputs[1][i] = static_cast<float>(0.5 * sample);
        }
        if (values_[kFault] == kFaultNotANumber)
            outputs[1][frames - 1] = std::nanf("");
        events_.clear();
        frame_ += frames;
    }

    audioMasterCallback host_;
    AEffect effect_{};
    int number_ = 0;
    std::FILE* log_ = nullptr;
    std::array<float, kParameterCount> values_{0.5f, 0.0f, 0.0f, 0.0f};
    double rate_ = 44100.0;
    double frame_ = 0.0;
    std::vector<VstMidiEvent> events_;
    std::vector<Note> notes_;
    std::vector<double> past_; ///< the last second
    std::size_t at_ = 0;       ///< the next sample in it
};

} // namespace

} // namespace keldra::vst

extern "C" __attribute__((visibility("default"))) keldra::vst::AEffect*
VSTPluginMain(keldra::vst::audioMasterCallback host);

keldra::vst::AEffect* VSTPluginMain(keldra::vst::audioMasterCallback host)
{
    return (new keldra::vst::CSine(host))->Effect();
}
