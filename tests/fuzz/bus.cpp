// Datagrams of any size from any sender: those of a record's size reach the handler, whole, in
// order, under the number of the endpoint they came from; each other one is a line in the log.
#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "fuzz.h"
#include "platform/bus.h"

static constexpr const char *LOG = "/var/log/uplinkd/uplinkd.log";
static constexpr int LAST = 0x1a57; // the message that ends an input
static const std::string BUS = "/run/uplinkd/bus/";

static std::mutex handling;
static std::condition_variable handled_last;
static std::vector<uplinkd_msg_t> handled;

static int keep(const uplinkd_msg_t *record) {
    const std::lock_guard guard(handling);
    handled.push_back(*record);
    if (record->msg_id == LAST)
        handled_last.notify_one();
    return 0;
}

static sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

struct sender {
    explicit sender(const std::string &name) : path(BUS + name) {
        const sockaddr_un address = address_of(path);
        if (bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            path.clear(); // the name is taken, or none: a sender without an address
        const bool number = !name.empty() && name.size() <= 10 && name[0] != '0' &&
                            name.find_first_not_of("0123456789") == name.npos;
        if (!path.empty() && number && std::stoll(name) <= INT32_MAX)
            app_id = std::stoi(name);
    }
    sender(const sender &) = delete;
    ~sender() {
        close(fd);
        if (!path.empty())
            unlink(path.c_str());
    }
    void send(const void *bytes, size_t size) const {
        const sockaddr_un bus = address_of(BUS + "24");
        const ssize_t sent =
            sendto(fd, bytes, size, 0, reinterpret_cast<const sockaddr *>(&bus), sizeof bus);
        DEMAND(sent == static_cast<ssize_t>(size), path, std::to_string(size));
    }

    std::string path;
    int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), app_id = 0;
};

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const int registered = init_sockmsg(24, keep, 0);
    DEMAND(registered == 0);
    std::ofstream(LOG, std::ios::trunc).close();
    FuzzedDataProvider input(data, size);
    const sender senders[] = {sender("19"), sender(take_text(input, 60)),
                              sender(take_text(input, 12)), sender("no/folder")};
    std::vector<uplinkd_msg_t> expected;
    std::string lines;
    for (int i = 0; i < 40; i++) {
        const bool last = i == 39 || input.remaining_bytes() == 0;
        const sender &from = senders[input.ConsumeIntegralInRange<size_t>(0, 3)];
        const size_t near = sizeof(uplinkd_msg_t) + input.ConsumeIntegralInRange<size_t>(0, 2) - 1;
        const size_t any = input.ConsumeIntegralInRange<size_t>(0, 9000);
        const size_t length = last ? sizeof(uplinkd_msg_t) : input.ConsumeBool() ? near : any;
        std::string bytes(std::max(length, sizeof(uplinkd_msg_t)), static_cast<char>(i));
        input.ConsumeBytesAsString(20).copy(bytes.data() + 4, 20);
        uplinkd_msg_t record;
        memcpy(&record, bytes.data(), sizeof record);
        record.msg_id = last ? LAST : i;
        memcpy(bytes.data(), &record, sizeof record);
        from.send(bytes.data(), length);
        record.src_app_id = from.app_id;
        if (length == sizeof record)
            expected.push_back(record);
        else
            lines += "dropped a datagram of " + std::to_string(length) +
                     " bytes from application " + std::to_string(from.app_id) + "\n";
        if (last)
            break;
    }
    std::unique_lock guard(handling);
    handled_last.wait(guard, [] { return !handled.empty() && handled.back().msg_id == LAST; });
    DEMAND(handled.size() == expected.size(), std::to_string(handled.size()));
    for (size_t i = 0; i < expected.size(); i++)
        DEMAND(memcmp(&handled[i], &expected[i], sizeof handled[i]) == 0, std::to_string(i),
               std::to_string(handled[i].msg_id), std::to_string(handled[i].src_app_id));
    handled.clear();

    std::ifstream log(LOG);
    std::string logged;
    for (std::string line; std::getline(log, line);)
        logged += line.substr(std::min(line.find("dropped"), line.size())) + "\n";
    DEMAND(logged == lines, logged, lines);
    return 0;
}
