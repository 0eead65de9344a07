// The bus with this process registered as application 24, and applications played by plain sockets,
// since any program that can open the folder takes part.
#include <algorithm>
#include <functional>
#include <mutex>
#include <poll.h>
#include <thread>

#include "host_test.h"
#include "platform/bus.h"

// The handler passes on what it gets, while nobody holds it up.
static std::mutex handling;
static int handled[2];

static int pass_on(const uplinkd_msg_t *record) {
    const std::lock_guard hold(handling);
    return static_cast<int>(write(handled[0], record, sizeof *record));
}

static uplinkd_msg_t take() {
    uplinkd_msg_t record;
    EXPECT_EQ(read(handled[1], &record, sizeof record), sizeof record);
    return record;
}

static void register_here() {
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, handled), 0);
    ASSERT_EQ(init_sockmsg(24, pass_on, 0), 0);
    EXPECT_LT(init_sockmsg(25, pass_on, 0), 0); // one registration a process
}

// The layer's waits for full receivers come through here, so that a test may act meanwhile.
static int waits;
static std::function<void()> meanwhile = [] {};

extern "C" int poll(pollfd *fds, nfds_t count, int milliseconds) {
    if (count == 1 && milliseconds > 0) {
        waits++;
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

TEST(Bus, KnowsTheSenderByItsEndpointAndHoldsRecordsInOrder) {
    register_here();
    int sender = -1;
    for (const std::string &path :
         {BUS + "x", std::string{"/tmp/24"}, std::string{"/run/uplinkd/busx19"}, BUS + "019",
          BUS + "19x", BUS + "4294967297", BUS + "19"}) {
        sender = unix_socket(connect, BUS + "24", unix_socket(bind, path));
        EXPECT_TRUE(send_here(sender, 1));
        EXPECT_EQ(take().src_app_id, path == BUS + "19" ? 19 : 0) << path;
    }
    for (const size_t size : {0u, 1u, 4115u, 4117u, 5000u})
        EXPECT_TRUE(send_here(sender, 1, size));
    EXPECT_EQ(sockmsg_send_common_msg(24, outgoing), 0);
    EXPECT_EQ(take().src_app_id, 24) << "what is no record was delivered";
    EXPECT_EQ(std::ranges::count(file_text(LOG), '\n'), 5); // one for each that was dropped

    std::unique_lock standstill(handling);
    const timeval patience{1, 0};
    setsockopt(sender, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    int sent = 0;
    while (send_here(sender, sent))
        sent++;
    EXPECT_GE(sent, 1 + 256);
    standstill.unlock();
    for (int id = 0; id < sent; id++)
        ASSERT_EQ(take().msg_id, id);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(EMULATED)
constexpr bool HAS_GUEST = true; // memory that is not ours, in the same process
#else
constexpr bool HAS_GUEST = false;
#endif

// The process's own memory, in kB. (What it shares would change with who else runs.)
static long anonymous_memory() {
    std::ifstream rollup("/proc/self/smaps_rollup");
    long size = 0;
    for (std::string word; rollup >> word && word != "Anonymous:";)
        continue;
    rollup >> size;
    return size;
}

TEST(Bus, GivesTheMemoryOfABurstBackAndLosesNothingByIt) {
    register_here();
    const int sender = unix_socket(connect, BUS + "24");
    EXPECT_TRUE(send_here(sender, 0));
    take();
    const long before = anonymous_memory();
    for (const int burst : {300, 1, 5, 258, 2, 300}) {
        std::unique_lock standstill(handling);
        std::thread sending([sender, burst] {
            for (int id = 0; id < burst; id++)
                EXPECT_TRUE(send_here(sender, id));
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // of filling
        standstill.unlock();
        for (int id = 0; id < burst; id++)
            EXPECT_EQ(take().msg_id, id);
        sending.join();
    }
    alarm(5);
    while (!HAS_GUEST && anonymous_memory() > before + 64) // released after it was taken
        usleep(1000);
    alarm(0);
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
    take();
    EXPECT_EQ(count_received(first) + count_received(other), 0);
    EXPECT_EQ(count_received(second), 1);
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
    // The place of what is dead can be taken.
    EXPECT_EQ(system("./uplinkctl listen 23 -t 1 && ./uplinkctl listen 26 -t 1"), 0);
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
    EXPECT_EQ(recv(receiver, nullptr, 0, 0), 0);
    EXPECT_TRUE(sends());
    EXPECT_FALSE(sends());
    EXPECT_EQ(waits, 45);
}
