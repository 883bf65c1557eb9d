// compare-bench: one case of bench/compare, run on the private host it is started in. It runs
// qorddsping, bare-ping (printing every sample, and quiet) and Cyclone DDS's ddsperf in turn,
// round after round, and prints one CSV row per figure:
//   case,figure,unit,qorddsping,bare-ping,bare-ping quiet,ddsperf
// (an empty field where a program gives no such figure; each figure the median of the rounds).
// Asserts nothing. Refuses to run where a network interface other than loopback exists.
//
//   compare-bench QORDDSPING BARE_PING DDSPERF CASE [ROUNDS [PACED_SECONDS]]
//   CASE: 1 reliable burst, 2 best-effort burst, 3 paced 1 kHz, 4 keyed reliable burst,
//         5 process cost
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "spawn.h"

namespace {

using bench::Clock;
using Args = std::vector<std::string>;

const long kBurst = 100000;
const char* const kIssue = "qorddsping, issue received: ";
const char* const kMissed = "Detected Missed Sample(s)";

double monotonic_ms(long long ns, Clock::time_point epoch) {
    long long epoch_ns =
        std::chrono::duration_cast<std::chrono::nanoseconds>(epoch.time_since_epoch()).count();
    return static_cast<double>(ns - epoch_ns) / 1e6;
}

// A running program: what it printed, reduced to what the figures need, and its resource use.
struct Child {
    pid_t pid = -1;
    int output = -1;
    std::string pending;
    long issues = 0;          // "issue received" lines
    double first_issue = -1;  // ms since the epoch
    double last_issue = -1;
    double last_event = -1;  // an issue or an instance line
    std::string last_missed;
    std::vector<std::string> other;  // every other line
    bool ended = false;
    rusage usage{};
};

Child spawn(const Args& command) {
    Child child;
    child.pid = bench::spawn_piped(command, true, child.output);
    return child;
}

void take_line(Child& child, const std::string& line, double at) {
    if (line.compare(0, std::strlen(kIssue), kIssue) == 0) {
        ++child.issues;
        if (child.first_issue < 0) {
            child.first_issue = at;
        }
        child.last_issue = at;
        child.last_event = at;
    } else if (line.compare(0, 20, "qorddsping, instance") == 0) {
        child.last_event = at;
    } else if (line.compare(0, 12, "Sending data") == 0) {
        return;
    } else if (line.compare(0, std::strlen(kMissed), kMissed) == 0) {
        child.last_missed = line;
    } else {
        child.other.push_back(line);
    }
}

// Reads the children's output, timestamped against `epoch`, until all have ended; a child
// still running at `limit` is killed. Collects each one's resource use.
void run_until_done(const std::vector<Child*>& children, Clock::time_point epoch,
                    Clock::time_point limit) {
    for (;;) {
        if (Clock::now() >= limit) {
            for (Child* child : children) {
                if (child->output >= 0) {
                    kill(child->pid, SIGKILL);
                }
            }
        }
        if (!bench::read_some(children, epoch, 100, take_line)) {
            break;
        }
    }
    for (Child* child : children) {
        int status = 0;
        wait4(child->pid, &status, 0, &child->usage);
        child->ended = true;
    }
}

double cpu_s(const rusage& usage) {
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double median(std::vector<double> values) {
    values.erase(std::remove_if(values.begin(), values.end(),
                                [](double value) { return std::isnan(value); }),
                 values.end());
    if (values.empty()) {
        return NAN;
    }
    std::sort(values.begin(), values.end());
    size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The programs, in the order of the columns.
enum Program { Tool = 0, Bare = 1, BareQuiet = 2, Ddsperf = 3, kPrograms = 4 };

struct Setup {
    std::string tool, bare, ddsperf;
    int rounds = 3;
    double paced_seconds = 20;
};

// One figure: a value per program and round.
struct Figure {
    Figure(std::string figure_name, std::string figure_unit)
        : name(std::move(figure_name)), unit(std::move(figure_unit)) {}
    std::string name, unit;
    std::vector<double> values[kPrograms];
};

void print_row(int number, const Figure& figure) {
    std::printf("%d,%s,%s", number, figure.name.c_str(), figure.unit.c_str());
    for (const auto& values : figure.values) {
        double value = median(values);
        if (std::isnan(value)) {
            std::printf(",");
        } else {
            std::printf(",%.6g", value);
        }
    }
    std::printf("\n");
    std::fflush(stdout);
}

// ddsperf's subscriber statistics: the receive rates of its one-second lines while the
// publisher was there, and its last total and lost counts.
struct DdsperfStats {
    std::vector<double> rates;  // samples/s
    double total = 0, lost = 0;
};

DdsperfStats ddsperf_stats(const Child& sub) {
    DdsperfStats stats;
    bool gone = false;
    for (const std::string& line : sub.other) {
        if (line.find(": gone") != std::string::npos) {
            gone = true;
        }
        const char* size = std::strstr(line.c_str(), " size ");
        if (size == nullptr) {
            continue;
        }
        double total = 0, lost = 0, rate = 0;
        const char* at = std::strstr(size, " total ");
        const char* lost_at = std::strstr(size, " lost ");
        const char* rate_at = std::strstr(size, " rate ");
        if (at == nullptr || lost_at == nullptr || rate_at == nullptr ||
            std::sscanf(at, " total %lf", &total) != 1 ||
            std::sscanf(lost_at, " lost %lf", &lost) != 1 ||
            std::sscanf(rate_at, " rate %lf", &rate) != 1) {
            continue;
        }
        stats.total = total;
        stats.lost = lost;
        if (!gone && rate > 0) {
            stats.rates.push_back(rate * 1000);
        }
    }
    return stats;
}

// bare-ping -quiet's closing line: valid samples and the first and last take, in ms since
// `epoch`.
bool quiet_figures(const Child& sub, Clock::time_point epoch, double& valid, double& first,
                   double& last) {
    for (const std::string& line : sub.other) {
        long v = 0, s = 0;
        long long first_ns = 0, last_ns = 0;
        if (std::sscanf(line.c_str(),
                        "bare-ping: %ld valid of %ld samples, first at %lld ns, "
                        "last at %lld ns",
                        &v, &s, &first_ns, &last_ns) == 4) {
            valid = static_cast<double>(v);
            first = first_ns > 0 ? monotonic_ms(first_ns, epoch) : NAN;
            last = last_ns > 0 ? monotonic_ms(last_ns, epoch) : NAN;
            return true;
        }
    }
    return false;
}

// "Detected Missed Sample(s) current: 3 cumulative: 5  (1.20)%": the percentage, whose
// hundredths are printed without zero padding.
double reported_loss_percent(const std::string& line) {
    const char* open = std::strrchr(line.c_str(), '(');
    unsigned whole = 0, hundredths = 0;
    if (open == nullptr || std::sscanf(open, "(%u.%u)", &whole, &hundredths) != 2) {
        return 0;
    }
    return whole + hundredths / 100.0;
}

struct Run {
    Child sub, pub;
    Clock::time_point epoch;  // the publisher's launch
};

// A subscriber, a second later the publisher, both until they end.
Run pair(const Args& sub, const Args& pub, double limit_s) {
    Run run;
    run.sub = spawn(sub);
    usleep(1000000);
    run.epoch = Clock::now();
    run.pub = spawn(pub);
    run_until_done({&run.sub, &run.pub}, run.epoch,
                   run.epoch + std::chrono::milliseconds(static_cast<long>(limit_s * 1000)));
    return run;
}

Args tool_args(const Setup& setup, bool publisher, const Args& extra) {
    Args args{setup.tool, publisher ? "-publisher" : "-subscriber"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

Args bare_args(const Setup& setup, bool publisher, bool quiet, const Args& extra) {
    Args args{setup.bare, publisher ? "pub" : "sub"};
    args.insert(args.end(), extra.begin(), extra.end());
    if (quiet) {
        args.push_back("-quiet");
    }
    return args;
}

// The figures of a burst case.
struct BurstFigures {
    Figure last{"time to last issue", "ms"}, rate{"receive rate", "samples/s"};
    Figure missing{"missing", "samples"}, reported{"loss reported", "%"};
    Figure true_loss{"true loss", "%"}, sub_cpu{"subscriber CPU per 1000 samples", "ms"};
    Figure pub_cpu{"publisher CPU per 1000 samples", "ms"};
    Figure sub_rss{"subscriber max RSS", "MB"};
};

// ddsperf publishing as fast as it can for 3 s: its subscriber's rate and loss.
void ddsperf_burst(const Setup& setup, bool reliable, int keys, BurstFigures& figures) {
    Args sub{setup.ddsperf, "-T", keys > 0 ? "KS" : "OU"};
    Args pub = sub;
    if (!reliable) {
        sub.push_back("-u");
        pub.push_back("-u");
    }
    if (keys > 0) {
        sub.insert(sub.end(), {"-n", std::to_string(keys)});
        pub.insert(pub.end(), {"-n", std::to_string(keys)});
    }
    sub.insert(sub.end(), {"-D", "5", "sub"});
    pub.insert(pub.end(), {"-D", "3", "pub"});
    if (keys > 0) {
        pub.insert(pub.end(), {"size", "0"});
    }
    Run run = pair(sub, pub, 20);
    DdsperfStats stats = ddsperf_stats(run.sub);
    figures.rate.values[Ddsperf].push_back(median(stats.rates));
    if (stats.total + stats.lost > 0) {
        figures.reported.values[Ddsperf].push_back(100 * stats.lost / (stats.total + stats.lost));
        if (reliable) {
            figures.missing.values[Ddsperf].push_back(stats.lost);
        }
        figures.sub_cpu.values[Ddsperf].push_back(1e6 * cpu_s(run.sub.usage) / stats.total);
    }
    figures.sub_rss.values[Ddsperf].push_back(static_cast<double>(run.sub.usage.ru_maxrss) /
                                              1024.0);
}

// Cases 1, 2 and 4: a burst of 100000 samples back to back.
void burst(const Setup& setup, int number, bool reliable, int keys) {
    Args common{"-queueSize", "1000"};
    if (reliable) {
        common.push_back("-reliable");
    }
    if (keys > 0) {
        common.insert(common.end(), {"-useKeys", std::to_string(keys)});
    }
    Args sub_extra = common;
    sub_extra.insert(sub_extra.end(), {"-timeout", "2"});
    Args pub_extra = common;
    pub_extra.insert(pub_extra.end(), {"-sendPeriod", "0", "-numSamples", std::to_string(kBurst)});

    BurstFigures f;
    // Keyed: half the issues are writes (the others dispose and unregister), one in two.
    long expected = keys > 0 ? kBurst / 2 : kBurst;
    for (int round = 0; round < setup.rounds; ++round) {
        bool retried = false;
        for (int p = 0; p < kPrograms; ++p) {
            if (p == Ddsperf) {
                ddsperf_burst(setup, reliable, keys, f);
                continue;
            }
            bool tool = p == Tool;
            Run run = pair(tool ? tool_args(setup, false, sub_extra)
                                : bare_args(setup, false, p == BareQuiet, sub_extra),
                           tool ? tool_args(setup, true, pub_extra)
                                : bare_args(setup, true, p == BareQuiet, pub_extra),
                           60);
            double valid = static_cast<double>(run.sub.issues);
            double first = run.sub.first_issue;
            double end = keys > 0 ? run.sub.last_event : run.sub.last_issue;
            if (p == BareQuiet && !quiet_figures(run.sub, run.epoch, valid, first, end)) {
                valid = NAN;
            }
            // A pairing that never matched (bare Fast DDS misses a discovery answer now and
            // then) is run again, once per round.
            if (!(valid > 0) && !retried) {
                retried = true;
                std::fprintf(stderr, "compare-bench: case %d, no sample arrived; once more\n",
                             number);
                --p;
                continue;
            }
            if (valid > 0 && end > first) {
                f.last.values[p].push_back(end);
                f.rate.values[p].push_back(1000 * valid / (end - first));
            }
            if (reliable) {
                f.missing.values[p].push_back(static_cast<double>(expected) - valid);
            } else {
                f.true_loss.values[p].push_back(100 * (1 - valid / static_cast<double>(kBurst)));
                if (tool) {
                    f.reported.values[p].push_back(reported_loss_percent(run.sub.last_missed));
                }
            }
            if (valid > 0) {
                f.sub_cpu.values[p].push_back(1e6 * cpu_s(run.sub.usage) / valid);
            }
            f.pub_cpu.values[p].push_back(1e6 * cpu_s(run.pub.usage) / kBurst);
            f.sub_rss.values[p].push_back(static_cast<double>(run.sub.usage.ru_maxrss) / 1024.0);
        }
    }
    Figure* second = reliable ? &f.last : &f.reported;
    Figure* third = reliable ? &f.missing : &f.true_loss;
    for (const Figure* figure : {&f.rate, second, third, &f.sub_cpu, &f.pub_cpu, &f.sub_rss}) {
        print_row(number, *figure);
    }
}

// Case 3: 1000 samples a second, best effort, for `paced_seconds`.
void paced(const Setup& setup) {
    long samples = std::lround(setup.paced_seconds * 1000);
    Args sub_extra{"-timeout", "2"};
    Args pub_extra{"-sendPeriod", "0.001", "-numSamples", std::to_string(samples)};
    Figure pub_cpu{"publisher CPU per 1000 samples", "ms"};
    Figure sub_cpu{"subscriber CPU per 1000 samples", "ms"};
    Figure pub_switches{"publisher context switches per 1000 samples", ""};
    Figure sub_switches{"subscriber context switches per 1000 samples", ""};
    Figure drift{"period drift (actual - 1 ms)", "us"};
    Figure received{"received", "samples"};
    for (int round = 0; round < setup.rounds; ++round) {
        for (int p = 0; p < kPrograms; ++p) {
            Run run;
            double count = 0, period_ms = NAN;
            if (p == Ddsperf) {
                std::string duration = std::to_string(setup.paced_seconds);
                std::string sub_duration = std::to_string(setup.paced_seconds + 3);
                run = pair({setup.ddsperf, "-T", "OU", "-u", "-D", sub_duration, "sub"},
                           {setup.ddsperf, "-T", "OU", "-u", "-D", duration, "pub", "1000Hz"},
                           setup.paced_seconds + 20);
                DdsperfStats stats = ddsperf_stats(run.sub);
                count = stats.total;
                // The one-second lines of the steady part: the first and last are partial.
                std::vector<double> rates = stats.rates;
                if (rates.size() > 2) {
                    rates.erase(rates.begin());
                    rates.pop_back();
                }
                double rate = median(rates);
                period_ms = rate > 0 ? 1000 / rate : NAN;
            } else {
                bool tool = p == Tool;
                run = pair(tool ? tool_args(setup, false, sub_extra)
                                : bare_args(setup, false, p == BareQuiet, sub_extra),
                           tool ? tool_args(setup, true, pub_extra)
                                : bare_args(setup, true, p == BareQuiet, pub_extra),
                           setup.paced_seconds + 30);
                double first = run.sub.first_issue, last = run.sub.last_issue;
                count = static_cast<double>(run.sub.issues);
                if (p == BareQuiet && !quiet_figures(run.sub, run.epoch, count, first, last)) {
                    count = 0;
                }
                if (count > 1) {
                    period_ms = (last - first) / (count - 1);
                }
            }
            received.values[p].push_back(count);
            if (count > 0) {
                pub_cpu.values[p].push_back(1e6 * cpu_s(run.pub.usage) / count);
                sub_cpu.values[p].push_back(1e6 * cpu_s(run.sub.usage) / count);
                pub_switches.values[p].push_back(
                    1000.0 * static_cast<double>(run.pub.usage.ru_nvcsw + run.pub.usage.ru_nivcsw) /
                    count);
                sub_switches.values[p].push_back(
                    1000.0 * static_cast<double>(run.sub.usage.ru_nvcsw + run.sub.usage.ru_nivcsw) /
                    count);
            }
            drift.values[p].push_back(1000 * (period_ms - 1));
        }
    }
    for (const Figure* figure :
         {&pub_cpu, &sub_cpu, &pub_switches, &sub_switches, &drift, &received}) {
        print_row(3, *figure);
    }
}

// Case 5: a publisher of one sample and a subscriber that waits for it: their CPU and
// memory, start-up and teardown included.
void process_cost(const Setup& setup) {
    Figure pub_cpu{"publisher start-up CPU (1-sample run)", "ms"};
    Figure sub_cpu{"subscriber start-up CPU (1-sample run)", "ms"};
    Figure pub_rss{"publisher max RSS", "MB"};
    Figure sub_rss{"subscriber max RSS", "MB"};
    Args sub_extra{"-timeout", "3"};
    Args pub_extra{"-numSamples", "1", "-sendPeriod", "0.1"};
    for (int round = 0; round < setup.rounds; ++round) {
        for (int p = 0; p < kPrograms; ++p) {
            Run run;
            if (p == Ddsperf) {
                run = pair({setup.ddsperf, "-T", "OU", "-D", "2", "sub"},
                           {setup.ddsperf, "-T", "OU", "-D", "0.5", "pub", "10Hz"}, 10);
            } else if (p == Tool) {
                run =
                    pair(tool_args(setup, false, sub_extra), tool_args(setup, true, pub_extra), 20);
            } else {
                run = pair(bare_args(setup, false, p == BareQuiet, sub_extra),
                           bare_args(setup, true, p == BareQuiet, pub_extra), 20);
            }
            pub_cpu.values[p].push_back(1000 * cpu_s(run.pub.usage));
            sub_cpu.values[p].push_back(1000 * cpu_s(run.sub.usage));
            pub_rss.values[p].push_back(static_cast<double>(run.pub.usage.ru_maxrss) / 1024.0);
            sub_rss.values[p].push_back(static_cast<double>(run.sub.usage.ru_maxrss) / 1024.0);
        }
    }
    for (const Figure* figure : {&pub_rss, &sub_rss, &pub_cpu, &sub_cpu}) {
        print_row(5, *figure);
    }
}

// True when loopback is the only network interface of this network namespace: a private host.
bool on_private_host() {
    std::FILE* devices = std::fopen("/proc/net/dev", "r");
    if (devices == nullptr) {
        return false;
    }
    bool only_loopback = true;
    char line[512];
    while (std::fgets(line, sizeof line, devices) != nullptr) {
        char name[64];
        if (std::strchr(line, ':') != nullptr && std::sscanf(line, " %63[^:]:", name) == 1 &&
            std::strcmp(name, "lo") != 0) {
            only_loopback = false;
        }
    }
    std::fclose(devices);
    return only_loopback;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr,
                     "usage: compare-bench QORDDSPING BARE_PING DDSPERF CASE "
                     "[ROUNDS [PACED_SECONDS]]\n");
        return 2;
    }
    if (!on_private_host()) {
        std::fprintf(stderr,
                     "compare-bench: run it on a private host (tests/tools/private-host): "
                     "an interface other than loopback is here\n");
        return 2;
    }
    Setup setup;
    setup.tool = argv[1];
    setup.bare = argv[2];
    setup.ddsperf = argv[3];
    int number = std::atoi(argv[4]);
    if (argc > 5) {
        setup.rounds = std::max(1, std::atoi(argv[5]));
    }
    if (argc > 6) {
        setup.paced_seconds = std::max(1.0, std::atof(argv[6]));
    }
    switch (number) {
        case 1:
            burst(setup, 1, true, 0);
            break;
        case 2:
            burst(setup, 2, false, 0);
            break;
        case 3:
            paced(setup);
            break;
        case 4:
            burst(setup, 4, true, 1000);
            break;
        case 5:
            process_cost(setup);
            break;
        default:
            std::fprintf(stderr, "compare-bench: no case %d\n", number);
            return 2;
    }
    return 0;
}
