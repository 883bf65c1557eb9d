// End-to-end test harness: runs the real qorddsping (or any command) on private "hosts".
//
// A PrivateHost is a network namespace with only a loopback interface (IPv4 and IPv6
// multicast routed over it) plus a mount namespace with its own tmpfs on /dev/shm, kept alive
// by an anchor process for as long as the object lives. Everything started on one host sees
// the others on that host and nothing else, so tests may run in parallel. connect() joins two
// hosts with a veth pair when a test needs a real network between them.
//
// Adding a scenario takes a few lines:
//
//   TEST(PingScenario, SubscriberReceivesThreeSamples) {
//       qortest::PrivateHost host;
//       auto subscriber = host.startPing({"-subscriber", "-timeout", "3"});
//       auto publisher = host.startPing({"-numSamples", "3", "-sendPeriod", "0.2"});
//       ASSERT_TRUE(publisher->wait(30));
//       ASSERT_TRUE(subscriber->wait(30));
//       EXPECT_EQ(1, subscriber->exitStatus());
//       EXPECT_NE(std::string::npos, subscriber->output().find("issue received: 0000002"));
//   }
//
// Or, for one run compared with a golden file under tests/e2e/expected/:
//
//   auto run = qortest::runPing({"-help"});
//   EXPECT_EQ(qortest::golden("help.txt"), run.output);
//   EXPECT_EQ(0, run.exitStatus);
//
// Every process a host starts is killed when its handle or the host goes away, and when the
// test process dies, so nothing outlives a test. A sanitizer report on a process's standard
// error fails the running test by itself.
#ifndef QOR_TESTS_E2E_SUPPORT_PRIVATE_HOST_H
#define QOR_TESTS_E2E_SUPPORT_PRIVATE_HOST_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace qortest {

// A process started on a private host, with its standard output and error captured to files.
class Process {
  public:
    Process(pid_t pid, std::string outputPath, std::string errorPath);
    ~Process();  // kills the process if it still runs
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Waits up to `seconds` for the process to end. On expiry it is killed (SIGKILL), reaped,
    // and false is returned. Returns true at once when it has already ended.
    bool wait(double seconds);
    // Sends a signal (SIGKILL, SIGSTOP, SIGCONT, SIGINT, ...) if the process still runs.
    void signal(int sig);

    bool running();
    bool timedOut() const { return timedOut_; }
    // The exit status, or -1 when the process did not exit by itself (signal, still running).
    int exitStatus() const { return exitStatus_; }
    // The signal that ended the process, or 0.
    int termSignal() const { return termSignal_; }

    // Everything written so far; complete once wait() returned true.
    std::string output() const;
    std::string errors() const;
    pid_t pid() const { return pid_; }

  private:
    void reap(bool block);
    pid_t pid_;
    bool ended_ = false;
    bool timedOut_ = false;
    int exitStatus_ = -1;
    int termSignal_ = 0;
    std::string outputPath_;
    std::string errorPath_;
};

class PrivateHost {
  public:
    // Creates the namespaces; throws std::runtime_error when that fails (needs root).
    PrivateHost();
    ~PrivateHost();
    PrivateHost(const PrivateHost&) = delete;
    PrivateHost& operator=(const PrivateHost&) = delete;

    // Starts argv[0] (a path, or a name looked up in PATH) on this host. The process is
    // killed when the thread that started it ends, so start from the test's own thread.
    std::unique_ptr<Process> start(const std::vector<std::string>& argv);
    // Starts the qorddsping under test with these arguments.
    std::unique_ptr<Process> startPing(const std::vector<std::string>& arguments);
    // Runs a command to its end (killed after `seconds`) and returns its exit status, or -1.
    int run(const std::vector<std::string>& argv, double seconds = 10);

    // Joins two hosts with a veth pair and gives each end an address with prefix length, e.g.
    // "10.1.0.1/24". The pair is made from inside host a and never touches this machine's own
    // namespace. Interfaces are named net0, net1, ... on each host; both carry multicast.
    // Throws std::runtime_error on failure.
    static void connect(PrivateHost& a, const std::string& addressA, PrivateHost& b,
                        const std::string& addressB);

    // The anchor process whose namespaces this host is.
    pid_t anchor() const { return anchor_; }

  private:
    std::string nextInterfaceName();
    pid_t anchor_ = -1;
    int interfaces_ = 0;
};

// The result of one qorddsping run on a fresh private host.
struct RunResult {
    std::string output;
    std::string errors;
    int exitStatus = -1;
    bool timedOut = false;
};
RunResult runPing(const std::vector<std::string>& arguments, double seconds = 30);

// The qorddsping binary under test.
std::string pingBinary();
// The content of tests/e2e/expected/<name>; throws std::runtime_error when missing.
std::string golden(const std::string& name);

}  // namespace qortest

#endif
