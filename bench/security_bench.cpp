// security-bench: what DDS Security costs the tool, secured and unsecured side by side, each
// run on a private host of its own (network namespace, loopback multicast, own /dev/shm), the
// modes interleaved run by run, default transports:
//  - launch to match: a subscriber listening, then a publisher launched; from that launch to
//    the later of the two match lines, and to the subscriber's first issue (5 samples 0.2 s
//    apart; a pairing fails when a match line or an issue from 0000000 on is missing);
//  - reliable burst: -reliable -queueSize 1000 -sendPeriod 0, BURST samples; the rate from
//    the subscriber's first issue to its last, how many arrived, and how many publishers
//    died of a signal.
// The secured modes use the test PKI (tests/security/make-test-pki, made in scratch
// directories and removed afterwards): authentication, access control, discovery, liveliness
// and data encrypted; "secured" protects submessages and payloads only (rtps_protection_kind
// NONE), "signed" also signs whole messages (SIGN). Asserts nothing; prints the figures.
// Needs root.
//
//   security-bench QORDDSPING [PAIRINGS [BURSTS [BURST]]]   (defaults 10, 3 and 20000)
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
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
using bench::minimum;
using bench::spawn;
using bench::stop;
using Args = std::vector<std::string>;

const char* const kListening = "qorddsping is listening for data";
const char* const kIssue = "qorddsping, issue received: ";
const int kSamples = 5;

double last_at(const Child& child, const std::string& prefix) {
    double at = -1;
    for (const Line& line : child.lines) {
        if (line.text.rfind(prefix, 0) == 0) {
            at = line.at_ms;
        }
    }
    return at;
}

size_t count_of(const Child& child, const std::string& prefix) {
    return static_cast<size_t>(
        std::count_if(child.lines.begin(), child.lines.end(),
                      [&](const Line& line) { return line.text.rfind(prefix, 0) == 0; }));
}

// What each side adds to its command line in one mode.
struct Mode {
    Args subscriber, publisher;
};

Args with(Args command, const Args& more) {
    command.insert(command.end(), more.begin(), more.end());
    return command;
}

// A subscriber started and listening (or not, after 10 s), then the publisher; the lines of
// both until the subscriber printed `done` or `seconds` passed, timed from the publisher's
// launch.
// The signal that ended the publisher by itself, or 0.
int run_pair(const Args& subscriber_command, const Args& publisher_command, const std::string& done,
             int seconds, Child& subscriber, Child& publisher) {
    Clock::time_point start = Clock::now();
    subscriber = spawn(subscriber_command);
    collect({&subscriber}, start, start + std::chrono::seconds(10), kListening);
    Clock::time_point epoch = Clock::now();
    publisher = spawn(publisher_command);
    collect({&subscriber, &publisher}, epoch, epoch + std::chrono::seconds(seconds), done);
    int status = 0;
    int signal = waitpid(publisher.pid, &status, WNOHANG) == publisher.pid && WIFSIGNALED(status)
                     ? WTERMSIG(status)
                     : 0;
    stop({&subscriber, &publisher});
    return signal;
}

// "ok match_ms first_issue_ms" of one pairing, on the private host this process is.
std::string pairing_here(const std::string& binary, const Mode& mode) {
    Child subscriber, publisher;
    char last[64];
    std::snprintf(last, sizeof last, "%s%.7d", kIssue, kSamples - 1);
    run_pair(with({binary, "-subscriber", "-timeout", "4"}, mode.subscriber),
             with({binary, "-numSamples", std::to_string(kSamples), "-sendPeriod", "0.2"},
                  mode.publisher),
             last, 8, subscriber, publisher);
    double match = std::max(first_at(subscriber, "Found 1 additional ping publishers(s)."),
                            first_at(publisher, "Found 1 additional ping subscriber(s)."));
    bool ok = first_at(subscriber, "Found 1 additional ping publishers(s).") >= 0 &&
              first_at(publisher, "Found 1 additional ping subscriber(s).") >= 0;
    for (int i = 0; ok && i < kSamples; ++i) {
        char issue[64];
        std::snprintf(issue, sizeof issue, "%s%.7d", kIssue, i);
        ok = first_at(subscriber, issue) >= 0;
    }
    char line[128];
    std::snprintf(line, sizeof line, "%d %.3f %.3f", ok ? 1 : 0, match,
                  first_at(subscriber, kIssue));
    return line;
}

// "rate received signal" of one reliable burst of `count` samples.
std::string burst_here(const std::string& binary, const Mode& mode, int count) {
    Child subscriber, publisher;
    char last[64];
    std::snprintf(last, sizeof last, "%s%.7d", kIssue, count - 1);
    const Args reliable = {"-reliable", "-queueSize", "1000"};
    int signal =
        run_pair(with(with({binary, "-subscriber", "-timeout", "3"}, reliable), mode.subscriber),
                 with(with({binary, "-sendPeriod", "0", "-verbosity", "0", "-numSamples",
                            std::to_string(count)},
                           reliable),
                      mode.publisher),
                 last, 120, subscriber, publisher);
    double first = first_at(subscriber, kIssue);
    double end = last_at(subscriber, kIssue);
    size_t received = count_of(subscriber, kIssue);
    double rate = end > first ? static_cast<double>(received - 1) * 1000.0 / (end - first) : 0;
    char line[128];
    std::snprintf(line, sizeof line, "%.1f %zu %d", rate, received, signal);
    return line;
}

