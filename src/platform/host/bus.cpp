// The bus: one Unix datagram socket an application, bound to its number in the bus folder. Who may
// open the folder takes part; a sender is known by the address that it sends from, not by what it
// writes into its record.
//
// Threads. A registered process has two threads here. The reader takes records off the socket into
// the inbox; the delivery thread runs the handler on them, one at a time, in the order of arrival.
// So a handler may take its time: senders are held up by neither thread. When the inbox is full the
// reader stops reading, the socket's own short queue fills, and senders are refused, at once where
// they have waited for this receiver before. Any thread may send. Neither thread touches the
// process's signals.
//
// Data. The inbox is guarded by its lock, but for the record that the delivery thread works on:
// that stays as it is from wait_for_record() to release_record(). What is known of stuck receivers
// has a lock of its own.
#include "platform/bus.h"

#include <array>
#include <atomic>
#include <bit>
#include <climits>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <span>
#include <string_view>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/host/files.h"
#include "platform/host/places.h"
#include "platform/log.h"
#include "platform/mutex.h"

static_assert(std::endian::native == std::endian::little, "records are little-endian");

namespace {

// Records held, the one included that the handler works on.
constexpr size_t INBOX_SLOTS = 257;
constexpr size_t INBOX_SIZE = INBOX_SLOTS * sizeof(uplinkd_msg_t);

// A quiet bus keeps room for so many in memory.
constexpr size_t QUIET_RECORDS = 4;

constexpr int LOCK_PATIENCE_MS = 1000;

// A send, or a broadcast as a whole, waits this many milliseconds for full receivers: their sockets
// hold a dozen records only, and a reader may not have had its turn yet. Who then is still full is
// stuck and not waited for again until it has taken a record. So many can be remembered; while they
// all are stuck, and for more receivers than that in one broadcast, nobody waits.
constexpr int FULL_RECEIVER_PATIENCE_MS = 20;
constexpr size_t KNOWN_RECEIVERS = 64;

// Records that wait in the sockets of stopped applications count against their sender. This is room
// for those of some twenty, so that they do not cut it off from the others.
constexpr int SEND_BUFFER_SIZE = 1024 * 1024;

struct inbox_t {
    uplinkd_mutex lock;
    uplinkd_condition arrived;
    uplinkd_condition freed;
    size_t first UPLINKD_GUARDED_BY(lock) = 0;
    size_t count UPLINKD_GUARDED_BY(lock) = 0;
    bool swollen UPLINKD_GUARDED_BY(lock) = false; // beyond QUIET_RECORDS
    uplinkd_msg_t *slots = nullptr;                // INBOX_SLOTS, mapped before there are threads
};
inbox_t inbox;

struct registration_t {
    uplinkd_mutex lock;
    // The delivery thread outlives a failed attempt.
    bool delivering UPLINKD_GUARDED_BY(lock) = false;
};
registration_t registration;

struct stuck_receivers_t {
    uplinkd_mutex lock;
    std::array<int, KNOWN_RECEIVERS> app_ids UPLINKD_GUARDED_BY(lock){};
    size_t count UPLINKD_GUARDED_BY(lock) = 0;
};
stuck_receivers_t stuck;

std::atomic<int> endpoint{-1};
std::atomic<sockmsg_handler> receive_handler{nullptr};

constexpr struct {
    int app_id;
    char name[16];
} APPLICATIONS[] = {
    {19, "pfilterd"}, {22, "prio_listener"}, {23, "linkprobe"},
    {24, "uplinkd"},  {25, "uis"},           {27, "textmsg"},
};

// ---- addresses

sockaddr_un endpoint_address(int app_id) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s/%d", host::BUS_FOLDER, app_id);
    return address;
}

const sockaddr *generic(const sockaddr_un &address) {
    return reinterpret_cast<const sockaddr *>(&address);
}

// The application that an endpoint of this name belongs to, 0 if NAME is none.
int app_id_of(std::string_view name) {
    unsigned app_id = 0;
    const bool is_number = !name.starts_with('0') && host::take_number(name, app_id) &&
                           name.empty() && app_id <= INT_MAX;
    return is_number ? static_cast<int>(app_id) : 0;
}

int sender_of(const sockaddr_un &address, socklen_t length) {
    constexpr size_t PATH_AT = offsetof(sockaddr_un, sun_path);
    if (length <= PATH_AT)
        return 0;
    std::string_view path{address.sun_path, strnlen(address.sun_path, length - PATH_AT)};
    const std::string_view folder{host::BUS_FOLDER};
    if (!path.starts_with(folder) || path.substr(folder.size(), 1) != "/")
        return 0;
    path.remove_prefix(folder.size() + 1);
    return app_id_of(path);
}

// ---- receiving

void keep_record(const uplinkd_msg_t &record) {
    mutex_guard hold(inbox.lock);
    while (inbox.count == INBOX_SLOTS)
        inbox.freed.wait(inbox.lock);
    const size_t slot = (inbox.first + inbox.count++) % INBOX_SLOTS;
    inbox.slots[slot] = record;
    inbox.swollen |= slot >= QUIET_RECORDS;
    inbox.arrived.signal();
}

