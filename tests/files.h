// Files and the shell, as all tests use them.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

inline std::string file_text(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void put_file(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::trunc) << text;
}

// What a shell prints that runs COMMAND.
inline std::string printed_by(const std::string &command) {
    FILE *const pipe = popen(command.c_str(), "r");
    std::string text;
    for (int c; (c = fgetc(pipe)) != EOF;)
        text += static_cast<char>(c);
    pclose(pipe);
    return text;
}
