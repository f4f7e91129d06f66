#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace keldra::test {

/// Environment variables that are something else while it lives.
class CEnvironment {
public:
    ~CEnvironment()
    {
        for (const auto& [name, value] : before_)
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
    }
    void Set(const std::string& name, const std::string& value)
    {
        const char* old = std::getenv(name.c_str());
        before_.try_emplace(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name.c_str(), value.c_str(), 1);
    }

private:
    std::map<std::string, std::optional<std::string>> before_;
};

} // namespace keldra::test
