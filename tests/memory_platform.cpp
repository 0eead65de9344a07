#include "memory_platform.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/flag_store.h"
#include "platform/log.h"
#include "platform/network.h"
#include "platform/system.h"

namespace memory {

std::map<std::string, std::string> settings, items, flags, interfaces;
int bus_result = 0;
uplinkd_msg_t carried;
std::string last_log;
std::function<void(const std::string &)> on_call;
std::function<void(unsigned)> on_sleep;

static std::mutex mutex; // guards the stores and the calls, never held while a hook runs
static std::vector<std::string> calls;

static const std::map<int, std::string> &names() {
    static std::map<int, std::string> all;
    std::ifstream file(all.empty() ? "names" : "");
    for (std::string number, name; file >> number >> name;) {
        const int id = std::stoi(number, nullptr, 0);
        all[id] = name;
        for (int idx = 1; name.starts_with("WIRED_WAN_") && idx < 8; ++idx)
            all[(idx + 260) * 1000 + id % 100] = name + "_" + std::to_string(idx);
    }
    return all;
}

static std::string name_of(int number) {
    const auto found = names().find(number);
    return found == names().end() ? std::to_string(number) : found->second;
}

int number_of(const std::string &name) {
    for (const auto &[number, known] : names())
        if (known == name)
            return number;
    if (!isdigit(name[0]))
        throw std::invalid_argument("no item, message or application is called " + name);
    return std::stoi(name, nullptr, 0);
}

void note(const std::string &line) {
    const std::lock_guard guard(mutex);
    calls.push_back(line);
}

static void note_last_log(const std::string &text) {
    const std::lock_guard guard(mutex);
    last_log = text;
}

[[gnu::format(printf, 1, 0)]] static std::string expand(const char *format, va_list args) {
    char line[8192];
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    return line;
}

[[gnu::format(printf, 1, 2)]] static int record(const char *format, ...) {
    va_list args;
    va_start(args, format);
    std::string line = expand(format, args);
    for (size_t n; (n = line.find_first_of("\n\t")) != line.npos;)
        line.replace(n, 1, line[n] == '\n' ? "\\n" : "\\t");
    note(line);
    if (on_call)
        on_call(line);
    return 0;
}

void given(const std::string &text) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::replace(word.begin(), word.end(), '~', ' ');
        const std::string key = word.substr(0, word.find('=')), value = word.substr(key.size() + 1);
        if (key[0] == '@')
            interfaces[key.substr(1)] = value;
        else if (key.starts_with("USR_") || key.starts_with("SYS_"))
            settings[key] = value;
        else
            items[name_of(number_of(key))] = value;
    }
}

std::string take(int level) {
    const std::lock_guard guard(mutex);
    std::string taken;
    for (const std::string &line : std::exchange(calls, {}))
        if (!line.starts_with("log ") || line[4] - '0' <= level)
            taken += "\n" + line;
    return taken;
}

static int read(std::map<std::string, std::string> &store, const std::string &key, char *buffer,
                int size) {
    const std::lock_guard guard(mutex);
    snprintf(buffer, static_cast<size_t>(size), "%s", store[key].c_str());
    return buffer[0] == '\0' ? -1 : 0;
}
} // namespace memory

using namespace memory;

int cfg_get_item(const char *key, char *buffer, int size) {
    return read(settings, key, buffer, size);
}

int get_CFG_int(const char *key) {
    char value[64];
    read(settings, key, value, sizeof value);
    return atoi(value);
}

int get_devinfo_value_by_id(int id, char *buffer, int size) {
    return read(items, name_of(id), buffer, size);
}

int set_devinfo_value_by_id(int id, const char *value, int length) {
    const std::string name = name_of(id),
                      stored(value, strnlen(value, static_cast<size_t>(length)));
    {
        const std::lock_guard guard(mutex);
        items[name] = stored;
    }
    return record("set %s '%s' %d", name.c_str(), stored.c_str(), length);
}

