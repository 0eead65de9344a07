// Files and child processes, as the tests of the layer use them.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

inline const std::string ITEMS = "/run/uplinkd/items/", BUS = "/run/uplinkd/bus/";
inline const std::string SETTINGS = "/etc/uplinkd/settings";
inline const std::string LOG = "/var/log/uplinkd/uplinkd.log";

inline void put_file(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::trunc) << text;
}

inline std::string file_text(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> file_lines(const std::string &path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// Runs WORK in a child process, whose exit status is what it returns.
template <typename work> pid_t start_child(work run) {
    const pid_t child = fork();
    if (child == 0)
        _exit(run());
    return child;
}

inline int wait_for_child(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
