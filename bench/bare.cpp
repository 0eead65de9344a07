#include "bare.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

void stop(const char *what) {
    perror(what);
    exit(1);
}

void bare::read_file(const char *path) {
    static char buffer[65536];
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    while (read(file, buffer, sizeof buffer) == sizeof buffer)
        ;
    close(file);
}

static int open_to_write(const char *path, const char *text, int flags) {
    const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0640);
    if (write(file, text, strlen(text)) < 0)
        stop(path);
    return file;
}

void bare::write_file(const char *path, const char *value) {
    static constexpr char NEW[] = "/run/uplinkd/items/.bare";
    const int file = open_to_write(NEW, value, O_TRUNC);
    if (rename(NEW, path) != 0)
        stop(path);
    close(file);
}

void bare::append_line(const char *path, const char *line) {
    close(open_to_write(path, line, O_APPEND));
}

void bare::log_line() {
    append_line(LOG_FILE, "2026-01-01 00:00:00.000 UPLINKD[4711] 0 [uplinkd] "
                          "uplinkd_handler_msg--101: recv msg(0x6000) from unknown\n");
    static constexpr char LINE[] = "<29>Jan  1 00:00:00 UPLINKD[4711]: [uplinkd] "
                                   "uplinkd_handler_msg--101: recv msg(0x6000) from unknown";
    static const sockaddr_un logger = address_of("/dev/log");
    const int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sendto(sender, LINE, sizeof LINE - 1, MSG_DONTWAIT | MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr *>(&logger), sizeof logger);
    close(sender);
}

void write_settings(int count) {
    FILE *settings = fopen(bare::SETTINGS, "we");
    if (settings == nullptr)
        stop(bare::SETTINGS);
    for (int line = 1; line < count; line++)
        fprintf(settings, "USR_SOME_SETTING_%d=192.168.1.1\n", line);
    fprintf(settings, "%s=5\n", LAST_SETTING);
    fclose(settings);
}

sockaddr_un address_of(const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
    return address;
}

int bound_socket(const char *path) {
    const sockaddr_un address = address_of(path);
    const int bound = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    unlink(path);
    if (bind(bound, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        stop(path);
    return bound;
}

void send_to(int socket, const char *path, const uplinkd_msg_t &record) {
    const sockaddr_un address = address_of(path);
    if (sendto(socket, &record, sizeof record, 0, reinterpret_cast<const sockaddr *>(&address),
               sizeof address) != sizeof record)
        stop(path);
}

double now_us() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double at_part(const std::vector<double> &sorted, double part) {
    return sorted[static_cast<size_t>(part * static_cast<double>(sorted.size() - 1))];
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return at_part(values, 0.5);
}
