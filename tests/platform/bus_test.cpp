// The bus with this process registered as application 24, and applications played by plain sockets,
// since any program that can open the folder takes part.
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <functional>
#include <mutex>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include "host_test.h"
#include "platform/bus.h"

// What the handler got, and whether it may go on.
static std::mutex lock;
static std::condition_variable changed;
static std::vector<uplinkd_msg_t> received;
static bool blocked;

static int collect(const uplinkd_msg_t *record) {
    std::unique_lock hold(lock);
    received.push_back(*record);
    changed.notify_all();
    changed.wait(hold, [] { return !blocked; });
    return 0;
}

static void set_blocked(bool block) {
    const std::lock_guard hold(lock);
    blocked = block;
    changed.notify_all();
}

static std::vector<uplinkd_msg_t> take(size_t count) {
    std::unique_lock hold(lock);
    EXPECT_TRUE(
        changed.wait_for(hold, std::chrono::seconds(20), [&] { return received.size() >= count; }))
        << received.size() << " of " << count << " records came";
    return std::exchange(received, {});
}

// The layer's waits for full receivers come through here, so that a test may act meanwhile.
static int waits;
static std::function<void()> meanwhile;

extern "C" int poll(pollfd *fds, nfds_t count, int milliseconds) {
    if (count == 1 && milliseconds > 0) {
        waits++;
        if (meanwhile)
            meanwhile();
    }
    const timespec limit{milliseconds / 1000, milliseconds % 1000 * 1000000L};
    return ppoll(fds, count, milliseconds < 0 ? nullptr : &limit, nullptr);
}

static sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

static uplinkd_msg_t record_of(int id) {
    uplinkd_msg_t record{};
    record.msg_id = id;
    record.src_app_id = 99; // a lie
    return record;
}

// An application that is a socket; without a path, one that has registered none.
struct application {
    explicit application(const std::string &path) {
        const sockaddr_un address = address_of(path);
        if (!path.empty() && bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address))
            ADD_FAILURE() << path << ": " << strerror(errno);
    }
    ~application() { close(fd); }
    bool send(int id, size_t size = sizeof(uplinkd_msg_t)) const {
        const sockaddr_un to = address_of(BUS + "24");
        const uplinkd_msg_t records[2] = {record_of(id), {}};
        return sendto(fd, records, size, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to) >=
               0;
    }
    int count() const {
        uplinkd_msg_t record;
        int records = 0;
        while (recv(fd, &record, sizeof record, MSG_DONTWAIT) == sizeof record)
            records++;
        return records;
    }
    int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
};

static void register_here() {
    ASSERT_EQ(init_sockmsg(24, collect, 0), 0);
    EXPECT_LT(init_sockmsg(25, collect, 0), 0); // one registration a process
}

TEST(Bus, KnowsTheSenderByItsEndpointAndKeepsOrder) {
    register_here();
    const struct {
        std::string path;
        int sender;
    } CASES[] = {{BUS + "19", 19},
                 {"", 0},
                 {BUS + "x", 0},
                 {BUS + "019", 0},
                 {BUS + "19x", 0},
                 {"/tmp/24", 0},
                 {"/run/uplinkd/busx19", 0},
                 {BUS + "4294967297", 0}};
    for (const auto &c : CASES) {
        const application sender(c.path);
        for (int id = 0; id < 50; id++)
            ASSERT_TRUE(sender.send(id));
        const auto records = take(50);
        for (int id = 0; id < 50; id++) {
            EXPECT_EQ(records.at(static_cast<size_t>(id)).msg_id, id);
            EXPECT_EQ(records.at(static_cast<size_t>(id)).src_app_id, c.sender) << c.path;
        }
    }
    const application sender(BUS + "20");
    for (const size_t size : {0u, 1u, 4115u, 4117u, 5000u})
        EXPECT_TRUE(sender.send(1, size));
    const uplinkd_msg_t record = record_of(7);
    EXPECT_EQ(sockmsg_send_common_msg(24, &record), 0);
    const auto records = take(1);
    EXPECT_EQ(records.size(), 1u) << "what is no record was delivered";
    EXPECT_EQ(records.at(0).src_app_id, 24);
    EXPECT_EQ(file_lines(LOG).size(), 5u); // one for each that was dropped
}

