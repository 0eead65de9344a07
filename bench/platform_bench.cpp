// What the platform layer costs, beside the least that the kernel asks for the same service. Only
// the ratios within one run mean something. Started by bench/run, on empty folders of its own.
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "platform/bus.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/log.h"

static constexpr char PLAIN_FILE[] = "/run/plain";
static constexpr int RECORDS = 100; // a burst that fits into the receiver's queue

static void plain_write(benchmark::State &state, int flags) {
    for (auto _ : state) {
        const int file = open(PLAIN_FILE, O_WRONLY | O_CREAT | flags, 0640);
        benchmark::DoNotOptimize(write(file, "192.168.1.1", 11));
        close(file);
    }
}

static void plain_overwrite(benchmark::State &state) {
    plain_write(state, O_TRUNC);
}
BENCHMARK(plain_overwrite);

static void item_write(benchmark::State &state) {
    for (auto _ : state)
        set_devinfo_value_by_id(201102, "192.168.1.1", 12);
}
BENCHMARK(item_write);

static void plain_read(benchmark::State &state) {
    char text[20];
    for (auto _ : state) {
        const int file = open(PLAIN_FILE, O_RDONLY);
        benchmark::DoNotOptimize(read(file, text, sizeof text));
        close(file);
    }
}
BENCHMARK(plain_read);

static void item_read(benchmark::State &state) {
    char text[20];
    for (auto _ : state)
        get_devinfo_value_by_id(201102, text, sizeof text);
}
BENCHMARK(item_read);

static void setting_read(benchmark::State &state) {
    mkdir("/etc/uplinkd", 0750);
    FILE *settings = fopen("/etc/uplinkd/settings", "w");
    for (int line = 0; line < state.range(0); line++)
        fprintf(settings, "USR_SOME_SETTING_%d=192.168.1.1\n", line);
    fclose(settings);
    char text[20];
    for (auto _ : state)
        cfg_get_item("USR_WAN_MODE", text, sizeof text);
}
BENCHMARK(setting_read)->Arg(10)->Arg(100)->Arg(1000);

static void plain_append(benchmark::State &state) {
    plain_write(state, O_APPEND);
}
BENCHMARK(plain_append);

static void log_line(benchmark::State &state) {
    for (auto _ : state)
        savelog(0, "[uplinkd] %s--%d: recv msg(0x%04X) from %s", __func__, __LINE__, 0x5304, "uis");
}
BENCHMARK(log_line);

// A thread takes records off a socket pair and counts them.
static void socket_pair_burst(benchmark::State &state) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_DGRAM, 0, ends) != 0)
        return state.SkipWithError("no socket pair");
    std::atomic<int> taken = 0;
    std::thread reader([&] {
        uplinkd_msg_t record;
        while (recv(ends[1], &record, sizeof record, 0) == sizeof record) {
            taken++;
            taken.notify_one();
        }
    });
    const uplinkd_msg_t record{};
    for (auto _ : state) {
        const int before = taken;
        for (int sent = 0; sent < RECORDS; sent++)
            benchmark::DoNotOptimize(send(ends[0], &record, sizeof record, 0));
        for (int seen = taken; seen - before < RECORDS; seen = taken)
            taken.wait(seen);
    }
    shutdown(ends[1], SHUT_RDWR);
    reader.join();
    close(ends[0]);
    close(ends[1]);
}
BENCHMARK(socket_pair_burst)->UseRealTime();

static std::atomic<int> delivered;

// The same through the bus: a nameless sender, the reader, the inbox, the handler.
static void bus_burst(benchmark::State &state) {
    static const int registered = init_sockmsg(
        24,
        [](const uplinkd_msg_t *) {
            delivered++;
            delivered.notify_one();
            return 0;
        },
        0);
    if (registered != 0)
        return state.SkipWithError("cannot register");
    const uplinkd_msg_t record{};
    for (auto _ : state) {
        const int before = delivered;
        for (int sent = 0; sent < RECORDS; sent++)
            if (sockmsg_send_common_msg(24, &record) < 0)
                return state.SkipWithError("a record was refused");
        for (int seen = delivered; seen - before < RECORDS; seen = delivered)
            delivered.wait(seen);
    }
}
BENCHMARK(bus_burst)->UseRealTime();

BENCHMARK_MAIN();
