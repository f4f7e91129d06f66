#include "apps/keldra/Choice.h"

#include <algorithm>

#include "apps/render/Text.h"

namespace keldra::standalone {

namespace {

bool Contains(std::string_view text, std::string_view part)
{
    if (part.empty() || part.size() > text.size())
        return false;
    for (std::size_t at = 0; at + part.size() <= text.size(); ++at)
        if (render::SameIgnoringCase(text.substr(at, part.size()), part))
            return true;
    return false;
}

} // namespace

std::optional<std::size_t> Choose(const std::vector<std::string>& names, std::string_view wanted,
                                  std::string_view what, std::string& error)
{
    if (const std::optional<int> number = render::ParseWhole(wanted)) {
        if (*number >= 1 && static_cast<std::size_t>(*number) <= names.size())
            return static_cast<std::size_t>(*number - 1);
    }
    if (const auto same = std::find(names.begin(), names.end(), wanted); same != names.end())
        return static_cast<std::size_t>(same - names.begin());
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!Contains(names[i], wanted))
            continue;
        if (found) {
            error = std::string(what) + " " + render::Quoted(wanted) + " may be " +
                    render::Quoted(names[*found]) + " or " + render::Quoted(names[i]);
            return std::nullopt;
        }
        found = i;
    }
    if (!found)
        error = "no " + std::string(what) + " " + render::Quoted(wanted) +
                "; --list-devices shows what there is";
    return found;
}

} // namespace keldra::standalone
