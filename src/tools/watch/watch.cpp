// uplinkctl watch and record: everything that the daemon goes by and does, in the order in which it
// happens. One inotify queue sees all folders, so it is the order; processes are followed by
// descriptors of theirs. Nothing is looked at from time to time.
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/script_runner.h"
#include "platform/host/files.h"
#include "platform/host/places.h"
#include "tools/cli.h"
#include "tools/output.h"
#include "tools/uplinkctl.h"
#include "tools/watch/events.h"
#include "tools/watch/log_follower.h"
#include "tools/watch/processes.h"
#include "tools/watch/stores.h"
#include "wan/markers.h"

namespace {

constexpr uint32_t REPLACED = IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE;

enum place { ITEMS, FLAGS, SETTINGS, LOG, TMP, GENERATED, SCRIPT, PLACES };

constexpr struct {
    const char *folder;
    uint32_t events;
    bool is_ours; // made when it is missing, as on any first use
} WATCHED[PLACES] = {
    {host::ITEM_FOLDER, REPLACED, true},
    {host::FLAG_FOLDER, REPLACED, true},
    {host::SETTINGS_FOLDER, REPLACED, true},
    {host::LOG_FOLDER, IN_MODIFY | IN_CREATE | IN_MOVED_TO, true},
    {"/tmp", REPLACED | IN_CREATE, false},
    {GENERATED_FOLDER, REPLACED | IN_ATTRIB, false},
    {"/etc/ebscript", REPLACED | IN_CREATE, false}, // a router may do without
};

int queue = -1;
int watches[PLACES];
bool marker_is_there, script_is_there;

// The name by which the last part of PATH goes in its folder.
constexpr const char *file_name(const char *path) {
    const char *name = path;
    for (; *path != '\0'; path++)
        if (*path == '/')
            name = path + 1;
    return name;
}

bool watch_folder(int place) {
    const auto &[folder, events, is_ours] = WATCHED[place];
    if (is_ours)
        host::make_folders(folder);
    watches[place] = inotify_add_watch(queue, folder, events | IN_ONLYDIR | IN_EXCL_UNLINK);
    return watches[place] >= 0;
}

int watch_folders() {
    queue = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (queue < 0)
        return cli::failure("cannot watch: %s", strerror(errno));
    mkdir(GENERATED_FOLDER, 0700); // as the daemon makes it; where it cannot, it is told later
    for (int i = 0; i < PLACES; i++)
        if (!watch_folder(i) && i != SCRIPT && i != GENERATED)
            return cli::failure("cannot watch %s: %s", WATCHED[i].folder, strerror(errno));
    return cli::DONE;
}

void look_at_file(const char *name, const char *path, bool &was_there) {
    const bool is_there = access(path, F_OK) == 0;
    if (is_there != was_there)
        events::file(name, was_there, is_there, path);
    was_there = is_there;
}

void look_at_files() {
    look_at_file("marker", SETTINGSD_MARKER, marker_is_there);
    look_at_file("wan_mode_script", WAN_MODE_SCRIPT, script_is_there);
}

void say_state_at_start() {
    marker_is_there = access(SETTINGSD_MARKER, F_OK) == 0;
    script_is_there = access(WAN_MODE_SCRIPT, F_OK) == 0;
    events::file("marker", false, marker_is_there, SETTINGSD_MARKER);
    events::file("wan_mode_script", false, script_is_there, WAN_MODE_SCRIPT);
    stores::read_all();
    processes::begin();
    log_follower::begin();
}

place place_of(int watch) {
    int i = 0;
    while (i < PLACES && watches[i] != watch)
        i++;
    return static_cast<place>(i);
}

void deal_with_tmp(const inotify_event &event) {
    if (strcmp(event.name, file_name(SETTINGSD_MARKER)) == 0)
        look_at_files();
    else if (strcmp(event.name, file_name(GENERATED_FOLDER)) == 0)
        watch_folder(GENERATED); // another one
    else
        processes::file_changed(event.name);
}

void deal_with_generated(const inotify_event &event) {
    if (strcmp(event.name, file_name(TMP_SCRIPT)) != 0)
        processes::file_changed(event.name);
    else if ((event.mask & IN_ATTRIB) != 0)
        processes::batch_run();
}

void deal_with(const inotify_event &event, bool catching_up) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        events::overflow();
        look_at_files();
        stores::read_all();
        processes::read_all();
        log_follower::follow_file();
        log_follower::catch_up();
        return;
    }
    if (log_follower::is_watch(event.wd))
        log_follower::line_written();
    if (event.len == 0)
        return;
    switch (place_of(event.wd)) {
    case ITEMS: stores::item_changed(event.name, catching_up); break;
    case FLAGS: stores::flag_changed(event.name); break;
    case SETTINGS:
        if (strcmp(event.name, file_name(host::SETTINGS_FILE)) == 0)
            stores::settings_changed();
        break;
    case LOG:
        if (strcmp(event.name, file_name(host::LOG_FILE)) == 0)
            log_follower::follow_file();
        break;
    case TMP: deal_with_tmp(event); break;
    case GENERATED: deal_with_generated(event); break;
    case SCRIPT: look_at_files(); break;
    case PLACES: break;
    }
}

