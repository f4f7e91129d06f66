#pragma once

#include <array>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"
#include "frame/PluginWrapper.h"

namespace keldra::test {

/// A definition with 156 parameters and one stereo output, for programs without the real one.
class CTestDefinition final : public CPluginInstance {
public:
    CTestDefinition() { parameterCount = kParameterCount; }
};

/// Writes down what the frame asks of an engine. Renders 1.0 into every frame.
class CTestRenderer : public CPluginRenderer {
public:
    CTestRenderer() { output_.Allocate(2, 64); }

    void Render() override
    {
        log.push_back("render " + std::to_string(output_.FrameCount()));
        for (int channel = 0; channel < 2; ++channel)
            for (int i = 0; i < output_.FrameCount(); ++i)
                output_.Channel(channel)[i] = 1.0f;
    }
    void NoteOn(int key) override { log.push_back("on " + std::to_string(key)); }
    void NoteOff(int key) override { log.push_back("off " + std::to_string(key)); }
    void PitchBendChanged() override { log.push_back("bend " + std::to_string(Bend())); }
    void ControlChange(int controller) override
    {
        log.push_back("cc " + std::to_string(controller) + " " +
                      std::to_string(Controller(controller)));
    }
    void PolyPressureChanged(int key) override { log.push_back("poly " + std::to_string(key)); }
    void ChannelPressureChanged() override { log.push_back("pressure"); }
    void ProgramChange(int program) override
    {
        log.push_back("program " + std::to_string(program));
    }

    using CPluginRenderer::KeyVelocity;

    /// Queues a MIDI message. @return whether there was room for it
    bool Queue(std::uint32_t time, int status, int data1, int data2)
    {
        EventNode* node = AddEvent(time, 4);
        if (node == nullptr)
            return false;
        node->message = {static_cast<std::uint8_t>(status), static_cast<std::uint8_t>(data1),
                         static_cast<std::uint8_t>(data2), 0xFF};
        return true;
    }

    /// Renders a block over outputs that hold `before`. @return the left channel
    std::vector<float> Process(int frames, EMode mode = EMode::Replacing, float before = 0.25f)
    {
        std::vector<float> left(static_cast<std::size_t>(frames), before);
        std::vector<float> right = left;
        float* outputs[] = {left.data(), right.data()};
        ProcessBlock({nullptr, outputs, frames}, mode);
        return left;
    }

    std::vector<std::string> log;
};

/// A host that takes no notice.
class CDeafWrapper : public CPluginWrapper {
public:
    void AutomateParameter(int, float) override {}
    void BeginEdit(int) override {}
    void EndEdit(int) override {}
    void ShowParameterMenu(int) override {}
    int HostCommand50() override { return 0; }
    void GetHostText(int, char*) override {}
    void HostCommand3() override {}
    void UpdateKeyControls() override {}
    void HostNoteOff(int) override {}
    void HostNoteOn(int, float) override {}
};

/// Another thread that has the engine until this is destroyed.
class CEngineThief {
public:
    explicit CEngineThief(CPluginRenderer& renderer)
    {
        std::promise<void> has;
        thread_ = std::thread([&] {
            const CControlOperation operation(renderer, CControlScope::EWhen::Always);
            has.set_value();
            done_.get_future().wait();
        });
        has.get_future().wait();
    }
    ~CEngineThief()
    {
        done_.set_value();
        thread_.join();
    }
    CEngineThief(const CEngineThief&) = delete;
    CEngineThief& operator=(const CEngineThief&) = delete;

private:
    std::promise<void> done_;
    std::thread thread_;
};

} // namespace keldra::test
