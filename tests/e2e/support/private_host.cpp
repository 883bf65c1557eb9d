#include "tests/e2e/support/private_host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace qortest {

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// A fresh, empty file for a process's captured stream.
std::string makeCaptureFile(const char* stream) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/qor-e2e-" +
                          stream + "-XXXXXX";
    std::vector<char> path(pattern.begin(), pattern.end());
    path.push_back('\0');
    int fd = mkstemp(path.data());
    if (fd < 0) {
        throw std::runtime_error("cannot create a capture file: " + std::string(strerror(errno)));
    }
    close(fd);
    return path.data();
}

std::vector<char*> toArgv(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    return argv;
}

std::string currentDirectory() {
    char buffer[4096];
    return getcwd(buffer, sizeof buffer) != nullptr ? buffer : "/";
}

}  // namespace

// ---- Process ----

Process::Process(pid_t pid, std::string outputPath, std::string errorPath)
    : pid_(pid), outputPath_(std::move(outputPath)), errorPath_(std::move(errorPath)) {}

Process::~Process() {
    if (!ended_) {
        kill(pid_, SIGKILL);
        reap(true);
    }
    unlink(outputPath_.c_str());
    unlink(errorPath_.c_str());
}

void Process::reap(bool block) {
    if (ended_) {
        return;
    }
    int status = 0;
    pid_t result;
    do {
        result = waitpid(pid_, &status, block ? 0 : WNOHANG);
    } while (result < 0 && errno == EINTR);
    if (result != pid_) {
        return;
    }
    ended_ = true;
    if (WIFEXITED(status)) {
        exitStatus_ = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        termSignal_ = WTERMSIG(status);
    }
    // In the sanitized build a memory error or leak must fail the scenario, whatever the
    // scenario checks: the exit status alone cannot tell (1 is also the tool's success).
    std::string report = errors();
    if (report.find("==ERROR: ") != std::string::npos ||
        report.find(": runtime error: ") != std::string::npos) {
        ADD_FAILURE() << "sanitizer report from process " << pid_ << ":\n" << report;
    }
}

