// Paths and sockets, as the tests of the layer use them.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "../files.h"

inline const std::string ITEMS = "/run/uplinkd/items/", BUS = "/run/uplinkd/bus/";
inline const std::string SETTINGS = "/etc/uplinkd/settings";
inline const std::string LOG = "/var/log/uplinkd/uplinkd.log";

// A datagram socket, a new one where none is given, bound or connected to PATH.
inline int unix_socket(int (*bind_or_connect)(int, const sockaddr *, socklen_t),
                       const std::string &path, int fd = socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind_or_connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    return fd;
}