// Deals with what the queue holds. Returns whether there was something.
bool read_queue(bool catching_up) {
    alignas(inotify_event) static std::array<char, 64 * 1024> buffer;
    const ssize_t length = read(queue, buffer.data(), buffer.size());
    if (length <= 0)
        return false;
    const auto end = static_cast<size_t>(length);
    const auto event_at = [&](size_t at) -> const inotify_event & {
        return *reinterpret_cast<const inotify_event *>(&buffer[at]);
    };
    for (size_t at = 0; at < end; at += sizeof(inotify_event) + event_at(at).len)
        deal_with(event_at(at), catching_up);
    return true;
}

// How long the event of a line that is there already may take to come.
constexpr int ON_ITS_WAY_MS = 20;

void empty_queue() {
    for (;;) {
        while (read_queue(false))
            ;
        if (!log_follower::has_more())
            return;
        pollfd more = {.fd = queue, .events = POLLIN, .revents = 0};
        if (poll(&more, 1, ON_ITS_WAY_MS) == 0)
            log_follower::catch_up();
    }
}

// ---- until told to end

volatile sig_atomic_t is_to_end = 0;

void end_soon(int) {
    is_to_end = 1;
}

// The signals that end it are taken only while it waits, so that no line is cut. One that whoever
// started it has it ignore, as nohup does, stays ignored.
sigset_t take_signals() {
    sigset_t ending, before;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = end_soon;
        sigaction(signal, &action, nullptr);
        sigaddset(&ending, signal);
    }
    sigprocmask(SIG_BLOCK, &ending, &before);
    return before;
}

int follow(long long ends_at) {
    const sigset_t while_waiting = take_signals();
    std::array<pollfd, 64> waiting;
    int status = output::flush();
    while (status == cli::DONE && is_to_end == 0) {
        const std::span<pollfd> others = processes::to_wait_for();
        waiting[0] = {.fd = queue, .events = POLLIN, .revents = 0};
        std::copy(others.begin(), others.end(), waiting.begin() + 1);
        const long long left = ends_at - events::now();
        if (left <= 0)
            break;
        const timespec timeout = {static_cast<time_t>(left / 1000000),
                                  static_cast<long>(left % 1000000 * 1000)};
        const size_t count = others.size() + 1;
        if (ppoll(waiting.data(), count, &timeout, &while_waiting) < 0 && errno != EINTR)
            return cli::failure("cannot wait: %s", strerror(errno));
        // What a process did before it ended comes first.
        empty_queue();
        processes::look_at({waiting.data() + 1, count - 1});
        status = output::flush();
    }
    empty_queue();
    const int last = output::flush();
    return status != cli::DONE ? status : last;
}

constexpr long long FOR_EVER = 1LL << 60;

int run(events::form form, bool is_private, long long seconds) {
    if (const int status = watch_folders(); status != cli::DONE)
        return status;
    log_follower::on_daemon_start(processes::daemon_started);
    log_follower::watch_in(queue);
    events::begin(form, is_private);
    say_state_at_start();
    while (read_queue(true))
        ;
    events::go_live();
    return follow(seconds == 0 ? FOR_EVER : events::now() + seconds * 1000000);
}

struct request {
    bool json = false, is_private = false;
    int seconds = 0;
    const char *file = nullptr;
};

int parse(operands given, bool is_recording, request &wanted) {
    for (; !given.empty(); given = given.subspan(1)) {
        const std::string_view word{given[0]};
        if (word == "--json" && !is_recording) {
            wanted.json = true;
        } else if (word == "--private" && is_recording) {
            wanted.is_private = true;
        } else if (word == "-t" && given.size() > 1) {
            given = given.subspan(1);
            if (!cli::parse_decimal(given[0], wanted.seconds) || wanted.seconds <= 0)
                return cli::wrong_usage("'%s' is no positive number", given[0]);
        } else if (is_recording && wanted.file == nullptr && !word.starts_with("-")) {
            wanted.file = given[0];
        } else {
            return wrong_operands();
        }
    }
    return is_recording && wanted.file == nullptr ? wrong_operands() : cli::DONE;
}

} // namespace

int watch_router(operands given) {
    request wanted;
    if (const int status = parse(given, false, wanted); status != cli::DONE)
        return status;
    return run(wanted.json ? events::form::json : events::form::people, false, wanted.seconds);
}

// It holds the router's addresses, so it is root's alone.
constexpr mode_t RECORDING_MODE = 0600;

int record_router(operands given) {
    request wanted;
    if (const int status = parse(given, true, wanted); status != cli::DONE)
        return status;
    const int file =
        host::open_regular(wanted.file, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, RECORDING_MODE);
    if (file < 0 || fchmod(file, RECORDING_MODE) != 0)
        return cli::failure("cannot write '%s': %s", wanted.file, strerror(errno));
    output::redirect(file);
    return run(events::form::json, wanted.is_private, wanted.seconds);
}
