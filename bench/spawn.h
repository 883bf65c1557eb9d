// Child processes for the benchmarks: started with their output on a pipe, killed with the
// benchmark, their lines read and timed as they come, and private hosts to run them on.
#ifndef QOR_BENCH_SPAWN_H
#define QOR_BENCH_SPAWN_H

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Starts `command` (a path, or a name looked up in PATH) with its standard output, and its
// standard error too when `with_errors` (else /dev/null), on a pipe whose reading end goes to
// `output`. The child dies with this process.
inline pid_t spawn_piped(const std::vector<std::string>& command, bool with_errors, int& output) {
    int ends[2];
    if (pipe(ends) != 0) {
        std::perror("pipe");
        std::exit(2);
    }
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        int null = open("/dev/null", O_RDWR);
        dup2(ends[1], STDOUT_FILENO);
        dup2(with_errors ? ends[1] : null, STDERR_FILENO);
        dup2(null, STDIN_FILENO);
        close(ends[0]);
        std::vector<char*> argv;
        for (const std::string& word : command) {
            argv.push_back(const_cast<char*>(word.c_str()));
        }
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(ends[1]);
    output = ends[0];
    return pid;
}

// Reads what is waiting on the pipe `output` after `pending`, the unfinished line of the last
// read, and hands each complete line to `take`. At the pipe's end closes it and sets it to -1.
inline void read_lines(int& output, std::string& pending,
                       const std::function<void(const std::string&)>& take) {
    char buffer[65536];
    ssize_t count = read(output, buffer, sizeof buffer);
    if (count <= 0) {
        close(output);
        output = -1;
        return;
    }
    pending.append(buffer, static_cast<size_t>(count));
    size_t start = 0;
    for (size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
        take(pending.substr(start, end - start));
    }
    pending.erase(0, start);
}

using Clock = std::chrono::steady_clock;

// Waits up to `wait_ms` for output on the open pipes of `children` (anything with the members
// `output` and `pending` of spawn_piped and read_lines), and hands each complete line to
// `take(child, line, at_ms)`, at_ms the end of the wait in ms since `epoch`. Returns false,
// without waiting, when no pipe is open any more.
template <class Child, class Take>
bool read_some(const std::vector<Child*>& children, Clock::time_point epoch, int wait_ms,
               Take take) {
    std::vector<pollfd> fds;
    std::vector<Child*> open_children;
    for (Child* child : children) {
        if (child->output >= 0) {
            fds.push_back({child->output, POLLIN, 0});
            open_children.push_back(child);
        }
    }
    if (fds.empty()) {
        return false;
    }
    poll(fds.data(), fds.size(), wait_ms);
    double at_ms = std::chrono::duration<double, std::milli>(Clock::now() - epoch).count();
    for (size_t i = 0; i < fds.size(); ++i) {
        if (fds[i].revents != 0) {
            Child& child = *open_children[i];
            read_lines(child.output, child.pending,
                       [&](const std::string& line) { take(child, line, at_ms); });
        }
    }
    return true;
}

// One line of a child's output and when it arrived.
struct Line {
    double at_ms;  // since the epoch its reader was given
    std::string text;
};

// A child whose every line is kept with its time.
struct Child {
    pid_t pid = -1;
    int output = -1;
    std::string pending;
    std::vector<Line> lines;
};

// Starts `command` with its standard output on the pipe, its standard error to /dev/null.
inline Child spawn(const std::vector<std::string>& command) {
    Child child;
    child.pid = spawn_piped(command, false, child.output);
    return child;
}

// When the first line that begins with `prefix` arrived, or -1.
inline double first_at(const Child& child, const std::string& prefix) {
    for (const Line& line : child.lines) {
        if (line.text.rfind(prefix, 0) == 0) {
            return line.at_ms;
        }
    }
    return -1;
}

// Reads the children's lines, timed from `epoch`, until one of them printed a line that begins
// with `done`, all have closed their output, or `limit` has passed.
inline void collect(const std::vector<Child*>& children, Clock::time_point epoch,
                    Clock::time_point limit, const std::string& done) {
    auto keep = [](Child& child, const std::string& line, double at_ms) {
        child.lines.push_back({at_ms, line});
    };
    for (;;) {
        bool finished = false;
        for (const Child* child : children) {
            finished = finished || first_at(*child, done) >= 0;
        }
        if (finished || Clock::now() >= limit || !read_some(children, epoch, 20, keep)) {
            return;
        }
    }
}

// Kills the children, waits for them and closes what is open of their pipes.
inline void stop(const std::vector<Child*>& children) {
    for (Child* child : children) {
        kill(child->pid, SIGKILL);
        waitpid(child->pid, nullptr, 0);
        if (child->output >= 0) {
            close(child->output);
        }
    }
}

// Makes this (forked) process a private host: its own network namespace with loopback
// multicast, and its own /dev/shm.
inline bool enter_private_host() {
    return unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/dev/shm", "tmpfs", 0, "size=256m,mode=1777") == 0 &&
           std::system(
               "ip link set lo up && ip link set lo multicast on && "
               "ip route add 224.0.0.0/4 dev lo && "
               "{ ip -6 route add ff00::/8 dev lo table local 2>/dev/null || true; }") == 0;
}

// Runs `job` in a forked process on a fresh private host and returns the text it returned;
// empty when the host could not be made (root is needed).
inline std::string on_private_host(const std::function<std::string()>& job) {
    int report[2];
    if (pipe(report) != 0) {
        std::exit(2);
    }
    pid_t host = fork();
    if (host == 0) {
        close(report[0]);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (!enter_private_host()) {
            _exit(3);
        }
        std::string text = job();
        _exit(write(report[1], text.data(), text.size()) < 0 ? 4 : 0);
    }
    close(report[1]);
    std::string text;
    char buffer[512];
    for (ssize_t count; (count = read(report[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<size_t>(count));
    }
    close(report[0]);
    waitpid(host, nullptr, 0);
    return text;
}

}  // namespace bench

#endif
