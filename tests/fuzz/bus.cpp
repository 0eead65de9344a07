// Datagrams of any size from any sender: those of a record's size reach the handler, whole, in
// order, under the number of the endpoint they came from; each other one is a line in the log.
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <sys/socket.h>
#include <sys/un.h>

#include "fuzz.h"
#include "platform/bus.h"

static constexpr const char *LOG = "/var/log/uplinkd/uplinkd.log";
static constexpr int LAST = 0x1a57; // the message that ends an input
static constexpr size_t RECORD = sizeof(uplinkd_msg_t);

static std::mutex handling;
static std::condition_variable handled_last;
static std::vector<uplinkd_msg_t> handled;

static int keep(const uplinkd_msg_t *record) {
    const std::lock_guard guard(handling);
    handled.push_back(*record);
    handled_last.notify_one();
    return 0;
}

struct sender {
    explicit sender(const std::string &name) {
        sockaddr_un address = address_of(name);
        if (bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            return; // the name is taken, or none: a sender without an address
        path = address.sun_path;
        const bool number = !name.empty() && name.size() < 11 && name[0] != '0' &&
                            std::all_of(name.begin(), name.end(), isdigit);
        app_id = number && std::stoll(name) <= INT32_MAX ? std::stoi(name) : 0;
    }
    ~sender() {
        close(fd);
        unlink(path.c_str());
    }
    static sockaddr_un address_of(const std::string &name) {
        sockaddr_un address{AF_UNIX, "/run/uplinkd/bus/"};
        name.copy(address.sun_path + 17, 60);
        return address;
    }

    std::string path;
    int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), app_id = 0;
};

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const int registered = init_sockmsg(24, keep, 0);
    DEMAND(registered == 0);
    put_file(LOG, "");
    FuzzedDataProvider input(data, size);
    const sender senders[] = {sender("19"), sender(take_text(input, 60)),
                              sender(take_text(input, 12)), sender("no/folder")};
    sockaddr_un bus = sender::address_of("24");
    std::vector<uplinkd_msg_t> expected;
    std::string lines, logged;
    for (int i = 0; expected.empty() || expected.back().msg_id != LAST; i++) {
        const bool last = i == 39 || input.remaining_bytes() == 0;
        const sender &from = senders[take_number(input, 0, 3)];
        const size_t near = RECORD - 1 + input.ConsumeIntegralInRange<size_t>(0, 2);
        const size_t any = input.ConsumeIntegralInRange<size_t>(0, 9000);
        const size_t length = last ? RECORD : input.ConsumeBool() ? near : any;
        std::string bytes(std::max(length, RECORD), static_cast<char>(i));
        input.ConsumeBytesAsString(20).copy(bytes.data() + 4, 20);
        uplinkd_msg_t record;
        memcpy(&record, bytes.data(), RECORD);
        record.msg_id = last ? LAST : i;
        memcpy(bytes.data(), &record, RECORD);
        const auto to = reinterpret_cast<sockaddr *>(&bus);
        const ssize_t sent = TEMP_FAILURE_RETRY( // libFuzzer's alarm may interrupt
            sendto(from.fd, bytes.data(), length, 0, to, sizeof bus));
        DEMAND(sent == static_cast<ssize_t>(length), strerror(errno));
        record.src_app_id = from.app_id;
        if (length == RECORD)
            expected.push_back(record);
        else
            lines += "dropped a datagram of " + std::to_string(length) +
                     " bytes from application " + std::to_string(from.app_id) + "\n";
    }
    std::unique_lock guard(handling);
    handled_last.wait(guard, [] { return !handled.empty() && handled.back().msg_id == LAST; });
    DEMAND(handled.size() == expected.size(), std::to_string(handled.size()));
    for (size_t i = 0; i < expected.size(); i++)
        DEMAND(memcmp(&handled[i], &expected[i], RECORD) == 0, std::to_string(handled[i].msg_id),
               std::to_string(handled[i].src_app_id));
    handled.clear();
    std::ifstream log(LOG);
    for (std::string line; std::getline(log, line);)
        logged += line.substr(std::min(line.find("dropped"), line.size())) + "\n";
    DEMAND(logged == lines, logged, lines);
    return 0;
}
