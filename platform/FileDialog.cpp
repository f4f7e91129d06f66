#include "platform/FileDialog.h"

namespace keldra {

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

} // namespace keldra
