// The bus with this process registered as application 24, and applications played by plain sockets,
// since any program that can open the folder takes part.
#include <algorithm>
#include <functional>
#include <map>
#include <mutex>
#include <poll.h>
#include <vector>

#include "host_test.h"
#include "platform/bus.h"

// The handler passes on what it gets, while nobody holds it up.
static std::mutex handling;
static int handled[2];

static int pass_on(const uplinkd_msg_t *record) {
    const std::lock_guard hold(handling);
    return static_cast<int>(write(handled[0], record, sizeof *record));
}

static std::vector<uplinkd_msg_t> take(size_t count) {
    std::vector<uplinkd_msg_t> records(count);
    for (uplinkd_msg_t &record : records)
        EXPECT_EQ(read(handled[1], &record, sizeof record), sizeof record);
    return records;
}

static void register_here() {
    alarm(60); // for what never comes
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, handled), 0);
    ASSERT_EQ(init_sockmsg(24, pass_on, 0), 0);
    EXPECT_LT(init_sockmsg(25, pass_on, 0), 0); // one registration a process
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

static uplinkd_msg_t outgoing[2]; // the first, and what makes it too long

static bool send_here(int sender, int id, size_t size = sizeof(uplinkd_msg_t)) {
    outgoing[0].msg_id = id;
    outgoing[0].src_app_id = 99; // a lie
    return send(sender, outgoing, size, 0) >= 0;
}

static int count_received(int receiver) {
    uplinkd_msg_t record;
    int records = 0;
    while (recv(receiver, &record, sizeof record, MSG_DONTWAIT) == sizeof record)
        records++;
    return records;
}

TEST(Bus, KnowsTheSenderByItsEndpoint) {
    register_here();
    int sender = -1;
    for (const auto &[path, app_id] : std::map<std::string, int>{{BUS + "19", 19},
                                                                 {BUS + "x", 0},
                                                                 {BUS + "019", 0},
                                                                 {BUS + "19x", 0},
                                                                 {"/tmp/24", 0},
                                                                 {"/run/uplinkd/busx19", 0},
                                                                 {BUS + "4294967297", 0}}) {
        sender = unix_socket(connect, BUS + "24", unix_socket(bind, path));
        EXPECT_TRUE(send_here(sender, 1));
        EXPECT_EQ(take(1)[0].src_app_id, app_id) << path;
    }
    for (const size_t size : {0u, 1u, 4115u, 4117u, 5000u})
        EXPECT_TRUE(send_here(sender, 1, size));
    EXPECT_EQ(sockmsg_send_common_msg(24, outgoing), 0);
    EXPECT_EQ(take(1)[0].src_app_id, 24) << "what is no record was delivered";
    EXPECT_EQ(std::ranges::count(file_text(LOG), '\n'), 5); // one for each that was dropped
}

TEST(Bus, HoldsManyRecordsInOrderAndThenNoMore) {
    register_here();
    const int sender = unix_socket(connect, BUS + "24");
    const timeval patience{1, 0};
    setsockopt(sender, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    std::unique_lock standstill(handling);
    int taken = 0;
    while (send_here(sender, taken))
        taken++;
    EXPECT_GE(taken, 1 + 256);
    standstill.unlock();
    for (int id = 0; const uplinkd_msg_t &record : take(static_cast<size_t>(taken)))
        EXPECT_EQ(record.msg_id, id++);
}

TEST(Bus, BroadcastReachesAllButItsSenderAndTheDead) {
    register_here();
    const int first = unix_socket(bind, BUS + "19"), second = unix_socket(bind, BUS + "22");
    const int other = unix_socket(bind, BUS + "notes"), deaf = unix_socket(bind, BUS + "25");
    unix_socket(bind, BUS + "27");
    unix_socket(bind, BUS + "28");
    close(unix_socket(bind, BUS + "23"));
    std::filesystem::create_symlink("/tmp/elsewhere", BUS + "26");
    EXPECT_EQ(sockmsg_send_broadcast_msg(19, outgoing), 5); // 22, 24, 25, 27 and 28
    take(1);
    EXPECT_EQ(count_received(first), 0);
    EXPECT_EQ(count_received(second), 1);
    EXPECT_EQ(count_received(other), 0);
    // Who never reads cuts nobody else off, and all of them together are waited for once: one of
    // them reads at the end of that time.
    meanwhile = [deaf] { waits == 20 ? count_received(deaf) : 0; };
    for (int i = 0; i < 20; i++) {
        const int taken = sockmsg_send_broadcast_msg(24, outgoing);
        EXPECT_EQ(taken, waits == 0 ? 5 : 3) << i;
        EXPECT_EQ(count_received(first) + count_received(second), 2);
    }
    EXPECT_EQ(waits, 20);
    for (const int refusing : {27, 23, 26, 30, 0, -24})
        EXPECT_LT(sockmsg_send_common_msg(refusing, outgoing), 0) << refusing;
    // The place of what is dead can be taken, and nothing is followed for that.
    EXPECT_EQ(system("./uplinkctl listen 23 -t 1 && ./uplinkctl listen 26 -t 1"), 0);
    EXPECT_FALSE(std::filesystem::exists("/tmp/elsewhere"));
}

TEST(Bus, WaitsForASlowReceiverButOnceForAStuckOne) {
    register_here();
    const int receiver = unix_socket(bind, BUS + "25");
    const auto sends = [] { return sockmsg_send_common_msg(25, outgoing) >= 0; };
    meanwhile = [receiver] { waits == 5 ? count_received(receiver) : 0; };
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
    ASSERT_GT(recv(receiver, &taken, sizeof taken, 0), 0);
    EXPECT_TRUE(sends());
    EXPECT_FALSE(sends());
    EXPECT_EQ(waits, 45);
}
