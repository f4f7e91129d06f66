#include "tests/native/NativeHost.h"

#include <algorithm>
#include <sstream>

namespace keldra::test {

/// Takes no memory when nobody listens.
template <typename... Words>
void CScriptedHost::Note(const Words&... words) const
{
    if (!onCall)
        return;
    std::ostringstream line;
    const char* space = "";
    ((line << std::exchange(space, " ") << words), ...);
    onCall(line.str());
}

CScriptedHost::CScriptedHost() : object_{table_.data(), this}
{
    table_[0] = reinterpret_cast<void*>(&Dispatch);
    table_[1] = reinterpret_cast<void*>(&OnParameterChanged);
    table_[2] = reinterpret_cast<void*>(&ShowHint);
    table_[5] = reinterpret_cast<void*>(&OnVoiceReplaced);
    table_[31] = reinterpret_cast<void*>(&ComputeGains);
    table_[34] = reinterpret_cast<void*>(&OnRender);
}

bool CScriptedHost::Load(Entry entry)
{
    plug = entry(&object_, kTag);
    return plug != nullptr;
}

void CScriptedHost::Close()
{
    if (plug != nullptr)
        Call(0);
    plug = nullptr;
}

std::string CScriptedHost::Name(std::int32_t section, std::int32_t index)
{
    std::array<char, 512> buffer;
    buffer.fill('x');
    std::strcpy(buffer.data(), "untouched");
    Call(4, section, index, std::int32_t{0}, buffer.data());
    return buffer[256] == 'x' ? buffer.data() : "wrote beyond 256 bytes";
}

void CScriptedHost::Render(std::vector<float>& buffer)
{
    const auto frames = static_cast<std::int32_t>(buffer.size() / 2);
    Call(8, buffer.data(), &frames);
}

std::intptr_t CScriptedHost::Dispatch(Object* object, std::intptr_t tag, std::int32_t id,
                                      std::int32_t index, std::intptr_t value)
{
    CScriptedHost& host = *object->self;
    const bool intoMemory = id == 37 || id == 52;
    host.Note(tag == kTag ? "ask" : "wrong tag", id, index, intoMemory ? 1 : value);
    if (host.answersNull)
        return 0;
    char* const memory = reinterpret_cast<char*>(value);
    if (id == 29)
        return reinterpret_cast<std::intptr_t>(host.text);
    if (id == 37)
        std::memcpy(memory, &host.songPosition, sizeof(double));
    if (id == 50)
        return 51;
    if (id == 52)
        std::strcpy(memory + 256, "host text");
    if (id == 18 && value < static_cast<std::intptr_t>(host.menu.size())) {
        const auto& [itemText, flags] = host.menu[static_cast<std::size_t>(value)];
        host.menuItem_ = {itemText, flags};
        return reinterpret_cast<std::intptr_t>(&host.menuItem_);
    }
    return 0;
}

void CScriptedHost::OnParameterChanged(Object* object, std::intptr_t, std::int32_t index,
                                       std::int32_t value)
{
    object->self->Note("changed", index, value);
}

void CScriptedHost::ShowHint(Object* object, std::intptr_t, const char* hint)
{
    object->self->Note("hint", hint);
}

void CScriptedHost::OnVoiceReplaced(Object* object, std::intptr_t voice, std::int32_t zero)
{
    object->self->Note("replaced", voice, zero);
}

void CScriptedHost::ComputeGains(Object* object, float* left, float* right, float pan, float volume)
{
    object->self->Note("gains");
    *left = volume * std::min(1.0f, 1.0f - pan);
    *right = volume * std::min(1.0f, 1.0f + pan);
}

void CScriptedHost::OnRender(Object* object)
{
    object->self->Note("render");
}

} // namespace keldra::test