const uplinkd_msg_t &wait_for_record() {
    mutex_guard hold(inbox.lock);
    while (inbox.count == 0)
        inbox.arrived.wait(inbox.lock);
    return inbox.slots[inbox.first];
}

// Gives the memory of a burst that is over back to the kernel, as far as whole pages go.
void shrink_inbox() UPLINKD_REQUIRES(inbox.lock) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t kept = (QUIET_RECORDS * sizeof(uplinkd_msg_t) + page - 1) / page * page;
    if (kept < INBOX_SIZE)
        madvise(reinterpret_cast<char *>(inbox.slots) + kept, INBOX_SIZE - kept, MADV_DONTNEED);
    inbox.swollen = false;
}

// An empty inbox starts over at its first slot, so that a quiet bus touches only a few.
void release_record() {
    mutex_guard hold(inbox.lock);
    inbox.count--;
    inbox.first = inbox.count == 0 ? 0 : (inbox.first + 1) % INBOX_SLOTS;
    if (inbox.count == 0 && inbox.swollen)
        shrink_inbox();
    inbox.freed.signal();
}

// Waits for one datagram at SOCKET; false if that is no record.
bool receive(int socket, uplinkd_msg_t &record) {
    sockaddr_un sender{};
    socklen_t length = sizeof sender;
    const ssize_t size = recvfrom(socket, &record, sizeof record, MSG_TRUNC,
                                  reinterpret_cast<sockaddr *>(&sender), &length);
    if (size < 0)
        return false;
    record.src_app_id = sender_of(sender, length);
    if (size == sizeof record)
        return true;
    savelog(0, "bus: dropped a datagram of %zd bytes from application %d", size, record.src_app_id);
    return false;
}

void *read_records(void *) {
    uplinkd_msg_t record;
    for (;;)
        if (receive(endpoint, record))
            keep_record(record);
}

void *deliver_records(void *) {
    for (;;) {
        const uplinkd_msg_t &record = wait_for_record();
        receive_handler.load()(&record);
        release_record();
    }
}

// ---- registering

bool start_thread(void *(*run)(void *)) {
    pthread_t thread;
    errno = pthread_create(&thread, nullptr, run, nullptr);
    return errno == 0 && pthread_detach(thread) == 0;
}

// Whether a running process has bound ADDRESS. What a killed one left behind refuses connections.
bool is_owned(const sockaddr_un &address) {
    struct stat status = {};
    if (!host::look_at(address.sun_path, status) || !S_ISSOCK(status.st_mode))
        return false;
    const host::descriptor probe{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    return probe < 0 || connect(probe, generic(address), sizeof address) == 0 ||
           errno != ECONNREFUSED;
}

// Binds SOCKET to ADDRESS, in place of a dead endpoint but never of a live one. The folder's lock
// keeps two processes from both finding the same endpoint dead.
bool claim(int socket, const sockaddr_un &address) {
    const host::descriptor folder{host::open_folder(host::BUS_FOLDER)};
    if (folder < 0 || !host::lock_within(folder, LOCK_PATIENCE_MS))
        return false;

    bool bound = bind(socket, generic(address), sizeof address) == 0;
    if (!bound && errno == EADDRINUSE) {
        if (is_owned(address)) {
            errno = EADDRINUSE;
            return false;
        }
        bound =
            unlink(address.sun_path) == 0 && bind(socket, generic(address), sizeof address) == 0;
    }
    // The folder says who may send, whatever the umask says.
    return bound && chmod(address.sun_path, 0666) == 0;
}

bool map_inbox() {
    if (inbox.slots != nullptr)
        return true;
    void *room =
        mmap(nullptr, INBOX_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED)
        return false;
    inbox.slots = static_cast<uplinkd_msg_t *>(room);
    return true;
}

bool register_application(int app_id, sockmsg_handler handler) UPLINKD_REQUIRES(registration.lock) {
    if (!map_inbox() || !host::make_folders(host::BUS_FOLDER))
        return false;
    host::descriptor socket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (socket < 0)
        return false;
    if (setsockopt(socket, SOL_SOCKET, SO_SNDBUFFORCE, &SEND_BUFFER_SIZE,
                   sizeof SEND_BUFFER_SIZE) != 0)
        setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER_SIZE, sizeof SEND_BUFFER_SIZE);

    if (!registration.delivering && !start_thread(deliver_records))
        return false;
    registration.delivering = true;

    const sockaddr_un address = endpoint_address(app_id);
    if (!claim(socket, address))
        return false;
    receive_handler = handler;
    endpoint = socket.fd;
    if (!start_thread(read_records)) {
        endpoint = -1;
        unlink(address.sun_path);
        return false;
    }
    socket.fd = -1; // the endpoint now, for the life of the process
    return true;
}

