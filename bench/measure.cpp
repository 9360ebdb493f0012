// Runs one command and reports its whole-process wall time and peak resident
// memory on standard output:
//
//     bench_measure PROGRAM [ARG...]   ->   "wall_us=1234 maxrss_kb=5678 status=0"
//
// The child's standard output goes to /dev/null; its standard error is passed
// through. Status is the exit status, or 128 + signal number. This launcher is
// deliberately tiny: the kernel carries the pre-exec image's resident size into
// the child's maximum, so launching from a large interpreter would inflate the
// peak-memory figure of small runs.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: bench_measure PROGRAM [ARG...]\n", stderr);
        return 2;
    }
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    const pid_t child = fork();
    if (child < 0) {
        std::perror("bench_measure: fork");
        return 2;
    }
    if (child == 0) {
        const int devNull = open("/dev/null", O_WRONLY);
        if (devNull >= 0) dup2(devNull, STDOUT_FILENO);
        execvp(argv[1], argv + 1);
        std::perror("bench_measure: exec");
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child) {
        std::perror("bench_measure: wait4");
        return 2;
    }
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const long long wallUs = (end.tv_sec - start.tv_sec) * 1000000LL + (end.tv_nsec - start.tv_nsec) / 1000;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::printf("wall_us=%lld maxrss_kb=%ld status=%d\n", wallUs, usage.ru_maxrss, code);
    return 0;
}
