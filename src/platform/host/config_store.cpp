// The settings as the daemon reads them: the file is scanned at every use, so that a change made by
// anyone, by renaming or in place, counts from the next read on. It is read at once into a buffer
// on the stack; a larger file passes through it, with lines of any length. The last line of a key
// counts.
#include "platform/config_store.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/files.h"
#include "platform/host/places.h"
#include "platform/host/setting_number.h"
#include "platform/host/settings_file.h"

namespace {

// What a value is read into, piece by piece: a text, and the number at its start.
struct value {
    // Begins a line that counts more.
    void restart() {
        length = 0;
        at = part::blanks;
        has_number = false;
        sign = 1;
        magnitude = 0;
    }
    void add(std::string_view bytes) {
        const size_t taken = std::min(bytes.size(), buffer.size() - length);
        bytes.copy(buffer.data() + length, taken);
        length += taken;
        for (const char byte : bytes) {
            if (at == part::rest)
                return;
            add_to_number(byte);
        }
    }
    void add_to_number(char byte) {
        if (byte >= '0' && byte <= '9') {
            at = part::digits;
            has_number = true;
            magnitude = std::min(magnitude * 10 + (byte - '0'), BEYOND_INT);
        } else if (at == part::blanks && (byte == '+' || byte == '-')) {
            at = part::digits;
            sign = byte == '-' ? -1 : 1;
        } else if (at != part::blanks || BLANKS.find(byte) == BLANKS.npos) {
            at = part::rest;
        }
    }
    int number() const {
        return static_cast<int>(std::clamp<int64_t>(sign * magnitude, INT_MIN, INT_MAX));
    }

    static constexpr int64_t BEYOND_INT = int64_t{INT_MAX} + 1;
    static constexpr std::string_view BLANKS = " \t\v\f\r";

    std::span<char> buffer; // without room for a final NUL; may be empty
    size_t length = 0;

    enum class part { blanks, digits, rest } at = part::blanks;
    bool has_number = false;
    int sign = 1;
    int64_t magnitude = 0;
};

struct scan {
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
            found_value.restart();
        }
    }

    void feed_line(std::string_view bytes) {
        if (at == line_part::key)
            take_key(bytes);
        if (at == line_part::value)
            found_value.add(bytes);
    }

    void begin_line(std::string_view bytes) {
        at = line_part::key;
        matched = 0;
        feed_line(bytes);
    }

    // Takes lines that each have their newline before them; a line of the key may be among them.
    void feed_lines(std::string_view bytes) {
        while (const void *hit = memmem(bytes.data(), bytes.size(), key.data(), key.size())) {
            const char *name = static_cast<const char *>(hit);
            const bool at_line_start = name != bytes.data() && name[-1] == '\n';
            bytes = {name, bytes.data() + bytes.size()};
            if (at_line_start)
                begin_line(bytes.substr(0, bytes.find('\n')));
            bytes.remove_prefix(key.size());
        }
    }

    // Takes the next piece of the file: the rest of a line, whole lines, the beginning of a line.
    void feed(std::string_view bytes) {
        const size_t first_end = bytes.find('\n');
        feed_line(bytes.substr(0, first_end));
        if (first_end == std::string_view::npos)
            return;
        const size_t last_start = bytes.rfind('\n') + 1;
        feed_lines(bytes.substr(first_end, last_start - first_end));
        begin_line(bytes.substr(last_start));
    }

    std::string_view key;
    value &found_value;
    bool found = false;

    enum class line_part { key, value, rest } at = line_part::key;
    size_t matched = 0; // bytes of the key that this line has begun with
};

// More than a router's settings fill, and little for a thread's stack.
constexpr size_t READ_SIZE = 16 * 1024;

bool is_regular(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

// Reads the value of KEY; false where there is none.
bool read_setting(const char *key, value &into) {
    if (key == nullptr || !host::is_setting_key(key)) {
        errno = EINVAL;
        return false;
    }
    const host::descriptor file{host::open_file(host::SETTINGS_FILE, O_RDONLY)};
    if (file < 0)
        return false;
    scan lines{.key = key, .found_value = into};
    std::array<char, READ_SIZE> bytes;
    for (off_t at = 0;;) {
        const ssize_t length = pread(file, bytes.data(), bytes.size(), at); // from files alone
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0)
            return false;
        lines.feed({bytes.data(), static_cast<size_t>(length)});
        if (static_cast<size_t>(length) < bytes.size())
            return lines.found;
        if (at == 0 && !is_regular(file))
            return false; // a device that has no end
        at += length;
    }
}

} // namespace

int cfg_get_item(const char *key, char *buffer, int size) {
    if (buffer == nullptr || size <= 0)
        return -1;
    memset(buffer, 0, static_cast<size_t>(size));
    value text{.buffer = {buffer, static_cast<size_t>(size - 1)}};
    const bool found = read_setting(key, text);
    buffer[found ? text.length : 0] = '\0';
    return found ? 0 : -1;
}

bool host::read_setting_number(const char *key, int &number) {
    value text{.buffer = {}};
    const bool found = read_setting(key, text) && text.has_number;
    number = found ? text.number() : 0;
    return found;
}

int get_CFG_int(const char *key) {
    int number = 0;
    host::read_setting_number(key, number);
    return number;
}
