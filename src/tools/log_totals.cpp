// Two files, the log and the old one, each with the position up to which it has been read. A
// position is recognised by the file's number and the bytes before it, since the next log may get
// the number of a removed one, or the same file may have been emptied and filled anew.
#include "tools/log_totals.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "base/log_forms.h"
#include "platform/bus.h"
#include "platform/host/files.h"
#include "platform/host/places.h"
#include "tools/log_lines.h"

namespace {

constexpr char STATE_FOLDER[] = "/run/uplinkd";
constexpr char STATE_FILE[] = "/run/uplinkd/metrics";
constexpr char NEW_STATE_FILE[] = "/run/uplinkd/.metrics.new";
constexpr int LOCK_PATIENCE_MS = 2000;

// Longer than any line that the log can hold.
constexpr uint64_t READ_SIZE = 8 * 1024;
constexpr uint64_t TAIL_SIZE = 64;

constexpr uint64_t HASH_START = 0xcbf29ce484222325;

constexpr uint64_t add_to_hash(uint64_t hash, uint64_t number) {
    return (hash ^ number) * 0x100000001b3;
}

uint64_t hash_of(std::string_view bytes, uint64_t hash = HASH_START) {
    for (const char byte : bytes)
        hash = add_to_hash(hash, static_cast<unsigned char>(byte));
    return hash;
}

// What the totals mean: those of a program with other tables are no use.
constexpr uint64_t hash_of_tables() {
    uint64_t hash = HASH_START;
    for (const known_message &message : KNOWN_MESSAGES)
        hash = add_to_hash(hash, static_cast<uint64_t>(message.id));
    for (const int peer : KNOWN_PEERS)
        hash = add_to_hash(hash, static_cast<uint64_t>(peer));
    return hash;
}

struct position {
    uint64_t inode;
    uint64_t offset; // after a whole line
    uint64_t tail;   // of the bytes before it
};

struct kept_state {
    position old_log, log;
    log_totals totals;
    uint64_t check; // of all the above, begun with that of the tables
};

uint64_t check_of(const kept_state &state) {
    return hash_of({reinterpret_cast<const char *>(&state), offsetof(kept_state, check)},
                   hash_of_tables());
}

// ---- one line

size_t message_index(int id) {
    const auto *const end = std::end(KNOWN_MESSAGES);
    const auto *const found =
        std::find_if(KNOWN_MESSAGES, end, [id](const known_message &row) { return row.id == id; });
    return static_cast<size_t>(found - KNOWN_MESSAGES);
}

size_t peer_index(std::string_view name) {
    const auto *const found =
        std::find_if(std::begin(KNOWN_PEERS), std::end(KNOWN_PEERS),
                     [name](int app_id) { return name == get_app_name_by_id(app_id); });
    return static_cast<size_t>(found - KNOWN_PEERS);
}

void count_message(const log_lines::message &seen, log_totals &totals) {
    const message_fate fate = seen.is_received ? RECEIVED : seen.accepted ? SENT : SEND_FAILED;
    totals.messages[fate][message_index(seen.id)][peer_index(seen.peer)]++;
}

void count_event(std::string_view said, log_totals &totals) {
    if (said == "network prioroty changed from 1 to 0")
        totals.failovers[0]++;
    else if (said == "network prioroty changed from 0 to 1")
        totals.failovers[1]++;
    else if (said == "detect wan net segment invalid , reset interface")
        totals.conflicts++;
    else if (said == "uplinkd_init start!")
        totals.starts++;
}

void count_line(std::string_view line, log_totals &totals) {
    const log_lines::log_parts log = log_lines::split(line);
    log_lines::message seen;
    if (log.program != "UPLINKD")
        return;
    if (log.level == LOG_EVENT && log.words.starts_with("bus: dropped a datagram of "))
        totals.dropped_datagrams++;
    else if (log_lines::find_message(log, seen))
        count_message(seen, totals);
    else if (log.level == LOG_EVENT)
        count_event(log.said, totals);
    else if (log.level == LOG_REJECTED && !log.said.empty())
        totals.rejected_values++;
}

// ---- one file

// The bytes before OFFSET; false where the file is shorter.
bool read_tail(int file, uint64_t offset, uint64_t &tail) {
    char bytes[TAIL_SIZE];
    const uint64_t length = std::min(offset, TAIL_SIZE);
    if (pread(file, bytes, static_cast<size_t>(length), static_cast<off_t>(offset - length)) !=
        static_cast<ssize_t>(length))
        return false;
    tail = hash_of({bytes, static_cast<size_t>(length)});
    return true;
}

struct log_file {
    explicit log_file(const char *path)
        : file(host::open_regular(path, O_RDONLY | O_NOFOLLOW)),
          failed((file < 0 && errno != ENOENT) || (file >= 0 && fstat(file, &status) != 0)) {}

