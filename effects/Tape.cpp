#include "effects/Tape.h"

#include <algorithm>
#include <cassert>

namespace keldra {

namespace {

// How much of the ring is in use at most, after the head's step to a place H: steps of at least 1/N
// put N + 1 samples on the lap's length before that step, both ends counted, and one more at H. One
// before them is the left neighbour of the reading place. One is the seam among them. And the N
// steps of a lap may, by their roundings, end just short of it and let in another one. That is N
// + 5.
constexpr int kSpareSlots = 8;
constexpr double kBeyond = 2.0; ///< a place that the head never reaches

} // namespace

CTape::CTape(int longestLap, double startHead)
    : size_(longestLap + kSpareSlots),
      places_(std::make_unique_for_overwrite<double[]>(SlotCount())),
      samples_(std::make_unique_for_overwrite<float[]>(SlotCount())),
      startHead_(startHead)
{
    Places()[size_] = kBeyond;
    Erase();
}

void CTape::TouchMemory()
{
    if (isTouched_)
        return;
    isTouched_ = true;
    std::fill_n(places_.get(), SlotCount(), 0.0);
    std::fill_n(samples_.get(), SlotCount(), 0.0f);
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

void CTape::PassSilence()
{
    if (!lapIsEmpty_)
        return;
    head_ = 0.0;
    Places()[-1] = 1.0; // the end of the lap before
}

int CTape::StretchLimit(double widestStep) const
{
    // A stretch ends less than 3/4 of a lap beyond the place H where it began, so it reads more
    // than 1/4 before H on the lap before. From there to the right neighbour of the reading place
    // is no more than a step: that was recorded, at H at the latest. After a mute lap reading
    // begins with the left end of this one, which has to be recorded until then.
    const double way = isMute_ ? 1.0 - head_ : 0.75;
    return std::clamp(static_cast<int>(way / widestStep), 1, kMaxStretch);
}

void CTape::Play(TapeMotor& motor, float* out, int samples)
{
    // On copies: a store into `out` might alias a member, which would be reloaded every time.
    TapeMotor running = motor;
    double head = head_;
    int next = nextRead_;
    const bool isMute = isMute_;
    turn_ = samples;
    for (int i = 0; i < samples; ++i) {
        out[i] = isMute ? 0.0f : Read(head, next);
        head += running.Step();
        if (head >= 1.0) {
            head -= 1.0;
            turn_ = i; // once at most: a stretch is less than a lap
            next = TurnLap(i);
        }
        heads_[i] = head;
    }
    motor = running;
    head_ = head;
    nextRead_ = next;
}

/// What the lap before has at the head. @param next  a slot: the first one that isn't behind the
/// head
inline float CTape::Read(double head, int& next) const
{
    // Each sample is passed once, and one is laid for each that is read: the search takes one or
    // two steps in the long run, whatever the speeds.
    const double* const places = Places();
    while (places[next] < head)
        ++next;
    if (next == size_) {
        next = 0;
        while (places[next] < head)
            ++next;
    }
    const float* const samples = Samples();
    const auto fraction =
        static_cast<float>((head - places[next - 1]) / (places[next] - places[next - 1]));
    return samples[next - 1] + (samples[next] - samples[next - 1]) * fraction;
}

/// The lap that was laid becomes the one to read.
/// @param closing  the sample of the stretch that closes it. @return  the slot where it begins
int CTape::TurnLap(int closing)
{
    double* const places = Places();
    float* const samples = Samples();
    places[seam_] = places[seam_ - 1] - 1.0;
    samples[seam_] = samples[seam_ - 1];
    int begin = seam_ + 1;
    if (begin == size_) {
        places[-1] = places[seam_];
        samples[-1] = samples[seam_];
        begin = 0;
    }
    seam_ = nextWritten_ + closing;
    if (seam_ >= size_)
        seam_ -= size_;
    return begin;
}

/// Slots that nobody will read again.
int CTape::FreeSlots() const
{
    const int inUse = nextWritten_ - (nextRead_ - 1);
    return size_ - (inUse < 0 ? inUse + size_ : inUse);
}

void CTape::Record(const float* written, int samples, bool isAudible)
{
    assert(isMute_ || samples + (turn_ < samples ? 1 : 0) <= FreeSlots());
    Append(heads_, written, turn_);
    if (turn_ < samples) {
        lapIsEmpty_ = lapIsEmpty_ && turn_ == 0;
        const double beyond = heads_[turn_] + 1.0; // exactly the head before it was set back
        Append(&beyond, written + turn_, 1);
        Append(heads_ + turn_, written + turn_, samples - turn_);
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
    return SlotCount() * (sizeof(double) + sizeof(float));
}

} // namespace keldra
