// Discovery that never misses: a subscriber and a publisher paired many times over, each
// pairing on a fresh private host, over each transport and in each order of starting. Every
// pairing must show both matches and deliver every issue from 0000000; not one may fail.
// Several pairings run at once, on hosts of their own.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

using qortest::PrivateHost;
using qortest::Process;
using Clock = std::chrono::steady_clock;
using Args = std::vector<std::string>;

const int kSamples = 5;
const char* const kListening = "qorddsping is listening for data, press CTRL+C to stop it.";
const char* const kPublisherFound = "Found 1 additional ping publishers(s).";
const char* const kSubscriberFound = "Found 1 additional ping subscriber(s).";

enum class Order { SubscriberFirst, PublisherFirst, Together };

const char* orderName(Order order) {
    switch (order) {
        case Order::SubscriberFirst:
            return "subscriber first";
        case Order::PublisherFirst:
            return "publisher first";
        default:
            return "together";
    }
}

std::string issue(int number) {
    char line[64];
    std::snprintf(line, sizeof line, "qorddsping, issue received: %.7d\n", number);
    return line;
}

// Issues 0 to kSamples - 1, in order, each once.
bool allIssues(const std::string& output) {
    size_t at = 0;
    for (int i = 0; i < kSamples; ++i) {
        at = output.find(issue(i), at);
        if (at == std::string::npos) {
            return false;
        }
    }
    return output.find("qorddsping, issue received: ", at + 1) == std::string::npos;
}

bool has(const Process& process, const char* text) {
    return process.output().find(text) != std::string::npos;
}

// One pairing on its own host. The later side starts when the earlier one listens
// (subscriber first) or 50 ms after it (publisher first: well inside the publisher's wait for
// readers that are on their way).
class Pairing {
  public:
    Pairing(Order order, const Args& transport) : order_(order) {
        subscriber_ = Args{"-subscriber", "-timeout", "4"};
        publisher_ = Args{"-numSamples", std::to_string(kSamples), "-sendPeriod", "0.2"};
        subscriber_.insert(subscriber_.end(), transport.begin(), transport.end());
        publisher_.insert(publisher_.end(), transport.begin(), transport.end());
        if (order == Order::PublisherFirst) {
            publisherProcess_ = host_.startPing(publisher_);
        } else {
            subscriberProcess_ = host_.startPing(subscriber_);
        }
        if (order == Order::Together) {
            publisherProcess_ = host_.startPing(publisher_);
        }
        started_ = Clock::now();
    }

    // Moves the pairing on; true once it has its verdict.
    bool step() {
        if (subscriberProcess_ == nullptr &&
            Clock::now() - started_ >= std::chrono::milliseconds(50)) {
            subscriberProcess_ = host_.startPing(subscriber_);
            started_ = Clock::now();
        }
        if (publisherProcess_ == nullptr && has(*subscriberProcess_, kListening)) {
            publisherProcess_ = host_.startPing(publisher_);
            started_ = Clock::now();
        }
        if (subscriberProcess_ == nullptr || publisherProcess_ == nullptr) {
            return expired(std::chrono::seconds(30));
        }
        if (succeeded()) {
            return true;
        }
        // The publisher is done after a second; its last sample needs no longer than this.
        return !publisherProcess_->running() || expired(std::chrono::seconds(8));
    }

    bool succeeded() const {
        return subscriberProcess_ != nullptr && publisherProcess_ != nullptr &&
               has(*subscriberProcess_, kPublisherFound) &&
               has(*publisherProcess_, kSubscriberFound) && allIssues(subscriberProcess_->output());
    }

    std::string report() const {
        return std::string(orderName(order_)) + "\n--- subscriber:\n" +
               (subscriberProcess_ ? subscriberProcess_->output() : "(not started)") +
               "--- publisher:\n" +
               (publisherProcess_ ? publisherProcess_->output() : "(not started)");
    }

  private:
    bool expired(Clock::duration limit) const { return Clock::now() - started_ > limit; }

    Order order_;
    Args subscriber_, publisher_;
    PrivateHost host_;
    std::unique_ptr<Process> subscriberProcess_, publisherProcess_;
    Clock::time_point started_;
};

// Runs `rounds` pairings in each order, `parallel` at a time; fails with the outputs of every
// pairing that missed.
void pairRepeatedly(const Args& transport, int rounds, size_t parallel) {
    const Order orders[] = {Order::SubscriberFirst, Order::PublisherFirst, Order::Together};
    int next = 0, total = rounds * 3, failures = 0;
    std::vector<std::unique_ptr<Pairing>> running;
    while (next < total || !running.empty()) {
        while (next < total && running.size() < parallel) {
            running.push_back(std::make_unique<Pairing>(orders[next % 3], transport));
            ++next;
        }
        for (auto it = running.begin(); it != running.end();) {
            if (!(*it)->step()) {
                ++it;
                continue;
            }
            if (!(*it)->succeeded()) {
                ++failures;
                ADD_FAILURE() << "pairing missed, " << (*it)->report();
            }
            it = running.erase(it);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(failures, 0) << "of " << total << " pairings";
}

struct Transport {
    const char* name;
    Args arguments;
};

void PrintTo(const Transport& transport, std::ostream* out) {
    *out << transport.name;
}

class Pairings : public testing::TestWithParam<Transport> {};

TEST_P(Pairings, EveryPairingMatchesAndDeliversFromIssueZero) {
    pairRepeatedly(GetParam().arguments, 20, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Transports, Pairings,
    testing::Values(Transport{"Default", {}}, Transport{"UDPv4", {"-transport", "1"}},
                    Transport{"SharedMemory", {"-transport", "2"}},
                    Transport{"UDPv6Peer", {"-transport", "8", "-peer", "::1"}}),
    [](const testing::TestParamInfo<Transport>& instance) {
        return std::string(instance.param.name);
    });

// Both cores kept busy by this test's own loops while the pairings run.
TEST(PairingsUnderLoad, EveryPairingMatchesAndDeliversFromIssueZero) {
    std::atomic<bool> busy{true};
    std::vector<std::thread> loops;
    for (unsigned i = 0; i < std::max(2u, std::thread::hardware_concurrency()); ++i) {
        loops.emplace_back([&busy] {
            while (busy.load(std::memory_order_relaxed)) {
            }
        });
    }
    pairRepeatedly({}, 17, 2);
    busy = false;
    for (std::thread& loop : loops) {
        loop.join();
    }
}

}  // namespace
