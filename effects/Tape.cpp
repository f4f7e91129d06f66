#include "effects/Tape.h"

#include <algorithm>

namespace keldra {

namespace {

constexpr int kSpareSlots = 8;  ///< beyond N; five are needed
constexpr double kBeyond = 2.0; ///< a place that the head never reaches

} // namespace

CTape::CTape(int longestLap, double startHead)
    : size_(longestLap + kSpareSlots),
      places_(static_cast<std::size_t>(size_) + 2),
      samples_(static_cast<std::size_t>(size_) + 2),
      startHead_(startHead)
{
    Places()[size_] = kBeyond;
    Erase();
}

void CTape::Erase()
{
    // Before the first lap was silence, for a lap's length.
    Places()[-1] = 0.0;
    Samples()[-1] = 0.0f;
    seam_ = 0;
    nextWritten_ = 1;
    nextRead_ = 1;
    head_ = startHead_;
    lapIsEmpty_ = true;
    lapIsAudible_ = false;
    isMute_ = true;
}

int CTape::StretchLimit(double widestStep) const
{
    // The last sample of a stretch is read less than 3/4 of a lap beyond the place where the
    // stretch before it ended, that is more than 1/4 lap before it on the lap before: both
    // neighbours of the reading place are within a step, and recorded. After a mute lap the first
    // place read may be anywhere on it, so that has to be recorded whole.
    const double way = isMute_ ? 1.0 - head_ : 0.75;
    return std::clamp(static_cast<int>(way / widestStep), 1, kMaxStretch);
}

void CTape::Play(const double* steps, float* out, int samples)
{
    turn_ = samples;
    heads_[0] = head_;
    for (int i = 0; i < samples; ++i) {
        head_ += steps[i];
        if (head_ >= 1.0) {
            head_ -= 1.0;
            turn_ = i; // once at most: a stretch is less than a lap
        }
        heads_[i + 1] = head_;
    }

    const int untilTurn = std::min(turn_ + 1, samples);
    ReadLap(heads_, out, untilTurn);
    if (turn_ < samples) {
        const int seam = nextWritten_ + turn_;
        TurnLap(seam < size_ ? seam : seam - size_);
        ReadLap(heads_ + untilTurn, out + untilTurn, samples - untilTurn);
    }
}

void CTape::ReadLap(const double* heads, float* out, int samples)
{
    if (isMute_) {
        std::fill_n(out, samples, 0.0f);
        return;
    }
    // Each sample laid is passed once, so the search takes a step or two in the long run, whatever
    // the speeds.
    const double* const places = Places();
    const float* const laid = Samples();
    std::ptrdiff_t next = nextRead_;
    const std::ptrdiff_t end = size_;
    for (int i = 0; i < samples; ++i) {
        const double head = heads[i];
        while (places[next] < head)
            ++next;
        if (next == end) {
            next = 0;
            while (places[next] < head)
                ++next;
        }
        const auto fraction =
            static_cast<float>((head - places[next - 1]) / (places[next] - places[next - 1]));
        out[i] = laid[next - 1] + (laid[next] - laid[next - 1]) * fraction;
    }
    nextRead_ = static_cast<int>(next);
}

/// The lap that was laid becomes the one to read. @param seam  the slot that will close it
void CTape::TurnLap(int seam)
{
    double* const places = Places();
    float* const samples = Samples();
    places[seam_] = places[seam_ - 1] - 1.0;
    samples[seam_] = samples[seam_ - 1];
    nextRead_ = seam_ + 1;
    if (nextRead_ == size_) {
        places[-1] = places[seam_];
        samples[-1] = samples[seam_];
        nextRead_ = 0;
    }
    seam_ = seam;
}

void CTape::Record(const float* written, int samples, bool isAudible)
{
    Append(heads_ + 1, written, turn_);
    if (turn_ < samples) {
        lapIsEmpty_ = lapIsEmpty_ && turn_ == 0;
        const double beyond = heads_[turn_ + 1] + 1.0; // exactly the head before it was set back
        Append(&beyond, written + turn_, 1);
        Append(heads_ + 1 + turn_, written + turn_, samples - turn_);
        // The samples of this stretch count for both laps.
        isMute_ = lapIsEmpty_ || !(lapIsAudible_ || isAudible);
        lapIsAudible_ = isAudible;
    } else {
        lapIsAudible_ = lapIsAudible_ || isAudible;
    }
    lapIsEmpty_ = false;
}

void CTape::Append(const double* places, const float* samples, int count)
{
    while (count > 0) {
        const int fitting = std::min(count, size_ - nextWritten_);
        std::copy_n(places, fitting, Places() + nextWritten_);
        std::copy_n(samples, fitting, Samples() + nextWritten_);
        places += fitting;
        samples += fitting;
        count -= fitting;
        nextWritten_ += fitting;
        if (nextWritten_ == size_) {
            Places()[-1] = Places()[size_ - 1];
            Samples()[-1] = Samples()[size_ - 1];
            nextWritten_ = 0;
        }
    }
}

std::size_t CTape::MemoryBytes() const
{
    return places_.size() * sizeof(double) + samples_.size() * sizeof(float);
}

} // namespace keldra
