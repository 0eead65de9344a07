// Back-ups of the log: one file each, holding reason and time, the old log and the present one.
//
// Their names begin with a number that only grows, so they sort by time even on a router whose
// clock starts in the past. Whoever backs up holds the folder's lock; a back-up appears whole, by
// rename.
#include "platform/log.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>

#include "platform/host/files.h"
#include "platform/host/log_text.h"
#include "platform/host/places.h"

namespace {

constexpr unsigned KEPT_BACKUPS = 5;
constexpr int LOCK_PATIENCE_MS = 1000;
constexpr char UNFINISHED[] = ".new";

// The number at the start of a back-up's name, 0 for any other file.
unsigned backup_number(std::string_view name) {
    unsigned number = 0;
    return host::take_number(name, number) && name.starts_with("-uplinkd-") ? number : 0;
}

unsigned newest_backup() {
    unsigned newest = 0;
    const host::descriptor folder{host::open_folder(host::LOG_BACKUP_FOLDER)};
    host::name_reader names{folder};
    while (const char *name = host::next_name(names))
        newest = std::max(newest, backup_number(name));
    return newest;
}

void remove_backups_up_to(unsigned last) {
    const host::descriptor folder{host::open_folder(host::LOG_BACKUP_FOLDER)};
    host::name_reader names{folder};
    while (const char *name = host::next_name(names))
        if (const unsigned number = backup_number(name); number > 0 && number <= last)
            unlinkat(folder, name, 0);
}

struct moment {
    char in_name[32];
    char in_text[32];
};

moment present_moment() {
    timespec clock{};
    clock_gettime(CLOCK_REALTIME, &clock);
    tm now{};
    localtime_r(&clock.tv_sec, &now);
    moment present{};
    strftime(present.in_name, sizeof present.in_name, "%Y%m%d-%H%M%S", &now);
    strftime(present.in_text, sizeof present.in_text, "%Y-%m-%d %H:%M:%S", &now);
    return present;
}

bool write_heading(int file, const char *reason, const moment &present) {
    std::array<char, 512> visible;
    const std::string_view why = host::make_visible(visible, reason != nullptr ? reason : "");
    char heading[640];
    const int length = snprintf(heading, sizeof heading, "log back-up at %s, reason: %.*s\n",
                                present.in_text, static_cast<int>(why.size()), why.data());
    return length > 0 && host::write_all(file, {heading, static_cast<size_t>(length)});
}

bool copy_logs(int file) {
    const host::descriptor present_log{host::open_regular(host::LOG_FILE, O_RDONLY | O_NOFOLLOW)};
    if (present_log >= 0)
        flock(present_log, LOCK_EX | LOCK_NB); // no rotation between the two copies
    const host::descriptor old_log{host::open_regular(host::OLD_LOG_FILE, O_RDONLY | O_NOFOLLOW)};
    return (old_log < 0 || host::copy_rest(old_log, file)) &&
           (present_log < 0 || host::copy_rest(present_log, file));
}

bool write_backup(int folder, const char *reason, unsigned number) {
    unlinkat(folder, UNFINISHED, 0);
    const host::descriptor file{
        openat(folder, UNFINISHED, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640)};
    const moment present = present_moment();
    char name[64];
    snprintf(name, sizeof name, "%08u-uplinkd-%s.log", number, present.in_name);
    return file >= 0 && write_heading(file, reason, present) && copy_logs(file) &&
           fsync(file) == 0 && renameat(folder, UNFINISHED, folder, name) == 0 &&
           fsync(folder) == 0;
}

} // namespace

int log_bakup_imediately(const char *reason) {
    if (!host::make_folders(host::LOG_BACKUP_FOLDER))
        return -1;
    const host::descriptor folder{host::open_folder(host::LOG_BACKUP_FOLDER)};
    if (folder < 0 || !host::lock_within(folder, LOCK_PATIENCE_MS))
        return -1;

    const unsigned number = newest_backup() + 1;
    if (!write_backup(folder, reason, number)) {
        unlinkat(folder, UNFINISHED, 0);
        return -1;
    }
    if (number > KEPT_BACKUPS)
        remove_backups_up_to(number - KEPT_BACKUPS);
    return 0;
}
