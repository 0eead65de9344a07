#include "tools/watch/processes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/text.h"
#include "platform/host/files.h"
#include "provision/clients/client_files.h"
#include "tools/last_batch.h"
#include "tools/router_state.h"
#include "tools/watch/events.h"

namespace processes {

namespace {

// Close-on-exec always.
int open_process(int pid) {
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
}

enum class kind { daemon, client, batch };

struct process {
    kind is;
    int fd; // 0: the place is free
    int pid;
    int client; // its place in CLIENTS
    long long begun;
    text<64> owner; // of a batch
};
process followed[40] = {};
pollfd descriptors[sizeof followed / sizeof *followed];

struct client_file {
    const char *program;
    int wan;
    text<64> path; // of the pid file
    int pid;
    long long ended;
};
client_file clients[3 * (MAX_WAN_INDEX + 1)] = {};

void name_client_files() {
    client_file *place = clients;
    for (int wan = 0; wan <= MAX_WAN_INDEX; wan++) {
        for (const char *program : {UDHCPC, UDHCPC6, PPPD}) {
            place->program = program;
            place->wan = wan;
            place->path = router::pid_file_of(program, wan);
            place++;
        }
    }
}

process *follow(kind is, int pid) {
    const int fd = host::above_standard(open_process(pid));
    if (fd < 0)
        return nullptr;
    for (process &place : followed) {
        if (place.fd != 0)
            continue;
        place = {is, fd, pid, 0, events::now(), {}};
        return &place;
    }
    close(fd);
    return nullptr;
}

bool is_followed(kind is, int pid) {
    return std::any_of(std::begin(followed), std::end(followed), [&](const process &place) {
        return place.fd != 0 && place.is == is && place.pid == pid;
    });
}

void follow_daemon(int pid, const char *state) {
    if (is_followed(kind::daemon, pid) || follow(kind::daemon, pid) == nullptr)
        return;
    events::daemon(pid, state);
}

// A client that goes into the background does so as another process, right after the end of the
// first.
constexpr long long BACKGROUND_MICROSECONDS = 1000000;

void read_client(client_file &client, bool is_live) {
    const int pid = router::read_pid_file(client.path.c_str());
    // The shell of a batch leaves pppd's number before that has become pppd.
    const bool is_becoming = is_live && strcmp(client.program, PPPD) == 0;
    if (pid == 0 || pid == client.pid || (!is_becoming && !router::is_process(pid, client.program)))
        return;
    process *const place = follow(kind::client, pid);
    if (place == nullptr)
        return;
    place->client = static_cast<int>(&client - clients);
    const bool goes_on = client.pid != 0 && (client.ended == 0 || events::now() - client.ended <
                                                                      BACKGROUND_MICROSECONDS);
    client.pid = pid;
    client.ended = 0;
    events::client(client.program, client.wan, pid,
                   !is_live  ? "running"
                   : goes_on ? "background"
                             : "started");
}

void end_process(process &place) {
    switch (place.is) {
    case kind::daemon: events::daemon(place.pid, "ended"); break;
    case kind::batch: events::batch_done(place.owner.c_str(), events::now() - place.begun); break;
    case kind::client: {
        client_file &client = clients[place.client];
        events::client(client.program, client.wan, place.pid, "ended");
        if (client.pid == place.pid)
            client.ended = events::now();
        break;
    }
    }
    close(place.fd);
    place.fd = 0;
}

int daemon_pid() {
    for (const process &place : followed)
        if (place.fd != 0 && place.is == kind::daemon)
            return place.pid;
    return 0;
}

int parent_of(int pid) {
    char path[40], stat[256] = {};
    snprintf(path, sizeof path, "/proc/%d/stat", pid);
    const host::descriptor file(host::open_file(path, O_RDONLY));
    if (file < 0 || read(file, stat, sizeof stat - 1) <= 0)
        return 0;
    // "PID (NAME) STATE PARENT ...", and a name may hold anything.
    constexpr size_t STATE_SIZE = 4;
    const char *const after_name = strrchr(stat, ')');
    return after_name == nullptr || strlen(after_name) < STATE_SIZE
               ? 0
               : to_int(after_name + STATE_SIZE);
}

// The shell that the daemon waits for; 0 if it has ended already.
int find_shell() {
    const int daemon = daemon_pid();
    const host::descriptor folder(host::open_folder("/proc"));
    if (daemon == 0 || folder < 0)
        return 0;
    host::name_reader reader(folder);
    while (const char *entry = host::next_name(reader)) {
        const int pid = to_int(entry);
        if (pid > 0 && parent_of(pid) == daemon)
            return pid;
    }
    return 0;
}

} // namespace

void begin() {
    name_client_files();
    if (const int pid = router::find_process("uplinkd"); pid != 0)
        follow_daemon(pid, "running");
    for (client_file &client : clients)
        read_client(client, false);
}

void read_all() {
    if (const int pid = router::find_process("uplinkd"); pid != 0)
        follow_daemon(pid, "started");
    for (client_file &client : clients)
        read_client(client, true);
}

void daemon_started(int pid) {
    follow_daemon(pid, "started");
}

void file_changed(const char *name) {
    for (client_file &client : clients)
        if (strcmp(generated_name(client.path.c_str()), name) == 0)
            read_client(client, true);
}

void batch_run() {
    const last_batch batch = read_last_batch();
    if (!batch.is_run) // somebody may change the mode of a script that is not complete
        return;
    events::batch_run(batch.owner.c_str(), batch.script);
    const int shell = find_shell();
    process *const place = shell == 0 ? nullptr : follow(kind::batch, shell);
    if (place == nullptr)
        events::batch_done(batch.owner.c_str(), 0);
    else
        place->owner = batch.owner;
}

std::span<pollfd> to_wait_for() {
    size_t count = 0;
    for (const process &place : followed)
        if (place.fd != 0)
            descriptors[count++] = {.fd = place.fd, .events = POLLIN, .revents = 0};
    return {descriptors, count};
}

void look_at(std::span<const pollfd> waited_for) {
    for (const pollfd &waited : waited_for)
        for (process &place : followed)
            if (waited.revents != 0 && place.fd == waited.fd)
                end_process(place);
}

} // namespace processes
