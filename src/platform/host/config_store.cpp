// The settings as the daemon reads them: the file is scanned at every use, so that a change made by
// anyone, by renaming or in place, counts from the next read on. A file of any size and lines of
// any length pass through one small buffer. The last line of a key counts.
#include "platform/config_store.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <string_view>

#include "platform/host/files.h"
#include "platform/host/places.h"
#include "platform/host/setting_number.h"
#include "platform/host/settings_file.h"

namespace {

// What a value is read into, piece by piece; restart() begins a line that counts more.
struct value_text {
    void restart() { length = 0; }
    void add(std::string_view bytes) {
        const size_t taken = std::min(bytes.size(), buffer.size() - 1 - length);
        memcpy(buffer.data() + length, bytes.data(), taken);
        length += taken;
    }

    std::span<char> buffer; // with room for the final NUL
    size_t length = 0;
};

struct value_number {
    void restart() { *this = {}; }
    void add(std::string_view bytes) {
        for (const char byte : bytes) {
            if (at != part::rest && byte >= '0' && byte <= '9') {
                at = part::digits;
                found = true;
                magnitude = std::min(magnitude * 10 + (byte - '0'), BEYOND_INT);
            } else if (at == part::blanks && (byte == '+' || byte == '-')) {
                at = part::digits;
                sign = byte == '-' ? -1 : 1;
            } else if (at != part::blanks || BLANKS.find(byte) == BLANKS.npos) {
                at = part::rest;
                return;
            }
        }
    }
    int number() const {
        return static_cast<int>(std::clamp<int64_t>(sign * magnitude, INT_MIN, INT_MAX));
    }

    static constexpr int64_t BEYOND_INT = int64_t{INT_MAX} + 1;
    static constexpr std::string_view BLANKS = " \t\v\f\r";
    enum class part { blanks, digits, rest } at = part::blanks;
    bool found = false;
    int sign = 1;
    int64_t magnitude = 0;
};

template <typename destination> struct scan {
    // Takes what is left of the key and its '=' off BYTES, the line's next ones.
    void take_key(std::string_view &bytes) {
        const std::string_view wanted = key.substr(matched, bytes.size());
        matched += wanted.size();
        if (!bytes.starts_with(wanted)) {
            at = line_part::rest;
            return;
        }
        bytes.remove_prefix(wanted.size());
        if (bytes.empty())
            return;
        at = bytes[0] == '=' ? line_part::value : line_part::rest;
        bytes.remove_prefix(1);
        if (at == line_part::value) {
            found = true;
            value.restart();
        }
    }

    void feed_line(std::string_view bytes) {
        if (at == line_part::key)
            take_key(bytes);
        if (at == line_part::value)
            value.add(bytes);
    }

    void feed(std::string_view bytes) {
        for (;;) {
            const size_t line_end = bytes.find('\n');
            feed_line(bytes.substr(0, line_end));
            if (line_end == std::string_view::npos)
                return;
            bytes.remove_prefix(line_end + 1);
            at = line_part::key;
            matched = 0;
        }
    }

    std::string_view key;
    destination &value;
    bool found = false;

    enum class line_part { key, value, rest } at = line_part::key;
    size_t matched = 0; // bytes of the key that this line has begun with
};

// Reads the value of KEY into VALUE; false where there is none.
template <typename destination> bool read_setting(const char *key, destination &value) {
    if (key == nullptr || !host::is_setting_key(key)) {
        errno = EINVAL;
        return false;
    }
    const host::descriptor file{host::open_regular(host::SETTINGS_FILE, O_RDONLY)};
    if (file < 0)
        return false;
    scan<destination> lines{.key = key, .value = value};
    char chunk[4096];
    for (;;) {
        const ssize_t length = read(file, chunk, sizeof chunk);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            return length == 0 && lines.found;
        lines.feed({chunk, static_cast<size_t>(length)});
    }
}

} // namespace

int cfg_get_item(const char *key, char *buffer, int size) {
    if (buffer == nullptr || size <= 0)
        return -1;
    memset(buffer, 0, static_cast<size_t>(size));
    value_text value{.buffer = {buffer, static_cast<size_t>(size)}};
    const bool found = read_setting(key, value);
    buffer[found ? value.length : 0] = '\0';
    return found ? 0 : -1;
}

bool host::read_setting_number(const char *key, int &number) {
    value_number value;
    const bool found = read_setting(key, value) && value.found;
    number = found ? value.number() : 0;
    return found;
}

int get_CFG_int(const char *key) {
    int number = 0;
    host::read_setting_number(key, number);
    return number;
}
