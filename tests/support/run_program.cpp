#include "tests/support/run_program.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace testing_support {

namespace {

void drainBoth(int outFd, int errFd, std::string& out, std::string& err) {
    pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
    int open = 2;
    char buffer[65536];
    while (open > 0) {
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                (i == 0 ? out : err).append(buffer, static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                ::close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                         const std::function<void()>& beforeExec) {
    int outPipe[2];
    int errPipe[2];
    if (::pipe(outPipe) != 0 || ::pipe(errPipe) != 0) throw std::runtime_error("pipe");
    const pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("fork");
    if (pid == 0) {
        ::dup2(outPipe[1], 1);
        ::dup2(errPipe[1], 2);
        ::close(outPipe[0]);
        ::close(errPipe[0]);
        for (const std::string& assignment : env) ::putenv(const_cast<char*>(assignment.c_str()));
        if (beforeExec) beforeExec();
        std::vector<char*> args;
        for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        ::execve(args[0], args.data(), environ);
        ::_exit(127);
    }
    ::close(outPipe[1]);
    ::close(errPipe[1]);
    ProgramResult result;
    drainBoth(outPipe[0], errPipe[0], result.out, result.err);
    int wstatus = 0;
    while (::waitpid(pid, &wstatus, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
    return result;
}

int startProgram(const std::vector<std::string>& argv, const std::string& outputPath) {
    const pid_t pid = ::fork();
    if (pid != 0) return pid;
    const int fd = ::open(outputPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (fd >= 0) {
        ::dup2(fd, 1);
        ::dup2(fd, 2);
    }
    std::vector<char*> args;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    ::execve(args[0], args.data(), environ);
    ::_exit(127);
}

int waitProgram(int pid) {
    int wstatus = 0;
    while (::waitpid(pid, &wstatus, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
}

TempDir::TempDir() {
    char pattern[] = "/tmp/xlate45-test-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = pattern;
}

TempDir::~TempDir() {
    const std::string command = "rm -rf '" + path_ + "'";
    static_cast<void>(std::system(command.c_str()));  // best effort: /tmp is scratch
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

}  // namespace testing_support
