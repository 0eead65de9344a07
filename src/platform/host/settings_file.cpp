// Changes to the settings file. Writers take turns by a lock file; readers need no lock, since a
// changed file is written beside the old one, brought to the disk and renamed over it. The lock is
// waited for a few seconds only. Where the settings are a symbolic link, what it points to is
// replaced and the link stays.
//
// One thread at a time: the file's text lives in a buffer of the process.
#include "platform/host/settings_file.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/host/files.h"
#include "platform/host/places.h"

namespace host {

namespace {

constexpr int LOCK_PATIENCE_MS = 5000;
constexpr mode_t SETTINGS_MODE = 0640;

std::array<char, 256 * 1024> settings_buffer;

struct setting_line {
    std::string_view whole; // with its newline, if it has one
    std::string_view key;   // empty for a line that holds no setting
    std::string_view value;
};

// Takes the first line off TEXT.
setting_line take_line(std::string_view &text) {
    const size_t line_end = text.find('\n');
    setting_line line;
    line.whole = text.substr(0, line_end == std::string_view::npos ? line_end : line_end + 1);
    text.remove_prefix(line.whole.size());

    const std::string_view content = line.whole.substr(0, line_end);
    const size_t equals = content.find('=');
    if (equals != std::string_view::npos && is_setting_key(content.substr(0, equals))) {
        line.key = content.substr(0, equals);
        line.value = content.substr(equals + 1);
        line.value = line.value.substr(0, line.value.find('\0'));
    }
    return line;
}

// The last line of KEY, the one that counts; an empty one if there is none.
setting_line find_setting(std::string_view text, std::string_view key) {
    setting_line found;
    while (!text.empty()) {
        const setting_line line = take_line(text);
        if (line.key == key)
            found = line;
    }
    return found;
}

settings_result load(int file, std::string_view &text) {
    size_t length = 0;
    while (length < settings_buffer.size()) {
        const ssize_t got =
            read(file, settings_buffer.data() + length, settings_buffer.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return settings_result::failed;
        if (got == 0) {
            text = {settings_buffer.data(), length};
            return settings_result::done;
        }
        length += static_cast<size_t>(got);
    }
    return settings_result::too_large;
}

// The settings, locked for a change: the open file, where it really lies, and its text.
struct change {
    descriptor lock{-1};
    descriptor file{-1};
    path_text path{};
    std::string_view text;
};

settings_result begin(change &edit) {
    if (!make_folders(SETTINGS_FOLDER))
        return settings_result::failed;
    edit.lock.reset(open_regular(SETTINGS_LOCK, O_RDWR | O_CREAT | O_NOFOLLOW, SETTINGS_MODE));
    if (edit.lock < 0)
        return settings_result::failed;
    if (!lock_within(edit.lock, LOCK_PATIENCE_MS))
        return settings_result::locked;

    edit.file.reset(open_regular(SETTINGS_FILE, O_RDONLY | O_CREAT, SETTINGS_MODE));
    if (edit.file < 0)
        return settings_result::failed;
    char link[40];
    snprintf(link, sizeof link, "/proc/self/fd/%d", edit.file.fd);
    const ssize_t length = readlink(link, edit.path.data(), edit.path.size() - 1);
    if (length <= 0 || !is_file_at(edit.file, edit.path.data()))
        return settings_result::failed;
    return load(edit.file, edit.text);
}

// Gives the new file the rights of the old one.
bool keep_rights(int old_file, int new_file) {
    struct stat status = {};
    return fstat(old_file, &status) == 0 && fchown(new_file, status.st_uid, status.st_gid) == 0 &&
           fchmod(new_file, status.st_mode & 07777) == 0;
}

bool sync_folder_of(path_text path) {
    *strrchr(path.data(), '/') = '\0';
    const descriptor folder{open_folder(path.data())};
    return folder >= 0 && fsync(folder) == 0;
}

// Replaces the settings by what WRITE puts into the new file.
template <typename writer> settings_result replace(const change &edit, writer write) {
    path_text path{};
    const int length = snprintf(path.data(), path.size(), "%s.new", edit.path.data());
    if (length < 0 || static_cast<size_t>(length) >= path.size())
        return settings_result::failed;

    unlink(path.data());
    const descriptor file{open_file(path.data(), O_WRONLY | O_CREAT | O_EXCL, SETTINGS_MODE)};
    if (file < 0)
        return settings_result::failed;
    if (keep_rights(edit.file, file) && write(file) && fsync(file) == 0 &&
        rename(path.data(), edit.path.data()) == 0)
        return sync_folder_of(path) ? settings_result::done : settings_result::failed;

    const int reason = errno;
    unlink(path.data());
    errno = reason;
    return settings_result::failed;
}

bool write_setting(int file, std::string_view key, std::string_view value) {
    return write_all(file, key) && write_all(file, "=") && write_all(file, value) &&
           write_all(file, "\n");
}

} // namespace

bool is_setting_key(std::string_view key) {
    constexpr std::string_view NEVER_IN_A_KEY{"=\n\0", 3};
    return !key.empty() && key[0] != '#' &&
           key.find_first_of(NEVER_IN_A_KEY) == std::string_view::npos;
}

bool is_setting_value(std::string_view value) {
    constexpr std::string_view NEVER_IN_A_VALUE{"\n\0", 2};
    return value.find_first_of(NEVER_IN_A_VALUE) == std::string_view::npos;
}

settings_result set_setting(std::string_view key, std::string_view value) {
    if (!is_setting_key(key) || !is_setting_value(value))
        return settings_result::refused;
    change edit;
    if (const settings_result result = begin(edit); result != settings_result::done)
        return result;

    const setting_line old = find_setting(edit.text, key);
    if (!old.key.empty() && old.value == value)
        return settings_result::done;
    // Without a line of the key, the new one goes to the end.
    const char *const end = edit.text.data() + edit.text.size();
    const char *const place = old.key.empty() ? end : old.whole.data();
    const std::string_view before{edit.text.data(), place};
    const std::string_view after = edit.text.substr(before.size() + old.whole.size());
    return replace(edit, [&](int file) {
        const bool unfinished = !before.empty() && before.back() != '\n';
        return write_all(file, before) && (!unfinished || write_all(file, "\n")) &&
               write_setting(file, key, value) && write_all(file, after);
    });
}

settings_result unset_setting(std::string_view key) {
    if (!is_setting_key(key))
        return settings_result::refused;
    change edit;
    if (const settings_result result = begin(edit); result != settings_result::done)
        return result;

    if (find_setting(edit.text, key).key.empty())
        return settings_result::done;
    return replace(edit, [&](int file) {
        for (std::string_view text = edit.text; !text.empty();) {
            const setting_line line = take_line(text);
            if (line.key != key && !write_all(file, line.whole))
                return false;
        }
        return true;
    });
}

settings_result list_settings(void (*visit)(std::string_view key, std::string_view value)) {
    const descriptor file{open_regular(SETTINGS_FILE, O_RDONLY)};
    if (file < 0)
        return errno == ENOENT ? settings_result::done : settings_result::failed;
    std::string_view text;
    if (const settings_result result = load(file, text); result != settings_result::done)
        return result;
    while (!text.empty()) {
        const setting_line line = take_line(text);
        if (!line.key.empty() && find_setting(text, line.key).key.empty())
            visit(line.key, line.value);
    }
    return settings_result::done;
}

} // namespace host
