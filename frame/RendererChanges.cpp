// The road of a change from any thread to the engine, and of the engine's reports to the host.
//
//     stored     what SetParameter or a program load last left in a parameter's record: it reads
//                back at once on any thread, and counts in the end
//     followed   what the engine was last told of a parameter
//     touched    followed since the two were last compared: the engine agrees with what is stored
//                when nothing touched differs
//
// A change is stored first and then either applied (by whoever has the engine, or takes it while
// processing is off) or queued for the next operation, which begins with ApplyPending.

#include <algorithm>
#include <bit>
#include <chrono>
#include <thread>
#include <utility>

#include "frame/MidiControllers.h"
#include "frame/PluginRenderer.h"
#include "frame/PluginWrapper.h"

namespace keldra {

namespace {

bool SameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

} // namespace

void CPluginRenderer::SwitchProcessing(bool on)
{
    {
        CControlOperation operation(*this, CControlScope::EWhen::Always);
        operation.TurnProcessing(on);
        SetSampleRate(0.0);
        if (on)
            PrepareToProcess();
    }
    // A note that waits for the next block would sound after the resume, and no host would end it.
    // When the engine has been let go: a block left out meanwhile has queued its events before.
    if (!on)
        BeginEra();
}

void CPluginRenderer::ChangeSampleRate(double hz, EStart start)
{
    const CControlOperation operation(*this, CControlScope::EWhen::Always);
    SetSampleRate(hz);
    if (start == EStart::AnyTime || gate_.ProcessingIsOn())
        PrepareToProcess();
}

/// The number of a store that begins: later ones have greater numbers. What a queued change brings
/// with it is as old as that change, so that the next one in the queue may store over it.
std::uint64_t CPluginRenderer::NextStore()
{
    const bool isQueuedChanges = gate_.CallerOwnsEngine() && drained_ != nullptr;
    return isQueuedChanges ? drained_->storesBefore : stores_.fetch_add(1) + 1;
}

void CPluginRenderer::Store(int index, float value, std::uint64_t store)
{
    ParameterRecord& record = records_[static_cast<std::size_t>(index)];
    record.store.store(store);
    record.value.store(value);
}

bool CPluginRenderer::IsSetSince(int index) const
{
    return gate_.CallerOwnsEngine() && drained_ != nullptr &&
           records_[static_cast<std::size_t>(index)].store.load() > drained_->storesBefore;
}

void CPluginRenderer::ChangeProgram(const ProgramValues& change)
{
    if (gate_.CallerOwnsEngine()) {
        StoreProgram(change);
        loadsQueued_.fetch_add(1); // as good as queued
        ApplyProgram(change);
        AgreeWithStored();
        return;
    }
    changes_.CollectRetired();
    auto copy = std::make_unique<ProgramValues>(change); // before anything is stored: it may throw
    StoreProgram(change);
    RequestChange({EngineChange::EKind::Program, 0, 0.0f, copy.release()});
}

// Two loads at once would leave a mixture of their values. Control threads take turns; the owner of
// the engine (a program change by MIDI) can't wait for one, so the control thread stores again: its
// load is then the later one.
void CPluginRenderer::StoreProgram(const ProgramValues& program)
{
    loadsBegun_.fetch_add(1);
    if (gate_.CallerOwnsEngine()) {
        ownerStores_.fetch_add(1);
        StoreValues(program);
        ownerStores_.fetch_add(1);
    } else {
        const std::lock_guard turn(controlLoads_);
        for (;;) {
            const std::uint32_t before = ownerStores_.load();
            StoreValues(program);
            if (before % 2 == 0 && ownerStores_.load() == before)
                break;
            std::this_thread::yield();
        }
    }
    loadsEnded_.fetch_add(1);
}

void CPluginRenderer::StoreValues(const ProgramValues& program)
{
    const std::uint64_t store = NextStore(); // one: a change made meanwhile is newer than all of it
    for (int index = 0; index < kParameterCount; ++index) {
        if (IsSetSince(index))
            continue;
        if (program.Sets(index))
            Store(index, program.values[static_cast<std::size_t>(index)], store);
        else if (program.Resets() && index < kFirstControllerLink)
            Store(index, GetParameterDefault(index), store);
    }
}

void CPluginRenderer::ResetProgram()
{
    ChangeProgram(ProgramValues{});
    SetProgramName("<noname>");
}

template <typename Read>
bool CPluginRenderer::ReadBetweenLoads(const std::atomic<std::uint32_t>& loadsDone,
                                       Read&& read) const
{
    const std::uint32_t done = loadsDone.load();
    const std::uint32_t begun = loadsBegun_.load();
    read();
    return begun == done && loadsBegun_.load() == begun;
}

void CPluginRenderer::ReadValues(std::span<float, kParameterCount> values) const
{
    for (int index = 0; index < kParameterCount; ++index)
        values[static_cast<std::size_t>(index)] = GetParameter(index);
}

void CPluginRenderer::CopyValues(std::span<float, kParameterCount> values) const
{
    const auto copy = [&] { ReadValues(values); };
    // Bounded: if loads never pause, a mixture is better than a host that hangs in a save. And the
    // engine's owner can't wait for the thread that loads.
    constexpr int kAttempts = 1000;
    for (int attempt = 0; attempt < kAttempts && !ReadBetweenLoads(loadsEnded_, copy); ++attempt)
        if (!gate_.CallerOwnsEngine())
            std::this_thread::sleep_for(std::chrono::microseconds(50));
}

void CPluginRenderer::RequestChange(EngineChange change)
{
    change.storesBefore = stores_.load();
    if (change.kind == EngineChange::EKind::KeyboardNote)
        keyboardWanted_[static_cast<std::size_t>(change.index)].store(change.value);

    if (gate_.CallerOwnsEngine()) {
        Apply(change);
        AgreeWithStored();
        return;
    }
    if (gate_.ProcessingIsOn()) {
        if (!changes_.Push(change)) {
            resync_.store(true);
            delete change.program;
        }
        if (change.kind == EngineChange::EKind::Program)
            loadsQueued_.fetch_add(1);
        if (gate_.ProcessingIsOn())
            return;
        // It went off in between: nobody else would apply the change now.
        const CControlOperation operation(*this, CControlScope::EWhen::ProcessingIsOff);
        return;
    }
    {
        const CControlOperation operation(*this, CControlScope::EWhen::ProcessingIsOff);
        if (operation.MayRun()) {
            if (change.kind == EngineChange::EKind::Program)
                loadsQueued_.fetch_add(1);
            Apply(change);
            AgreeWithStored();
            delete change.program;
            return;
        }
    }
    RequestChange(change); // processing went on in between
}

bool CPluginRenderer::PostMidi(const MidiMessage& message)
{
    return changes_.Push({.kind = EngineChange::EKind::Midi,
                          .index = std::bit_cast<int>(message),
                          .storesBefore = stores_.load()});
}

void CPluginRenderer::Apply(const EngineChange& change)
{
    switch (change.kind) {
    case EngineChange::EKind::Parameter:
        Follow(change.index, change.value);
        break;
    case EngineChange::EKind::KeyboardNote:
        keyboardPlayed_[static_cast<std::size_t>(change.index)] = change.value;
        ApplyKeyboardNote(change.index, change.value);
        break;
    case EngineChange::EKind::Program:
        ApplyProgram(*change.program);
        break;
    case EngineChange::EKind::Midi:
        DispatchMessage(std::bit_cast<MidiMessage>(change.index));
        break;
    }
}

void CPluginRenderer::Follow(int index, float value)
{
    ApplyParameter(index, value);
    if (IsStored(index)) {
        followed_[static_cast<std::size_t>(index)] = value;
        touched_.set(static_cast<std::size_t>(index));
    }
}

// Two threads may set one parameter at the same time, and their values may be stored in one order
// and arrive here in the other. The stored value counts. It isn't looked at before the queue is
// empty, for what is stored last may be a change further back in it; nor while a program is stored
// and hasn't come out of the queue, of which a part would be applied: what was told meanwhile is
// looked at after that program, which comes as a change of its own.
void CPluginRenderer::AgreeWithStored()
{
    if (drained_ != nullptr || touched_.none())
        return;
    std::array<float, kParameterCount> stored;
    const auto read = [&] {
        for (int index = 0; index < kParameterCount; ++index)
            if (touched_.test(static_cast<std::size_t>(index)))
                stored[static_cast<std::size_t>(index)] = GetParameter(index);
    };
    // Asked last: the queue may have been filled since it was drained.
    if (!ReadBetweenLoads(loadsQueued_, read) || resync_.load() || !changes_.IsEmpty())
        return;
    const auto told = std::exchange(touched_, {});
    for (int index = 0; index < kParameterCount; ++index) {
        const auto slot = static_cast<std::size_t>(index);
        if (told.test(slot) && !SameBits(stored[slot], followed_[slot]))
            ApplyParameter(index, stored[slot]);
    }
}

void CPluginRenderer::ApplyProgram(const ProgramValues& program)
{
    if (program.Resets())
        for (int index = 0; index < kFirstControllerLink; ++index)
            Follow(index, GetParameterDefault(index));
    for (int index = 0; index < kParameterCount; ++index)
        if (program.Sets(index))
            Follow(index, program.values[static_cast<std::size_t>(index)]);
}

void CPluginRenderer::ApplyPending()
{
    changes_.Drain([this](const EngineChange& change) {
        drained_ = &change;
        Apply(change);
    });
    drained_ = nullptr;
    if (resync_.load(std::memory_order_relaxed) && resync_.exchange(false) && !Resync())
        resync_.store(true);
    AgreeWithStored();
}

/// More was changed than the queue holds: follows everything that is stored.
/// @return false when a program is being stored: later, then, so that no part of it is applied
bool CPluginRenderer::Resync()
{
    std::array<float, kParameterCount> stored;
    if (!ReadBetweenLoads(loadsEnded_, [&] { ReadValues(stored); }))
        return false;
    for (int index = 0; index < kParameterCount; ++index)
        Follow(index, stored[static_cast<std::size_t>(index)]);
    // A wheel that stands where the engine has it isn't news, and applied it would move its links.
    if (const float mod = wheels_.mod.load(); !SameBits(mod, Controller(kCcModWheel)))
        ApplyParameter(kModWheelValue, mod);
    if (const float bend = wheels_.bend.load(); !SameBits(bend, 0.5f + 0.5f * bend_))
        ApplyParameter(kPitchBendValue, bend);
    for (int key = 0; key < kKeyCount; ++key) {
        const auto slot = static_cast<std::size_t>(key);
        const float wanted = keyboardWanted_[slot].load();
        if (wanted != keyboardPlayed_[slot])
            Apply({EngineChange::EKind::KeyboardNote, key, wanted});
    }
    return true;
}

// --- Reports to the host ---

void CPluginRenderer::ReportAutomation(int index, float value)
{
    if (!gate_.CallerOwnsEngine()) {
        if (hostWrapper_ != nullptr)
            hostWrapper_->AutomateParameter(index, value);
    } else if (reports_.count < reports_.list.size()) {
        reports_.list[reports_.count++] = {index, value};
    } else if (IsStored(index)) {
        reports_.rest.set(static_cast<std::size_t>(index));
    }
}

void CPluginRenderer::TakeReports(Reports& reports)
{
    std::copy_n(reports_.list.begin(), reports_.count, reports.list.begin());
    reports.count = std::exchange(reports_.count, 0);
    reports.rest = reports_.rest;
    reports_.rest.reset();
}

void CPluginRenderer::SendReports(const Reports& reports)
{
    if (hostWrapper_ == nullptr)
        return;
    for (std::size_t i = 0; i < reports.count; ++i)
        hostWrapper_->AutomateParameter(reports.list[i].index, reports.list[i].value);
    for (int index = 0; reports.rest.any() && index < kParameterCount; ++index)
        if (reports.rest.test(static_cast<std::size_t>(index)))
            hostWrapper_->AutomateParameter(index, GetParameter(index));
}

// --- Operations ---

CProcessingOperation::CProcessingOperation(CPluginRenderer& renderer)
    : renderer_(renderer),
      nested_(renderer.gate_.CallerOwnsEngine()),
      entered_(!nested_ && renderer.gate_.Enter())
{
    if (!entered_)
        return;
    floatControl_.emplace();
    renderer_.ApplyPending();
}

CProcessingOperation::~CProcessingOperation()
{
    if (!entered_)
        return;
    CPluginRenderer::Reports reports;
    renderer_.TakeReports(reports);
    renderer_.gate_.Leave();
    floatControl_.reset();
    renderer_.SendReports(reports);
}

CControlOperation::CControlOperation(CPluginRenderer& renderer, CControlScope::EWhen when)
    : renderer_(renderer), nested_(renderer.gate_.CallerOwnsEngine())
{
    scope_.emplace(renderer.gate_, when);
    if (!nested_ && MayRun()) {
        renderer_.ApplyPending();
        renderer_.changes_.CollectRetired();
    }
}

CControlOperation::~CControlOperation()
{
    if (nested_ || !MayRun())
        return;
    CPluginRenderer::Reports reports;
    renderer_.TakeReports(reports);
    scope_.reset();
    renderer_.SendReports(reports);
}

void CControlOperation::TurnProcessing(bool on)
{
    scope_->TurnProcessing(on);
    // A thread that found processing on just before has left its change in the queue; one that
    // finds it off comes for the engine itself.
    if (!on)
        renderer_.ApplyPending();
}

} // namespace keldra
