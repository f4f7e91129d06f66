#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// A host of the native kind, written as one in another language would be: it finds everything by
// place, functions by their index in a table and fields by their offset, and owns its voices.

namespace keldra::test {

/// Where things are in the plug-in object and in the module's record.
struct NativeOffsets {
    std::size_t tag, info, editorWindow, unused, sampleRate, c5Increment, host, text;
    std::size_t infoLongName, infoShortName, infoFlags, infoParameters;
};
inline constexpr NativeOffsets kOffsets =
    sizeof(void*) == 4 ? NativeOffsets{4, 8, 12, 16, 148, 152, 156, 164, 4, 8, 12, 16}
                       : NativeOffsets{8, 16, 24, 32, 164, 168, 176, 188, 8, 16, 24, 28};

/// One of the host's voices: ten floats, of which the plug-in reads seven.
struct ScriptedVoice {
    float unused0 = 0.0f;
    float initialVolume = 1.0f;
    float initialPitch = 6000.0f; ///< cents
    float unused12 = 0.0f;
    float unused16 = 0.0f;
    float pan = 0.0f; ///< -1 .. +1, in this host
    float volume = 1.0f;
    float pitch = 0.0f; ///< cents from key 60
    float cutoffOffset = 0.0f;
    float resonanceOffset = 0.0f;
};

/// The host and its one plug-in object.
class CScriptedHost {
public:
    using Entry = void* (*)(void* host, std::intptr_t tag);
    static constexpr std::intptr_t kTag = 4711;

    CScriptedHost();
    ~CScriptedHost() { Close(); }
    CScriptedHost(const CScriptedHost&) = delete;
    CScriptedHost& operator=(const CScriptedHost&) = delete;

    /// @return whether there is an object now
    bool Load(Entry entry);
    void Close(); ///< by slot 0

    /// Calls the function in a slot of the object's table.
    template <typename Result = void, typename... Arguments>
    Result Call(std::size_t slot, Arguments... arguments)
    {
        using Function = Result (*)(void*, Arguments...);
        return reinterpret_cast<Function>((*static_cast<void***>(plug))[slot])(plug, arguments...);
    }
    /// A field of the object, or of a record that it points to.
    template <typename Field>
    static Field At(const void* record, std::size_t offset)
    {
        Field field;
        std::memcpy(&field, static_cast<const char*>(record) + offset, sizeof(field));
        return field;
    }

    std::intptr_t Command(std::int32_t id, std::intptr_t value)
    {
        return Call<std::intptr_t>(1, id, std::int32_t{0}, value);
    }
    /// A text of the object's in a buffer that held "untouched".
    std::string Name(std::int32_t section, std::int32_t index);
    std::int32_t Exchange(std::int32_t index, std::int32_t value, std::int32_t flags)
    {
        return Call<std::int32_t>(6, index, value, flags);
    }
    std::intptr_t Start(ScriptedVoice& voice, std::intptr_t tag = 0)
    {
        return Call<std::intptr_t>(9, &voice, tag);
    }
    void Release(std::intptr_t handle) { Call(10, handle); }
    void Kill(std::intptr_t handle) { Call(11, handle); }
    /// Renders on top of what the buffer holds: left and right in turn.
    void Render(std::vector<float>& buffer);

    void* plug = nullptr;
    std::function<void(const std::string& line)> onCall; ///< every call, before it is answered
    const char* text = "of the host";                    ///< for code 29
    bool answersNull = false; ///< to every code, and writes nothing into an answer's memory
    double songPosition = 0.0;
    std::vector<std::pair<const char*, std::int32_t>> menu; ///< texts and flags, of any parameter

private:
    struct Object { // what the plug-in gets a pointer to
        void* const* table;
        CScriptedHost* self;
    };
    static std::intptr_t Dispatch(Object*, std::intptr_t tag, std::int32_t id, std::int32_t index,
                                  std::intptr_t value);
    static void OnParameterChanged(Object*, std::intptr_t, std::int32_t index, std::int32_t value);
    static void ShowHint(Object*, std::intptr_t, const char* hint);
    static void OnVoiceReplaced(Object*, std::intptr_t voice, std::int32_t zero);
    static void ComputeGains(Object*, float* left, float* right, float pan, float volume);
    static void OnRender(Object*);
    template <typename... Words>
    void Note(const Words&... words) const;

    std::array<void*, 35> table_{};
    Object object_;
    struct MenuItem {
        const char* text;
        std::int32_t flags;
    } menuItem_{}; ///< one for all: good until the next is asked for
};

} // namespace keldra::test
