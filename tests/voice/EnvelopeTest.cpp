#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "voice/EnvelopeGenerator.h"

namespace keldra {

namespace {

constexpr double kRate = 48000.0;
constexpr int kBlock = 8;

using Shape = CEnvelopeGenerator::Shape;

/// Advances by so many seconds and answers the level there.
float After(CEnvelopeGenerator& envelope, double seconds)
{
    float level = 0.0f;
    for (int block = 0; block < std::lround(seconds * kRate / kBlock); ++block)
        level = envelope.Process(kBlock);
    return level;
}

/// Seconds until the level passes a threshold.
double SecondsUntil(CEnvelopeGenerator& envelope, bool above, float threshold)
{
    for (int samples = kBlock; samples < 20 * kRate; samples += kBlock)
        if ((envelope.Process(kBlock) > threshold) == above)
            return samples / kRate;
    return std::numeric_limits<double>::infinity();
}

} // namespace

TEST(Envelope, ReachesItsLevelsAtTheTimesGiven)
{
    CEnvelopeGenerator envelope;
    EXPECT_TRUE(envelope.IsFinished());
    envelope.Trigger(Shape{0.1, 0.2, 0.5, 0.4, 0.0, -2.5, -2.5}, kRate, 0.8);
    EXPECT_FALSE(envelope.IsFinished());
    EXPECT_NEAR(After(envelope, 0.05), 0.4, 0.001); // a straight attack
    EXPECT_NEAR(After(envelope, 0.05), 0.8, 0.001);
    EXPECT_NEAR(After(envelope, 0.1), 0.411, 0.001); // the decay is nearly there half way
    EXPECT_NEAR(After(envelope, 0.11), 0.4, 1e-6);
    EXPECT_NEAR(After(envelope, 5.0), 0.4, 1e-6); // sustained
    envelope.BeginRelease();
    EXPECT_NEAR(After(envelope, 0.2), 0.011, 0.001);
    envelope.BeginRelease(); // a second one doesn't start it over
    EXPECT_FALSE(envelope.IsFinished());
    EXPECT_EQ(After(envelope, 0.21), 0.0f);
    EXPECT_TRUE(envelope.IsFinished());
}

TEST(Envelope, BendsItsStagesAsTheCurvesSay)
{
    struct Case {
        const char* what;
        double curve;
        double halfway; ///< level after half of the attack
    };
    constexpr Case kCases[] = {{"straight", 0.0, 0.5}, {"bent", -2.0, 0.95}, {"more", -2.5, 0.972}};
    for (const auto& [what, curve, halfway] : kCases) {
        CEnvelopeGenerator envelope;
        envelope.Trigger(Shape{1.0, 1.0, 1.0, 1.0, curve, 0.0, 0.0}, kRate, 1.0);
        EXPECT_NEAR(After(envelope, 0.5), halfway, 0.0006) << what;
    }
}

TEST(Envelope, EndsByItselfAfterADecayToNothing)
{
    CEnvelopeGenerator envelope;
    envelope.Trigger(Shape{0.01, 0.05, 0.0, 1.0, 0.0, -2.5, -2.5}, kRate, 1.0);
    After(envelope, 0.059);
    EXPECT_FALSE(envelope.IsFinished());
    EXPECT_EQ(After(envelope, 0.002), 0.0f);
    EXPECT_TRUE(envelope.IsFinished());
}

TEST(Envelope, StartsAndReleasesFromWhereItStands)
{
    CEnvelopeGenerator envelope;
    const Shape shape{0.1, 0.1, 1.0, 0.1, 0.0, 0.0, 0.0};
    envelope.Trigger(shape, kRate, 1.0);
    const float attacked = After(envelope, 0.03);
    envelope.BeginRelease();
    const float released = After(envelope, 0.02);
    EXPECT_NEAR(released, attacked * 0.8f, 0.001f);
    envelope.Trigger(shape, kRate, 1.0);
    EXPECT_NEAR(envelope.Process(kBlock), released, 0.002f); // no jump
    envelope.MarkFinished();
    envelope.Trigger(shape, kRate, 1.0);
    EXPECT_LT(envelope.Process(kBlock), 0.002f); // from nothing
}

TEST(Envelope, TakesAMillisecondAtLeastAndOutlivesNonsense)
{
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    for (const double seconds : {0.0, -1.0, 0.0005, kNan}) {
        CEnvelopeGenerator envelope;
        envelope.Trigger(Shape{seconds, 0.1, 1.0, 0.1, 0.0, 0.0, 0.0}, kRate, 1.0);
        EXPECT_NEAR(SecondsUntil(envelope, true, 0.95f), 0.001, 0.0002) << seconds;
    }
    CEnvelopeGenerator envelope;
    envelope.Trigger(Shape{0.1, kNan, kNan, 0.1, 0.0, kNan, 0.0}, kNan, kNan);
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(std::isfinite(envelope.Process(kBlock)));
    envelope.BeginRelease();
    After(envelope, 0.2);
    EXPECT_TRUE(envelope.IsFinished());
}

} // namespace keldra