// Another process sends in a tight loop while the handler stands still. (A socket's own queue has
// no limit for what it sends to itself.)
TEST(Bus, HoldsManyRecordsAndThenRefuses) {
    const pid_t sender = start_child([] {
        while (!std::filesystem::exists("/tmp/go"))
            usleep(1000);
        const uplinkd_msg_t record = record_of(1);
        int taken = 0;
        while (sockmsg_send_common_msg(24, &record) >= 0)
            taken++;
        put_file("/tmp/taken", std::to_string(taken));
        return 0;
    });
    register_here();
    set_blocked(true);
    put_file("/tmp/go", "");
    EXPECT_EQ(wait_for_child(sender), 0);
    const size_t taken = std::stoul("0" + file_text("/tmp/taken"));
    EXPECT_GE(taken, 1u + 256u);
    set_blocked(false);
    take(taken);
}

TEST(Bus, BroadcastReachesAllButItsSenderAndTheDead) {
    register_here();
    const application first(BUS + "19"), second(BUS + "22"), other(BUS + "notes");
    const application deaf[] = {application(BUS + "25"), application(BUS + "27"),
                                application(BUS + "28")};
    { const application dead(BUS + "23"); }
    put_file(BUS + "26", "no socket");
    const uplinkd_msg_t record = record_of(0x5304);
    EXPECT_EQ(sockmsg_send_broadcast_msg(19, &record), 5); // 22, 24, 25, 27 and 28
    EXPECT_EQ(take(1).at(0).msg_id, 0x5304);
    EXPECT_EQ(first.count(), 0);
    EXPECT_EQ(second.count(), 1);
    EXPECT_EQ(other.count(), 0);
    // Who never reads cuts nobody else off, and all of them together are waited for once: one of
    // them reads at the end of that time.
    meanwhile = [&deaf] { waits == 20 ? deaf[2].count() : 0; };
    for (int i = 0; i < 20; i++) {
        const int taken = sockmsg_send_broadcast_msg(24, &record);
        EXPECT_EQ(taken, waits == 0 ? 5 : 3) << i;
        EXPECT_EQ(first.count() + second.count(), 2);
    }
    EXPECT_EQ(waits, 20);
    for (const int refusing : {27, 23, 26, 30, 0, -24})
        EXPECT_LT(sockmsg_send_common_msg(refusing, &record), 0) << refusing;
}

TEST(Bus, WaitsForASlowReceiverButOnceForAStuckOne) {
    register_here();
    const application receiver(BUS + "25");
    const uplinkd_msg_t record = record_of(1);
    const auto sends = [&record] { return sockmsg_send_common_msg(25, &record) >= 0; };
    meanwhile = [&receiver] { waits == 5 ? receiver.count() : 0; };
    while (waits == 0)
        ASSERT_TRUE(sends()); // the last one when the receiver has read at last
    EXPECT_EQ(waits, 5);
    while (sends())
        continue;
    EXPECT_EQ(waits, 25);
    for (int i = 0; i < 100; i++)
        EXPECT_FALSE(sends());
    EXPECT_EQ(waits, 25);
    uplinkd_msg_t taken;
    ASSERT_GT(recv(receiver.fd, &taken, sizeof taken, 0), 0);
    EXPECT_TRUE(sends());
    EXPECT_FALSE(sends());
    EXPECT_EQ(waits, 45);
}

TEST(Bus, AnEndpointHasOneLivingOwner) {
    register_here();
    const auto try_to_register = [](const char *app_id) {
        return wait_for_child(start_child([app_id] {
            return execl("./uplinkctl", "uplinkctl", "listen", app_id, "-t", "1", nullptr);
        }));
    };
    EXPECT_EQ(try_to_register("24"), 1);
    const application sender(BUS + "19");
    EXPECT_TRUE(sender.send(8)); // the refused process has not harmed the endpoint
    EXPECT_EQ(take(1).at(0).msg_id, 8);

    { const application dead(BUS + "26"); }
    EXPECT_EQ(try_to_register("26"), 0);
    std::filesystem::create_symlink("/tmp/elsewhere", BUS + "27");
    EXPECT_EQ(try_to_register("27"), 0);
    EXPECT_FALSE(std::filesystem::exists("/tmp/elsewhere"));
}
