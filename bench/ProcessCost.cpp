// SPDX-License-Identifier: Apache-2.0
// process_cost PROGRAM ARGUMENT...: runs a program with its output thrown away and prints, as one line of
// JSON, the seconds from its start to its end and the greatest number of KiB that it had resident. The kernel
// counts what the process had before it became the program, so this one stays small: well under what any
// program needs.
#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

double Seconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

void Become(char** command) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    execvp(command[0], command);
    _exit(127);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return fputs("usage: process_cost PROGRAM ARGUMENT...\n", stderr), 2;
    const double begin = Seconds();
    const pid_t child = fork();
    if (child == 0) Become(argv + 1);
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) < 0) return perror("process_cost"), 1;
    const double end = Seconds();
    if (status != 0) return fprintf(stderr, "%s failed with status %d\n", argv[1], status), 1;
    printf("{\"seconds\": %.6f, \"processor\": %.6f, \"resident\": %ld}\n", end - begin,
           Seconds(usage.ru_utime) + Seconds(usage.ru_stime), usage.ru_maxrss);
    return 0;
}
