#pragma once

#include <memory>
#include <vector>

#include "apps/host/VstHost.h"
#include "apps/keldra/MidiQueue.h"
#include "apps/keldra/Recorder.h"
#include "apps/keldra/SoundOutput.h"

namespace keldra::standalone {

/// Plays an instrument: hands it what the queues hold, renders it for a sound device, and gives the
/// recorder what is heard.
class CPlayer final : public CSoundSource {
public:
    /// @param host  an instrument with at least one output; must outlive the player
    explicit CPlayer(vst::CVstHost& host) : host_(host) {}

    /// A queue for one thread that has notes. Before anything is rendered.
    [[nodiscard]] CMidiQueue& AddQueue();
    /// Null: nothing is recorded. Before anything is rendered, or after.
    void SetRecorder(CRecorder* recorder) { recorder_ = recorder; }

    /// Switches the instrument to a device's rate and block size. Not while it is rendered.
    void Prepare(const SoundFormat& format, double tempoBpm);

    void Render(float* left, float* right, int frames) override;

private:
    void HandOnMidi(int frames, Clock::time_point now);
    void RenderPart(float* left, float* right, int frames);

    vst::CVstHost& host_;
    CRecorder* recorder_ = nullptr;
    std::vector<std::unique_ptr<CMidiQueue>> queues_;
    double rateHz_ = 0.0;
    int blockFrames_ = 0;
    std::vector<std::vector<float>> unheardOutputs_; ///< outputs that nobody hears
    std::vector<float*> outputs_;
};

} // namespace keldra::standalone
