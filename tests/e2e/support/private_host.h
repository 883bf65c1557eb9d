// End-to-end test harness: runs the real qorddsping (or any command) on private "hosts".
//
// A PrivateHost is a network namespace with only a loopback interface (IPv4 and IPv6
// multicast routed over it) and a mount namespace with its own tmpfs on /dev/shm, held by an
// anchor process while the object lives:
//
//   qortest::PrivateHost host;
//   auto subscriber = host.startPing({"-subscriber", "-timeout", "3"});
//   ASSERT_TRUE(subscriber->wait(30));
//
// Every process a host starts is killed when its handle, its host or the test process goes
// away. A sanitizer report on a process's standard error fails the running test by itself.
#ifndef QOR_TESTS_E2E_SUPPORT_PRIVATE_HOST_H
#define QOR_TESTS_E2E_SUPPORT_PRIVATE_HOST_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qortest {

// A process started on a private host, with its standard output and error captured to files.
class Process {
  public:
    // Owns the files, and kills the process if it still runs when it goes.
    Process(pid_t pid, std::FILE* output, std::FILE* errors);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Waits up to `seconds` for the process to end; on expiry kills it (SIGKILL) and returns
    // false, then and ever after.
    bool wait(double seconds);
    void signal(int sig);  // if the process still runs
    bool running();
    // The exit status, or -1 when the process did not exit by itself (signal, still running).
    int exitStatus() const { return exitStatus_; }
    // The signal that ended the process, or 0 when it exited (or still runs).
    int termSignal() const { return termSignal_; }

    // Everything written so far; complete once wait() returned true.
    std::string output() const;
    std::string errors() const;

    // Asks `done` every `every` until it holds, the process has ended or `seconds` have passed,
    // whichever comes first; `done` is asked once more after the end or the time is seen, so
    // that what the process printed last counts. True when `done` held.
    bool waitUntil(const std::function<bool()>& done, double seconds,
                   std::chrono::milliseconds every = std::chrono::milliseconds(20));
    // Waits as waitUntil does for `text` in the output, found at byte `from` or later.
    bool waitForOutput(const std::string& text, double seconds, size_t from = 0);
    // Waits as waitUntil does for `text` on the error stream.
    bool waitForErrors(const std::string& text, double seconds);
    pid_t pid() const { return pid_; }

  private:
    void reap(bool block);
    pid_t pid_;
    bool ended_ = false;
    bool timedOut_ = false;
    int exitStatus_ = -1;
    int termSignal_ = 0;
    std::FILE* output_;
    std::FILE* errors_;
};

class PrivateHost {
  public:
    // Creates the namespaces; throws std::runtime_error when that fails (needs root).
    PrivateHost();

    // Starts argv[0] (a path, or a name looked up in PATH) on this host. The process is
    // killed when the thread that started it ends, so start from the test's own thread.
    std::unique_ptr<Process> start(const std::vector<std::string>& argv);
    // Starts the qorddsping under test with these arguments.
    std::unique_ptr<Process> startPing(const std::vector<std::string>& arguments);
    // A process inside the host's namespaces, for commands that name a namespace by PID.
    pid_t pid() const { return anchor_->pid(); }

  private:
    std::unique_ptr<Process> anchor_;  // the process whose namespaces this host is
};

// The result of one qorddsping run on a fresh private host.
struct RunResult {
    std::string output;
    int exitStatus = -1;  // -1 when it did not exit by itself within the time given
};
RunResult runPing(const std::vector<std::string>& arguments, double seconds = 30);

// The content of tests/e2e/expected/<name>; throws std::runtime_error when missing.
std::string golden(const std::string& name);

}  // namespace qortest

#endif
