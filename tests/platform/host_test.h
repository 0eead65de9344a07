// Files and sockets, as the tests of the layer use them.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

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

// What a shell prints that runs COMMAND.
inline std::string shown(const std::string &command) {
    FILE *const pipe = popen(command.c_str(), "r");
    std::string text;
    for (int c; (c = fgetc(pipe)) != EOF;)
        text += static_cast<char>(c);
    pclose(pipe);
    return text;
}

// A datagram socket, a new one where none is given, bound or connected to PATH.
inline int unix_socket(int (*bind_or_connect)(int, const sockaddr *, socklen_t),
                       const std::string &path, int fd = socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind_or_connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    return fd;
}
