// pairing-bench: a subscriber and a publisher paired many times, each pairing on a private
// host of its own (network namespace, loopback multicast, own /dev/shm), for qorddsping and for
// bare-ping, the same job on Fast DDS alone. For each transport it counts the failed pairings
// (a side that never printed its match, or an issue from 0000000 on that never arrived) and
// times, from the launch of the later process, its match and the subscriber's first issue.
// Asserts nothing; prints the figures. Needs root.
//
//   pairing-bench QORDDSPING BARE_PING [RUNS [TIMED_RUNS [TRANSPORT]]]
//   (defaults 200 and 50, every transport)
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "figures.h"
#include "spawn.h"

namespace {

using bench::Child;
using bench::Clock;
using bench::collect;
using bench::first_at;
using bench::Line;
using bench::maximum;
using bench::median;
using bench::spawn;
using Args = std::vector<std::string>;

const int kSamples = 5;
const char* const kSendPeriod = "0.2";

struct Transport {
    const char* name;
    Args arguments;  // for both sides
};

const Transport kTransports[] = {
    {"default", {}},
    {"UDPv4", {"-transport", "1"}},
    {"SHM", {"-transport", "2"}},
    {"UDPv6+peer", {"-transport", "8", "-peer", "::1"}},
};

enum class Order { SubscriberFirst, PublisherFirst, Together };
const char* order_name(Order order) {
    switch (order) {
        case Order::SubscriberFirst:
            return "subscriber first";
        case Order::PublisherFirst:
            return "publisher first";
        default:
            return "together";
    }
}

struct Outcome {
    bool ok = false;
    double match_ms = -1;        // the later of the two sides' match lines
    double first_issue_ms = -1;  // the subscriber's first issue
    std::string why;
};

// The command lines of both sides of a pairing: subscriber first, publisher second.
std::pair<Args, Args> pairing_commands(const std::string& binary, const Transport& transport) {
    bool tool = binary.find("qorddsping") != std::string::npos;
    Args sub{binary, tool ? "-subscriber" : "sub", "-timeout", "4"};
    Args pub{binary,        tool ? "-publisher" : "pub",
             "-numSamples", std::to_string(kSamples),
             "-sendPeriod", kSendPeriod};
    Args both = transport.arguments;
    if (const char* extra = std::getenv("PAIRING_EXTRA")) {  // more arguments for both
        std::string words = extra;
        for (size_t at = 0, end; at < words.size(); at = end + 1) {
            end = std::min(words.find(' ', at), words.size());
            both.push_back(words.substr(at, end - at));
        }
    }
    sub.insert(sub.end(), both.begin(), both.end());
    pub.insert(pub.end(), both.begin(), both.end());
    return {sub, pub};
}

// What the outputs of a pairing say: both matches, and every issue from 0000000 on.
Outcome judge(const Child& subscriber, const Child& publisher) {
    Outcome outcome;
    double sub_match = first_at(subscriber, "Found 1 additional ping publishers(s).");
    double pub_match = first_at(publisher, "Found 1 additional ping subscriber(s).");
    outcome.first_issue_ms = first_at(subscriber, "qorddsping, issue received: ");
    outcome.match_ms = std::max(sub_match, pub_match);
    outcome.ok = sub_match >= 0 && pub_match >= 0;
    if (!outcome.ok) {
        outcome.why = "no match";
    }
    for (int i = 0; outcome.ok && i < kSamples; ++i) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "qorddsping, issue received: %.7d", i);
        if (first_at(subscriber, expected) < 0) {
            outcome.ok = false;
            outcome.why = std::string("missing ") + (expected + 28);
        }
    }
    if (!outcome.ok && std::getenv("PAIRING_TRACE") != nullptr) {
        for (const Child* child : {&subscriber, &publisher}) {
            std::fprintf(stderr, "  --- %s\n", child == &subscriber ? "subscriber" : "publisher");
            for (const Line& line : child->lines) {
                std::fprintf(stderr, "  %8.1f %s\n", line.at_ms, line.text.c_str());
            }
        }
    }
    return outcome;
}