bool Process::wait(double seconds) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (;;) {
        reap(false);
        if (ended_) {
            return !timedOut_;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    timedOut_ = true;
    kill(pid_, SIGKILL);
    reap(true);
    return false;
}

void Process::signal(int sig) {
    reap(false);
    if (!ended_) {
        kill(pid_, sig);
    }
}

bool Process::running() {
    reap(false);
    return !ended_;
}

std::string Process::output() const {
    return readFile(outputPath_);
}

std::string Process::errors() const {
    return readFile(errorPath_);
}

// ---- PrivateHost ----

PrivateHost::PrivateHost() {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe: " + std::string(strerror(errno)));
    }
    // The anchor: the private-host runner set up the namespaces, says so and then only
    // sleeps; its namespaces are this host.
    std::vector<std::string> command = {QOR_PRIVATE_HOST_SCRIPT, "sh", "-c",
                                        "echo ready && exec sleep 2147483647"};
    std::vector<char*> argv = toArgv(command);
    pid_t parent = getpid();
    pid_t pid = fork();
    if (pid < 0) {
        close(ready[0]);
        close(ready[1]);
        throw std::runtime_error("fork: " + std::string(strerror(errno)));
    }
    if (pid == 0) {
        // Dies with the test process, so no namespace outlives a crashed test.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(126);
        }
        dup2(ready[1], STDOUT_FILENO);
        int null = open("/dev/null", O_RDWR);
        dup2(null, STDIN_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(ready[1]);
    anchor_ = pid;

    std::string said;
    pollfd readable = {ready[0], POLLIN, 0};
    while (said.find('\n') == std::string::npos && poll(&readable, 1, 20000) > 0) {
        char buffer[64];
        ssize_t count = read(ready[0], buffer, sizeof buffer);
        if (count <= 0) {
            break;
        }
        said.append(buffer, static_cast<size_t>(count));
    }
    close(ready[0]);
    if (said != "ready\n") {
        kill(anchor_, SIGKILL);
        waitpid(anchor_, nullptr, 0);
        throw std::runtime_error("private host could not be set up (root and iproute2 needed)");
    }
}

PrivateHost::~PrivateHost() {
    kill(anchor_, SIGKILL);
    while (waitpid(anchor_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

std::unique_ptr<Process> PrivateHost::start(const std::vector<std::string>& command) {
    std::string outputPath = makeCaptureFile("out");
    std::string errorPath = makeCaptureFile("err");
    std::string directory = currentDirectory();
    std::string anchorNs = "/proc/" + std::to_string(anchor_) + "/ns/";
    int netNs = open((anchorNs + "net").c_str(), O_RDONLY | O_CLOEXEC);
    int mountNs = open((anchorNs + "mnt").c_str(), O_RDONLY | O_CLOEXEC);
    int output = open(outputPath.c_str(), O_WRONLY | O_CLOEXEC);
    int errors = open(errorPath.c_str(), O_WRONLY | O_CLOEXEC);
    if (netNs < 0 || mountNs < 0 || output < 0 || errors < 0) {
        for (int fd : {netNs, mountNs, output, errors}) {
            if (fd >= 0) {
                close(fd);
            }
        }
        throw std::runtime_error("cannot enter the private host " + std::to_string(anchor_));
    }
    std::vector<char*> argv = toArgv(command);
    pid_t parent = getpid();
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(126);
        }
        // Entering the mount namespace moves the working directory to its root: go back.
        if (setns(netNs, CLONE_NEWNET) != 0 || setns(mountNs, CLONE_NEWNS) != 0 ||
            chdir(directory.c_str()) != 0) {
            _exit(125);
        }
        int null = open("/dev/null", O_RDONLY);
        dup2(null, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int forkError = errno;
    for (int fd : {netNs, mountNs, output, errors}) {
        close(fd);
    }
    if (pid < 0) {
        unlink(outputPath.c_str());
        unlink(errorPath.c_str());
        throw std::runtime_error("fork: " + std::string(strerror(forkError)));
    }
    return std::unique_ptr<Process>(new Process(pid, outputPath, errorPath));
}

std::unique_ptr<Process> PrivateHost::startPing(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {pingBinary()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return start(command);
}

int PrivateHost::run(const std::vector<std::string>& command, double seconds) {
    std::unique_ptr<Process> process = start(command);
    process->wait(seconds);
    return process->exitStatus();
}

std::string PrivateHost::nextInterfaceName() {
    return "net" + std::to_string(interfaces_++);
}

void PrivateHost::connect(PrivateHost& a, const std::string& addressA, PrivateHost& b,
                          const std::string& addressB) {
    std::string nameA = a.nextInterfaceName();
    std::string nameB = b.nextInterfaceName();
    // Created inside a, with its peer end moved straight into b's namespace.
    bool made = a.run({"ip", "link", "add", nameA, "type", "veth", "peer", "name", nameB, "netns",
                       std::to_string(b.anchor_)}) == 0 &&
                a.run({"ip", "addr", "add", addressA, "dev", nameA}) == 0 &&
                a.run({"ip", "link", "set", nameA, "multicast", "on", "up"}) == 0 &&
                b.run({"ip", "addr", "add", addressB, "dev", nameB}) == 0 &&
                b.run({"ip", "link", "set", nameB, "multicast", "on", "up"}) == 0;
    if (!made) {
        throw std::runtime_error("cannot connect private hosts " + std::to_string(a.anchor_) +
                                 " and " + std::to_string(b.anchor_));
    }
}

// ---- helpers ----

RunResult runPing(const std::vector<std::string>& arguments, double seconds) {
    PrivateHost host;
    std::unique_ptr<Process> process = host.startPing(arguments);
    RunResult result;
    result.timedOut = !process->wait(seconds);
    result.output = process->output();
    result.errors = process->errors();
    result.exitStatus = process->exitStatus();
    return result;
}

std::string pingBinary() {
    return QOR_PING_BINARY;
}

std::string golden(const std::string& name) {
    std::string path = std::string(QOR_E2E_EXPECTED_DIR) + "/" + name;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("missing expected-output file " + path);
    }
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace qortest