struct Figures {
    std::vector<double> match, first_issue, rate, received;
    int failed = 0;
    int killed = 0;  // publishers ended by a signal of their own
};

void pairing(const std::string& binary, const Mode& mode, Figures& figures) {
    std::string text = bench::on_private_host([&] { return pairing_here(binary, mode); });
    int ok = 0;
    double match = -1, issue = -1;
    if (std::sscanf(text.c_str(), "%d %lf %lf", &ok, &match, &issue) != 3 || ok == 0) {
        ++figures.failed;
        return;
    }
    figures.match.push_back(match);
    figures.first_issue.push_back(issue);
}

void burst(const std::string& binary, const Mode& mode, int count, Figures& figures) {
    std::string text = bench::on_private_host([&] { return burst_here(binary, mode, count); });
    double rate = 0, received = 0;
    int signal = 0;
    if (std::sscanf(text.c_str(), "%lf %lf %d", &rate, &received, &signal) == 3) {
        figures.rate.push_back(rate);
        figures.received.push_back(received);
        figures.killed += signal != 0 ? 1 : 0;
    }
}

struct Column {
    const char* name;
    Figures figures;
};

void row(const char* figure, const std::vector<Column>& columns, double (*value)(const Figures&)) {
    std::printf("%-42s", figure);
    for (const Column& column : columns) {
        std::printf(" %12.1f", value(column.figures));
    }
    std::printf("\n");
}

void count_row(const char* figure, const std::vector<Column>& columns, int Figures::*count,
               int runs) {
    std::printf("%-42s", figure);
    for (const Column& column : columns) {
        std::printf(" %9d/%-2d", column.figures.*count, runs);
    }
    std::printf("\n");
}

void print_table(const std::vector<Column>& columns, int pairings, int bursts, int count) {
    std::printf("%-42s", "figure");
    for (const Column& column : columns) {
        std::printf(" %12s", column.name);
    }
    std::printf("\n");
    row("launch to match, median (ms)", columns, [](const Figures& f) { return median(f.match); });
    row("launch to match, max (ms)", columns, [](const Figures& f) { return maximum(f.match); });
    row("launch to first issue, median (ms)", columns,
        [](const Figures& f) { return median(f.first_issue); });
    row("launch to first issue, max (ms)", columns,
        [](const Figures& f) { return maximum(f.first_issue); });
    count_row("failed pairings", columns, &Figures::failed, pairings);
    row("reliable burst rate, median (samples/s)", columns,
        [](const Figures& f) { return median(f.rate); });
    row("reliable burst received, least (samples)", columns,
        [](const Figures& f) { return minimum(f.received); });
    count_row("burst publishers killed by a signal", columns, &Figures::killed, bursts);
    std::printf("(%d pairings and %d bursts of %d samples per mode, interleaved)\n", pairings,
                bursts, count);
}

// The test PKI in a scratch directory, whole messages protected as `protection` says.
std::string make_pki(const char* protection) {
    char scratch[] = "/tmp/qorddsping-bench-pki-XXXXXX";
    if (mkdtemp(scratch) == nullptr) {
        std::perror("mkdtemp");
        std::exit(2);
    }
    std::string command = std::string("sh ") + QOR_MAKE_TEST_PKI + " " + scratch + " " + protection;
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "make-test-pki failed\n");
        std::exit(2);
    }
    return scratch;
}

Mode secured_mode(const std::string& pki) {
    const std::string file = pki + "/secure.xml";
    return {{"-qosFile", file, "-qosProfile", "Secure::Bob"},
            {"-qosFile", file, "-qosProfile", "Secure::Alice"}};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: security-bench QORDDSPING [PAIRINGS [BURSTS [BURST]]]\n");
        return 2;
    }
    const std::string binary = argv[1];
    int pairings = argc > 2 ? std::atoi(argv[2]) : 10;
    int bursts = argc > 3 ? std::atoi(argv[3]) : 3;
    int count = argc > 4 ? std::atoi(argv[4]) : 20000;

    const std::string pkis[] = {make_pki("NONE"), make_pki("SIGN")};
    const Mode modes[] = {Mode(), secured_mode(pkis[0]), secured_mode(pkis[1])};
    std::vector<Column> columns = {{"unsecured", {}}, {"secured", {}}, {"signed", {}}};
    for (int run = 0; run < pairings; ++run) {
        for (size_t m = 0; m < columns.size(); ++m) {
            pairing(binary, modes[m], columns[m].figures);
        }
    }
    for (int run = 0; run < bursts; ++run) {
        for (size_t m = 0; m < columns.size(); ++m) {
            burst(binary, modes[m], count, columns[m].figures);
        }
    }
    print_table(columns, pairings, bursts, count);
    for (const std::string& pki : pkis) {
        std::system(("rm -rf " + pki).c_str());
    }
    return 0;
}