// Runs one pairing in this process, which must already be a private host.
Outcome pair_here(const std::string& binary, const Transport& transport, Order order) {
    std::pair<Args, Args> commands = pairing_commands(binary, transport);
    const Args& early = order == Order::PublisherFirst ? commands.second : commands.first;
    const Args& late = order == Order::PublisherFirst ? commands.first : commands.second;
    Child first = spawn(early);
    if (order != Order::Together) {
        // Subscriber first: a running subscriber, as an operator starts it. Publisher first:
        // well inside the publisher's wait for readers that may be coming.
        usleep(order == Order::SubscriberFirst ? 1000000 : 50000);
    }
    Clock::time_point epoch = Clock::now();
    Child second = spawn(late);
    char last[64];
    std::snprintf(last, sizeof last, "qorddsping, issue received: %.7d", kSamples - 1);
    collect({&first, &second}, epoch, epoch + std::chrono::seconds(6), last);
    bench::stop({&first, &second});
    bool subscriber_first = order != Order::PublisherFirst;
    return judge(subscriber_first ? first : second, subscriber_first ? second : first);
}

// A pairing on a fresh private host, forked from this process.
Outcome pair_once(const std::string& binary, const Transport& transport, Order order) {
    std::string text = bench::on_private_host([&] {
        Outcome outcome = pair_here(binary, transport, order);
        char line[256];
        std::snprintf(line, sizeof line, "%d %.3f %.3f %s\n", outcome.ok ? 1 : 0, outcome.match_ms,
                      outcome.first_issue_ms, outcome.why.c_str());
        return std::string(line);
    });
    Outcome outcome;
    char why[200] = {};
    int ok = 0;
    if (std::sscanf(text.c_str(), "%d %lf %lf %199[^\n]", &ok, &outcome.match_ms,
                    &outcome.first_issue_ms, why) < 3) {
        outcome.why = "the private host could not be made (root needed)";
        return outcome;
    }
    outcome.ok = ok != 0;
    outcome.why = why;
    return outcome;
}

struct Times {
    std::vector<double> match, first_issue;
};

// Runs `runs` pairings of `program`, the three orders in turn, in `jobs` processes at once;
// returns how many failed, and says why on standard error.
int count_failures(const std::string& program, const char* label, const Transport& transport,
                   int runs, int jobs) {
    const Order orders[] = {Order::SubscriberFirst, Order::PublisherFirst, Order::Together};
    int results[2];
    if (pipe(results) != 0) {
        std::exit(2);
    }
    for (int job = 0; job < jobs; ++job) {
        if (fork() == 0) {
            close(results[0]);
            for (int run = job; run < runs; run += jobs) {
                Order order = orders[run % 3];
                Outcome outcome = pair_once(program, transport, order);
                if (!outcome.ok) {
                    std::fprintf(stderr, "  %s %s, %s: %s (match %.1f ms)\n", label, transport.name,
                                 order_name(order), outcome.why.c_str(), outcome.match_ms);
                }
                char verdict = outcome.ok ? '1' : '0';
                if (write(results[1], &verdict, 1) != 1) {
                    _exit(4);
                }
            }
            _exit(0);
        }
    }
    close(results[1]);
    int failures = 0;
    char verdict;
    while (read(results[0], &verdict, 1) == 1) {
        failures += verdict == '0' ? 1 : 0;
    }
    close(results[0]);
    while (wait(nullptr) > 0) {
    }
    return failures;
}

