#include "platform/FileDialog.h"

#include <algorithm>

namespace keldra {

namespace {

char Small(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Each * takes as little as it can; where that fails, the last one takes a character more.
bool FitsPattern(std::string_view name, std::string_view pattern)
{
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t n = 0;
    std::size_t p = 0;
    std::size_t star = kNone;
    std::size_t taken = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = n;
        } else if (p < pattern.size() &&
                   (pattern[p] == '?' || Small(pattern[p]) == Small(name[n]))) {
            ++p;
            ++n;
        } else if (star != kNone) {
            p = star + 1;
            n = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == kNone;
}

} // namespace

std::vector<std::string> SplitPatterns(const std::string& patterns)
{
    std::vector<std::string> list;
    for (std::size_t begin = 0; begin < patterns.size();) {
        const std::size_t end = std::min(patterns.find(';', begin), patterns.size());
        const std::string pattern = patterns.substr(begin, end - begin);
        if (!pattern.empty())
            list.push_back(pattern == "*.*" ? "*" : pattern);
        begin = end + 1;
    }
    return list;
}

bool FitsPatterns(std::string_view fileName, const std::string& patterns)
{
    const std::vector<std::string> list = SplitPatterns(patterns);
    return list.empty() ||
           std::any_of(list.begin(), list.end(), [fileName](const std::string& pattern) {
               return FitsPattern(fileName, pattern);
           });
}

} // namespace keldra
