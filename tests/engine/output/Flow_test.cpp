#include "engine/output/Flow.h"

#include <chrono>
#include <limits>

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using vaxoengine::Flow;
using vaxoengine::FlowMeter;
using vaxoengine::RateReading;

// Bytes that have arrived, each reading 250 ms after the one before; the last reading.
RateReading After(FlowMeter& meter, std::initializer_list<unsigned long long> arrived,
                  unsigned unsent = 0) {
    RateReading reading{};
    for (const unsigned long long bytes : arrived) {
        Flow flow;
        flow.arrived = bytes;
        flow.unsent = unsent;
        reading = meter.Next(flow, milliseconds(250));
    }
    return reading;
}

TEST(FlowMeter, TheFirstReadingOnlyBegins) {
    FlowMeter meter;
    EXPECT_EQ(After(meter, {1000000}).taken, 0);
}

TEST(FlowMeter, WhatArrivesIsCountedOverTheLastSecond) {
    FlowMeter meter;
    EXPECT_EQ(After(meter, {0, 25000}).taken, 800000);
    EXPECT_EQ(After(meter, {25000}).taken, 400000);
    EXPECT_EQ(After(meter, {25000, 25000}).taken, 200000);
    EXPECT_EQ(After(meter, {25000}).taken, 0) << "what came more than a second ago";
}

TEST(FlowMeter, OfAnotherConnectionNothingIsKnown) {
    FlowMeter meter;
    After(meter, {0, 500000});
    meter.Reset();
    EXPECT_EQ(After(meter, {0}).taken, 0);
    EXPECT_EQ(After(meter, {25000}).taken, 800000);
}

TEST(FlowMeter, TheDelayIsWhatWaitsOnEveryPartOfTheWay) {
    FlowMeter meter;
    After(meter, {0});
    Flow flow;
    flow.arrived = 25000;  // 800 kbit/s
    flow.unsent = 20000;   // 200 ms of it
    flow.queued = milliseconds(30);
    flow.late = milliseconds(4);
    EXPECT_EQ(meter.Next(flow, milliseconds(250)).delay, milliseconds(234));
}

TEST(FlowMeter, WhereNothingArrivesAFewBytesAreNoHours) {
    FlowMeter meter;
    EXPECT_EQ(After(meter, {0, 0}, 2000).delay, milliseconds(1000));
}

TEST(FlowMeter, NonsenseStaysWithinTheNumbers) {
    FlowMeter meter;
    const RateReading much = After(meter, {0, std::numeric_limits<unsigned long long>::max()},
                                   std::numeric_limits<unsigned>::max());
    EXPECT_EQ(much.taken, std::numeric_limits<int>::max());
    EXPECT_EQ(After(meter, {5, 5, 5, 5}).taken, 0) << "a count that went back";
    Flow flow;
    flow.arrived = 100;
    EXPECT_GE(meter.Next(flow, milliseconds(0)).taken, 0);
}

}  // namespace
