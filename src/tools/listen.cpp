// uplinkctl listen: shows what reaches an application, by taking its place on the bus.
//
// The records are printed on the bus library's thread, which ends the process itself after the last
// one; the main thread only keeps the time.
#include <climits>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "platform/bus.h"
#include "platform/host/files.h"
#include "platform/host/places.h"
#include "platform/log.h"
#include "platform/mutex.h"
#include "tools/cli.h"
#include "tools/names.h"
#include "tools/uplinkctl.h"

namespace {

struct request {
    int app_id = 0;
    int records = 0; // 0: no limit
    int seconds = 0; // 0: no limit
    bool names = false;
};

struct output_t {
    uplinkd_mutex lock; // held until "ready" is out, so that no record comes before it
    request wanted UPLINKD_GUARDED_BY(lock);
    int printed UPLINKD_GUARDED_BY(lock) = 0;
};
output_t output;

// Leaves no dead endpoint behind. Both threads may end the process; a line is one write, so it is
// whole or not there.
[[noreturn]] void leave(int app_id, int status) {
    char name[12] = {};
    snprintf(name, sizeof name, "%d", app_id);
    unlink(host::join_path(host::BUS_FOLDER, name).data());
    _exit(status);
}

int payload_length(const uplinkd_msg_t &record) {
    int length = sizeof record.payload;
    while (length > 0 && record.payload[length - 1] == 0)
        length--;
    return length;
}

int print_record(const uplinkd_msg_t *record) {
    mutex_guard hold(output.lock);
    char line[160];
    int length = snprintf(line, sizeof line, "0x%04X from %d bcast %d payload %d",
                          static_cast<unsigned>(record->msg_id), record->src_app_id,
                          record->bcast_marker, payload_length(*record));
    if (output.wanted.names)
        length += snprintf(line + length, sizeof line - static_cast<size_t>(length), " %s from %s",
                           names::message_label(record->msg_id).c_str(),
                           get_app_name_by_id(record->src_app_id));
    snprintf(line + length, sizeof line - static_cast<size_t>(length), "\n");
    const int status = cli::print(line);
    output.printed++;
    if (status != cli::DONE || output.printed == output.wanted.records)
        leave(output.wanted.app_id, status);
    return 0;
}

int parse_request(operands given, request &wanted) {
    if (!names::parse_application(given[0], wanted.app_id))
        return cli::wrong_usage("'%s' is no application", given[0]);
    // Scripts that give the number rely on the bare line.
    wanted.names = given[0][0] < '0' || given[0][0] > '9';
    for (given = given.subspan(1); !given.empty(); given = given.subspan(2)) {
        const std::string_view option{given[0]};
        if ((option != "-n" && option != "-t") || given.size() < 2)
            return wrong_operands();
        int &limit = option == "-n" ? wanted.records : wanted.seconds;
        if (!cli::parse_decimal(given[1], limit) || limit <= 0)
            return cli::wrong_usage("'%s' is no positive number", given[1]);
    }
    return cli::DONE;
}

void wait_for(int seconds) {
    unsigned left = seconds == 0 ? UINT_MAX : static_cast<unsigned>(seconds);
    while (left > 0)
        left = sleep(left);
}

} // namespace

int listen_to_bus(operands given) {
    request wanted;
    if (const int status = parse_request(given, wanted); status != cli::DONE)
        return status;

    init_log_params("UPLINKCTL");
    {
        mutex_guard hold(output.lock);
        output.wanted = wanted;
        if (init_sockmsg(wanted.app_id, print_record, 0) != 0)
            return cli::failure("cannot register application %s: it is registered already, or the "
                                "bus cannot be used",
                                names::application_label(wanted.app_id).c_str());
        if (cli::print("ready\n") != cli::DONE)
            leave(wanted.app_id, cli::FAILED);
    }
    wait_for(wanted.seconds);
    leave(wanted.app_id, cli::DONE);
}