    bool has(const position &kept) const {
        uint64_t tail = 0;
        return file >= 0 && kept.inode == status.st_ino && read_tail(file, kept.offset, tail) &&
               tail == kept.tail;
    }

    host::descriptor file;
    struct stat status = {};
    bool failed;
};

// Counts the lines that are whole, up to where the file ended when it was opened: a busy writer
// keeps nobody here. Returns where it stopped.
position count_lines(const log_file &log, uint64_t offset, log_totals &totals) {
    static char bytes[READ_SIZE];
    if (log.file < 0)
        return {};
    const auto end = static_cast<uint64_t>(log.status.st_size);
    while (offset < end) {
        const auto wanted = static_cast<size_t>(std::min(end - offset, READ_SIZE));
        const ssize_t length = pread(log.file, bytes, wanted, static_cast<off_t>(offset));
        if (length <= 0)
            break;
        std::string_view rest{bytes, static_cast<size_t>(length)};
        const size_t newline = rest.rfind('\n');
        if (newline != rest.npos)
            rest = rest.substr(0, newline + 1);
        else if (rest.size() < READ_SIZE)
            break;
        offset += rest.size(); // without a newline in all of it: no line of the daemon's
        for (size_t at = 0; (at = rest.find('\n')) != rest.npos; rest.remove_prefix(at + 1))
            count_line({rest.data(), at}, totals);
    }
    position reached{.inode = log.status.st_ino, .offset = offset, .tail = 0};
    read_tail(log.file, offset, reached.tail);
    return reached;
}

// ---- both, and what is kept

// Whoever could have put something else there is root, or the disk.
bool load(kept_state &state) {
    const host::descriptor file{host::open_regular(STATE_FILE, O_RDONLY | O_NOFOLLOW)};
    struct stat status = {};
    if (file >= 0 && fstat(file, &status) == 0 && status.st_uid == geteuid() &&
        status.st_size == sizeof state && read(file, &state, sizeof state) == sizeof state &&
        state.check == check_of(state))
        return true;
    state = {};
    return false;
}

bool save(kept_state &state) {
    state.check = check_of(state);
    unlink(NEW_STATE_FILE);
    const host::descriptor file{
        host::open_regular(NEW_STATE_FILE, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0640)};
    return file >= 0 &&
           host::write_all(file, {reinterpret_cast<const char *>(&state), sizeof state}) &&
           rename(NEW_STATE_FILE, STATE_FILE) == 0;
}

// Opened in this order; the same file twice, or one of three, if the log is rotated meanwhile.
struct log_files {
    log_file log{host::LOG_FILE};
    log_file old_log{host::OLD_LOG_FILE};
    bool settled = log.file < 0 || host::is_file_at(log.file, host::LOG_FILE);
};

void count_new_lines(const log_files &files, kept_state &state, bool goes_on) {
    const auto start_of = [&state](const log_file &file) {
        if (file.has(state.log))
            return state.log.offset;
        return file.has(state.old_log) ? state.old_log.offset : 0;
    };
    if (goes_on && state.log.offset > 0 && !files.log.has(state.log) &&
        !files.old_log.has(state.log))
        state.totals.gaps++;
    const uint64_t old_start = start_of(files.old_log), start = start_of(files.log);
    state.old_log = count_lines(files.old_log, old_start, state.totals);
    state.log = count_lines(files.log, start, state.totals);
}

} // namespace

const char *update_log_totals(log_totals &totals) {
    static kept_state state;
    if (!host::make_folders(STATE_FOLDER))
        return STATE_FOLDER;
    const host::descriptor folder{host::open_folder(STATE_FOLDER)};
    if (folder < 0 || !host::lock_within(folder, LOCK_PATIENCE_MS))
        return STATE_FOLDER;

    for (int attempt = 0; attempt < 3; attempt++) {
        const log_files files;
        if (files.log.failed || files.old_log.failed)
            return host::LOG_FOLDER;
        if (!files.settled)
            continue;
        count_new_lines(files, state, load(state));
        totals = state.totals;
        return save(state) ? nullptr : STATE_FILE;
    }
    errno = EAGAIN;
    return host::LOG_FOLDER;
}
