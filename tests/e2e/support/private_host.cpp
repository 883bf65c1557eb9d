#include "tests/e2e/support/private_host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace qortest {

namespace {

// An anonymous file for a captured stream, kept from the children started later.
std::FILE* captureFile() {
    std::FILE* file = std::tmpfile();
    if (file == nullptr) {
        throw std::runtime_error("cannot create a capture file: " + std::string(strerror(errno)));
    }
    fcntl(fileno(file), F_SETFD, FD_CLOEXEC);
    return file;
}

std::string contentOf(std::FILE* file) {
    std::string text;
    char buffer[4096];
    ssize_t count;
    for (off_t at = 0; (count = pread(fileno(file), buffer, sizeof buffer, at)) > 0; at += count) {
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

// Starts `command` with its standard output and error captured. It dies with the test
// process, so nothing outlives a crashed test.
std::unique_ptr<Process> launch(const std::vector<std::string>& command) {
    std::vector<char*> argv;
    for (const std::string& word : command) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    std::FILE* output = captureFile();
    std::FILE* errors = captureFile();
    pid_t parent = getpid();
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(126);
        }
        // Stop signals as a terminal would deliver them, whatever the test runner inherited
        // (a job that a script starts with & ignores SIGINT).
        signal(SIGINT, SIG_DFL);
        signal(SIGTERM, SIG_DFL);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(fileno(output), STDOUT_FILENO);
        dup2(fileno(errors), STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    if (pid < 0) {
        std::fclose(output);
        std::fclose(errors);
        throw std::runtime_error("fork: " + std::string(strerror(errno)));
    }
    return std::make_unique<Process>(pid, output, errors);
}

}  // namespace

Process::Process(pid_t pid, std::FILE* output, std::FILE* errors)
    : pid_(pid), output_(output), errors_(errors) {}

Process::~Process() {
    if (!ended_) {
        kill(pid_, SIGKILL);
        reap(true);
    }
    std::fclose(output_);
    std::fclose(errors_);
}

void Process::reap(bool block) {
    if (ended_) {
        return;
    }
    int status = 0;
    if (waitpid(pid_, &status, block ? 0 : WNOHANG) != pid_) {
        return;
    }
    ended_ = true;
    exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    termSignal_ = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    // A memory error or leak must fail the scenario whatever it checks: the exit status alone
    // cannot tell (1 is also the tool's success).
    std::string report = errors();
    if (report.find("==ERROR: ") != std::string::npos ||
        report.find(": runtime error: ") != std::string::npos) {
        ADD_FAILURE() << "sanitizer report from process " << pid_ << ":\n" << report;
    }
}

bool Process::wait(double seconds) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (reap(false); !ended_; reap(false)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            timedOut_ = true;
            kill(pid_, SIGKILL);
            reap(true);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return !timedOut_;
}

void Process::signal(int sig) {
    if (running()) {
        kill(pid_, sig);
    }
}

bool Process::running() {
    reap(false);
    return !ended_;
}

std::string Process::output() const {
    return contentOf(output_);
}

std::string Process::errors() const {
    return contentOf(errors_);
}

bool Process::waitUntil(const std::function<bool()>& done, double seconds,
                        std::chrono::milliseconds every) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (;;) {
        // Seen before `done` is asked: once the process has ended its output is complete.
        bool ended = !running();
        bool late = std::chrono::steady_clock::now() >= deadline;
        if (done()) {
            return true;
        }
        if (ended || late) {
            return false;
        }
        std::this_thread::sleep_for(every);
    }
}

bool Process::waitForOutput(const std::string& text, double seconds, size_t from) {
    return waitUntil(
        [&] {
            std::string printed = output();
            return printed.size() > from && printed.find(text, from) != std::string::npos;
        },
        seconds);
}

bool Process::waitForErrors(const std::string& text, double seconds) {
    return waitUntil([&] { return errors().find(text) != std::string::npos; }, seconds);
}

// The anchor says "ready" once the private-host runner has set up the namespaces, then only
// sleeps; its namespaces are this host.
PrivateHost::PrivateHost()
    : anchor_(
          launch({QOR_PRIVATE_HOST_SCRIPT, "sh", "-c", "echo ready && exec sleep 2147483647"})) {
    while (anchor_->output() != "ready\n") {
        if (!anchor_->running()) {
            throw std::runtime_error(
                "private host could not be set up (root and iproute2 needed): " +
                anchor_->errors());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

std::unique_ptr<Process> PrivateHost::start(const std::vector<std::string>& argv) {
    // nsenter executes the command itself, so the process is the command. Entering the mount
    // namespace would move the working directory to its root: --wd keeps ours.
    char directory[4096];
    std::string wd = "--wd=" + std::string(getcwd(directory, sizeof directory) ? directory : "/");
    std::vector<std::string> command = {
        "nsenter", "--net", "--mount", "--target", std::to_string(anchor_->pid()), wd, "--"};
    command.insert(command.end(), argv.begin(), argv.end());
    return launch(command);
}

std::unique_ptr<Process> PrivateHost::startPing(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {QOR_PING_BINARY};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return start(command);
}

RunResult runPing(const std::vector<std::string>& arguments, double seconds) {
    PrivateHost host;
    std::unique_ptr<Process> process = host.startPing(arguments);
    process->wait(seconds);
    return {process->output(), process->exitStatus()};
}

std::string golden(const std::string& name) {
    std::string path = std::string(QOR_E2E_EXPECTED_DIR) + "/" + name;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        throw std::runtime_error("missing expected-output file " + path);
    }
    std::string text = contentOf(file);
    std::fclose(file);
    return text;
}

}  // namespace qortest