// A publisher sending every 0.5 s, and a subscriber started 1.5 to 2 s later: from the
// subscriber's match to its first issue, which must take no more than a send period and 100 ms.
double late_subscriber_ms(const std::string& binary, int run) {
    std::string text = bench::on_private_host([&] {
        Child publisher = spawn({binary, "-numSamples", "12", "-sendPeriod", "0.5"});
        // At a different point of the send period each run: the wait depends on it.
        usleep(static_cast<useconds_t>(1500000 + run * 97000 % 500000));
        Clock::time_point epoch = Clock::now();
        Child subscriber = spawn({binary, "-subscriber", "-timeout", "2"});
        collect({&publisher, &subscriber}, epoch, epoch + std::chrono::seconds(4),
                "qorddsping, issue received: ");
        bench::stop({&publisher, &subscriber});
        double match = first_at(subscriber, "Found 1 additional ping publishers(s).");
        double issue = first_at(subscriber, "qorddsping, issue received: ");
        return std::to_string(match >= 0 && issue >= 0 ? issue - match : -1);
    });
    return text.empty() ? -1 : std::atof(text.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr,
                     "usage: pairing-bench QORDDSPING BARE_PING [RUNS [TIMED_RUNS [TRANSPORT]]]\n");
        return 2;
    }
    const std::string programs[] = {argv[1], argv[2]};
    const char* labels[] = {"qorddsping", "bare-ping"};
    int runs = argc > 3 ? std::atoi(argv[3]) : 200;
    int timed = argc > 4 ? std::atoi(argv[4]) : 50;
    std::string only = argc > 5 ? argv[5] : "";  // one transport's name
    const int jobs = 2;

    std::printf(
        "Launch to match and to first issue: %d subscriber-first pairings per transport and "
        "program, one at a time, %d samples 0.2 s apart; from the launch of the "
        "publisher (the later process) to the later of the two match lines and to the "
        "subscriber's first issue. Failed: a side without its match line, or an issue "
        "from 0000000 on that never arrived.\n",
        timed, kSamples);
    std::printf("%-11s %-10s %6s %14s %9s %17s %9s\n", "transport", "program", "failed",
                "match median", "max", "1st issue median", "max");
    for (const Transport& transport : kTransports) {
        if (!only.empty() && only != transport.name) {
            continue;
        }
        for (int p = 0; p < 2; ++p) {
            int failures = 0;
            Times times;
            for (int run = 0; run < timed; ++run) {
                Outcome outcome = pair_once(programs[p], transport, Order::SubscriberFirst);
                if (!outcome.ok) {
                    ++failures;
                    std::fprintf(stderr, "  %s %s, timed: %s (match %.1f ms)\n", labels[p],
                                 transport.name, outcome.why.c_str(), outcome.match_ms);
                    continue;
                }
                times.match.push_back(outcome.match_ms);
                times.first_issue.push_back(outcome.first_issue_ms);
            }
            std::printf("%-11s %-10s %6d %11.1f ms %6.1f ms %14.1f ms %6.1f ms\n", transport.name,
                        labels[p], failures, median(times.match), maximum(times.match),
                        median(times.first_issue), maximum(times.first_issue));
            std::fflush(stdout);
        }
    }

    std::printf("\nFailures: %d pairings per transport, the three orders in turn, %d at once\n",
                runs, jobs);
    std::printf("%-11s %-10s %8s\n", "transport", "program", "failures");
    for (const Transport& transport : kTransports) {
        if (!only.empty() && only != transport.name) {
            continue;
        }
        for (int p = 0; p < 2; ++p) {
            int failures = count_failures(programs[p], labels[p], transport, runs, jobs);
            std::printf("%-11s %-10s %5d/%d\n", transport.name, labels[p], failures, runs);
            std::fflush(stdout);
        }
    }

    std::vector<double> delays;
    int missing = 0;
    for (int run = 0; run < 20; ++run) {
        double delay = late_subscriber_ms(programs[0], run);
        if (delay < 0) {
            ++missing;
        } else {
            delays.push_back(delay);
        }
    }
    std::printf(
        "\nLate subscriber (publisher sending every 0.5 s, default transports, 20 runs): "
        "match to first issue median %.1f ms, max %.1f ms (limit 600 ms), %d without "
        "an issue\n",
        median(delays), maximum(delays), missing);
    return 0;
}
