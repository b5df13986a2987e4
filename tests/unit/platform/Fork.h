#pragma once
// Forked children for the cross-process tests.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// One-shot signal between a parent and a forked child.
struct Signal {
    int fds[2] = {-1, -1};
    Signal() { EXPECT_EQ(::pipe(fds), 0); }
    ~Signal() {
        ::close(fds[0]);
        ::close(fds[1]);
    }
    void Raise() { (void)!::write(fds[1], "x", 1); }
    bool Await(int timeoutMs = 10000) {
        pollfd p{fds[0], POLLIN, 0};
        char c;
        return ::poll(&p, 1, timeoutMs) == 1 && ::read(fds[0], &c, 1) == 1;
    }
};

// body's result is the child's exit status. _exit skips the atexit hooks: the child ends like a
// killed process unless body calls exit itself.
inline pid_t Spawn(const std::function<int()>& body) {
    pid_t pid = ::fork();
    if (pid == 0) ::_exit(body());
    return pid;
}

// Exit status, or 128 + signal.
inline int Reap(pid_t pid) {
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

inline int InChild(const std::function<int()>& body) { return Reap(Spawn(body)); }
