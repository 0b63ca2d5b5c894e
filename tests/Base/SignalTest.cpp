#include "Base/Signal.h"
#include "Base/Observable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

TEST(Signal, callsConnectionsInOrderWithItsArguments) {
    Signal<int, std::string> signal;
    std::string log;
    const Connection first = signal.connect(
        [&](int number, const std::string& text) { log += "a" + text + std::to_string(number); });
    {
        const Connection second = signal.connect([&](int, const std::string&) { log += "b"; });
        signal.emit(1, "x");
    }
    signal.emit(2, "y");
    EXPECT_EQ(log, "ax1bay2");
    EXPECT_TRUE(first.isConnected());
}

TEST(Signal, aCallbackMayDisconnectItselfAndOthers) {
    Signal<> signal;
    int calls = 0;
    Connection second;
    Connection first = signal.connect([&] {
        ++calls;
        first.disconnect();
        second.disconnect();
    });
    second = signal.connect([&] { calls += 100; });
    signal.emit();
    signal.emit();
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(signal.hasConnections());
}

TEST(Signal, aCallbackConnectedDuringAnEmissionWaitsForTheNext) {
    Signal<> signal;
    std::vector<Connection> connections;
    int calls = 0;
    connections.push_back(
        signal.connect([&] { connections.push_back(signal.connect([&] { ++calls; })); }));
    signal.emit();
    EXPECT_EQ(calls, 0);
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, mayBeDestroyedByACallback) {
    auto signal = std::make_optional<Signal<>>();
    int calls = 0;
    Connection first = signal->connect([&] {
        ++calls;
        signal.reset();
    });
    Connection second = signal->connect([&] { calls += 100; });
    signal->emit();
    EXPECT_EQ(calls, 1) << "nobody is called for a signal that is gone";
    EXPECT_FALSE(first.isConnected());
    second.disconnect(); // after the signal
}

TEST(Signal, disconnectingFreesWhatTheCallbackHolds) {
    Signal<> signal;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    Connection connection = signal.connect([held = std::move(held)] {});
    EXPECT_FALSE(watch.expired());
    connection = Connection();
    EXPECT_TRUE(watch.expired());
}

TEST(Signal, isSafeWhileThreadsConnectEmitAndLeave) {
    auto signal = std::make_shared<Signal<int>>();
    std::atomic<long> calls = 0;
    std::atomic<long> emissions = 0;
    const Connection steady = signal->connect([&](int) { ++calls; });
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < 2000; ++i) {
                    Connection brief = signal->connect([](int) {});
                    if (i % 3 == 0) {
                        signal->emit(i);
                        ++emissions;
                    }
                }
            });
        }
    }
    EXPECT_EQ(calls, emissions) << "who stays connected is called by every emission";
}

TEST(Observable, tellsOfChangesOnly) {
    Observable<int> _value(3);
    std::vector<int> seen;
    const Connection connection = _value.observe([&](int value) { seen.push_back(value); });
    _value = 3;
    _value = 4;
    _value.set(5);
    _value.update([](int& value) { value += 1; });
    EXPECT_EQ(seen, (std::vector<int>{3, 4, 5, 6}));
    EXPECT_EQ(*_value, 6);
}

TEST(Observable, tellsOfAQuietChangeWhenItIsToldTo) {
    Observable<int> _value(3);
    std::vector<int> heard;
    const Connection connection = _value.onChange([&](int value) { heard.push_back(value); });
    EXPECT_EQ(_value.updateQuietly([](int& value) { return std::exchange(value, 4); }), 3);
    EXPECT_EQ(_value.get(), 4);
    EXPECT_TRUE(heard.empty());
    _value.tell();
    EXPECT_EQ(heard, std::vector{4});
}

TEST(Observable, aCallbackMaySetAgain) {
    Observable<int> _value(0);
    const Connection clamp = _value.onChange([&](int value) {
        if (value > 10) _value = 10;
    });
    std::vector<int> seen;
    const Connection connection = _value.onChange([&](int value) { seen.push_back(value); });
    _value = 20;
    EXPECT_EQ(_value.get(), 10);
    EXPECT_EQ(seen, (std::vector<int>{10, 20})) << "each hears every value";
}

TEST(Observable, mayBeDestroyedByACallback) {
    auto observable = std::make_unique<Observable<std::string>>();
    std::string seen;
    const Connection connection = observable->onChange([&](const std::string& value) {
        observable.reset();
        seen = value;
    });
    observable->set("a text too long for the small string buffer");
    EXPECT_EQ(seen, "a text too long for the small string buffer");
}

} // namespace
} // namespace ombrel
