// The record that the entry returns, what it says of itself, and its life.

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "apps/validate/Rig.h"

namespace keldra::validate {

namespace {

using namespace vst;

VstIntPtr answeredVersion = kVstVersion;
bool askedWithoutRecord = false;

/// A host that knows its version and nothing else, as scanners do.
VstIntPtr KELDRA_VST_CALL AnswerVersionOnly(AEffect* effect, VstInt32 opcode, VstInt32, VstIntPtr,
                                            void*, float)
{
    if (opcode != audioMasterVersion)
        return 0;
    askedWithoutRecord |= effect == nullptr;
    return answeredVersion;
}

VstIntPtr Ask(AEffect* effect, VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
              void* ptr = nullptr, float opt = 0.0f)
{
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

void CheckRecord(const Module& module, CReport& report)
{
    report.Step("making an instance for a host that answers nothing");
    answeredVersion = kVstVersion;
    AEffect* const effect = module->Entry()(&AnswerVersionOnly);
    if (!report.Require(effect != nullptr && effect->magic == kEffectMagic, "no record"))
        return;
    report.Advise(askedWithoutRecord, "it doesn't ask for the host's version before the record");
    report.Require(effect->dispatcher && effect->process && effect->setParameter &&
                       effect->getParameter && effect->processReplacing,
                   "a function is missing");
    report.Require(effect->process != effect->processReplacing,
                   "the accumulating function is the replacing one");
    report.Require((effect->flags & effFlagsCanReplacing) != 0, "it says that it can't replace");
    report.Require(((effect->flags & effFlagsCanDoubleReplacing) != 0) ==
                       (effect->processDoubleReplacing != nullptr),
                   "the flag for double precision and the function disagree");
    report.Require(effect->uniqueID != 0, "its id is 0");
    report.Require(effect->resvd1 == 0 && effect->resvd2 == 0, "the host's own fields aren't 0");
    report.Require(effect->numParams >= 0 && effect->numPrograms >= 0 && effect->numInputs >= 0 &&
                       effect->numOutputs >= 1 && effect->initialDelay >= 0,
                   "a count is absurd");
    report.Step("asking for the category before it is opened");
    const VstIntPtr category = Ask(effect, effGetPlugCategory);
    const bool isSynth = (effect->flags & effFlagsIsSynth) != 0;
    report.Require((category == kPlugCategSynth) == isSynth, "category and flag disagree");
    report.Step("closing it unopened");
    Ask(effect, effClose);

    report.Step("making an instance for a host that is too old");
    answeredVersion = 0;
    AEffect* const refused = module->Entry()(&AnswerVersionOnly);
    report.Advise(refused == nullptr, "it makes an instance for a host of version 0");
}

void CheckInstances(const Module& module, CReport& report)
{
    answeredVersion = 2; // as one known host says
    report.Step("making an instance that is never opened nor closed");
    AEffect* const forgotten = module->Entry()(&AnswerVersionOnly);
    report.Require(forgotten != nullptr, "a host that gives its version as 2 gets no instance");
    std::vector<std::unique_ptr<CRig>> rigs;
    for (int i = 0; i < 8; ++i)
        rigs.push_back(std::make_unique<CRig>(module, report));
    for (std::size_t i = 0; i < rigs.size(); ++i) {
        rigs[i]->Start(44100.0 + 1000.0 * static_cast<double>(i));
        if (rigs[i]->Host().ParameterCount() > 0)
            rigs[i]->Host().SetParameter(0, static_cast<float>(i % 2));
    }
    for (const std::size_t gone : {0u, 7u, 3u}) {
        rigs[gone].reset();
        for (const auto& rig : rigs)
            if (rig)
                rig->Render(CRig::kBlock);
    }
    for (std::size_t i = 0; i < rigs.size(); ++i)
        if (rigs[i] && rigs[i]->Host().ParameterCount() > 0)
            report.Require(rigs[i]->Host().GetParameter(0) ==
                               rigs[(i % 2 == 0) ? 2 : 1]->Host().GetParameter(0),
                           "instances share a parameter");
}

void CheckLifeCycle(const Module& module, CReport& report)
{
    for (int variant = 0; variant < 4; ++variant) {
        report.Step("starting and stopping out of order, way " + std::to_string(variant));
        answeredVersion = kVstVersion;
        AEffect* const effect = module->Entry()(&AnswerVersionOnly);
        if (!report.Require(effect != nullptr, "no record"))
            return;
        if (variant == 1) { // rate and size first, opened twice
            Ask(effect, effSetSampleRate, 0, 0, nullptr, 96000.0f);
            Ask(effect, effSetBlockSize, 0, 512);
            Ask(effect, effOpen);
        }
        Ask(effect, effOpen);
        if (variant == 2) { // off before on, on twice, a rate while on
            Ask(effect, effMainsChanged, 0, 0);
            Ask(effect, effMainsChanged, 0, 1);
            Ask(effect, effMainsChanged, 0, 1);
            Ask(effect, effSetSampleRate, 0, 0, nullptr, 48000.0f);
        }
        if (variant == 3) { // a program, editor idle and close without an editor
            Ask(effect, effSetProgram, 0, 0);
            Ask(effect, effEditIdle);
            Ask(effect, effEditClose);
        }
        if (variant != 2)
            report.RudeStep("playing without being switched on, way " + std::to_string(variant));
        std::array<std::array<float, 64>, 64> memory{};
        std::array<float*, 64> outputs{};
        for (std::size_t i = 0; i < outputs.size(); ++i)
            outputs[i] = memory[i].data();
        if (effect->numInputs <= 64 && effect->numOutputs <= 64)
            effect->processReplacing(effect, outputs.data(), outputs.data(), 64);
        report.Step("closing, way " + std::to_string(variant));
        Ask(effect, effClose); // still on, in the third way
    }
}

/// Checks that a text is within its room and plain; advises a length.
void CheckText(CReport& report, AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
               std::size_t room, std::size_t nominal, const std::string& what)
{
    std::array<char, 512> text;
    text.fill('\xAA');
    const VstIntPtr answer = Ask(effect, opcode, index, value, text.data());
    if (opcode == effGetProgramNameIndexed && answer == 0)
        return; // hosts then ask by choosing the program
    const std::size_t length = ::strnlen(text.data(), text.size());
    if (!report.Require(length < room, what + " is longer than its room, or doesn't end"))
        return;
    report.Advise(length <= nominal, what + " is longer than " + std::to_string(nominal));
    const bool plain =
        std::all_of(text.data(), text.data() + length, [](char c) { return c >= ' ' && c <= '~'; });
    report.Advise(plain, what + " isn't plain ASCII");
}

void CheckTexts(const Module& module, CReport& report)
{
    CRig rig(module, report);
    AEffect* const effect = rig.Host().Effect();
    report.Require(!rig.Host().EffectName().empty(), "the effect has no name");
    report.Advise(!rig.Host().VendorName().empty(), "the vendor has no name");
    CheckText(report, effect, effGetEffectName, 0, 0, 64, 31, "the effect's name");
    CheckText(report, effect, effGetVendorString, 0, 0, 65, 63, "the vendor's name");
    CheckText(report, effect, effGetProductString, 0, 0, 65, 63, "the product's name");
    CheckText(report, effect, effGetProgramName, 0, 0, 28, 24, "the program's name");
    CheckText(report, effect, effGetProgramNameIndexed, 0, -1, 28, 24, "an indexed program name");
    for (int i = 0; i < effect->numParams; ++i)
        for (const float parameterValue : {0.0f, 0.37f, 1.0f}) {
            effect->setParameter(effect, i, parameterValue);
            // The published limit is 8; no host that is known gives less than 64.
            CheckText(report, effect, effGetParamName, i, 0, 64, 31, "a parameter's name");
            CheckText(report, effect, effGetParamDisplay, i, 0, 64, 23, "a value's text");
            CheckText(report, effect, effGetParamLabel, i, 0, 64, 8, "a parameter's unit");
        }
    for (const VstInt32 beyond : {-1, effect->numParams, INT_MAX, INT_MIN})
        for (const VstInt32 opcode : {effGetParamName, effGetParamDisplay, effGetParamLabel}) {
            report.RudeStep("asking for texts of parameter " + std::to_string(beyond));
            std::array<char, 512> text{};
            Ask(effect, opcode, beyond, 0, text.data());
            report.Require(::strnlen(text.data(), text.size()) < 64, "an absurd parameter's text");
        }
}

void CheckAbilities(const Module& module, CReport& report)
{
    CRig rig(module, report);
    const auto can = [&rig](const char* what) {
        return rig.Host().Dispatch(effCanDo, 0, 0, const_cast<char*>(what));
    };
    report.Require(rig.Host().Dispatch(effGetVstVersion) >= 2000, "its interface's version");
    if (rig.IsSynth()) {
        report.Require(can("receiveVstEvents") == 1 || can("receiveVstMidiEvent") == 1,
                       "an instrument that doesn't say that it takes MIDI");
        report.Advise(can("receiveVstEvents") == 1 && can("receiveVstMidiEvent") == 1,
                      "it should answer both receiveVstEvents and receiveVstMidiEvent");
    }
    report.Require(can("fly to the moon") <= 0, "it claims abilities that nobody knows");
    report.Require((can("hasCockosViewAsConfig") & ~VstIntPtr{0xFFFF}) != VstIntPtr{0xbeef0000},
                   "it claims another toolkit's windows");
    report.Require(rig.Host().Dispatch(effGetTailSize) >= 0, "a tail of less than nothing");
    int automatable = 0;
    for (int i = 0; i < rig.Host().ParameterCount(); ++i)
        automatable += rig.Host().Dispatch(effCanBeAutomated, i) == 1;
    report.Advise(automatable > 0 || rig.Host().ParameterCount() == 0,
                  "it offers no parameter for automation");
}

void CheckOpcodes(const Module& module, CReport& report)
{
    CRig rig(module, report);
    rig.Start();
    for (const VstInt32 opcode : {-1, INT_MIN, 80, 81, 1000, INT_MAX}) {
        report.RudeStep("asking the unknown opcode " + std::to_string(opcode));
        report.Require(rig.Host().Dispatch(opcode) == 0, "an unknown opcode isn't answered with 0");
    }
    for (VstInt32 opcode = 0; opcode < effNumOpcodes; ++opcode) {
        if (opcode == effClose || opcode == effEditOpen)
            continue;
        for (const VstIntPtr value : {VstIntPtr{0}, VstIntPtr{-1}, VstIntPtr{1} << 40}) {
            // No host has a reason for these two.
            if (value != 0 && (opcode == effSetBlockSize || opcode == effSetChunk))
                continue;
            report.RudeStep("asking opcode " + std::to_string(opcode) +
                            " without a pointer, value " + std::to_string(value));
            rig.Host().Dispatch(opcode, static_cast<VstInt32>(value), value < 0 ? 0 : value);
        }
    }
    report.Step("rendering after all that");
    rig.Start();
    rig.NoteOn(60);
    rig.Render(4 * CRig::kBlock);
}

constexpr Check kChecks[] = {
    {"record", "The record is final and sound when the entry returns", CheckRecord},
    {"instances", "Instances live side by side, also beside one that is forgotten", CheckInstances},
    {"life-cycle", "Opening, starting and stopping come in any order and number", CheckLifeCycle},
    {"texts", "Every text ends within its room, whatever is asked for", CheckTexts},
    {"abilities", "It says what it can do, and claims nothing else", CheckAbilities},
    {"opcodes", "Every opcode bears a missing pointer, an unknown one is answered 0", CheckOpcodes},
};

} // namespace

std::span<const Check> RecordChecks()
{
    return kChecks;
}

} // namespace keldra::validate