int flag_set(const char *name, const char *value) {
    {
        const std::lock_guard guard(mutex);
        flags[name] = value;
    }
    return record("flag %s=%s", name, value);
}

int flag_get_item(const char *name, char *buffer, int size) {
    return read(flags, name, buffer, size);
}

int init_sockmsg(int app_id, sockmsg_handler, int) {
    record("register %s", get_app_name_by_id(app_id));
    return bus_result;
}

static void carry(const uplinkd_msg_t &message) {
    const std::lock_guard guard(mutex);
    carried = message;
}

int sockmsg_send_common_msg(int destination, const uplinkd_msg_t *message) {
    carry(*message);
    record("send %s -> %s", name_of(message->msg_id).c_str(), get_app_name_by_id(destination));
    return bus_result;
}

int sockmsg_send_broadcast_msg(int sender, const uplinkd_msg_t *message) {
    carry(*message);
    record("broadcast %s from %s", name_of(message->msg_id).c_str(), get_app_name_by_id(sender));
    return bus_result;
}

const char *get_app_name_by_id(int app_id) {
    const auto found = names().find(app_id);
    return found == names().end() ? "unknown" : found->second.c_str();
}

void init_log_params(const char *identity) {
    record("identity %s", identity);
}

// A line whose beginning has neither of the two forms is recorded as it is, and so fails the test.
void savelog(int level, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const std::string text = expand(format, args);
    char function[64] = "?";
    int end = 0;
    sscanf(text.c_str(),
           level == 3 ? "[uplinkd] %63[a-z0-9_]:%n" : "[uplinkd] %63[a-z0-9_]--%*d:%n", function,
           &end);
    note_last_log(text);
    record("log %d %s:%s", level, function, text.c_str() + end);
}

void reset_libcommlog_level() {}

int log_bakup_imediately(const char *reason) {
    return record("backup %s", reason);
}

int util_does_system_opt_reboot(const char *reason) {
    return record("reboot %s", reason);
}

int system_by_root(const char *command) {
    return record("root %s", command);
}

extern "C" int system(const char *command) {
    return record("shell %s", command);
}

extern "C" unsigned sleep(unsigned seconds) {
    if (on_sleep)
        on_sleep(seconds);
    else
        record("sleep %u", seconds);
    return 0;
}

// Knows what the tests use: contiguous netmasks, the same network or a disjoint one.
int util_get_2_network_segment_relations4(const char *addr_a, const char *mask_a,
                                          const char *addr_b, const char *mask_b) {
    in_addr_t words[4];
    const char *texts[] = {addr_a, mask_a, addr_b, mask_b};
    for (int i = 0; i < 4; ++i)
        if (*texts[i] == '\0')
            return SEGMENT_DISJOINT;
        else if (inet_pton(AF_INET, texts[i], &words[i]) != 1)
            return SEGMENT_MALFORMED;
    return ((words[0] ^ words[2]) & words[1] & words[3]) == 0 ? SEGMENT_SAME : SEGMENT_DISJOINT;
}

int cmd_get_ipv4_address(const char *ifname, char *buffer) {
    const std::string network = interfaces[ifname];
    strcpy(buffer, network.substr(0, network.find('/')).c_str());
    return 0;
}

int cmd_get_netmask(const char *ifname, char *buffer) {
    strcpy(buffer, interfaces[ifname].substr(interfaces[ifname].find('/') + 1).c_str());
    return 0;
}

int cmd_netdev_get_mac_addr(const char *ifname, unsigned char *buffer) {
    record("mac of %s", ifname);
    memcpy(buffer, "\x00\x11\x22\xaa\xbb\xcc", 6);
    return 0;
}

int util_network_get_mac_string(const unsigned char *mac, char *buffer, int size) {
    snprintf(buffer, static_cast<size_t>(size), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1],
             mac[2], mac[3], mac[4], mac[5]);
    return 0;
}
