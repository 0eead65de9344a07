// The settings as the daemon reads them: the file is scanned at every use, so that a change made by
// anyone, by renaming or in place, counts from the next read on. A file of any size and lines of
// any length pass through one small buffer. The last line of a key counts.
#include "platform/config_store.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <string_view>

#include "platform/host/files.h"
#include "platform/host/places.h"
#include "platform/host/settings_file.h"

namespace {

enum class line_part { key, value, rest };

struct scan {
    std::string_view key;
    std::span<char> value; // with room for the final NUL
    size_t length = 0;     // of the value so far
    bool found = false;

    line_part at = line_part::key;
    size_t matched = 0; // bytes of KEY that this line has begun with
};

// Compares the line's next bytes with what is left of the key and its '='; returns how many it
// used.
size_t match_key(scan &state, std::string_view bytes) {
    const std::string_view wanted = state.key.substr(state.matched, bytes.size());
    if (!bytes.starts_with(wanted)) {
        state.at = line_part::rest;
        return 0;
    }
    state.matched += wanted.size();
    if (wanted.size() == bytes.size())
        return wanted.size();
    if (bytes[wanted.size()] != '=') {
        state.at = line_part::rest;
        return wanted.size();
    }
    state.at = line_part::value;
    state.found = true;
    state.length = 0;
    return wanted.size() + 1;
}

void feed_line(scan &state, std::string_view bytes) {
    if (state.at == line_part::key)
        bytes.remove_prefix(match_key(state, bytes));
    if (state.at != line_part::value)
        return;
    const size_t taken = std::min(bytes.size(), state.value.size() - 1 - state.length);
    memcpy(state.value.data() + state.length, bytes.data(), taken);
    state.length += taken;
}

void feed(scan &state, std::string_view bytes) {
    for (;;) {
        const size_t line_end = bytes.find('\n');
        feed_line(state, bytes.substr(0, line_end));
        if (line_end == std::string_view::npos)
            return;
        bytes.remove_prefix(line_end + 1);
        state.at = line_part::key;
        state.matched = 0;
    }
}

bool scan_settings(scan &state) {
    const host::descriptor file{host::open_regular(host::SETTINGS_FILE, O_RDONLY)};
    if (file < 0)
        return false;
    char chunk[4096];
    for (;;) {
        const ssize_t length = read(file, chunk, sizeof chunk);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            return length == 0 && state.found;
        feed(state, {chunk, static_cast<size_t>(length)});
    }
}

} // namespace

int cfg_get_item(const char *key, char *buffer, int size) {
    if (buffer == nullptr || size <= 0)
        return -1;
    memset(buffer, 0, static_cast<size_t>(size));
    if (key == nullptr || !host::is_setting_key(key)) {
        errno = EINVAL;
        return -1;
    }

    scan state{.key = key, .value = {buffer, static_cast<size_t>(size)}};
    const bool found = scan_settings(state);
    buffer[found ? state.length : 0] = '\0';
    return found ? 0 : -1;
}

int get_CFG_int(const char *key) {
    char text[32];
    cfg_get_item(key, text, sizeof text);
    const long number = strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}
