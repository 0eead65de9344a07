// The least that the kernel asks for what the platform layer does, and what both programs need to
// compare the two: each of these is the plain calls that its comment names, keeps nothing between
// two uses, and looks at no result but where the next call needs it.
#pragma once

#include <sys/un.h>
#include <vector>

#include "platform/bus.h"

namespace bare {

inline constexpr char SETTINGS[] = "/etc/uplinkd/settings";
inline constexpr char LOG_FILE[] = "/run/bare.log";

// open, read (again only while the buffer of 64 KiB came back full), close
void read_file(const char *path);

// open, write, rename, close
void write_file(const char *path, const char *value);

// open with O_APPEND, write, close
void append_line(const char *path, const char *line);

// append_line, then socket, sendto /dev/log, close
void log_line();

} // namespace bare

// The setting that is measured is the last of COUNT lines.
inline constexpr char LAST_SETTING[] = "USR_WAN_MODE";
void write_settings(int count);

sockaddr_un address_of(const char *path);
int bound_socket(const char *path);
void send_to(int socket, const char *path, const uplinkd_msg_t &record);

double now_us();
// SORTED's value at PART of its length, 0.5 for the median.
double at_part(const std::vector<double> &sorted, double part);
double median(std::vector<double> values);

[[noreturn]] void stop(const char *what);