// ---- sending

size_t stuck_index(int app_id) UPLINKD_REQUIRES(stuck.lock) {
    size_t index = 0;
    while (index < stuck.count && stuck.app_ids[index] != app_id)
        index++;
    return index;
}

bool deserves_patience(int app_id) {
    mutex_guard hold(stuck.lock);
    return stuck.count < stuck.app_ids.size() && stuck_index(app_id) == stuck.count;
}

void note_stuck(int app_id) {
    mutex_guard hold(stuck.lock);
    if (stuck.count < stuck.app_ids.size() && stuck_index(app_id) == stuck.count)
        stuck.app_ids[stuck.count++] = app_id;
}

void forget_stuck(int app_id) {
    mutex_guard hold(stuck.lock);
    if (const size_t index = stuck_index(app_id); index < stuck.count)
        stuck.app_ids[index] = stuck.app_ids[--stuck.count];
}

// Waits until RECEIVER may have room again, a millisecond at the most. Only a connected socket can
// wait for that, and an endpoint must not be connected or it would hear nobody else.
void wait_for_room(int destination) {
    const sockaddr_un receiver = endpoint_address(destination);
    const host::descriptor waiter{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    pollfd room{.fd = waiter, .events = POLLOUT, .revents = 0};
    if (waiter >= 0 && connect(waiter, generic(receiver), sizeof receiver) == 0)
        poll(&room, 1, 1);
}

enum class outcome { taken, full, refused };

outcome send_at_once(int sender, int destination, const uplinkd_msg_t &record) {
    const sockaddr_un receiver = endpoint_address(destination);
    const bool taken = sendto(sender, &record, sizeof record, MSG_DONTWAIT | MSG_NOSIGNAL,
                              generic(receiver), sizeof receiver) >= 0;
    if (!taken && errno == EAGAIN)
        return outcome::full;
    forget_stuck(destination);
    return taken ? outcome::taken : outcome::refused;
}

// Sends to a receiver that was full a moment ago, which may use up PATIENCE.
outcome send_patiently(int sender, int destination, const uplinkd_msg_t &record, int &patience) {
    outcome result = outcome::full;
    do {
        if (patience > 0) {
            wait_for_room(destination);
            patience--;
        }
        result = send_at_once(sender, destination, record);
    } while (result == outcome::full && patience > 0);
    if (result == outcome::full)
        note_stuck(destination);
    return result;
}

// What the process sends from: its endpoint, or a nameless socket while it has none.
struct sending_socket {
    sending_socket()
        : nameless(endpoint < 0 ? socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0) : -1),
          fd(nameless >= 0 ? nameless.fd : endpoint.load()) {}

    host::descriptor nameless;
    int fd;
};

} // namespace

int init_sockmsg(int app_id, sockmsg_handler handler, int) {
    mutex_guard hold(registration.lock);
    if (app_id <= 0 || handler == nullptr || endpoint >= 0)
        return -1;
    if (register_application(app_id, handler))
        return 0;
    savelog(0, "bus: cannot register application %d: %s", app_id, strerror(errno));
    return -1;
}

int sockmsg_send_common_msg(int destination, const uplinkd_msg_t *message) {
    if (destination <= 0 || message == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const sending_socket sender;
    outcome result = send_at_once(sender.fd, destination, *message);
    if (result == outcome::full && deserves_patience(destination)) {
        int patience = FULL_RECEIVER_PATIENCE_MS;
        result = send_patiently(sender.fd, destination, *message, patience);
    }
    return result == outcome::taken ? 0 : -1;
}

// Nobody waits for a full receiver before everyone else has the record; in that time those that are
// full have their patience side by side.
int sockmsg_send_broadcast_msg(int sender, const uplinkd_msg_t *message) {
    if (message == nullptr)
        return -1;
    const host::descriptor folder{host::open_folder(host::BUS_FOLDER)};
    if (folder < 0)
        return errno == ENOENT ? 0 : -1; // no folder: nobody has registered yet

    const sending_socket from;
    std::array<int, KNOWN_RECEIVERS> full;
    size_t full_count = 0;
    int taken = 0;
    host::name_reader names{folder};
    while (const char *name = host::next_name(names)) {
        const int app_id = app_id_of(name);
        if (app_id == 0 || app_id == sender)
            continue;
        const outcome result = send_at_once(from.fd, app_id, *message);
        if (result == outcome::taken)
            taken++;
        else if (result == outcome::full && full_count < full.size() && deserves_patience(app_id))
            full[full_count++] = app_id;
    }
    int patience = FULL_RECEIVER_PATIENCE_MS;
    for (const int app_id : std::span{full}.first(full_count))
        if (send_patiently(from.fd, app_id, *message, patience) == outcome::taken)
            taken++;
    return taken;
}

const char *get_app_name_by_id(int app_id) {
    for (const auto &application : APPLICATIONS)
        if (application.app_id == app_id)
            return application.name;
    return "unknown";
}
