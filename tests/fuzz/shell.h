// Runs busybox's shell and hands on what it writes to a descriptor.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>

#include "fuzz.h"

inline std::string output_of(int fd, std::vector<const char *> arguments,
                             std::vector<const char *> environment, const char *folder) {
    int ends[2];
    DEMAND(pipe2(ends, O_CLOEXEC) == 0);
    arguments.insert(arguments.begin(), {"sh", "-c"});
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    const pid_t shell = vfork();
    if (shell == 0) {
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        for (int standard = 0; standard < 3; standard++)
            dup2(null, standard);
        dup2(ends[1], fd);
        if (chdir(folder) == 0)
            execve("/bin/busybox", const_cast<char **>(arguments.data()),
                   const_cast<char **>(environment.data()));
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char bytes[4096];
    for (ssize_t length; (length = TEMP_FAILURE_RETRY(read(ends[0], bytes, sizeof bytes))) > 0;)
        output.append(bytes, static_cast<size_t>(length));
    close(ends[0]);
    TEMP_FAILURE_RETRY(waitpid(shell, nullptr, 0));
    return output;
}
