#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/host/VstHost.h"
#include "bench/Yardstick.h"

namespace keldra {

/// A VST 2.4 instrument with some notes held, to be timed block by block.
class CHeldNotes {
public:
    static constexpr double kRate = 48000.0; // Hz
    static constexpr int kFrames = 64;       // of a block

    explicit CHeldNotes(std::unique_ptr<vst::CVstHost> host) : host_(std::move(host))
    {
        host_->Start(kRate, kFrames);
        outputs_.resize(static_cast<std::size_t>(host_->OutputCount()));
        for (std::vector<float>& output : outputs_) {
            output.resize(kFrames);
            pointers_.push_back(output.data());
        }
    }

    /// @param path   of a module
    /// @param error  receives one line when the answer is null
    static std::unique_ptr<CHeldNotes> Load(const std::string& path, std::string& error)
    {
        auto module = vst::CVstModule::Load(path, error);
        auto host = module ? vst::CVstHost::Create(module, {}, nullptr, error) : nullptr;
        return host ? std::make_unique<CHeldNotes>(std::move(host)) : nullptr;
    }

    [[nodiscard]] vst::CVstHost& Host() { return *host_; }

    /// Presses keys and renders until attacks and smoothing are over.
    /// @param count  0 .. 128 keys, from the middle of the keyboard outwards
    void Hold(int count)
    {
        for (int i = 0; i < count; ++i) {
            const int key = 60 + (i % 2 == 0 ? i / 2 : -(i + 1) / 2);
            const std::array<std::uint8_t, 3> message = {0x90, static_cast<std::uint8_t>(key & 127),
                                                         100};
            host_->AddMidi(0, message);
        }
        for (int i = 0; i < kSettlingBlocks; ++i)
            Render();
    }
    void Render()
    {
        host_->Render(pointers_.data(), kFrames);
        benchmark::DoNotOptimize(outputs_.front().data());
    }

private:
    static constexpr int kSettlingBlocks = 300; // 0.4 s

    std::unique_ptr<vst::CVstHost> host_;
    std::vector<std::vector<float>> outputs_;
    std::vector<float*> pointers_;
};

} // namespace keldra
