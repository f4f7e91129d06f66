#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "frame/ParameterTable.h"

namespace keldra::vst {

/// What users do to parameters, on its way to a host that may be told of it on the processing
/// thread alone. Never waits or allocates. Indices are 0 .. kParameterCount - 1.
class CEditReports {
public:
    void Begin(int index);  ///< a user takes hold of it. Any thread
    void Change(int index); ///< it has another value. Any thread
    void End(int index);    ///< a user lets go of it. Any thread

    /// Calls `begin(index)`, `change(index)` and `end(index)` for what has happened since the last
    /// call: of a parameter's changes one, each begin with its end. An edit that was as short as
    /// that ends with the next call. Processing thread.
    void Tell(const auto& begin, const auto& change, const auto& end);

private:
    enum EState : unsigned { kHeld = 1, kBegun = 2, kChanged = 4 }; // the latter two: since Tell
    struct Parameter {
        std::atomic<unsigned> state{0};
        bool isBegun = false; ///< told so, and not of its end. Processing thread
    };
    void Mark(int index, unsigned state);
    Parameter& At(int index) { return parameters_[static_cast<std::size_t>(index)]; }

    std::array<Parameter, kParameterCount> parameters_;
    std::atomic<bool> haveNews_{false};
};

inline void CEditReports::Mark(int index, unsigned state)
{
    At(index).state |= state;
    haveNews_ = true;
}

inline void CEditReports::Begin(int index)
{
    Mark(index, kHeld | kBegun);
}

inline void CEditReports::Change(int index)
{
    Mark(index, kChanged);
}

inline void CEditReports::End(int index)
{
    At(index).state &= ~kHeld;
    haveNews_ = true;
}

void CEditReports::Tell(const auto& begin, const auto& change, const auto& end)
{
    if (!haveNews_.exchange(false))
        return;
    for (int index = 0; index < kParameterCount; ++index) {
        Parameter& parameter = At(index);
        const unsigned state = parameter.state.fetch_and(kHeld);
        const bool isHeld = (state & kHeld) != 0;
        const bool hasBegun = (state & kBegun) != 0;
        if (parameter.isBegun && hasBegun) { // let go for a moment
            end(index);
            parameter.isBegun = false;
        }
        if (hasBegun)
            begin(index);
        if ((state & kChanged) != 0)
            change(index);
        if (parameter.isBegun && !isHeld)
            end(index);
        parameter.isBegun = hasBegun || (parameter.isBegun && isHeld);
        if (hasBegun && !isHeld)
            haveNews_ = true;
    }
}

} // namespace keldra::vst
